#include "support/LogText.h"
#include "support/TestMain.h"

#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QSysInfo>
#include <QtTest/QtTest>

namespace {

constexpr int kTimeoutMs = 60000;

} // namespace

// Runs each program, and compares its exact output.
class tst_ModuleExamples : public QObject
{
    Q_OBJECT

private:
    // The output of the program with that name, or its error.
    static QByteArray Run(const char* module)
    {
        QProcess process;
        process.start(QStringLiteral(EXAMPLES "/") + QLatin1String(module), QStringList());
        if (!process.waitForFinished(kTimeoutMs)) {
            process.kill();
            process.waitForFinished();
            return "did not end";
        }
        const QByteArray errors = process.readAllStandardError();
        if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 || !errors.isEmpty())
            return "failed: " + errors;
        return process.readAllStandardOutput();
    }

private Q_SLOTS:
    void cleanup() { QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList()); }

    void logging()
    {
        const QList<QByteArray> lines = LogText::Lines(Run("logging"));
        QCOMPARE(lines.mid(0, 2),
                 QList<QByteArray>({
                     "reported: 4711_28, disk is full",
                     "reported: 4712_cache.xml, no such file",
                 }));
        QList<QByteArray> bodies;
        for (const QByteArray& line : lines.mid(2, 6))
            bodies += LogText::Body(line);
        QCOMPARE(bodies,
                 QList<QByteArray>({
                     "|10|Information|main|up and running",
                     "|30|Warning|Cache::Load|what has two lines becomes one",
                     "|4711|Error|Cache::Load|disk is full",
                     "|4712|Error|Cache::Load|no such file",
                     "|10|Information|Logger::ResetLoggingLevel|resetting log level 4",
                     "|30|Warning|main|but this",
                 }));
        // One frame belongs to the program, the others to the system.
        const QRegularExpression ours("^Module logging Memory 0x[0-9a-f]{16} FunctionName main Offset \\d+\r$");
        QStringList frames;
        for (const QByteArray& line : lines.mid(8))
            frames += QString::fromUtf8(line);
        QVERIFY2(frames.filter(QRegularExpression("^Module \\S+ Memory \\S+ FunctionName \\S.*\r$")) == frames,
                 qPrintable(frames.join('\n')));
        QCOMPARE(frames.filter(ours).size(), 1);
    }

    void settings()
    {
        QCOMPARE(Run("settings"),
                 QByteArray("name: Ada\n"
                            "theme: light\n"
                            "downloads: 07:45 to 20:00\n"
                            "name: Ada\n"
                            "theme: dark\n"
                            "[Downloads]\n"
                            "AutoDownloadsStart=07:45\n"
                            "\n"
                            "[User]\n"
                            "Name=Grace\n"
                            "\n"
                            "[Version]\n"
                            "Major=2\n"
                            "\n"
                            "[Window]\n"
                            "Theme=dark\n"));
    }

    void system()
    {
        const QByteArray home = QDir::homePath().toUtf8();
        const QString version = QSysInfo::kernelVersion().section('.', 0, 1);
        const QString processor = QSysInfo::currentCpuArchitecture();
        QCOMPARE(Run("system"),
                 "user data:   " + home + "/example\n" + "documents:   " + home + "/Documents\n"
                     + "cache:       " + home + "/example\n" + "preferences: " + home + "/example/prefs.ini\n"
                     + "user data:   /scratch\n"
                       "documents:   /scratch/Documents\n"
                       "cache:       /scratch/cache\n"
                       "preferences: /scratch/prefs.ini\n"
                       "system:      linux "
                     + version.toUtf8() + '\n' + "processor:   " + processor.toUtf8() + '\n'
                     + "user agent:  NeroltAgent/1.2\n"
                       "logged in:   no\n");
    }

    void threading()
    {
        QCOMPARE(Run("threading"),
                 QByteArray("worker ended: yes\n"
                            "event loop: 0, timers left: 1\n"
                            "timers after the cleanup: 0\n"
                            "good morning\n"
                            "what a test says instead\n"));
    }

    void util()
    {
        QString output = QString::fromUtf8(Run("util"));
        output.replace(QRegularExpression("\\d+\\.\\d\\d [KMGT]iB"), "SPACE");
        QCOMPARE(output,
                 QString("modified: 2024-03-05T14:07:09.042\n"
                         "created:  2024-03-04T14:07:09.042\n"
                         "locked:   1, and unlocked: 1\n"
                         "free:     SPACE\n"
                         "url:      https://example.org/search?page=2&sort=name\n"));
    }
};

NEROLT_TEST_MAIN(tst_ModuleExamples)

#include "tst_ModuleExamples.moc"

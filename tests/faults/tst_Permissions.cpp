#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <cstdio>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

const QString kGroup = QStringLiteral("A");
const QString kKey = QStringLiteral("k");

// The names that were created in a folder while it was watched, in order.
class Watched
{
public:
    explicit Watched(const QString& folder)
        : iQueue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        ::inotify_add_watch(iQueue, QFile::encodeName(folder).constData(), IN_CREATE | IN_MOVED_TO);
    }
    ~Watched() { ::close(iQueue); }
    Q_DISABLE_COPY(Watched)

    QStringList Names() const
    {
        QStringList names;
        alignas(inotify_event) char buffer[65536];
        const ssize_t size = ::read(iQueue, buffer, sizeof buffer);
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer + at);
            names += QString::fromLocal8Bit(event->name);
            at += ssize_t(sizeof(inotify_event) + event->len);
        }
        return names;
    }

private:
    const int iQueue;
};

int ModeOf(const QString& path)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777) : -1;
}

// Creates every kind of file that the library creates, and prints their modes.
const Scenario makeAll("makeAll", [](const QStringList& arguments) {
    ::umask(mode_t(arguments.value(0).toInt(nullptr, 8)));
    LoggerWorker worker(QStringLiteral("app.log"));
    worker.onStartWorker();
    worker.onLogMessage("one\n");
    FileUtilities::SetTime(QStringLiteral("app.log"), QDateTime::currentDateTime().addDays(-2), FileTimeCreation,
                           false);
    worker.onLogMessage("two\n");

    IniFile(QStringLiteral("through.ini")).SetKeyValue(kGroup, kKey, 1);
    IniFile(QStringLiteral("through.ini")).SetKeyValue(kGroup, kKey, 2);
    SettingsIniFile settings;
    settings.SetKeyValue(kGroup, kKey, QVariant(1));
    settings.WriteFile(QStringLiteral("whole.ini"));

    SingletonHook hook;
    HookedSingleton::InstallHook(&hook);
    SystemConfig::SetTestPath(QDir::currentPath());
    QDir().mkpath(QDir(SystemConfig::GetUserDataPath()).filePath(QStringLiteral("Logs")));
    SystemConfig::ReportSystemDetails();
    for (const char* name : {"app.log", "through.ini", "whole.ini"})
        std::printf("%s %o\n", name, unsigned(ModeOf(QString::fromLatin1(name))));
    for (const QString& name : QDir().entryList({QStringLiteral("app-*.log")}))
        std::printf("rotated %o\n", unsigned(ModeOf(name)));
    const QDir logs(QDir(SystemConfig::GetUserDataPath()).filePath(QStringLiteral("Logs")));
    for (const char* name : {"qtdiag.sh", "graphics.sh"})
        std::printf("%s %o\n", name, unsigned(ModeOf(logs.filePath(QString::fromLatin1(name)))));
    return 0;
});

} // namespace

// Who may read and write the files that the library creates, and which files are beside them meanwhile.
class tst_Permissions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFileFollowsTheUmask_data()
    {
        QTest::addColumn<QString>("umask");
        QTest::addColumn<QByteArray>("mode");
        QTest::newRow("open to all") << QStringLiteral("000") << QByteArray("666");
        QTest::newRow("usual") << QStringLiteral("022") << QByteArray("644");
        QTest::newRow("group") << QStringLiteral("027") << QByteArray("640");
        QTest::newRow("owner alone") << QStringLiteral("077") << QByteArray("600");
    }
    void everyFileFollowsTheUmask()
    {
        QFETCH(QString, umask);
        QFETCH(QByteArray, mode);
        const auto result = TestSupport::RunScenario("makeAll", {umask});
        QVERIFY2(result.IsOk(), result.Describe());
        QList<QByteArray> expected;
        for (const char* name : {"app.log", "through.ini", "whole.ini", "rotated", "qtdiag.sh", "graphics.sh"})
            expected += QByteArray(name) + ' ' + mode;
        QCOMPARE(LogText::Lines(result.iStdout), expected);
    }

    // A change creates a lock, a second name for the old file, and a new file. Neither of these names is predictable.
    void noNewFileOfAKnownName()
    {
        const QString path = QStringLiteral("watched.ini");
        IniFile ini(path);
        ini.SetKeyValue(kGroup, kKey, 0);
        const Watched watched(TestSupport::Scratch());
        QSet<QString> temporary;
        constexpr int kTimes = 20;
        for (int i = 1; i <= kTimes; ++i) {
            ini.SetKeyValue(kGroup, kKey, i);
            QStringList names = watched.Names();
            QCOMPARE(names.removeAll(path + QStringLiteral(".lock")), 1);
            QCOMPARE(names.removeAll(path), 1);
            QCOMPARE(names.size(), 2);
            for (const QString& name : qAsConst(names)) {
                QVERIFY2(name.startsWith(path + QLatin1Char('.')), qPrintable(name));
                temporary += name;
            }
        }
        QCOMPARE(temporary.size(), 2 * kTimes);
    }

    // Nothing is written through a link in the lock's place.
    void aLinkInTheLocksPlaceIsNotFollowed()
    {
        const QString path = QStringLiteral("locked.ini");
        const QString victim = QStringLiteral("victim");
        QFile file(victim);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("mine\n") == 5);
        file.close();
        QVERIFY(QFile::link(victim, path + QStringLiteral(".lock")));
        QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(file.open(QIODevice::ReadWrite)
                && file.setFileTime(QDateTime::currentDateTime().addSecs(-3600), QFileDevice::FileModificationTime));
        file.close();
        IniFile(path).SetKeyValue(kGroup, kKey, 1);
        QCOMPARE(LogText::Read(path), QByteArray("[A]\nk=1\n"));
        QCOMPARE(LogText::Read(victim), QByteArray("mine\n"));
    }

    // A rotated file only changes its name.
    void theLogMakesNothingBesideItselfAndKeepsTheMode()
    {
        const QString path = QStringLiteral("logs/app.log");
        QVERIFY(QDir().mkdir(QStringLiteral("logs")));
        const Watched watched(QStringLiteral("logs"));
        LoggerWorker worker(path);
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(FileUtilities::SetTime(path, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false));
        worker.onLogMessage("two\n");
        const QStringList names = watched.Names();
        QCOMPARE(names.size(), 3);
        QCOMPARE(names.at(0), QStringLiteral("app.log"));
        QVERIFY2(names.at(1).startsWith(QStringLiteral("app-")), qPrintable(names.at(1)));
        QCOMPARE(names.at(2), QStringLiteral("app.log"));
        QCOMPARE(ModeOf(QStringLiteral("logs/") + names.at(1)), 0600);
    }
};

NEROLT_TEST_MAIN(tst_Permissions)

#include "tst_Permissions.moc"

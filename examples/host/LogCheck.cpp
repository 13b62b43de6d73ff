#include "LogCheck.h"

#include "LogLoad.h"

#include <QtCore/QFile>

namespace {

constexpr int kStampSize = 23;
constexpr int kLinesBetweenViews = 4096;

class Checker
{
public:
    Checker(const LogFolder& folder, const Expected& expected, const Shown& show)
        : iFolder(folder)
        , iExpected(expected)
        , iShow(show)
        , iSeen(expected.iLoadLines.size(), 0)
    {
    }

    CheckedLog Run()
    {
        FindFiles();
        for (const QString& name : qAsConst(iLog.iFiles))
            ReadFile(name);
        CheckCounts();
        return iLog;
    }

private:
    void Fail(const QString& what)
    {
        if (iLog.iWrong.isEmpty())
            iLog.iWrong = what;
    }

    void Require(bool isSo, const QString& what)
    {
        if (!isSo)
            Fail(what);
    }

    void FindFiles()
    {
        const QStringList rotated = iFolder.Rotated();
        for (const QString& name : rotated) {
            if (!iExpected.iRotatedBefore.contains(name))
                iLog.iFiles += name;
        }
        Require(!iExpected.iIsRotated || !iLog.iFiles.isEmpty(), QStringLiteral("the old log was not rotated"));
        iLog.iFiles += QStringLiteral("host.log");
    }

    void ReadFile(const QString& name)
    {
        QFile file(iFolder.PathOf(name));
        if (!file.open(QIODevice::ReadOnly))
            return Fail(QStringLiteral("cannot read %1").arg(file.fileName()));
        const auto number = iLog.iFiles.indexOf(name);
        if (number == 0)
            file.seek(iExpected.iBytesBefore);
        else
            CheckHeader(file.readLine(), iLog.iFiles[number - 1]);
        if (number == 0 && iExpected.iIsRecovering)
            SkipRecovered(file);
        for (int line = 0; !file.atEnd(); ++line) {
            TakeLine(file.readLine());
            if (line % kLinesBetweenViews == 0)
                iShow(file.pos(), file.size());
        }
        iShow(1, 1);
    }

    // The lines of the run that was killed, and the one that says how many they are.
    void SkipRecovered(QFile& file)
    {
        while (iLog.iRecovered.isEmpty() && !file.atEnd()) {
            const QByteArray line = file.readLine();
            if (line.contains("|Logger::SetCrashFile|"))
                iLog.iRecovered = line.trimmed().split('|').last();
        }
        Require(!iLog.iRecovered.isEmpty(), QStringLiteral("nothing was recovered"));
    }

    // A file that continues another begins with a line that says so.
    void CheckHeader(const QByteArray& line, const QString& before)
    {
        iLog.iFirstLine = line.trimmed();
        iLog.iLastLine = iLog.iFirstLine;
        Require(line.mid(kStampSize) == "continued from " + before.toUtf8() + '\n',
                QStringLiteral("the log does not continue %1").arg(before));
    }

    void TakeLine(const QByteArray& line)
    {
        Require(line.endsWith('\n'), QStringLiteral("the last line has no end"));
        iLog.iLastLine = line.trimmed();
        if (iLog.iFirstLine.isEmpty())
            iLog.iFirstLine = iLog.iLastLine;
        const QList<QByteArray> fields = iLog.iLastLine.split('|');
        const QByteArray level = fields.value(2);
        const QByteArray func = fields.value(3);
        const QByteArray message = fields.mid(4).join('|');
        if (func == LogLoad::kFunction)
            TakeLoadLine(message);
        else if (func == "RegisteredThread::LogThreads")
            ++iThreadsListed;
        else if (level == "Error" || level == "Exception")
            ++iErrors;
        Require(message != iExpected.iSilenced.toUtf8(), QStringLiteral("the level stops nothing"));
    }

    // It must be the next line of its thread.
    void TakeLoadLine(const QByteArray& message)
    {
        const int thread = message.split(' ').value(1).toInt();
        if (thread >= iSeen.size())
            return Fail(QStringLiteral("unknown thread in \"%1\"").arg(QString::fromUtf8(message)));
        const QString next = LogLoad::MessageStart(thread) + QString::number(iSeen[thread]);
        Require(message == next.toUtf8(),
                QStringLiteral("\"%1\" where \"%2\" was due").arg(QString::fromUtf8(message), next));
        ++iSeen[thread];
    }

    void CheckCounts()
    {
        for (int thread = 0; thread < iSeen.size(); ++thread)
            RequireCount(iSeen[thread], iExpected.iLoadLines[thread], QStringLiteral("lines of thread %1").arg(thread));
        RequireCount(iErrors, iExpected.iErrors, QStringLiteral("errors"));
        RequireCount(iThreadsListed, iExpected.iThreadsListed, QStringLiteral("listed threads"));
    }

    void RequireCount(int count, int expected, const QString& what)
    {
        Require(count == expected, QStringLiteral("%1 %2 in the log, not %3").arg(count).arg(what).arg(expected));
    }

    const LogFolder& iFolder;
    const Expected& iExpected;
    const Shown& iShow;
    CheckedLog iLog;
    QVector<int> iSeen;
    int iErrors = 0;
    int iThreadsListed = 0;
};

} // namespace

CheckedLog CheckLog(const LogFolder& folder, const Expected& expected, const Shown& show)
{
    return Checker(folder, expected, show).Run();
}

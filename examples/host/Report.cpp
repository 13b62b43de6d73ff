#include "Report.h"

#include "Wait.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

constexpr int kReportPatienceMs = 60000; // four display tools may take ten seconds each
constexpr int kQuietMs = 300;

bool HasTool()
{
    return QFileInfo(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("qtdiag"))).isExecutable();
}

void SetUnlessSet(const char* name, const char* value)
{
    if (!qEnvironmentVariableIsSet(name))
        qputenv(name, value);
}

// The framework's tool shares the host's terminal, and fails without a display unless this variable says so.
void PrepareEnvironment()
{
    SetUnlessSet("QT_LOGGING_RULES", "*=false");
#ifndef Q_OS_MACOS
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        SetUnlessSet("QT_QPA_PLATFORM", "offscreen");
#endif
}

/// The two logs, while the collectors write them.
class Collection
{
public:
    static constexpr int kSteps = 3; // each of the logs, and that they do not grow any more

    Collection()
    {
        const QDir logs(QDir(SystemConfig::GetUserDataPath()).filePath(QStringLiteral("Logs")));
        iFramework.setFile(logs.filePath(QStringLiteral("qtdiag.log")));
        iDisplays.setFile(logs.filePath(QStringLiteral("graphics.log")));
    }

    // Existing logs prevent a new report.
    void Start()
    {
        for (const QFileInfo& log : {iFramework, iDisplays})
            QFile::remove(log.filePath());
        if (HasTool())
            PrepareEnvironment();
        else
            QFile(iFramework.filePath()).open(QIODevice::WriteOnly); // so that the shell does not look for it
        SystemConfig::ReportSystemDetails();
    }

    // The only sign that the collectors have finished is that the logs stop growing.
    int StepsDone()
    {
        const qint64 size = Size();
        if (size != iSize)
            iQuiet.start();
        iSize = size;
        const int logs = int(iDisplays.size() > 0) + int(!HasTool() || iFramework.size() > 0);
        return logs == 2 && SystemConfig::SystemDetailsExist() && iQuiet.hasExpired(kQuietMs) ? kSteps : logs;
    }

private:
    qint64 Size()
    {
        iFramework.refresh();
        iDisplays.refresh();
        return iFramework.size() + iDisplays.size();
    }

    QFileInfo iFramework;
    QFileInfo iDisplays;
    qint64 iSize = -1;
    QElapsedTimer iQuiet;
};

} // namespace

Report MakeReport(const Shown& show)
{
    show(0, Collection::kSteps);
    Collection collection;
    collection.Start();
    Report report;
    report.iIsMade = true;
    const auto isComplete = [&] {
        const int steps = collection.StepsDone();
        show(steps, Collection::kSteps);
        return steps == Collection::kSteps;
    };
    report.iIsComplete = Wait::Until(isComplete, QDeadlineTimer(kReportPatienceMs));
    report.iDisplays = SystemConfig::GetQMacSystemProfilertData().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    report.iFramework = SystemConfig::GetQtDialogData().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    SystemConfig::RemoveShFiles();
    return report;
}

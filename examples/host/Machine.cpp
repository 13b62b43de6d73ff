#include "Machine.h"

#include <NeroltOrvaneBase/DiskSpace.h>
#include <NeroltOrvaneBase/StackTrace.h>
#include <NeroltOrvaneBase/SystemConfig.h>
#include <NeroltOrvaneBase/UrlQueryManager.h>

#include <QtCore/QUrl>

namespace {

constexpr int kCallers = 3;

QString UpdateUrl(const QString& osName, const QString& osVersion)
{
    QUrl url(QStringLiteral("https://updates.example.org/latest?channel=beta"));
    UrlQueryManager::AddQueryParameters(url,
                                        {{QStringLiteral("os"), osName},
                                         {QStringLiteral("version"), osVersion},
                                         {QStringLiteral("cpu"), SystemConfig::getCPUArchitecture()}});
    UrlQueryManager::AddQueryParametersIfExists(url, {{QStringLiteral("channel"), QStringLiteral("stable")}});
    return url.toString();
}

QString FunctionName(const QString& frame)
{
    const QString start = QStringLiteral(" FunctionName ");
    const auto from = frame.indexOf(start) + start.size();
    const QString name = frame.mid(from, frame.indexOf(QLatin1String(" Offset ")) - from);
    return name.left(name.indexOf(QLatin1Char('(')));
}

QStringList Callers()
{
    QStringList callers;
    const QStringList frames = StackTrace::TraceCode().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    for (const QString& frame : frames)
        callers += FunctionName(frame);
    // The callers of that function. Instrumented builds have more frames in between.
    return callers.mid(qMax(0, callers.indexOf(QStringLiteral("DescribeMachine"))), kCallers);
}

} // namespace

Machine DescribeMachine()
{
    QString name;
    QString version;
    QString word;
    SystemConfig::GetSystemInfo(name, version, word);
    Machine machine;
    machine.iSystem = QStringList({name, version, word}).join(QLatin1Char(' ')).trimmed();
    machine.iProcessor = SystemConfig::getCPUArchitecture();
    machine.iBuild = SystemConfig::getApplicationBuildArch();
    machine.iUserAgent = SystemConfig::UserAgent();
    machine.iUpdateUrl = UpdateUrl(name, version);
    machine.iFreeBytes = DiskSpace::GetFreeDiskSpace(SystemConfig::GetUserDataPath());
    machine.iIsLoggedIn = SystemConfig::IsUserLoggedIn();
    machine.iCallers = Callers();
    return machine;
}

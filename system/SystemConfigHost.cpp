#include "Host.h"
#include "HostWords.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QProcess>

void SystemConfig::GetSystemInfo(QString& osName, QString& osVersion, QString& processor)
{
    Host::GetSystemInfo(osName, osVersion, processor);
}

QString SystemConfig::UserAgent()
{
    QString version;
    if (QCoreApplication::instance())
        version = QCoreApplication::applicationVersion();
    return QLatin1String("NeroltAgent/") + (version.isEmpty() ? QStringLiteral("3.0") : version);
}

void SystemConfig::SetSystemStartAtBoot(bool enable, const QString&, const QString&)
{
    // The helper does everything, or is not installed. The caller need not know which.
    QProcess::execute(GetResourcesPath() + QLatin1String("/NeroltOrvaneLoginMac"),
                      {enable ? QStringLiteral("enable") : QStringLiteral("disable")});
}

bool SystemConfig::IsUserLoggedIn()
{
    constexpr const char* func = "IsUserLoggedIn";
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace(func, QStringLiteral("Enter."));
    const IniFile preferences(GetPrefsIniPath());
    QString text;
    const bool isLoggedIn
        = preferences.GetKeyValue(QStringLiteral("User"), QStringLiteral("LoggedIn"), text) && IniFile::ToBool(text);
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(func, QLatin1String("User is logged in ") + QString::number(int(isLoggedIn)));
    return isLoggedIn;
}

void SystemConfig::SetStringInCurrentUser(const QString&, const QString&, bool)
{
    // User settings are in prefs.ini. Only another platform stores them elsewhere.
}

void SystemConfig::SetDWORDInCurrentUser(const QString&, const QString&, int)
{
    // As above.
}

bool SystemConfig::FileIsCacheFile(const QString& fileName)
{
    return HostWords::IsCacheFile(fileName);
}

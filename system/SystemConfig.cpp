#include "../logging/LogIf.h"
#include "Host.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>

#include <memory>

namespace {

constexpr QLatin1String kClassName("SystemConfig", int(sizeof("SystemConfig")) - 1);

constexpr int kPatienceMSecs = 5000;
constexpr int kEndMSecs = 1000;

QString OutputOfFile(const QString& path)
{
    auto file = std::make_unique<QProcess>();
    file->start(QStringLiteral("file"), {path}, QIODevice::ReadWrite);
    if (!file->waitForFinished(kPatienceMSecs)) {
        file->kill();
        // Leaves no zombie. A process that is blocked in the kernel does not end, and the destructor would wait for it.
        if (file->state() != QProcess::NotRunning && !file->waitForFinished(kEndMSecs))
            Q_UNUSED(file.release())
        return QString();
    }
    return QString::fromLocal8Bit(file->readAllStandardOutput().trimmed().constData());
}

int CachePrefixLength(const QString& fileName)
{
    for (const QLatin1String prefix : {QLatin1String("content"), QLatin1String("response")}) {
        if (fileName.startsWith(prefix))
            return int(prefix.size());
    }
    return 0;
}

} // namespace

SystemConfig* SystemConfig::sInstance = nullptr;

SystemConfig::SystemConfig() = default;

SystemConfig::~SystemConfig() = default;

SystemConfig* SystemConfig::GetInstance()
{
    if (sInstance)
        return sInstance;
    SingletonHook* const hook = HookedSingleton::GetInstance();
    sInstance = static_cast<SystemConfig*>(hook->GetInstance(kClassName));
    if (!sInstance) {
        sInstance = new SystemConfig;
        hook->SetInstance(kClassName, sInstance);
    }
    return sInstance;
}

void SystemConfig::Delete()
{
    // Reset afterwards: the destructor may still ask this instance for a path.
    delete sInstance;
    sInstance = nullptr;
}

QString SystemConfig::ApplicationShortName()
{
    return QStringLiteral("ZV");
}

void SystemConfig::GetSystemInfo(QString& osName, QString& osVersion, QString& processor)
{
    Host::GetSystemInfo(osName, osVersion, processor);
}

QString SystemConfig::getCPUArchitecture()
{
    return Host::CpuArchitecture();
}

QString SystemConfig::getApplicationBuildArch()
{
    // The plug-in of the user interface is built like the whole application.
    return Host::BuildArchitecture(OutputOfFile(GetPluginPath(QStringLiteral("UIContentHost"))));
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
    Logger::LogTrace(func, QStringLiteral("Enter."));
    const IniFile preferences(GetPrefsIniPath());
    QString text;
    const bool isLoggedIn
        = preferences.GetKeyValue(QStringLiteral("User"), QStringLiteral("LoggedIn"), text) && IniFile::ToBool(text);
    LogIf::Debug(func, [&] { return QLatin1String("User is logged in ") + QString::number(int(isLoggedIn)); });
    return isLoggedIn;
}

void SystemConfig::SetStringInCurrentUser(const QString&, const QString&, bool)
{
    // User settings are in prefs.ini. Only another platform stores them elsewhere.
}

void SystemConfig::SetDWORDInCurrentUser(const QString&, const QString&, int)
{
    // The same.
}

bool SystemConfig::FileIsCacheFile(const QString& fileName)
{
    const int length = CachePrefixLength(fileName);
    if (length == 0 || fileName.size() == length)
        return false;
    const QChar digit = fileName.at(length);
    if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
        return false;
    const QString suffix = QFileInfo(fileName).suffix();
    return suffix.isEmpty() || suffix == QLatin1String("md5x") || suffix == QLatin1String("md5");
}

std::wstring SystemConfig::QStringToWString(const QString& text)
{
    return text.toStdWString();
}

std::string SystemConfig::QStringToString(const QString& text)
{
    return text.toStdString();
}

QString SystemConfig::WStringToQString(const std::wstring& text)
{
    return QString::fromStdWString(text);
}

QString SystemConfig::StringToQString(const std::string& text)
{
    return QString::fromStdString(text);
}

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

namespace {

const QLatin1String kClassName("SystemConfig");

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

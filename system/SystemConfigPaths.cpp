#include "../logging/LogIf.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

constexpr const char* kDocuments = "Documents";
constexpr const char* kCache = "cache";
constexpr const char* kResources = "Resources";

QString Joined(const QString& folder, const char* name)
{
    return QDir(folder).filePath(QString::fromUtf8(name));
}

} // namespace

void SystemConfig::SetDesktopFolders(const QString& userData, const QString& documents, const QString& cache,
                                     const QString& downloadsBase)
{
    SystemConfig& config = *GetInstance();
    config.iUserDataFolder = userData;
    config.iDocumentsFolder = documents;
    config.iCacheFolder = cache;
    config.iDownloadsBaseFolder = downloadsBase;
}

void SystemConfig::SetTestPath(const QString& path)
{
    QString& testPath = GetInstance()->iTestPath;
    testPath = QDir::toNativeSeparators(path.trimmed());
    if (testPath.endsWith(QDir::separator()))
        testPath.chop(1);
}

const QString& SystemConfig::GetTestPath()
{
    return GetInstance()->iTestPath;
}

QString SystemConfig::GetPath(const QString& folder, const char* testSubfolder)
{
    const QString& testPath = GetTestPath();
    LogIf::Trace("SystemConfig::GetPath", [&] { return QLatin1String("The test path is ") + testPath; });
    if (testPath.isEmpty())
        return folder;
    return QDir::toNativeSeparators(testSubfolder ? Joined(testPath, testSubfolder) : testPath);
}

QString SystemConfig::GetUserDataPath()
{
    return GetPath(GetInstance()->iUserDataFolder, nullptr);
}

QString SystemConfig::GetUserDocumentsPath()
{
    return GetPath(GetInstance()->iDocumentsFolder, kDocuments);
}

QString SystemConfig::GetPicturesPath()
{
    return GetPath(GetInstance()->iPicturesFolder, kDocuments);
}

QString SystemConfig::GetMusicPath()
{
    return GetPath(GetInstance()->iMusicFolder, kDocuments);
}

QString SystemConfig::GetUserCachePath()
{
    return GetPath(GetInstance()->iCacheFolder, kCache);
}

QString SystemConfig::GetUsersUpdatePath()
{
    const QDir base(GetUserDataPath());
    const QDir target(base.filePath(QStringLiteral("Updates")));
    if (!target.exists() && !base.mkdir(QStringLiteral("Updates")))
        LogIf::Warning("SystemConfig::GetUsersUpdatePath",
                       [&] { return QLatin1String("failed to create folder ") + target.path(); });
    return target.path();
}

QString SystemConfig::GetUsersDownloadsPath()
{
    const QDir base(GetInstance()->iDownloadsBaseFolder);
    const QDir target(QDir::toNativeSeparators(base.filePath(QStringLiteral("Downloads"))));
    if (!target.exists())
        base.mkdir(QStringLiteral("Downloads")); // a failure shows when a download is stored
    return target.path();
}

QString SystemConfig::GetReportFolder()
{
    return Joined(GetUserDataPath(), "Logs");
}

QString SystemConfig::GetApplicationPath()
{
    const QLatin1String programs("MacOS");
    QString path = QCoreApplication::applicationDirPath();
    if (path.contains(programs))
        path.chop(programs.size());
    return QDir::toNativeSeparators(path);
}

QString SystemConfig::GetResourcesPath()
{
    const QString path = Joined(GetApplicationPath(), kResources);
    LogIf::Debug("SystemConfig::GetResourcesPath", [&] { return QLatin1String("resource path is ") + path; });
    return GetPath(path, kResources);
}

QString SystemConfig::GetPluginsPath()
{
    return Joined(GetApplicationPath(), "PlugIns");
}

QString SystemConfig::GetApplicationIniPath()
{
    return Joined(GetResourcesPath(), "application.ini");
}

QString SystemConfig::GetPrefsIniPath()
{
    return Joined(GetUserDataPath(), "prefs.ini");
}

QString SystemConfig::GetDownloadUrlsXMLPath()
{
    return Joined(GetUserCachePath(), "downloadUrls.xml");
}

QString SystemConfig::GetConfigurationFileName()
{
    return Joined(GetUserDataPath(), "Configuration.xml");
}

QString SystemConfig::GetPluginPath(const QString& pluginName)
{
    return QDir(GetPluginsPath()).filePath(QLatin1String("lib") + pluginName + QLatin1String(".dylib"));
}

QString SystemConfig::GetUserLocalePath(const QString& locale, bool inUserDataFolder, bool withExtension,
                                        bool ownPrefix)
{
    QString name = QLatin1String(ownPrefix ? "NeroltOrvane_" : "UIContentHost_") + locale;
    if (withExtension)
        name += QLatin1String(".qm");
    return inUserDataFolder ? QDir(GetUserDataPath()).filePath(name) : name;
}

bool SystemConfig::CreateFolder(const QString& path)
{
    // An embedded NUL or a removed current folder must not lead to a different path.
    const bool isNowhere = QDir::isRelativePath(path) && QDir::currentPath().isEmpty();
    if (path.isEmpty() || path.contains(QChar(0)) || isNowhere)
        return false;
    QDir folder(path);
    folder.makeAbsolute();
    const QString full = folder.path();
    for (;;) {
        const QString current = folder.path();
        if (current.isEmpty())
            return false;
        if (QFileInfo::exists(current)) {
            if (current.size() == full.size())
                return true;
            return folder.mkpath(full.mid(current.size() + (folder.isRoot() ? 0 : 1)));
        }
        folder = QFileInfo(current).dir();
    }
}

bool SystemConfig::CreateUserProfile()
{
    return CreateFolder(GetUserDataPath());
}

#pragma once

#include "Export.h"
#include "IOrvaneInstance.h"

#include <QtCore/QString>

#include <string>

/// Where the application's folders and files are.
///
/// The host says once where the desktop has its folders (SetDesktopFolders); a test path puts all that belongs to the
/// user below one folder instead. Paths have "/" separators. Getters never fail: without a folder set they give what
/// joining to an empty path gives. The singleton is found in the hook under "SystemConfig", see HookedSingleton; a hook
/// must be installed before the first use. Set up on the main thread, then read on any.
class NEROLTORVANEBASE_EXPORT SystemConfig : public IOrvaneInstance
{
public:
    SystemConfig();
    ~SystemConfig() override;

    /// The instance of the process: the one that the hook holds, else a new one that is entered there.
    static SystemConfig* GetInstance();
    /// Destroys the current instance. The hook's entry stays: a host that calls this itself replaces it.
    void Delete() override;

    static void SetDesktopFolders(const QString& userData, const QString& documents, const QString& cache,
                                  const QString& downloadsBase);

    /// Puts the user's folders below `path`; an empty or blank path ends that. One separator at the end is dropped.
    static void SetTestPath(const QString& path);
    static const QString& GetTestPath();

    static QString ApplicationShortName();

    /// `folder`, or under a test path that path, or its subfolder if one is named. Logs at trace level.
    static QString GetPath(const QString& folder, const char* testSubfolder);

    /// @name Folders
    /// Nothing is created unless stated.
    /// @{
    static QString GetUserDataPath();
    static QString GetUserDocumentsPath();
    static QString GetPicturesPath(); ///< empty without a test path
    static QString GetMusicPath(); ///< empty without a test path
    static QString GetUserCachePath();
    static QString GetUsersUpdatePath(); ///< created, one level; logs a warning when that fails
    static QString GetUsersDownloadsPath(); ///< created, one level; not moved by a test path
    static QString GetApplicationPath(); ///< Contents, with a separator at the end, or the program's folder
    static QString GetResourcesPath(); ///< logs at debug level
    static QString GetPluginsPath(); ///< not moved by a test path
    /// @}

    /// @name Files
    /// @{
    static QString GetApplicationIniPath();
    static QString GetPrefsIniPath();
    static QString GetDownloadUrlsXMLPath();
    static QString GetConfigurationFileName();
    static QString GetPluginPath(const QString& pluginName);
    /// The translation file for a locale: the library's own (`ownPrefix`) or that of the user interface.
    static QString GetUserLocalePath(const QString& locale, bool inUserDataFolder, bool withExtension, bool ownPrefix);
    /// @}

    /// Creates a folder and all that is missing above it. False for an empty path or when the system refuses.
    static bool CreateFolder(const QString& path);
    /// CreateFolder for the user's data.
    static bool CreateUserProfile();

    /// @name Strings of the standard library, in UCS-4 and UTF-8
    /// @{
    static std::wstring QStringToWString(const QString& text);
    static std::string QStringToString(const QString& text);
    static QString WStringToQString(const std::wstring& text);
    static QString StringToQString(const std::string& text);
    /// @}

private:
    Q_DISABLE_COPY(SystemConfig)

    static SystemConfig* sInstance;

    QString iTestPath;
    QString iUserDataFolder;
    QString iDocumentsFolder;
    QString iCacheFolder;
    QString iPicturesFolder;
    QString iMusicFolder;
    QString iDownloadsBaseFolder;
};

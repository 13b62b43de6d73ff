#pragma once

#include "Export.h"
#include "IOrvaneInstance.h"

#include <QtCore/QString>

#include <string>

/// Where the application's folders and files are, and what the host is.
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

    /// Says where the user's data, documents and cache are, and the folder in which Downloads is. Kept as given.
    static void SetDesktopFolders(const QString& userData, const QString& documents, const QString& cache,
                                  const QString& downloadsBase);

    /// Puts the user's folders below `path`; an empty or blank path ends that. One separator at the end is dropped.
    static void SetTestPath(const QString& path);
    /// The test path, empty without one.
    static const QString& GetTestPath();

    /// "ZV".
    static QString ApplicationShortName();

    /// `folder`, or under a test path that path, or its subfolder if one is named. Logs at trace level.
    static QString GetPath(const QString& folder, const char* testSubfolder);

    /// @name Folders
    /// Nothing is created unless stated.
    /// @{

    static QString GetUserDataPath(); ///< as set, or the test path
    static QString GetUserDocumentsPath(); ///< as set, or Documents below a test path
    static QString GetPicturesPath(); ///< empty without a test path
    static QString GetMusicPath(); ///< empty without a test path
    static QString GetUserCachePath(); ///< as set, or cache below a test path
    static QString GetUsersUpdatePath(); ///< created, one level; logs a warning when that fails
    static QString GetUsersDownloadsPath(); ///< created, one level; not moved by a test path
    static QString GetApplicationPath(); ///< Contents, with a separator at the end, or the program's folder
    static QString GetResourcesPath(); ///< logs at debug level
    static QString GetPluginsPath(); ///< not moved by a test path
    /// @}

    /// @name Files
    /// None is created.
    /// @{

    static QString GetApplicationIniPath(); ///< application.ini among the resources
    static QString GetPrefsIniPath(); ///< prefs.ini in the user's data
    static QString GetDownloadUrlsXMLPath(); ///< downloadUrls.xml in the cache
    static QString GetConfigurationFileName(); ///< Configuration.xml in the user's data
    static QString GetPluginPath(const QString& pluginName); ///< lib<name>.dylib among the plug-ins
    /// The translation file for a locale: the library's own (`ownPrefix`) or that of the user interface.
    static QString GetUserLocalePath(const QString& locale, bool inUserDataFolder, bool withExtension, bool ownPrefix);
    /// @}

    /// Creates a folder and all that is missing above it. False for an empty path or when the system refuses.
    static bool CreateFolder(const QString& path);
    /// CreateFolder for the user's data.
    static bool CreateUserProfile();

    /// @name Facts about the host
    /// On any thread, once there is an instance.
    /// @{

    /// Name and version of the operating system, and a word for its processor: on macOS "MacOSX", "14.2" and
    /// "intel_" with the machine's name, whatever the processor is; on Linux "linux", the kernel's version and nothing.
    static void GetSystemInfo(QString& osName, QString& osVersion, QString& processor);
    /// "NeroltAgent/" with the application's version, or with "3.0" when it has none.
    static QString UserAgent();
    /// Runs the login-item helper of the resources folder and blocks until it exits. Silent when that fails. The texts
    /// are for other platforms.
    static void SetSystemStartAtBoot(bool enable, const QString& first, const QString& second);
    /// Whether the preferences say so: "LoggedIn" in section "User" is "true", in any letter case. Logs at trace and
    /// debug level.
    static bool IsUserLoggedIn();
    /// @}

    /// @name For other platforms
    /// No effect here.
    /// @{

    /// Does nothing.
    static void SetStringInCurrentUser(const QString& name, const QString& value, bool flag);
    /// Does nothing.
    static void SetDWORDInCurrentUser(const QString& name, const QString& valueName, int value);
    /// @}

    /// Whether a file of this name (without a path) is one of the application's cache files.
    static bool FileIsCacheFile(const QString& fileName);

    /// @name Processors
    /// Nothing is logged.
    /// @{

    /// The processor that this process sees: "x86_64", "arm64", "arm" or "Unknown".
    static QString getCPUArchitecture();
    /// What the application was built for: "Universal", "intelx64", "arm64", or nothing when that cannot be told. Asks
    /// the program "file" about the user interface's plug-in: blocks for up to 6 seconds.
    static QString getApplicationBuildArch();
    /// @}

    /// @name Report for the support
    /// Two logs in the folder Logs of the user's data, which must be there. Failures are silent. The paths of the
    /// user's data and of the program are put into scripts for "sh" in double quotes: they must not hold a double
    /// quote, a backquote, a dollar sign or a backslash. The shell takes these for its own: it executes what stands in
    /// "$(...)" in a path. One caller at a time.
    /// @{

    /// Starts the collectors, those that have not left a log yet, and returns at once. A collector whose script is not
    /// the user's own file, wholly written by this call, is not started. Logs at trace and debug level.
    static void ReportSystemDetails();
    /// Whether both logs are there. The collectors may still be writing.
    static bool SystemDetailsExist();
    /// What matters of the framework's own diagnostics, lines ended by CR LF; empty if there is no log.
    static QString GetQtDialogData();
    /// The description of the displays; empty if there is no log.
    static QString GetQMacSystemProfilertData();
    /// Deletes the collectors' scripts; the logs stay.
    static void RemoveShFiles();
    /// Empty on this platform. Logs at trace level.
    static QString GetLastCrashLog();
    /// Empty on this platform.
    static QString GetDxDialogData();
    /// @}

    /// @name Strings of the standard library, in UCS-4 and UTF-8
    /// @{

    static std::wstring QStringToWString(const QString& text); ///< one unit for each code point
    static std::string QStringToString(const QString& text); ///< UTF-8
    static QString WStringToQString(const std::wstring& text); ///< of one unit for each code point
    static QString StringToQString(const std::string& text); ///< of UTF-8
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

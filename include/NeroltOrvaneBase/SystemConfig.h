#pragma once

#include "Export.h"
#include "IOrvaneInstance.h"

#include <QtCore/QString>

#include <string>

/// The paths of the application's folders and files, and facts about the host.
///
/// The host calls SetDesktopFolders once. Before that the user's paths are relative: the preferences are "prefs.ini" in
/// the current folder. A test path moves the user's data, documents and cache below one folder. Paths have "/"
/// separators. Getters never fail. The hook holds the singleton under the name "SystemConfig": install a hook before
/// the first use, see HookedSingleton. Set it up on the main thread; then any thread may read.
class NEROLTORVANEBASE_EXPORT SystemConfig : public IOrvaneInstance
{
public:
    SystemConfig();
    ~SystemConfig() override;

    /// Returns the instance of the process. If the hook holds none, creates one and adds it to the hook.
    static SystemConfig* GetInstance();
    /// Destroys the current instance. The entry in the hook stays: a host that calls this itself must replace it.
    void Delete() override;

    /// Sets the folders of the user's data, documents and cache, and the folder that contains Downloads. The paths are
    /// stored unchanged, and no folder is created.
    static void SetDesktopFolders(const QString& userData, const QString& documents, const QString& cache,
                                  const QString& downloadsBase);

    /// Moves the user's folders below `path`. An empty or blank path ends that. One trailing separator is removed.
    static void SetTestPath(const QString& path);
    /// Returns the test path, empty without one.
    static const QString& GetTestPath();

    /// Returns "ZV".
    static QString ApplicationShortName();

    /// Returns `folder`. With a test path, returns the test path, or its subfolder `testSubfolder` if that is not null.
    /// Logs at trace level.
    static QString GetPath(const QString& folder, const char* testSubfolder);

    /// @name Folders
    /// No folder is created unless stated.
    /// @{

    static QString GetUserDataPath(); ///< as set, or the test path
    static QString GetUserDocumentsPath(); ///< as set, or Documents below the test path
    static QString GetPicturesPath(); ///< empty without a test path
    static QString GetMusicPath(); ///< empty without a test path
    static QString GetUserCachePath(); ///< as set, or cache below the test path
    static QString GetUsersUpdatePath(); ///< created if its parent exists; logs a warning if that fails
    static QString GetUsersDownloadsPath(); ///< created if its parent exists; not moved by a test path
    static QString GetApplicationPath(); ///< Contents of the bundle, with a trailing separator, or the program's folder
    static QString GetResourcesPath(); ///< logs at debug level
    static QString GetPluginsPath(); ///< not moved by a test path
    /// @}

    /// @name Files
    /// No file is created.
    /// @{

    static QString GetApplicationIniPath(); ///< application.ini in the resources
    static QString GetPrefsIniPath(); ///< prefs.ini in the user's data
    static QString GetDownloadUrlsXMLPath(); ///< downloadUrls.xml in the cache
    static QString GetConfigurationFileName(); ///< Configuration.xml in the user's data
    static QString GetPluginPath(const QString& pluginName); ///< lib<name>.dylib in the plug-ins
    /// Returns the translation file for a locale: of the library (`ownPrefix`) or of the user interface.
    static QString GetUserLocalePath(const QString& locale, bool inUserDataFolder, bool withExtension, bool ownPrefix);
    /// @}

    /// Creates a folder and its missing parents. False for an empty path or if the system refuses.
    static bool CreateFolder(const QString& path);
    /// Creates the folder of the user's data.
    static bool CreateUserProfile();

    /// @name Facts about the host
    /// Any thread may call, once there is an instance.
    /// @{

    /// Gets the name and version of the operating system and a name for its processor: on macOS "MacOSX", "14.2" and
    /// "intel_" with the machine's name, for every processor; on Linux "linux", the kernel's version and an empty text.
    static void GetSystemInfo(QString& osName, QString& osVersion, QString& processor);
    /// Returns "NeroltAgent/" with the application's version, or with "3.0" if it has none.
    static QString UserAgent();
    /// Runs the login-item helper in the resources folder and blocks until it exits. Does not report a failure. The
    /// texts are for other platforms.
    static void SetSystemStartAtBoot(bool enable, const QString& first, const QString& second);
    /// Returns whether the preferences say so: whether "LoggedIn" in section "User" is "true", in any letter case. Logs
    /// at trace and debug level.
    static bool IsUserLoggedIn();
    /// @}

    /// @name For other platforms
    /// They have no effect on this platform.
    /// @{

    /// Does nothing.
    static void SetStringInCurrentUser(const QString& name, const QString& value, bool flag);
    /// Does nothing.
    static void SetDWORDInCurrentUser(const QString& name, const QString& valueName, int value);
    /// @}

    /// Returns whether a file with this name (without a path) is one of the application's cache files.
    static bool FileIsCacheFile(const QString& fileName);

    /// @name Processors
    /// These functions do not log.
    /// @{

    /// Returns the processor that this process sees: "x86_64", "arm64", "arm" or "Unknown".
    static QString getCPUArchitecture();
    /// Returns what the application was built for: "Universal", "intelx64", "arm64", or an empty text if that is
    /// unknown. Runs the program "file" on the user interface's plug-in: blocks for up to 6 seconds.
    static QString getApplicationBuildArch();
    /// @}

    /// @name Report for technical support
    /// Two logs in the folder Logs of the user's data, which must exist. Failures are not reported. The paths of the
    /// user's data and of the program are written into scripts for "sh" between double quotes: they must not contain a
    /// double quote, a backquote, a dollar sign or a backslash. The shell interprets these: it executes "$(...)" in a
    /// path. Only one thread at a time may call.
    /// @{

    /// Starts the collectors whose log does not exist yet, and returns at once. Does not start a collector unless its
    /// script is the user's own file and was written completely by this call. Logs at trace and debug level.
    static void ReportSystemDetails();
    /// Returns whether both logs exist. The collectors may still be writing.
    static bool SystemDetailsExist();
    /// Returns the relevant part of the framework's own diagnostics, each line ended by CR LF; empty if there is no
    /// log.
    static QString GetQtDialogData();
    /// Returns the description of the displays; empty if there is no log.
    static QString GetQMacSystemProfilertData();
    /// Deletes the collectors' scripts; the logs stay.
    static void RemoveShFiles();
    /// Returns an empty text on this platform. Logs at trace level.
    static QString GetLastCrashLog();
    /// Returns an empty text on this platform.
    static QString GetDxDialogData();
    /// @}

    /// @name Strings of the standard library, in UCS-4 and UTF-8
    /// @{

    static std::wstring QStringToWString(const QString& text); ///< UCS-4
    static std::string QStringToString(const QString& text); ///< UTF-8
    static QString WStringToQString(const std::wstring& text); ///< from UCS-4
    static QString StringToQString(const std::string& text); ///< from UTF-8
    /// @}

private:
    Q_DISABLE_COPY(SystemConfig)

    Q_DECL_HIDDEN static QString GetReportFolder(); // Logs in the user's data

    static SystemConfig* sInstance;

    QString iTestPath;
    QString iUserDataFolder;
    QString iDocumentsFolder;
    QString iCacheFolder;
    QString iPicturesFolder;
    QString iMusicFolder;
    QString iDownloadsBaseFolder;
};

#include "Preferences.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDir>
#include <QtCore/QVariant>

namespace {

const QString kDownloads = QStringLiteral("Downloads");
const QString kHost = QStringLiteral("Host");
const QString kRuns = QStringLiteral("Runs");
const QString kVersion = QStringLiteral("Version");
const QString kVersionKey = QStringLiteral("Host");

QString FromKey()
{
    return QString::fromLatin1(ZEP_GLOBALS::gAutoDownloadsStartTime);
}

QString ToKey()
{
    return QString::fromLatin1(ZEP_GLOBALS::gAutoDownloadsEndTime);
}

// The file that an installer would ship. The user's own values take precedence, except for the version.
QString ShipDefaults()
{
    QString path = QDir(SystemConfig::GetUserDataPath()).filePath(QStringLiteral("defaults.ini"));
    IniFile defaults(path);
    defaults.SetKeyValue(kDownloads, FromKey(), QStringLiteral("22:30"));
    defaults.SetKeyValue(kDownloads, ToKey(), QStringLiteral("05:15"));
    defaults.SetKeyValue(kVersion, kVersionKey, QStringLiteral(HOST_VERSION));
    return path;
}

int CountRun(IniFile& preferences)
{
    QString text;
    preferences.GetKeyValue(kHost, kRuns, text); // missing on the first run
    const int runs = text.toInt() + 1;
    preferences.SetKeyValue(kHost, kRuns, runs);
    return runs;
}

} // namespace

bool PrepareFolders(const QString& base)
{
    const QDir folder(base);
    SystemConfig::SetDesktopFolders(base, folder.filePath(QStringLiteral("Documents")),
                                    folder.filePath(QStringLiteral("Cache")), base);
    const bool isCreated
        = SystemConfig::CreateUserProfile() && SystemConfig::CreateFolder(SystemConfig::GetUserCachePath());
    SystemConfig::GetUsersDownloadsPath(); // creates it
    return isCreated;
}

Preferences OpenPreferences()
{
    IniFile file(SystemConfig::GetPrefsIniPath());
    Preferences preferences;
    preferences.iIsMerged = file.Merge(ShipDefaults(), kVersion);
    preferences.iRuns = CountRun(file);
    preferences.iPath = file.GetFileName();
    preferences.iDownloadsFrom = IniFile::GetTimeFromPrefs(file, kDownloads, FromKey());
    preferences.iDownloadsTo = IniFile::GetTimeFromPrefs(file, kDownloads, ToKey());
    return preferences;
}

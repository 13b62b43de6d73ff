// Settings: a file to which each change is written at once, defaults merged into it, and a file edited as a whole.
#include <NeroltOrvaneBase/Settings.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QSize>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtCore/QTime>

namespace {

// Works with any store.
QString Value(const IIniFileBase& store, const QString& section, const QString& key, QString value)
{
    store.GetKeyValue(section, key, value); // leaves the default alone if there is no such key
    return value;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QTextStream out(stdout);

    IniFile prefs(folder.filePath("prefs.ini"));
    prefs.SetKeyValue("User", "Name", "Ada");
    prefs.SetKeyValue("Window", "Size", QSize(640, 480));
    prefs.SetKeyValue("Downloads", ZEP_GLOBALS::gAutoDownloadsStartTime, "07:45");
    prefs.SetKeyValue("Version", "Major", 1);
    out << "name: " << Value(prefs, "User", "Name", "nobody") << '\n';
    out << "theme: " << Value(prefs, "Window", "Theme", "light") << '\n';
    const QTime from = IniFile::GetTimeFromPrefs(prefs, "Downloads", ZEP_GLOBALS::gAutoDownloadsStartTime);
    const QTime to = IniFile::GetTimeFromPrefs(prefs, "Downloads", ZEP_GLOBALS::gAutoDownloadsEndTime);
    out << "downloads: " << from.toString("hh:mm") << " to " << to.toString("hh:mm") << '\n';

    // The user's values stay, except in the section that is named.
    IniFile shipped(folder.filePath("defaults.ini"));
    shipped.SetKeyValue("User", "Name", "somebody");
    shipped.SetKeyValue("Window", "Theme", "dark");
    shipped.SetKeyValue("Version", "Major", 2);
    prefs.Merge(shipped.GetFileName(), "Version");
    out << "name: " << Value(prefs, "User", "Name", "nobody") << '\n';
    out << "theme: " << Value(prefs, "Window", "Theme", "light") << '\n';

    // In memory names are case-insensitive. Nothing is on disk before WriteFile.
    SettingsIniFile whole;
    whole.ReadFile(prefs.GetFileName());
    whole.SetKeyValue("USER", "name", QString("Grace"));
    whole.RemoveKey("Window", "Size");
    if (!whole.WriteFile(prefs.GetFileName()))
        return 1;
    QFile file(prefs.GetFileName());
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    out << file.readAll();
    return 0;
}

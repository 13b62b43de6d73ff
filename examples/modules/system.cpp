// The application's folders, a test path for them, and facts about the host.
#include <NeroltOrvaneBase/System.h>
#include <NeroltOrvaneBase/Threading.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QStandardPaths>
#include <QtCore/QTextStream>

namespace {

void PrintFolders(QTextStream& out)
{
    out << "user data:   " << SystemConfig::GetUserDataPath() << '\n';
    out << "documents:   " << SystemConfig::GetUserDocumentsPath() << '\n';
    out << "cache:       " << SystemConfig::GetUserCachePath() << '\n';
    out << "preferences: " << SystemConfig::GetPrefsIniPath() << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("example");
    QCoreApplication::setApplicationVersion("1.2");
    QTextStream out(stdout);

    // The hook holds the singleton and deletes it at the end.
    SingletonHook hook;
    HookedSingleton::InstallHook(&hook);

    using Paths = QStandardPaths;
    const QString data = Paths::writableLocation(Paths::AppDataLocation);
    SystemConfig::SetDesktopFolders(data, Paths::writableLocation(Paths::DocumentsLocation),
                                    Paths::writableLocation(Paths::CacheLocation), data);
    PrintFolders(out);

    // Tests do not touch the user's files.
    SystemConfig::SetTestPath("/scratch");
    PrintFolders(out);
    SystemConfig::SetTestPath(QString());

    QString system;
    QString version;
    QString processor;
    SystemConfig::GetSystemInfo(system, version, processor);
    out << "system:      " << system << ' ' << version << '\n';
    out << "processor:   " << SystemConfig::getCPUArchitecture() << '\n';
    out << "user agent:  " << SystemConfig::UserAgent() << '\n';
    out << "logged in:   " << (SystemConfig::IsUserLoggedIn() ? "yes" : "no") << '\n';
    return 0;
}

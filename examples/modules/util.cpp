// Times and write protection of files, free space, parameters of URLs.
#include <NeroltOrvaneBase/Util.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QLocale>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtCore/QUrl>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QTextStream out(stdout);

    const QString path = folder.filePath("film.mov");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return 1;
    file.close();

    const QDateTime taken(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
    if (FileUtilities::SetTime(path, taken, FileTimeModification, false))
        out << "modified: " << FileUtilities::GetTime(path, FileTimeModification, false).toString(Qt::ISODateWithMs)
            << '\n';
    // Fails if the file system cannot store a creation time.
    if (FileUtilities::SetTime(path, taken.addDays(-1), FileTimeCreation, false))
        out << "created:  " << FileUtilities::GetTime(path, FileTimeCreation, false).toString(Qt::ISODateWithMs)
            << '\n';

    const bool isLocked = FileUtilities::SetReadOnlyFlag(path, true);
    const bool isUnlocked = FileUtilities::SetReadOnlyFlag(path, false);
    out << "locked:   " << isLocked << ", and unlocked: " << isUnlocked << '\n';

    const qint64 space = DiskSpace::GetFreeDiskSpace(folder.path());
    out << "free:     " << (space < 0 ? "unknown" : QLocale::c().formattedDataSize(space)) << '\n';

    QUrl url("https://example.org/search?page=1&lang=en");
    UrlQueryManager::AddQueryParameter(url, "page", "2");
    UrlQueryManager::AddQueryParameters(url, {{"lang", QString()}, {"sort", "date"}});
    UrlQueryManager::AddQueryParametersIfExists(url, {{"sort", "name"}, {"limit", "10"}});
    out << "url:      " << url.toString() << '\n';
    return 0;
}

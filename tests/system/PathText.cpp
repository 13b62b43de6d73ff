#include "PathText.h"

#include "InstalledHook.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDirIterator>
#include <QtCore/QStandardPaths>

namespace {

const QString kLog = QStringLiteral("app.log");

} // namespace

QString PathText::Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QStringList PathText::Texts(std::initializer_list<const char*> list)
{
    QStringList texts;
    for (const char* const text : list)
        texts += Text(text);
    return texts;
}

QStringList PathText::Tree(const QString& folder)
{
    QStringList names;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString name = QDir(folder).relativeFilePath(it.next());
        names += it.fileInfo().isDir() && !it.fileInfo().isSymLink() ? name + QLatin1Char('/') : name;
    }
    names.sort();
    return names;
}

bool PathText::Make(const QString& thing)
{
    const QStringList link = thing.split(QStringLiteral(" -> "));
    if (link.size() == 2)
        return QFile::link(link[1], link[0]);
    return thing.endsWith(QLatin1Char('/')) ? QDir().mkpath(thing) : Write(thing, "text\n");
}

bool PathText::Write(const QString& path, const QByteArray& bytes, QFile::Permissions more)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()
        && file.setPermissions(file.permissions() | more);
}

bool PathText::WriteProgram(const QString& path, const QByteArray& body)
{
    const QByteArray shell = QStandardPaths::findExecutable(Text("sh")).toUtf8();
    return Write(path, "#!" + shell + "\n" + body + "\n", QFile::Permissions(0x1111));
}

QString PathText::PathWith(const QString& folder)
{
    return folder + Text(":") + QString::fromLocal8Bit(qgetenv("PATH"));
}

int PathText::Logged(int level, const std::function<void()>& calls)
{
    const InstalledHook hook;
    Logger& logger = *Logger::GetInstance();
    logger.SetLevel(level);
    calls(); // the lines stay in the buffer, so that the log's own lines about its start do not come in between
    logger.SetLevel(0);
    Logger::SetLoggerFileName(kLog, false);
    Logger::StopLogging();
    return 0;
}

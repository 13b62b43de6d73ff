#include "OldLog.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

void Write(const QString& path, const QDateTime& time)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    const QString stamp = time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
    file.write(stamp.toUtf8() + "|10|Information|OldLog::Prepare|this is what a run of two days ago logged\n");
}

} // namespace

OldLog OldLog::Prepare(const QString& path)
{
    const QDateTime twoDaysAgo = QDateTime::currentDateTime().addDays(-2);
    if (!QFile::exists(path))
        Write(path, twoDaysAgo);
    OldLog log;
    log.iIsAged = FileUtilities::SetTime(path, twoDaysAgo, FileTimeCreation, false);
    log.iSize = QFileInfo(path).size();
    return log;
}

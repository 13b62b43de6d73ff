#include "Rotation.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

constexpr qint64 kMaxAgeSecs = 86400;
constexpr qint64 kMaxBytes = 104857600;

// A name makes no second line, either.
QString WithoutBreaks(QString text)
{
    return text.remove(QLatin1Char('\r')).remove(QLatin1Char('\n'));
}

} // namespace

bool Rotation::IsDue(qint64 size, std::optional<qint64> createdMSecs, qint64 nowMSecs)
{
    return size > kMaxBytes || (nowMSecs - createdMSecs.value_or(nowMSecs)) / 1000 > kMaxAgeSecs;
}

QString Rotation::RotatedPath(const QString& path, const QDateTime& now)
{
    const QFileInfo info(path);
    const QString name = info.completeBaseName() + QLatin1Char('-')
        + now.toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss")) + QLatin1Char('.') + info.suffix();
    return info.dir().filePath(name);
}

QByteArray Rotation::HeaderLine(const QString& rotatedPath, const QDateTime& now)
{
    const QString line = now.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")) + QLatin1String("continued from ")
        + QFileInfo(rotatedPath).fileName();
    return WithoutBreaks(line).toUtf8() + '\n';
}

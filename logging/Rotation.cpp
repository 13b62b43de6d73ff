#include "Rotation.h"

#include "Stamp.h"

#include <QtCore/QByteArray>

#include <array>

namespace {

constexpr qint64 kMaxAgeSecs = 86400;
constexpr int kMilliseconds = 4; // ".zzz"

QByteArray StampOf(qint64 msecs)
{
    std::array<char, Stamp::kMaxSize> text = {};
    return QByteArray(text.data(), int(Stamp::Put(text.data(), msecs) - text.data()));
}

} // namespace

bool Rotation::IsDue(qint64 size, std::optional<qint64> createdMSecs, qint64 nowMSecs)
{
    return size > kMaxBytes || (nowMSecs - createdMSecs.value_or(nowMSecs)) / 1000 > kMaxAgeSecs;
}

QByteArray Rotation::RotatedPath(const QByteArray& path, qint64 nowMSecs)
{
    const QByteArray when = StampOf(nowMSecs).chopped(kMilliseconds).replace(' ', '_').replace(':', '-');
    const int name = path.lastIndexOf('/') + 1;
    const int dot = path.lastIndexOf('.');
    const bool hasSuffix = dot >= name;
    return path.left(hasSuffix ? dot : path.size()) + '-' + when + '.' + (hasSuffix ? path.mid(dot + 1) : QByteArray());
}

QByteArray Rotation::HeaderLine(const QByteArray& rotatedPath, qint64 nowMSecs)
{
    const QByteArray name = rotatedPath.mid(rotatedPath.lastIndexOf('/') + 1);
    QByteArray line = StampOf(nowMSecs) + "continued from " + name;
    // A name makes no second line, either.
    return line.replace('\r', "").replace('\n', "") + '\n';
}

#include "Rotation.h"

#include "Stamp.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

#include <array>

namespace {

constexpr qint64 kMaxAgeSecs = 86400;
constexpr int kMilliseconds = 4; // ".zzz"

QByteArray StampOf(qint64 msecs)
{
    std::array<char, Stamp::kMaxSize> text = {};
    return QByteArray(text.data(), int(Stamp::Put(text.data(), msecs) - text.data()));
}

struct Around
{
    QByteArray iBefore;
    QByteArray iBehind;
};

Around AroundStamp(const QByteArray& path)
{
    const auto dot = path.lastIndexOf('.');
    const bool hasSuffix = dot > path.lastIndexOf('/');
    return {path.left(hasSuffix ? dot : path.size()) + '-', hasSuffix ? path.mid(dot) : QByteArray(".")};
}

} // namespace

bool Rotation::IsDue(qint64 size, std::optional<qint64> createdMSecs, qint64 nowMSecs)
{
    return size > kMaxBytes || (nowMSecs - createdMSecs.value_or(nowMSecs)) / 1000 > kMaxAgeSecs;
}

QByteArray Rotation::RotatedPath(const QByteArray& path, qint64 nowMSecs)
{
    const Around around = AroundStamp(path);
    return around.iBefore + StampOf(nowMSecs).chopped(kMilliseconds).replace(' ', '_').replace(':', '-')
        + around.iBehind;
}

bool Rotation::IsRotatedPath(const QByteArray& path, const QByteArray& rotatedPath)
{
    const Around around = AroundStamp(path);
    if (rotatedPath.size() != around.iBefore.size() + Stamp::kToSecond + around.iBehind.size()
        || !rotatedPath.startsWith(around.iBefore) || !rotatedPath.endsWith(around.iBehind))
        return false;
    const QByteArray stamp = rotatedPath.mid(around.iBefore.size(), Stamp::kToSecond);
    const auto number = [&stamp](int at, int digits) { return stamp.mid(at, digits).toInt(); };
    return Stamp::HasForm(stamp.constData(), int(stamp.size()), "0000-00-00_00-00-00")
        && QDate::isValid(number(0, 4), number(5, 2), number(8, 2))
        && QTime::isValid(number(11, 2), number(14, 2), number(17, 2));
}

QByteArray Rotation::HeaderLine(const QByteArray& rotatedPath, qint64 nowMSecs)
{
    const QByteArray name = rotatedPath.mid(rotatedPath.lastIndexOf('/') + 1);
    QByteArray line = StampOf(nowMSecs) + "continued from " + name;
    // A name makes no second line, either.
    return line.replace('\r', "").replace('\n', "") + '\n';
}

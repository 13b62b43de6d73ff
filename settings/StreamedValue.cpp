#include "StreamedValue.h"

#include <QtCore/QMetaType>
#include <QtCore/QTimeZone>
#include <QtCore/QtEndian>

namespace {

constexpr int kDeepest = 32;
constexpr quint32 kNull = 0xffffffff;
constexpr quint32 kFirstMoved = 128; ///< types from this number on have a different number today
constexpr quint32 kMovedBy = 97;
constexpr int kNamed = 127; ///< in the old format: a type that a program may have registered
constexpr int kFont = 64;
constexpr int kColor = 67;
constexpr int kLongestZone = 256;

class Stream
{
public:
    Stream(const QByteArray& bytes, StreamedValue::Format format)
        : iBytes(bytes)
        , iIsOld(format == StreamedValue::Format::Variant)
    {
    }

    bool Value(int depth);

private:
    bool Skip(quint32 bytes);
    bool Number(quint32& number);
    bool Text(); ///< or bytes
    bool Named();
    bool Bits();
    bool DateTime();
    bool Zone();
    bool Values(bool haveNames, int depth);
    bool Texts();
    /// The size of a type of fixed size, negative for others.
    int SizeOf(quint32 type) const;
    bool Content(quint32 type, int depth);

    const QByteArray& iBytes;
    const bool iIsOld;
    int iAt = 0;
};

bool Stream::Skip(quint32 bytes)
{
    if (bytes > quint32(iBytes.size() - iAt))
        return false;
    iAt += int(bytes);
    return true;
}

bool Stream::Number(quint32& number)
{
    const int at = iAt;
    if (!Skip(sizeof number))
        return false;
    number = qFromBigEndian<quint32>(iBytes.constData() + at);
    return true;
}

bool Stream::Text()
{
    quint32 size = 0;
    return Number(size) && (size == kNull || Skip(size));
}

// Whether the name is one of the framework's own types.
bool Stream::Named()
{
    const QByteArray kUuid("\0\0\0\6QUuid\0", 10);
    const int at = iAt;
    return Skip(quint32(kUuid.size())) && iBytes.mid(at, kUuid.size()) == kUuid && Skip(16);
}

bool Stream::Bits()
{
    quint32 size = 0;
    return Number(size) && Skip(size / 8 + (size % 8 != 0));
}

// The framework keeps only two bits of Qt::TimeSpec: any other value may become a time in a zone.
bool Stream::DateTime()
{
    const int toSpec = iIsOld ? 8 : 12;
    if (!Skip(quint32(toSpec) + 1))
        return false;
    switch (iBytes.at(iAt - 1)) {
    case Qt::LocalTime:
    case Qt::UTC:
        return true;
    case Qt::OffsetFromUTC:
        return iIsOld || Skip(4);
    case Qt::TimeZone:
        return iIsOld || Zone();
    default:
        return iIsOld;
    }
}

// A time in an invalid zone crashes the process when it is written.
bool Stream::Zone()
{
    const int at = iAt + int(sizeof(quint32));
    if (!Text() || iAt - at > kLongestZone)
        return false;
    QByteArray name;
    for (int i = at; i + 1 < iAt; i += 2) // as UTF-16
        name += iBytes.at(i) == 0 ? iBytes.at(i + 1) : '?';
    return QTimeZone::isTimeZoneIdAvailable(name);
}

bool Stream::Values(bool haveNames, int depth)
{
    quint32 count = 0;
    if (!Number(count))
        return false;
    for (; count > 0; --count) {
        if ((haveNames && !Text()) || !Value(depth + 1))
            return false;
    }
    return true;
}

bool Stream::Texts()
{
    quint32 count = 0;
    if (!Number(count))
        return false;
    for (; count > 0; --count) {
        if (!Text())
            return false;
    }
    return true;
}

int Stream::SizeOf(quint32 type) const
{
    switch (type) {
    case QMetaType::Nullptr:
        return 0;
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return 1;
    case QMetaType::QChar:
    case QMetaType::Short:
    case QMetaType::UShort:
        return 2;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::QTime:
        return 4;
    case QMetaType::QDate:
    case QMetaType::Float:
        return iIsOld ? 4 : 8;
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Double:
    case QMetaType::QSize:
    case QMetaType::QPoint:
        return 8;
    case QMetaType::QRect:
    case QMetaType::QLine:
    case QMetaType::QSizeF:
    case QMetaType::QPointF:
    case QMetaType::QUuid:
        return 16;
    case QMetaType::QRectF:
    case QMetaType::QLineF:
        return 32;
    default:
        return -1;
    }
}

bool Stream::Content(quint32 type, int depth)
{
    switch (type) {
    case QMetaType::UnknownType:
        return !iIsOld || Text();
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QUrl:
    case QMetaType::QLocale:
        return Text();
    case kNamed:
        return iIsOld && Named();
    case QMetaType::QBitArray:
        return Bits();
    case QMetaType::QDateTime:
        return DateTime();
    case QMetaType::QStringList:
        return Texts();
    case QMetaType::QVariantList:
        return Values(false, depth);
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return Values(true, depth);
    default:
        const int size = SizeOf(type);
        return size >= 0 && Skip(quint32(size));
    }
}

bool Stream::Value(int depth)
{
    quint32 type = 0;
    if (depth > kDeepest || !Number(type) || (!iIsOld && !Skip(1)))
        return false;
    if (depth == 0 && (type == kFont || type == kColor))
        return true; // the most frequent type, and safe whatever follows
    if (iIsOld && type >= kFirstMoved)
        type -= kMovedBy;
    return Content(type, depth);
}

} // namespace

bool StreamedValue::IsSafe(const QByteArray& bytes, Format format)
{
    return Stream(bytes, format).Value(0);
}

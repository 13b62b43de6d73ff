#include "IniEncoding.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kFirstEscaped = 0x7f;
constexpr quint32 kFloat = 0x87; ///< the number of this type in streams of QSettings

bool IsAscii(const QByteArray& text)
{
    return std::none_of(text.begin(), text.end(), [](char c) { return uchar(c) > kFirstEscaped; });
}

/// Writes units of text with the escapes of Qt 5.
class Escaped
{
public:
    void Plain(char c)
    {
        if (iHasNumber && std::isxdigit(uchar(c)))
            Number(uchar(c)); // it would belong to the number before
        else
            Put(c);
    }
    void Number(uint unit)
    {
        iText += "\\x" + QByteArray::number(unit, 16);
        iHasNumber = true;
    }
    void Code(char code, bool mayContinue = false)
    {
        iText += '\\';
        iText += code;
        iHasNumber = mayContinue;
    }
    void Put(char c)
    {
        iText += c;
        iHasNumber = false;
    }
    void Unit(uint unit);
    const QByteArray& Text() const { return iText; }

private:
    QByteArray iText;
    bool iHasNumber = false; ///< at its end
};

void Escaped::Unit(uint unit)
{
    constexpr char kMeanings[] = "\"\\\a\b\f\n\r\t\v";
    constexpr char kCodes[] = "\"\\abfnrtv";
    const char* const found = unit != 0 && unit < kFirstEscaped ? std::strchr(kMeanings, int(unit)) : nullptr;
    if (found)
        Code(kCodes[found - kMeanings]);
    else if (unit == 0)
        Code('0', true);
    else if (unit < ' ' || unit >= kFirstEscaped)
        Number(unit);
    else
        Plain(char(unit));
}

QByteArray Written(const QString& text)
{
    Escaped escaped;
    for (const QChar c : text)
        escaped.Unit(c.unicode());
    const auto isSign = [](QChar c) { return c == u';' || c == u',' || c == u'='; };
    const bool isQuoted = text.isEmpty() || text.startsWith(u' ') || text.endsWith(u' ')
        || std::any_of(text.begin(), text.end(), isSign);
    return isQuoted ? '"' + escaped.Text() + '"' : escaped.Text();
}

QString Marked(const QString& text)
{
    if (text.contains(QChar(0)))
        return QLatin1String("@String(") + text + QLatin1Char(')');
    return text.startsWith(u'@') ? u'@' + text : text;
}

QString Streamed(float number)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    stream << kFloat << number;
    return QLatin1String("@Variant(") + QString::fromLatin1(bytes) + QLatin1Char(')');
}

bool IsPlain(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < kFirstEscaped; });
}

QVariant WritableItem(const QVariant& value, const IniEncoding::StandIn& standIn)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return IsPlain(value.toString()) ? value : standIn(Written(Marked(value.toString())));
    case QMetaType::Float:
        return standIn(Written(Streamed(value.toFloat())));
    default:
        return value;
    }
}

} // namespace

// What Qt 5 writes is not what QSettings would write of the same value.
const bool IniEncoding::kIsFrameworks = false;

bool IniEncoding::IsRead(const QByteArray& text)
{
    return IsAscii(text) || text.startsWith("\xef\xbb\xbf"); // Qt 5 takes that for the mark of UTF-8, too
}

QByteArray IniEncoding::Readable(const QByteArray& text)
{
    return IsRead(text) ? text : QString::fromLatin1(text).toUtf8();
}

// Streams are not kept, either: a number of single precision would become text.
bool IniEncoding::IsKept(const QByteArray& value)
{
    return !value.contains("\\x") && !value.contains('\x7f') && !value.contains("@Variant(") && IsAscii(value);
}

QByteArray IniEncoding::Rewritten(const QByteArray& value)
{
    Escaped escaped;
    for (const char c : value) {
        if (uchar(c) >= kFirstEscaped)
            escaped.Number(uchar(c));
        else
            escaped.Plain(c);
    }
    return escaped.Text();
}

// A list within a list, or one of a single value that is not text, is a stream.
QVariant IniEncoding::Writable(const QVariant& value, const StandIn& standIn)
{
    switch (value.typeId()) {
    case QMetaType::QStringList: {
        QStringList texts = value.toStringList();
        for (QString& text : texts)
            text = WritableItem(text, standIn).toString();
        return texts;
    }
    case QMetaType::QVariantList: {
        QVariantList items = value.toList();
        if (items.size() == 1)
            return value;
        for (QVariant& item : items)
            item = WritableItem(item, standIn);
        return items;
    }
    default:
        return WritableItem(value, standIn);
    }
}

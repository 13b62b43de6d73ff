#include "IniText.h"

#include "StreamedValue.h"

#include <QtCore/QByteArrayList>

#include <algorithm>
#include <cstring>

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool IsSpace(char c)
{
    return IsBlank(c) || c == '\n' || c == '\r';
}

bool EndsLine(char c)
{
    return c == '\n' || c == '\r';
}

int DigitOf(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const int letter = (c | 0x20) - 'a';
    return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

/// Splits the text into lines as the framework does. A line may contain line ends, escaped or in quotes.
class Lines
{
public:
    explicit Lines(const QByteArray& text)
        : iText(text)
    {
    }

    /// False at the end of the text.
    bool Next();
    IniText::Line Line() const { return iLine; }

private:
    bool IsOver() const { return iAt >= iText.size(); }
    bool TakeSign();
    void TakeEscape();
    bool TakeComment();

    const QByteArray& iText;
    IniText::Line iLine;
    int iAt = 0;
    bool iIsQuoted = false;
};

bool Lines::Next()
{
    iLine.iValueFrom = -1;
    iIsQuoted = false;
    while (!IsOver() && IsSpace(iText.at(iAt)))
        ++iAt;
    iLine.iFrom = iAt;
    while (!IsOver() && TakeSign())
        continue;
    iLine.iTo = iAt;
    return iLine.iTo > iLine.iFrom;
}

// False where the line ends.
bool Lines::TakeSign()
{
    const char sign = iText.at(iAt);
    const bool isFirst = iAt == iLine.iFrom;
    if (EndsLine(sign) && isFirst)
        ++iLine.iFrom;
    else if (EndsLine(sign) && !iIsQuoted)
        return false;
    else if (sign == ';' && (isFirst || !iIsQuoted))
        return isFirst && TakeComment();
    else if (sign == '=' && !iIsQuoted && iLine.iValueFrom < 0)
        iLine.iValueFrom = iAt + 1;
    else if (sign == '"')
        iIsQuoted = !iIsQuoted;
    ++iAt;
    if (sign == '\\')
        TakeEscape();
    return true;
}

void Lines::TakeEscape()
{
    if (IsOver())
        return;
    const char first = iText.at(iAt++);
    if (!IsOver() && EndsLine(first) && EndsLine(iText.at(iAt)) && iText.at(iAt) != first)
        ++iAt;
}

bool Lines::TakeComment()
{
    while (!IsOver() && !EndsLine(iText.at(iAt)))
        ++iAt;
    while (!IsOver() && IsSpace(iText.at(iAt)))
        ++iAt;
    iLine.iFrom = iAt;
    return true;
}

/// Decodes the escapes and quotes of a value, as the framework does.
class Value
{
public:
    Value(const char* from, const char* to)
        : iAt(from)
        , iTo(to)
    {
    }

    /// The items, if the value is a list.
    QByteArrayList Items();

private:
    void TakeEscape();
    void TakeNumber(int base);
    void SkipBlanks();
    /// The bytes that the framework decodes as a stream.
    void Add(int unit) { iItem += unit > 0xff ? '?' : char(unit); }

    const char* iAt;
    const char* const iTo;
    QByteArray iItem;
};

QByteArrayList Value::Items()
{
    QByteArrayList items;
    bool isQuoted = false;
    SkipBlanks();
    while (iAt < iTo) {
        const char sign = *iAt++;
        if (sign == '\\') {
            TakeEscape();
        } else if (sign == '"') {
            isQuoted = !isQuoted;
            if (!isQuoted)
                SkipBlanks();
        } else if (sign == ',' && !isQuoted) {
            items += iItem;
            iItem.clear();
            SkipBlanks();
        } else {
            iItem += sign;
        }
    }
    return items << iItem;
}

void Value::SkipBlanks()
{
    while (iAt < iTo && IsBlank(*iAt))
        ++iAt;
}

void Value::TakeEscape()
{
    constexpr char kCodes[] = "abfnrtv\"?'\\";
    constexpr char kMeanings[] = "\a\b\f\n\r\t\v\"?'\\";
    if (iAt == iTo)
        return;
    const char code = *iAt++;
    if (const char* const found = code != 0 ? std::strchr(kCodes, code) : nullptr) {
        iItem += kMeanings[found - kCodes];
    } else if (code == 'x') {
        if (iAt < iTo && DigitOf(*iAt) >= 0)
            TakeNumber(16);
    } else if (code >= '0' && code <= '7') {
        --iAt;
        TakeNumber(8);
    } else if (EndsLine(code) && iAt < iTo && EndsLine(*iAt) && *iAt != code) {
        ++iAt;
    }
}

void Value::TakeNumber(int base)
{
    int unit = 0;
    for (; iAt < iTo && DigitOf(*iAt) >= 0 && DigitOf(*iAt) < base; ++iAt)
        unit = (unit * base + DigitOf(*iAt)) & 0xffff;
    Add(unit);
}

bool IsSafeItem(const QByteArray& item)
{
    constexpr int kMarkSize = 9;
    if (item.startsWith("@Variant("))
        return StreamedValue::IsSafe(item.mid(kMarkSize), StreamedValue::Format::Variant);
    if (item.startsWith("@DateTime("))
        return StreamedValue::IsSafe(item.mid(kMarkSize + 1), StreamedValue::Format::DateTime);
    return true;
}

// Only values with such a character, or with an escape that may encode one, need to be decoded.
bool MayHoldStream(const char* from, const char* to)
{
    const auto size = size_t(to - from);
    return std::memchr(from, '@', size) || std::memchr(from, '\\', size);
}

// The text after the bracket, up to the closing bracket or the end of the line.
QByteArray HeaderAt(const char* bracket, const char* end)
{
    const char* const from = bracket + 1;
    const char* const to = std::find_if(from, end, [](char c) { return c == ']' || EndsLine(c); });
    return QByteArray::fromRawData(from, int(to - from));
}

// QSettings puts the keys of this section at the top level.
bool IsGeneral(const QByteArray& header)
{
    return header.trimmed().toLower().startsWith("general");
}

// In quotes, the name may continue on the next line.
bool MaySeparate(const QByteArray& name)
{
    const auto isSign = [](char c) { return c == '/' || c == '\\' || c == '"'; };
    return std::any_of(name.begin(), name.end(), isSign) || (name.contains('%') && name.toLower().contains("2f"));
}

} // namespace

QVector<IniText::Line> IniText::LinesOf(const QByteArray& text,
                                        const std::function<bool(const char*, const char*)>& isWanted)
{
    QVector<Line> wanted;
    Lines lines(text);
    while (lines.Next()) {
        const Line line = lines.Line();
        if (line.iValueFrom >= 0 && text.at(line.iFrom) != '['
            && isWanted(text.constData() + line.iValueFrom, text.constData() + line.iTo))
            wanted += line;
    }
    return wanted;
}

bool IniText::IsRefused(const char* from, const char* to)
{
    if (!MayHoldStream(from, to))
        return false;
    const QByteArrayList items = Value(from, to).Items();
    return !std::all_of(items.begin(), items.end(), IsSafeItem);
}

QVector<IniText::Line> IniText::Refused(const QByteArray& text)
{
    return MayHoldStream(text.constBegin(), text.constEnd()) ? LinesOf(text, IsRefused) : QVector<Line>();
}

bool IniText::MayNest(const QByteArray& text)
{
    const char* const end = text.constEnd();
    const auto bracket = [end](const char* from) {
        return from < end ? static_cast<const char*>(std::memchr(from, '[', size_t(end - from))) : nullptr;
    };
    int lastGeneral = 0;
    for (const char* at = bracket(text.constBegin()); at;) {
        const QByteArray header = HeaderAt(at, end);
        if (header.isEmpty() || MaySeparate(header))
            return true;
        if (IsGeneral(header))
            lastGeneral = int(at - text.constBegin());
        at = bracket(at + 1 + header.size());
    }
    bool isTopLevel = true;
    Lines lines(text);
    while ((isTopLevel || lines.Line().iFrom < lastGeneral) && lines.Next()) {
        const Line line = lines.Line();
        if (text.at(line.iFrom) == '[')
            isTopLevel = IsGeneral(HeaderAt(text.constBegin() + line.iFrom, end));
        else if (isTopLevel && line.iValueFrom >= 0 && MaySeparate(text.mid(line.iFrom, line.iValueFrom - line.iFrom)))
            return true;
    }
    return false;
}

QByteArray IniText::Without(const QByteArray& text, const QVector<Line>& lines)
{
    QByteArray rest;
    int from = 0;
    for (const Line& line : lines) {
        rest += text.mid(from, line.iFrom - from);
        from = line.iTo;
    }
    return rest + text.mid(from);
}

QByteArray IniText::WithValues(const QByteArray& text, const QVector<Line>& lines,
                               const std::function<QByteArray(int)>& value)
{
    QByteArray changed;
    int from = 0;
    for (int i = 0; i < lines.size(); ++i) {
        changed += text.mid(from, lines[i].iValueFrom - from) + value(i);
        from = lines[i].iTo;
    }
    return changed + text.mid(from);
}

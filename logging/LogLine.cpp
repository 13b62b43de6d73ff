#include "LogLine.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <charconv>
#include <cstring>
#include <ctime>
#include <limits>
#include <new>

namespace {

constexpr int kStampToSecond = 19; // yyyy-MM-dd hh:mm:ss
constexpr int kStamp = kStampToSecond + 4; // and .zzz
constexpr int kMaxHead = kStamp + 2 + 10; // and the code between two bars
constexpr int kMaxBytesPerUnit = 3; // a surrogate pair makes four bytes of two units

// The rendered local time of one second. The framework's conversion costs microseconds, and lines come by the thousand
// in each second. A change of the zone that the C library has heard of ends its validity at once, any other within
// the second.
struct RenderedSecond
{
    qint64 second;
    long zone;
    const char* zoneName;
    char text[kStampToSecond];
};

// One for each thread, so that neither a lock nor a field of the agent guards it.
thread_local RenderedSecond tRendered{std::numeric_limits<qint64>::min(), 0, nullptr, {}};

void PutDigits(char* out, int width, int value)
{
    for (int i = width - 1; i >= 0; --i, value /= 10)
        out[i] = char('0' + value % 10);
}

void RenderSecond(RenderedSecond& rendered, qint64 second)
{
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(second * 1000);
    const QDate date = local.date();
    const QTime time = local.time();
    std::memcpy(rendered.text, "0000-00-00 00:00:00", kStampToSecond);
    PutDigits(rendered.text, 4, date.year());
    PutDigits(rendered.text + 5, 2, date.month());
    PutDigits(rendered.text + 8, 2, date.day());
    PutDigits(rendered.text + 11, 2, time.hour());
    PutDigits(rendered.text + 14, 2, time.minute());
    PutDigits(rendered.text + 17, 2, time.second());
    // The conversion refreshed the C library's zone, so it is noted afterwards.
    rendered.second = second;
    rendered.zone = ::timezone;
    rendered.zoneName = ::tzname[0];
}

char* PutStamp(char* out, qint64 msecsSinceEpoch)
{
    qint64 second = msecsSinceEpoch / 1000;
    int milliseconds = int(msecsSinceEpoch % 1000);
    if (milliseconds < 0) { // before 1970
        milliseconds += 1000;
        --second;
    }
    RenderedSecond& rendered = tRendered;
    if (rendered.second != second || rendered.zone != ::timezone || rendered.zoneName != ::tzname[0])
        RenderSecond(rendered, second);
    std::memcpy(out, rendered.text, kStampToSecond);
    out[kStampToSecond] = '.';
    PutDigits(out + kStampToSecond + 1, 3, milliseconds);
    return out + kStamp;
}

constexpr bool IsLineBreak(ushort unit)
{
    return unit == '\r' || unit == '\n';
}

const ushort* SkipLineBreaks(const ushort* src, const ushort* end)
{
    while (src != end && IsLineBreak(*src))
        ++src;
    return src;
}

char* PutTwoBytes(char* out, uint code)
{
    *out++ = char(0xc0 | (code >> 6));
    *out++ = char(0x80 | (code & 0x3f));
    return out;
}

char* PutThreeBytes(char* out, uint code)
{
    *out++ = char(0xe0 | (code >> 12));
    *out++ = char(0x80 | ((code >> 6) & 0x3f));
    *out++ = char(0x80 | (code & 0x3f));
    return out;
}

char* PutFourBytes(char* out, uint code)
{
    *out++ = char(0xf0 | (code >> 18));
    *out++ = char(0x80 | ((code >> 12) & 0x3f));
    *out++ = char(0x80 | ((code >> 6) & 0x3f));
    *out++ = char(0x80 | (code & 0x3f));
    return out;
}

// Line breaks go first and the rest is encoded afterwards, so two surrogates that a line break parted make a pair.
// A lone surrogate becomes '?', as the framework has it.
char* PutAnyText(char* out, const ushort* src, const ushort* end)
{
    while ((src = SkipLineBreaks(src, end)) != end) {
        const ushort unit = *src++;
        if (unit < 0x80) {
            *out++ = char(unit);
        } else if (unit < 0x800) {
            out = PutTwoBytes(out, unit);
        } else if (!QChar::isSurrogate(unit)) {
            out = PutThreeBytes(out, unit);
        } else {
            const ushort* const next = SkipLineBreaks(src, end);
            if (QChar::isHighSurrogate(unit) && next != end && QChar::isLowSurrogate(*next)) {
                out = PutFourBytes(out, QChar::surrogateToUcs4(unit, *next));
                src = next + 1;
            } else {
                *out++ = '?';
            }
        }
    }
    return out;
}

// The common text, ASCII on one line, in one pass without branches that compilers turn into vector code. False, with
// `out` overwritten, when there is anything else in it.
bool PutPlainText(char* out, const ushort* src, int size)
{
    ushort above = 0;
    ushort breaks = 0;
    for (int i = 0; i < size; ++i) {
        const ushort unit = src[i];
        above = ushort(above | unit);
        breaks = ushort(breaks | ushort(unit == '\r') | ushort(unit == '\n'));
        out[i] = char(unit);
    }
    return above < 0x80 && !breaks;
}

bool IsPlain(const char* text, int size)
{
    uchar above = 0;
    uchar breaks = 0;
    for (int i = 0; i < size; ++i) {
        const uchar byte = uchar(text[i]);
        above = uchar(above | byte);
        breaks = uchar(breaks | uchar(byte == '\r') | uchar(byte == '\n'));
    }
    return above < 0x80 && !breaks;
}

// Writes at the end of a buffer that keeps its capacity between lines.
class Writer
{
public:
    explicit Writer(QByteArray& buffer)
        : iBuffer(buffer)
        , iUsed(buffer.size())
    {
        iBuffer.resize(iBuffer.capacity());
    }

    // Room for `size` bytes more.
    char* Room(qint64 size)
    {
        const qint64 needed = iUsed + size;
        if (needed > kLargestBuffer)
            throw std::bad_alloc();
        if (needed > iBuffer.size())
            iBuffer.resize(int(needed));
        return iBuffer.data() + iUsed;
    }

    void Advance(const char* end) { iUsed = int(end - iBuffer.constData()); }

    void PutText(const QString& text)
    {
        // Not utf16(), which may move the text behind the back of its other readers.
        const auto* const units = reinterpret_cast<const ushort*>(text.constData());
        char* out = Room(text.size());
        if (PutPlainText(out, units, text.size())) {
            Advance(out + text.size());
        } else {
            out = Room(qint64(text.size()) * kMaxBytesPerUnit);
            Advance(PutAnyText(out, units, units + text.size()));
        }
    }

    void PutText(const char* text)
    {
        const int size = text ? int(std::strlen(text)) : 0;
        if (!IsPlain(text, size)) {
            PutText(QString::fromUtf8(text, size));
            return;
        }
        PutBytes(text, size);
    }

    void PutBytes(const char* bytes, int size)
    {
        char* const out = Room(size);
        if (size > 0)
            std::memcpy(out, bytes, size_t(size));
        Advance(out + size);
    }

    void Put(char byte) { PutBytes(&byte, 1); }

    void Finish() { iBuffer.resize(iUsed); }

private:
    static constexpr qint64 kLargestBuffer = 0x7fff0000;

    QByteArray& iBuffer;
    int iUsed;
};

} // namespace

void LogLine::Append(QByteArray& buffer, qint64 msecsSinceEpoch, unsigned int code, const char* levelWord,
                     const char* func, const QString& msg)
{
    const int before = buffer.size();
    Writer writer(buffer);
    try {
        char head[kMaxHead];
        char* out = PutStamp(head, msecsSinceEpoch);
        *out++ = '|';
        out = std::to_chars(out, head + kMaxHead - 1, code).ptr;
        *out++ = '|';
        writer.PutBytes(head, int(out - head));
        writer.PutText(levelWord);
        writer.Put('|');
        writer.PutText(func);
        writer.Put('|');
        writer.PutText(msg);
        writer.Put('\n');
        writer.Finish();
    } catch (...) {
        buffer.resize(before);
        throw;
    }
}

#include "LogLine.h"

#include "Stamp.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <array>
#include <cstring>
#include <ctime>
#include <limits>
#include <new>

namespace {

constexpr int kMaxCode = 10;
constexpr int kMaxHead = Stamp::kMaxSize + 2 + kMaxCode; // and the code between two bars
constexpr int kMaxBytesPerUnit = 3; // a surrogate pair makes four bytes of two units

// The rendered local time of one second. The framework's conversion costs microseconds, and lines come by the thousand
// in each second. A change of the zone that the C library has heard of ends its validity at once, any other within
// the second.
struct RenderedSecond
{
    qint64 second;
    long zone;
    const char* zoneName;
    char text[Stamp::kToSecond];
};

// One for each thread, so that neither a lock nor a field of the agent guards it.
thread_local RenderedSecond tRendered{std::numeric_limits<qint64>::min(), 0, nullptr, {}};

// False, with nothing changed, for a year that does not have four digits.
[[gnu::noinline, gnu::cold]] bool RenderSecond(RenderedSecond& rendered, qint64 second, qint64 msecsSinceEpoch)
{
    std::array<char, Stamp::kMaxSize> text = {};
    if (Stamp::Put(text.data(), msecsSinceEpoch) - text.data() != Stamp::kSize)
        return false;
    std::memcpy(rendered.text, text.data(), Stamp::kToSecond);
    // The conversion refreshed the C library's zone, so it is noted afterwards.
    rendered.second = second;
    rendered.zone = ::timezone;
    rendered.zoneName = ::tzname[0];
    return true;
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
    if (rendered.second != second || rendered.zone != ::timezone || rendered.zoneName != ::tzname[0]) {
        if (!RenderSecond(rendered, second, msecsSinceEpoch))
            return Stamp::Put(out, msecsSinceEpoch);
    }
    std::memcpy(out, rendered.text, Stamp::kToSecond);
    out[Stamp::kToSecond] = '.';
    Stamp::PutDigits(out + Stamp::kToSecond + 1, 3, milliseconds);
    return out + Stamp::kSize;
}

// At most kMaxCode digits. The standard library's function for this is younger than the oldest macOS.
[[gnu::noinline, gnu::cold]] char* PutAnyCode(char* out, unsigned int code)
{
    char* end = out + 1;
    for (unsigned int rest = code; rest > 9; rest /= 10)
        ++end;
    for (char* digit = end; digit != out; code /= 10)
        *--digit = char('0' + code % 10);
    return end;
}

// Those of the levels have two digits.
char* PutCode(char* out, unsigned int code)
{
    if (code < 10 || code > 99)
        return PutAnyCode(out, code);
    Stamp::PutDigits(out, 2, int(code));
    return out + 2;
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
[[gnu::noinline]] char* PutAnyText(char* out, const ushort* src, const ushort* end)
{
    for (; src != end; ++src) {
        const ushort unit = *src;
        if (unit < 0x80) {
            *out = char(unit);
            out += int(!IsLineBreak(unit));
        } else if (unit < 0x800) {
            out = PutTwoBytes(out, unit);
        } else if (!QChar::isSurrogate(unit)) {
            out = PutThreeBytes(out, unit);
        } else {
            const ushort* const next = SkipLineBreaks(src + 1, end);
            if (QChar::isHighSurrogate(unit) && next != end && QChar::isLowSurrogate(*next)) {
                out = PutFourBytes(out, QChar::surrogateToUcs4(unit, *next));
                src = next;
            } else {
                *out++ = '?';
            }
        }
    }
    return out;
}

// ASCII on one line, the common text. False, with `out` overwritten, when there is anything else in it. Compilers make
// vector code of it.
template <typename Unit>
bool PutPlainText(char* __restrict out, const Unit* __restrict text, int size)
{
    Unit other = 0;
    for (int i = 0; i < size; ++i) {
        const Unit unit = text[i];
        out[i] = char(unit);
        other = Unit(other | (unit & ~0x7f) | int(unit == '\r') | int(unit == '\n'));
    }
    return other == 0;
}

// Writes at the end of a buffer, into the memory that it keeps between lines.
class Writer
{
public:
    explicit Writer(QByteArray& buffer)
        : iBuffer(buffer)
        , iOut(Begin() + buffer.size())
        , iEnd(Begin() + buffer.capacity())
    {
    }

    void PutHead(qint64 msecsSinceEpoch, unsigned int code)
    {
        Reserve(kMaxHead);
        iOut = PutStamp(iOut, msecsSinceEpoch);
        *iOut++ = '|';
        iOut = PutCode(iOut, code);
        *iOut++ = '|';
    }

    // Texts, and what stands behind them.
    void Put(const QString& text, char end)
    {
        // Not utf16(), which may move the text behind the back of its other readers.
        const auto* const units = reinterpret_cast<const ushort*>(text.constData());
        Reserve(qint64(text.size()) + 1);
        if (PutPlainText(iOut, units, int(text.size()))) {
            iOut += text.size();
        } else {
            Reserve(qint64(text.size()) * kMaxBytesPerUnit + 1);
            iOut = PutAnyText(iOut, units, units + text.size());
        }
        *iOut++ = end;
    }

    void Put(const char* text, char end)
    {
        const int size = text ? int(std::strlen(text)) : 0;
        Reserve(qint64(size) + 1);
        if (!PutPlainText(iOut, reinterpret_cast<const uchar*>(text), size)) {
            Put(QString::fromUtf8(text, size), end);
            return;
        }
        iOut += size;
        *iOut++ = end;
    }

    void Finish() { iBuffer.resize(Used()); }

private:
    static constexpr qint64 kLargestBuffer = 0x7fff0000;

    // The bytes follow the framework's private header in one block of memory. Without std::launder the compiler assumes
    // that a pointer to the header never reaches them, and warns.
    char* Begin() { return std::launder(iBuffer.data()); }

    int Used() const { return int(iOut - iBuffer.constData()); }

    void Reserve(qint64 size)
    {
        if (iEnd - iOut < size)
            Grow(size);
    }

    [[gnu::noinline, gnu::cold]] void Grow(qint64 size)
    {
        const int used = Used();
        if (used + size > kLargestBuffer)
            throw std::bad_alloc();
        iBuffer.resize(used); // or what was put since would not move along
        iBuffer.resize(int(used + size));
        iOut = Begin() + used;
        iEnd = Begin() + iBuffer.capacity();
    }

    QByteArray& iBuffer;
    char* iOut;
    char* iEnd;
};

} // namespace

[[gnu::hot]] void LogLine::Append(QByteArray& buffer, qint64 msecsSinceEpoch, unsigned int code, const char* levelWord,
                                  const char* func, const QString& msg)
{
    const auto before = buffer.size();
    try {
        Writer writer(buffer);
        writer.PutHead(msecsSinceEpoch, code);
        writer.Put(levelWord, '|');
        writer.Put(func, '|');
        writer.Put(msg, '\n');
        writer.Finish();
    } catch (...) {
        buffer.resize(before);
        throw;
    }
}

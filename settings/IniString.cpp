#include <NeroltOrvaneBase/IniString.h>

#include <QtCore/QtAlgorithms>
#include <QtCore/QtEndian>

#include <algorithm>

namespace {

constexpr bool IsAscii(ushort unit)
{
    return unit < 0x80;
}

constexpr int Folded(ushort asciiUnit)
{
    return asciiUnit >= 'A' && asciiUnit <= 'Z' ? asciiUnit + ('a' - 'A') : asciiUnit;
}

/// Four units, the first of them lowest.
quint64 Load4(const ushort* units)
{
    return qFromLittleEndian<quint64>(units);
}

int LowestUnit(quint64 four)
{
    return int(qCountTrailingZeroBits(four) / 16);
}

/// Where the texts differ next, or `end`. Four units at once and without a branch for each: names begin alike.
int NextDifference(const ushort* left, const ushort* right, int from, int end)
{
    for (; from + 4 <= end; from += 4) {
        if (const quint64 different = Load4(left + from) ^ Load4(right + from))
            return from + LowestUnit(different);
    }
    if (end < 4) {
        while (from < end && left[from] == right[from])
            ++from;
        return from;
    }
    if (from == end)
        return end;
    const int last = end - 4; // reads some units again, and leaves them out
    const quint64 different = (Load4(left + last) ^ Load4(right + last)) >> (16 * (from - last));
    return different == 0 ? end : from + LowestUnit(different);
}

} // namespace

int IniString::Compare(const QString& left, const QString& right)
{
    // Not utf16(), which may move the text.
    const auto* const leftUnits = reinterpret_cast<const ushort*>(left.constData());
    const auto* const rightUnits = reinterpret_cast<const ushort*>(right.constData());
    const int common = std::min(left.size(), right.size());
    for (int i = 0; (i = NextDifference(leftUnits, rightUnits, i, common)) < common; ++i) {
        // Some letters beyond ASCII fold into it, and pairs of units fold together: the framework knows them all.
        if (!IsAscii(leftUnits[i]) || !IsAscii(rightUnits[i]))
            return left.compare(right, Qt::CaseInsensitive);
        if (const int difference = Folded(leftUnits[i]) - Folded(rightUnits[i]))
            return difference;
    }
    return left.size() - right.size();
}

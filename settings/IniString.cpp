#include <NeroltOrvaneBase/IniString.h>

#include <QtCore/QtAlgorithms>
#include <QtCore/QtEndian>

#include <algorithm>

namespace {

constexpr int kUnits = 4;
constexpr int kUnitBits = 16;

// Also for several units that are combined with |.
constexpr bool IsAscii(int unit)
{
    return unit < 0x80;
}

constexpr int Folded(int asciiUnit)
{
    return asciiUnit >= 'A' && asciiUnit <= 'Z' ? asciiUnit + ('a' - 'A') : asciiUnit;
}

/// Four units, the first one in the lowest bits.
quint64 Load4(const ushort* units)
{
    return qFromLittleEndian<quint64>(units);
}

// The first unit in which the texts differ, or `size`. Compares four units at once without a branch for each, because
// names often have a common beginning.
int FirstDifference(const ushort* left, const ushort* right, int size)
{
    int i = 0;
    for (; i + kUnits <= size; i += kUnits) {
        if (const quint64 different = Load4(left + i) ^ Load4(right + i))
            return i + int(qCountTrailingZeroBits(different)) / kUnitBits;
    }
    if (size >= kUnits) { // the last four, which may overlap the previous ones
        i = size - kUnits;
        const quint64 different = Load4(left + i) ^ Load4(right + i);
        return different ? i + int(qCountTrailingZeroBits(different)) / kUnitBits : size;
    }
    while (i < size && left[i] == right[i])
        ++i;
    return i;
}

// The first `i` units are the same. A separate function, because it is seldom needed.
[[gnu::noinline]] int CompareFrom(int i, const QString& left, const QString& right)
{
    const int common = std::min(left.size(), right.size());
    for (; i < common; ++i) {
        const int leftUnit = left.at(i).unicode();
        const int rightUnit = right.at(i).unicode();
        if (leftUnit == rightUnit)
            continue;
        // Some letters fold into ASCII, and surrogate pairs fold as one: leave them to the framework.
        if (!IsAscii(leftUnit | rightUnit))
            return left.compare(right, Qt::CaseInsensitive);
        if (const int difference = Folded(leftUnit) - Folded(rightUnit))
            return difference;
    }
    return left.size() - right.size();
}

} // namespace

int IniString::Compare(const QString& left, const QString& right)
{
    // Not utf16(), which may move the text.
    const auto* const leftUnits = reinterpret_cast<const ushort*>(left.constData());
    const auto* const rightUnits = reinterpret_cast<const ushort*>(right.constData());
    const int common = std::min(left.size(), right.size());
    const int i = FirstDifference(leftUnits, rightUnits, common);
    if (i == common)
        return left.size() - right.size();
    const int leftUnit = leftUnits[i];
    const int rightUnit = rightUnits[i];
    const int difference = IsAscii(leftUnit | rightUnit) ? Folded(leftUnit) - Folded(rightUnit) : 0;
    return difference ? difference : CompareFrom(i, left, right);
}

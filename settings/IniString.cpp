#include <NeroltOrvaneBase/IniString.h>

#include <QtCore/QtAlgorithms>
#include <QtCore/QtEndian>

#include <algorithm>

namespace {

constexpr int kUnits = 4;

// Of several, when they are put together with |.
constexpr bool IsAscii(int unit)
{
    return unit < 0x80;
}

constexpr int Folded(int asciiUnit)
{
    return asciiUnit >= 'A' && asciiUnit <= 'Z' ? asciiUnit + ('a' - 'A') : asciiUnit;
}

/// Four units, the first of them lowest.
quint64 Load4(const ushort* units)
{
    return qFromLittleEndian<quint64>(units);
}

} // namespace

int IniString::Compare(const QString& left, const QString& right)
{
    // Not utf16(), which may move the text.
    const auto* const leftUnits = reinterpret_cast<const ushort*>(left.constData());
    const auto* const rightUnits = reinterpret_cast<const ushort*>(right.constData());
    const int common = std::min(left.size(), right.size());
    for (int i = 0; i < common; ++i) {
        // Four units at once and without a branch for each: names begin alike.
        for (quint64 different = 0; i + kUnits <= common; i += kUnits) {
            different = Load4(leftUnits + i) ^ Load4(rightUnits + i);
            if (different != 0) {
                i += int(qCountTrailingZeroBits(different)) / 16;
                break;
            }
        }
        if (i == common)
            break;
        const int leftUnit = leftUnits[i];
        const int rightUnit = rightUnits[i];
        if (leftUnit == rightUnit)
            continue; // of the last ones
        // Some letters beyond ASCII fold into it, and pairs of units fold together: the framework knows them all.
        if (!IsAscii(leftUnit | rightUnit))
            return left.compare(right, Qt::CaseInsensitive);
        if (const int difference = Folded(leftUnit) - Folded(rightUnit))
            return difference;
    }
    return left.size() - right.size();
}

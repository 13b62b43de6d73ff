#include <NeroltOrvaneBase/IniString.h>

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

} // namespace

int IniString::Compare(const QString& left, const QString& right)
{
    const ushort* const leftUnits = left.utf16();
    const ushort* const rightUnits = right.utf16();
    const int common = std::min(left.size(), right.size());
    for (int i = 0; i < common; ++i) {
        if (leftUnits[i] == rightUnits[i])
            continue;
        // Some letters beyond ASCII fold into it, and pairs of units fold together: the framework knows them all.
        if (!IsAscii(leftUnits[i]) || !IsAscii(rightUnits[i]))
            return left.compare(right, Qt::CaseInsensitive);
        if (const int difference = Folded(leftUnits[i]) - Folded(rightUnits[i]))
            return difference;
    }
    return left.size() - right.size();
}

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
    // Not utf16(), which may move the text.
    const auto* const leftUnits = reinterpret_cast<const ushort*>(left.constData());
    const auto* const rightUnits = reinterpret_cast<const ushort*>(right.constData());
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

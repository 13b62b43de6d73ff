#include <NeroltOrvaneBase/IniString.h>

#include <algorithm>

namespace {

constexpr bool IsAscii(int unit)
{
    return unit < 0x80;
}

constexpr int Folded(int asciiUnit)
{
    return asciiUnit >= 'A' && asciiUnit <= 'Z' ? asciiUnit + ('a' - 'A') : asciiUnit;
}

} // namespace

int IniString::Compare(const QString& left, const QString& right)
{
    const QChar* const leftUnits = left.constData();
    const QChar* const rightUnits = right.constData();
    const int common = int(std::min(left.size(), right.size()));
    for (int i = 0; i < common; ++i) {
        const int leftUnit = leftUnits[i].unicode();
        const int rightUnit = rightUnits[i].unicode();
        if (leftUnit == rightUnit)
            continue;
        // Some letters fold into ASCII, and surrogate pairs fold as one: leave them to the framework.
        if (!IsAscii(leftUnit) || !IsAscii(rightUnit))
            return left.compare(right, Qt::CaseInsensitive);
        if (const int difference = Folded(leftUnit) - Folded(rightUnit))
            return difference;
    }
    return int(left.size() - right.size());
}

#include "IniNames.h"

#include <algorithm>
#include <cstring>
#include <tuple>

using IniNames::kSeparator;
using IniNames::Name;

namespace {

constexpr QLatin1Char kEscape('%');

struct Bytes
{
    const char* iFrom = nullptr;
    const char* iTo = nullptr;
};

bool operator==(const Bytes& left, const Bytes& right)
{
    return std::equal(left.iFrom, left.iTo, right.iFrom, right.iTo);
}

const char* Find(const char* from, const char* to, char sign)
{
    const void* const found = from < to ? std::memchr(from, sign, size_t(to - from)) : nullptr;
    return found ? static_cast<const char*>(found) : to;
}

// Decodes the framework's escapes.
QString Decoded(const Bytes& bytes)
{
    QString name = QString::fromLatin1(bytes.iFrom, int(bytes.iTo - bytes.iFrom));
    name.replace(QLatin1Char('\\'), kSeparator);
    for (auto at = name.indexOf(kEscape); at >= 0; at = name.indexOf(kEscape, at + 1)) {
        const bool isLong = name.mid(at + 1, 1) == QLatin1String("U");
        const auto from = at + (isLong ? 2 : 1);
        const auto to = from + (isLong ? 4 : 2);
        bool isNumber = false;
        // Qt 6 has no references to parts of a text.
        const ushort unit = name.mid(from, to - from).toUShort(&isNumber, 16); // clazy:exclude=qstring-ref
        if (isNumber)
            name.replace(at, to - at, QChar(unit));
    }
    return name;
}

/// Iterates over the keys.
class Names
{
public:
    explicit Names(const Bytes& text)
        : iText(text)
    {
    }

    /// At the end returns false, and keeps the last name.
    bool Next();
    /// Moves behind the name and returns true; if it is missing, stops where it would be and returns false.
    bool Pass(const Names& wanted);
    IniNames::Name Name() const;

private:
    Bytes iText;
    Bytes iSection;
    Bytes iKey;
    bool iIsOver = false;
};

bool Names::Next()
{
    while (iText.iFrom < iText.iTo) {
        const Bytes line{iText.iFrom, Find(iText.iFrom, iText.iTo, '\n')};
        iText.iFrom = std::min(line.iTo + 1, iText.iTo);
        if (line.iFrom == line.iTo)
            continue;
        if (*line.iFrom != '[') {
            iKey = {line.iFrom, Find(line.iFrom, line.iTo, '=')};
            return true;
        }
        iSection = {line.iFrom + 1, Find(line.iFrom, line.iTo, ']')};
    }
    iIsOver = true;
    return false;
}

bool Names::Pass(const Names& wanted)
{
    for (; !iIsOver; Next()) {
        if (iKey == wanted.iKey && iSection == wanted.iSection) {
            Next();
            return true;
        }
        if (!(Name() < wanted.Name()))
            break;
    }
    return false;
}

Name Names::Name() const
{
    const QString section = Decoded(iSection);
    if (section == QLatin1String("General"))
        return {QString(), Decoded(iKey)};
    return {section == QLatin1String("%General") ? section.mid(1) : section, Decoded(iKey)};
}

/// The parts in which two texts differ, as whole sections.
struct Difference
{
    Difference(const QByteArray& before, const QByteArray& after);

    Bytes iBefore;
    Bytes iAfter;
};

constexpr int kBlock = 4096;

bool IsSame(const char* left, const char* right)
{
    return std::memcmp(left, right, kBlock) == 0;
}

int SameAtStart(const QByteArray& left, const QByteArray& right)
{
    const int most = int(std::min(left.size(), right.size())) - kBlock;
    int same = 0;
    while (same <= most && IsSame(left.constData() + same, right.constData() + same))
        same += kBlock;
    return int(QByteArray::fromRawData(left.constData(), same).lastIndexOf("\n[")) + 1;
}

int SameAtEnd(const QByteArray& left, const QByteArray& right, int start)
{
    const int most = int(std::min(left.size(), right.size())) - start - kBlock;
    int same = 0;
    while (same <= most && IsSame(left.constEnd() - same - kBlock, right.constEnd() - same - kBlock))
        same += kBlock;
    const auto section = left.indexOf("\n[", left.size() - same);
    return section < 0 ? 0 : int(left.size() - section - 1);
}

Difference::Difference(const QByteArray& before, const QByteArray& after)
{
    const int start = SameAtStart(before, after);
    const int end = SameAtEnd(before, after, start);
    iBefore = {before.constData() + start, before.constEnd() - end};
    iAfter = {after.constData() + start, after.constEnd() - end};
}

} // namespace

bool IniNames::operator<(const Name& left, const Name& right)
{
    return std::tie(left.iSection, left.iKey) < std::tie(right.iSection, right.iKey);
}

Name IniNames::Split(const QString& name)
{
    const int at = int(name.indexOf(kSeparator));
    return {name.left(std::max(at, 0)), name.mid(at + 1)};
}

QString IniNames::Full(const Name& name)
{
    return name.iSection.isEmpty() ? name.iKey : name.iSection + kSeparator + name.iKey;
}

int IniNames::Count(const QByteArray& text)
{
    int count = 0;
    Names names({text.constBegin(), text.constEnd()});
    while (names.Next())
        ++count;
    return count;
}

Name IniNames::Last(const QByteArray& text)
{
    const auto section = text.lastIndexOf("\n[") + 1;
    Names names({text.constBegin() + section, text.constEnd()});
    while (names.Next())
        continue;
    return names.Name();
}

bool IniNames::AreKept(const QByteArray& before, const QByteArray& after,
                       const std::function<bool(const QString&)>& isRemoved)
{
    if (std::memchr(before.constData(), '\r', size_t(before.size())))
        return false; // another program may have ended lines with it
    const Difference difference(before, after);
    Names wanted(difference.iBefore);
    Names found(difference.iAfter);
    found.Next();
    while (wanted.Next()) {
        if (!found.Pass(wanted) && !isRemoved(Full(wanted.Name())))
            return false;
    }
    return true;
}

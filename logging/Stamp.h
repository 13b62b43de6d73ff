#pragma once

#include <QtCore/QtGlobal>

#include <algorithm>
#include <string_view>

/// The local date and time as a line begins with it: "yyyy-MM-dd hh:mm:ss.zzz". Years have four digits or more, and
/// those before the first one a sign, as the framework has them. May be called until the very end of the process.
namespace Stamp {

constexpr int kToSecond = 19; ///< characters of a year of four digits, to the second
constexpr int kSize = kToSecond + 4; ///< and with the milliseconds
constexpr int kMaxSize = kSize + 6; ///< a sign and nine digits of the year, where milliseconds end

/// Writes to `out`, which has room for kMaxSize characters, and returns where the stamp ends.
char* Put(char* out, qint64 msecsSinceEpoch);

/// `value`, which is not negative, in `width` digits.
inline void PutDigits(char* out, int width, int value)
{
    for (int i = width - 1; i >= 0; --i, value /= 10)
        out[i] = char('0' + value % 10);
}

/// Whether the text looks like `form`, as far as both go. A zero stands for any digit.
inline bool HasForm(const char* text, int size, std::string_view form)
{
    const auto isOfForm = [](char is, char has) { return has == '0' ? is >= '0' && is <= '9' : is == has; };
    return std::equal(text, text + std::min(size_t(size), form.size()), form.begin(), isOfForm);
}

} // namespace Stamp

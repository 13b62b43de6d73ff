#pragma once

#include <QtCore/QtGlobal>

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

} // namespace Stamp

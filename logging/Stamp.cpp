#include "Stamp.h"

#include <QtCore/QDateTime>

#include <cstring>

namespace {

char* PutYear(char* out, int year)
{
    if (year < 0)
        *out++ = '-';
    int width = 4;
    for (int tooLarge = 10000; qAbs(year) >= tooLarge; tooLarge *= 10)
        ++width;
    Stamp::PutDigits(out, width, qAbs(year));
    return out + width;
}

} // namespace

char* Stamp::Put(char* out, qint64 msecsSinceEpoch)
{
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch);
    const QDate date = local.date();
    const QTime time = local.time();
    out = PutYear(out, date.year());
    constexpr int size = kSize - 4;
    std::memcpy(out, "-00-00 00:00:00.000", size);
    PutDigits(out + 1, 2, date.month());
    PutDigits(out + 4, 2, date.day());
    PutDigits(out + 7, 2, time.hour());
    PutDigits(out + 10, 2, time.minute());
    PutDigits(out + 13, 2, time.second());
    PutDigits(out + 16, 3, time.msec());
    return out + size;
}

#include "Progress.h"

#include "Terminal.h"

#include <cstdio>

namespace {

constexpr int kWidth = 40;
constexpr const char* kWipe = "\r\x1b[K";

} // namespace

Progress::Progress()
    : iIsShown(Terminal::ShowsProgress())
{
}

Progress::~Progress()
{
    if (iIsShown)
        std::fputs(kWipe, stderr);
}

void Progress::Show(qint64 done, qint64 all)
{
    if (!iIsShown)
        return;
    const QString bar = Bar(done, all, kWidth);
    if (bar == iLast)
        return;
    iLast = bar;
    std::fprintf(stderr, "%slogging %s", kWipe, qPrintable(bar));
}

QString Progress::Bar(qint64 done, qint64 all, int width)
{
    const int filled = int(done * width / all);
    return QLatin1Char('[') + QString(filled, QLatin1Char('#')) + QString(width - filled, QLatin1Char(' '))
        + QStringLiteral("] %1 %").arg(done * 100 / all, 3);
}

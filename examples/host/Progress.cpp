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

void Progress::Show(const QString& what, qint64 done, qint64 all)
{
    if (!iIsShown)
        return;
    const QString shown = what + QLatin1Char(' ') + Bar(done, all, kWidth);
    if (shown == iLast)
        return;
    iLast = shown;
    std::fprintf(stderr, "%s%s", kWipe, qPrintable(shown));
}

void Progress::Wipe()
{
    if (iLast.isEmpty())
        return;
    iLast.clear();
    std::fputs(kWipe, stderr);
}

QString Progress::Bar(qint64 done, qint64 all, int width)
{
    const int filled = int(done * width / all);
    return QLatin1Char('[') + QString(filled, QLatin1Char('#')) + QString(width - filled, QLatin1Char(' '))
        + QStringLiteral("] %1 %").arg(done * 100 / all, 3);
}

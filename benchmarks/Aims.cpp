#include "Aims.h"

#include <algorithm>

namespace {

constexpr double kCallNs = 150;
constexpr double kStoppedNs = 2;
constexpr double kLinesPerSecond = 2.5e6;
constexpr double kKeptShare = 0.25;

const QString kOurs = QStringLiteral("nerolt");

void AddCalls(const Suite& suite, QVector<Aim>& aims)
{
    const Group* const group = suite.Find(QStringLiteral("burst"));
    if (!group)
        return;
    for (const Line::Level level : {Line::Level::Information, Line::Level::Debug, Line::Level::Warning}) {
        const double ns = group->Find(kOurs, 1, level)->Median(QStringLiteral("ns"));
        aims += {QStringLiteral("a call that passes, %1: at most %2 ns").arg(Line::Name(level)).arg(kCallNs),
                 QStringLiteral("%1 ns").arg(ns, 0, 'f', 0), ns <= kCallNs};
    }
}

void AddStopped(const Suite& suite, QVector<Aim>& aims)
{
    const Group* const group = suite.Find(QStringLiteral("stopped"));
    if (!group)
        return;
    const double ns = group->Find(kOurs)->Median(QStringLiteral("ns"));
    aims += {QStringLiteral("a call that the level stops: at most %1 ns").arg(kStoppedNs),
             QStringLiteral("%1 ns").arg(ns, 0, 'f', 2), ns <= kStoppedNs};
}

void AddThroughput(const Suite& suite, QVector<Aim>& aims)
{
    const Group* const group = suite.Find(QStringLiteral("throughput"));
    if (!group)
        return;
    for (const int threads : {1, 4}) {
        const double rate = group->Find(kOurs, threads)->Median(QStringLiteral("lines/s"));
        aims += {QStringLiteral("into the file, %1 calling: at least %2 million lines/s")
                     .arg(threads)
                     .arg(kLinesPerSecond / 1e6),
                 QStringLiteral("%1 million lines/s").arg(rate / 1e6, 0, 'f', 2), rate >= kLinesPerSecond};
    }
}

void AddMemory(const Suite& suite, QVector<Aim>& aims)
{
    const Group* const group = suite.Find(QStringLiteral("memory"));
    if (!group)
        return;
    for (const int threads : {1, 4}) {
        const Series& series = *group->Find(kOurs, threads);
        const double before = series.Median(QStringLiteral("before"));
        const double grown = std::max(1.0, series.Median(QStringLiteral("peak")) - before);
        const double kept = (series.Median(QStringLiteral("after")) - before) / grown;
        aims += {QStringLiteral("after a burst, %1 calling: at most %2 % of what it took is kept")
                     .arg(threads)
                     .arg(kKeptShare * 100),
                 QStringLiteral("%1 %").arg(kept * 100, 0, 'f', 0), kept <= kKeptShare};
    }
}

} // namespace

QVector<Aim> Aims(const Suite& suite)
{
    QVector<Aim> aims;
    AddCalls(suite, aims);
    AddStopped(suite, aims);
    AddThroughput(suite, aims);
    AddMemory(suite, aims);
    return aims;
}

// Kills processes that log, and prints a table: how many lines each log lost, and what a line costs.
//
//   bench_kills [rounds]

#include "Child.h"
#include "Log.h"
#include "Runs.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

using Child::Task;

namespace {

constexpr int kDefaultRounds = 8;
constexpr int kSteadyPauseUsecs = 1000;
constexpr int kFewestSteady = 100;
constexpr int kMostSteady = 400;
constexpr int kFewestInBurst = 20000;
constexpr int kMostInBurst = 60000;
constexpr int kLinesOfCost = 200000;
constexpr std::array<Task, 3> kSelf{Task::Crash, Task::Abort, Task::Terminate};
constexpr std::array<Task, 1> kByOthers{Task::Kill};

// "0", "2 to 43", and whether there were pieces of lines.
template <size_t count>
QByteArray Lost(const LogKind& kind, int place, bool isSteady, const std::array<Task, count>& tasks, int rounds)
{
    int fewest = Messages::kMost;
    int most = 0;
    bool isTorn = false;
    for (int round = 0; round < rounds; ++round) {
        auto* const random = QRandomGenerator::global();
        const int lines
            = isSteady ? random->bounded(kFewestSteady, kMostSteady) : random->bounded(kFewestInBurst, kMostInBurst);
        const Child::Job job{place, tasks.at(size_t(round) % count), isSteady ? kSteadyPauseUsecs : 0, lines};
        const Runs::Left left = Runs::Kill(job, kind.iRecover != nullptr);
        fewest = std::min(fewest, left.iLost);
        most = std::max(most, left.iLost);
        isTorn |= left.iIsTorn;
    }
    QByteArray text = QByteArray::number(fewest);
    if (most > fewest)
        text += " to " + QByteArray::number(most);
    return isTorn ? text + ", torn" : text;
}

// The least: whatever disturbs a round only adds to it. The logs take turns.
std::vector<double> Costs(int kinds, int rounds)
{
    std::vector<double> least(static_cast<size_t>(kinds), std::numeric_limits<double>::max());
    for (int round = 0; round < rounds; ++round) {
        for (int place = 0; place < kinds; ++place) {
            double& cost = least[size_t(place)];
            cost = std::min(cost, Runs::Cost({place, Task::Cost, 0, kLinesOfCost}));
        }
    }
    return least;
}

int PrintTable(int rounds)
{
    const std::vector<LogKind> kinds = LogKinds::All();
    const std::vector<double> costs = Costs(int(kinds.size()), rounds);
    std::puts("| log | steady load: crash, abort, terminate | steady load: SIGKILL | burst: crash, abort, terminate "
              "| burst: SIGKILL | a call, ns |\n|---|---|---|---|---|---|");
    for (size_t place = 0; place < kinds.size(); ++place) {
        std::printf("| %s", kinds[place].iName);
        for (const bool isSteady : {true, false}) {
            std::printf(" | %s", Lost(kinds[place], int(place), isSteady, kSelf, rounds).constData());
            std::printf(" | %s", Lost(kinds[place], int(place), isSteady, kByOthers, rounds).constData());
        }
        std::printf(" | %.0f |\n", costs[place]);
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("child"))
        return Child::Run({arguments.value(2).toInt(), Task(arguments.value(3).toInt()), arguments.value(4).toInt(),
                           arguments.value(5).toInt()});
    const int rounds = arguments.size() > 1 ? arguments.at(1).toInt() : kDefaultRounds;
    if (rounds < 1) {
        std::fprintf(stderr, "bench_kills: a number of rounds from 1 on\n");
        return 2;
    }
    try {
        return PrintTable(rounds);
    } catch (const Runs::Failure& failure) {
        std::fprintf(stderr, "%s\n", qPrintable(failure.iText));
        return 1;
    }
}

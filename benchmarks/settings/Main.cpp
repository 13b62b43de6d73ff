#include "Comparison.h"
#include "Peers.h"

#include <QtCore/QTemporaryDir>

#include <chrono>

namespace {

using Comparison::Figures;

double InUnit(double seconds, const QString& unit)
{
    return seconds * (unit == QLatin1String("ns") ? 1e9 : unit == QLatin1String("us") ? 1e6 : 1e3);
}

// Seconds for one operation, on a fresh file. Ends the program when the work did not find what it should.
double Measure(const Work& work, const QString& path, qint64& expected)
{
    WriteFile(path);
    const auto start = std::chrono::steady_clock::now();
    const qint64 found = work.iFunction(path);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (expected < 0)
        expected = found;
    if (found != expected || found == 0)
        qFatal("%s found %lld, not %lld", qPrintable(work.iName), found, expected);
    return elapsed.count() / work.iOperations;
}

// The medians of many rounds agree to a few per cent on a quiet machine only; the least times do so more often.
bool IsMet(const Task& task, const Figures& figures)
{
    if (task.iMost > 0 && figures[0].iLeast > task.iMost)
        return false;
    return task.iMostShare <= 0 || figures[0].iLeast <= figures[1].iLeast * (1 + task.iMostShare);
}

QString AimOf(const Task& task)
{
    if (task.iMostShare > 0)
        return QStringLiteral("at most %1 % above QSettings").arg(task.iMostShare * 100);
    return task.iMost > 0 ? QStringLiteral("at most %1 %2").arg(task.iMost).arg(task.iUnit) : QString();
}

// What the aim is held against.
QString FigureOf(const Task& task, const Figures& figures)
{
    if (task.iMostShare > 0)
        return QStringLiteral("%1 %").arg((figures[0].iLeast / figures[1].iLeast - 1) * 100, 0, 'f', 1);
    return QStringLiteral("%1 %2").arg(figures[0].iLeast, 0, 'g', 4).arg(task.iUnit);
}

QJsonObject Compare(const Task& task, const QString& path, int rounds)
{
    qint64 expected = -1;
    const auto measure = [&](int work) { return InUnit(Measure(task.iWorks[work], path, expected), task.iUnit); };
    const Figures figures = Comparison::Measure(int(task.iWorks.size()), rounds, measure);
    QStringList names;
    for (const Work& work : task.iWorks)
        names += work.iName;
    return Comparison::Print({task.iTitle, task.iUnit, names}, figures,
                             {AimOf(task), FigureOf(task, figures), IsMet(task, figures)});
}

} // namespace

int main(int argc, char** argv)
{
    const QString description = QStringLiteral(
        "Measures the settings stores beside their peers, on one INI file of 50,000 keys in 500 sections.");
    return Comparison::Main(argc, argv, description, 9, [](int rounds) {
        const QTemporaryDir folder;
        QJsonArray tasks;
        for (const Task& task : Tasks())
            tasks += Compare(task, folder.filePath(QStringLiteral("settings.ini")), rounds);
        return tasks;
    });
}

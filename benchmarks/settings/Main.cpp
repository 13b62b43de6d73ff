#include "Peers.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

struct Figure
{
    double iMedian = 0;
    double iLeast = 0;
    double iMost = 0;
};

using Figures = QVector<Figure>; // one for each work of a task

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

// The works in turn, round by round, so that a disturbance hits them all.
Figures MeasureTask(const Task& task, const QString& path, int rounds)
{
    QVector<QVector<double>> samples(task.iWorks.size());
    qint64 expected = -1;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < task.iWorks.size(); ++i)
            samples[i] += InUnit(Measure(task.iWorks[i], path, expected), task.iUnit);
    }
    Figures figures;
    for (QVector<double>& times : samples) {
        std::sort(times.begin(), times.end());
        figures += {times[times.size() / 2], times.first(), times.last()};
    }
    return figures;
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

QJsonObject Print(const Task& task, const Figures& figures)
{
    std::printf("\n%s (%s)\n%-26s%10s%22s%12s\n", qPrintable(task.iTitle), qPrintable(task.iUnit), "", "median",
                "least to most", "to ours");
    QJsonArray works;
    for (int i = 0; i < figures.size(); ++i) {
        const Figure& figure = figures[i];
        std::printf("  %-24s%10.4g%14.4g - %-8.4g%8.2f x\n", qPrintable(task.iWorks[i].iName), figure.iMedian,
                    figure.iLeast, figure.iMost, figure.iLeast / figures[0].iLeast);
        works += QJsonObject{{QStringLiteral("name"), task.iWorks[i].iName},
                             {QStringLiteral("median"), figure.iMedian},
                             {QStringLiteral("least"), figure.iLeast},
                             {QStringLiteral("most"), figure.iMost}};
    }
    const bool isMet = IsMet(task, figures);
    const QString aim = AimOf(task);
    if (!aim.isEmpty())
        std::printf("  aim: ours %s: %s\n", qPrintable(aim), isMet ? "met" : "NOT MET");
    return {{QStringLiteral("title"), task.iTitle},
            {QStringLiteral("unit"), task.iUnit},
            {QStringLiteral("works"), works},
            {QStringLiteral("aim"), aim},
            {QStringLiteral("figure"), FigureOf(task, figures)},
            {QStringLiteral("met"), isMet}};
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Measures the settings stores beside their peers, on one INI file "
                                                    "of 50,000 keys in 500 sections."));
    parser.addHelpOption();
    const QCommandLineOption rounds(QStringLiteral("rounds"), QStringLiteral("Rounds to measure."),
                                    QStringLiteral("number"), QStringLiteral("9"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Write the figures to this file, too."),
                                  QStringLiteral("file"));
    parser.addOptions({rounds, json});
    parser.process(application);
    const int count = parser.value(rounds).toInt();
    if (count < 1) {
        std::fprintf(stderr, "bench_settings: --rounds wants a number from 1 on\n");
        return 2;
    }

    const QTemporaryDir folder;
    QJsonArray tasks;
    for (const Task& task : Tasks())
        tasks += Print(task, MeasureTask(task, folder.filePath(QStringLiteral("settings.ini")), count));
    if (parser.isSet(json)) {
        QFile file(parser.value(json));
        if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(tasks).toJson()) < 0) {
            std::fprintf(stderr, "bench_settings: cannot write %s\n", qPrintable(file.fileName()));
            return 1;
        }
    }
    return 0;
}

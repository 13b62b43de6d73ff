#include "Comparison.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cstdio>

namespace {

bool Write(const QString& path, const QJsonArray& tasks)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(tasks).toJson()) >= 0;
}

int Complain(const QString& what, int status)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(QCoreApplication::applicationName()), qPrintable(what));
    return status;
}

} // namespace

Comparison::Figures Comparison::Measure(int ways, int rounds, const std::function<double(int)>& measure)
{
    QVector<QVector<double>> samples(ways);
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < ways; ++i) {
            const int way = (round + i) % ways;
            samples[way] += measure(way);
        }
    }
    Figures figures;
    for (QVector<double>& times : samples) {
        std::sort(times.begin(), times.end());
        figures += {times[times.size() / 2], times.first(), times.last()};
    }
    return figures;
}

QJsonObject Comparison::Print(const Task& task, const Figures& figures, const Aim& aim)
{
    std::printf("\n%s (%s)\n%-26s%10s%22s%12s\n", qPrintable(task.iTitle), qPrintable(task.iUnit), "", "median",
                "least to most", "to ours");
    QJsonArray works;
    for (int i = 0; i < figures.size(); ++i) {
        const Figure& figure = figures[i];
        std::printf("  %-24s%10.4g%14.4g - %-8.4g%8.2f x\n", qPrintable(task.iWays[i]), figure.iMedian, figure.iLeast,
                    figure.iMost, figure.iLeast / figures[0].iLeast);
        works += QJsonObject{{QStringLiteral("name"), task.iWays[i]},
                             {QStringLiteral("median"), figure.iMedian},
                             {QStringLiteral("least"), figure.iLeast},
                             {QStringLiteral("most"), figure.iMost}};
    }
    if (!aim.iText.isEmpty())
        std::printf("  aim: ours %s: %s (%s)\n", qPrintable(aim.iText), aim.iIsMet ? "met" : "NOT MET",
                    qPrintable(aim.iFigure));
    return {{QStringLiteral("title"), task.iTitle},  {QStringLiteral("unit"), task.iUnit},
            {QStringLiteral("works"), works},        {QStringLiteral("aim"), aim.iText},
            {QStringLiteral("figure"), aim.iFigure}, {QStringLiteral("met"), aim.iIsMet}};
}

int Comparison::Main(int argc, char** argv, const QString& description, int rounds,
                     const std::function<QJsonArray(int)>& compare)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    const QCommandLineOption number(QStringLiteral("rounds"), QStringLiteral("Rounds to measure."),
                                    QStringLiteral("number"), QString::number(rounds));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Write the figures to this file, too."),
                                  QStringLiteral("file"));
    parser.addOptions({number, json});
    parser.process(application);
    const int count = parser.value(number).toInt();
    if (count < 1)
        return Complain(QStringLiteral("--rounds wants a number from 1 on"), 2);

    const QJsonArray tasks = compare(count);
    if (parser.isSet(json) && !Write(parser.value(json), tasks))
        return Complain(QStringLiteral("cannot write ") + parser.value(json), 1);
    return 0;
}

#include "Peers.h"
#include "Stack.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kCalls = 200;
constexpr double kMostOfBoost = 0.7;

struct Figure
{
    double iMedian = 0;
    double iLeast = 0;
    double iMost = 0;
};

// Microseconds for one trace. Ends the program when the trace is not the one that was to be taken.
double Measure(const Peer& peer, int depth)
{
    Sample sample;
    sample.iCalls = kCalls;
    CallAtDepth(depth, peer.iFunction, &sample);
    if (sample.iFrames != depth)
        qFatal("%s found %d frames, not %d", peer.iName, sample.iFrames, depth);
    return sample.iSeconds / kCalls * 1e6;
}

// The peers in turn, round by round, so that a disturbance hits them all.
QVector<Figure> MeasureAll(const QVector<Peer>& peers, int depth, int rounds)
{
    QVector<QVector<double>> samples(peers.size());
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < peers.size(); ++i)
            samples[i] += Measure(peers[i], depth);
    }
    QVector<Figure> figures;
    for (QVector<double>& times : samples) {
        std::sort(times.begin(), times.end());
        figures += {times[times.size() / 2], times.first(), times.last()};
    }
    return figures;
}

QJsonObject Print(const QVector<Peer>& peers, int depth, const QVector<Figure>& figures)
{
    std::printf("\nA trace of %d frames (us)\n%-26s%10s%22s%12s\n", depth, "", "median", "least to most", "to ours");
    QJsonArray works;
    for (int i = 0; i < figures.size(); ++i) {
        const Figure& figure = figures[i];
        std::printf("  %-24s%10.4g%14.4g - %-8.4g%8.2f x\n", peers[i].iName, figure.iMedian, figure.iLeast,
                    figure.iMost, figure.iLeast / figures[0].iLeast);
        works += QJsonObject{{QStringLiteral("name"), QString::fromLatin1(peers[i].iName)},
                             {QStringLiteral("median"), figure.iMedian},
                             {QStringLiteral("least"), figure.iLeast},
                             {QStringLiteral("most"), figure.iMost}};
    }
    const double share = figures[0].iLeast / figures[1].iLeast;
    const bool isMet = share <= kMostOfBoost;
    std::printf("  aim: ours at most %g %% of Boost.Stacktrace: %s (%.1f %%)\n", kMostOfBoost * 100,
                isMet ? "met" : "NOT MET", share * 100);
    return {{QStringLiteral("title"), QStringLiteral("A trace of %1 frames").arg(depth)},
            {QStringLiteral("unit"), QStringLiteral("us")},
            {QStringLiteral("works"), works},
            {QStringLiteral("aim"), QStringLiteral("at most %1 % of Boost.Stacktrace").arg(kMostOfBoost * 100)},
            {QStringLiteral("figure"), QStringLiteral("%1 %").arg(share * 100, 0, 'f', 1)},
            {QStringLiteral("met"), isMet}};
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Measures stack traces as text beside their peers."));
    parser.addHelpOption();
    const QCommandLineOption rounds(QStringLiteral("rounds"), QStringLiteral("Rounds to measure."),
                                    QStringLiteral("number"), QStringLiteral("25"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Write the figures to this file, too."),
                                  QStringLiteral("file"));
    parser.addOptions({rounds, json});
    parser.process(application);
    const int count = parser.value(rounds).toInt();
    if (count < 1) {
        std::fprintf(stderr, "bench_trace: --rounds wants a number from 1 on\n");
        return 2;
    }

    const QVector<Peer> peers = Peers();
    QJsonArray depths;
    for (const int depth : {5, 20})
        depths += Print(peers, depth, MeasureAll(peers, depth, count));
    if (parser.isSet(json)) {
        QFile file(parser.value(json));
        if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(depths).toJson()) < 0) {
            std::fprintf(stderr, "bench_trace: cannot write %s\n", qPrintable(file.fileName()));
            return 1;
        }
    }
    return 0;
}

#include "Comparison.h"
#include "Peers.h"
#include "Stack.h"

namespace {

constexpr int kCalls = 200;
constexpr double kMostOfBoost = 0.7;

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

// None without Boost.Stacktrace.
Comparison::Aim AimOf(const Comparison::Figures& figures, int boost)
{
    if (boost < 0)
        return {};
    const double share = figures[0].iLeast / figures[boost].iLeast;
    return {QStringLiteral("at most %1 % of Boost.Stacktrace").arg(kMostOfBoost * 100),
            QStringLiteral("%1 %").arg(share * 100, 0, 'f', 1), share <= kMostOfBoost};
}

QJsonObject Compare(const QVector<Peer>& peers, int depth, int rounds)
{
    const auto measure = [&](int peer) { return Measure(peers[peer], depth); };
    const Comparison::Figures figures = Comparison::Measure(int(peers.size()), rounds, measure);
    QStringList names;
    for (const Peer& peer : peers)
        names += QString::fromLatin1(peer.iName);
    return Comparison::Print({QStringLiteral("A trace of %1 frames").arg(depth), QStringLiteral("us"), names}, figures,
                             AimOf(figures, int(names.indexOf(QStringLiteral("Boost.Stacktrace")))));
}

} // namespace

int main(int argc, char** argv)
{
    return Comparison::Main(argc, argv, QStringLiteral("Measures stack traces as text beside their peers."), 25,
                            [](int rounds) {
                                QJsonArray depths;
                                for (const int depth : {5, 20})
                                    depths += Compare(Peers(), depth, rounds);
                                return depths;
                            });
}

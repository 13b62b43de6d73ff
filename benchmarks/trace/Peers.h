#pragma once

#include <QtCore/QVector>

#include <chrono>

/// Loops over one way to get a trace, and what they found.
struct Sample
{
    int iCalls = 0;
    double iSeconds = 0; ///< for all calls
    int iFrames = 0; ///< of the last trace
};

struct Peer
{
    const char* iName;
    void (*iFunction)(void*); ///< takes a Sample, and is the innermost frame of its traces
};

/// The library's first.
QVector<Peer> Peers();
/// Boost.Stacktrace, or nothing where the benchmarks are built without it.
QVector<Peer> BoostPeer();

constexpr int kMost = 20; // frames that ours gives

/// Takes traces by a class with a static function Frames, which is to be inlined, or it would be a frame of its own.
template <typename Way>
Q_NEVER_INLINE void Loop(void* argument)
{
    Sample& sample = *static_cast<Sample*>(argument);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < sample.iCalls; ++i)
        sample.iFrames = Way::Frames();
    sample.iSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

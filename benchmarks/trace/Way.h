#pragma once

#include "Peers.h"

#include <chrono>

constexpr int kMost = 20; // frames that ours gives

/// Boost.Stacktrace, or nothing where the benchmarks are built without it.
QVector<Peer> BoostPeer();

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

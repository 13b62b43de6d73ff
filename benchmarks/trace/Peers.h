#pragma once

#include <QtCore/QVector>

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

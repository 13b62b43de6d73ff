#include "Peers.h"

#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QString>

#include <boost/stacktrace.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <execinfo.h>
#include <memory>
#include <string>

namespace {

constexpr int kMost = 20; // frames that ours gives

struct Free
{
    void operator()(char** lines) const { std::free(lines); }
};

// Each way is inlined into the loop, or it would be a frame of its own.

struct Ours
{
    Q_ALWAYS_INLINE static int Frames() { return StackTrace::TraceCode().count(QLatin1Char('\n')); }
};

struct Boost
{
    Q_ALWAYS_INLINE static int Frames()
    {
        const std::string text = boost::stacktrace::to_string(boost::stacktrace::stacktrace(0, kMost));
        return int(std::count(text.begin(), text.end(), '\n'));
    }
};

struct LibraryOfC
{
    Q_ALWAYS_INLINE static int Frames()
    {
        std::array<void*, kMost> frames = {};
        const int count = ::backtrace(frames.data(), kMost);
        const std::unique_ptr<char*, Free> lines(::backtrace_symbols(frames.data(), count));
        return lines ? count : 0;
    }
};

struct Addresses
{
    Q_ALWAYS_INLINE static int Frames()
    {
        std::array<void*, kMost> frames = {};
        return ::backtrace(frames.data(), kMost);
    }
};

template <typename Way>
Q_NEVER_INLINE void Loop(void* argument)
{
    Sample& sample = *static_cast<Sample*>(argument);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < sample.iCalls; ++i)
        sample.iFrames = Way::Frames();
    sample.iSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

QVector<Peer> Peers()
{
    return {
        {"StackTrace::TraceCode", Loop<Ours>},
        {"Boost.Stacktrace", Loop<Boost>},
        {"backtrace_symbols", Loop<LibraryOfC>},
        {"backtrace alone", Loop<Addresses>},
    };
}

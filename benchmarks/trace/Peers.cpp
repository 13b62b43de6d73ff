#include "Peers.h"

#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QString>

#include <array>
#include <cstdlib>
#include <execinfo.h>
#include <memory>

namespace {

struct Free
{
    void operator()(char** lines) const { std::free(lines); }
};

struct Ours
{
    Q_ALWAYS_INLINE static int Frames() { return int(StackTrace::TraceCode().count(QLatin1Char('\n'))); }
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

} // namespace

QVector<Peer> Peers()
{
    return QVector<Peer>{{"StackTrace::TraceCode", Loop<Ours>}} + BoostPeer()
        + QVector<Peer>{
            {"backtrace_symbols", Loop<LibraryOfC>},
            {"backtrace alone", Loop<Addresses>},
        };
}

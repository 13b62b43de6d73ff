#include "Peers.h"

#include <boost/stacktrace.hpp>

#include <algorithm>
#include <string>

namespace {

struct Boost
{
    Q_ALWAYS_INLINE static int Frames()
    {
        const std::string text = boost::stacktrace::to_string(boost::stacktrace::stacktrace(0, kMost));
        return int(std::count(text.begin(), text.end(), '\n'));
    }
};

} // namespace

QVector<Peer> BoostPeer()
{
    return {{"Boost.Stacktrace", Loop<Boost>}};
}

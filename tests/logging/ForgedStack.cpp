#include "ForgedStack.h"

#include <QtCore/QtGlobal>

#include <algorithm>
#include <atomic>
#include <dlfcn.h>
#include <utility>

namespace {

std::atomic<bool> gIsForged{false};
std::atomic<int> gAsked{0};
std::vector<const void*> gFrames;

using Backtrace = int (*)(void**, int);

int Copy(const std::vector<const void*>& frames, void** buffer, int size)
{
    const int count = std::min(size, int(frames.size()));
    std::transform(frames.begin(), frames.begin() + count, buffer,
                   [](const void* frame) { return const_cast<void*>(frame); });
    return count;
}

} // namespace

ForgedStack::ForgedStack(std::vector<const void*> frames)
{
    gFrames = std::move(frames);
    gIsForged = true;
}

ForgedStack::~ForgedStack()
{
    gIsForged = false;
}

int ForgedStack::Asked()
{
    return gAsked;
}

// Takes its own frame out of what the C library sees. The sanitizers' wrapper, which it replaces, would leave its own
// in.
extern "C" Q_DECL_EXPORT int backtrace(void** buffer, int size)
{
    gAsked = size;
    if (gIsForged)
        return Copy(gFrames, buffer, size);
    static const auto real = reinterpret_cast<Backtrace>(::dlsym(RTLD_NEXT, "backtrace"));
    std::vector<void*> frames(size_t(size) + 1);
    const int count = real(frames.data(), size + 1);
    std::copy(frames.begin() + 1, frames.begin() + std::max(count, 1), buffer);
    return count - 1;
}

#include "FrameLines.h"

#include <cstdlib>
#include <execinfo.h>
#include <memory>

namespace {

struct Free
{
    void operator()(char** lines) const { std::free(lines); }
};

} // namespace

QStringList FrameLines::Of(void* const* addresses, int count, int skipped)
{
    QStringList lines;
    if (const std::unique_ptr<char*, Free> names{::backtrace_symbols(addresses, count)}) {
        for (int i = skipped; i < count; ++i)
            lines.append(QString::fromUtf8(names.get()[i]));
    }
    return lines;
}

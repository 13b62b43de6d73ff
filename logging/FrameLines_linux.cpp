#include "FrameLines.h"

#include <QtCore/QFile>

#include <cstdio>
#include <cstring>
#include <dlfcn.h>

namespace {

const char* BaseName(const char* path)
{
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

QString Line(int index, const void* address)
{
    Dl_info info = {};
    ::dladdr(address, &info); // of an address in no image it tells nothing
    const char* const image = info.dli_fname ? BaseName(info.dli_fname) : "???";
    const void* const start = info.dli_sname ? info.dli_saddr : info.dli_fbase;
    return QString::asprintf("%-4d%-35s 0x%016zx ", index, image, std::size_t(address))
        + (info.dli_sname ? QString::fromUtf8(info.dli_sname) : QString::asprintf("0x%zx", std::size_t(start)))
        + QLatin1String(" + ") + QString::number(std::size_t(address) - std::size_t(start));
}

} // namespace

QStringList FrameLines::Of(void* const* addresses, int count)
{
    QStringList lines;
    lines.reserve(count);
    for (int i = 0; i < count; ++i)
        lines.append(Line(i, addresses[i]));
    return lines;
}

#include "FrameLines.h"

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QStringBuilder>

#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <mutex>

namespace {

constexpr int kMostKnown = 4096;

const char* BaseName(const char* path)
{
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

QByteArray Hex(const void* address)
{
    return QByteArray::number(quintptr(address), 16);
}

// The line without the index.
QString Describe(const void* address)
{
    Dl_info info = {};
    ::dladdr(address, &info); // of an address in no image it tells nothing
    const char* const image = info.dli_fname ? BaseName(info.dli_fname) : "???";
    const void* const start = info.dli_sname ? info.dli_saddr : info.dli_fbase;
    const QByteArray text = QByteArray(image).leftJustified(35) % " 0x" % Hex(address).rightJustified(16, '0') % ' '
        % (info.dli_sname ? QByteArray(info.dli_sname) : "0x" + Hex(start)) % " + "
        % QByteArray::number(quintptr(address) - quintptr(start));
    return QString::fromUtf8(text);
}

// How often an image has come or gone.
quint64 CountOfChanges()
{
    quint64 count = 0;
    const auto read = [](dl_phdr_info* info, std::size_t, void* data) {
        *static_cast<quint64*>(data) = info->dlpi_adds + info->dlpi_subs;
        return 1;
    };
    ::dl_iterate_phdr(read, &count);
    return count;
}

/// What addresses were found to be, until an image comes or goes. The system looks through all names of an image for
/// each, and the outer frames of many traces are the same.
///
/// Nobody asks the system while the mutex is held: a library that traces while it is loaded has the loader's lock.
class KnownFrames
{
public:
    QString At(const void* address, quint64 changes)
    {
        const std::lock_guard<QMutex> lock(iMutex);
        return changes == iChanges ? iTexts.value(address) : QString();
    }
    void Keep(const void* address, const QString& text, quint64 changes)
    {
        const std::lock_guard<QMutex> lock(iMutex);
        if (changes < iChanges)
            return;
        if (changes > iChanges || iTexts.size() >= kMostKnown)
            iTexts.clear();
        iChanges = changes;
        iTexts.insert(address, text);
    }

private:
    QMutex iMutex;
    QHash<const void*, QString> iTexts;
    quint64 iChanges = 0;
};

QString TextOf(const void* address, quint64 changes)
{
    static auto* const frames = new KnownFrames; // threads may outlive main
    QString text = frames->At(address, changes);
    if (text.isNull()) {
        text = Describe(address);
        frames->Keep(address, text, changes);
    }
    return text;
}

} // namespace

QStringList FrameLines::Of(void* const* addresses, int count, int skipped)
{
    const quint64 changes = CountOfChanges();
    QStringList lines;
    lines.reserve(count - skipped);
    for (int i = skipped; i < count; ++i)
        lines.append(QString::number(i).leftJustified(4) % TextOf(addresses[i], changes));
    return lines;
}

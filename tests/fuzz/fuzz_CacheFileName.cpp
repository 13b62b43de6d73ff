#include "Fuzz.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <string>

namespace {

bool StartsWith(const std::u16string& name, const char16_t* start)
{
    return name.rfind(start, 0) == 0;
}

// The same rule in another form.
bool IsCacheFile(const std::u16string& name)
{
    const std::size_t length = StartsWith(name, u"content") ? 7 : StartsWith(name, u"response") ? 8 : 0;
    if (length == 0 || name.size() <= length || name[length] < u'0' || name[length] > u'9')
        return false;
    const std::size_t dot = name.find_last_of(u'.');
    const std::u16string suffix = dot == std::u16string::npos ? std::u16string() : name.substr(dot + 1);
    return suffix.empty() || suffix == u"md5" || suffix == u"md5x";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    QString name = QString::fromUtf8(reinterpret_cast<const char*>(bytes), int(size));
    name.remove(QLatin1Char('/')); // names, not paths
    FUZZ_CHECK(SystemConfig::FileIsCacheFile(name) == IsCacheFile(name.toStdU16String()));
    return 0;
}

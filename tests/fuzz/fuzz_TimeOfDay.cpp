#include "Fuzz.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QTime>
#include <QtCore/QVariant>

namespace {

class OneText : public IIniFileBase
{
public:
    explicit OneText(const QString& text)
        : iText(text)
    {
    }
    bool GetKeyValue(const QString&, const QString&, QString& value) const override
    {
        value = iText;
        return true;
    }
    void SetKeyValue(const QString&, const QString&, const QVariant&) override { }
    void RemoveKey(const QString&, const QString&) override { }

private:
    QString iText;
};

} // namespace

// For any text: a time with the written hour and minute, an invalid time, or the default.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(bytes), int(size));
    const QString group = QStringLiteral("Downloads");
    const OneText store(text);
    const QTime from = IniFile::GetTimeFromPrefs(store, group, QStringLiteral("AutoDownloadsStart"));
    const QTime to = IniFile::GetTimeFromPrefs(store, group, QStringLiteral("AutoDownloadsEnd"));
    if (from != to) {
        FUZZ_CHECK(from == QTime(16, 0) && to == QTime(20, 0));
    } else if (from.isValid()) {
        FUZZ_CHECK(from.second() == 0 && from.msec() == 0);
        FUZZ_CHECK(text.section(QLatin1Char(':'), 0, 0).toInt() == from.hour());
        FUZZ_CHECK(text.section(QLatin1Char(':'), 1, 1).toInt() == from.minute());
    }
    return 0;
}

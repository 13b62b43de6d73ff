#include "Fuzz.h"

#include <NeroltOrvaneBase/UrlQueryManager.h>

#include <QtCore/QUrl>
#include <QtCore/QUrlQuery>

#include <algorithm>

namespace {

// Ignores what the framework encodes or drops.
bool IsPlain(const QString& key)
{
    return !key.isEmpty()
        && std::all_of(key.cbegin(), key.cend(), [](QChar c) { return c.isLetterOrNumber() && c.unicode() < 128; });
}

int Count(const QUrl& url, const QString& key)
{
    return int(QUrlQuery(url.query()).allQueryItemValues(key).size());
}

} // namespace

// No parameter is duplicated, and nothing except the query changes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    FuzzedDataProvider data(bytes, size);
    QUrl url(Fuzz::Text(data));
    const QUrl original = url;
    const auto items = QUrlQuery(url.query()).queryItems();
    const int chosen = data.ConsumeIntegralInRange(-1, qMin(int(items.size()), 100) - 1);
    const QString key = chosen < 0 ? Fuzz::Text(data) : items.at(chosen).first;
    const QString value = Fuzz::Text(data);
    const bool isPlain = IsPlain(key);
    const int before = Count(original, key);

    UrlQueryManager::AddQueryParametersIfExists(url, {{key, value}});
    FUZZ_CHECK(!isPlain || Count(url, key) == before);
    UrlQueryManager::AddQueryParameters(url, {{key, value}});
    FUZZ_CHECK(!isPlain || Count(url, key) == (value.isEmpty() ? qMax(0, before - 1) : qMax(1, before)));
    UrlQueryManager::AddQueryParameter(url, key, value);
    UrlQueryManager::AddQueryParameters(url, {{key, QString()}, {value, key}, {key, value}});
    // The framework may make an invalid URL valid.
    FUZZ_CHECK(!original.isValid() || url.adjusted(QUrl::RemoveQuery) == original.adjusted(QUrl::RemoveQuery));
    return 0;
}

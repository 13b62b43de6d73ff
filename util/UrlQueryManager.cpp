#include <NeroltOrvaneBase/UrlQueryManager.h>

#include <QtCore/QUrl>
#include <QtCore/QUrlQuery>

namespace {

/// The query of a URL while it is changed. The original URL decides whether there is a query to replace parameters in.
class Query
{
public:
    explicit Query(QUrl& url)
        : iUrl(url)
        , iQuery(url.query())
    {
    }
    ~Query() { iUrl.setQuery(iQuery); }
    Q_DISABLE_COPY(Query)

    bool Has(const QString& key) const { return iUrl.hasQuery() && iQuery.hasQueryItem(key); }
    void Remove(const QString& key)
    {
        if (Has(key))
            iQuery.removeQueryItem(key);
    }
    void Add(const QString& key, const QString& value) { iQuery.addQueryItem(key, value); }

private:
    QUrl& iUrl;
    QUrlQuery iQuery;
};

} // namespace

void UrlQueryManager::AddQueryParameter(QUrl& url, const QString& key, const QString& value)
{
    Query query(url);
    query.Remove(key);
    query.Add(key, value);
}

void UrlQueryManager::AddQueryParameters(QUrl& url, const QVector<URLParameters>& params)
{
    Query query(url);
    for (const URLParameters& parameter : params) {
        query.Remove(parameter.iKey);
        if (!parameter.iValue.isEmpty())
            query.Add(parameter.iKey, parameter.iValue);
    }
}

void UrlQueryManager::AddQueryParametersIfExists(QUrl& url, const QVector<URLParameters>& params)
{
    Query query(url);
    for (const URLParameters& parameter : params) {
        if (parameter.iValue.isEmpty() || !query.Has(parameter.iKey))
            continue;
        query.Remove(parameter.iKey);
        query.Add(parameter.iKey, parameter.iValue);
    }
}

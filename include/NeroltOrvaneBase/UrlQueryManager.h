#pragma once

#include "Export.h"

#include <QtCore/QString>
#include <QtCore/QVector>

class QUrl;

/// Sets parameters of a URL's query without duplicating them. A parameter that is replaced moves to the end. Delimiters
/// and percent-encoding are those of QUrlQuery, which rewrites the other parameters as well: a raw "=" in a value
/// becomes
/// "%3D". Any thread may call. Nothing here blocks or logs.
class NEROLTORVANEBASE_EXPORT UrlQueryManager
{
public:
    UrlQueryManager() = delete;

    /// One parameter of a query.
    struct URLParameters
    {
        QString iKey; ///< the name
        QString iValue; ///< empty means no value, in functions that take a list
    };

    /// Sets one parameter. An empty value is allowed.
    static void AddQueryParameter(QUrl& url, const QString& key, const QString& value);
    /// Sets each parameter that has a value and removes those without one. If the URL has no query, a key that is
    /// listed twice is added twice.
    static void AddQueryParameters(QUrl& url, const QVector<URLParameters>& params);
    /// Sets only parameters that are already in the query, and only those with a value.
    static void AddQueryParametersIfExists(QUrl& url, const QVector<URLParameters>& params);
};

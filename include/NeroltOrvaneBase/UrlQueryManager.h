#pragma once

#include "Export.h"

#include <QtCore/QString>
#include <QtCore/QVector>

class QUrl;

/// Parameters of a URL's query, set without doubling them. A parameter that is replaced moves to the end. Delimiters
/// and percent-encoding are those of QUrlQuery, which also writes the parameters that stay anew: a raw "=" within a
/// value becomes "%3D". Any thread may call; nothing here blocks or logs.
class NEROLTORVANEBASE_EXPORT UrlQueryManager
{
public:
    UrlQueryManager() = delete;

    /// One parameter of a query.
    struct URLParameters
    {
        QString iKey; ///< its name
        QString iValue; ///< empty for none, where a list is passed
    };

    /// Sets one parameter, to an empty value too.
    static void AddQueryParameter(QUrl& url, const QString& key, const QString& value);
    /// Sets each parameter with a value and removes those without one. Into a URL that has no query, a key that is
    /// listed twice goes twice.
    static void AddQueryParameters(QUrl& url, const QVector<URLParameters>& params);
    /// Sets only parameters that the query has already, and only those with a value.
    static void AddQueryParametersIfExists(QUrl& url, const QVector<URLParameters>& params);
};

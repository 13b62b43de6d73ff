#include "support/TestMain.h"

#include <NeroltOrvaneBase/UrlQueryManager.h>

#include <QtCore/QUrl>
#include <QtCore/QUrlQuery>

using Parameters = QVector<UrlQueryManager::URLParameters>;

namespace {

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QUrl Url(const QByteArray& text)
{
    return QUrl(QString::fromUtf8(text));
}

QByteArray Encoded(const QUrl& url)
{
    return url.toEncoded(QUrl::FullyEncoded);
}

// Written like "a=1&b=&c": b has an empty value, c a null one.
Parameters ListOf(const QString& text)
{
    Parameters list;
    for (const QString& parameter : text.split(QLatin1Char('&'))) {
        const auto equals = parameter.indexOf(QLatin1Char('='));
        list += {parameter.left(equals), equals < 0 ? QString() : parameter.mid(equals + 1)};
    }
    return text.isNull() ? Parameters() : list;
}

void AddColumns()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<QString>("list");
    QTest::addColumn<QByteArray>("result");
}

void AddRow(const char* edge, const char* url, const char* list, const char* result)
{
    QTest::newRow(edge) << QByteArray(url) << (list ? Text(list) : QString()) << QByteArray(result);
}

// What a list that changes nothing leaves, and a list finds.
void AddRowsOfEveryList()
{
    AddRow("replaced in the list's order", "http://h/?a=1&b=2&c=3", "c=6&a=4", "http://h/?b=2&c=6&a=4");
    AddRow("doubled key, once", "http://h/?a=1&b=2&a=3", "a=4", "http://h/?b=2&a=3&a=4");
    AddRow("doubled key, twice", "http://h/?a=1&b=2&a=3", "a=4&a=5", "http://h/?b=2&a=4&a=5");
    AddRow("blank is a value", "http://h/?a=1", "a= ", "http://h/?a=%20");
    AddRow("empty key", "http://h/?=1&a=2", "=3", "http://h/?a=2&=3");
    AddRow("fragment", "http://h/?a=1#f?b==", "a=2", "http://h/?a=2#f?b==");
    AddRow("invalid port", "http://h:99999/?a=1", "a=2", "http://h/?a=2");
    AddRow("nothing", "http://h/", nullptr, "http://h/");
    AddRow("nothing, a query without anything", "http://h/?", nullptr, "http://h/");
    AddRow("rendered anew", "http://h/?a==b&&b&c=%41;d=2&e=%2f%2B+%20%25", nullptr,
           "http://h/?a=%3Db&&b&c=A;d%3D2&e=%2F%2B+%20%25");
}

} // namespace

class tst_UrlQueryManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addOne_data()
    {
        AddColumns();
        AddRow("replaced, at the end", "http://h/?a=1&b=2", "a=9", "http://h/?b=2&a=9");
        AddRow("new", "http://h/?a=1", "b=2", "http://h/?a=1&b=2");
        AddRow("no query", "http://h/p", "a=1", "http://h/p?a=1");
        AddRow("query without anything", "http://h/?", "a=1", "http://h/?a=1");
        AddRow("key three times: the first goes", "http://h/?a=1&a=2&a=3", "a=4", "http://h/?a=2&a=3&a=4");
        AddRow("other case is another key", "http://h/?A=1", "a=2", "http://h/?A=1&a=2");
        AddRow("key without a value in the query", "http://h/?a&b=2", "a=1", "http://h/?b=2&a=1");
        AddRow("empty value", "http://h/?a=1&b=2", "a=", "http://h/?b=2&a=");
        AddRow("null value", "http://h/?a=1&b=2", "a", "http://h/?b=2&a");
        AddRow("empty value, new", "http://h/", "a=", "http://h/?a=");
        AddRow("empty key", "http://h/?=1&a=2", "=v", "http://h/?a=2&=v");
        AddRow("same value, at the end", "http://h/?a=1&b=2", "a=1", "http://h/?b=2&a=1");
        AddRow("plus is no blank", "http://h/?a+b=1", "a b=c+d", "http://h/?a+b=1&a%20b=c+d");
        AddRow("equals sign in a value", "http://h/?x=1", "a=c=d", "http://h/?x=1&a=c%3Dd");
        AddRow("beyond ASCII", "http://h/?%C3%BC=1&x=2", "\xc3\xbc=\xf0\x9f\x98\x80",
               "http://h/?x=2&%C3%BC=%F0%9F%98%80");
        AddRow("fragment", "http://h/?a=1#f?a=2", "a=3", "http://h/?a=3#f?a=2");
        AddRow("all parts", "https://u:p@h:81/p/q?a=1#f", "b=2", "https://u:p@h:81/p/q?a=1&b=2#f");
        AddRow("empty URL", "", "a=1", "?a=1");
        AddRow("invalid port", "http://h:99999/?a=1", "a=2", "http://h/?a=2");
    }
    void addOne()
    {
        QFETCH(QByteArray, url);
        QFETCH(QString, list);
        QFETCH(QByteArray, result);
        const UrlQueryManager::URLParameters parameter = ListOf(list).first();
        QUrl changed = Url(url);
        UrlQueryManager::AddQueryParameter(changed, parameter.iKey, parameter.iValue);
        QCOMPARE(Encoded(changed), result);
    }

    void addedValueReadsBack()
    {
        for (const char* const text : {"a=b&c#d?e", " a  b ", "100%", "\xc3\xbc\xf0\x9f\x98\x80", "\"'<>\\", "a\nb"}) {
            QUrl url = Url("http://h/?x=1#f");
            UrlQueryManager::AddQueryParameter(url, Text(text), QStringLiteral("before"));
            UrlQueryManager::AddQueryParameter(url, Text(text), Text(text));
            const QUrlQuery query(QUrl::fromEncoded(Encoded(url)));
            QCOMPARE(query.queryItems().size(), 2);
            QCOMPARE(query.allQueryItemValues(Text(text), QUrl::FullyDecoded), QStringList(Text(text)));
        }
    }

    void addList_data()
    {
        AddColumns();
        AddRowsOfEveryList();
        AddRow("removed and added", "http://h/?a=1", "a=&c=3", "http://h/?c=3");
        AddRow("null removes too", "http://h/?a=1&b=2", "a", "http://h/?b=2");
        AddRow("new ones in the list's order", "http://h/?x=1", "c=3&a=1&b=2", "http://h/?x=1&c=3&a=1&b=2");
        AddRow("twice, no query", "http://h/", "x=1&x=2", "http://h/?x=1&x=2");
        AddRow("twice, a query without it", "http://h/?a=1", "x=1&x=2", "http://h/?a=1&x=2");
        AddRow("all removed", "http://h/?a=1#f", "a=", "http://h/#f");
        AddRow("twice, a query with it", "http://h/?x=0&a=1", "x=1&x=2", "http://h/?a=1&x=2");
        AddRow("twice, a query without anything", "http://h/?", "x=1&x=2", "http://h/?x=2");
        AddRow("added and removed, no query", "http://h/", "x=1&x=&y=2", "http://h/?x=1&y=2");
        AddRow("added and removed, a query", "http://h/?a=1", "x=1&x=", "http://h/?a=1");
        AddRow("removed and added again", "http://h/?a=1&b=2", "a=&a=3", "http://h/?b=2&a=3");
        AddRow("doubled key, removed once", "http://h/?a=1&b=2&a=3", "a=", "http://h/?b=2&a=3");
        AddRow("doubled key, removed twice", "http://h/?a=1&b=2&a=3", "a=&a", "http://h/?b=2");
        AddRow("nothing to remove, no query", "http://h/", "b=", "http://h/");
        AddRow("empty URL", "", "a=1&b=2", "?a=1&b=2");
    }
    void addList() { CheckList(UrlQueryManager::AddQueryParameters); }

    void addIfExists_data()
    {
        AddColumns();
        AddRowsOfEveryList();
        AddRow("replaced, not added", "http://h/?a=1", "a=5&b=6", "http://h/?a=5");
        AddRow("no query", "http://h/", "a=1&b=2", "http://h/");
        AddRow("empty value keeps", "http://h/?a=1&b=2", "a=", "http://h/?a=1&b=2");
        AddRow("null value keeps", "http://h/?a=1&b=2", "a", "http://h/?a=1&b=2");
        AddRow("empty value before a value", "http://h/?a=1&b=2", "a=&a=3", "http://h/?b=2&a=3");
        AddRow("twice", "http://h/?a=1&b=2", "a=3&a=4", "http://h/?b=2&a=4");
        AddRow("new key twice", "http://h/?b=2", "a=3&a=4", "http://h/?b=2");
        AddRow("key without a value in the query", "http://h/?a&b=2", "a=1", "http://h/?b=2&a=1");
        AddRow("empty URL", "", "a=1", "");
    }
    void addIfExists() { CheckList(UrlQueryManager::AddQueryParametersIfExists); }

private:
    // Copies of a URL share what they hold until one is changed.
    template <typename Call>
    static void CheckList(const Call& call)
    {
        QFETCH(QByteArray, url);
        QFETCH(QString, list);
        QFETCH(QByteArray, result);
        const QUrl original = Url(url);
        QUrl changed = original;
        call(changed, ListOf(list));
        QCOMPARE(Encoded(changed), result);
        QCOMPARE(changed.hasQuery(), result.contains('?'));
        QCOMPARE(Encoded(original), Encoded(Url(url)));
        QVERIFY(changed.isValid() || result.isEmpty());
    }
};

NEROLT_TEST_MAIN(tst_UrlQueryManager)

#include "tst_UrlQueryManager.moc"

#include "support/TestMain.h"

#include <NeroltOrvaneBase/UrlQueryManager.h>

#include <QtCore/QUrl>
#include <QtCore/QUrlQuery>

#include <algorithm>
#include <type_traits>

using Parameters = QVector<UrlQueryManager::URLParameters>;
Q_DECLARE_METATYPE(Parameters)

namespace {

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QUrl Url(const char* text)
{
    return QUrl(Text(text));
}

QByteArray Encoded(const QUrl& url)
{
    return url.toEncoded(QUrl::FullyEncoded);
}

UrlQueryManager::URLParameters Parameter(const char* key, const char* value)
{
    return {Text(key), value ? Text(value) : QString()};
}

bool IsSame(const Parameters& left, const Parameters& right)
{
    const auto isSame = [](const auto& a, const auto& b) {
        return a.iKey == b.iKey && a.iValue == b.iValue && a.iKey.isNull() == b.iKey.isNull()
            && a.iValue.isNull() == b.iValue.isNull();
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), isSame);
}

} // namespace

class tst_UrlQueryManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parameterIsAPlainValue()
    {
        using Parameter = UrlQueryManager::URLParameters;
        static_assert(std::is_aggregate_v<Parameter>);
        static_assert(std::is_same_v<decltype(Parameter::iKey), QString>);
        static_assert(std::is_same_v<decltype(Parameter::iValue), QString>);
        const Parameter parameter;
        QVERIFY(parameter.iKey.isNull() && parameter.iValue.isNull());
    }

    void addOne_data()
    {
        QTest::addColumn<QByteArray>("url");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QByteArray>("result");
        const auto row = [](const char* edge, const char* url, const char* key, const char* value, const char* result) {
            QTest::newRow(edge) << QByteArray(url) << Text(key) << (value ? Text(value) : QString())
                                << QByteArray(result);
        };
        row("replaced, at the end", "http://h/?a=1&b=2", "a", "9", "http://h/?b=2&a=9");
        row("new", "http://h/?a=1", "b", "2", "http://h/?a=1&b=2");
        row("no query", "http://h/p", "a", "1", "http://h/p?a=1");
        row("no path", "http://h", "a", "1", "http://h?a=1");
        row("query without anything", "http://h/?", "a", "1", "http://h/?a=1");
        row("same value", "http://h/?a=1&b=2", "a", "1", "http://h/?b=2&a=1");
        row("last one", "http://h/?a=1&b=2", "b", "3", "http://h/?a=1&b=3");
        row("key twice: the first goes", "http://h/?a=1&b=2&a=3", "a", "4", "http://h/?b=2&a=3&a=4");
        row("key three times", "http://h/?a=1&a=2&a=3", "a", "4", "http://h/?a=2&a=3&a=4");
        row("other case is another key", "http://h/?A=1", "a", "2", "http://h/?A=1&a=2");
        row("key within a key", "http://h/?ab=1&ba=2", "a", "3", "http://h/?ab=1&ba=2&a=3");
        row("key as a value", "http://h/?b=a", "a", "1", "http://h/?b=a&a=1");
        row("key without a value in the query", "http://h/?a&b=2", "a", "1", "http://h/?b=2&a=1");
        row("empty value in the query", "http://h/?a=&b=2", "a", "1", "http://h/?b=2&a=1");
        row("empty value", "http://h/?a=1&b=2", "a", "", "http://h/?b=2&a=");
        row("null value", "http://h/?a=1&b=2", "a", nullptr, "http://h/?b=2&a");
        row("empty value, new", "http://h/", "a", "", "http://h/?a=");
        row("null value, new", "http://h/", "a", nullptr, "http://h/?a");
        row("empty key", "http://h/?a=1", "", "v", "http://h/?a=1&=v");
        row("empty key in the query", "http://h/?=1&a=2", "", "v", "http://h/?a=2&=v");
        row("empty key, empty value", "http://h/?a=1", "", "", "http://h/?a=1&=");
        row("blanks", "http://h/?x=1", "a b", " c d ", "http://h/?x=1&a%20b=%20c%20d%20");
        row("blanks in the query", "http://h/?a%20b=1&x=2", "a b", "c", "http://h/?x=2&a%20b=c");
        row("plain blanks in the query", "http://h/?a b=1&x=2 3", "a b", "c", "http://h/?x=2%203&a%20b=c");
        row("plus", "http://h/?x=1", "a+b", "c+d", "http://h/?x=1&a+b=c+d");
        row("plus in the query", "http://h/?a+b=1&x=2+3", "a+b", "c", "http://h/?x=2+3&a+b=c");
        row("plus is no blank", "http://h/?a+b=1", "a b", "c", "http://h/?a+b=1&a%20b=c");
        row("plus is not its encoding", "http://h/?a%2Bb=1", "a+b", "c", "http://h/?a%2Bb=1&a+b=c");
        row("equals signs", "http://h/?x=1", "a=b", "c=d", "http://h/?x=1&a%3Db=c%3Dd");
        row("equals sign in a key of the query", "http://h/?a%3Db=1&x=2", "a=b", "c", "http://h/?x=2&a%3Db=c");
        row("ampersands", "http://h/?x=1", "a&b", "c&d", "http://h/?x=1&a%26b=c%26d");
        row("ampersand in a key of the query", "http://h/?a%26b=1&x=2", "a&b", "c", "http://h/?x=2&a%26b=c");
        row("number signs", "http://h/?x=1", "a#b", "c#d", "http://h/?x=1&a%23b=c%23d");
        row("number sign in a key of the query", "http://h/?a%23b=1&x=2", "a#b", "c", "http://h/?x=2&a%23b=c");
        row("percent signs", "http://h/?x=1", "100%", "50%", "http://h/?x=1&100%25=50%25");
        row("percent sign in a key of the query", "http://h/?100%25=1&x=2", "100%", "c", "http://h/?x=2&100%25=c");
        row("letters that were encoded", "http://h/?x=1", "%41", "%42", "http://h/?x=1&A=B");
        row("encoded letter in the query", "http://h/?%61=%31&x=2", "a", "3", "http://h/?x=2&a=3");
        row("delimiters that were encoded", "http://h/?x=1", "%26", "%3D", "http://h/?x=1&%26=%3D");
        row("encoding in lower case", "http://h/?a=%c3%bc", "b", "%c3%9f", "http://h/?a=%C3%BC&b=%C3%9F");
        row("beyond ASCII", "http://h/?x=1", "\xc3\xbc", "\xf0\x9f\x98\x80", "http://h/?x=1&%C3%BC=%F0%9F%98%80");
        row("beyond ASCII in the query", "http://h/?%C3%BC=1&x=2", "\xc3\xbc", "3", "http://h/?x=2&%C3%BC=3");
        row("bytes that are no text", "http://h/?a=%FF", "b", "1", "http://h/?a=%FF&b=1");
        row("control characters", "http://h/?x=1", "a\nb", "c\td", "http://h/?x=1&a%0Ab=c%09d");
        row("template marks", "http://h/?x=1", "%1", "%2", "http://h/?x=1&%251=%252");
        row("characters that stay", "http://h/?x=1", "a/b?c", ":@!$'()*,;", "http://h/?x=1&a/b?c=:@!$'()*,;");
        row("quotes and brackets", "http://h/?x=1", "\"<>", "{|}\\^`", "http://h/?x=1&%22%3C%3E=%7B%7C%7D%5C%5E%60");
        row("semicolon is no delimiter", "http://h/?a=1;b=2", "b", "3", "http://h/?a=1;b%3D2&b=3");
        row("fragment", "http://h/?a=1#f?a=2", "a", "3", "http://h/?a=3#f?a=2");
        row("fragment without a query", "http://h/#f", "a", "1", "http://h/?a=1#f");
        row("all parts", "https://u:p@h:81/p/q?a=1#f", "b", "2", "https://u:p@h:81/p/q?a=1&b=2#f");
        row("no authority", "mailto:x@y?a=1", "a", "2", "mailto:x@y?a=2");
        row("file", "file:///p%20q", "a", "1", "file:///p%20q?a=1");
        row("relative", "p?a=1", "b", "2", "p?a=1&b=2");
        row("only a query", "?a=1", "a", "2", "?a=2");
        row("empty URL", "", "a", "1", "?a=1");
        row("invalid port", "http://h:99999/?a=1", "a", "2", "http://h/?a=2");
    }
    void addOne()
    {
        QFETCH(QByteArray, url);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QByteArray, result);
        QUrl changed = Url(url.constData());
        UrlQueryManager::AddQueryParameter(changed, key, value);
        QCOMPARE(Encoded(changed), result);
    }

    void addedValueReadsBack_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("delimiters") << Text("a=b&c#d?e");
        QTest::newRow("blanks") << Text(" a  b ");
        QTest::newRow("percent sign") << Text("100%");
        QTest::newRow("beyond ASCII") << Text("\xc3\xbc\xf0\x9f\x98\x80");
        QTest::newRow("quotes") << Text("\"'<>\\");
    }
    void addedValueReadsBack()
    {
        QFETCH(QString, text);
        QUrl url = Url("http://h/?x=1#f");
        UrlQueryManager::AddQueryParameter(url, text, QStringLiteral("before"));
        UrlQueryManager::AddQueryParameter(url, text, text);
        const QUrlQuery query(QUrl::fromEncoded(Encoded(url)));
        QCOMPARE(query.queryItems().size(), 2);
        QCOMPARE(query.allQueryItemValues(text, QUrl::FullyDecoded), QStringList(text));
        QCOMPARE(url.fragment(), QStringLiteral("f"));
    }

    void addList_data()
    {
        ListColumns();
        const Parameters none;
        QTest::newRow("removed and added")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("a", ""), Parameter("c", "3")}
            << QByteArray("http://h/?c=3");
        QTest::newRow("null removes too")
            << QByteArray("http://h/?a=1&b=2") << Parameters{Parameter("a", nullptr)} << QByteArray("http://h/?b=2");
        QTest::newRow("replaced in the list's order")
            << QByteArray("http://h/?a=1&b=2&c=3") << Parameters{Parameter("c", "6"), Parameter("a", "4")}
            << QByteArray("http://h/?b=2&c=6&a=4");
        QTest::newRow("new ones in the list's order")
            << QByteArray("http://h/?x=1") << Parameters{Parameter("c", "3"), Parameter("a", "1"), Parameter("b", "2")}
            << QByteArray("http://h/?x=1&c=3&a=1&b=2");
        QTest::newRow("twice, no query") << QByteArray("http://h/")
                                         << Parameters{Parameter("x", "1"), Parameter("x", "2")}
                                         << QByteArray("http://h/?x=1&x=2");
        QTest::newRow("twice, a query without it")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("x", "1"), Parameter("x", "2")}
            << QByteArray("http://h/?a=1&x=2");
        QTest::newRow("twice, a query with it")
            << QByteArray("http://h/?x=0&a=1") << Parameters{Parameter("x", "1"), Parameter("x", "2")}
            << QByteArray("http://h/?a=1&x=2");
        QTest::newRow("twice, a query without anything")
            << QByteArray("http://h/?") << Parameters{Parameter("x", "1"), Parameter("x", "2")}
            << QByteArray("http://h/?x=2");
        QTest::newRow("added and removed, no query")
            << QByteArray("http://h/") << Parameters{Parameter("x", "1"), Parameter("x", ""), Parameter("y", "2")}
            << QByteArray("http://h/?x=1&y=2");
        QTest::newRow("added and removed, a query")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("x", "1"), Parameter("x", "")}
            << QByteArray("http://h/?a=1");
        QTest::newRow("removed and added again")
            << QByteArray("http://h/?a=1&b=2") << Parameters{Parameter("a", ""), Parameter("a", "3")}
            << QByteArray("http://h/?b=2&a=3");
        QTest::newRow("doubled key, once") << QByteArray("http://h/?a=1&b=2&a=3") << Parameters{Parameter("a", "4")}
                                           << QByteArray("http://h/?b=2&a=3&a=4");
        QTest::newRow("doubled key, twice")
            << QByteArray("http://h/?a=1&b=2&a=3") << Parameters{Parameter("a", "4"), Parameter("a", "5")}
            << QByteArray("http://h/?b=2&a=4&a=5");
        QTest::newRow("doubled key, removed once")
            << QByteArray("http://h/?a=1&b=2&a=3") << Parameters{Parameter("a", "")} << QByteArray("http://h/?b=2&a=3");
        QTest::newRow("doubled key, removed twice")
            << QByteArray("http://h/?a=1&b=2&a=3") << Parameters{Parameter("a", ""), Parameter("a", nullptr)}
            << QByteArray("http://h/?b=2");
        QTest::newRow("all removed") << QByteArray("http://h/?a=1#f") << Parameters{Parameter("a", "")}
                                     << QByteArray("http://h/#f");
        QTest::newRow("nothing to remove")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("b", "")} << QByteArray("http://h/?a=1");
        QTest::newRow("nothing to remove, no query")
            << QByteArray("http://h/") << Parameters{Parameter("b", "")} << QByteArray("http://h/");
        QTest::newRow("blank is a value")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("a", " ")} << QByteArray("http://h/?a=%20");
        QTest::newRow("empty key") << QByteArray("http://h/?=1&a=2") << Parameters{Parameter("", "3")}
                                   << QByteArray("http://h/?a=2&=3");
        QTest::newRow("empty key removed")
            << QByteArray("http://h/?=1&a=2") << Parameters{Parameter("", "")} << QByteArray("http://h/?a=2");
        QTest::newRow("key with delimiters")
            << QByteArray("http://h/?a%26b=1&c%3Dd=2&x=3") << Parameters{Parameter("a&b", ""), Parameter("c=d", "4#5")}
            << QByteArray("http://h/?x=3&c%3Dd=4%235");
        QTest::newRow("plus and blank are two keys")
            << QByteArray("http://h/?a+b=1") << Parameters{Parameter("a b", "2"), Parameter("a+b", "")}
            << QByteArray("http://h/?a%20b=2");
        QTest::newRow("encoded key") << QByteArray("http://h/?%C3%BC=1&x=2") << Parameters{Parameter("\xc3\xbc", "")}
                                     << QByteArray("http://h/?x=2");
        QTest::newRow("empty URL") << QByteArray() << Parameters{Parameter("a", "1"), Parameter("b", "2")}
                                   << QByteArray("?a=1&b=2");
        QTest::newRow("invalid port") << QByteArray("http://h:99999/?a=1") << Parameters{Parameter("a", "2")}
                                      << QByteArray("http://h/?a=2");
        QueriesRenderedAnew(none);
        QueriesRenderedAnew({Parameter("none", ""), Parameter("nor", nullptr)});
    }
    void addList() { CheckList(UrlQueryManager::AddQueryParameters); }

    void addIfExists_data()
    {
        ListColumns();
        const Parameters none;
        QTest::newRow("replaced, not added")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("a", "5"), Parameter("b", "6")}
            << QByteArray("http://h/?a=5");
        QTest::newRow("no query") << QByteArray("http://h/") << Parameters{Parameter("a", "1"), Parameter("b", "2")}
                                  << QByteArray("http://h/");
        QTest::newRow("no query, fragment")
            << QByteArray("http://h/#a=1") << Parameters{Parameter("a", "1")} << QByteArray("http://h/#a=1");
        QTest::newRow("query without anything")
            << QByteArray("http://h/?") << Parameters{Parameter("a", "1")} << QByteArray("http://h/");
        QTest::newRow("at the end") << QByteArray("http://h/?a=1&b=2") << Parameters{Parameter("a", "9")}
                                    << QByteArray("http://h/?b=2&a=9");
        QTest::newRow("in the list's order")
            << QByteArray("http://h/?a=1&b=2&c=3") << Parameters{Parameter("c", "6"), Parameter("a", "4")}
            << QByteArray("http://h/?b=2&c=6&a=4");
        QTest::newRow("empty value keeps")
            << QByteArray("http://h/?a=1&b=2") << Parameters{Parameter("a", "")} << QByteArray("http://h/?a=1&b=2");
        QTest::newRow("null value keeps") << QByteArray("http://h/?a=1&b=2") << Parameters{Parameter("a", nullptr)}
                                          << QByteArray("http://h/?a=1&b=2");
        QTest::newRow("empty value before a value")
            << QByteArray("http://h/?a=1&b=2") << Parameters{Parameter("a", ""), Parameter("a", "3")}
            << QByteArray("http://h/?b=2&a=3");
        QTest::newRow("twice") << QByteArray("http://h/?a=1&b=2")
                               << Parameters{Parameter("a", "3"), Parameter("a", "4")}
                               << QByteArray("http://h/?b=2&a=4");
        QTest::newRow("new key twice") << QByteArray("http://h/?b=2")
                                       << Parameters{Parameter("a", "3"), Parameter("a", "4")}
                                       << QByteArray("http://h/?b=2");
        QTest::newRow("doubled key, once") << QByteArray("http://h/?a=1&b=2&a=3") << Parameters{Parameter("a", "4")}
                                           << QByteArray("http://h/?b=2&a=3&a=4");
        QTest::newRow("doubled key, twice")
            << QByteArray("http://h/?a=1&b=2&a=3") << Parameters{Parameter("a", "4"), Parameter("a", "5")}
            << QByteArray("http://h/?b=2&a=4&a=5");
        QTest::newRow("key without a value in the query")
            << QByteArray("http://h/?a&b=2") << Parameters{Parameter("a", "1")} << QByteArray("http://h/?b=2&a=1");
        QTest::newRow("empty value in the query")
            << QByteArray("http://h/?a=&b=2") << Parameters{Parameter("a", "1")} << QByteArray("http://h/?b=2&a=1");
        QTest::newRow("other case") << QByteArray("http://h/?A=1") << Parameters{Parameter("a", "2")}
                                    << QByteArray("http://h/?A=1");
        QTest::newRow("blank is a value")
            << QByteArray("http://h/?a=1") << Parameters{Parameter("a", " ")} << QByteArray("http://h/?a=%20");
        QTest::newRow("empty key") << QByteArray("http://h/?=1&a=2") << Parameters{Parameter("", "3")}
                                   << QByteArray("http://h/?a=2&=3");
        QTest::newRow("no empty key") << QByteArray("http://h/?a=2") << Parameters{Parameter("", "3")}
                                      << QByteArray("http://h/?a=2");
        QTest::newRow("key with delimiters")
            << QByteArray("http://h/?a%26b=1&x=3") << Parameters{Parameter("a&b", "2#3"), Parameter("a", "4")}
            << QByteArray("http://h/?x=3&a%26b=2%233");
        QTest::newRow("plus is no blank")
            << QByteArray("http://h/?a+b=1") << Parameters{Parameter("a b", "2")} << QByteArray("http://h/?a+b=1");
        QTest::newRow("fragment") << QByteArray("http://h/?a=1#f") << Parameters{Parameter("a", "2")}
                                  << QByteArray("http://h/?a=2#f");
        QTest::newRow("empty URL") << QByteArray() << Parameters{Parameter("a", "1")} << QByteArray();
        QTest::newRow("invalid port") << QByteArray("http://h:99999/?a=1") << Parameters{Parameter("a", "2")}
                                      << QByteArray("http://h/?a=2");
        QueriesRenderedAnew(none);
        QueriesRenderedAnew({Parameter("none", "1"), Parameter("a", "")});
    }
    void addIfExists() { CheckList(UrlQueryManager::AddQueryParametersIfExists); }

    // The query is set when nothing changed too: an invalid URL forgets why it is invalid.
    void setWithoutChange()
    {
        const QUrl invalid = Url("http://h:99999/?a=1");
        QVERIFY(!invalid.isValid());
        for (const auto call : {UrlQueryManager::AddQueryParameters, UrlQueryManager::AddQueryParametersIfExists}) {
            QUrl url = invalid;
            call(url, {});
            QCOMPARE(Encoded(url), QByteArray("http://h/?a=1"));
            QVERIFY(url.isValid());
        }
    }

    void noQueryStaysNone()
    {
        for (const auto call : {UrlQueryManager::AddQueryParameters, UrlQueryManager::AddQueryParametersIfExists}) {
            QUrl url = Url("http://h/?");
            QVERIFY(url.hasQuery());
            call(url, {});
            QVERIFY(!url.hasQuery());
            url = Url("http://h/");
            call(url, {Parameter("a", "")});
            QVERIFY(!url.hasQuery());
        }
    }

    // Copies of a URL share what they hold until one is changed.
    void copiesStay()
    {
        const QUrl original = Url("http://h/?a=1");
        QUrl one = original;
        QUrl two = original;
        QUrl three = original;
        UrlQueryManager::AddQueryParameter(one, Text("a"), Text("2"));
        UrlQueryManager::AddQueryParameters(two, {Parameter("a", "3")});
        UrlQueryManager::AddQueryParametersIfExists(three, {Parameter("a", "4")});
        QCOMPARE(Encoded(original), QByteArray("http://h/?a=1"));
        QCOMPARE(Encoded(one), QByteArray("http://h/?a=2"));
        QCOMPARE(Encoded(two), QByteArray("http://h/?a=3"));
        QCOMPARE(Encoded(three), QByteArray("http://h/?a=4"));
    }

private:
    static void ListColumns()
    {
        QTest::addColumn<QByteArray>("url");
        QTest::addColumn<Parameters>("params");
        QTest::addColumn<QByteArray>("result");
    }

    // A list that changes nothing leaves the query as the framework renders it.
    static void QueriesRenderedAnew(const Parameters& params)
    {
        const std::pair<const char*, const char*> queries[] = {
            {"?", ""},
            {"?a", "?a"},
            {"?a=", "?a="},
            {"?a=%41", "?a=A"},
            {"?a=1&", "?a=1"},
            {"?&a=1", "?a=1"},
            {"?a&&b", "?a&&b"},
            {"?a==b", "?a=%3Db"},
            {"?a=1;b=2", "?a=1;b%3D2"},
            {"?b=1&a=2&b=3", "?b=1&a=2&b=3"},
            {"?a=%2B+%20%25", "?a=%2B+%20%25"},
            {"?a=%26%3D%23", "?a=%26%3D%23"},
            {"?a=%2f%3f", "?a=%2F%3F"},
            {"?a=1#f?b==", "?a=1#f?b=="},
        };
        for (const auto& [before, after] : queries) {
            QTest::addRow("%s, %d without effect", before, params.size())
                << QByteArray("http://h/") + before << params << QByteArray("http://h/") + after;
        }
    }

    template <typename Call>
    static void CheckList(const Call& call)
    {
        QFETCH(QByteArray, url);
        QFETCH(Parameters, params);
        QFETCH(QByteArray, result);
        Parameters same;
        for (const UrlQueryManager::URLParameters& parameter : qAsConst(params))
            same += parameter;
        QUrl changed = Url(url.constData());
        call(changed, params);
        QCOMPARE(Encoded(changed), result);
        QVERIFY(IsSame(params, same));
    }
};

NEROLT_TEST_MAIN(tst_UrlQueryManager)

#include "tst_UrlQueryManager.moc"

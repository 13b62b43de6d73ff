#pragma once

#include <QtCore/QStringList>
#include <QtTest/QTest>

/// The messages to the fake Foundation, as it returns them.
namespace FoundationMessages {

const QString kManager = QStringLiteral("+[NSFileManager defaultManager]");

inline QString Quoted(const QString& path)
{
    return QLatin1Char('"') + path + QLatin1Char('"');
}

inline QString Exists(const QString& path)
{
    return QLatin1String("-[NSFileManager fileExistsAtPath:") + Quoted(path) + QLatin1Char(']');
}

inline QString Pair(const QString& name, const QString& value)
{
    return QLatin1String("+[NSDictionary dictionaryWithObjects:{") + value + QLatin1String("} forKeys:{") + name
        + QLatin1String("} count:1]");
}

inline QString Set(const QString& name, const QString& value, const QString& path)
{
    return QLatin1String("-[NSFileManager setAttributes:{") + name + QLatin1String(" = ") + value
        + QLatin1String("} ofItemAtPath:") + Quoted(path) + QLatin1String(" error:nil]");
}

inline QStringList SetMessages(const char* name, const QString& value, const QString& path)
{
    const QString attribute = QLatin1String(name);
    return {Pair(attribute, value), kManager, Set(attribute, value, path)};
}

/// Rows of what may be in a path.
inline void AddPaths()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("plain") << QStringLiteral("/Users/user/Library/Logs/host.log");
    QTest::newRow("blanks and quotes") << QStringLiteral("/a b/\"c\" 'd'");
    QTest::newRow("percent") << QStringLiteral("/%1/%@/%");
    QTest::newRow("umlauts, composed") << QString::fromUtf8("/\xC3\xA4\xC3\xB6\xC3\xBC");
    QTest::newRow("umlaut, decomposed") << QString::fromUtf8("/a\xCC\x88");
    QTest::newRow("beyond the basic plane") << QString::fromUtf8("/\xF0\x9F\x98\x80");
    QTest::newRow("Hebrew, from the right") << QString::fromUtf8("/\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D");
    QTest::newRow("half a character") << QString(QLatin1Char('/')) + QChar(0xD83D);
    QTest::newRow("NUL within") << QStringLiteral("/a") + QChar(0) + QLatin1Char('b');
    QTest::newRow("NUL alone") << QString(QChar(0));
    QTest::newRow("a folder, with its slash") << QStringLiteral("/tmp/");
    QTest::newRow("relative") << QStringLiteral("file");
    QTest::newRow("long") << QString(5000, QLatin1Char('x'));
}

} // namespace FoundationMessages

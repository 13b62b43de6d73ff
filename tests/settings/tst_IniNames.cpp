#include "IniFiles.h"
#include "settings/IniNames.h"
#include "support/TestMain.h"

#include <QtCore/QSet>
#include <QtCore/QSettings>
#include <QtTest/QtTest>

#include <algorithm>

using namespace IniFiles;

namespace {

// More than one comparison covers.
QByteArray Sections(char first)
{
    QByteArray text;
    for (int section = 0; section < 30; ++section) {
        text += "\n[" + QByteArray(1, first) + QByteArray::number(100 + section) + "]\n";
        for (int key = 100; key < 130; ++key)
            text += "key" + QByteArray::number(key) + "=a value that is the same\n";
    }
    return text;
}

bool AreKept(const QByteArray& before, const QByteArray& after, const QSet<QString>& removed)
{
    return IniNames::AreKept(before, after, [&removed](const QString& name) { return removed.contains(name); });
}

QByteArray Save(const QString& path, const QStringList& set, const QSet<QString>& removed)
{
    {
        QSettings file(path, QSettings::IniFormat);
        for (const QString& name : set)
            file.setValue(name, 1);
        for (const QString& name : removed)
            file.remove(name);
    }
    return Read(path);
}

} // namespace

// Checks without lists of all keys whether a file has kept them.
class tst_IniNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kept_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QString>("removed");
        QTest::addColumn<bool>("areKept");
        const auto row = [](const char* name, const char* before, const char* after, const char* removed, bool kept) {
            QTest::newRow(name) << QByteArray(before) << QByteArray(after) << QString::fromLatin1(removed) << kept;
        };
        row("the same", "\n[M]\na=1\n", "\n[M]\na=1\n", "", true);
        row("another value", "\n[M]\na=1\nb=2\n", "\n[M]\na=long\nb=2\n", "", true);
        row("a new key", "\n[M]\nb=1\n", "\n[M]\na=1\nb=1\nc=1\n", "", true);
        row("a new section", "\n[M]\na=1\n", "\n[L]\na=1\n\n[M]\na=1\n\n[N]\na=1\n", "", true);
        row("a lost key", "\n[M]\na=1\nb=1\nc=1\n", "\n[M]\na=1\nc=1\n", "", false);
        row("the last key", "\n[M]\na=1\nb=1\n", "\n[M]\na=1\n", "", false);
        row("a section", "\n[M]\na=1\n\n[N]\na=1\n", "\n[M]\na=1\n", "", false);
        row("in another section", "\n[M]\na=1\nz=1\n", "\n[M]\na=1\n\n[N]\nz=1\n", "", false);
        row("in the next section", "\n[M]\na=1\n\n[N]\na=1\n", "\n[N]\na=1\n", "", false);
        row("a removed key", "\n[M]\na=1\nb=1\nc=1\n", "\n[M]\na=1\nc=1\n", "M/b", true);
        row("a removed key and a lost one", "\n[M]\na=1\nb=1\nc=1\n", "\n[M]\na=1\n", "M/b", false);
        row("other line ends", "\n[M]\na=1\rb=1\n", "\n[M]\na=1\n", "", false);
    }
    void kept()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        QFETCH(QString, removed);
        QFETCH(bool, areKept);
        const QByteArray start = Sections('A');
        const QByteArray end = Sections('Z');
        for (const bool hasStart : {false, true}) {
            for (const bool hasEnd : {false, true}) {
                const auto around = [&](const QByteArray& text) {
                    return (hasStart ? start : QByteArray()) + text + (hasEnd ? end : QByteArray());
                };
                QCOMPARE(AreKept(around(before), around(after), {removed}), areKept);
            }
        }
    }

    // The common parts end or begin within a section.
    void longSections()
    {
        QByteArray lines;
        for (int key = 100; key < 612; ++key) // twice the size of one comparison
            lines += "key" + QByteArray::number(key) + "=12345678\n";
        QVERIFY(AreKept("[M]\n" + lines + "z=1\n", "[M]\n" + lines, {QStringLiteral("M/z")}));
        QVERIFY(!AreKept("[M]\na=1\n" + lines, "[M]\na=1\n\n[N]\n" + lines, {}));
    }

    void theFrameworksNames()
    {
        QStringList names;
        const QString signs = QStringLiteral("abyzABYZ019-_. %=;[]\"\\/\u00e9\u20ac\U0001f600");
        for (const QChar first : signs) {
            for (const QChar second : signs)
                names += first + QStringLiteral("k/") + second + QLatin1Char('k');
        }
        const QString path = NewPath();
        const QByteArray before = Save(path, names, {});
        const QStringList stored = QSettings(path, QSettings::IniFormat).allKeys();
        QCOMPARE(IniNames::Count(before), stored.size());
        const auto last = std::max_element(stored.begin(), stored.end(), [](const QString& a, const QString& b) {
            return IniNames::Split(a) < IniNames::Split(b);
        });
        QCOMPARE(IniNames::Full(IniNames::Last(before)), *last);

        for (int i = 10; i < stored.size(); i += 30) {
            QSet<QString> removed{stored.at(i), stored.at(i - 10)};
            const QByteArray after = Save(NewFile(before), {QStringLiteral("new/n")}, removed);
            QVERIFY(AreKept(before, after, removed));
            removed.erase(removed.begin());
            QVERIFY(!AreKept(before, after, removed));
        }
    }

    void topLevel()
    {
        QCOMPARE(IniNames::Full(IniNames::Last("[General]\na=1\n")), QStringLiteral("a"));
        QCOMPARE(IniNames::Full(IniNames::Last("[%General]\na=1\n")), QStringLiteral("General/a"));
        QCOMPARE(IniNames::Full(IniNames::Last("[A]\nb\\c=1\n")), QStringLiteral("A/b/c"));
        QCOMPARE(IniNames::Full(IniNames::Last("")), QString());
    }
};

NEROLT_TEST_MAIN(tst_IniNames)

#include "tst_IniNames.moc"

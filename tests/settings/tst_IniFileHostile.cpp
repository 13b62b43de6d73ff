#include "IniFiles.h"
#include "StoreContents.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSettings>
#include <QtCore/QSize>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <QtTest/QtTest>

#include <cstdio>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace IniFiles;
using TestSupport::Scenario;

namespace {

const QString kOther = QStringLiteral("other");

QByteArray Escaped(const QByteArray& bytes)
{
    QByteArray text;
    for (const char byte : bytes)
        text += "\\x" + QByteArray::number(uchar(byte), 16);
    return text;
}

QByteArray Number(quint32 number)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << number;
    return bytes;
}

// Nested lists with one item each.
QByteArray Nested(int depth)
{
    const QByteArray level = Number(QMetaType::QVariantList) + Number(1);
    return "@Variant(" + Escaped(level.repeated(depth) + Number(QMetaType::Int) + Number(1)) + ")";
}

// Values that ask for too much memory, too many nested calls or a crash, as their names say.
const QMap<QString, QByteArray>& Values()
{
    const QByteArray list = Number(QMetaType::QVariantList);
    const QByteArray most = Number(0x7fffffff);
    const QByteArray counted = "@Variant(" + Escaped(list + most) + ")";
    const QByteArray time = Number(QMetaType::QDateTime) + QByteArray(13, 0);
    const QByteArray inZone = time + QByteArray(1, Qt::TimeZone);
    static const QMap<QString, QByteArray> values{
        {"as it was seen", R"(@Variant(\0\0\0\x9\x7f\xff\xff\xff))"},
        {"as a date", "@DateTime(" + Escaped(list + QByteArray(1, 0) + most) + ")"},
        {"in a zone that is none", "@DateTime(" + Escaped(inZone + Number(0xffffffff)) + ")"},
        {"in an unknown zone", "@DateTime(" + Escaped(inZone + Number(4) + QByteArray("\0x\0y", 4)) + ")"},
        {"of an unknown kind of time", "@DateTime(" + Escaped(time + QByteArray(1, 7)) + ")"},
        {"map", "@Variant(" + Escaped(Number(QMetaType::QVariantMap) + most) + ")"},
        {"hash", "@Variant(" + Escaped(Number(QMetaType::QVariantHash) + most) + ")"},
        {"texts", "@Variant(" + Escaped(Number(QMetaType::QStringList) + most) + ")"},
        {"text beyond 31 bits", "@Variant(" + Escaped(Number(QMetaType::QString) + Number(0xfffffff0)) + ")"},
        {"in a list", "a, " + counted + ", b"},
        {"in quotes", '"' + counted + '"'},
        {"behind a line end in quotes", "\"a\n\", " + counted},
        {"in quotes within", R"(@Var"iant(" )" + Escaped(list + most) + ")"},
        {"its name in escapes", R"(\x40Var\x69\141nt()" + counted.mid(9)},
        {"over two lines", "@Vari\\\nant(" + counted.mid(9)},
        {"lists within lists", Nested(32768)},
        {"one level too deep", Nested(33)},
        {"a list within a list", "@Variant(" + Escaped(list + Number(1) + list + most) + ")"},
    };
    return values;
}

QByteArray TextWith(const QByteArray& value)
{
    return "[A]\nbefore=0\nk=" + value + "\nother=1\n[B]\nx=2\n";
}

int Fail(const char* what, const QString& found)
{
    std::fprintf(stderr, "%s: %s\n", what, qPrintable(found));
    return 1;
}

// All operations of both stores on a file with such a value.
const Scenario hostile("hostile", [](const QStringList& arguments) {
    const QByteArray value = Values().value(arguments.value(0));
    const QString path = QStringLiteral("hostile.ini");
    Write(path, TextWith(value));
    IniFile ini(path);
    if (Get(ini, kGroup, kOther) != QLatin1String("1") || Get(ini, kGroup, kKey) != QString())
        return Fail("look-up", Get(ini, kGroup, kOther));
    SettingsIniFile whole;
    whole.ReadFile(path);
    if (Get(whole, kGroup, kOther) != QLatin1String("1") || Get(whole, kGroup, kKey) != QLatin1String("<none>"))
        return Fail("reading", Get(whole, kGroup, kOther));
    Write(QStringLiteral("target.ini"), "");
    IniFile target(QStringLiteral("target.ini"));
    if (!target.Merge(path, QString()) || Get(target, kGroup, kOther) != QLatin1String("1"))
        return Fail("merging from it", Get(target, kGroup, kOther));
    Write(QStringLiteral("source.ini"), "[A]\nk=another\nnew=3\n");
    if (!ini.Merge(QStringLiteral("source.ini"), QString())
        || Get(ini, kGroup, QStringLiteral("new")) != QLatin1String("3"))
        return Fail("merging into it", Get(ini, kGroup, QStringLiteral("new")));
    ini.SetKeyValue(QStringLiteral("B"), QStringLiteral("y"), 4);
    ini.RemoveKey(kGroup, QStringLiteral("before"));
    whole.SetKeyValue(QStringLiteral("C"), QStringLiteral("z"), QStringLiteral("5"));
    whole.RemoveKey(QStringLiteral("B"), QStringLiteral("x"));
    if (!whole.WriteFile(path))
        return Fail("writing", QString());
    const QByteArray expected = "[A]\nbefore=0\nk=" + value + "\nnew=3\nother=1\n\n[B]\ny=4\n\n[C]\nz=5\n";
    if (Read(path) != expected)
        return Fail("file", QString::fromLatin1(Read(path).left(1000)));
    ini.RemoveKey(kGroup, kKey);
    return Read(path).contains("\nk=") ? Fail("removal", QString()) : 0;
});

QVariantMap Everything()
{
    const QDateTime time(QDate(2024, 2, 29), QTime(1, 2, 3));
    return {{"list", QVariantList{1, "two", 3.0, QBitArray(9, true), QVariantList{true, QVariant()}}},
            {"map", QVariantMap{{"a", QUrl(QStringLiteral("http://x/y"))}, {"b", QByteArray("\0\xff", 2)}}},
            {"hash", QVariantHash{{"h", QChar('c')}}},
            {"texts", QStringList{QString(), QStringLiteral("t")}},
            {"date", time.date()},
            {"time", time.time()},
            {"when", time},
            {"uuid", QUuid::createUuidV5(QUuid(), QByteArray("x"))},
            {"point", QPoint(1, 2)},
            {"size", QSizeF(1, 2)},
            {"float", 1.5F},
            {"short", QVariant::fromValue(short(-3))},
            {"bits", QBitArray(9, true)},
            {"long", qlonglong(-1)},
            {"locale", QLocale(QStringLiteral("de_DE"))}};
}

} // namespace

// Values that the framework must not decode, and paths that are not files.
class tst_IniFileHostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : Values().keys())
            QTest::newRow(qPrintable(name)) << name;
    }
    void values()
    {
        QFETCH(QString, name);
        const auto result = TestSupport::RunScenario("hostile", {name});
        QVERIFY2(result.IsOk(), result.Describe());
    }

    // Ordinary values that the framework writes are read as before.
    void typedValuesAreStillRead()
    {
        const QString path = NewPath();
        const QVariantMap everything = Everything();
        {
            QSettings file(path, QSettings::IniFormat);
            for (auto value = everything.cbegin(); value != everything.cend(); ++value)
                file.setValue(QStringLiteral("A/") + value.key(), value.value());
            file.setValue(QStringLiteral("A/all"), everything);
            const QTimeZone zone("Europe/Berlin");
            file.setValue(QStringLiteral("A/zone"), QDateTime(QDate(2024, 1, 1), QTime(1, 2), zone));
            file.setValue(QStringLiteral("A/offset"), QDateTime(QDate(2024, 1, 1), QTime(1, 2), Qt::OffsetFromUTC, 60));
        }
        const QString copy = NewFile(Read(path));
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(copy));
        const QStringList lines = StoreContents::Sections(ini);
        const QSettings file(copy, QSettings::IniFormat);
        for (const QString& key : file.allKeys())
            QVERIFY2(lines.contains(StoreContents::Line(kGroup, key.mid(2), file.value(key))), qPrintable(key));
        QCOMPARE(lines.size(), everything.size() + 3);
    }

    void anObjectSeesAValueComeAndGo()
    {
        const QString path = NewFile("[A]\nk=1\nother=1\n");
        IniFile ini(path);
        QCOMPARE(Get(ini, kGroup, kKey), QStringLiteral("1"));
        Write(path, TextWith(Values().value(QStringLiteral("as it was seen"))));
        QCOMPARE(Get(ini, kGroup, QStringLiteral("before")), QStringLiteral("0"));
        QCOMPARE(Get(IniFile(ini), kGroup, kOther), QStringLiteral("1"));
        Write(path, "[A]\nk=2\n");
        QCOMPARE(Get(ini, kGroup, kKey), QStringLiteral("2"));
        ini.SetKeyValue(kGroup, kKey, 3);
        QCOMPARE(Read(path), QByteArray("[A]\nk=3\n"));
    }

    // As any other: it gets a new one of its mode, behind the same link.
    // Also before the first one is in the file.
    void aSecondMergeSeesTheFirst()
    {
        IniFile ini(NewFile(TextWith(Values().value(QStringLiteral("as it was seen")))));
        QVERIFY(ini.Merge(NewFile("[A]\nnew=3\n"), QString()));
        QVERIFY(!ini.Merge(NewFile("[A]\nnew=44\n"), QString()));
        QCOMPARE(Get(ini, kGroup, QStringLiteral("new")), QStringLiteral("3"));
    }

    void aChangeReplacesTheFile()
    {
        const QByteArray text = TextWith(Values().value(QStringLiteral("as it was seen")));
        const QString path = NewFile(text);
        const QString old = NewPath();
        const QString link = NewPath();
        QVERIFY(::link(QFile::encodeName(path).constData(), QFile::encodeName(old).constData()) == 0);
        QVERIFY(QFile::link(path, link));
        QVERIFY(::chmod(QFile::encodeName(path).constData(), 0660) == 0);
        IniFile(link).SetKeyValue(kGroup, kOther, 3);
        QVERIFY(Read(path).contains("\nother=3\n"));
        QCOMPARE(Read(old), text);
        QVERIFY(QFileInfo(link).isSymLink());
        QCOMPARE(QFile::permissions(path), QFile::permissions(old));
    }

    void noFile_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"pipe", "socket", "link to a pipe"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }
    void noFile()
    {
        QFETCH(QString, kind);
        const auto result = TestSupport::RunScenario("noFile", {kind});
        QVERIFY2(result.IsOk(), result.Describe());
    }
};

namespace {

bool MakeThing(const QString& kind, const char* name)
{
    if (kind == QLatin1String("link to a pipe"))
        return ::mkfifo("pipe", 0600) == 0 && ::symlink("pipe", name) == 0;
    if (kind == QLatin1String("pipe"))
        return ::mkfifo(name, 0600) == 0;
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, name, sizeof address.sun_path);
    return ::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

const Scenario noFile("noFile", [](const QStringList& arguments) {
    const QString path = QStringLiteral("thing.ini");
    if (!MakeThing(arguments.value(0), "thing.ini"))
        return Fail("thing", QString());
    struct stat before = {};
    ::lstat("thing.ini", &before);
    IniFile ini(path);
    SettingsIniFile whole;
    if (Get(ini, kGroup, kKey) != QLatin1String("<none>") || !whole.ReadFile(path) || ini.Merge(path, QString()))
        return Fail("reading", QString());
    ini.SetKeyValue(kGroup, kKey, 1);
    ini.RemoveKey(kGroup, kKey);
    whole.SetKeyValue(kGroup, kKey, QStringLiteral("1"));
    if (whole.WriteFile(path))
        return Fail("writing", QString());
    if (ini.GetFileName() != QDir::current().filePath(path) || IniFile(ini).GetFileName() != ini.GetFileName())
        return Fail("name", ini.GetFileName());
    struct stat after = {};
    ::lstat("thing.ini", &after);
    if (after.st_ino != before.st_ino || after.st_mode != before.st_mode)
        return Fail("the thing itself", QString());
    // The object works with the file that replaces it.
    QFile::remove(path);
    Write(path, "[A]\nx=5\n");
    if (Get(ini, kGroup, QStringLiteral("x")) != QLatin1String("5"))
        return Fail("file afterwards", QString());
    return 0;
});

} // namespace

NEROLT_TEST_MAIN(tst_IniFileHostile)

#include "tst_IniFileHostile.moc"

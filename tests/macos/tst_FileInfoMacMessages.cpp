#include "FakeFoundation.h"
#include "FoundationMessages.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>
#include <QtTest/QTest>

#include <climits>
#include <optional>

Q_DECLARE_METATYPE(FakeFoundation::Answers)

using FakeFoundation::Answers;
using namespace FoundationMessages;

namespace {

constexpr double kCreated = 1500000000.125;
constexpr double kModified = 1700000000.875;
constexpr qint64 kCreatedMs = 1500000000125;
constexpr qint64 kModifiedMs = 1700000000875;

QString Attributes(const QString& path)
{
    return QLatin1String("-[NSFileManager attributesOfItemAtPath:") + Quoted(path) + QLatin1String(" error:nil]");
}

QString Attribute(const char* name)
{
    return QLatin1String("-[NSDictionary objectForKeyedSubscript:") + QLatin1String(name) + QLatin1Char(']');
}

QString Date(qint64 msecs)
{
    return QStringLiteral("date %1").arg(msecs);
}

// Both dates exist, and every call succeeds.
Answers Willing()
{
    Answers answers;
    answers.iCreationDate = kCreated;
    answers.iModificationDate = kModified;
    return answers;
}

struct Kind
{
    FileTimeType iType;
    const char* iName;
    qint64 iMSecs;
};

constexpr Kind kKinds[] = {{FileTimeCreation, "NSFileCreationDate", kCreatedMs},
                           {FileTimeModification, "NSFileModificationDate", kModifiedMs},
                           {FileTimeWrite, "NSFileModificationDate", kModifiedMs}};

} // namespace

class tst_FileInfoMacMessages : public QObject
{
    Q_OBJECT

private slots:
    void init() { FakeFoundation::Start(Willing()); }
    void cleanup()
    {
        QCOMPARE(FakeFoundation::LiveObjects(), 0);
        QVERIFY(FakeFoundation::AreSystemObjectsKept());
    }

    void nothingIsAskedBeforehand()
    {
        const FileInfoMac info(QStringLiteral("/a"));
        QCOMPARE(FakeFoundation::Messages(), QStringList());
        QCOMPARE(FakeFoundation::CreatedObjects(), 0);
    }

    void emptyPath()
    {
        for (const QString& path : {QString(), QStringLiteral("")}) {
            FileInfoMac info(path);
            QVERIFY(!info.GetTime(FileTimeCreation).isValid());
            QVERIFY(!info.GetMSecs(FileTimeModification));
            QVERIFY(!info.SetTime(QDateTime::currentDateTime(), FileTimeWrite));
            QVERIFY(!info.SetReadOnlyFlag(true));
            QVERIFY(!info.SetReadOnlyFlag(false));
            QCOMPARE(FakeFoundation::Messages(), QStringList());
            QCOMPARE(FakeFoundation::CreatedObjects(), 0);
        }
    }

    void getTime_data() { AddPaths(); }
    void getTime()
    {
        QFETCH(QString, path);
        QStringList expected;
        for (const Kind& kind : kKinds) {
            QCOMPARE(FileInfoMac(path).GetTime(kind.iType), QDateTime::fromMSecsSinceEpoch(kind.iMSecs));
            expected += QStringList{kManager, Exists(path), Attributes(path), Attribute(kind.iName)};
        }
        QCOMPARE(FakeFoundation::Messages(), expected);
    }

    void strangeType()
    {
        const QString path = QStringLiteral("/a");
        for (const int type : {3, 7, -1, 256, INT_MIN, INT_MAX}) {
            FakeFoundation::Start(Willing());
            QVERIFY(!FileInfoMac(path).SetTime(QDateTime::currentDateTime(), FileTimeType(type)));
            QCOMPARE(FakeFoundation::Messages(), QStringList());
            QVERIFY(!FileInfoMac(path).GetTime(FileTimeType(type)).isValid());
            QCOMPARE(FakeFoundation::Messages(), (QStringList{kManager, Exists(path)}));
        }
    }

    void instant_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("1970") << qint64(0);
        QTest::newRow("a millisecond after 1970") << qint64(1);
        QTest::newRow("a millisecond before 1970") << qint64(-1);
        QTest::newRow("a second and one before 1970") << qint64(-1001);
        QTest::newRow("1960") << qint64(-315619200001);
        QTest::newRow("1904") << qint64(-2082844800000);
        QTest::newRow("1601") << qint64(-11644473599999);
        QTest::newRow("2001, where Foundation counts from") << qint64(978307200000);
        QTest::newRow("some milliseconds") << qint64(1700000000123);
        QTest::newRow("the last millisecond of a second") << qint64(1700000000999);
        QTest::newRow("2038") << qint64(2147483648001);
        QTest::newRow("9999") << qint64(253402300799999);
    }
    void instant()
    {
        QFETCH(qint64, msecs);
        const QString path = QStringLiteral("/a");
        Answers answers;
        answers.iCreationDate = double(msecs) / 1000;
        FakeFoundation::Start(answers);
        FileInfoMac info(path);
        QCOMPARE(info.GetTime(FileTimeCreation), QDateTime::fromMSecsSinceEpoch(msecs));
        QCOMPARE(info.GetMSecs(FileTimeCreation), std::optional<qint64>(msecs));
        QCOMPARE(info.GetMSecs(FileTimeCreation, 1), std::optional<qint64>(msecs));
        FakeFoundation::Start(answers);
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
        QVERIFY(info.SetTime(time, FileTimeCreation));
        QVERIFY(info.SetTime(time.toOffsetFromUtc(-12600), FileTimeCreation));
        const QStringList once = SetMessages("NSFileCreationDate", Date(msecs), path);
        QCOMPARE(FakeFoundation::Messages(), once + once);
    }

    void getTimeFails_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<QStringList>("messages");
        const QString path = QStringLiteral("/a");
        Answers answers = Willing();
        answers.iHasManager = false;
        QTest::newRow("no file manager") << answers << QStringList{kManager};
        answers = Willing();
        answers.iFileExists = 0;
        QTest::newRow("no file") << answers << QStringList{kManager, Exists(path)};
        answers = Willing();
        answers.iHasAttributes = false;
        QTest::newRow("no attributes") << answers << QStringList{kManager, Exists(path), Attributes(path)};
        answers = Willing();
        answers.iModificationDate.reset();
        QTest::newRow("no date among the attributes")
            << answers << QStringList{kManager, Exists(path), Attributes(path), Attribute("NSFileModificationDate")};
    }
    void getTimeFails()
    {
        QFETCH(Answers, answers);
        QFETCH(QStringList, messages);
        FakeFoundation::Start(answers);
        FileInfoMac info(QStringLiteral("/a"));
        QCOMPARE(info.GetTime(FileTimeModification), QDateTime());
        QCOMPARE(FakeFoundation::Messages(), messages);
        QVERIFY(!info.GetMSecs(FileTimeModification));
        QCOMPARE(FakeFoundation::Messages(), messages + messages);
    }

    void setTime_data() { AddPaths(); }
    void setTime()
    {
        QFETCH(QString, path);
        Answers answers;
        answers.iFileExists = 0; // only the system says whether it does
        for (const bool isSet : {true, false}) {
            answers.iSetAttributes = isSet;
            FakeFoundation::Start(answers);
            QStringList expected;
            for (const Kind& kind : kKinds) {
                QCOMPARE(FileInfoMac(path).SetTime(QDateTime::fromMSecsSinceEpoch(kind.iMSecs), kind.iType),
                         isSet == 1);
                expected += SetMessages(kind.iName, Date(kind.iMSecs), path);
            }
            QCOMPARE(FakeFoundation::Messages(), expected);
            QCOMPARE(FakeFoundation::LiveObjects(), 0);
        }
    }

    // Any value except NO means YES.
    void otherYes()
    {
        Answers answers = Willing();
        answers.iFileExists = 2;
        answers.iSetAttributes = 0x80;
        FakeFoundation::Start(answers);
        FileInfoMac info(QStringLiteral("/a"));
        QVERIFY(info.GetTime(FileTimeCreation).isValid());
        QCOMPARE(int(info.SetTime(QDateTime::fromMSecsSinceEpoch(0), FileTimeWrite)), 1);
        QCOMPARE(int(info.SetReadOnlyFlag(true)), 1);
    }

    void setInvalidTime()
    {
        QVERIFY(!FileInfoMac(QStringLiteral("/a")).SetTime(QDateTime(), FileTimeModification));
        QCOMPARE(FakeFoundation::Messages(), QStringList());
    }
};

QTEST_APPLESS_MAIN(tst_FileInfoMacMessages)

#include "tst_FileInfoMacMessages.moc"

#include "FakeFoundation.h"
#include "FoundationMessages.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>
#include <QtTest/QTest>

#include <climits>
#include <optional>

Q_DECLARE_METATYPE(FakeFoundation::Answers)
Q_DECLARE_METATYPE(FileTimeType)
Q_DECLARE_METATYPE(std::optional<qint64>)

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

void AddStrangeTypes()
{
    QTest::addColumn<int>("type");
    QTest::newRow("3") << 3;
    QTest::newRow("7") << 7;
    QTest::newRow("-1") << -1;
    QTest::newRow("256") << 256;
    QTest::newRow("least") << INT_MIN;
    QTest::newRow("greatest") << INT_MAX;
}

void AddInstants()
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

    void emptyPath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << QStringLiteral("");
    }
    void emptyPath()
    {
        QFETCH(QString, path);
        FileInfoMac info(path);
        QVERIFY(!info.GetTime(FileTimeCreation).isValid());
        QVERIFY(!info.GetMSecs(FileTimeModification));
        QVERIFY(!info.SetTime(QDateTime::currentDateTime(), FileTimeWrite));
        QVERIFY(!info.SetReadOnlyFlag(true));
        QVERIFY(!info.SetReadOnlyFlag(false));
        QCOMPARE(FakeFoundation::Messages(), QStringList());
        QCOMPARE(FakeFoundation::CreatedObjects(), 0);
    }

    void getTime_data() { AddPaths(); }
    void getTime()
    {
        QFETCH(QString, path);
        QCOMPARE(FileInfoMac(path).GetTime(FileTimeCreation).toMSecsSinceEpoch(), kCreatedMs);
        const QStringList expected{kManager, Exists(path), Attributes(path), Attribute("NSFileCreationDate")};
        QCOMPARE(FakeFoundation::Messages(), expected);
    }

    void getTimeByType_data()
    {
        QTest::addColumn<FileTimeType>("type");
        QTest::addColumn<QString>("attribute");
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("creation") << FileTimeCreation << Attribute("NSFileCreationDate") << kCreatedMs;
        QTest::newRow("modification") << FileTimeModification << Attribute("NSFileModificationDate") << kModifiedMs;
        QTest::newRow("write") << FileTimeWrite << Attribute("NSFileModificationDate") << kModifiedMs;
    }
    void getTimeByType()
    {
        QFETCH(FileTimeType, type);
        QFETCH(QString, attribute);
        QFETCH(qint64, msecs);
        const QString path = QStringLiteral("/a");
        QCOMPARE(FileInfoMac(path).GetTime(type), QDateTime::fromMSecsSinceEpoch(msecs));
        const QStringList expected{kManager, Exists(path), Attributes(path), attribute};
        QCOMPARE(FakeFoundation::Messages(), expected);
    }

    void getTimeOfStrangeType_data() { AddStrangeTypes(); }
    void getTimeOfStrangeType()
    {
        QFETCH(int, type);
        const QString path = QStringLiteral("/a");
        QVERIFY(!FileInfoMac(path).GetTime(FileTimeType(type)).isValid());
        const QStringList expected{kManager, Exists(path)};
        QCOMPARE(FakeFoundation::Messages(), expected);
    }

    void getInstant_data() { AddInstants(); }
    void getInstant()
    {
        QFETCH(qint64, msecs);
        Answers answers;
        answers.iCreationDate = double(msecs) / 1000;
        FakeFoundation::Start(answers);
        const QDateTime time = FileInfoMac(QStringLiteral("/a")).GetTime(FileTimeCreation);
        QVERIFY(time.isValid());
        QCOMPARE(time.toMSecsSinceEpoch(), msecs);
        QCOMPARE(FileInfoMac(QStringLiteral("/a")).GetMSecs(FileTimeCreation), std::optional<qint64>(msecs));
        QCOMPARE(FileInfoMac(QStringLiteral("/a")).GetMSecs(FileTimeCreation, 1), std::optional<qint64>(msecs));
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
        QVERIFY(FileInfoMac(path).SetTime(QDateTime::fromMSecsSinceEpoch(kCreatedMs), FileTimeModification));
        QCOMPARE(FakeFoundation::Messages(), SetMessages("NSFileModificationDate", Date(kCreatedMs), path));
    }

    void setTimeByType_data()
    {
        QTest::addColumn<FileTimeType>("type");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("creation") << FileTimeCreation << QByteArray("NSFileCreationDate");
        QTest::newRow("modification") << FileTimeModification << QByteArray("NSFileModificationDate");
        QTest::newRow("write") << FileTimeWrite << QByteArray("NSFileModificationDate");
    }
    void setTimeByType()
    {
        QFETCH(FileTimeType, type);
        QFETCH(QByteArray, name);
        const QString path = QStringLiteral("/a");
        QVERIFY(FileInfoMac(path).SetTime(QDateTime::fromMSecsSinceEpoch(kModifiedMs), type));
        QCOMPARE(FakeFoundation::Messages(), SetMessages(name, Date(kModifiedMs), path));
    }

    void setTimeOfStrangeType_data() { AddStrangeTypes(); }
    void setTimeOfStrangeType()
    {
        QFETCH(int, type);
        QVERIFY(!FileInfoMac(QStringLiteral("/a")).SetTime(QDateTime::currentDateTime(), FileTimeType(type)));
        QCOMPARE(FakeFoundation::Messages(), QStringList());
    }

    void setInstant_data() { AddInstants(); }
    void setInstant()
    {
        QFETCH(qint64, msecs);
        const QString path = QStringLiteral("/a");
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
        QVERIFY(FileInfoMac(path).SetTime(time, FileTimeCreation));
        QVERIFY(FileInfoMac(path).SetTime(time.toOffsetFromUtc(-12600), FileTimeCreation));
        const QStringList once = SetMessages("NSFileCreationDate", Date(msecs), path);
        QCOMPARE(FakeFoundation::Messages(), once + once);
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

    // Only the system says whether the file exists.
    void setTimeOfMissingFile()
    {
        Answers answers;
        answers.iFileExists = 0;
        FakeFoundation::Start(answers);
        const QString path = QStringLiteral("/a");
        QVERIFY(FileInfoMac(path).SetTime(QDateTime::fromMSecsSinceEpoch(0), FileTimeCreation));
        QCOMPARE(FakeFoundation::Messages(), SetMessages("NSFileCreationDate", Date(0), path));
    }

    void setTimeFails_data()
    {
        QTest::addColumn<FileTimeType>("type");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("creation") << FileTimeCreation << QByteArray("NSFileCreationDate");
        QTest::newRow("write") << FileTimeWrite << QByteArray("NSFileModificationDate");
    }
    void setTimeFails()
    {
        QFETCH(FileTimeType, type);
        QFETCH(QByteArray, name);
        Answers answers;
        answers.iSetAttributes = 0;
        FakeFoundation::Start(answers);
        const QString path = QStringLiteral("/a");
        QVERIFY(!FileInfoMac(path).SetTime(QDateTime::fromMSecsSinceEpoch(0), type));
        QCOMPARE(FakeFoundation::Messages(), SetMessages(name, Date(0), path));
    }
};

QTEST_APPLESS_MAIN(tst_FileInfoMacMessages)

#include "tst_FileInfoMacMessages.moc"

#include "FakeCoreServices.h"

#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtTest/QTest>

#include <cstdint>

Q_DECLARE_METATYPE(FakeCoreServices::Answers)

namespace {

using FakeCoreServices::Answers;
using Calls = QList<QByteArray>;

// The calls for a path whose volume has the number -100, up to the given last one.
enum Step { String, Url, Reference, Catalog, Volume };

Calls CallsTo(Step last, const QByteArray& path)
{
    const Calls all{"CFStringCreateWithCString(default, " + path + ", 0x8000100)",
                    "CFURLCreateWithFileSystemPath(default, string of " + path + ", style 0, 0)",
                    "CFURLGetFSRef(URL of string of " + path + ", given)",
                    "FSGetCatalogInfo(the file, 0x4, given, null, null, null)",
                    "FSGetVolumeInfo(-100, 0, null, 0x40, given, null, null)"};
    return all.mid(0, last + 1);
}

Answers WithFreeBytes(std::uint64_t bytes)
{
    Answers answers;
    answers.iFreeBytes = bytes;
    return answers;
}

} // namespace

class tst_DiskSpaceCalls : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QCOMPARE(FakeCoreServices::LiveReferences(), 0); }

    void path_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("utf8");
        QTest::newRow("folder") << QStringLiteral("/Users/user") << QByteArray("/Users/user");
        QTest::newRow("folder with a slash") << QStringLiteral("/Users/user/") << QByteArray("/Users/user/");
        QTest::newRow("root") << QStringLiteral("/") << QByteArray("/");
        QTest::newRow("blanks, percent, quotes") << QStringLiteral("/a b/%20\"'") << QByteArray("/a b/%20\"'");
        QTest::newRow("relative") << QStringLiteral("file") << QByteArray("file");
        const QByteArray composed("/\xC3\xA4\xC3\xB6");
        QTest::newRow("umlauts, composed") << QString::fromUtf8(composed) << composed;
        const QByteArray decomposed("/a\xCC\x88");
        QTest::newRow("umlaut, decomposed") << QString::fromUtf8(decomposed) << decomposed;
        const QByteArray emoji("/\xF0\x9F\x98\x80/x");
        QTest::newRow("beyond the basic plane") << QString::fromUtf8(emoji) << emoji;
        QTest::newRow("long") << QString(5000, QLatin1Char('x')) << QByteArray(5000, 'x');
    }
    void path()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, utf8);
        FakeCoreServices::Start(WithFreeBytes(123456789));
        QCOMPARE(DiskSpace::GetFreeDiskSpace(path), qint64(123456789));
        QCOMPARE(FakeCoreServices::Calls(), CallsTo(Volume, utf8));
        QCOMPARE(FakeCoreServices::CreatedReferences(), 2);
    }

    void freeBytes_data()
    {
        QTest::addColumn<quint64>("bytes");
        QTest::addColumn<qint64>("result");
        QTest::newRow("none") << quint64(0) << qint64(0);
        QTest::newRow("one") << quint64(1) << qint64(1);
        QTest::newRow("31 bits") << quint64(0x7fffffff) << qint64(0x7fffffff);
        QTest::newRow("32 bits") << quint64(0xffffffff) << qint64(0xffffffff);
        QTest::newRow("33 bits") << quint64(0x100000000) << qint64(0x100000000);
        QTest::newRow("odd terabytes") << quint64(7999999999999) << qint64(7999999999999);
        QTest::newRow("63 bits") << quint64(INT64_MAX) << qint64(INT64_MAX);
        QTest::newRow("64 bits") << quint64(UINT64_MAX) << qint64(-1);
    }
    void freeBytes()
    {
        QFETCH(quint64, bytes);
        FakeCoreServices::Start(WithFreeBytes(bytes));
        QTEST(DiskSpace::GetFreeDiskSpace(QStringLiteral("/a")), "result");
    }

    void volumeNumber()
    {
        for (const int volume : {0, 1, -100, -32768, 32767}) {
            Answers answers = WithFreeBytes(5);
            answers.iVolume = std::int16_t(volume);
            FakeCoreServices::Start(answers);
            QCOMPARE(DiskSpace::GetFreeDiskSpace(QStringLiteral("/a")), qint64(5));
            QCOMPARE(FakeCoreServices::Calls().last(),
                     "FSGetVolumeInfo(" + QByteArray::number(volume) + ", 0, null, 0x40, given, null, null)");
        }
    }

    // The numbers after a failing call are meaningless.
    void failure_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<int>("last");
        QTest::addColumn<int>("created");
        const QString path = QStringLiteral("/a");
        const Answers willing = WithFreeBytes(123456789);
        Answers answers = willing;
        answers.iHasString = false;
        QTest::newRow("no string") << path << answers << int(String) << 0;
        answers = willing;
        answers.iHasUrl = false;
        QTest::newRow("no URL") << path << answers << int(Url) << 1;
        QTest::newRow("no URL of an empty path") << QStringLiteral("") << answers << int(Url) << 1;
        QTest::newRow("no URL of a null path") << QString() << answers << int(Url) << 1;
        answers = willing;
        answers.iHasReference = 0;
        QTest::newRow("no such file") << path << answers << int(Reference) << 2;
        QTest::newRow("no file with an empty path") << QStringLiteral("") << answers << int(Reference) << 2;
        for (const int status : {-35, -43, 1, 256, -32768}) {
            answers = willing;
            answers.iCatalogStatus = std::int16_t(status);
            QTest::addRow("file says %d", status) << path << answers << int(Catalog) << 2;
            answers = willing;
            answers.iVolumeStatus = std::int16_t(status);
            QTest::addRow("volume says %d", status) << path << answers << int(Volume) << 2;
        }
    }
    void failure()
    {
        QFETCH(QString, path);
        QFETCH(Answers, answers);
        QFETCH(int, last);
        FakeCoreServices::Start(answers);
        QCOMPARE(DiskSpace::GetFreeDiskSpace(path), qint64(-1));
        QCOMPARE(FakeCoreServices::Calls(), CallsTo(Step(last), path.toUtf8()));
        QTEST(FakeCoreServices::CreatedReferences(), "created");
    }

    // A C string would end there and be the name of another file.
    void pathWithNul()
    {
        FakeCoreServices::Start(WithFreeBytes(123456789));
        for (const QString& before : {QString(), QStringLiteral("/a")}) {
            QCOMPARE(DiskSpace::GetFreeDiskSpace(before + QChar(0)), qint64(-1));
            QCOMPARE(DiskSpace::GetFreeDiskSpace(before + QChar(0) + QLatin1Char('b')), qint64(-1));
        }
        QCOMPARE(FakeCoreServices::Calls(), Calls());
    }

    // Any value except false means true.
    void otherYes()
    {
        Answers answers = WithFreeBytes(5);
        answers.iHasReference = 0x80;
        FakeCoreServices::Start(answers);
        QCOMPARE(DiskSpace::GetFreeDiskSpace(QStringLiteral("/a")), qint64(5));
    }
};

QTEST_APPLESS_MAIN(tst_DiskSpaceCalls)

#include "tst_DiskSpaceCalls.moc"

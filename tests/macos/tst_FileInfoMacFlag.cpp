#include "FakeFoundation.h"
#include "FoundationMessages.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtTest/QTest>

#include <climits>
#include <utility>

Q_DECLARE_METATYPE(FakeFoundation::Answers)

using FakeFoundation::Answers;
using namespace FoundationMessages;

namespace {

QStringList LockMessages(const QString& path, bool readOnly)
{
    return QStringList{kManager, Exists(path), QStringLiteral("+[NSNumber numberWithBool:%1]").arg(int(readOnly))}
    + SetMessages("NSFileImmutable", QStringLiteral("number %1").arg(int(readOnly)), path);
}

} // namespace

// The read-only flag, and the version of the system.
class tst_FileInfoMacFlag : public QObject
{
    Q_OBJECT

private slots:
    void init() { FakeFoundation::Start(Answers()); }
    void cleanup()
    {
        QCOMPARE(FakeFoundation::LiveObjects(), 0);
        QVERIFY(FakeFoundation::AreSystemObjectsKept());
    }

    void set_data() { AddPaths(); }
    void set()
    {
        QFETCH(QString, path);
        QVERIFY(FileInfoMac(path).SetReadOnlyFlag(true));
        QVERIFY(FileInfoMac(path).SetReadOnlyFlag(false));
        QCOMPARE(FakeFoundation::Messages(), LockMessages(path, true) + LockMessages(path, false));
    }

    void setFails_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<int>("messages"); // so many of those for a success
        Answers answers;
        answers.iFileExists = 0;
        QTest::newRow("no file") << answers << 2;
        answers = Answers();
        answers.iSetAttributes = 0;
        QTest::newRow("refused") << answers << -1;
        answers = Answers();
        answers.iHasManager = false;
        QTest::newRow("no file manager") << answers << 1;
    }
    void setFails()
    {
        QFETCH(Answers, answers);
        QFETCH(int, messages);
        const QString path = QStringLiteral("/a");
        for (const bool readOnly : {true, false}) {
            FakeFoundation::Start(answers);
            QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(readOnly));
            QCOMPARE(FakeFoundation::Messages(), LockMessages(path, readOnly).mid(0, messages));
            QCOMPARE(FakeFoundation::LiveObjects(), 0);
        }
    }

    void version()
    {
        const std::pair<int, int> versions[] = {{10, 15}, {11, 0}, {14, 2}, {10, 10}, {INT_MAX, INT_MAX}, {0, 0}};
        for (const auto& [major, minor] : versions) {
            Answers answers;
            answers.iMajor = major;
            answers.iMinor = minor;
            answers.iPatch = 7;
            FakeFoundation::Start(answers);
            const OSVersion version = FileInfoMac::GetOSVersion();
            QCOMPARE(version.iMajor, major);
            QCOMPARE(version.iMinor, minor);
            const QStringList expected{QStringLiteral("+[NSProcessInfo processInfo]"),
                                       QStringLiteral("-[NSProcessInfo operatingSystemVersion]")};
            QCOMPARE(FakeFoundation::Messages(), expected);
        }
    }

    void versionWithoutProcessInfo()
    {
        Answers answers;
        answers.iHasProcessInfo = false;
        answers.iMajor = 14;
        answers.iMinor = 2;
        FakeFoundation::Start(answers);
        const OSVersion version = FileInfoMac::GetOSVersion();
        QCOMPARE(version.iMajor, 0);
        QCOMPARE(version.iMinor, 0);
        QCOMPARE(FakeFoundation::Messages(), QStringList{QStringLiteral("+[NSProcessInfo processInfo]")});
    }
};

QTEST_APPLESS_MAIN(tst_FileInfoMacFlag)

#include "tst_FileInfoMacFlag.moc"

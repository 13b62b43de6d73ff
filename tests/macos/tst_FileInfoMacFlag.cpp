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
        QTest::addColumn<bool>("readOnly");
        QTest::addColumn<QStringList>("messages");
        const QString path = QStringLiteral("/a");
        for (const bool readOnly : {true, false}) {
            const char* const word = readOnly ? "locking" : "unlocking";
            Answers answers;
            answers.iFileExists = 0;
            QTest::addRow("%s, no file", word) << answers << readOnly << QStringList{kManager, Exists(path)};
            answers = Answers();
            answers.iSetAttributes = 0;
            QTest::addRow("%s, refused", word) << answers << readOnly << LockMessages(path, readOnly);
            answers = Answers();
            answers.iHasManager = false;
            QTest::addRow("%s, no file manager", word) << answers << readOnly << QStringList{kManager};
        }
    }
    void setFails()
    {
        QFETCH(Answers, answers);
        QFETCH(bool, readOnly);
        QFETCH(QStringList, messages);
        FakeFoundation::Start(answers);
        QVERIFY(!FileInfoMac(QStringLiteral("/a")).SetReadOnlyFlag(readOnly));
        QCOMPARE(FakeFoundation::Messages(), messages);
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

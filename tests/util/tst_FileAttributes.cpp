#include "CallFailure.h"
#include "FileState.h"
#include "Playground.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"
#include "util/FileAttributes_linux.h"

#include <QtCore/QFile>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

using FileAttributes::Result;

Q_DECLARE_METATYPE(FileAttributes::Result)

namespace {

constexpr const char* kName = "user.NeroltOrvaneBase.test";

QByteArray Native(const QString& path)
{
    return QFile::encodeName(path);
}

Result Read(const QString& path, QByteArray* text = nullptr)
{
    QByteArray unused;
    return FileAttributes::Read(Native(path), kName, text ? *text : unused);
}

Result Write(const QString& path, const QByteArray& text)
{
    return FileAttributes::Write(Native(path), kName, text);
}

Result Remove(const QString& path)
{
    return FileAttributes::Remove(Native(path), kName);
}

} // namespace

class tst_FileAttributes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { Playground::AddPlaces(); }

    void text_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("number") << QByteArray("-1234567890123");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("NUL inside") << QByteArray("a\0b", 3);
        QTest::newRow("longest") << QByteArray(63, 'x');
    }
    void text()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QByteArray, text);
        const Playground ground(place);
        for (const QString& path : {ground.File("file"), ground.Folder("folder")}) {
            QCOMPARE(Write(path, text), Result::Done);
            QCOMPARE(FileState::Attribute(path, kName), text);
            QByteArray read("before");
            QCOMPARE(Read(path, &read), Result::Done);
            QCOMPARE(read, text);
            QCOMPARE(Remove(path), Result::Done);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void tooLongCountsAsAbsent()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetAttribute(path, kName, QByteArray(64, 'x')));
        QByteArray text("before");
        QCOMPARE(Read(path, &text), Result::Absent);
        QCOMPARE(text, QByteArray("before"));
    }

    void absent()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetAttribute(path, "user.other", "x"));
        QByteArray text("before");
        QCOMPARE(Read(path, &text), Result::Absent);
        QCOMPARE(text, QByteArray("before"));
        QCOMPARE(Remove(path), Result::Absent);
        QCOMPARE(FileState::AttributeNames(path), QList<QByteArray>{"user.other"});
    }

    void linksAreFollowed()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        const QString link = ground.Link(path, "link");
        QCOMPARE(Write(link, "text"), Result::Done);
        QCOMPARE(FileState::Attribute(path, kName), QByteArray("text"));
        QByteArray text;
        QCOMPARE(Read(link, &text), Result::Done);
        QCOMPARE(text, QByteArray("text"));
        QCOMPARE(Remove(link), Result::Done);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void noSuchFile()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        ground.File("file");
        ground.Link(ground.Path("nowhere"), "dangling");
        for (const QString& path : {ground.Path("missing"), ground.Path("dangling"), ground.Path("file/inner")}) {
            QCOMPARE(Read(path), Result::Failed);
            QCOMPARE(Write(path, "text"), Result::Failed);
            QCOMPARE(Remove(path), Result::Failed);
            QVERIFY(!QFile::exists(path));
        }
    }

    void folderThatMayNotBeSearched()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString folder = ground.Folder("folder");
        const QString path = ground.File("folder/file");
        QVERIFY(FileState::SetMode(folder, 0600));
        const OrdinaryUser user;
        QCOMPARE(Read(path), Result::Failed);
        QCOMPARE(Write(path, "text"), Result::Failed);
        QCOMPARE(Remove(path), Result::Failed);
        QCOMPARE(FileState::Mode(folder), 0600);
    }

    void refusals_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<Result>("result");
        QTest::newRow("ENOTSUP") << ENOTSUP << Result::Unsupported;
        QTest::newRow("ENODATA") << ENODATA << Result::Absent;
        QTest::newRow("ENOSPC") << ENOSPC << Result::Failed;
        QTest::newRow("EACCES") << EACCES << Result::Failed;
        QTest::newRow("EIO") << EIO << Result::Failed;
    }
    void refusals()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, error);
        QFETCH(Result, result);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetAttribute(path, kName, "there"));
        const CallFailure reading(CallFailure::GetAttribute, error);
        const CallFailure writing(CallFailure::SetAttribute, error);
        const CallFailure removing(CallFailure::RemoveAttribute, error);
        QByteArray text("before");
        QCOMPARE(Read(path, &text), result);
        QCOMPARE(text, QByteArray("before"));
        QCOMPARE(Write(path, "new"), result);
        QCOMPARE(Remove(path), result);
        QCOMPARE(FileState::Attribute(path, kName), QByteArray("there"));
        QCOMPARE(FileState::Mode(path), 0644);
    }

    void deniedOwner_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {0444, 0200, 0000, 0066, 04444, 01000})
            QTest::addRow("%04o", unsigned(mode)) << mode;
    }
    void deniedOwner()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            const OrdinaryUser user;
            QCOMPARE(Write(path, "text"), Result::Done);
            QCOMPARE(FileState::Mode(path), mode);
            QByteArray text;
            QCOMPARE(Read(path, &text), Result::Done);
            QCOMPARE(FileState::Mode(path), mode);
            QCOMPARE(text, QByteArray("text"));
            QCOMPARE(Remove(path), Result::Done);
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
            QCOMPARE(Read(path), Result::Absent);
            QCOMPARE(Remove(path), Result::Absent);
            QCOMPARE(FileState::Mode(path), mode);
        }
    }

    void deniedOwnerIsRefusedAfterwards_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<Result>("result");
        QTest::newRow("disk is full") << ENOSPC << Result::Failed;
        QTest::newRow("still denied") << EACCES << Result::Failed;
        QTest::newRow("no such attribute") << ENODATA << Result::Absent;
        QTest::newRow("not supported") << ENOTSUP << Result::Unsupported;
    }
    void deniedOwnerIsRefusedAfterwards()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, error);
        QFETCH(Result, result);
        const Playground ground(place);
        const QString path = ground.File("file", 0004);
        const OrdinaryUser user;
        // The mode denies the first call. The second one, with the permission granted, fails as planned.
        const CallFailure reading(CallFailure::GetAttribute, error, 1);
        const CallFailure writing(CallFailure::SetAttribute, error, 1);
        const CallFailure removing(CallFailure::RemoveAttribute, error, 1);
        QCOMPARE(Read(path), result);
        QCOMPARE(FileState::Mode(path), 0004);
        QCOMPARE(Write(path, "text"), result);
        QCOMPARE(FileState::Mode(path), 0004);
        QCOMPARE(Remove(path), result);
        QCOMPARE(FileState::Mode(path), 0004);
    }

    // One thread sees the permission that another has granted for a moment, and then finds it removed.
    void deniedOwnersThreadsAtOnce()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file", 0400);
        const OrdinaryUser user;
        std::atomic<int> failed{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 3; ++thread) {
            threads.emplace_back([&path, &failed] {
                for (int i = 0; i < 10000; ++i)
                    failed += Write(path, "text") != Result::Done;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(failed.load(), 0);
        QCOMPARE(FileState::Mode(path), 0400);
    }

    void modeThatCannotBeOpened()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file", 0004);
        const OrdinaryUser user;
        const CallFailure failure(CallFailure::ChangeMode, EPERM);
        QCOMPARE(Read(path), Result::Failed);
        QCOMPARE(Write(path, "text"), Result::Failed);
        QCOMPARE(Remove(path), Result::Failed);
        QCOMPARE(FileState::Mode(path), 0004);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void strangers_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::addColumn<int>("mode");
        QTest::addColumn<Result>("reading");
        QTest::addColumn<Result>("writing");
        QTest::newRow("own file") << false << 0644 << Result::Absent << Result::Done;
        if (!OrdinaryUser::IsTestRoot())
            return;
        QTest::newRow("all may do all") << true << 0666 << Result::Absent << Result::Done;
        QTest::newRow("all may read") << true << 0644 << Result::Absent << Result::Failed;
        QTest::newRow("all may write") << true << 0622 << Result::Failed << Result::Done;
        QTest::newRow("only the owner may") << true << 0600 << Result::Failed << Result::Failed;
    }
    void strangers()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        QFETCH(int, mode);
        QFETCH(Result, reading);
        QFETCH(Result, writing);
        const Playground ground(place);
        const QString path = ofRoot ? ground.FileOfRoot("file", mode) : ground.File("file", mode);
        const OrdinaryUser user;
        QCOMPARE(Read(path), reading);
        QCOMPARE(Write(path, "text"), writing);
        QCOMPARE(FileState::AttributeNames(path).isEmpty(), writing != Result::Done);
        QCOMPARE(Remove(path), writing);
        QCOMPARE(FileState::Mode(path), mode);
    }
};

NEROLT_TEST_MAIN(tst_FileAttributes)

#include "tst_FileAttributes.moc"

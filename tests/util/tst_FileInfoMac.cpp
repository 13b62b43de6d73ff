#include "FileState.h"
#include "FileTimes.h"
#include "Playground.h"
#include "support/Framework.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QTimeZone>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

using namespace FileTimes;

namespace {

// What statx and uname return.
std::atomic<unsigned int> gHiddenFields{0};
const char* gRelease = nullptr;

qint64 Msecs(const char* isoTime)
{
    return QDateTime::fromString(QString::fromLatin1(isoTime), Qt::ISODateWithMs).toMSecsSinceEpoch();
}

void SetZone(const char* zone)
{
    qputenv("TZ", zone);
    ::tzset();
}

// With an encoding of file names: creates a file with the framework, and sets its times with the class under test.
const TestSupport::Scenario kNames("names", [](const QStringList& arguments) {
    TestSupport::SetLocalCodec(arguments.value(0).toLatin1().constData());
    const QString name = QString::fromUtf8("Gr\xc3\xbc\xc3\x9f"
                                           "e \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80");
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        return 2;
    file.close();
    if (!Set(name, FileTimeModification) || Get(name, FileTimeModification) != Utc(kSomeTime))
        return 3;
    if (QFileInfo(name).lastModified() != Utc(kSomeTime))
        return 4;
    if (!Set(name, FileTimeCreation) || Get(name, FileTimeCreation) != Utc(kSomeTime))
        return 5;
    // Nobody could remove it under another encoding.
    return QFile::remove(name) ? 0 : 6;
});

} // namespace

extern "C" Q_DECL_EXPORT int statx(int folder, const char* __restrict path, int flags, unsigned int mask,
                                   struct statx* __restrict status) noexcept
{
    const unsigned int hidden = gHiddenFields;
    const long result = ::syscall(SYS_statx, folder, path, flags, mask & ~hidden, status);
    if (result == 0)
        status->stx_mask &= ~hidden;
    return int(result);
}

extern "C" Q_DECL_EXPORT int uname(struct utsname* names) noexcept
{
    if (!gRelease)
        return int(::syscall(SYS_uname, names));
    if (*gRelease == '\0') {
        errno = EFAULT;
        return -1;
    }
    std::strncpy(names->release, gRelease, sizeof names->release - 1);
    return 0;
}

class tst_FileInfoMac : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { SetZone("UTC"); }

    void cleanup()
    {
        gHiddenFields = 0;
        gRelease = nullptr;
    }

    void version_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::newRow("6.1.0-18-amd64") << 6 << 1;
        QTest::newRow("5.10") << 5 << 10;
        QTest::newRow("6.9-rc1") << 6 << 9;
        QTest::newRow("7") << 7 << 0;
        QTest::newRow("7.") << 7 << 0;
        QTest::newRow("7.x.3") << 7 << 0;
        QTest::newRow("7-3.5") << 7 << 0;
        QTest::newRow("x.5") << 0 << 0;
        QTest::newRow(".5") << 0 << 5;
        QTest::newRow("2147483647.2147483647") << 2147483647 << 2147483647;
        QTest::newRow("2147483648.3") << 0 << 3;
        QTest::newRow("3.2147483648") << 3 << 0;
        QTest::newRow("") << 0 << 0; // the system does not tell
    }
    void version()
    {
        gRelease = QTest::currentDataTag();
        const OSVersion version = FileInfoMac::GetOSVersion();
        gRelease = nullptr;
        QTEST(version.iMajor, "major");
        QTEST(version.iMinor, "minor");
    }

    void instants_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("now and then") << kSomeTime;
        QTest::newRow("a millisecond before the epoch") << qint64(-1);
        QTest::newRow("more than a second before the epoch") << qint64(-1001);
        QTest::newRow("long before the epoch") << Msecs("1903-02-03T04:05:06.789Z");
        QTest::newRow("year 1, beyond what the file system stores") << Msecs("0001-01-01T00:00:00.001Z");
        QTest::newRow("beyond 32 bits without a sign") << Msecs("2106-02-07T06:28:16.010Z");
    }
    void instants()
    {
        QFETCH(qint64, msecs);
        const Playground ground;
        for (const QString& path : {ground.File("file"), ground.Folder("folder"), ground.Pipe("pipe")}) {
            if (msecs < Msecs("1902-01-01T00:00:00.000Z"))
                continue;
            QVERIFY(Set(path, FileTimeModification, Utc(msecs)));
            QCOMPARE(FileState::ModificationTime(path), msecs * kNsPerMs);
            QCOMPARE(Get(path, FileTimeModification).toMSecsSinceEpoch(), msecs);
            QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeModification), std::optional<qint64>(msecs));
        }
        for (const QString& path : {ground.Path("file"), ground.Path("folder")}) {
            QVERIFY(Set(path, FileTimeCreation, Utc(msecs)));
            QCOMPARE(Get(path, FileTimeCreation).toMSecsSinceEpoch(), msecs);
            QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeCreation), std::optional<qint64>(msecs));
        }
    }

    void finerTimesAreCut()
    {
        const Playground ground;
        const QString path = ground.File("file");
        const std::pair<qint64, qint64> cases[] = {{1123999999, 1123}, {-1, -1}, {-1500000, -2}, {-999999999, -1000}};
        for (const auto& [ns, msecs] : cases) {
            QVERIFY(FileState::SetTimes(path, 0, ns));
            QCOMPARE(Get(path, FileTimeModification).toMSecsSinceEpoch(), msecs);
            QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeWrite), std::optional<qint64>(msecs));
        }
    }

    void eachTypeSetsItsTimeOnly()
    {
        const qint64 access = 1111111111111111111;
        const qint64 modification = 1222222222222222222;
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            const bool isCreation = type == FileTimeCreation;
            const Playground ground;
            const QString path = ground.File("file");
            QVERIFY(FileState::SetTimes(path, access, modification));
            const QDateTime born = Utc(FloorMs(FileState::BirthTime(path)));
            QVERIFY(Set(path, type));
            QCOMPARE(FileState::ModificationTime(path), isCreation ? modification : kSomeTime * kNsPerMs);
            QCOMPARE(Get(path, FileTimeCreation), isCreation ? Utc(kSomeTime) : born);
            QCOMPARE(Get(path, FileTimeModification), isCreation ? Utc(FloorMs(modification)) : Utc(kSomeTime));
            QCOMPARE(Get(path, FileTimeWrite), Get(path, FileTimeModification));
            QCOMPARE(FileState::AccessTime(path), access);
            QCOMPARE(FileState::AttributeNames(path).size(), isCreation ? 1 : 0);
            QCOMPARE(FileState::Mode(path), 0644);
        }
    }

    void anyKindOfTime()
    {
        const Playground ground;
        const QString path = ground.File("file");
        SetZone("America/St_Johns");
        const QTimeZone zone("Asia/Kathmandu");
        for (const QDateTime& time : {Utc(kSomeTime), QDateTime::fromMSecsSinceEpoch(kSomeTime),
                                      QDateTime::fromMSecsSinceEpoch(kSomeTime, zone),
                                      QDateTime::fromMSecsSinceEpoch(kSomeTime, Qt::OffsetFromUTC, -16200)}) {
            for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
                QVERIFY(Set(path, type, Utc(0)) && Set(path, type, time));
                QCOMPARE(Get(path, type).toMSecsSinceEpoch(), kSomeTime);
                QCOMPARE(Get(path, type).timeSpec(), Qt::LocalTime);
            }
        }
    }

    void fileSystemWithoutTimes()
    {
        const Playground ground;
        const QString path = ground.File("file");
        gHiddenFields = STATX_BTIME;
        QVERIFY(!Get(path, FileTimeCreation).isValid());
        QVERIFY(!FileInfoMac(path).GetMSecs(FileTimeCreation));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(!FileInfoMac(path).GetMSecs(FileTimeCreation, file.handle()));
        QVERIFY(Get(path, FileTimeModification).isValid());
        QVERIFY(Set(path, FileTimeCreation));
        QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
        gHiddenFields = STATX_MTIME;
        QVERIFY(!Get(path, FileTimeModification).isValid());
        QVERIFY(!Get(path, FileTimeWrite).isValid());
    }

    void noSuchFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("missing");
        QTest::newRow("dangling link") << QStringLiteral("dangling");
        QTest::newRow("below a file") << QStringLiteral("file/inner");
        QTest::newRow("in a folder that may not be searched") << QStringLiteral("closed/inner");
        QTest::newRow("name too long") << QString(300, QLatin1Char('n'));
        QTest::newRow("empty, not the current folder") << QString();
        QTest::newRow("only a NUL") << QString(QChar(0));
        QTest::newRow("NUL behind the name of a file") << QStringLiteral("file") + QChar(0);
    }
    void noSuchFile()
    {
        QFETCH(QString, name);
        const Playground ground;
        const QString file = ground.File("file");
        const QString closed = ground.Folder("closed");
        ground.File("closed/inner");
        ground.Link(ground.Path("nowhere"), "dangling");
        QVERIFY(FileState::SetTimes(file, 0, 0) && FileState::SetMode(closed, 0600));
        QVERIFY(QDir::setCurrent(ground.Path("")));
        const OrdinaryUser user;
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite})
            QVERIFY(!Get(name, type).isValid() && !FileInfoMac(name).GetMSecs(type) && !Set(name, type));
        QVERIFY(!FileInfoMac(name).SetReadOnlyFlag(true));
        QVERIFY(!FileInfoMac(name).SetReadOnlyFlag(false));
        QVERIFY(QDir::setCurrent(TestSupport::Scratch()));
        QCOMPARE(FileState::ModificationTime(file), qint64(0));
        QCOMPARE(FileState::Mode(file), 0644);
        QCOMPARE(FileState::Mode(closed), 0600);
        QCOMPARE(FileState::Mode(ground.Path("")), 0755);
        for (const QString& path : {file, closed, ground.Path("")}) {
            QVERIFY(FileState::AttributeNames(path).isEmpty());
            QVERIFY(!FileState::IsImmutable(path));
        }
        QCOMPARE(QDir(ground.Path("")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
                 QStringList({"closed", "dangling", "file"}));
    }

    void linksAreFollowed()
    {
        const Playground ground;
        for (const QString& path : {ground.File("file"), ground.Folder("folder")}) {
            const QString link = ground.Link(path, QFileInfo(path).fileName() + QStringLiteral(" link"));
            struct stat before = {};
            struct stat after = {};
            QCOMPARE(::lstat(QFile::encodeName(link).constData(), &before), 0);
            QVERIFY(Set(link, FileTimeModification));
            QVERIFY(Set(link, FileTimeCreation, Utc(-5)));
            QCOMPARE(Get(path, FileTimeModification), Utc(kSomeTime));
            QCOMPARE(Get(path, FileTimeCreation), Utc(-5));
            QCOMPARE(Get(link, FileTimeModification), Utc(kSomeTime));
            QCOMPARE(Get(link, FileTimeCreation), Utc(-5));
            QCOMPARE(::lstat(QFile::encodeName(link).constData(), &after), 0);
            QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
        }
    }

    void whatSetsNothing()
    {
        const Playground ground;
        const QString path = ground.File("file");
        QVERIFY(FileState::SetTimes(path, 5 * kNsPerMs, 6 * kNsPerMs));
        for (const int type : {7, 3, -1, 256, INT_MIN, INT_MAX}) {
            QVERIFY(!Get(path, FileTimeType(type)).isValid());
            QVERIFY(!FileInfoMac(path).GetMSecs(FileTimeType(type)));
            QVERIFY(!Set(path, FileTimeType(type)));
        }
        for (const QDateTime& time : {QDateTime(), QDateTime(QDate(2024, 2, 30), QTime(1, 2, 3), Qt::UTC)}) {
            for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite})
                QVERIFY(!Set(path, type, time));
        }
        QCOMPARE(FileState::AccessTime(path), 5 * kNsPerMs);
        QCOMPARE(FileState::ModificationTime(path), 6 * kNsPerMs);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void namesInAnyEncoding()
    {
        for (const char* const encoding : {"UTF-8", "ISO-8859-1"}) {
            const auto result = TestSupport::RunScenario("names", {QString::fromLatin1(encoding)});
            QVERIFY2(result.IsOk(), result.Describe().constData());
        }
    }
};

NEROLT_TEST_MAIN(tst_FileInfoMac)

#include "tst_FileInfoMac.moc"

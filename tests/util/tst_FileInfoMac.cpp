#include "CallFailure.h"
#include "FileState.h"
#include "Playground.h"
#include "support/OrdinaryUser.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QTextCodec>
#include <QtCore/QTimeZone>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <type_traits>
#include <unistd.h>

Q_DECLARE_METATYPE(FileTimeType)

NEROLT_PRIVATE(FileInfoMac, iPath, QString)

namespace {

constexpr qint64 kNsPerMs = 1000000;
constexpr qint64 kSomeTime = 1700000000123; // 2023-11-14T22:13:20.123Z
// The kernel stamps a new file with its coarse clock, which ticks every 10 ms at the slowest.
constexpr qint64 kTickMs = 20;

// What statx and uname return.
std::atomic<unsigned int> gHiddenFields{0};
const char* gRelease = nullptr;

QDateTime Utc(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
}

qint64 Msecs(const char* isoTime)
{
    return QDateTime::fromString(QString::fromLatin1(isoTime), Qt::ISODateWithMs).toMSecsSinceEpoch();
}

qint64 FloorMs(qint64 ns)
{
    return (ns - (ns % kNsPerMs + kNsPerMs) % kNsPerMs) / kNsPerMs;
}

QDateTime Get(const QString& path, FileTimeType type)
{
    return FileInfoMac(path).GetTime(type);
}

bool Set(const QString& path, FileTimeType type, const QDateTime& time = Utc(kSomeTime))
{
    return FileInfoMac(path).SetTime(time, type);
}

// The only attribute that setting the creation time added, whatever its name.
QByteArray CreationAttribute(const QString& place)
{
    const Playground ground(place);
    const QString path = ground.File("file");
    Set(path, FileTimeCreation);
    const QList<QByteArray> names = FileState::AttributeNames(path);
    return names.size() == 1 ? names.first() : QByteArray();
}

void SetZone(const char* zone)
{
    qputenv("TZ", zone);
    ::tzset();
}

void AddTypes()
{
    QTest::addColumn<FileTimeType>("type");
    QTest::newRow("creation") << FileTimeCreation;
    QTest::newRow("modification") << FileTimeModification;
    QTest::newRow("write") << FileTimeWrite;
}

// With an encoding of file names: creates a file with the framework, and sets its times with the class under test.
const TestSupport::Scenario kNames("names", [](const QStringList& arguments) {
    Playground::StayOrdinary();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName(arguments.value(0).toLatin1()));
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
    FileInfoMac info(name);
    if (!info.SetReadOnlyFlag(true) || QFileInfo(name).isWritable())
        return 6;
    if (!info.SetReadOnlyFlag(false) || !QFileInfo(name).isWritable())
        return 7;
    // Nobody could remove it under another encoding.
    return QFile::remove(name) ? 0 : 8;
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
    void initTestCase_data() { Playground::AddPlaces(); }

    void init() { SetZone("UTC"); }

    void cleanup()
    {
        gHiddenFields = 0;
        gRelease = nullptr;
    }

    void shape()
    {
        QVERIFY(!std::is_polymorphic_v<FileInfoMac>);
        QCOMPARE(sizeof(FileInfoMac), sizeof(QString));
        QVERIFY((std::is_same_v<FileInfoMac_iPath_Tag::Value, QString>));
        QVERIFY((std::is_constructible_v<FileInfoMac, const QString&>));
        QVERIFY(!(std::is_convertible_v<QString, FileInfoMac>));
    }

    void pathIsSharedAndKept()
    {
        const QString path = QString(QStringLiteral("/some/%1/path")).append(QLatin1Char('!'));
        const FileInfoMac info(path);
        QCOMPARE(info.*FileInfoMac_iPath(), path);
        QCOMPARE((info.*FileInfoMac_iPath()).constData(), path.constData());
    }

    void fileTimeType()
    {
        QVERIFY((std::is_same_v<std::underlying_type_t<FileTimeType>, int>));
        QVERIFY((std::is_convertible_v<FileTimeType, int>));
        QCOMPARE(int(FileTimeCreation), 0);
        QCOMPARE(int(FileTimeModification), 1);
        QCOMPARE(int(FileTimeWrite), 2);
    }

    void version()
    {
        QVERIFY((std::is_same_v<decltype(OSVersion::iMajor), qint32>));
        QVERIFY((std::is_same_v<decltype(OSVersion::iMinor), qint32>));
        QVERIFY((std::is_same_v<decltype(FileInfoMac::GetOSVersion()), OSVersion>));
        QCOMPARE(sizeof(OSVersion), 2 * sizeof(qint32));
        QCOMPARE(offsetof(OSVersion, iMajor), std::size_t(0));
        QCOMPARE(OSVersion().iMajor, 0);
        QCOMPARE(OSVersion().iMinor, 0);
    }

    void versionOfThisKernel()
    {
        const QStringList numbers = QSysInfo::kernelVersion().split(QRegExp(QStringLiteral("[^0-9]")));
        QVERIFY(numbers.value(0).toInt() > 0);
        QCOMPARE(FileInfoMac::GetOSVersion().iMajor, numbers.value(0).toInt());
        QCOMPARE(FileInfoMac::GetOSVersion().iMinor, numbers.value(1).toInt());
    }

    void versionOfOtherKernels_data()
    {
        QTest::addColumn<QByteArray>("release");
        QTest::addColumn<qint32>("major");
        QTest::addColumn<qint32>("minor");
        QTest::newRow("major before minor") << QByteArray("7.42.3-some") << 7 << 42;
        QTest::newRow("no numbers") << QByteArray("unknown") << 0 << 0;
        QTest::newRow("the system does not tell") << QByteArray("") << 0 << 0;
    }
    void versionOfOtherKernels()
    {
        QFETCH(QByteArray, release);
        QFETCH(qint32, major);
        QFETCH(qint32, minor);
        gRelease = release.constData();
        const OSVersion version = FileInfoMac::GetOSVersion();
        gRelease = nullptr;
        QCOMPARE(version.iMajor, major);
        QCOMPARE(version.iMinor, minor);
    }

    void typesThatSelectNothing_data()
    {
        QTest::addColumn<int>("type");
        for (const int type : {7, 3, -1, 255, 256, 65536, INT_MIN, INT_MAX})
            QTest::addRow("%d", type) << type;
    }
    void typesThatSelectNothing()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, type);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetTimes(path, 5 * kNsPerMs, 6 * kNsPerMs));
        QVERIFY(!Get(path, FileTimeType(type)).isValid());
        QVERIFY(!FileInfoMac(path).GetMSecs(FileTimeType(type)));
        QVERIFY(!Set(path, FileTimeType(type)));
        QCOMPARE(FileState::AccessTime(path), 5 * kNsPerMs);
        QCOMPARE(FileState::ModificationTime(path), 6 * kNsPerMs);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void instants_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("now and then") << kSomeTime;
        QTest::newRow("epoch") << qint64(0);
        QTest::newRow("a millisecond after the epoch") << qint64(1);
        QTest::newRow("a millisecond before the epoch") << qint64(-1);
        QTest::newRow("almost a second before the epoch") << qint64(-999);
        QTest::newRow("a second before the epoch") << qint64(-1000);
        QTest::newRow("more than a second before the epoch") << qint64(-1001);
        QTest::newRow("long before the epoch") << Msecs("1903-02-03T04:05:06.789Z");
        QTest::newRow("last millisecond of a century") << Msecs("1999-12-31T23:59:59.999Z");
        QTest::newRow("beyond 32 bits") << Msecs("2038-01-19T03:14:08.001Z");
        QTest::newRow("beyond 32 bits without a sign") << Msecs("2106-02-07T06:28:16.010Z");
    }
    void instants()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(qint64, msecs);
        const Playground ground(place);
        for (const QString& path : {ground.File("file"), ground.Folder("folder"), ground.Pipe("pipe")}) {
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

    void creationTimeNeedsNoRoomInTheFileSystem_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("year 1") << Msecs("0001-01-01T00:00:00.001Z");
        QTest::newRow("year 9999") << Msecs("9999-12-31T23:59:59.999Z");
    }
    void creationTimeNeedsNoRoomInTheFileSystem()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(qint64, msecs);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(Set(path, FileTimeCreation, Utc(msecs)));
        QCOMPARE(Get(path, FileTimeCreation), Utc(msecs));
    }

    void finerTimesAreCut_data()
    {
        QTest::addColumn<qint64>("ns");
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("just before the next millisecond") << qint64(1123999999) << qint64(1123);
        QTest::newRow("just a nanosecond") << qint64(1) << qint64(0);
        QTest::newRow("before the epoch") << qint64(-1) << qint64(-1);
        QTest::newRow("before the epoch, between") << qint64(-1500000) << qint64(-2);
        QTest::newRow("before the epoch, exact") << qint64(-2000000) << qint64(-2);
        QTest::newRow("just after a second before the epoch") << qint64(-999999999) << qint64(-1000);
    }
    void finerTimesAreCut()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(qint64, ns);
        QFETCH(qint64, msecs);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetTimes(path, 0, ns));
        QCOMPARE(Get(path, FileTimeModification).toMSecsSinceEpoch(), msecs);
        QCOMPARE(Get(path, FileTimeWrite).toMSecsSinceEpoch(), msecs);
        QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeWrite), std::optional<qint64>(msecs));
    }

    void eachTypeSetsItsTimeOnly_data() { AddTypes(); }
    void eachTypeSetsItsTimeOnly()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(FileTimeType, type);
        const bool isCreation = type == FileTimeCreation;
        const Playground ground(place);
        const QString path = ground.File("file");
        const qint64 access = 1111111111111111111;
        const qint64 modification = 1222222222222222222;
        QVERIFY(FileState::SetTimes(path, access, modification));
        const QDateTime born = Utc(FloorMs(FileState::BirthTime(path)));

        QVERIFY(Set(path, type));

        QCOMPARE(FileState::AccessTime(path), access);
        QCOMPARE(FileState::ModificationTime(path), isCreation ? modification : kSomeTime * kNsPerMs);
        QCOMPARE(Get(path, FileTimeCreation), isCreation ? Utc(kSomeTime) : born);
        QCOMPARE(Get(path, FileTimeModification), isCreation ? Utc(FloorMs(modification)) : Utc(kSomeTime));
        QCOMPARE(Get(path, FileTimeWrite), Get(path, FileTimeModification));
        QCOMPARE(FileState::AccessTime(path), access);
        QCOMPARE(FileState::AttributeNames(path).size(), isCreation ? 1 : 0);
        QCOMPARE(FileState::Mode(path), 0644);
    }

    void anyKindOfTime_data()
    {
        QTest::addColumn<QDateTime>("time");
        QTest::newRow("UTC") << Utc(kSomeTime);
        QTest::newRow("local") << QDateTime::fromMSecsSinceEpoch(kSomeTime);
        QTest::newRow("offset") << QDateTime::fromMSecsSinceEpoch(kSomeTime, Qt::OffsetFromUTC, -16200);
        QTest::newRow("zone") << QDateTime::fromMSecsSinceEpoch(kSomeTime, QTimeZone("Asia/Kathmandu"));
    }
    void anyKindOfTime()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QDateTime, time);
        const Playground ground(place);
        const QString path = ground.File("file");
        SetZone("America/St_Johns");
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            QVERIFY(Set(path, type, time));
            QCOMPARE(Get(path, type).toMSecsSinceEpoch(), time.toMSecsSinceEpoch());
            QCOMPARE(Get(path, type).timeSpec(), Qt::LocalTime);
        }
    }

    void hourThatComesTwice_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::newRow("first") << Msecs("2024-10-27T00:30:00.250Z");
        QTest::newRow("second") << Msecs("2024-10-27T01:30:00.250Z");
    }
    void hourThatComesTwice()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(qint64, msecs);
        const Playground ground(place);
        const QString path = ground.File("file");
        SetZone("Europe/Berlin");
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification}) {
            QVERIFY(Set(path, type, QDateTime::fromMSecsSinceEpoch(msecs)));
            QCOMPARE(Get(path, type).toMSecsSinceEpoch(), msecs);
        }
    }

    void birthTime()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        const QStringList paths{ground.File("file"), ground.Folder("folder"), ground.Pipe("pipe")};
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        for (const QString& path : paths) {
            QVERIFY(FileState::SetTimes(path, 0, 0));
            const qint64 born = Get(path, FileTimeCreation).toMSecsSinceEpoch();
            QVERIFY2(before - kTickMs <= born && born <= after, qPrintable(QString::number(born - before)));
            QCOMPARE(born, FloorMs(FileState::BirthTime(path)));
            QCOMPARE(Get(path, FileTimeCreation), QFileInfo(path).birthTime());
            QCOMPARE(Get(path, FileTimeCreation).timeSpec(), Qt::LocalTime);
            QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeCreation), std::optional<qint64>(born));
        }
    }

    // Only the path leads to the attribute of a file that its owner may not read.
    void byDescriptorOfAFileThatMayNotBeRead()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(Set(path, FileTimeCreation));
        OrdinaryUser::Own(path);
        const OrdinaryUser user;
        QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0200), 0);
        const int descriptor = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CLOEXEC);
        QVERIFY(descriptor >= 0);
        QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeCreation, descriptor), std::optional<qint64>(kSomeTime));
        ::close(descriptor);
    }

    void fileSystemWithoutBirthTimes()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
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
    }

    void fileSystemWithoutModificationTimes()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        gHiddenFields = STATX_MTIME;
        QVERIFY(!Get(path, FileTimeModification).isValid());
        QVERIFY(!Get(path, FileTimeWrite).isValid());
        QVERIFY(Get(path, FileTimeCreation).isValid());
    }

    void creationTimeStaysWithTheFile()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(Set(path, FileTimeCreation));

        const QString renamed = ground.Path("renamed");
        QVERIFY(QFile::rename(path, renamed));
        QCOMPARE(Get(renamed, FileTimeCreation), Utc(kSomeTime));
        QFile file(renamed);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write("new"), qint64(3));
        file.close();
        QCOMPARE(Get(renamed, FileTimeCreation), Utc(kSomeTime));
        QVERIFY(Set(renamed, FileTimeModification, Utc(5)));
        QVERIFY(FileState::SetMode(renamed, 0600));
        QCOMPARE(Get(renamed, FileTimeCreation), Utc(kSomeTime));
        QVERIFY(!Get(path, FileTimeCreation).isValid());
    }

    void birthTimeStaysWithTheFile()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        const QDateTime born = Get(path, FileTimeCreation);
        QVERIFY(QFile::rename(path, ground.Path("renamed")));
        QCOMPARE(Get(ground.Path("renamed"), FileTimeCreation), born);
    }

    void newFileOfAnOldNameHasItsOwnCreationTime()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        QVERIFY(Set(ground.File("file"), FileTimeCreation));
        QVERIFY(QFile::remove(ground.Path("file")));
        const QString path = ground.File("file");
        QCOMPARE(Get(path, FileTimeCreation), Utc(FloorMs(FileState::BirthTime(path))));
    }

    void creationTimeCanBeSetAgain()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(Set(path, FileTimeCreation));
        QVERIFY(Set(path, FileTimeCreation, Utc(-7)));
        QCOMPARE(Get(path, FileTimeCreation), Utc(-7));
        QCOMPARE(FileState::AttributeNames(path).size(), 1);
    }

    void spoiltCreationTime_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("word") << QByteArray("yesterday");
        QTest::newRow("letter behind") << QByteArray("1700000000123x");
        QTest::newRow("letter before") << QByteArray("x1700000000123");
        QTest::newRow("NUL behind") << QByteArray("12\0", 3);
        QTest::newRow("blanks around") << QByteArray(" 12\n");
        QTest::newRow("fraction") << QByteArray("1700000000.123");
        QTest::newRow("hexadecimal") << QByteArray("0x10");
        QTest::newRow("sign only") << QByteArray("-");
        QTest::newRow("two numbers") << QByteArray("1 2");
        QTest::newRow("beyond 64 bits") << QByteArray("9223372036854775808");
        QTest::newRow("too long a number") << QByteArray(64, '0');
    }
    void spoiltCreationTime()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QByteArray, text);
        const QByteArray name = CreationAttribute(place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetAttribute(path, name.constData(), text));
        QCOMPARE(Get(path, FileTimeCreation), Utc(FloorMs(FileState::BirthTime(path))));
        QVERIFY(Set(path, FileTimeCreation));
        QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
    }

    void creationTimeThatTheModeDenies_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {0444, 0400, 0200, 0000, 0111, 0077, 0466, 0755, 04444, 02555, 01000})
            QTest::addRow("%04o", unsigned(mode)) << mode;
    }
    void creationTimeThatTheModeDenies()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            const OrdinaryUser user;
            QCOMPARE(Get(path, FileTimeCreation), Utc(FloorMs(FileState::BirthTime(path))));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(Set(path, FileTimeCreation));
            QCOMPARE(FileState::Mode(path), mode);
            QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(Set(path, FileTimeModification, Utc(9)));
            QCOMPARE(Get(path, FileTimeModification), Utc(9));
            QCOMPARE(FileState::Mode(path), mode);
        }
    }

    void whatKeepsNoCreationTime()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        for (const QString& path : {ground.Pipe("pipe", 0666), ground.Socket("socket", 0600)}) {
            QVERIFY(!Set(path, FileTimeCreation));
            QCOMPARE(Get(path, FileTimeCreation), Utc(FloorMs(FileState::BirthTime(path))));
            QVERIFY(Set(path, FileTimeModification));
            QCOMPARE(Get(path, FileTimeModification), Utc(kSomeTime));
        }
    }

    void refusedCreationTime_data()
    {
        QTest::addColumn<int>("error");
        QTest::newRow("keeps no attributes") << ENOTSUP;
        QTest::newRow("full") << ENOSPC;
        QTest::newRow("quota") << EDQUOT;
        QTest::newRow("not permitted") << EPERM;
        QTest::newRow("denied") << EACCES;
        QTest::newRow("read-only") << EROFS;
        QTest::newRow("broken") << EIO;
    }
    void refusedCreationTime()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, error);
        const Playground ground(place);
        const QString path = ground.File("file");
        const QDateTime born = Get(path, FileTimeCreation);
        {
            const CallFailure writing(CallFailure::SetAttribute, error);
            QVERIFY(!Set(path, FileTimeCreation));
            QCOMPARE(Get(path, FileTimeCreation), born);
        }
        QVERIFY(Set(path, FileTimeCreation));
        {
            const CallFailure writing(CallFailure::SetAttribute, error);
            QVERIFY(!Set(path, FileTimeCreation, Utc(1)));
            QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
        }
        const CallFailure reading(CallFailure::GetAttribute, error);
        QCOMPARE(Get(path, FileTimeCreation), born);
        QCOMPARE(FileState::Mode(path), 0644);
    }

    void refusedModificationTime()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetTimes(path, 0, 0));
        const CallFailure failure(CallFailure::SetTimes, EPERM);
        QVERIFY(!Set(path, FileTimeModification));
        QVERIFY(!Set(path, FileTimeWrite));
        QCOMPARE(Get(path, FileTimeModification), Utc(0));
        QVERIFY(Set(path, FileTimeCreation));
    }

    void timesOfLockedFiles_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::newRow("write bits") << false;
        if (Playground::MayFlag())
            QTest::newRow("flag") << true;
    }
    void timesOfLockedFiles()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        for (const QString& path : {ground.File("file"), ground.Folder("folder", 0750)}) {
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(FileState::SetTimes(path, 0, 0));
            const QDateTime born = Get(path, FileTimeCreation);
            QVERIFY(FileInfoMac(path).SetReadOnlyFlag(true));
            const int mode = FileState::Mode(path);

            QCOMPARE(Set(path, FileTimeCreation), !byFlag);
            QCOMPARE(Set(path, FileTimeModification), !byFlag);
            QCOMPARE(Set(path, FileTimeWrite), !byFlag);
            QCOMPARE(Get(path, FileTimeCreation), byFlag ? born : Utc(kSomeTime));
            QCOMPARE(Get(path, FileTimeModification), byFlag ? Utc(0) : Utc(kSomeTime));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(!FileState::CanWrite(path));
            QVERIFY(FileInfoMac(path).SetReadOnlyFlag(false));
        }
    }

    void filesOfOthers_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::addColumn<int>("mode");
        QTest::newRow("own") << false << 0600;
        if (!OrdinaryUser::IsTestRoot())
            return;
        QTest::newRow("readable") << true << 0644;
        QTest::newRow("not readable") << true << 0600;
    }
    void filesOfOthers()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        QFETCH(int, mode);
        const Playground ground(place);
        const QString path = ofRoot ? ground.FileOfRoot("file", mode) : ground.File("file", mode);
        QVERIFY(FileState::SetTimes(path, 0, 0));
        const QDateTime born = Get(path, FileTimeCreation);
        const OrdinaryUser user;
        QCOMPARE(Get(path, FileTimeCreation), born);
        QCOMPARE(Get(path, FileTimeModification), Utc(0));
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite})
            QCOMPARE(Set(path, type), !ofRoot);
        QCOMPARE(FileState::ModificationTime(path), ofRoot ? 0 : kSomeTime * kNsPerMs);
        QCOMPARE(FileState::AttributeNames(path).size(), ofRoot ? 0 : 1);
        QCOMPARE(FileState::Mode(path), mode);
    }

    void noSuchFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("missing");
        QTest::newRow("missing folder") << QStringLiteral("missing/file");
        QTest::newRow("dangling link") << QStringLiteral("dangling");
        QTest::newRow("below a file") << QStringLiteral("file/inner");
        QTest::newRow("name too long") << QString(300, QLatin1Char('n'));
        QTest::newRow("NUL behind the name of a file") << QStringLiteral("file") + QChar(0);
        QTest::newRow("NUL inside") << QStringLiteral("file") + QChar(0) + QStringLiteral("inner");
    }
    void noSuchFile()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QString, name);
        const Playground ground(place);
        const QString file = ground.File("file");
        ground.Link(ground.Path("nowhere"), "dangling");
        QVERIFY(FileState::SetTimes(file, 0, 0));
        const QString path = ground.Path(name);
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            QVERIFY(!Get(path, type).isValid());
            QVERIFY(!FileInfoMac(path).GetMSecs(type));
            QVERIFY(!Set(path, type));
        }
        QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(true));
        QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(false));
        QCOMPARE(FileState::ModificationTime(file), qint64(0));
        QCOMPARE(FileState::Mode(file), 0644);
        QVERIFY(FileState::AttributeNames(file).isEmpty());
        QVERIFY(!FileState::IsImmutable(file));
        QCOMPARE(QDir(ground.Path("")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
                 QStringList({"dangling", "file"}));
    }

    void emptyPath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("only a NUL") << QString(QChar(0));
    }
    void emptyPath()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QString, path);
        const Playground ground(place);
        // Where an empty name could be taken for the current folder.
        QVERIFY(QDir::setCurrent(ground.Path("")));
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            QVERIFY(!Get(path, type).isValid());
            QVERIFY(!FileInfoMac(path).GetMSecs(type));
            QVERIFY(!Set(path, type));
        }
        QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(true));
        QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(false));
        QVERIFY(FileState::AttributeNames(ground.Path("")).isEmpty());
        QVERIFY(!FileState::IsImmutable(ground.Path("")));
        QCOMPARE(FileState::Mode(ground.Path("")), 0755);
        QVERIFY(QDir::setCurrent(TestSupport::Scratch()));
    }

    void relativePath()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        FileInfoMac info(QStringLiteral("./file"));
        QVERIFY(!info.GetTime(FileTimeModification).isValid());
        QVERIFY(QDir::setCurrent(ground.Path("")));
        QVERIFY(info.SetTime(Utc(kSomeTime), FileTimeModification));
        QVERIFY(info.SetTime(Utc(kSomeTime), FileTimeCreation));
        QVERIFY(QDir::setCurrent(TestSupport::Scratch()));
        QCOMPARE(Get(path, FileTimeModification), Utc(kSomeTime));
        QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
    }

    void linksAreFollowed()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        for (const QString& path : {ground.File("file"), ground.Folder("folder")}) {
            const QString link = ground.Link(path, QFileInfo(path).fileName() + QStringLiteral(" link"));
            struct stat before = {};
            QVERIFY(::lstat(QFile::encodeName(link).constData(), &before) == 0);
            QVERIFY(Set(link, FileTimeModification));
            QVERIFY(Set(link, FileTimeCreation, Utc(-5)));
            QCOMPARE(Get(path, FileTimeModification), Utc(kSomeTime));
            QCOMPARE(Get(path, FileTimeCreation), Utc(-5));
            QCOMPARE(Get(link, FileTimeModification), Utc(kSomeTime));
            QCOMPARE(Get(link, FileTimeCreation), Utc(-5));
            struct stat after = {};
            QVERIFY(::lstat(QFile::encodeName(link).constData(), &after) == 0);
            QCOMPARE(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
            QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);

            const OrdinaryUser user;
            const int mode = FileState::Mode(path);
            QVERIFY(FileInfoMac(link).SetReadOnlyFlag(true));
            QCOMPARE(FileState::Mode(path), mode & ~0222);
            QVERIFY(FileInfoMac(link).SetReadOnlyFlag(false));
            QCOMPARE(FileState::Mode(path), mode);
        }
    }

    void invalidTime_data()
    {
        QTest::addColumn<QDateTime>("time");
        QTest::newRow("default") << QDateTime();
        QTest::newRow("no date") << QDateTime(QDate(), QTime(1, 2, 3));
        QTest::newRow("day that is not") << QDateTime(QDate(2024, 2, 30), QTime(1, 2, 3), Qt::UTC);
        QTest::newRow("offset only") << QDateTime(QDate(), QTime(), Qt::OffsetFromUTC, 3600);
    }
    void invalidTime()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QDateTime, time);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetTimes(path, 5 * kNsPerMs, 6 * kNsPerMs));
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite})
            QVERIFY(!Set(path, type, time));
        QVERIFY(!Set(path, FileTimeType(7), time));
        QCOMPARE(FileState::AccessTime(path), 5 * kNsPerMs);
        QCOMPARE(FileState::ModificationTime(path), 6 * kNsPerMs);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void nothingIsOpened()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        for (const QString& path : {ground.File("file"), ground.Folder("folder"), ground.Pipe("pipe")}) {
            FileWatch watch(path, FileWatch::Opens);
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite) || FileState::Flags(path) >= 0);
            file.close();
            QVERIFY(watch.Saw());
            for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
                Get(path, type);
                Set(path, type);
            }
            QVERIFY(!watch.Saw());
        }
    }

    void readingChangesNothing()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", 0400), ground.Folder("folder"), ground.Pipe("pipe")}) {
            const OrdinaryUser user;
            FileWatch watch(path, FileWatch::Changes);
            QVERIFY(FileState::SetMode(path, FileState::Mode(path)));
            QVERIFY(watch.Saw());
            for (const int type : {0, 1, 2, 7}) {
                Get(path, FileTimeType(type));
                FileInfoMac(path).GetMSecs(FileTimeType(type));
            }
            QVERIFY(!watch.Saw());
        }
    }

    void folderThatMayNotBeSearched()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString folder = ground.Folder("folder");
        const QString path = ground.File("folder/file");
        QVERIFY(FileState::SetTimes(path, 0, 0));
        QVERIFY(FileState::SetMode(folder, 0600));
        {
            const OrdinaryUser user;
            for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
                QVERIFY(!Get(path, type).isValid());
                QVERIFY(!Set(path, type));
            }
            QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(true));
            QVERIFY(!FileInfoMac(path).SetReadOnlyFlag(false));
            QCOMPARE(FileState::Mode(folder), 0600);
        }
        QVERIFY(FileState::SetMode(folder, 0700));
        QCOMPARE(FileState::ModificationTime(path), qint64(0));
        QCOMPARE(FileState::Mode(path), 0644);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void namesInAnyEncoding_data()
    {
        QTest::addColumn<QString>("encoding");
        QTest::newRow("UTF-8") << QStringLiteral("UTF-8");
        QTest::newRow("one byte for each character") << QStringLiteral("ISO-8859-1");
    }
    void namesInAnyEncoding()
    {
        QFETCH(QString, encoding);
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("names", {encoding});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void lock_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::newRow("write bits") << false;
        if (Playground::MayFlag())
            QTest::newRow("flag") << true;
    }
    void lock()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", 0664), ground.Folder("folder", 0775)}) {
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            const int mode = FileState::Mode(path);
            FileInfoMac info(path);
            QVERIFY(info.SetReadOnlyFlag(true));
            QCOMPARE(FileState::IsImmutable(path), byFlag);
            QCOMPARE(FileState::Mode(path), byFlag ? mode : mode & ~0222);
            QVERIFY(!FileState::CanWrite(path));
            QVERIFY(info.SetReadOnlyFlag(false));
            QVERIFY(!FileState::IsImmutable(path));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(FileState::CanWrite(path));
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }
};

NEROLT_TEST_MAIN(tst_FileInfoMac)

#include "tst_FileInfoMac.moc"

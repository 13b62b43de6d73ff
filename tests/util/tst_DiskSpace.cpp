#include "support/Framework.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtCore/QFile>

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <limits>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

// The page size of a volume in memory.
const qint64 kPage = ::sysconf(_SC_PAGESIZE);
constexpr qint64 kPages = 256;

// What the overridden system call returns.
bool gForged = false;
struct statvfs gAnswer = {};
int gError = 0;
int gInterruptions = 0;
QByteArrayList* gAsked = nullptr;

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

bool Write(const QString& path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(int(size), 'x')) == size;
}

// A volume that only this process sees, in the folder "volume" of the current one. It ends with the process.
bool MountVolume()
{
    const QByteArray options = "mode=0755,size=" + QByteArray::number(kPages * kPage);
    return QDir().mkdir(Text("volume")) && ::unshare(CLONE_NEWNS) == 0
        && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && ::mount("none", "volume", "tmpfs", 0, options.constData()) == 0;
}

// In pages, and the remainder in bytes.
void PutFree(const char* path)
{
    const qint64 bytes = DiskSpace::GetFreeDiskSpace(Text(path));
    std::printf("%lld+%lld ", bytes / kPage, bytes % kPage);
}

const Scenario mounting("mounting", [](const QStringList&) { return MountVolume() ? 0 : 1; });

const Scenario missingVolume("missingVolume", [](const QStringList&) {
    PutFree("volume");
    return 0;
});

const Scenario volumeSize("volumeSize", [](const QStringList&) {
    if (!MountVolume())
        return 1;
    QDir().mkdir(Text("volume/folder"));
    Write(Text("volume/folder/file"), 0);
    QFile::link(QDir::currentPath() + Text("/volume/folder/file"), Text("link"));
    for (const char* const path :
         {"volume", "volume/", "volume/folder", "volume/folder/file", "volume/..//volume", "link", "volume/missing"})
        PutFree(path);
    std::puts(DiskSpace::GetFreeDiskSpace(Text(".")) == kPages * kPage ? "same" : "another outside");
    return 0;
});

const Scenario volumeInUse("volumeInUse", [](const QStringList&) {
    if (!MountVolume())
        return 1;
    PutFree("volume");
    for (const qint64 size : {kPage, 10 * kPage, qint64(1), kPage + 1, qint64(0)}) {
        Write(Text("volume/file"), size);
        PutFree("volume");
    }
    Write(Text("volume/file"), (kPages - 1) * kPage);
    PutFree("volume");
    Write(Text("volume/other"), kPage);
    PutFree("volume/other");
    QFile::remove(Text("volume/file"));
    QFile::remove(Text("volume/other"));
    PutFree("volume");
    return 0;
});

} // namespace

extern "C" Q_DECL_EXPORT int statvfs(const char* path, struct statvfs* volume) noexcept
{
    using Function = int (*)(const char*, struct statvfs*);
    static const auto real = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "statvfs"));
    if (gAsked)
        *gAsked += path;
    if (gInterruptions > 0) {
        --gInterruptions;
        errno = EINTR;
        return -1;
    }
    if (!gForged)
        return real(path, volume);
    *volume = gAnswer;
    errno = gError;
    return gError == 0 ? 0 : -1;
}

class tst_DiskSpace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    // A fresh folder as the current one.
    void init() { TestSupport::EnterFreshFolder(); }

    void cleanup()
    {
        gForged = false;
        gAsked = nullptr;
        gError = 0;
        gInterruptions = 0;
        ::chmod("closed folder", 0700); // or it could not be removed
    }

    void existingPath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("file") << Text("%/folder/file");
        QTest::newRow("folder") << Text("%/folder");
        QTest::newRow("folder with a separator") << Text("%/folder/");
        QTest::newRow("folder above") << Text("%/folder/..");
        QTest::newRow("root") << Text("/");
        QTest::newRow("relative folder") << Text("folder");
        QTest::newRow("current folder") << Text(".");
        QTest::newRow("beyond ASCII") << Text("%/\xc3\xbc \xf0\x9f\x98\x80");
        QTest::newRow("link to a file") << Text("%/link");
        QTest::newRow("link to a folder") << Text("%/folder link");
        QTest::newRow("in a linked folder") << Text("%/folder link/file");
        QTest::newRow("pipe") << Text("%/pipe");
        QTest::newRow("file that may not be read") << Text("%/closed file");
        QTest::newRow("device") << Text("/dev/null");
    }
    void existingPath()
    {
        QFETCH(QString, path);
        MakeEntries();
        if (path.startsWith(QLatin1Char('%')))
            path.replace(0, 1, QDir::currentPath());
        const OrdinaryUser user;
        QVERIFY(AgreesWithSystem(path, QFile::encodeName(path)));
    }

    void noPath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << Text("missing");
        QTest::newRow("below a file") << Text("folder/file/file");
        QTest::newRow("link to nothing") << Text("dangling");
        QTest::newRow("below a closed folder") << Text("closed folder/file");
        QTest::newRow("name too long") << QString(256, QLatin1Char('x'));
        QTest::newRow("empty") << Text("");
        QTest::newRow("NUL") << QString(QChar(0));
        QTest::newRow("NUL behind") << Text("folder") + QChar(0);
        QTest::newRow("NUL within") << Text("folder") + QChar(0) + Text("/file");
    }
    void noPath()
    {
        QFETCH(QString, path);
        MakeEntries();
        const OrdinaryUser user;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(path), qint64(-1));
    }

    void askedOnceForThePathInUtf8()
    {
        MakeEntries();
        QByteArrayList asked;
        gAsked = &asked;
        QVERIFY(DiskSpace::GetFreeDiskSpace(Text("\xc3\xbc \xf0\x9f\x98\x80")) >= 0);
        QCOMPARE(asked, QByteArrayList{"\xc3\xbc \xf0\x9f\x98\x80"});
    }

    void figures_data()
    {
        QTest::addColumn<quint64>("blocks");
        QTest::addColumn<quint64>("fragment");
        QTest::addColumn<qint64>("bytes");
        QTest::newRow("full") << quint64(0) << quint64(4096) << qint64(0);
        QTest::newRow("last block") << quint64(1) << quint64(512) << qint64(512);
        QTest::newRow("31 bits") << quint64(0x80000) << quint64(4096) << qint64(0x80000000);
        QTest::newRow("blocks beyond 32 bits") << quint64(0x100000003) << quint64(4096) << qint64(0x100000003000);
        QTest::newRow("nearly 63 bits") << quint64(0x7FFFFFFFFFFFF) << quint64(4096) << qint64(0x7FFFFFFFFFFFF000);
        const qint64 most = std::numeric_limits<qint64>::max();
        QTest::newRow("63 bits") << quint64(0x8000000000000) << quint64(4096) << most;
        QTest::newRow("no end in blocks") << quint64(-1) << quint64(4096) << most;
        QTest::newRow("no fragments") << quint64(1000) << quint64(0) << qint64(0);
    }
    void figures()
    {
        QFETCH(quint64, blocks);
        QFETCH(quint64, fragment);
        QFETCH(qint64, bytes);
        gForged = true;
        gAnswer = {};
        gAnswer.f_bsize = 65536; // the preferred transfer size
        gAnswer.f_frsize = fragment;
        gAnswer.f_blocks = 0x7777777777777;
        gAnswer.f_bfree = blocks;
        gAnswer.f_bavail = blocks / 2; // without the blocks reserved for root
        gAnswer.f_files = 11;
        gAnswer.f_ffree = 5;
        gAnswer.f_favail = 3;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(Text(".")), bytes);
    }

    void volumeDoesNotTell()
    {
        gForged = true;
        gAnswer.f_bfree = 5;
        gAnswer.f_frsize = 4096;
        for (const int error : {EIO, ENOSYS, EACCES, EOVERFLOW}) {
            gError = error;
            QCOMPARE(DiskSpace::GetFreeDiskSpace(Text(".")), qint64(-1));
        }
    }

    void interruptionIsNoFailure()
    {
        gForged = true;
        gAnswer.f_bfree = 5;
        gAnswer.f_frsize = 4096;
        gInterruptions = 2;
        QByteArrayList asked;
        gAsked = &asked;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(Text(".")), qint64(20480));
        QCOMPARE(asked, (QByteArrayList{".", ".", "."}));
    }

    // If the process may mount one. Only the figures of a private volume are not changed by others.
    void ownVolume_data()
    {
        QTest::addColumn<QByteArray>("scenario");
        QTest::addColumn<QByteArray>("output");
        QTest::newRow("missing") << QByteArray("missingVolume") << QByteArray("0+-1 ");
        if (!TestSupport::RunScenario("mounting").IsOk())
            return;
        QTest::newRow("size") << QByteArray("volumeSize")
                              << QByteArray("256+0 256+0 256+0 256+0 256+0 256+0 0+-1 another outside\n");
        QTest::newRow("use") << QByteArray("volumeInUse")
                             << QByteArray("256+0 255+0 246+0 255+0 254+0 256+0 1+0 0+0 256+0 ");
    }
    void ownVolume()
    {
        QFETCH(QByteArray, scenario);
        QFETCH(QByteArray, output);
        const auto result = TestSupport::RunScenario(scenario.constData());
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStdout, output);
        QCOMPARE(QDir(result.iFolder.filePath(Text("volume"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList());
    }

private:
    static void MakeEntries()
    {
        for (const char* const folder : {"folder", "closed folder"})
            QVERIFY(QDir().mkdir(Text(folder)));
        for (const char* const file : {"folder/file", "\xc3\xbc \xf0\x9f\x98\x80", "closed file", "closed folder/file"})
            QVERIFY(Write(Text(file), 3));
        const std::pair<const char*, const char*> links[]
            = {{"folder/file", "link"}, {"folder", "folder link"}, {"nothing", "dangling"}};
        for (const auto& [target, name] : links)
            QCOMPARE(::symlink(target, name), 0);
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        OrdinaryUser::Own(QDir::currentPath());
        QCOMPARE(::chmod("closed file", 0), 0);
        QCOMPARE(::chmod("closed folder", 0), 0);
    }

    // Others write to the volume meanwhile: a result counts only if the figures are the same before and after it.
    static bool AgreesWithSystem(const QString& path, const QByteArray& reference)
    {
        for (int i = 0; i < 10000; ++i) {
            struct statvfs before = {};
            struct statvfs after = {};
            const bool isKnown = ::statvfs(reference.constData(), &before) == 0;
            const qint64 bytes = DiskSpace::GetFreeDiskSpace(path);
            if (!isKnown || ::statvfs(reference.constData(), &after) != 0)
                return false;
            if (before.f_bfree == after.f_bfree)
                return bytes == qint64(before.f_bfree * before.f_frsize);
        }
        return false;
    }
};

NEROLT_TEST_MAIN(tst_DiskSpace)

#include "tst_DiskSpace.moc"

#include "support/Framework.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtCore/QFile>

#include <cerrno>
#include <dlfcn.h>
#include <limits>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

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
        QTest::newRow("folder above, with a separator") << Text("%/folder/../");
        QTest::newRow("relative path") << Text("folder/file");
        QTest::newRow("beyond ASCII") << Text("%/\xc3\xbc \xf0\x9f\x98\x80");
        QTest::newRow("link") << Text("%/link");
        QTest::newRow("in a linked folder") << Text("%/folder link/file");
        QTest::newRow("pipe") << Text("%/pipe");
        QTest::newRow("file that may not be read") << Text("%/closed file");
    }
    void existingPath()
    {
        QFETCH(QString, path);
        MakeEntries();
        if (path.startsWith(QLatin1Char('%')))
            path.replace(0, 1, QDir::currentPath());
        QByteArrayList asked;
        gAsked = &asked;
        const OrdinaryUser user;
        QVERIFY(DiskSpace::GetFreeDiskSpace(path) >= 0);
        QCOMPARE(asked, QByteArrayList{path.toUtf8()});
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
        QTest::newRow("NUL behind") << Text("folder") + QChar(0);
    }
    void noPath()
    {
        QFETCH(QString, path);
        MakeEntries();
        const OrdinaryUser user;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(path), qint64(-1));
    }

    void figures_data()
    {
        QTest::addColumn<quint64>("blocks");
        QTest::addColumn<quint64>("fragment");
        QTest::addColumn<qint64>("bytes");
        QTest::newRow("full") << quint64(0) << quint64(4096) << qint64(0);
        QTest::newRow("last block") << quint64(1) << quint64(512) << qint64(512);
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

    void volumeThatDoesNotTellOrIsInterrupted()
    {
        gForged = true;
        gAnswer.f_bfree = 5;
        gAnswer.f_frsize = 4096;
        gError = EIO;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(Text(".")), qint64(-1));
        gError = 0;
        gInterruptions = 2;
        QByteArrayList asked;
        gAsked = &asked;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(Text(".")), qint64(20480));
        QCOMPARE(asked, (QByteArrayList{".", ".", "."}));
    }

private:
    static void MakeEntries()
    {
        for (const char* const folder : {"folder", "closed folder"})
            QVERIFY(QDir().mkdir(Text(folder)));
        for (const char* const file : {"folder/file", "\xc3\xbc \xf0\x9f\x98\x80", "closed file", "closed folder/file"})
            QVERIFY(QFile(Text(file)).open(QIODevice::WriteOnly));
        const std::pair<const char*, const char*> links[]
            = {{"folder/file", "link"}, {"folder", "folder link"}, {"nothing", "dangling"}};
        for (const auto& [target, name] : links)
            QCOMPARE(::symlink(target, name), 0);
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        OrdinaryUser::Own(QDir::currentPath());
        QCOMPARE(::chmod("closed file", 0), 0);
        QCOMPARE(::chmod("closed folder", 0), 0);
    }
};

NEROLT_TEST_MAIN(tst_DiskSpace)

#include "tst_DiskSpace.moc"

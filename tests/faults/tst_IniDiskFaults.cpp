#include "Mounts.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/syscall.h>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

constexpr int kKeys = 300;
const QString kGroup = QStringLiteral("A");
const QString kChanged = QStringLiteral("changed");

// --- Calls that fail

enum Call { kOpens, kReads, kWrites, kShortWrites, kLinks, kCalls };

// Decides whether a call of the kind fails. No call fails while this is empty.
std::function<bool(Call)> gFails;

bool Fails(Call call)
{
    return gFails && gFails(call);
}

int Open(const char* path, int flags)
{
    if (Fails(kOpens)) {
        errno = EIO;
        return -1;
    }
    return int(::syscall(SYS_openat, AT_FDCWD, path, flags, 0600));
}

// --- A file and its expected contents

QByteArray Value(int key)
{
    return "value " + QByteArray::number(key).repeated(20);
}

QByteArray KeyName(int key)
{
    return "key" + QByteArray::number(key).rightJustified(3, '0');
}

// Sections of thirty keys, and more than one of the framework's buffers.
QByteArray Text()
{
    QByteArray text;
    for (int key = 0; key < kKeys; ++key) {
        if (key % 30 == 0)
            text += (key > 0 ? "\n[" : "[") + QByteArray(1, char('A' + key / 30)) + "]\n";
        text += KeyName(key) + '=' + Value(key) + '\n';
    }
    return text;
}

void Put(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

int Fail(const char* what, qint64 number)
{
    std::fprintf(stderr, "%s %lld\n", what, number);
    return 1;
}

// The file with the change or without it, and nothing else.
bool IsWhole(const QByteArray& text)
{
    QByteArray rest = text;
    const auto at = rest.indexOf("changed=");
    if (at >= 0)
        rest.remove(at, rest.indexOf('\n', at) + 1 - at);
    return rest == Text();
}

QString Get(const IniFile& ini, const QString& key)
{
    QString value;
    ini.GetKeyValue(kGroup, key, value);
    return value;
}

// --- A disk that is nearly full

bool Fill(int leftKib)
{
    QFile filler(QStringLiteral("disk/filler"));
    const QByteArray page(1024, 'x');
    if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    while (filler.write(page) == page.size())
        continue;
    return filler.resize(filler.size() - leftKib * page.size());
}

const Scenario fullDisk("fullDisk", [](const QStringList& arguments) {
    const QString path = QStringLiteral("disk/settings.ini");
    QDir().mkdir(QStringLiteral("disk"));
    if (!Mounts::MakePrivate() || !Mounts::MountSmall("disk", 64))
        return Fail("mount", 0);
    Put(path, Text());
    SettingsIniFile whole;
    whole.ReadFile(path);
    whole.SetKeyValue(kGroup, kChanged, QStringLiteral("2"));
    if (!Fill(arguments.value(0).toInt()))
        return Fail("fill", 0);
    IniFile ini(path);
    ini.SetKeyValue(kGroup, kChanged, 1);
    if (LogText::Read(path) != Text())
        return Fail("IniFile left", LogText::Read(path).size());
    if (Get(ini, kChanged) != QLatin1String("1"))
        return Fail("the object lost its change", 0);
    const bool isWritten = whole.WriteFile(path);
    if (isWritten || LogText::Read(path) != Text())
        return Fail("SettingsIniFile left", LogText::Read(path).size());
    if (QDir(QStringLiteral("disk")).entryList(QDir::Files | QDir::Hidden).size() != 2)
        return Fail("files", 0);
    QFile::remove(QStringLiteral("disk/filler"));
    if (Get(ini, kChanged) != QLatin1String("1") || LogText::Read(path) != "[A]\nchanged=1\n" + Text().mid(4))
        return Fail("afterwards", LogText::Read(path).size());
    return whole.WriteFile(path) && LogText::Read(path) == "[A]\nchanged=2\n" + Text().mid(4) ? 0 : Fail("whole", 0);
});

// --- Calls that fail now and then, and each of them once

bool ChangeWith(const QString& path, bool isWhole, int value)
{
    if (!isWhole) {
        IniFile(path).SetKeyValue(kGroup, kChanged, value);
        return true;
    }
    SettingsIniFile ini;
    ini.SetKeyValue(kGroup, kChanged, value);
    return ini.WriteFile(path);
}

const Scenario nowAndThen("nowAndThen", [](const QStringList& arguments) {
    constexpr int kChanges = 150;
    constexpr int kPerCent = 2;
    const QString path = QStringLiteral("settings.ini");
    const auto failing = Call(arguments.value(0).toInt());
    Put(path, Text());
    QRandomGenerator random(20240611);
    int failures = 0;
    for (int i = 0; i < kChanges; ++i) {
        gFails = [&](Call call) {
            const bool fails = (failing == kCalls || call == failing) && random.bounded(100) < kPerCent;
            failures += fails;
            return fails;
        };
        const bool isWritten = ChangeWith(path, i % 2 == 1, i);
        gFails = nullptr;
        const QByteArray text = LogText::Read(path);
        if (!IsWhole(text))
            return Fail("not whole after change", i);
        if (i % 2 == 1 && isWritten && !text.contains("changed=" + QByteArray::number(i) + '\n'))
            return Fail("not written, and not said", i);
    }
    return failures > 0 ? 0 : Fail("no failures", failures);
});

// Returns whether the change got as far as that call.
bool FailOnce(Call failing, int which, const QString& path, bool isWhole)
{
    int count = 0;
    gFails = [&](Call call) { return call == failing && ++count == which; };
    ChangeWith(path, isWhole, 1);
    gFails = nullptr;
    return count >= which;
}

const Scenario eachOnce("eachOnce", [](const QStringList& arguments) {
    const auto failing = Call(arguments.value(0).toInt());
    for (const bool isWhole : {false, true}) {
        int which = 1;
        for (bool isReached = true; isReached; ++which) {
            const QString path = QStringLiteral("%1-%2.ini").arg(which).arg(int(isWhole));
            Put(path, Text());
            isReached = FailOnce(failing, which, path, isWhole);
            if (!IsWhole(LogText::Read(path)))
                return Fail("not whole without call", which);
        }
        if (which < 3)
            return Fail("calls", which);
    }
    return 0;
});

// A change that is alone in the framework's last buffer: the framework does not check whether that was written.
const Scenario lastWrite("lastWrite", [](const QStringList&) {
    constexpr int kBuffer = 16384;
    const QByteArray large(kBuffer - 10, 'x');
    const QString path = QStringLiteral("settings.ini");
    bool isReached = true;
    for (int which = 1; isReached; ++which) {
        Put(path, Text());
        SettingsIniFile ini;
        ini.SetKeyValue(QStringLiteral("Z"), QStringLiteral("k"), QString::fromLatin1(large));
        int count = 0;
        gFails = [&](Call call) { return call == kWrites && ++count == which; };
        const bool isWritten = ini.WriteFile(path);
        gFails = nullptr;
        isReached = count >= which;
        if (LogText::Read(path) != (isWritten ? Text() + "\n[Z]\nk=" + large + '\n' : Text()))
            return Fail("without write", which);
    }
    return 0;
});

// Reports what is in the file behind a link, however long the disk fails. There need not be hard links at all.
const Scenario atFirst("atFirst", [](const QStringList& arguments) {
    constexpr int kMost = 60;
    const auto failing = Call(arguments.value(0).toInt());
    for (int failures = 1; failures <= kMost; ++failures) {
        const QString path = QStringLiteral("%1.ini").arg(failures);
        QFile::link(QStringLiteral("behind-") + path, path);
        Put(path, Text());
        int count = 0;
        gFails = [&](Call call) { return call == failing && ++count <= failures; };
        const bool isWritten = ChangeWith(path, true, 1);
        gFails = nullptr;
        const QByteArray text = LogText::Read(path);
        if (text != (isWritten ? "[A]\nchanged=1\n" + Text().mid(4) : Text()))
            return Fail(isWritten ? "not written after failures" : "written after failures", failures);
        if (failing == kLinks && !isWritten)
            return Fail("no links", failures);
    }
    return 0;
});

} // namespace

extern "C" Q_DECL_EXPORT int open(const char* path, int flags, ...)
{
    return Open(path, flags);
}

extern "C" Q_DECL_EXPORT int open64(const char* path, int flags, ...)
{
    return Open(path, flags);
}

extern "C" Q_DECL_EXPORT ssize_t read(int file, void* bytes, size_t size)
{
    if (Fails(kReads)) {
        errno = EIO;
        return -1;
    }
    return ::syscall(SYS_read, file, bytes, size);
}

extern "C" Q_DECL_EXPORT ssize_t write(int file, const void* bytes, size_t size)
{
    if (Fails(kWrites)) {
        errno = ENOSPC;
        return -1;
    }
    static bool wasShort = false;
    if (wasShort) {
        wasShort = false;
        errno = ENOSPC;
        return -1;
    }
    wasShort = size > 1 && Fails(kShortWrites);
    return ::syscall(SYS_write, file, bytes, wasShort ? size / 2 : size);
}

extern "C" Q_DECL_EXPORT int link(const char* from, const char* to)
{
    if (Fails(kLinks)) {
        errno = EPERM;
        return -1;
    }
    return int(::syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

// An INI file gets its contents back when a change fails.
class tst_IniDiskFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDiskThatIsNearlyFull_data()
    {
        QTest::addColumn<int>("leftKib");
        if (!Mounts::AreAllowed())
            QTest::newRow("no mounts here") << -1;
        for (int leftKib = 0; leftKib <= 4 && Mounts::AreAllowed(); leftKib += 4)
            QTest::addRow("%d KiB left", leftKib) << leftKib;
    }
    void aDiskThatIsNearlyFull()
    {
        QFETCH(int, leftKib);
        if (leftKib < 0)
            return;
        const auto result = TestSupport::RunScenario("fullDisk", {QString::number(leftKib)});
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void callsThatFail_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<int>("call");
        const QStringList names{QStringLiteral("opens"), QStringLiteral("reads"), QStringLiteral("writes"),
                                QStringLiteral("short writes"), QStringLiteral("links")};
        for (int call = 0; call < names.size(); ++call) {
            QTest::addRow("now and then, %s", qPrintable(names[call])) << QStringLiteral("nowAndThen") << call;
            QTest::addRow("each once, %s", qPrintable(names[call])) << QStringLiteral("eachOnce") << call;
            QTest::addRow("at first, %s", qPrintable(names[call])) << QStringLiteral("atFirst") << call;
        }
        QTest::newRow("now and then, all") << QStringLiteral("nowAndThen") << int(kCalls);
        QTest::newRow("the last write") << QStringLiteral("lastWrite") << int(kWrites);
    }
    void callsThatFail()
    {
        QFETCH(QString, scenario);
        QFETCH(int, call);
        const auto result = TestSupport::RunScenario(scenario.toLatin1(), {QString::number(call)});
        QVERIFY2(result.IsOk(), result.Describe());
    }
};

NEROLT_TEST_MAIN(tst_IniDiskFaults)

#include "tst_IniDiskFaults.moc"

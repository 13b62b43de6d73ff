#include "support/TestMain.h"
#include "system/Host.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

namespace {

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

// The output of "file" for libraries and for other files. The first two come from macOS.
const char* const kUniversal
    = "/x: Mach-O universal binary with 2 architectures: [x86_64:Mach-O 64-bit dynamically linked shared library "
      "x86_64] [arm64:Mach-O 64-bit dynamically linked shared library arm64]\n"
      "/x (for architecture x86_64):\tMach-O 64-bit dynamically linked shared library x86_64\n"
      "/x (for architecture arm64):\tMach-O 64-bit dynamically linked shared library arm64";
const char* const kArm64e = "/x: Mach-O 64-bit dynamically linked shared library arm64e";
const char* const kElfIntel = "/x: ELF 64-bit LSB shared object, x86-64, version 1 (SYSV), dynamically linked";
const char* const kElfArm = "/x: ELF 64-bit LSB shared object, ARM aarch64, version 1 (SYSV), dynamically linked";
const char* const kElfArm32 = "/x: ELF 32-bit LSB shared object, ARM, EABI5 version 1 (SYSV), dynamically linked";
const char* const kElfIntel32 = "/x: ELF 32-bit LSB shared object, Intel 80386, version 1 (SYSV), dynamically linked";
const char* const kMissing = "/x: cannot open `/x' (No such file or directory)";

} // namespace

/// The words that depend on their input alone, macOS's on any host. For Linux's own processors see tst_Architecture.
class tst_HostWords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void macVersion()
    {
        const OSVersion version = {14, 2};
        int number = 6;
        for (const char* const old : {"10.4", "10.5", "10.6", "10.7", "10.8", "10.9"})
            QCOMPARE(HostWords::MacVersion(number++, version), Text(old));
        for (const int other : {-6, 0, 5, 12})
            QCOMPARE(HostWords::MacVersion(other, version), Text("14.2"));
    }

    void macProcessor()
    {
        QCOMPARE(HostWords::MacProcessor("arm64"), Text("intel_arm64"));
        QCOMPARE(HostWords::MacProcessor("x86_64"), Text("intel_x86_64"));
        QCOMPARE(HostWords::MacProcessor(nullptr), Text("intel_i386"));
    }

    void macCpu()
    {
        QCOMPARE(HostWords::MacCpu(0x0200000C), Text("arm"));
        QCOMPARE(HostWords::MacCpu(0x0100000C), Text("arm64"));
        QCOMPARE(HostWords::MacCpu(7), Text("x86_64"));
        for (const quint32 other : {0x01000007U, 0x0000000CU, 0x0300000CU, 0U, 0xFFFFFFFFU})
            QCOMPARE(HostWords::MacCpu(other), Text("Unknown"));
    }

    void buildArch_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("onMac");
        QTest::addColumn<QString>("onLinux");
        const auto row = [](const char* name, const char* output, const char* onMac, const char* onLinux) {
            QTest::newRow(name) << Text(output) << Text(onMac) << Text(onLinux);
        };
        row("universal", kUniversal, "Universal", "Universal");
        row("both words, ARM first", "arm64 x86_64", "Universal", "Universal");
        row("Intel", "/x: Mach-O 64-bit dynamically linked shared library x86_64h", "intelx64", "intelx64");
        row("ARM", "/x: Mach-O 64-bit dynamically linked shared library arm64", "arm64", "arm64");
        row("ARM with pointer authentication", kArm64e, "arm64", "arm64");
        row("32 bits", "/x: Mach-O dynamically linked shared library i386", "", "");
        row("ELF, Intel", kElfIntel, "", "intelx64");
        row("ELF, ARM", kElfArm, "", "arm64");
        row("ELF, ARM with 32 bits", kElfArm32, "", "");
        row("ELF, Intel with 32 bits", kElfIntel32, "", "");
        row("both words for ELF", "x86-64 ARM aarch64", "", "Universal");
        row("Intel, and ARM for ELF", "x86_64 ARM aarch64", "intelx64", "Universal");
        row("ARM, and Intel for ELF", "x86-64 arm64", "arm64", "Universal");
        row("ARM for ELF, only its second word", "aarch64", "", "");
        row("other case", "X86_64 X86-64 ARM64 arm aarch64", "", "");
        row("no such file", kMissing, "", "");
        row("empty", "", "", "");
    }
    void buildArch()
    {
        QFETCH(QString, output);
        QFETCH(QString, onMac);
        QFETCH(QString, onLinux);
        QCOMPARE(HostWords::MacBuildArch(output), onMac);
        QCOMPARE(HostWords::LinuxBuildArch(output), onLinux);
    }
};

NEROLT_TEST_MAIN(tst_HostWords)

#include "tst_HostWords.moc"

#include "support/TestMain.h"
#include "system/Host.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <limits>

namespace {

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

OSVersion Version(qint32 major, qint32 minor)
{
    OSVersion version;
    version.iMajor = major;
    version.iMinor = minor;
    return version;
}

// The output of "file" for libraries and for other files. The first two come from macOS.
const char* const kUniversal
    = "/A.app/Contents/PlugIns/libUIContentHost.dylib: Mach-O universal binary with 2 architectures: [x86_64:Mach-O "
      "64-bit dynamically linked shared library x86_64] [arm64:Mach-O 64-bit dynamically linked shared library arm64]\n"
      "/A.app/Contents/PlugIns/libUIContentHost.dylib (for architecture x86_64):\tMach-O 64-bit dynamically linked "
      "shared library x86_64\n"
      "/A.app/Contents/PlugIns/libUIContentHost.dylib (for architecture arm64):\tMach-O 64-bit dynamically linked "
      "shared library arm64";
const char* const kArm64e = "/x: Mach-O 64-bit dynamically linked shared library arm64e";
const char* const kElfIntel = "/x: ELF 64-bit LSB shared object, x86-64, version 1 (SYSV), dynamically linked";
const char* const kElfArm = "/x: ELF 64-bit LSB shared object, ARM aarch64, version 1 (SYSV), dynamically linked";
const char* const kElfArm32 = "/x: ELF 32-bit LSB shared object, ARM, EABI5 version 1 (SYSV), dynamically linked";
const char* const kElfIntel32 = "/x: ELF 32-bit LSB shared object, Intel 80386, version 1 (SYSV), dynamically linked";
const char* const kMissing = "/x: cannot open `/x' (No such file or directory)";

} // namespace

class tst_HostWords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void macVersion_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("10.4") << 6 << Text("10.4");
        QTest::newRow("10.5") << 7 << Text("10.5");
        QTest::newRow("10.6") << 8 << Text("10.6");
        QTest::newRow("10.7") << 9 << Text("10.7");
        QTest::newRow("10.8") << 10 << Text("10.8");
        QTest::newRow("10.9") << 11 << Text("10.9");
        QTest::newRow("before the first") << 5 << Text("14.2");
        QTest::newRow("after the last") << 12 << Text("14.2");
        QTest::newRow("none") << 0 << Text("14.2");
        QTest::newRow("unknown") << 1 << Text("14.2");
        QTest::newRow("negative") << -1 << Text("14.2");
        QTest::newRow("negative number of a version") << -6 << Text("14.2");
        QTest::newRow("same last byte") << 256 + 6 << Text("14.2");
        QTest::newRow("smallest") << std::numeric_limits<int>::min() << Text("14.2");
        QTest::newRow("largest") << std::numeric_limits<int>::max() << Text("14.2");
    }
    void macVersion()
    {
        QFETCH(int, number);
        QFETCH(QString, text);
        QCOMPARE(HostWords::MacVersion(number, Version(14, 2)), text);
    }

    void numbersOfAVersion_data()
    {
        QTest::addColumn<qint32>("major");
        QTest::addColumn<qint32>("minor");
        QTest::addColumn<QString>("text");
        QTest::newRow("two digits") << 10 << 15 << Text("10.15");
        QTest::newRow("one digit") << 6 << 1 << Text("6.1");
        QTest::newRow("zeros") << 0 << 0 << Text("0.0");
        QTest::newRow("no minor number") << 11 << 0 << Text("11.0");
        QTest::newRow("no separators of thousands") << 1234567 << 7654321 << Text("1234567.7654321");
        QTest::newRow("largest") << 2147483647 << 2147483647 << Text("2147483647.2147483647");
        QTest::newRow("negative") << -1 << -2 << Text("-1.-2");
    }
    void numbersOfAVersion()
    {
        QFETCH(qint32, major);
        QFETCH(qint32, minor);
        QFETCH(QString, text);
        QCOMPARE(HostWords::LinuxVersion(Version(major, minor)), text);
        QCOMPARE(HostWords::MacVersion(0, Version(major, minor)), text);
    }

    void macProcessor_data()
    {
        QTest::addColumn<QByteArray>("machine");
        QTest::addColumn<QString>("word");
        QTest::newRow("Apple") << QByteArray("arm64") << Text("intel_arm64");
        QTest::newRow("Intel") << QByteArray("x86_64") << Text("intel_x86_64");
        QTest::newRow("old Intel") << QByteArray("i386") << Text("intel_i386");
        QTest::newRow("unknown machine") << QByteArray("Power Macintosh") << Text("intel_Power Macintosh");
        QTest::newRow("no name from the system") << QByteArray() << Text("intel_i386");
        QTest::newRow("empty name") << QByteArray("") << Text("intel_");
        QTest::newRow("template marks") << QByteArray("%1%2") << Text("intel_%1%2");
    }
    void macProcessor()
    {
        QFETCH(QByteArray, machine);
        QFETCH(QString, word);
        QCOMPARE(HostWords::MacProcessor(machine.isNull() ? nullptr : machine.constData()), word);
    }

    void macCpu_data()
    {
        QTest::addColumn<quint32>("type");
        QTest::addColumn<QString>("word");
        const QString unknown = Text("Unknown");
        QTest::newRow("ARM, 32-bit pointers") << 0x0200000CU << Text("arm");
        QTest::newRow("ARM, 64 bits") << 0x0100000CU << Text("arm64");
        QTest::newRow("Intel") << 7U << Text("x86_64");
        QTest::newRow("below ARM with 32-bit pointers") << 0x0200000BU << unknown;
        QTest::newRow("above ARM with 32-bit pointers") << 0x0200000DU << unknown;
        QTest::newRow("below ARM with 64 bits") << 0x0100000BU << unknown;
        QTest::newRow("above ARM with 64 bits") << 0x0100000DU << unknown;
        QTest::newRow("below Intel") << 6U << unknown;
        QTest::newRow("above Intel") << 8U << unknown;
        QTest::newRow("Intel, 64 bits") << 0x01000007U << unknown;
        QTest::newRow("ARM, 32 bits") << 0x0000000CU << unknown;
        QTest::newRow("both bits") << 0x0300000CU << unknown;
        QTest::newRow("PowerPC") << 18U << unknown;
        QTest::newRow("zero") << 0U << unknown;
        QTest::newRow("any") << 0xFFFFFFFFU << unknown;
        QTest::newRow("highest bit and Intel") << 0x80000007U << unknown;
    }
    void macCpu()
    {
        QFETCH(quint32, type);
        QFETCH(QString, word);
        QCOMPARE(HostWords::MacCpu(type), word);
    }

    void linuxCpu_data()
    {
        QTest::addColumn<QByteArray>("machine");
        QTest::addColumn<QString>("word");
        const QString unknown = Text("Unknown");
        QTest::newRow("Intel") << QByteArray("x86_64") << Text("x86_64");
        QTest::newRow("ARM, 64 bits") << QByteArray("aarch64") << Text("arm64");
        QTest::newRow("ARM, 64 bits, other name") << QByteArray("arm64") << Text("arm64");
        QTest::newRow("ARM, 32 bits") << QByteArray("arm") << Text("arm");
        QTest::newRow("ARM 5") << QByteArray("armv5tel") << Text("arm");
        QTest::newRow("ARM 6") << QByteArray("armv6l") << Text("arm");
        QTest::newRow("ARM 7") << QByteArray("armv7l") << Text("arm");
        QTest::newRow("ARM 8, 32 bits") << QByteArray("armv8l") << Text("arm");
        QTest::newRow("Intel, 32 bits") << QByteArray("i686") << unknown;
        QTest::newRow("old Intel") << QByteArray("i386") << unknown;
        QTest::newRow("RISC-V") << QByteArray("riscv64") << unknown;
        QTest::newRow("PowerPC") << QByteArray("ppc64le") << unknown;
        QTest::newRow("mainframe") << QByteArray("s390x") << unknown;
        QTest::newRow("Intel in capitals") << QByteArray("X86_64") << unknown;
        QTest::newRow("Intel with more behind") << QByteArray("x86_64v3") << unknown;
        QTest::newRow("Intel with a hyphen") << QByteArray("x86-64") << unknown;
        QTest::newRow("ARM within a name") << QByteArray("alarm") << unknown;
        QTest::newRow("empty") << QByteArray("") << unknown;
    }
    void linuxCpu()
    {
        QFETCH(QByteArray, machine);
        QFETCH(QString, word);
        QCOMPARE(HostWords::LinuxCpu(machine.constData()), word);
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
        row("both words, Intel first", "x86_64 arm64", "Universal", "Universal");
        row("both words, ARM first", "arm64 x86_64", "Universal", "Universal");
        row("both words, nothing between", "arm64x86_64", "Universal", "Universal");
        row("Intel", "/x: Mach-O 64-bit dynamically linked shared library x86_64", "intelx64", "intelx64");
        row("ARM", "/x: Mach-O 64-bit dynamically linked shared library arm64", "arm64", "arm64");
        row("ARM with pointer authentication", kArm64e, "arm64", "arm64");
        row("Haswell slice", "/x: Mach-O 64-bit dynamically linked shared library x86_64h", "intelx64", "intelx64");
        row("32 bits", "/x: Mach-O dynamically linked shared library i386", "", "");
        row("ELF, Intel", kElfIntel, "", "intelx64");
        row("ELF, ARM", kElfArm, "", "arm64");
        row("ELF, ARM with 32 bits", kElfArm32, "", "");
        row("ELF, Intel with 32 bits", kElfIntel32, "", "");
        row("both words for ELF", "x86-64 ARM aarch64", "", "Universal");
        row("Intel, and ARM for ELF", "x86_64 ARM aarch64", "intelx64", "Universal");
        row("ARM, and Intel for ELF", "x86-64 arm64", "arm64", "Universal");
        row("Intel twice", "x86-64 x86_64", "intelx64", "intelx64");
        row("ARM twice", "ARM aarch64 arm64", "arm64", "arm64");
        row("ARM for ELF, only its second word", "aarch64", "", "");
        row("ARM for ELF, only its first word", "ARM", "", "");
        row("ARM for ELF, words apart", "ARM, aarch64", "", "");
        row("Intel in capitals", "X86_64", "", "");
        row("Intel for ELF in capitals", "X86-64", "", "");
        row("ARM in capitals", "ARM64", "", "");
        row("ARM for ELF in lower case", "arm aarch64", "", "");
        row("ARM for ELF in capitals", "ARM AARCH64", "", "");
        row("other separators", "x86 64 arm-64 arm_64 x64", "", "");
        row("words cut short", "x86_6 arm6", "", "");
        row("lines around", "\n\narm64\n\n", "arm64", "arm64");
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

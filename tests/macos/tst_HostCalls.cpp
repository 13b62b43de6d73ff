#include "system/Host.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QStringList>
#include <QtTest/QTest>

#include <cerrno>
#include <climits>
#include <cstring>
#include <sys/sysctl.h>
#include <sys/utsname.h>

namespace {

struct
{
    OSVersion iVersion;
    int iUnameResult = 0;
    QByteArray iMachine;
    int iSysctlResult = 0;
    quint32 iCpuType = 0;
    QStringList iCalls;
} gSystem;

} // namespace

OSVersion FileInfoMac::GetOSVersion()
{
    gSystem.iCalls.append(QStringLiteral("FileInfoMac::GetOSVersion"));
    return gSystem.iVersion;
}

// A failing call leaves misleading values.
extern "C" Q_DECL_EXPORT int uname(struct utsname* names) noexcept
{
    gSystem.iCalls.append(QStringLiteral("uname"));
    std::memset(names, 0, sizeof *names);
    std::strcpy(names->sysname, "Darwin");
    std::strcpy(names->nodename, "node");
    std::strcpy(names->release, "23.2.0");
    std::strcpy(names->version, "Darwin Kernel Version 23.2.0");
    std::strncpy(names->machine, gSystem.iMachine.constData(), sizeof names->machine - 1);
    return gSystem.iUnameResult;
}

int sysctlbyname(const char* name, void* value, std::size_t* size, void* newValue, std::size_t newSize)
{
    gSystem.iCalls.append(QStringLiteral("sysctlbyname(%1, %2 bytes, %3, %4)")
                              .arg(QLatin1String(name))
                              .arg(*size)
                              .arg(newValue ? QStringLiteral("set") : QStringLiteral("null"))
                              .arg(newSize));
    if (*size == sizeof gSystem.iCpuType)
        std::memcpy(value, &gSystem.iCpuType, sizeof gSystem.iCpuType);
    return gSystem.iSysctlResult;
}

class tst_HostCalls : public QObject
{
    Q_OBJECT

private slots:
    void init() { gSystem = {}; }

    void systemInfo_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("unameResult");
        QTest::addColumn<QByteArray>("machine");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("word");
        const QByteArray arm("arm64");
        const QString intelArm = QStringLiteral("intel_arm64");
        const QString intelOld = QStringLiteral("intel_i386");
        QTest::newRow("14.2 on an Apple processor") << 14 << 2 << 0 << arm << QStringLiteral("14.2") << intelArm;
        QTest::newRow("10.15 on Intel") << 10 << 15 << 0 << QByteArray("x86_64") << QStringLiteral("10.15")
                                        << QStringLiteral("intel_x86_64");
        QTest::newRow("10.10") << 10 << 10 << 0 << arm << QStringLiteral("10.10") << intelArm;
        QTest::newRow("11.0") << 11 << 0 << 0 << arm << QStringLiteral("11.0") << intelArm;
        QTest::newRow("unknown version") << 0 << 0 << 0 << arm << QStringLiteral("0.0") << intelArm;
        QTest::newRow("greatest") << INT_MAX << INT_MAX << 0 << arm << QStringLiteral("2147483647.2147483647")
                                  << intelArm;
        QTest::newRow("uname fails") << 14 << 2 << -1 << arm << QStringLiteral("14.2") << intelOld;
        QTest::newRow("empty machine") << 14 << 2 << 0 << QByteArray() << QStringLiteral("14.2")
                                       << QStringLiteral("intel_");
    }
    void systemInfo()
    {
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(int, unameResult);
        QFETCH(QByteArray, machine);
        gSystem.iVersion = {major, minor};
        gSystem.iUnameResult = unameResult;
        gSystem.iMachine = machine;
        QString osName = QStringLiteral("old"), osVersion = osName, processor = osName;
        Host::GetSystemInfo(osName, osVersion, processor);
        const QStringList calls = gSystem.iCalls;
        QCOMPARE(osName, QStringLiteral("MacOSX"));
        QTEST(osVersion, "version");
        QTEST(processor, "word");
        const QStringList expected{QStringLiteral("FileInfoMac::GetOSVersion"), QStringLiteral("uname")};
        QCOMPARE(calls, expected);
    }

    void cpu_data()
    {
        QTest::addColumn<int>("result");
        QTest::addColumn<quint32>("type");
        QTest::addColumn<QString>("word");
        const QString unknown = QStringLiteral("Unknown");
        QTest::newRow("64-bit Arm with short pointers") << 0 << quint32(0x0200000C) << QStringLiteral("arm");
        QTest::newRow("64-bit Arm") << 0 << quint32(0x0100000C) << QStringLiteral("arm64");
        QTest::newRow("Intel") << 0 << quint32(7) << QStringLiteral("x86_64");
        QTest::newRow("64-bit Intel") << 0 << quint32(0x01000007) << unknown;
        QTest::newRow("32-bit Arm") << 0 << quint32(12) << unknown;
        QTest::newRow("both widths of Arm") << 0 << quint32(0x0300000C) << unknown;
        QTest::newRow("swapped 64-bit Arm") << 0 << quint32(0x0C000001) << unknown;
        QTest::newRow("zero") << 0 << quint32(0) << unknown;
        QTest::newRow("-1, Intel left behind") << -1 << quint32(7) << unknown;
        QTest::newRow("-1, Arm left behind") << -1 << quint32(0x0100000C) << unknown;
        QTest::newRow("1, Arm left behind") << 1 << quint32(0x0200000C) << unknown;
    }
    void cpu()
    {
        QFETCH(int, result);
        QFETCH(quint32, type);
        gSystem.iSysctlResult = result;
        gSystem.iCpuType = type;
        QTEST(Host::CpuArchitecture(), "word");
        QCOMPARE(gSystem.iCalls, QStringList{QStringLiteral("sysctlbyname(hw.cputype, 4 bytes, null, 0)")});
    }

    void build_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("word");
        QTest::newRow("universal") << QStringLiteral("a: Mach-O universal binary with 2 architectures: "
                                                     "[x86_64:Mach-O 64-bit dynamically linked shared library x86_64] "
                                                     "[arm64]")
                                   << QStringLiteral("Universal");
        QTest::newRow("Intel") << QStringLiteral("a: Mach-O 64-bit dynamically linked shared library x86_64")
                               << QStringLiteral("intelx64");
        QTest::newRow("Arm") << QStringLiteral("a: Mach-O 64-bit dynamically linked shared library arm64")
                             << QStringLiteral("arm64");
        QTest::newRow("Arm with signed pointers")
            << QStringLiteral("a: Mach-O 64-bit dynamically linked shared library arm64e") << QStringLiteral("arm64");
        QTest::newRow("32-bit Intel") << QStringLiteral("a: Mach-O dynamically linked shared library i386")
                                      << QString();
        QTest::newRow("other case") << QStringLiteral("a: X86_64 ARM64") << QString();
        QTest::newRow("Linux on Intel") << QStringLiteral("a: ELF 64-bit LSB shared object, x86-64") << QString();
        QTest::newRow("Linux on Arm") << QStringLiteral("a: ELF 64-bit LSB shared object, ARM aarch64") << QString();
        QTest::newRow("empty") << QString() << QString();
    }
    void build()
    {
        QFETCH(QString, output);
        QTEST(Host::BuildArchitecture(output), "word");
        QCOMPARE(gSystem.iCalls, QStringList());
    }

    void graphicsScript_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("script");
        QTest::newRow("plain") << QStringLiteral("/Logs/graphics.log")
                               << QStringLiteral("system_profiler SPDisplaysDataType > \"/Logs/graphics.log\"");
        QTest::newRow("blanks and marks") << QStringLiteral("/a b/%1%2.log")
                                          << QStringLiteral("system_profiler SPDisplaysDataType > \"/a b/%1%2.log\"");
    }
    void graphicsScript()
    {
        QFETCH(QString, output);
        QTEST(Host::GraphicsScript(output), "script");
        QCOMPARE(gSystem.iCalls, QStringList());
    }
};

QTEST_APPLESS_MAIN(tst_HostCalls)

#include "tst_HostCalls.moc"

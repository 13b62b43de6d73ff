#include "InstalledHook.h"
#include "Replacement.h"
#include "module/SecondModule.h"
#include "support/TestMain.h"

#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>
#include <QtTest/QtTest>

#include <cstring>
#include <dlfcn.h>
#include <memory>

namespace {

template <typename Pointer>
QString FileThatHolds(Pointer pointer)
{
    void* address = nullptr;
    std::memcpy(&address, &pointer, sizeof address);
    Dl_info info = {};
    return ::dladdr(address, &info) != 0 ? QFileInfo(QFile::decodeName(info.dli_fname)).canonicalFilePath() : QString();
}

} // namespace

class tst_SecondModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        iLibrary.setFileName(QStringLiteral(SECOND_MODULE));
        const auto function = reinterpret_cast<SecondModuleFunction>(iLibrary.resolve("secondModule"));
        QVERIFY2(function, qPrintable(iLibrary.errorString()));
        iModule = function();
    }

    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        QVERIFY(!SystemConfig_sInstance());
        QVERIFY(!*iModule->iPointer);
    }

    // An instance clears the pointer of the module that made it. The other's is left, as in a process that ends.
    void cleanup()
    {
        iHook.reset();
        SystemConfig_sInstance() = nullptr;
        *iModule->iPointer = nullptr;
    }

    void theModuleHasACopyOfItsOwn()
    {
        const QString file = QFileInfo(QStringLiteral(SECOND_MODULE)).canonicalFilePath();
        QVERIFY(!file.isEmpty());
        QCOMPARE(FileThatHolds(iModule->iPointer), file);
        QCOMPARE(FileThatHolds(iModule->iGetInstance), file);
        QVERIFY(iModule->iPointer != &SystemConfig_sInstance());
        QVERIFY(FileThatHolds(&SystemConfig::GetInstance) != file);
        // What is not compiled into it comes from the library.
        QVERIFY(FileThatHolds(&HookedSingleton::InstallHook) != file);
        QVERIFY(FileThatHolds(iLibrary.resolve("secondModule")) == file);
    }

    void pointersAreSetOneByOne()
    {
        SystemConfig* const config = SystemConfig::GetInstance();
        QVERIFY(!*iModule->iPointer);
        QCOMPARE(iModule->iGetInstance(), config);
        QCOMPARE(*iModule->iPointer, config);
    }

    void findsTheFirstModulesInstance()
    {
        SystemConfig* const config = SystemConfig::GetInstance();
        QCOMPARE(iModule->iGetInstance(), config);
        QCOMPARE(iModule->iGetInstance(), config);
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(SystemConfig::GetInstance(), config);
    }

    void isFoundWhenItComesFirst()
    {
        SystemConfig* const config = iModule->iGetInstance();
        QVERIFY(config);
        QVERIFY(!SystemConfig_sInstance());
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(SystemConfig::GetInstance(), config);
        iHook.reset();
        QVERIFY(!*iModule->iPointer);
    }

    void oneSetsWhatTheOtherReads()
    {
        SystemConfig::SetTestPath(QStringLiteral("/first/"));
        QCOMPARE(iModule->iGetTestPath(), QStringLiteral("/first"));
        QCOMPARE(&iModule->iGetTestPath(), &SystemConfig::GetTestPath());
        QCOMPARE(iModule->iGetUserCachePath(), QStringLiteral("/first/cache"));
        iModule->iSetTestPath(QStringLiteral("/second"));
        QCOMPARE(SystemConfig::GetUserCachePath(), QStringLiteral("/second/cache"));
        iModule->iSetTestPath(QString());
        SystemConfig::SetDesktopFolders(QString(), QString(), QStringLiteral("/c"), QString());
        QCOMPARE(iModule->iGetUserCachePath(), QStringLiteral("/c"));
    }

    void bothTakeWhatTheHostPutsIn()
    {
        int destroyed = 0;
        SystemConfig* const replacement = new Replacement(destroyed);
        iHook->SetInstance(kName, replacement);
        QCOMPARE(iModule->iGetInstance(), replacement);
        QCOMPARE(SystemConfig::GetInstance(), replacement);
        iHook.reset();
        QCOMPARE(destroyed, 1);
    }

    void withoutTheSameEntryEachHasItsOwn()
    {
        SystemConfig* const config = SystemConfig::GetInstance();
        iHook->SetInstance(kName, nullptr);
        const std::unique_ptr<SystemConfig> own(iModule->iGetInstance());
        QVERIFY(own.get() != config);
        QCOMPARE(SystemConfig::GetInstance(), config);
        iHook->SetInstance(kName, config);
    }

private:
    QLibrary iLibrary;
    const SecondModule* iModule = nullptr;
    std::unique_ptr<InstalledHook> iHook;
};

NEROLT_TEST_MAIN(tst_SecondModule)

#include "tst_SecondModule.moc"

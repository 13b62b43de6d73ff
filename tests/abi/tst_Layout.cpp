#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logging.h>
#include <NeroltOrvaneBase/Settings.h>
#include <NeroltOrvaneBase/System.h>
#include <NeroltOrvaneBase/Threading.h>
#include <NeroltOrvaneBase/Util.h>

#include <QtCore/QMetaMethod>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <cstring>

namespace {

constexpr int kPointer = sizeof(void*);

/// The place of a virtual function in the table of its class. Compilers for all our platforms store it alike, some with
/// a bit beside it.
template <typename Function>
int Slot(Function function)
{
    std::intptr_t value = 0;
    std::memcpy(&value, &function, sizeof value);
    return int(value & ~std::intptr_t(1)) / kPointer;
}

/// Those that the class itself adds.
QList<QByteArray> MethodsOf(const QMetaObject& meta)
{
    QList<QByteArray> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        methods += (method.methodType() == QMetaMethod::Signal ? "signal " : "slot ") + method.methodSignature();
    }
    return methods;
}

} // namespace

/// What programs have compiled in: nothing here may change before the next major version.
class tst_Layout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void objectsKeepTheirSize_data();
    void objectsKeepTheirSize();
    void virtualFunctionsKeepTheirPlace();
    void enumerationsKeepTheirValues();
    void methodsKeepTheirNumbers();
};

// The framework's own classes have different sizes.
constexpr int Pointers(int withQt5, int withQt6)
{
    return QT_VERSION_MAJOR < 6 ? withQt5 : withQt6;
}

void tst_Layout::objectsKeepTheirSize_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("pointers");

    QTest::newRow("FileInfoMac") << int(sizeof(FileInfoMac)) << Pointers(1, 3);
    QTest::newRow("HookedSingleton") << int(sizeof(HookedSingleton)) << 1;
    QTest::newRow("IErrorReporter") << int(sizeof(IErrorReporter)) << 1;
    QTest::newRow("IIniFileBase") << int(sizeof(IIniFileBase)) << 1;
    QTest::newRow("IOrvaneInstance") << int(sizeof(IOrvaneInstance)) << 1;
    QTest::newRow("IniFile") << int(sizeof(IniFile)) << 2;
    QTest::newRow("IniString") << int(sizeof(IniString)) << Pointers(1, 3);
    QTest::newRow("Logger") << int(sizeof(Logger)) << Pointers(3, 5);
    QTest::newRow("LoggerAgent") << int(sizeof(LoggerAgent)) << Pointers(15, 27);
    QTest::newRow("LoggerWorker") << int(sizeof(LoggerWorker)) << Pointers(6, 10);
    QTest::newRow("OSVersion") << int(sizeof(OSVersion)) << 1;
    QTest::newRow("RTimerGarbageCollector") << int(sizeof(RTimerGarbageCollector)) << 2;
    QTest::newRow("RegisteredThread") << int(sizeof(RegisteredThread)) << Pointers(4, 6);
    QTest::newRow("RegisteredTimer") << int(sizeof(RegisteredTimer)) << int(sizeof(QTimer)) / kPointer;
    QTest::newRow("SettingsIniFile") << int(sizeof(SettingsIniFile)) << 3;
    QTest::newRow("SingletonHook") << int(sizeof(SingletonHook)) << 1;
    QTest::newRow("SystemConfig") << int(sizeof(SystemConfig)) << Pointers(8, 22);
    QTest::newRow("URLParameters") << int(sizeof(UrlQueryManager::URLParameters)) << Pointers(2, 6);
}

void tst_Layout::objectsKeepTheirSize()
{
    QFETCH(int, size);
    QFETCH(int, pointers);
    static_assert(kPointer == 8, "the sizes are those of machines with 64 bits");
    QCOMPARE(size, pointers * kPointer);
}

void tst_Layout::virtualFunctionsKeepTheirPlace()
{
    QCOMPARE(Slot(&IErrorReporter::ReportError), 0);
    // Two places for the destructor come first.
    QCOMPARE(Slot(&IIniFileBase::GetKeyValue), 2);
    QCOMPARE(Slot(&IIniFileBase::SetKeyValue), 3);
    QCOMPARE(Slot(&IIniFileBase::RemoveKey), 4);
    QCOMPARE(Slot(&IOrvaneInstance::Delete), 2);
}

void tst_Layout::enumerationsKeepTheirValues()
{
    QCOMPARE(int(LoggerDefs::Information), 1);
    QCOMPARE(int(LoggerDefs::Error), 2);
    QCOMPARE(int(LoggerDefs::Warning), 4);
    QCOMPARE(int(LoggerDefs::Trace), 8);
    QCOMPARE(int(LoggerDefs::Exception), 16);
    QCOMPARE(int(LoggerDefs::Debug), 32);
    QCOMPARE(int(LoggerDefs::NoExtraInfo), 0);
    QCOMPARE(int(LoggerDefs::SecondIntHex), 1);
    QCOMPARE(int(LoggerDefs::BothIntsHexDec), 2);
    QCOMPARE(int(LoggerDefs::FirstIntDec), 3);
    QCOMPARE(int(LoggerDefs::ExtraText), 4);
    QCOMPARE(int(LoggerDefs::TwoUIntsHex), 5);
    QCOMPARE(LoggerDefs::kLockedLevel, 255);
    QCOMPARE(int(FileTimeCreation), 0);
    QCOMPARE(int(FileTimeModification), 1);
    QCOMPARE(int(FileTimeWrite), 2);
}

void tst_Layout::methodsKeepTheirNumbers()
{
    const QList<QByteArray> agents{"signal logMessage(QByteArray)", "signal stopWorker(QByteArray)"};
    QCOMPARE(MethodsOf(LoggerAgent::staticMetaObject), agents);
    const QList<QByteArray> workers{"slot onStartWorker()", "slot onStopWorker(QByteArray)",
                                    "slot onLogMessage(QByteArray)", "slot onLog()"};
    QCOMPARE(MethodsOf(LoggerWorker::staticMetaObject), workers);
}

NEROLT_TEST_MAIN(tst_Layout)
#include "tst_Layout.moc"

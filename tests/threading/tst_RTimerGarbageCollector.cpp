#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RTimerGarbageCollector.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QChildEvent>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtTest/QtTest>

#include <memory>
#include <type_traits>

using TestSupport::Scenario;

class DerivedCollector : public RTimerGarbageCollector
{
    Q_OBJECT

public:
    using RTimerGarbageCollector::RTimerGarbageCollector;

protected:
    void childEvent(QChildEvent* event) override
    {
        if (event->added())
            Logger::LogDebug("DerivedCollector::childEvent", QStringLiteral("adopted"));
    }
};

namespace {

constexpr int kAllLevels = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Trace
    | LoggerDefs::Exception | LoggerDefs::Debug;
constexpr int kAnHour = 3600000;

void RunDeferredDeletions()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// The file contains exactly what is logged under the mask.
void WithLog(int mask, const std::function<void()>& action)
{
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::GetInstance()->SetLevel(mask);
    action();
    Logger::GetInstance()->SetLevel(0);
    Logger::StopLogging();
}

QList<QByteArray> LoggedBy(const char* scenario, int mask)
{
    const auto result = TestSupport::RunScenario(scenario, {QString::number(mask)});
    const QString path = result.iFolder.filePath(QStringLiteral("app.log"));
    if (!result.IsOk() || !QFile::exists(path))
        return {"failed: " + result.Describe()};
    return LogText::Bodies(LogText::Read(path));
}

std::unique_ptr<QTimer> Named(const char* name)
{
    auto timer = std::make_unique<QTimer>();
    timer->setObjectName(QLatin1String(name));
    return timer;
}

int AddTimers(const QStringList& arguments)
{
    WithLog(arguments[0].toInt(), [] {
        RTimerGarbageCollector collector(nullptr);
        collector.setObjectName(QStringLiteral("collector"));
        collector.AddTimer(Named("first").release());
        collector.AddTimer(Named("%1").release());
        collector.AddTimer(Named("").release());
        collector.AddTimer(nullptr);
        RunDeferredDeletions();
    });
    return 0;
}
const Scenario kAddTimers("AddTimers", AddTimers);

int AddTimerToDerived(const QStringList& arguments)
{
    WithLog(arguments[0].toInt(), [] {
        DerivedCollector collector(nullptr);
        collector.AddTimer(Named("first").release());
    });
    return 0;
}
const Scenario kAddTimerToDerived("AddTimerToDerived", AddTimerToDerived);

} // namespace

class tst_RTimerGarbageCollector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theClass()
    {
        using Class = RTimerGarbageCollector;
        static_assert(std::is_convertible_v<Class*, QObject*>);
        static_assert(std::is_constructible_v<Class, QObject*>);
        static_assert(!std::is_default_constructible_v<Class>);
        static_assert(std::has_virtual_destructor_v<Class>);
        static_assert(sizeof(Class) == sizeof(QObject));
        static_assert(std::is_same_v<decltype(&Class::AddTimer), void (Class::*)(QTimer*)>);
    }

    void theMetaObject()
    {
        const QMetaObject& meta = RTimerGarbageCollector::staticMetaObject;
        QCOMPARE(meta.className(), "RTimerGarbageCollector");
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
        QCOMPARE(meta.classInfoCount(), meta.classInfoOffset());
        QCOMPARE(meta.constructorCount(), 0);
        const RTimerGarbageCollector collector(nullptr);
        QCOMPARE(collector.metaObject(), &meta);
    }

    void theParent()
    {
        auto parent = std::make_unique<QObject>();
        const QPointer<RTimerGarbageCollector> collector = new RTimerGarbageCollector(parent.get());
        QCOMPARE(collector->parent(), parent.get());
        QVERIFY(collector->children().isEmpty());
        QCOMPARE(RTimerGarbageCollector(nullptr).parent(), nullptr);
        parent.reset();
        QVERIFY(!collector);
    }

    void itAdopts()
    {
        QObject before;
        RTimerGarbageCollector collector(nullptr);
        auto* const plain = new QTimer(&before);
        auto* const registered = new RegisteredTimer(nullptr);
        auto* const staying = new QTimer(&before);
        collector.AddTimer(plain);
        collector.AddTimer(registered);
        QCOMPARE(plain->parent(), &collector);
        QCOMPARE(registered->parent(), &collector);
        QCOMPARE(collector.children(), (QObjectList{plain, registered}));
        QCOMPARE(before.children(), QObjectList{staying});
    }

    void itNeitherStopsNorDisconnects()
    {
        RTimerGarbageCollector collector(nullptr);
        QTimer* const timer = Named("running").release();
        int fired = 0;
        connect(timer, &QTimer::timeout, [&fired] { ++fired; });
        timer->start(kAnHour);
        collector.AddTimer(timer);
        QVERIFY(timer->isActive());
        QMetaObject::invokeMethod(timer, "timeout");
        QCOMPARE(fired, 1);
    }

    void theEventLoopDeletes_data()
    {
        QTest::addColumn<bool>("hasParent");
        QTest::newRow("collector without a parent") << false;
        QTest::newRow("collector with a parent") << true;
    }
    void theEventLoopDeletes()
    {
        QFETCH(bool, hasParent);
        QObject parent;
        RTimerGarbageCollector collector(hasParent ? &parent : nullptr);
        QTimer other(&collector);
        const QPointer<QTimer> first = Named("first").release();
        const QPointer<QTimer> second = Named("second").release();
        collector.AddTimer(first);
        collector.AddTimer(second);
        QVERIFY(first && second);
        QTRY_VERIFY(!first && !second);
        QCOMPARE(collector.children(), QObjectList{&other});
    }

    void itsEndDeletes()
    {
        auto collector = std::make_unique<RTimerGarbageCollector>(nullptr);
        const QPointer<QTimer> first = Named("first").release();
        const QPointer<QTimer> second = Named("second").release();
        collector->AddTimer(first);
        collector->AddTimer(second);
        QVERIFY(first && second);
        collector.reset();
        QVERIFY(!first && !second);
        RunDeferredDeletions();
    }

    void aTimerTakenAwayIsDeletedAllTheSame()
    {
        QObject parent;
        QPointer<QTimer> timer = Named("first").release();
        {
            RTimerGarbageCollector collector(nullptr);
            collector.AddTimer(timer);
            timer->setParent(&parent);
        }
        QVERIFY(timer);
        RunDeferredDeletions();
        QVERIFY(!timer);
    }

    void theSameTimerTwice()
    {
        RTimerGarbageCollector collector(nullptr);
        const QPointer<QTimer> timer = Named("first").release();
        collector.AddTimer(timer);
        collector.AddTimer(timer);
        QCOMPARE(collector.children(), QObjectList{timer.data()});
        RunDeferredDeletions();
        QVERIFY(!timer);
    }

    void noTimer()
    {
        RTimerGarbageCollector collector(nullptr);
        collector.AddTimer(nullptr);
        QVERIFY(collector.children().isEmpty());
    }

    void theLog_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("isOn");
        QTest::newRow("debug only") << int(LoggerDefs::Debug) << true;
        QTest::newRow("all levels") << kAllLevels << true;
        QTest::newRow("all but debug") << (kAllLevels ^ LoggerDefs::Debug) << false;
        QTest::newRow("none") << 0 << false;
    }
    void theLog()
    {
        QFETCH(int, mask);
        QFETCH(bool, isOn);
        const QByteArray start = "|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector ";
        const QList<QByteArray> lines{start + "first", start + "%1", start};
        QCOMPARE(LoggedBy("AddTimers", mask), isOn ? lines : QList<QByteArray>());
    }

    void theLogOfADerivedClass()
    {
        QCOMPARE(LoggedBy("AddTimerToDerived", LoggerDefs::Debug),
                 (QList<QByteArray>{"|20|Debug|DerivedCollector::AddTimer|Adding timer to garbage collector first",
                                    "|20|Debug|DerivedCollector::childEvent|adopted"}));
    }
};

NEROLT_TEST_MAIN(tst_RTimerGarbageCollector)

#include "tst_RTimerGarbageCollector.moc"

#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/RTimerGarbageCollector.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QChildEvent>
#include <QtCore/QPointer>
#include <QtTest/QtTest>

#include <memory>

using LogScenario::LoggedBy;
using Lines = QList<QByteArray>;

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

constexpr int kAnHour = 3600000;

QTimer* Named(const char* name)
{
    auto timer = std::make_unique<QTimer>();
    timer->setObjectName(QLatin1String(name));
    return timer.release();
}

} // namespace

class tst_RTimerGarbageCollector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itAdopts()
    {
        QObject owner;
        QObject before;
        RTimerGarbageCollector collector(&owner);
        auto* const plain = new QTimer(&before);
        auto* const registered = new RegisteredTimer(nullptr);
        auto* const staying = new QTimer(&before);
        collector.AddTimer(plain);
        collector.AddTimer(registered);
        collector.AddTimer(nullptr);
        QCOMPARE(collector.parent(), &owner);
        QCOMPARE(collector.children(), (QObjectList{plain, registered}));
        QCOMPARE(before.children(), QObjectList{staying});
    }

    void itNeitherStopsNorDisconnects()
    {
        RTimerGarbageCollector collector(nullptr);
        QTimer* const timer = Named("running");
        int fired = 0;
        connect(timer, &QTimer::timeout, [&fired] { ++fired; });
        timer->start(kAnHour);
        collector.AddTimer(timer);
        QVERIFY(timer->isActive());
        QMetaObject::invokeMethod(timer, "timeout");
        QCOMPARE(fired, 1);
    }

    void theEventLoopDeletes()
    {
        RTimerGarbageCollector collector(nullptr);
        QTimer other(&collector);
        const QPointer<QTimer> timer = Named("first");
        collector.AddTimer(timer);
        collector.AddTimer(timer); // does no harm
        QVERIFY(timer);
        QTRY_VERIFY(!timer);
        QCOMPARE(collector.children(), QObjectList{&other});
    }

    void itsEndDeletes()
    {
        auto collector = std::make_unique<RTimerGarbageCollector>(nullptr);
        const QPointer<QTimer> timer = Named("first");
        collector->AddTimer(timer);
        collector.reset();
        QVERIFY(!timer);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void theLog_data() { LogScenario::AddMasks({LoggerDefs::Debug}); }
    void theLog()
    {
        QFETCH(int, mask);
        const QByteArray start = "|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector ";
        const auto add = [] {
            RTimerGarbageCollector collector(nullptr);
            for (const char* const name : {"first", "%1", ""})
                collector.AddTimer(Named(name));
            collector.AddTimer(nullptr);
        };
        QCOMPARE(LoggedBy(add, mask), LogScenario::Passing({start + "first", start + "%1", start}, mask));
    }

    void itLogsItsClassBeforeItAdopts()
    {
        const auto add = [] { DerivedCollector(nullptr).AddTimer(Named("first")); };
        QCOMPARE(LoggedBy(add),
                 (Lines{"|20|Debug|DerivedCollector::AddTimer|Adding timer to garbage collector first",
                        "|20|Debug|DerivedCollector::childEvent|adopted"}));
    }
};

NEROLT_TEST_MAIN(tst_RTimerGarbageCollector)

#include "tst_RTimerGarbageCollector.moc"

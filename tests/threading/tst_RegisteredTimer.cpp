#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QChildEvent>
#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <memory>

using LogScenario::LoggedBy;
using Lines = QList<QByteArray>;

// Records what happens to it, and can run a function when it is called or loses a child.
class Receiver : public QObject
{
    Q_OBJECT

public:
    using QObject::isSignalConnected;
    using QObject::QObject;

    int iFired = 0;
    const QThread* iFiredOn = nullptr;
    std::function<void()> iWhenFired;
    std::function<void(QObject*)> iWhenRemoved;

public Q_SLOTS:
    void fire()
    {
        ++iFired;
        iFiredOn = QThread::currentThread();
        if (iWhenFired)
            iWhenFired();
    }

Q_SIGNALS:
    void askedToStop();

protected:
    void childEvent(QChildEvent* event) override
    {
        if (event->removed() && iWhenRemoved)
            iWhenRemoved(event->child());
    }
};

// Logs its disconnection and its destruction.
class WatchedTimer : public RegisteredTimer
{
    Q_OBJECT

public:
    using RegisteredTimer::RegisteredTimer;
    ~WatchedTimer() override { Logger::LogDebug("destroyed", objectName()); }

    QString State() const { return isActive() ? QStringLiteral("active") : QStringLiteral("stopped"); }

protected:
    void disconnectNotify(const QMetaMethod&) override { Logger::LogDebug("cut", State()); }
};

namespace {

constexpr int kAnHour = 3600000;

template <typename Object>
Object* Named(const char* name, QObject* parent)
{
    auto* const object = new Object(parent);
    object->setObjectName(QLatin1String(name));
    return object;
}

void RunTheEventLoop()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

const QByteArray kEnter = "|25|Trace|RegisteredTimer::Cleanup|Enter.";

QByteArray Found(const QByteArray& parent, const QByteArray& func = "Cleanup")
{
    return "|20|Debug|RegisteredTimer::" + func + "|Cleanup registered timer, parent is " + parent;
}

QByteArray Added(const QByteArray& timer)
{
    return "|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector " + timer;
}

QByteArray Destroyed(const QByteArray& timer)
{
    return "|20|Debug|destroyed|" + timer;
}

void AddBooleans(const char* column, const char* no, const char* yes)
{
    QTest::addColumn<bool>(column);
    QTest::newRow(no) << false;
    QTest::newRow(yes) << true;
}

} // namespace

class tst_RegisteredTimer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itFiresOnceAndStays()
    {
        Receiver receiver;
        auto* const first = RegisteredTimer::singleShot(0, &receiver, SLOT(fire()));
        auto* const second = RegisteredTimer::singleShot(kAnHour, &receiver, SLOT(fire()));
        auto* const third = RegisteredTimer::singleShot(0, &receiver, SLOT(fire()));
        QCOMPARE(receiver.iFired, 0);
        QVERIFY(first->isActive() && first->isSingleShot());
        QTRY_COMPARE(receiver.iFired, 2);
        RunTheEventLoop();
        QCOMPARE(receiver.iFired, 2);
        QCOMPARE(receiver.children(), (QObjectList{first, second, third}));
        QVERIFY(!first->isActive() && second->isActive());
        QCOMPARE(second->interval(), kAnHour);
    }

    void itCallsOnTheReceiversThread()
    {
        Receiver receiver;
        auto* const timer = RegisteredTimer::singleShot(kAnHour, &receiver, SLOT(fire()));
        QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection);
        QCOMPARE(receiver.iFired, 1); // at once
        const std::unique_ptr<QThread> other(
            QThread::create([timer] { QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection); }));
        other->start();
        QVERIFY(other->wait());
        QCOMPARE(receiver.iFired, 1);
        QCoreApplication::processEvents();
        QCOMPARE(receiver.iFired, 2);
        QCOMPARE(receiver.iFiredOn, QThread::currentThread());
    }

    void cleanupOfATree_data() { AddBooleans("recursive", "flat", "recursive"); }
    void cleanupOfATree()
    {
        QFETCH(bool, recursive);
        Receiver parent;
        const QPointer<QTimer> fired = RegisteredTimer::singleShot(0, &parent, SLOT(fire()));
        QTRY_COMPARE(parent.iFired, 1);
        const QPointer<QTimer> due = RegisteredTimer::singleShot(0, &parent, SLOT(fire()));
        const QPointer<QTimer> idle = new WatchedTimer(&parent);
        auto* const plain = new QTimer(&parent);
        auto* const child = new QObject(&parent);
        auto* const plainBelow = new QTimer(child);
        for (QTimer* const timer : {plain, plainBelow})
            timer->start(kAnHour);
        const QPointer<QTimer> below = new RegisteredTimer(child);
        const QPointer<QTimer> underPlain = new RegisteredTimer(plain);
        const QPointer<QTimer> farBelow = new RegisteredTimer(new QObject(plainBelow));

        RegisteredTimer::Cleanup(&parent, recursive);

        QVERIFY(!fired && !due && !idle);
        QCOMPARE(parent.children(), (QObjectList{plain, child}));
        QVERIFY(plain->isActive() && plainBelow->isActive());
        QCOMPARE(below.isNull(), recursive);
        QCOMPARE(underPlain.isNull(), recursive);
        QCOMPARE(farBelow.isNull(), recursive);
        RunTheEventLoop();
        QCOMPARE(parent.iFired, 1);
    }

    void childrenThatMoveDoNotDisturb()
    {
        Receiver parent;
        QObject elsewhere;
        QPointer<RegisteredTimer> late;
        const QPointer<QTimer> first = new RegisteredTimer(&parent);
        const QPointer<QTimer> second = new RegisteredTimer(&parent);
        const QPointer<QTimer> third = new RegisteredTimer(&parent);
        parent.iWhenRemoved = [&](QObject* removed) {
            if (removed != first)
                return;
            late = new RegisteredTimer(&parent);
            second->setParent(&elsewhere);
        };
        RegisteredTimer::Cleanup(&parent, false);
        QVERIFY(!first && !second && !third);
        QCOMPARE(parent.children(), QObjectList{late.data()});
    }

    void cleanupTimer_data() { AddBooleans("registered", "plain timer that repeats", "registered timer"); }
    void cleanupTimer()
    {
        QFETCH(bool, registered);
        Receiver parent;
        auto* const before = RegisteredTimer::singleShot(kAnHour, &parent, SLOT(fire()));
        const QPointer<QTimer> timer = registered ? new RegisteredTimer(&parent) : new QTimer(&parent);
        connect(timer, SIGNAL(timeout()), &parent, SLOT(fire()));
        timer->start(0);
        const QPointer<QTimer> below = new RegisteredTimer(timer);
        auto* const after = RegisteredTimer::singleShot(kAnHour, &parent, SLOT(fire()));
        bool goneInTheSlot = false;
        parent.iWhenFired = [&] {
            RegisteredTimer::CleanupTimer(timer, &parent);
            goneInTheSlot = !timer && !below;
        };
        QTRY_COMPARE(parent.iFired, 1);
        RunTheEventLoop();
        QVERIFY(goneInTheSlot);
        QCOMPARE(parent.iFired, 1);
        QCOMPARE(parent.children(), (QObjectList{before, after}));
        QVERIFY(before->isActive() && after->isActive());
    }

    void cleanupTimerLeavesOthers_data() { AddBooleans("registered", "plain timer", "registered timer"); }
    void cleanupTimerLeavesOthers()
    {
        QFETCH(bool, registered);
        Receiver parent;
        QObject stranger;
        auto* const child = new QObject(&parent);
        QTimer* const timer = registered ? new RegisteredTimer(child) : new QTimer(child);
        QTimer orphan;
        connect(timer, SIGNAL(timeout()), &parent, SLOT(fire()));
        timer->start(kAnHour);
        orphan.start(kAnHour);
        const Lines lines = LoggedBy([&] {
            for (QObject* const notItsParent :
                 {static_cast<QObject*>(&parent), &stranger, static_cast<QObject*>(timer)})
                RegisteredTimer::CleanupTimer(timer, notItsParent);
            RegisteredTimer::CleanupTimer(timer, nullptr);
            RegisteredTimer::CleanupTimer(nullptr, child);
            RegisteredTimer::CleanupTimer(nullptr, nullptr);
            RegisteredTimer::CleanupTimer(&orphan, nullptr);
        });
        QCOMPARE(lines, Lines());
        QVERIFY(timer->isActive() && orphan.isActive());
        QCOMPARE(child->children(), QObjectList{timer});
        QMetaObject::invokeMethod(timer, "timeout");
        QCOMPARE(parent.iFired, 1);
    }

    void logOfCleanup_data() { LogScenario::AddMasks({LoggerDefs::Trace, LoggerDefs::Debug}); }
    void logOfCleanup()
    {
        QFETCH(int, mask);
        const auto clean = [](bool recursive) {
            QObject root;
            root.setObjectName(QStringLiteral("root"));
            Named<WatchedTimer>("%1", &root);
            auto* const child = Named<QObject>("child", &root);
            Named<WatchedTimer>("c", child);
            Named<WatchedTimer>("i", Named<QTimer>("inner", child));
            Named<QObject>("leaf", child);
            Named<WatchedTimer>("2.1", Named<WatchedTimer>("2", &root));
            RegisteredTimer::Cleanup(&root, recursive);
            Logger::GetInstance()->SetLevel(0);
        };
        const Lines flat{kEnter,     Found("root"),   Added("%1"),    Found("root"),
                         Added("2"), Destroyed("%1"), Destroyed("2"), Destroyed("2.1")};
        QCOMPARE(LoggedBy([&] { clean(false); }, mask), LogScenario::Passing(flat, mask));
        const Lines deep{
            kEnter,          Found("root"),  Added("%1"), // root
            kEnter,          Found("child"), Added("c"), // child
            kEnter,          Found("inner"), Added("i"),       Destroyed("i"), // inner
            kEnter, // leaf
            Destroyed("c"), // child's end
            Found("root"),   Added("2"), // root
            Destroyed("%1"), Destroyed("2"), Destroyed("2.1"), // root's end
        };
        QCOMPARE(LoggedBy([&] { clean(true); }, mask), LogScenario::Passing(deep, mask));
        QCOMPARE(LoggedBy([] { RegisteredTimer::Cleanup(nullptr, true); }, mask), LogScenario::Passing({kEnter}, mask));
    }

    void theSteps_data() { AddBooleans("one", "Cleanup", "CleanupTimer"); }
    void theSteps()
    {
        QFETCH(bool, one);
        Receiver parent;
        Receiver stranger;
        parent.setObjectName(QStringLiteral("%1 parent"));
        auto* const timer = Named<WatchedTimer>("timer", &parent);
        bool saidFarewell = false;
        bool wasReceiver = false;
        connect(timer, SIGNAL(timeout()), &parent, SLOT(fire()));
        connect(timer, &QObject::destroyed, [&saidFarewell] { saidFarewell = true; });
        connect(&stranger, &Receiver::askedToStop, timer, &QTimer::stop);
        timer->start(kAnHour);
        parent.iWhenRemoved = [&](QObject*) {
            Logger::LogDebug("removed", timer->State());
            wasReceiver = stranger.isSignalConnected(QMetaMethod::fromSignal(&Receiver::askedToStop));
        };
        const auto clean = [&] {
            if (one)
                RegisteredTimer::CleanupTimer(timer, &parent);
            else
                RegisteredTimer::Cleanup(&parent, false);
        };
        QCOMPARE(LoggedBy(clean, LoggerDefs::Debug),
                 (Lines{Found("%1 parent", one ? "CleanupTimer" : "Cleanup"), "|20|Debug|cut|active", Added("timer"),
                        "|20|Debug|removed|stopped", Destroyed("timer")}));
        QVERIFY(wasReceiver);
        QVERIFY(!saidFarewell);
        const auto plain = [&] { RegisteredTimer::CleanupTimer(new QTimer(&parent), &parent); };
        parent.iWhenRemoved = nullptr;
        QCOMPARE(LoggedBy(plain, LogScenario::kAllLevels ^ LoggerDefs::Debug), Lines());
    }
};

NEROLT_TEST_MAIN(tst_RegisteredTimer)

#include "tst_RegisteredTimer.moc"

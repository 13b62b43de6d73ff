#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QChildEvent>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <memory>
#include <type_traits>

using TestSupport::Scenario;

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

// Records when it is removed from its parent and when it is destroyed.
class WatchedTimer : public RegisteredTimer
{
    Q_OBJECT

public:
    using RegisteredTimer::RegisteredTimer;
    ~WatchedTimer() override
    {
        if (iWhenDestroyed)
            iWhenDestroyed();
    }

    bool IsConnected() const { return receivers(SIGNAL(timeout())) != 0; }

    std::function<void()> iWhenCut;
    std::function<void()> iWhenDestroyed;

protected:
    void disconnectNotify(const QMetaMethod&) override
    {
        if (iWhenCut)
            iWhenCut();
    }
};

namespace {

constexpr int kAllLevels = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Trace
    | LoggerDefs::Exception | LoggerDefs::Debug;
constexpr int kAnHour = 3600000;

template <typename Object>
Object* Named(const char* name, QObject* parent)
{
    auto* const object = new Object(parent);
    object->setObjectName(QLatin1String(name));
    return object;
}

// A timer that logs its destruction.
WatchedTimer* NewWatched(const char* name, QObject* parent)
{
    auto* const timer = Named<WatchedTimer>(name, parent);
    timer->iWhenDestroyed = [timer] { Logger::LogDebug("destroyed", timer->objectName()); };
    return timer;
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

QList<QByteArray> LoggedBy(const char* scenario, const QStringList& arguments)
{
    const auto result = TestSupport::RunScenario(scenario, arguments);
    const QString path = result.iFolder.filePath(QStringLiteral("app.log"));
    if (!result.IsOk() || !QFile::exists(path))
        return {"failed: " + result.Describe()};
    return LogText::Bodies(LogText::Read(path));
}

const QByteArray kEnter = "|25|Trace|RegisteredTimer::Cleanup|Enter.";

QByteArray Found(const char* parent, const char* func = "Cleanup")
{
    return QByteArray("|20|Debug|RegisteredTimer::") + func + "|Cleanup registered timer, parent is " + parent;
}

QByteArray Added(const char* timer)
{
    return QByteArray("|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector ") + timer;
}

QByteArray Destroyed(const char* timer)
{
    return QByteArray("|20|Debug|destroyed|") + timer;
}

QList<QByteArray> OfLevels(const QList<QByteArray>& lines, int mask)
{
    QList<QByteArray> left;
    for (const QByteArray& line : lines) {
        if (mask & (line.startsWith("|25|") ? LoggerDefs::Trace : LoggerDefs::Debug))
            left += line;
    }
    return left;
}

void AddMaskRows()
{
    QTest::addColumn<int>("mask");
    QTest::newRow("trace only") << int(LoggerDefs::Trace);
    QTest::newRow("debug only") << int(LoggerDefs::Debug);
    QTest::newRow("trace and debug") << (LoggerDefs::Trace | LoggerDefs::Debug);
    QTest::newRow("all levels") << kAllLevels;
    QTest::newRow("all but trace and debug") << (kAllLevels ^ LoggerDefs::Trace ^ LoggerDefs::Debug);
}

// root has the timers "1" and "2" ("2" with a timer inside), a plain timer with a timer of its own, and a child with a
// timer and a leaf.
void PlantTree(QObject* root)
{
    root->setObjectName(QStringLiteral("root"));
    NewWatched("1", root);
    auto* const child = Named<QObject>("child", root);
    NewWatched("c", child);
    auto* const inner = Named<QTimer>("inner", child);
    NewWatched("i", inner);
    Named<QObject>("leaf", child);
    auto* const second = NewWatched("2", root);
    NewWatched("2.1", second);
    auto* const plain = Named<QTimer>("plain", root);
    NewWatched("p", plain);
}

// Arguments: mask, "deep" or "flat".
int CleanTree(const QStringList& arguments)
{
    QObject root;
    PlantTree(&root);
    WithLog(arguments[0].toInt(), [&] { RegisteredTimer::Cleanup(&root, arguments[1] == QLatin1String("deep")); });
    return 0;
}
const Scenario kCleanTree("CleanTree", CleanTree);

// Arguments: mask, what to call, with which null.
int CleanNothing(const QStringList& arguments)
{
    Receiver parent;
    const QPointer<RegisteredTimer> timer = Named<RegisteredTimer>("timer", &parent);
    RegisteredTimer orphan(nullptr);
    QObject stranger;
    const QPointer<QTimer> elsewhere = Named<QTimer>("elsewhere", Named<QObject>("child", &parent));
    const QString& call = arguments[1];
    WithLog(arguments[0].toInt(), [&] {
        if (call == QLatin1String("Cleanup null"))
            RegisteredTimer::Cleanup(nullptr, false);
        else if (call == QLatin1String("Cleanup null, deep"))
            RegisteredTimer::Cleanup(nullptr, true);
        else if (call == QLatin1String("Cleanup childless"))
            RegisteredTimer::Cleanup(&stranger, true);
        else if (call == QLatin1String("CleanupTimer"))
            RegisteredTimer::CleanupTimer(timer, nullptr);
        else if (call == QLatin1String("CleanupTimer orphan"))
            RegisteredTimer::CleanupTimer(&orphan, nullptr);
        else if (call == QLatin1String("CleanupTimer null"))
            RegisteredTimer::CleanupTimer(nullptr, &parent);
        else if (call == QLatin1String("CleanupTimer nulls"))
            RegisteredTimer::CleanupTimer(nullptr, nullptr);
        else if (call == QLatin1String("CleanupTimer stranger"))
            RegisteredTimer::CleanupTimer(timer, &stranger);
        else if (call == QLatin1String("CleanupTimer grandchild"))
            RegisteredTimer::CleanupTimer(elsewhere, &parent);
        else if (call == QLatin1String("CleanupTimer itself"))
            RegisteredTimer::CleanupTimer(timer, timer);
        else if (call == QLatin1String("construct"))
            delete new RegisteredTimer(&parent);
        else if (call == QLatin1String("singleShot"))
            delete RegisteredTimer::singleShot(0, &parent, SLOT(fire()));
    });
    return timer && elsewhere && orphan.parent() == nullptr ? 0 : 1;
}
const Scenario kCleanNothing("CleanNothing", CleanNothing);

// Arguments: mask, name of the parent, name and class of the timer.
int CleanOneTimer(const QStringList& arguments)
{
    QObject parent;
    parent.setObjectName(arguments[1]);
    Named<QObject>("object", &parent);
    NewWatched("before", &parent);
    QTimer* const timer = arguments[3] == QLatin1String("QTimer") ? new QTimer(&parent) : NewWatched("timer", &parent);
    timer->setObjectName(arguments[2]);
    NewWatched("after", &parent);
    WithLog(arguments[0].toInt(), [&] { RegisteredTimer::CleanupTimer(timer, &parent); });
    return parent.children().size() == 3 ? 0 : 1;
}
const Scenario kCleanOneTimer("CleanOneTimer", CleanOneTimer);

// Arguments: the operation.
int CleanStepByStep(const QStringList& arguments)
{
    Receiver parent(nullptr);
    parent.setObjectName(QStringLiteral("parent"));
    auto* const timer = NewWatched("timer", &parent);
    QObject::connect(timer, SIGNAL(timeout()), &parent, SLOT(fire()));
    timer->start(kAnHour);
    timer->iWhenCut = [timer] {
        Logger::LogDebug("cut", timer->isActive() ? QStringLiteral("active") : QStringLiteral("stopped"));
    };
    parent.iWhenRemoved = [timer](QObject*) {
        Logger::LogDebug("removed", timer->isActive() ? QStringLiteral("active") : QStringLiteral("stopped"));
    };
    WithLog(LoggerDefs::Debug, [&] {
        if (arguments[0] == QLatin1String("Cleanup"))
            RegisteredTimer::Cleanup(&parent, false);
        else
            RegisteredTimer::CleanupTimer(timer, &parent);
        Logger::LogDebug("returned", QString());
    });
    return 0;
}
const Scenario kCleanStepByStep("CleanStepByStep", CleanStepByStep);

} // namespace

class tst_RegisteredTimer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theClass()
    {
        using Class = RegisteredTimer;
        static_assert(std::is_convertible_v<Class*, QTimer*>);
        static_assert(std::is_constructible_v<Class, QObject*>);
        static_assert(!std::is_default_constructible_v<Class>);
        static_assert(std::has_virtual_destructor_v<Class>);
        static_assert(sizeof(Class) == sizeof(QTimer));
        static_assert(std::is_same_v<decltype(&Class::singleShot), Class* (*)(int, QObject*, const char*)>);
        static_assert(std::is_same_v<decltype(&Class::Cleanup), void (*)(QObject*, bool)>);
        static_assert(std::is_same_v<decltype(&Class::CleanupTimer), void (*)(QTimer*, QObject*)>);
    }

    void theMetaObject()
    {
        const QMetaObject& meta = RegisteredTimer::staticMetaObject;
        QCOMPARE(meta.className(), "RegisteredTimer");
        QCOMPARE(meta.superClass(), &QTimer::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
        QCOMPARE(meta.classInfoCount(), meta.classInfoOffset());
        QCOMPARE(meta.constructorCount(), 0);
        const RegisteredTimer timer(nullptr);
        QCOMPARE(timer.metaObject(), &meta);
    }

    void theNewTimer()
    {
        QObject parent;
        const RegisteredTimer timer(&parent);
        QCOMPARE(timer.parent(), &parent);
        const QTimer plain;
        QCOMPARE(timer.isActive(), plain.isActive());
        QCOMPARE(timer.isSingleShot(), plain.isSingleShot());
        QCOMPARE(timer.interval(), plain.interval());
        QCOMPARE(timer.timerType(), plain.timerType());
        QCOMPARE(timer.objectName(), QString());
        QCOMPARE(RegisteredTimer(nullptr).parent(), nullptr);
    }

    void theArmedTimer()
    {
        Receiver receiver;
        const QTimer* const timer = RegisteredTimer::singleShot(kAnHour, &receiver, SLOT(fire()));
        QCOMPARE(timer->metaObject(), &RegisteredTimer::staticMetaObject);
        QCOMPARE(receiver.children(), QObjectList{const_cast<QTimer*>(timer)});
        QVERIFY(timer->isSingleShot());
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), kAnHour);
        QCOMPARE(timer->timerType(), QTimer().timerType());
        QCOMPARE(timer->objectName(), QString());
        QCOMPARE(receiver.iFired, 0);
    }

    void eachCallMakesATimer()
    {
        Receiver receiver;
        auto* const first = RegisteredTimer::singleShot(0, &receiver, SLOT(fire()));
        auto* const second = RegisteredTimer::singleShot(kAnHour, &receiver, SLOT(fire()));
        auto* const third = RegisteredTimer::singleShot(0, &receiver, SLOT(fire()));
        QCOMPARE(receiver.children(), (QObjectList{first, second, third}));
        QTRY_COMPARE(receiver.iFired, 2);
        QCOMPARE(receiver.children(), (QObjectList{first, second, third}));
        QVERIFY(second->isActive());
    }

    void itFiresOnceAndStays_data()
    {
        QTest::addColumn<int>("msecs");
        QTest::newRow("at once") << 0;
        QTest::newRow("later") << 5;
    }
    void itFiresOnceAndStays()
    {
        QFETCH(int, msecs);
        Receiver receiver;
        auto* const timer = RegisteredTimer::singleShot(msecs, &receiver, SLOT(fire()));
        QCOMPARE(receiver.iFired, 0);
        QTRY_COMPARE(receiver.iFired, 1);
        QVERIFY(!timer->isActive());
        QCOMPARE(receiver.children(), QObjectList{timer});
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(receiver.iFired, 1);
        QCOMPARE(receiver.children(), QObjectList{timer});
    }

    void itCallsAtOnceOnTheReceiversThread()
    {
        Receiver receiver;
        auto* const timer = RegisteredTimer::singleShot(kAnHour, &receiver, SLOT(fire()));
        QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection);
        QCOMPARE(receiver.iFired, 1);
        QCOMPARE(receiver.iFiredOn, QThread::currentThread());
    }

    void itCallsByTheEventLoopFromAnotherThread()
    {
        Receiver receiver;
        auto* const timer = RegisteredTimer::singleShot(kAnHour, &receiver, SLOT(fire()));
        const std::unique_ptr<QThread> other(
            QThread::create([timer] { QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection); }));
        other->start();
        QVERIFY(other->wait());
        QCOMPARE(receiver.iFired, 0);
        QCoreApplication::processEvents();
        QCOMPARE(receiver.iFired, 1);
        QCOMPARE(receiver.iFiredOn, QThread::currentThread());
    }

    void theReceiversEndDeletesIt()
    {
        auto receiver = std::make_unique<Receiver>();
        const QPointer<QTimer> pending = RegisteredTimer::singleShot(kAnHour, receiver.get(), SLOT(fire()));
        const QPointer<QTimer> fired = RegisteredTimer::singleShot(0, receiver.get(), SLOT(fire()));
        QTRY_COMPARE(receiver->iFired, 1);
        receiver.reset();
        QVERIFY(!pending && !fired);
    }

    void deletionByCleanup_data()
    {
        QTest::addColumn<bool>("recursive");
        QTest::newRow("flat") << false;
        QTest::newRow("recursive") << true;
    }
    void deletionByCleanup()
    {
        QFETCH(bool, recursive);
        Receiver parent;
        const QPointer<QTimer> fired = RegisteredTimer::singleShot(0, &parent, SLOT(fire()));
        QTRY_COMPARE(parent.iFired, 1);
        const QPointer<QTimer> due = RegisteredTimer::singleShot(0, &parent, SLOT(fire()));
        const QPointer<QTimer> pending = RegisteredTimer::singleShot(kAnHour, &parent, SLOT(fire()));
        const QPointer<QTimer> idle = new WatchedTimer(&parent);
        auto* const plain = new QTimer(&parent);
        plain->start(kAnHour);
        auto* const child = new QObject(&parent);
        auto* const plainBelow = new QTimer(child);
        plainBelow->start(kAnHour);
        const QPointer<QTimer> below = new RegisteredTimer(child);
        const QPointer<QTimer> underPlain = new RegisteredTimer(plain);
        const QPointer<QTimer> farBelow = new RegisteredTimer(new QObject(plainBelow));

        RegisteredTimer::Cleanup(&parent, recursive);

        QVERIFY(!fired && !due && !pending && !idle);
        QCOMPARE(parent.children(), (QObjectList{plain, child}));
        QVERIFY(plain->isActive() && plainBelow->isActive());
        QCOMPARE(below.isNull(), recursive);
        QCOMPARE(underPlain.isNull(), recursive);
        QCOMPARE(farBelow.isNull(), recursive);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        QCOMPARE(parent.iFired, 1);
    }

    void cleanupLeavesTheParentItself()
    {
        Receiver owner;
        auto* const parent = RegisteredTimer::singleShot(kAnHour, &owner, SLOT(fire()));
        const QPointer<QTimer> inside = new RegisteredTimer(parent);
        RegisteredTimer::Cleanup(parent, true);
        QVERIFY(!inside);
        QVERIFY(parent->isActive());
        QCOMPARE(owner.children(), QObjectList{parent});
    }

    void cleanupOnAnotherThread()
    {
        QThread thread;
        thread.start();
        auto parent = std::make_unique<Receiver>();
        parent->moveToThread(&thread);
        bool gone = false;
        QMetaObject::invokeMethod(
            parent.get(),
            [&] {
                const QPointer<QTimer> pending = RegisteredTimer::singleShot(0, parent.get(), SLOT(fire()));
                RegisteredTimer::Cleanup(parent.get(), false);
                gone = pending.isNull();
                parent->moveToThread(nullptr);
            },
            Qt::BlockingQueuedConnection);
        thread.quit();
        QVERIFY(thread.wait());
        QVERIFY(gone);
        QCOMPARE(parent->iFired, 0);
    }

    void connectionsOfTheTimerAreCut_data()
    {
        QTest::addColumn<bool>("one");
        QTest::newRow("Cleanup") << false;
        QTest::newRow("CleanupTimer") << true;
    }
    void connectionsOfTheTimerAreCut()
    {
        QFETCH(bool, one);
        Receiver parent;
        Receiver stranger;
        auto* const timer = new WatchedTimer(&parent);
        int destroyed = 0;
        connect(timer, SIGNAL(timeout()), &parent, SLOT(fire()));
        connect(timer, &QTimer::timeout, &stranger, &Receiver::fire);
        connect(timer, &QObject::destroyed, [&destroyed] { ++destroyed; });
        connect(&stranger, &Receiver::askedToStop, timer, &QTimer::stop);
        timer->start(kAnHour);
        bool wasActiveWhenCut = false;
        bool wasActive = true;
        bool wasConnected = true;
        bool wasReceiver = false;
        timer->iWhenCut = [&] { wasActiveWhenCut = timer->isActive(); };
        parent.iWhenRemoved = [&](QObject*) {
            wasActive = timer->isActive();
            wasConnected = timer->IsConnected();
            wasReceiver = stranger.isSignalConnected(QMetaMethod::fromSignal(&Receiver::askedToStop));
        };
        if (one)
            RegisteredTimer::CleanupTimer(timer, &parent);
        else
            RegisteredTimer::Cleanup(&parent, false);
        QVERIFY(wasActiveWhenCut);
        QVERIFY(!wasActive);
        QVERIFY(!wasConnected);
        QVERIFY(wasReceiver);
        QCOMPARE(destroyed, 0);
    }

    void childrenThatMoveDoNotDisturb()
    {
        Receiver parent;
        QObject elsewhere;
        QPointer<RegisteredTimer> late;
        const QPointer<QTimer> first = new RegisteredTimer(&parent);
        const QPointer<QTimer> second = new RegisteredTimer(&parent);
        const QPointer<QTimer> third = new RegisteredTimer(&parent);
        const QPointer<QTimer> fourth = new RegisteredTimer(&parent);
        parent.iWhenRemoved = [&](QObject* removed) {
            if (removed != first)
                return;
            late = new RegisteredTimer(&parent);
            third->setParent(&elsewhere);
        };
        RegisteredTimer::Cleanup(&parent, false);
        QVERIFY(!first && !second && !third && !fourth);
        QVERIFY(late);
        QCOMPARE(parent.children(), QObjectList{late.data()});
    }

    void cleanupFromTheSlot_data()
    {
        QTest::addColumn<bool>("recursive");
        QTest::newRow("by the receiver") << false;
        QTest::newRow("by the receiver's parent") << true;
    }
    void cleanupFromTheSlot()
    {
        QFETCH(bool, recursive);
        QObject top;
        auto* const receiver = new Receiver(&top);
        const QPointer<QTimer> timer = RegisteredTimer::singleShot(0, receiver, SLOT(fire()));
        const QPointer<QTimer> other = RegisteredTimer::singleShot(0, receiver, SLOT(fire()));
        bool goneInTheSlot = false;
        receiver->iWhenFired = [&] {
            RegisteredTimer::Cleanup(recursive ? &top : receiver, recursive);
            goneInTheSlot = !timer && !other;
        };
        QTRY_COMPARE(receiver->iFired, 1);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        QVERIFY(goneInTheSlot);
        QCOMPARE(receiver->iFired, 1);
    }

    void cleanupTimerFromTheSlot_data()
    {
        QTest::addColumn<bool>("registered");
        QTest::newRow("registered timer") << true;
        QTest::newRow("plain timer that repeats") << false;
    }
    void cleanupTimerFromTheSlot()
    {
        QFETCH(bool, registered);
        Receiver receiver;
        QPointer<QTimer> timer;
        if (registered) {
            timer = RegisteredTimer::singleShot(0, &receiver, SLOT(fire()));
        } else {
            timer = new QTimer(&receiver);
            connect(timer, SIGNAL(timeout()), &receiver, SLOT(fire()));
            timer->start(0);
        }
        auto* const next = new RegisteredTimer(&receiver);
        bool goneInTheSlot = false;
        receiver.iWhenFired = [&] {
            RegisteredTimer::CleanupTimer(timer, &receiver);
            goneInTheSlot = timer.isNull();
        };
        QTRY_COMPARE(receiver.iFired, 1);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        QVERIFY(goneInTheSlot);
        QCOMPARE(receiver.iFired, 1);
        QCOMPARE(receiver.children(), QObjectList{next});
    }

    void cleanupTimer_data()
    {
        QTest::addColumn<bool>("registered");
        QTest::newRow("registered timer") << true;
        QTest::newRow("plain timer") << false;
    }
    void cleanupTimer()
    {
        QFETCH(bool, registered);
        Receiver parent;
        auto* const object = new QObject(&parent);
        auto* const plainBefore = new QTimer(&parent);
        auto* const registeredBefore = RegisteredTimer::singleShot(kAnHour, &parent, SLOT(fire()));
        const QPointer<QTimer> timer = registered ? new RegisteredTimer(&parent) : new QTimer(&parent);
        timer->start(0);
        const QPointer<QTimer> below = new RegisteredTimer(timer);
        auto* const plainAfter = new QTimer(&parent);
        auto* const registeredAfter = RegisteredTimer::singleShot(kAnHour, &parent, SLOT(fire()));
        RegisteredTimer::CleanupTimer(timer, &parent);
        QVERIFY(!timer);
        QVERIFY(!below);
        QCOMPARE(parent.children(), (QObjectList{object, plainBefore, registeredBefore, plainAfter, registeredAfter}));
        QVERIFY(registeredBefore->isActive() && registeredAfter->isActive());
    }

    void cleanupTimerLeavesOthers_data()
    {
        QTest::addColumn<bool>("registered");
        QTest::newRow("registered timer") << true;
        QTest::newRow("plain timer") << false;
    }
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
        RegisteredTimer::CleanupTimer(timer, &parent);
        RegisteredTimer::CleanupTimer(timer, &stranger);
        RegisteredTimer::CleanupTimer(timer, timer);
        RegisteredTimer::CleanupTimer(timer, nullptr);
        RegisteredTimer::CleanupTimer(nullptr, child);
        RegisteredTimer::CleanupTimer(nullptr, nullptr);
        RegisteredTimer::CleanupTimer(&orphan, nullptr);
        RegisteredTimer::CleanupTimer(&orphan, child);
        QVERIFY(timer->isActive());
        QVERIFY(orphan.isActive());
        QCOMPARE(child->children(), QObjectList{timer});
        QMetaObject::invokeMethod(timer, "timeout");
        QCOMPARE(parent.iFired, 1);
    }

    void logOfCleanup_data() { AddMaskRows(); }
    void logOfCleanup()
    {
        QFETCH(int, mask);
        const QList<QByteArray> flat{kEnter,     Found("root"),  Added("1"),     Found("root"),
                                     Added("2"), Destroyed("1"), Destroyed("2"), Destroyed("2.1")};
        QCOMPARE(LoggedBy("CleanTree", {QString::number(mask), QStringLiteral("flat")}), OfLevels(flat, mask));
        const QList<QByteArray> deep{
            kEnter,         Found("root"),  Added("1"), // root
            kEnter,         Found("child"), Added("c"), // child
            kEnter,         Found("inner"), Added("i"),       Destroyed("i"), // inner
            kEnter, // leaf
            Destroyed("c"), // child's end
            Found("root"),  Added("2"), // root
            kEnter,         Found("plain"), Added("p"),       Destroyed("p"), // plain
            Destroyed("1"), Destroyed("2"), Destroyed("2.1"), // root's end
        };
        QCOMPARE(LoggedBy("CleanTree", {QString::number(mask), QStringLiteral("deep")}), OfLevels(deep, mask));
    }

    void logOfNothingToDo_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QList<QByteArray>>("lines");
        for (const char* const call : {"Cleanup null", "Cleanup null, deep", "Cleanup childless"})
            QTest::newRow(call) << QString::fromLatin1(call) << QList<QByteArray>{kEnter};
        for (const char* const call :
             {"CleanupTimer", "CleanupTimer orphan", "CleanupTimer null", "CleanupTimer nulls", "CleanupTimer stranger",
              "CleanupTimer grandchild", "CleanupTimer itself", "construct", "singleShot"})
            QTest::newRow(call) << QString::fromLatin1(call) << QList<QByteArray>();
    }
    void logOfNothingToDo()
    {
        QFETCH(QString, call);
        QFETCH(QList<QByteArray>, lines);
        QCOMPARE(LoggedBy("CleanNothing", {QString::number(kAllLevels), call}), lines);
        const int noTrace = kAllLevels ^ LoggerDefs::Trace;
        QCOMPARE(LoggedBy("CleanNothing", {QString::number(noTrace), call}), QList<QByteArray>());
    }

    void logOfCleanupTimer_data() { AddMaskRows(); }
    void logOfCleanupTimer()
    {
        QFETCH(int, mask);
        const QString maskText = QString::number(mask);
        const QList<QByteArray> registered{Found("%1 %2", "CleanupTimer"), Added("%1"), Destroyed("%1")};
        QCOMPARE(LoggedBy("CleanOneTimer",
                          {maskText, QStringLiteral("%1 %2"), QStringLiteral("%1"), QStringLiteral("WatchedTimer")}),
                 OfLevels(registered, mask));
        const QList<QByteArray> plain{Found("", "CleanupTimer"), Added("")};
        QCOMPARE(LoggedBy("CleanOneTimer", {maskText, QString(), QString(), QStringLiteral("QTimer")}),
                 OfLevels(plain, mask));
    }

    void theOrderOfSteps_data()
    {
        QTest::addColumn<QString>("call");
        QTest::newRow("Cleanup") << QStringLiteral("Cleanup");
        QTest::newRow("CleanupTimer") << QStringLiteral("CleanupTimer");
    }
    void theOrderOfSteps()
    {
        QFETCH(QString, call);
        QCOMPARE(
            LoggedBy("CleanStepByStep", {call}),
            (QList<QByteArray>{Found("parent", call.toLatin1().constData()), "|20|Debug|cut|active", Added("timer"),
                               "|20|Debug|removed|stopped", Destroyed("timer"), "|20|Debug|returned|"}));
    }
};

NEROLT_TEST_MAIN(tst_RegisteredTimer)

#include "tst_RegisteredTimer.moc"

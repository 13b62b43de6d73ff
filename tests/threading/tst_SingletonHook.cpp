#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IOrvaneInstance.h>
#include <NeroltOrvaneBase/SingletonHook.h>

#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

using Instances = QMap<QString, IOrvaneInstance*>;

NEROLT_PRIVATE(SingletonHook, iInstances, Instances)

using TestSupport::Scenario;

namespace {

// Records that it was deleted and stays alive, so that the test can ask it.
class Recorder : public IOrvaneInstance
{
public:
    explicit Recorder(QStringList& calls, const QString& name = QString())
        : iCalls(calls)
        , iName(name)
    {
    }

    void Delete() override { iCalls += iName; }

private:
    QStringList& iCalls;
    QString iName;
};

// Uses the hook that deletes it, while it is deleted.
class Onlooker : public IOrvaneInstance
{
public:
    Onlooker(const Instances& entries, QList<QStringList>& seen)
        : iEntries(entries)
        , iSeen(seen)
    {
    }

    void Delete() override { iSeen += iEntries.keys(); }

private:
    const Instances& iEntries;
    QList<QStringList>& iSeen;
};

// Like real singletons: destroyed by Delete.
class Mortal : public IOrvaneInstance
{
public:
    explicit Mortal(int& destroyed)
        : iDestroyed(destroyed)
    {
    }
    ~Mortal() override { ++iDestroyed; }

    void Delete() override { delete this; }

private:
    int& iDestroyed;
};

class Printing : public IOrvaneInstance
{
public:
    explicit Printing(const char* text)
        : iText(text)
    {
    }

    void Delete() override
    {
        std::puts(iText);
        std::fflush(stdout);
    }

private:
    const char* iText;
};

QString FromUnits(std::initializer_list<ushort> units)
{
    QString text;
    for (const ushort unit : units)
        text += QChar(unit);
    return text;
}

const Instances& EntriesOf(const SingletonHook& hook)
{
    return hook.*SingletonHook_iInstances();
}

// A pointer to a virtual function contains its offset in the table. The destructor has the first two slots.
template <typename Function>
quintptr SlotOf(Function function)
{
    quintptr raw = 0;
    std::memcpy(&raw, &function, sizeof raw);
    return raw / sizeof(void*);
}

const Scenario nullAtTheEnd("nullAtTheEnd", [](const QStringList&) {
    Printing first("first");
    Printing last("last");
    {
        SingletonHook hook;
        hook.SetInstance(QStringLiteral("a"), &first);
        hook.SetInstance(QStringLiteral("b"), nullptr);
        hook.SetInstance(QStringLiteral("c"), &last);
    }
    std::puts("survived");
    return 0;
});

} // namespace

class tst_SingletonHook : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shapes()
    {
        static_assert(std::is_abstract_v<IOrvaneInstance> && std::has_virtual_destructor_v<IOrvaneInstance>);
        static_assert(sizeof(IOrvaneInstance) == sizeof(void*));
        static_assert(!std::is_polymorphic_v<SingletonHook> && sizeof(SingletonHook) == sizeof(Instances));
        static_assert(!std::is_copy_constructible_v<SingletonHook> && !std::is_copy_assignable_v<SingletonHook>);
    }

    void deleteHasTheThirdSlot() { QCOMPARE(SlotOf(&IOrvaneInstance::Delete), quintptr(2)); }

    void deleteHasTheLastSlot()
    {
        class Derived : public IOrvaneInstance
        {
        public:
            virtual void Next() { }
        };
        QCOMPARE(SlotOf(&Derived::Next), quintptr(3));
    }

    void destructorIsVirtual()
    {
        int destroyed = 0;
        const IOrvaneInstance* const instance = new Mortal(destroyed);
        delete instance;
        QCOMPARE(destroyed, 1);
    }

    void newHookIsEmpty()
    {
        const SingletonHook hook;
        QVERIFY(EntriesOf(hook).isEmpty());
    }

    void missInsertsNothing()
    {
        QStringList calls;
        Recorder instance(calls);
        SingletonHook hook;
        QVERIFY(!hook.GetInstance(QStringLiteral("X")));
        QVERIFY(EntriesOf(hook).isEmpty());

        hook.SetInstance(QStringLiteral("X"), &instance);
        QVERIFY(!hook.GetInstance(QStringLiteral("Y")));
        QVERIFY(!hook.GetInstance(QString()));
        QCOMPARE(EntriesOf(hook).keys(), QStringList{QStringLiteral("X")});
    }

    void findsWhatWasEntered()
    {
        QStringList calls;
        Recorder first(calls);
        Recorder second(calls);
        SingletonHook hook;
        hook.SetInstance(QStringLiteral("X"), &first);
        hook.SetInstance(QStringLiteral("Y"), &second);
        QCOMPARE(hook.GetInstance(QStringLiteral("X")), &first);
        QCOMPARE(hook.GetInstance(QStringLiteral("Y")), &second);
        QCOMPARE(hook.GetInstance(QStringLiteral("X")), &first);
        QVERIFY(calls.isEmpty());
    }

    void hooksShareNothing()
    {
        QStringList calls;
        Recorder instance(calls);
        SingletonHook hook;
        SingletonHook other;
        hook.SetInstance(QStringLiteral("X"), &instance);
        QVERIFY(!other.GetInstance(QStringLiteral("X")));
    }

    void namesApart_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("other");
        QTest::newRow("case") << QStringLiteral("SystemConfig") << QStringLiteral("systemconfig");
        QTest::newRow("case beyond ASCII") << FromUnits({0xc9}) << FromUnits({0xe9});
        QTest::newRow("beginning") << QStringLiteral("SystemConfig") << QStringLiteral("System");
        QTest::newRow("blank at the end") << QStringLiteral("X") << QStringLiteral("X ");
        QTest::newRow("empty and blank") << QStringLiteral("") << QStringLiteral(" ");
        QTest::newRow("NUL inside") << FromUnits({'X', 0, 'a'}) << FromUnits({'X', 0, 'b'});
        QTest::newRow("composed and decomposed") << FromUnits({0xe9}) << FromUnits({'e', 0x301});
    }
    void namesApart()
    {
        QFETCH(QString, name);
        QFETCH(QString, other);
        QStringList calls;
        Recorder first(calls);
        Recorder second(calls);
        SingletonHook hook;
        hook.SetInstance(name, &first);
        QVERIFY(!hook.GetInstance(other));
        hook.SetInstance(other, &second);
        QCOMPARE(EntriesOf(hook).size(), 2);
        QCOMPARE(hook.GetInstance(name), &first);
        QCOMPARE(hook.GetInstance(other), &second);
    }

    void emptyNameIsAName()
    {
        QStringList calls;
        Recorder instance(calls);
        SingletonHook hook;
        hook.SetInstance(QString(), &instance);
        QCOMPARE(hook.GetInstance(QStringLiteral("")), &instance);
        QCOMPARE(EntriesOf(hook).size(), 1);
    }

    void replacedInstanceIsLeftAlone()
    {
        QStringList calls;
        Recorder first(calls, QStringLiteral("first"));
        Recorder second(calls, QStringLiteral("second"));
        {
            SingletonHook hook;
            hook.SetInstance(QStringLiteral("X"), &first);
            hook.SetInstance(QStringLiteral("X"), &second);
            QCOMPARE(EntriesOf(hook).keys(), QStringList{QStringLiteral("X")});
            QCOMPARE(hook.GetInstance(QStringLiteral("X")), &second);
            QVERIFY(calls.isEmpty());
        }
        QCOMPARE(calls, QStringList{QStringLiteral("second")});
    }

    void nullIsStoredAsGiven()
    {
        QStringList calls;
        Recorder instance(calls);
        SingletonHook hook;
        hook.SetInstance(QStringLiteral("X"), nullptr);
        hook.SetInstance(QStringLiteral("Y"), &instance);
        hook.SetInstance(QStringLiteral("Y"), nullptr);
        QCOMPARE(EntriesOf(hook).keys(), (QStringList{QStringLiteral("X"), QStringLiteral("Y")}));
        QVERIFY(!hook.GetInstance(QStringLiteral("X")));
        QVERIFY(!hook.GetInstance(QStringLiteral("Y")));
        QVERIFY(calls.isEmpty());
        hook.SetInstance(QStringLiteral("X"), &instance); // no instance may be null at the end
        hook.SetInstance(QStringLiteral("Y"), &instance);
        QCOMPARE(hook.GetInstance(QStringLiteral("X")), &instance);
    }

    void emptyHookEnds()
    {
        const auto hook = std::make_unique<SingletonHook>();
        QVERIFY(EntriesOf(*hook).isEmpty());
    }

    void deletesOnceInTheOrderOfNames_data()
    {
        QTest::addColumn<QStringList>("entered");
        QTest::addColumn<QStringList>("deleted");
        const auto texts = [](std::initializer_list<const char*> names) {
            QStringList list;
            for (const char* const name : names)
                list += QString::fromUtf8(name);
            return list;
        };
        QTest::newRow("one") << texts({"a"}) << texts({"a"});
        QTest::newRow("in order") << texts({"a", "b"}) << texts({"a", "b"});
        QTest::newRow("reversed") << texts({"c", "b", "a"}) << texts({"a", "b", "c"});
        QTest::newRow("capitals first") << texts({"a", "B", "A", "b"}) << texts({"A", "B", "a", "b"});
        QTest::newRow("digits as text") << texts({"X9", "X10"}) << texts({"X10", "X9"});
        QTest::newRow("shorter first") << texts({"ab", "a", ""}) << texts({"", "a", "ab"});
        QTest::newRow("not as in a dictionary") << texts({"\xc3\xa9", "z", "e"}) << texts({"e", "z", "\xc3\xa9"});
        QTest::newRow("by UTF-16 units") << QStringList{FromUnits({0xfb01}), FromUnits({0xd83d, 0xde00})}
                                         << QStringList{FromUnits({0xd83d, 0xde00}), FromUnits({0xfb01})};
    }
    void deletesOnceInTheOrderOfNames()
    {
        QFETCH(QStringList, entered);
        QFETCH(QStringList, deleted);
        QStringList calls;
        std::vector<std::unique_ptr<Recorder>> instances;
        {
            SingletonHook hook;
            for (const QString& name : qAsConst(entered)) {
                instances.push_back(std::make_unique<Recorder>(calls, name));
                hook.SetInstance(name, instances.back().get());
            }
            QVERIFY(calls.isEmpty());
        }
        QCOMPARE(calls, deleted);
    }

    void deletesOnlyThroughDelete()
    {
        QStringList calls;
        int destroyed = 0;
        class Lasting : public Mortal
        {
        public:
            using Mortal::Mortal;
            void Delete() override { }
        } instance(destroyed);
        {
            SingletonHook hook;
            hook.SetInstance(QStringLiteral("X"), &instance);
        }
        QCOMPARE(destroyed, 0);
    }

    void instancesAreGoneAfterwards()
    {
        int destroyed = 0;
        {
            SingletonHook hook;
            hook.SetInstance(QStringLiteral("X"), new Mortal(destroyed));
            hook.SetInstance(QStringLiteral("Y"), new Mortal(destroyed));
            QCOMPARE(destroyed, 0);
        }
        QCOMPARE(destroyed, 2);
    }

    void deletesForEveryName()
    {
        QStringList calls;
        Recorder instance(calls, QStringLiteral("both"));
        {
            SingletonHook hook;
            hook.SetInstance(QStringLiteral("X"), &instance);
            hook.SetInstance(QStringLiteral("Y"), &instance);
        }
        QCOMPARE(calls, (QStringList{QStringLiteral("both"), QStringLiteral("both")}));
    }

    void entriesStayWhileInstancesAreDeleted()
    {
        const QStringList both{QStringLiteral("X"), QStringLiteral("Y")};
        QList<QStringList> seen;
        std::unique_ptr<Onlooker> onlooker;
        {
            SingletonHook hook;
            onlooker = std::make_unique<Onlooker>(EntriesOf(hook), seen);
            hook.SetInstance(both[0], onlooker.get());
            hook.SetInstance(both[1], onlooker.get());
        }
        QCOMPARE(seen, (QList<QStringList>{both, both}));
    }

    void nullIsNotSkippedAtTheEnd()
    {
        const auto result = TestSupport::RunScenario("nullAtTheEnd");
        QVERIFY2(!result.IsOk() && !result.iTimedOut, result.Describe().constData());
        QCOMPARE(result.iStdout, QByteArray("first\n"));
    }
};

NEROLT_TEST_MAIN(tst_SingletonHook)

#include "tst_SingletonHook.moc"

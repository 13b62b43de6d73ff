#include "support/TestMain.h"

#include <NeroltOrvaneBase/IOrvaneInstance.h>
#include <NeroltOrvaneBase/SingletonHook.h>

#include <QtTest/QtTest>

#include <cstdio>
#include <memory>
#include <vector>

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
    ~Recorder() override { iCalls += QStringLiteral("destroyed"); }

    void Delete() override { iCalls += iName; }

private:
    QStringList& iCalls;
    QString iName;
};

QStringList Texts(std::initializer_list<const char*> names)
{
    QStringList list;
    for (const char* const name : names)
        list += QString::fromUtf8(name);
    return list;
}

class Printing : public IOrvaneInstance
{
public:
    void Delete() override
    {
        std::puts("deleted");
        std::fflush(stdout);
    }
};

// A null entry is not skipped.
const Scenario kNullAtTheEnd("nullAtTheEnd", [](const QStringList&) {
    Printing first;
    Printing last;
    {
        SingletonHook hook;
        hook.SetInstance(QStringLiteral("a"), &first);
        hook.SetInstance(QStringLiteral("b"), nullptr);
        hook.SetInstance(QStringLiteral("c"), &last);
    }
    return 0;
});

} // namespace

class tst_SingletonHook : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itFindsWhatWasEntered()
    {
        QStringList calls;
        Recorder first(calls);
        Recorder second(calls);
        SingletonHook hook;
        QVERIFY(!hook.GetInstance(QStringLiteral("X")));
        hook.SetInstance(QStringLiteral("X"), &first);
        hook.SetInstance(QString(), &second);
        QCOMPARE(hook.GetInstance(QStringLiteral("X")), &first);
        QCOMPARE(hook.GetInstance(QStringLiteral("")), &second);
        QVERIFY(!hook.GetInstance(QStringLiteral("Y")));
        QVERIFY(!SingletonHook().GetInstance(QStringLiteral("X")));
        hook.SetInstance(QStringLiteral("X"), nullptr);
        QVERIFY(!hook.GetInstance(QStringLiteral("X")));
        hook.SetInstance(QStringLiteral("X"), &first); // no instance may be null at the end
        QVERIFY(calls.isEmpty());
    }

    void namesApart_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("other");
        QTest::newRow("case") << QStringLiteral("SystemConfig") << QStringLiteral("systemconfig");
        QTest::newRow("case beyond ASCII") << QStringLiteral("\u00c9") << QStringLiteral("\u00e9");
        QTest::newRow("beginning") << QStringLiteral("SystemConfig") << QStringLiteral("System");
        QTest::newRow("composed and decomposed") << QStringLiteral("\u00e9") << QStringLiteral("e\u0301");
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
        QCOMPARE(hook.GetInstance(name), &first);
        QCOMPARE(hook.GetInstance(other), &second);
    }

    void itsEndCallsDeleteOnlyInTheOrderOfNames_data()
    {
        QTest::addColumn<QStringList>("entered");
        QTest::addColumn<QStringList>("deleted");
        QTest::newRow("reversed") << Texts({"c", "b", "a"}) << Texts({"a", "b", "c"});
        QTest::newRow("capitals first") << Texts({"a", "B", "A", "b"}) << Texts({"A", "B", "a", "b"});
        QTest::newRow("shorter first") << Texts({"ab", "a", ""}) << Texts({"", "a", "ab"});
        QTest::newRow("not as in a dictionary") << Texts({"\xc3\xa9", "z", "e"}) << Texts({"e", "z", "\xc3\xa9"});
        QTest::newRow("by UTF-16 units") << Texts({"\xef\xac\x81", "\xf0\x9f\x98\x80"})
                                         << Texts({"\xf0\x9f\x98\x80", "\xef\xac\x81"});
    }
    void itsEndCallsDeleteOnlyInTheOrderOfNames()
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

    // A replaced one is left alone, and one with two names is told twice.
    void itsEndDeletesByName()
    {
        QStringList calls;
        Recorder first(calls, QStringLiteral("first"));
        Recorder second(calls, QStringLiteral("second"));
        {
            SingletonHook hook;
            hook.SetInstance(QStringLiteral("X"), &first);
            hook.SetInstance(QStringLiteral("X"), &second);
            hook.SetInstance(QStringLiteral("Y"), &second);
        }
        QCOMPARE(calls, Texts({"second", "second"}));
    }

    void theDestructorIsVirtual()
    {
        QStringList calls;
        delete static_cast<IOrvaneInstance*>(new Recorder(calls));
        QCOMPARE(calls, Texts({"destroyed"}));
    }

    void nullIsNotSkippedAtTheEnd()
    {
        const auto result = TestSupport::RunScenario("nullAtTheEnd");
        QVERIFY2(!result.IsOk() && !result.iTimedOut, result.Describe().constData());
        QCOMPARE(result.iStdout, QByteArray("deleted\n"));
    }
};

NEROLT_TEST_MAIN(tst_SingletonHook)

#include "tst_SingletonHook.moc"

#include "ForgedStack.h"
#include "FrameText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include <atomic>
#include <dlfcn.h>
#include <thread>
#include <type_traits>
#include <vector>

static_assert(!std::is_default_constructible_v<StackTrace>);

namespace {

volatile int gDepth = 1; // a constant would invite the compiler to make another function for it

} // namespace

// The functions of the stack. They have external linkage, or they would have no names. What stands behind a call keeps
// it from becoming a jump, which would take the caller from the stack.
namespace Calls {

Q_NEVER_INLINE QString Inner()
{
    QString text = StackTrace::TraceCode();
    FewBytes<__LINE__>();
    return text;
}

Q_NEVER_INLINE QString Middle(const QString& text, int depth)
{
    QString result = Inner();
    FewBytes<__LINE__>();
    return text.isNull() && depth > 0 ? result : QString();
}

struct Object
{
    QString Member(const char*) const;
};

Q_NEVER_INLINE QString Object::Member(const char*) const
{
    QString text = Middle(QString(), gDepth);
    FewBytes<__LINE__>();
    return text;
}

Q_NEVER_INLINE QString Recursive(int depth)
{
    QString text = depth > 1 ? Recursive(depth - 1) : StackTrace::TraceCode();
    FewBytes<__LINE__>();
    return text;
}

Q_NEVER_INLINE QString Other()
{
    QString text = Inner();
    FewBytes<__LINE__>();
    return text;
}

} // namespace Calls

extern "C" {
Q_DECL_EXPORT Q_NEVER_INLINE void stack_plain(void* text)
{
    *static_cast<QString*>(text) = Calls::Object().Member("");
    FewBytes<__LINE__>();
}

Q_DECL_EXPORT Q_NEVER_INLINE void stack_fold(void* text)
{
    *static_cast<QString*>(text) = Calls::Inner();
    FewBytes<__LINE__>();
}
}

namespace {

struct Line
{
    QString iModule;
    quintptr iMemory = 0;
    QString iFunctionName;
    QString iOffset;
};

// Takes a text apart; one line with the text itself when its shape is wrong.
QList<Line> LinesOf(const QString& text)
{
    static const QRegularExpression shape(QRegularExpression::anchoredPattern(
        QStringLiteral("Module ([^\r\n]*) Memory 0x([0-9a-f]{16}) FunctionName ([^\r\n]*) Offset ([0-9]*)")));
    QStringList parts = text.split(QStringLiteral("\r\n"));
    if (!parts.takeLast().isEmpty())
        return {{text, 0, {}, {}}};
    QList<Line> lines;
    for (const QString& part : qAsConst(parts)) {
        const QRegularExpressionMatch match = shape.match(part);
        if (!match.hasMatch())
            return {{text, 0, {}, {}}};
        lines += {match.captured(1), match.captured(2).toULongLong(nullptr, 16), match.captured(3), match.captured(4)};
    }
    return lines;
}

QStringList Names(const QString& text)
{
    QStringList names;
    for (const Line& line : LinesOf(text))
        names += line.iFunctionName;
    return names;
}

constexpr int kThreads = 8;
constexpr int kTraces = 50;

// Each thread has a stack of its own: true when every trace begins as it should.
bool TraceOnManyThreads()
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const QString caller = t % 2 == 0 ? QStringLiteral("Calls::Other()") : QStringLiteral("stack_fold");
            for (int i = 0; i < kTraces; ++i) {
                QString text;
                if (t % 2 == 0)
                    text = Calls::Other();
                else
                    stack_fold(&text);
                const QStringList expected{QStringLiteral("Calls::Inner()"), caller};
                wrong += Names(text).mid(0, 2) == expected ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    return wrong == 0;
}

} // namespace

class tst_StackTrace : public QObject
{
    Q_OBJECT

private:
    struct Caller
    {
        const char* iName;
        const char* iCode;
    };

    // Where in the functions the calls are is the compiler's choice; the address and the offset must fit each other.
    static void CompareLines(const QString& text, const QList<Caller>& callers)
    {
        const QList<Line> lines = LinesOf(text);
        QVERIFY2(lines.size() >= callers.size(), qPrintable(text));
        for (int i = 0; i < callers.size(); ++i) {
            QCOMPARE(lines[i].iModule.toUtf8(), Program());
            QCOMPARE(lines[i].iFunctionName, QString::fromUtf8(callers[i].iName));
            const quintptr offset = lines[i].iMemory - quintptr(callers[i].iCode);
            QVERIFY2(offset > 0 && offset < 4096, qPrintable(text));
            const quintptr index = quintptr(i) + 1;
            QCOMPARE(lines[i].iOffset, offset == index ? QString() : QString::number(offset));
        }
    }

    static QString ThroughTheBundle()
    {
        void* const handle = ::dlopen(BUNDLE_MODULE, RTLD_NOW | RTLD_LOCAL);
        if (!handle)
            qFatal("%s", ::dlerror());
        using Call = void (*)(void (*)(void*), void*);
        QString text;
        reinterpret_cast<Call>(::dlsym(handle, "module_call"))(&stack_fold, &text);
        ::dlclose(handle);
        return text;
    }

private Q_SLOTS:
    void callsAreListedFromTheInnermost()
    {
        QString text;
        stack_plain(&text);
        CompareLines(text,
                     {{"Calls::Inner()", CodeOf(&Calls::Inner)},
                      {"Calls::Middle(QString const&, int)", CodeOf(&Calls::Middle)}});
        QCOMPARE(
            Names(text).mid(0, 4),
            (QStringList{QStringLiteral("Calls::Inner()"), QStringLiteral("Calls::Middle(QString const&, int)"),
                         QStringLiteral("Calls::Object::Member(char const*) const"), QStringLiteral("stack_plain")}));
    }

    void twentyAtMost_data()
    {
        QTest::addColumn<int>("depth");
        QTest::newRow("twenty") << 20;
        QTest::newRow("many more") << 500;
    }
    void twentyAtMost()
    {
        QFETCH(int, depth);
        const QString text = Calls::Recursive(depth);
        CompareLines(text, QVector<Caller>(20, {"Calls::Recursive(int)", CodeOf(&Calls::Recursive)}).toList());
        QCOMPARE(LinesOf(text).size(), 20);
        QCOMPARE(ForgedStack::Asked(), 21);
    }

    void fewerThanTwenty()
    {
        const QStringList names = Names(Calls::Recursive(2));
        QCOMPARE(names.count(QStringLiteral("Calls::Recursive(int)")), 2);
        QVERIFY(names.size() > 2);
        QVERIFY(!names.contains(QStringLiteral("StackTrace::TraceCode()")));
    }

    void callThroughTheBundle()
    {
        const QString text = ThroughTheBundle();
        const QList<Line> lines = LinesOf(text);
        QVERIFY2(lines.size() > 2, qPrintable(text));
        QCOMPARE(Names(text).mid(0, 3),
                 (QStringList{QStringLiteral("Calls::Inner()"), QStringLiteral("stack_fold"),
                              QStringLiteral("module_call")}));
        QCOMPARE(lines[2].iModule, QStringLiteral("Nerolt Kadett Vespa"));
    }

    void onManyThreads()
    {
        LogScenario::Captured log(LoggerDefs::Trace);
        QVERIFY(TraceOnManyThreads());
        const QList<QByteArray> lines = log.Lines();
        // While others log, a line may wait for the lock at most a second; here nobody waits that long.
        QCOMPARE(lines.size(), kThreads * kTraces);
        for (const QByteArray& line : lines) {
            QVERIFY2(line.startsWith("|25|Trace|StackTrace::TraceCode|Module tst_StackTrace Memory 0x"), line);
            QVERIFY2(line.contains(" FunctionName Calls::Inner() Offset "), line);
        }
    }
};

NEROLT_TEST_MAIN(tst_StackTrace)

#include "tst_StackTrace.moc"

#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMultiMap>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>
#include <cxxabi.h>
#include <link.h>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <unistd.h>
#include <vector>

using TestSupport::Scenario;
using ThreadList = QList<RegisteredThread*>;

NEROLT_PRIVATE(RegisteredThread, iName, QString)
NEROLT_PRIVATE(RegisteredThread, iInterrupted, std::atomic<bool>)
NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)

struct ThreadsTag
{
    using Type = ThreadList*;
    friend constexpr Type MemberOf(ThreadsTag);
};
template struct PrivateMember<ThreadsTag, &RegisteredThread::iThreads>;

struct MutexTag
{
    using Type = QMutex*;
    friend constexpr Type MemberOf(MutexTag);
};
template struct PrivateMember<MutexTag, &RegisteredThread::iMutex>;

class DerivedThread : public RegisteredThread
{
    Q_OBJECT

public:
    using RegisteredThread::RegisteredThread;

    static constexpr bool RunIsTheFrameworks()
    {
        return std::is_same_v<decltype(&DerivedThread::run), void (QThread::*)()>;
    }
};

namespace Outer {

class NestedThread : public RegisteredThread
{
    Q_OBJECT

public:
    using RegisteredThread::RegisteredThread;
};

} // namespace Outer

namespace {

constexpr int kAllLevels = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Trace
    | LoggerDefs::Exception | LoggerDefs::Debug;
constexpr int kPastOneBatch = 5001;
constexpr unsigned long kStillWaitingMs = 200;
constexpr int kDeadlineMs = 30000;

ThreadList& Threads()
{
    return *MemberOf(ThreadsTag());
}

QMutex& ListMutex()
{
    return *MemberOf(MutexTag());
}

class PollingThread : public RegisteredThread
{
public:
    using RegisteredThread::RegisteredThread;

    void run() override
    {
        while (!IsInterrupted())
            yieldCurrentThread();
    }
};

template <typename Base>
struct WithOneMoreVirtual : Base
{
    virtual void OneMore() { }
};

// Two classes have the same number of virtual functions if the next one gets the same slot in both.
template <typename First, typename Second>
bool HaveAsManyVirtuals()
{
    const auto first = &WithOneMoreVirtual<First>::OneMore;
    const auto second = &WithOneMoreVirtual<Second>::OneMore;
    static_assert(sizeof first == sizeof second);
    return std::memcmp(&first, &second, sizeof first) == 0;
}

std::unique_ptr<QThread> Started(std::function<void()> work)
{
    std::unique_ptr<QThread> thread(QThread::create(std::move(work)));
    thread->start();
    return thread;
}

bool Quit(QThread& thread)
{
    thread.quit();
    return thread.wait();
}

// For scenarios: the process ends at the first failure, whatever its threads wait for.
#define NEEDS(condition)                                                                                               \
    if (!(condition)) {                                                                                                \
        std::fprintf(stderr, "line %d: not %s\n", __LINE__, #condition);                                               \
        ::_exit(1);                                                                                                    \
    }

// From here to EndLog the file contains exactly what is logged under the mask.
void BeginLog(int mask)
{
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::GetInstance()->SetLevel(mask);
}

void EndLog()
{
    Logger::GetInstance()->SetLevel(0);
    Logger::StopLogging();
}

QList<QByteArray> LoggedIn(const TestSupport::ScenarioResult& result)
{
    const QString path = result.iFolder.filePath(QStringLiteral("app.log"));
    if (!result.IsOk() || !QFile::exists(path))
        return {"failed: " + result.Describe()};
    return LogText::Bodies(LogText::Read(path));
}

QList<QByteArray> LoggedBy(const char* scenario, const QStringList& arguments = {})
{
    return LoggedIn(TestSupport::RunScenario(scenario, arguments));
}

// Calls back on the thread that logs, during its call, whenever a batch is complete.
void WhenABatchIsComplete(const std::function<void()>& call)
{
    LoggerAgent* const agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    QObject::connect(agent, &LoggerAgent::logMessage, agent, call, Qt::DirectConnection);
}

// Holds the Logger's mutex from its construction to Release.
class LoggerHolder final : public IErrorReporter
{
public:
    LoggerHolder()
    {
        Logger::SetErrorReporter(this);
        iThread = Started([] { Logger::LogError(1, LoggerDefs::NoExtraInfo, "holder", QStringLiteral("held"), 0, 0); });
        iEntered.acquire();
    }
    ~LoggerHolder() { Release(); }
    Q_DISABLE_COPY(LoggerHolder)

    void ReportError(const QString&, const QString&) override
    {
        iEntered.release();
        iLeave.acquire();
    }
    void Release()
    {
        iLeave.release();
        iThread->wait();
    }

private:
    QSemaphore iEntered;
    QSemaphore iLeave;
    std::unique_ptr<QThread> iThread;
};

bool IsListTakenInTime()
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (ListMutex().tryLock()) {
        ListMutex().unlock();
        if (elapsed.hasExpired(kDeadlineMs))
            return false;
        QThread::yieldCurrentThread();
    }
    return true;
}

// Another thread holds the list.
bool IsListHeld()
{
    return IsListTakenInTime() && !ListMutex().tryLock(kStillWaitingMs);
}

RegisteredThread* NewThread(const QString& className, const QString& name)
{
    if (className == QLatin1String("DerivedThread"))
        return new DerivedThread(nullptr, name);
    if (className == QLatin1String("NestedThread"))
        return new Outer::NestedThread(nullptr, name);
    return new RegisteredThread(nullptr, name);
}

// What still exists when the framework is about to end the process.
void LeaveAtTheFatalMessage(QtMsgType type, const QMessageLogContext&, const QString& msg)
{
    if (type != QtFatalMsg)
        return;
    std::printf("%s\n", qPrintable(msg));
    for (const RegisteredThread* const thread : qAsConst(Threads()))
        std::printf("listed: %s\n", qPrintable(thread->Name()));
    std::fflush(stdout);
    EndLog();
    ::_exit(0);
}

// Arguments: mask, class, name.
int DestroyRunning(const QStringList& arguments)
{
    BeginLog(arguments[0].toInt());
    RegisteredThread* const thread = NewThread(arguments[1], arguments[2]);
    const RegisteredThread other(nullptr, QStringLiteral("other"));
    thread->start();
    qInstallMessageHandler(LeaveAtTheFatalMessage);
    delete thread;
    return 1;
}
const Scenario kDestroyRunning("DestroyRunning", DestroyRunning);

int DestroyAtRest(const QStringList&)
{
    BeginLog(kAllLevels);
    delete new RegisteredThread(nullptr, QStringLiteral("never ran"));
    {
        DerivedThread finished(nullptr, QStringLiteral("finished"));
        finished.start();
        NEEDS(Quit(finished));
    }
    EndLog();
    return 0;
}
const Scenario kDestroyAtRest("DestroyAtRest", DestroyAtRest);

// A thread whose destructor waits for the list ends meanwhile.
int FinishBeforeTheListIsFree(const QStringList&)
{
    BeginLog(kAllLevels);
    auto* const thread = new RegisteredThread(nullptr, QStringLiteral("worker"));
    thread->start();
    ListMutex().lock();
    const auto destroyer = Started([thread] { delete thread; });
    NEEDS(!destroyer->wait(kStillWaitingMs));
    NEEDS(Quit(*thread));
    NEEDS(Threads().contains(thread));
    ListMutex().unlock();
    NEEDS(destroyer->wait());
    NEEDS(!Threads().contains(thread));
    EndLog();
    return 0;
}
const Scenario kFinishBeforeTheListIsFree("FinishBeforeTheListIsFree", FinishBeforeTheListIsFree);

int DestroyWhileTheLoggerIsHeld(const QStringList&)
{
    BeginLog(LoggerDefs::Warning | LoggerDefs::Error);
    LoggerHolder holder;
    auto* const thread = new RegisteredThread(nullptr, QStringLiteral("worker"));
    thread->start();
    qInstallMessageHandler(LeaveAtTheFatalMessage);
    const auto destroyer = Started([thread] { delete thread; });
    NEEDS(IsListHeld());
    NEEDS(Threads().contains(thread));
    holder.Release();
    destroyer->wait();
    return 1;
}
const Scenario kDestroyWhileTheLoggerIsHeld("DestroyWhileTheLoggerIsHeld", DestroyWhileTheLoggerIsHeld);

int ListWhileTheLoggerIsHeld(const QStringList&)
{
    BeginLog(LoggerDefs::Warning | LoggerDefs::Error);
    LoggerHolder holder;
    const auto lister = Started([] { RegisteredThread::LogThreads(); });
    NEEDS(IsListHeld());
    holder.Release();
    NEEDS(lister->wait());
    NEEDS(ListMutex().tryLock());
    ListMutex().unlock();
    EndLog();
    return 0;
}
const Scenario kListWhileTheLoggerIsHeld("ListWhileTheLoggerIsHeld", ListWhileTheLoggerIsHeld);

// Arguments: mask.
int ListThreads(const QStringList& arguments)
{
    const RegisteredThread idle(nullptr, QStringLiteral("idle"));
    BeginLog(arguments[0].toInt());
    RegisteredThread running(nullptr, QStringLiteral("twin"));
    RegisteredThread finished(nullptr, QStringLiteral("finished"));
    auto passing = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("passing"));
    const DerivedThread derived(nullptr, QStringLiteral("twin"));
    const RegisteredThread marked(nullptr, QStringLiteral("%1 %2"));
    const RegisteredThread nameless(nullptr, QString());
    passing.reset();
    finished.start();
    NEEDS(Quit(finished));
    running.start();
    RegisteredThread::LogThreads();
    NEEDS(Quit(running));
    RegisteredThread::LogThreads();
    EndLog();
    return 0;
}
const Scenario kListThreads("ListThreads", ListThreads);

// Arguments: "construct" or "switch off", what happens in the middle of the walk.
int ListAndChange(const QStringList& arguments)
{
    const RegisteredThread first(nullptr, QString(kPastOneBatch, QLatin1Char('1')));
    const RegisteredThread second(nullptr, QStringLiteral("second"));
    std::unique_ptr<RegisteredThread> late;
    BeginLog(LoggerDefs::Warning);
    WhenABatchIsComplete([&] {
        if (arguments[0] == QLatin1String("switch off"))
            Logger::GetInstance()->SetLevel(kAllLevels ^ LoggerDefs::Warning);
        else if (!late)
            late = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("late"));
    });
    RegisteredThread::LogThreads();
    Logger::LogError(1, LoggerDefs::NoExtraInfo, "between", QString(), 0, 0);
    RegisteredThread::LogThreads();
    EndLog();
    return 0;
}
const Scenario kListAndChange("ListAndChange", ListAndChange);

constexpr int kManyThreads = 300;

// Warnings are switched on while another thread walks a long list, round after round.
int SwitchOnDuringTheWalk(const QStringList&)
{
    std::vector<std::unique_ptr<RegisteredThread>> threads;
    for (int i = 0; i < kManyThreads; ++i)
        threads.push_back(std::make_unique<RegisteredThread>(nullptr, QString::number(i)));
    BeginLog(0);
    Logger* const logger = Logger::GetInstance();
    for (int round = 0; round < 20; ++round) {
        const auto walker = Started([logger] {
            while (!logger->LoggingEnabled(LoggerDefs::Warning))
                RegisteredThread::LogThreads();
        });
        NEEDS(IsListTakenInTime());
        logger->SetLevel(LoggerDefs::Warning);
        NEEDS(walker->wait());
        Logger::LogWarning("round", QString());
        logger->SetLevel(0);
    }
    EndLog();
    return 0;
}
const Scenario kSwitchOnDuringTheWalk("SwitchOnDuringTheWalk", SwitchOnDuringTheWalk);

// The mask is changed while LogThreads waits for the list.
int SwitchOnBeforeTheWalk(const QStringList&)
{
    BeginLog(0);
    ListMutex().lock();
    const auto lister = Started([] { RegisteredThread::LogThreads(); });
    NEEDS(!lister->wait(kStillWaitingMs));
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    ListMutex().unlock();
    NEEDS(lister->wait());
    EndLog();
    return 0;
}
const Scenario kSwitchOnBeforeTheWalk("SwitchOnBeforeTheWalk", SwitchOnBeforeTheWalk);

// Arguments: mask.
int InterruptAll(const QStringList& arguments)
{
    BeginLog(arguments[0].toInt());
    RegisteredThread plain(nullptr, QStringLiteral("plain"));
    DerivedThread derived(nullptr, QStringLiteral("%1"));
    Outer::NestedThread nested(nullptr, QString());
    for (RegisteredThread* const thread :
         {&plain, static_cast<RegisteredThread*>(&derived), static_cast<RegisteredThread*>(&nested), &plain}) {
        thread->SetInterrupted();
        NEEDS(thread->IsInterrupted());
    }
    EndLog();
    return 0;
}
const Scenario kInterruptAll("InterruptAll", InterruptAll);

int LookAtTheFlagWhileItsLineIsLogged(const QStringList&)
{
    RegisteredThread thread(nullptr, QString(kPastOneBatch, QLatin1Char('n')));
    BeginLog(LoggerDefs::Debug);
    int calls = 0;
    bool interrupted = false;
    WhenABatchIsComplete([&] {
        ++calls;
        interrupted = thread.IsInterrupted();
    });
    thread.SetInterrupted();
    NEEDS(calls == 1);
    NEEDS(!interrupted);
    NEEDS(thread.IsInterrupted());
    EndLog();
    return 0;
}
const Scenario kLookAtTheFlag("LookAtTheFlagWhileItsLineIsLogged", LookAtTheFlagWhileItsLineIsLogged);

int UseAllUnderTheList(const QStringList&)
{
    BeginLog(LoggerDefs::Warning);
    const std::lock_guard<QMutex> lock(ListMutex());
    {
        const RegisteredThread thread(nullptr, QStringLiteral("inner"));
        RegisteredThread::LogThreads();
    }
    RegisteredThread::LogThreads();
    EndLog();
    return 0;
}
const Scenario kUseAllUnderTheList("UseAllUnderTheList", UseAllUnderTheList);

// One thread uses the list and, through it, the log; the other uses the log and, through it, the list.
int ListAndRestartTheLog(const QStringList&)
{
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    std::atomic<bool> stop{false};
    QSemaphore turns;
    const auto lister = Started([&] {
        while (!stop.load()) {
            const RegisteredThread first(nullptr, QStringLiteral("first"));
            RegisteredThread::LogThreads();
            const RegisteredThread second(nullptr, QStringLiteral("second"));
            turns.release();
        }
    });
    for (int i = 0; i < 60; ++i) {
        turns.acquire();
        Logger::SetLoggerFileName(QStringLiteral("app-%1.log").arg(i), true);
        NEEDS(QFile::exists(QStringLiteral("app-%1.log").arg(i - 1)) || i == 0);
    }
    turns.acquire();
    Logger::StopLogging();
    turns.acquire();
    stop = true;
    NEEDS(lister->wait());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    NEEDS(Threads().isEmpty());
    return 0;
}
const Scenario kListAndRestartTheLog("ListAndRestartTheLog", ListAndRestartTheLog);

// Arguments: "change", "stop" or "clean up". Meanwhile another thread asks for the list, with the Logger locked and the
// level still on: the line that the log itself writes then completes a batch.
int ListWhileTheLogEnds(const QStringList& arguments)
{
    const bool isChange = arguments[0] == QLatin1String("change");
    BeginLog(LoggerDefs::Warning | (isChange ? LoggerDefs::Debug : LoggerDefs::Information));
    Logger::LogWarning("filler", QString(4900, QLatin1Char('f')));
    std::unique_ptr<QThread> lister;
    WhenABatchIsComplete([&lister] {
        if (lister)
            return;
        lister = Started([] { RegisteredThread::LogThreads(); });
        lister->wait(kStillWaitingMs);
    });
    if (isChange)
        Logger::SetLoggerFileName(QStringLiteral("second.log"), true);
    else if (arguments[0] == QLatin1String("stop"))
        Logger::StopLogging();
    else
        Logger::Cleanup();
    NEEDS(lister && lister->wait());
    EndLog();
    return 0;
}
const Scenario kListWhileTheLogEnds("ListWhileTheLogEnds", ListWhileTheLogEnds);

// A second owner of the list's data: it is shared as long as the list itself exists.
const ThreadList* gCopy = nullptr;

const char* ListState()
{
    return gCopy->isDetached() ? "gone" : "alive";
}

void ReportTheListAtLast(void*)
{
    std::printf("at last, list %s\n", ListState());
    std::fflush(stdout);
}

void ReportTheMutex(QtMsgType, const QMessageLogContext&, const QString& msg)
{
    std::printf("%s, list %s\n", msg.toLatin1().constData(), ListState());
    abi::__cxa_atexit(ReportTheListAtLast, nullptr, nullptr);
}

// The framework complains when it destroys a locked mutex.
int ExitWithTheListLocked(const QStringList&)
{
    static const RegisteredThread* const left = new RegisteredThread(nullptr, QStringLiteral("left"));
    gCopy = new ThreadList(Threads());
    NEEDS(gCopy->size() == 1 && gCopy->first() == left);
    ListMutex().lock();
    qInstallMessageHandler(ReportTheMutex);
    return 0;
}
const Scenario kExitWithTheListLocked("ExitWithTheListLocked", ExitWithTheListLocked);

struct Initialisers
{
    QByteArray iPath;
    QList<quintptr> iOffsets;
};

int CollectInitialisers(dl_phdr_info* info, size_t, void* data)
{
    if (!QByteArray(info->dlpi_name).contains("libNeroltOrvaneBase."))
        return 0;
    quintptr array = 0;
    quintptr size = 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        if (info->dlpi_phdr[i].p_type != PT_DYNAMIC)
            continue;
        const auto* entry = reinterpret_cast<const ElfW(Dyn)*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
        for (; entry->d_tag != DT_NULL; ++entry) {
            if (entry->d_tag == DT_INIT_ARRAY)
                array = info->dlpi_addr + entry->d_un.d_ptr;
            else if (entry->d_tag == DT_INIT_ARRAYSZ)
                size = entry->d_un.d_val;
        }
    }
    auto* const found = static_cast<Initialisers*>(data);
    found->iPath = info->dlpi_name;
    for (quintptr i = 0; i < size / sizeof(quintptr); ++i)
        found->iOffsets += reinterpret_cast<const quintptr*>(array)[i] - info->dlpi_addr;
    return 1;
}

// The functions of an ELF file by address, including those that it does not export.
QMultiMap<quintptr, QByteArray> Functions(const QByteArray& file)
{
    QMultiMap<quintptr, QByteArray> functions;
    const auto* const header = reinterpret_cast<const ElfW(Ehdr)*>(file.constData());
    const auto* const sections = reinterpret_cast<const ElfW(Shdr)*>(file.constData() + header->e_shoff);
    for (int i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type != SHT_SYMTAB)
            continue;
        const char* const names = file.constData() + sections[sections[i].sh_link].sh_offset;
        const auto* const symbols = reinterpret_cast<const ElfW(Sym)*>(file.constData() + sections[i].sh_offset);
        for (quintptr k = 0; k < sections[i].sh_size / sizeof *symbols; ++k) {
            if (ELF64_ST_TYPE(symbols[k].st_info) == STT_FUNC)
                functions.insert(symbols[k].st_value, names + symbols[k].st_name);
        }
    }
    return functions;
}

// Functions that compilers and sanitizers add.
bool IsTheToolchains(const QByteArray& name)
{
    return name == "frame_dummy" || name == "asan.module_ctor" || name == "tsan.module_ctor" || name == "_sub_I_00099_0"
        || name == "_sub_I_00099_1";
}

QByteArray LineOf(const char* name, int running)
{
    return QByteArray("|30|Warning|RegisteredThread::LogThreads|Thread: ") + name
        + ", running: " + QByteArray::number(running);
}

} // namespace

class tst_RegisteredThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QVERIFY(Threads().isEmpty()); }

    void theClass()
    {
        using Class = RegisteredThread;
        static_assert(std::is_convertible_v<Class*, QThread*>);
        static_assert(std::is_nothrow_constructible_v<Class, QObject*, const QString&>);
        static_assert(!std::is_constructible_v<Class, QObject*>);
        static_assert(!std::is_constructible_v<Class, QString>);
        static_assert(!std::is_default_constructible_v<Class>);
        static_assert(!std::is_copy_constructible_v<Class> && !std::is_copy_assignable_v<Class>);
        static_assert(std::is_nothrow_destructible_v<Class> && std::has_virtual_destructor_v<Class>);
        static_assert(std::is_same_v<decltype(&Class::Name), const QString& (Class::*)() const noexcept>);
        static_assert(std::is_same_v<decltype(&Class::LogThreads), void (*)() noexcept>);
        static_assert(std::is_same_v<decltype(&Class::SetInterrupted), void (Class::*)() noexcept>);
        static_assert(std::is_same_v<decltype(&Class::IsInterrupted), bool (Class::*)() const noexcept>);
        static_assert(DerivedThread::RunIsTheFrameworks());
        QVERIFY((HaveAsManyVirtuals<RegisteredThread, QThread>()));
    }

    void theMetaObject()
    {
        const QMetaObject& meta = RegisteredThread::staticMetaObject;
        QCOMPARE(meta.className(), "RegisteredThread");
        QCOMPARE(meta.superClass(), &QThread::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
        QCOMPARE(meta.classInfoCount(), meta.classInfoOffset());
        QCOMPARE(meta.constructorCount(), 0);
        const RegisteredThread thread(nullptr, QString());
        QCOMPARE(thread.metaObject(), &meta);
    }

    void theFields()
    {
        static_assert(sizeof(std::atomic<bool>) == sizeof(bool));
        const RegisteredThread thread(nullptr, QString());
        const auto offset = [&thread](const void* field) {
            return static_cast<const char*>(field) - reinterpret_cast<const char*>(&thread);
        };
        const auto name = qptrdiff(sizeof(QThread));
        const auto flag = name + qptrdiff(sizeof(QString));
        QCOMPARE(offset(&(thread.*RegisteredThread_iName())), name);
        QCOMPARE(offset(&(thread.*RegisteredThread_iInterrupted())), flag);
        QCOMPARE(qptrdiff(sizeof thread), flag + qptrdiff(alignof(RegisteredThread)));
    }

    void theNewThread()
    {
        QObject parent;
        QString name = QStringLiteral("Gr\u00f6\u00dfe %1");
        RegisteredThread thread(&parent, name);
        name = QStringLiteral("changed");
        QCOMPARE(thread.Name(), QStringLiteral("Gr\u00f6\u00dfe %1"));
        QCOMPARE(&thread.Name(), &(thread.*RegisteredThread_iName()));
        QCOMPARE(thread.parent(), &parent);
        QCOMPARE(thread.objectName(), QString());
        QVERIFY(!thread.IsInterrupted());
        QVERIFY(!thread.isRunning());
        QVERIFY(!thread.isFinished());
        QCOMPARE(Threads(), ThreadList{&thread});
        thread.setParent(nullptr);
    }

    void theFlagIsClearedWhateverTheMemoryHeld()
    {
        alignas(RegisteredThread) unsigned char memory[sizeof(RegisteredThread)];
        std::memset(memory, 0xff, sizeof memory);
        auto* const thread = new (memory) RegisteredThread(nullptr, QString());
        const bool interrupted = thread->IsInterrupted();
        thread->~RegisteredThread();
        QVERIFY(!interrupted);
    }

    void theListIsInOrderOfConstruction()
    {
        QVERIFY(Threads().isEmpty());
        const QString name = QStringLiteral("same");
        RegisteredThread first(nullptr, name);
        auto second = std::make_unique<DerivedThread>(nullptr, name);
        RegisteredThread third(nullptr, QString());
        auto fourth = std::make_unique<RegisteredThread>(nullptr, name);
        QCOMPARE(Threads(), (ThreadList{&first, second.get(), &third, fourth.get()}));
        second.reset();
        QCOMPARE(Threads(), (ThreadList{&first, &third, fourth.get()}));
        second = std::make_unique<DerivedThread>(nullptr, name);
        QCOMPARE(Threads(), (ThreadList{&first, &third, fourth.get(), second.get()}));
        fourth.reset();
        QCOMPARE(Threads(), (ThreadList{&first, &third, second.get()}));
    }

    void startingAndEndingLeaveTheListAlone()
    {
        RegisteredThread first(nullptr, QStringLiteral("first"));
        RegisteredThread second(nullptr, QStringLiteral("second"));
        first.start();
        QCOMPARE(Threads(), (ThreadList{&first, &second}));
        QVERIFY(Quit(first));
        QCOMPARE(Threads(), (ThreadList{&first, &second}));
    }

    void theParentDestroysItAndItLeavesTheList()
    {
        auto parent = std::make_unique<QObject>();
        RegisteredThread other(nullptr, QString());
        const QPointer<RegisteredThread> thread = new RegisteredThread(parent.get(), QString());
        QCOMPARE(Threads(), (ThreadList{&other, thread.data()}));
        parent.reset();
        QVERIFY(!thread);
        QCOMPARE(Threads(), ThreadList{&other});
    }

    void theFirstEntryGoes()
    {
        auto* const twice = new RegisteredThread(nullptr, QString());
        RegisteredThread other(nullptr, QString());
        Threads().append(twice);
        delete twice;
        const ThreadList left = Threads();
        Threads().removeLast();
        QCOMPARE(left, (ThreadList{&other, twice}));
    }

    void itRunsAnEventLoop()
    {
        RegisteredThread thread(nullptr, QString());
        QObject object;
        object.moveToThread(&thread);
        thread.start();
        const QThread* ranOn = nullptr;
        QMetaObject::invokeMethod(
            &object,
            [&ranOn, &object] {
                ranOn = QThread::currentThread();
                object.moveToThread(nullptr);
            },
            Qt::BlockingQueuedConnection);
        QVERIFY(thread.isRunning());
        QVERIFY(Quit(thread));
        QCOMPARE(ranOn, &thread);
    }

    void theFlagConcernsOneThreadOnly()
    {
        RegisteredThread before(nullptr, QStringLiteral("same"));
        RegisteredThread thread(nullptr, QStringLiteral("same"));
        RegisteredThread after(nullptr, QStringLiteral("same"));
        thread.SetInterrupted();
        QVERIFY(thread.IsInterrupted());
        QVERIFY(!before.IsInterrupted());
        QVERIFY(!after.IsInterrupted());
        const RegisteredThread later(nullptr, QStringLiteral("same"));
        QVERIFY(!later.IsInterrupted());
    }

    void theFlagStaysForEver()
    {
        RegisteredThread thread(nullptr, QString());
        thread.SetInterrupted();
        thread.SetInterrupted();
        QVERIFY(thread.IsInterrupted());
        thread.start();
        QVERIFY(thread.IsInterrupted());
        QVERIFY(Quit(thread));
        QVERIFY(thread.IsInterrupted());
    }

    void theFlagIsNotTheFrameworks()
    {
        RegisteredThread thread(nullptr, QString());
        thread.start();
        thread.requestInterruption();
        QVERIFY(!thread.IsInterrupted());
        QVERIFY(Quit(thread));
        thread.start();
        thread.SetInterrupted();
        QVERIFY(!thread.isInterruptionRequested());
        QVERIFY(thread.isRunning());
        QVERIFY(Quit(thread));
    }

    void theThreadSeesTheFlag()
    {
        PollingThread thread(nullptr, QString());
        thread.start();
        QVERIFY(!thread.wait(1));
        thread.SetInterrupted();
        QVERIFY(thread.wait());
    }

    void theFlagNeedsNoLock()
    {
        RegisteredThread thread(nullptr, QStringLiteral("worker"));
        bool interrupted = false;
        ListMutex().lock();
        const auto other = Started([&] {
            thread.SetInterrupted();
            interrupted = thread.IsInterrupted() && thread.Name() == QLatin1String("worker");
        });
        const bool ended = other->wait(kDeadlineMs);
        ListMutex().unlock();
        QVERIFY(other->wait());
        QVERIFY(ended);
        QVERIFY(interrupted);
    }

    void constructionWaitsForTheList()
    {
        std::unique_ptr<RegisteredThread> thread;
        ListMutex().lock();
        const auto builder
            = Started([&thread] { thread = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("late")); });
        const bool ended = builder->wait(kStillWaitingMs);
        const ThreadList meanwhile = Threads();
        ListMutex().unlock();
        QVERIFY(builder->wait());
        QVERIFY(!ended);
        QVERIFY(meanwhile.isEmpty());
        QCOMPARE(Threads(), ThreadList{thread.get()});
    }

    void destructionWaitsForTheList() { QCOMPARE(LoggedBy("FinishBeforeTheListIsFree"), QList<QByteArray>()); }

    void manyThreadsAtOnce()
    {
        std::vector<std::unique_ptr<QThread>> builders;
        for (int i = 0; i < 8; ++i) {
            builders.push_back(Started([] {
                auto before = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("before"));
                for (int k = 0; k < 500; ++k) {
                    auto next = std::make_unique<RegisteredThread>(nullptr, QString::number(k));
                    before = std::move(next);
                }
            }));
        }
        for (const auto& builder : builders)
            QVERIFY(builder->wait());
        QCOMPARE(Threads(), ThreadList());
    }

    void theMutexIsRecursive()
    {
        QVERIFY(ListMutex().isRecursive());
        QCOMPARE(LoggedBy("UseAllUnderTheList"),
                 (QList<QByteArray>{LineOf("logging thread", 1), LineOf("inner", 0), LineOf("logging thread", 1)}));
    }

    void destroyedWhileRunning_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<QString>("className");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QList<QByteArray>>("lines");

        const QString plain = QStringLiteral("RegisteredThread");
        const QString worker = QStringLiteral("worker");
        const QByteArray start = "|30|Warning|RegisteredThread::~RegisteredThread|Thread: ";
        const QList<QByteArray> line{start + "worker destroyed while running"};
        QTest::newRow("warnings only") << int(LoggerDefs::Warning) << plain << worker << line;
        QTest::newRow("all levels") << kAllLevels << plain << worker << line;
        // In a destructor the object has the class of that destructor.
        QTest::newRow("class derived from it")
            << int(LoggerDefs::Warning) << QStringLiteral("DerivedThread") << worker << line;
        QTest::newRow("template marks in the name") << int(LoggerDefs::Warning) << plain << QStringLiteral("%1 %2")
                                                    << QList<QByteArray>{start + "%1 %2 destroyed while running"};
        QTest::newRow("no name") << int(LoggerDefs::Warning) << plain << QString()
                                 << QList<QByteArray>{start + " destroyed while running"};
        QTest::newRow("all but warnings")
            << (kAllLevels ^ LoggerDefs::Warning) << plain << worker << QList<QByteArray>();
    }
    void destroyedWhileRunning()
    {
        QFETCH(int, mask);
        QFETCH(QString, className);
        QFETCH(QString, name);
        QFETCH(QList<QByteArray>, lines);
        const auto result = TestSupport::RunScenario("DestroyRunning", {QString::number(mask), className, name});
        QCOMPARE(LoggedIn(result), lines);
        // By then it is no longer in the list. The framework, not the library, ends the process.
        QCOMPARE(
            result.iStdout,
            QByteArray("QThread: Destroyed while thread is still running\nlisted: logging thread\nlisted: other\n"));
    }

    void destroyedAtRest() { QCOMPARE(LoggedBy("DestroyAtRest"), QList<QByteArray>()); }

    void itLogsItsDestructionOnTheList()
    {
        QCOMPARE(LoggedBy("DestroyWhileTheLoggerIsHeld"),
                 (QList<QByteArray>{"|1|Error|holder|held",
                                    "|30|Warning|RegisteredThread::~RegisteredThread|Thread: worker destroyed while "
                                    "running"}));
    }

    void logThreads_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("isOn");
        QTest::newRow("warnings only") << int(LoggerDefs::Warning) << true;
        QTest::newRow("all levels") << kAllLevels << true;
        QTest::newRow("all but warnings") << (kAllLevels ^ LoggerDefs::Warning) << false;
        QTest::newRow("none") << 0 << false;
    }
    void logThreads()
    {
        QFETCH(int, mask);
        QFETCH(bool, isOn);
        QList<QByteArray> lines;
        for (const int running : {1, 0})
            lines << LineOf("idle", 0) << LineOf("logging thread", 1) << LineOf("twin", running)
                  << LineOf("finished", 0) << LineOf("twin", 0) << LineOf("%1 %2", 0) << LineOf("", 0);
        QCOMPARE(LoggedBy("ListThreads", {QString::number(mask)}), isOn ? lines : QList<QByteArray>());
    }

    void logThreadsHoldsTheList()
    {
        QCOMPARE(LoggedBy("ListWhileTheLoggerIsHeld"),
                 (QList<QByteArray>{"|1|Error|holder|held", LineOf("logging thread", 1)}));
    }

    void logThreadsWalksACopy()
    {
        const QByteArray first = LineOf(QByteArray(kPastOneBatch, '1').constData(), 0);
        const QByteArray second = LineOf("second", 0);
        const QByteArray logging = LineOf("logging thread", 1);
        QCOMPARE(LoggedBy("ListAndChange", {QStringLiteral("construct")}),
                 (QList<QByteArray>{first, second, logging, first, second, logging, LineOf("late", 0)}));
    }

    void logThreadsStopsWhenWarningsGoOff()
    {
        const QByteArray first = LineOf(QByteArray(kPastOneBatch, '1').constData(), 0);
        QCOMPARE(LoggedBy("ListAndChange", {QStringLiteral("switch off")}),
                 (QList<QByteArray>{first, "|1|Error|between|"}));
    }

    void logThreadsBeginsWhenWarningsGoOn()
    {
        QCOMPARE(LoggedBy("SwitchOnBeforeTheWalk"), QList<QByteArray>{LineOf("logging thread", 1)});

        QList<QByteArray> all;
        for (int i = 0; i < kManyThreads; ++i)
            all += LineOf(QByteArray::number(i).constData(), 0);
        all += LineOf("logging thread", 1);
        QList<QByteArray> round;
        int rounds = 0;
        int begunInTheMiddle = 0;
        for (const QByteArray& line : LoggedBy("SwitchOnDuringTheWalk")) {
            if (line != "|30|Warning|round|") {
                round += line;
                continue;
            }
            QCOMPARE(round, all.mid(all.size() - round.size()));
            begunInTheMiddle += !round.isEmpty() && round != all;
            round.clear();
            ++rounds;
        }
        QCOMPARE(rounds, 20);
        QVERIFY(begunInTheMiddle > 0);
    }

    void interrupting_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("isOn");
        QTest::newRow("debug only") << int(LoggerDefs::Debug) << true;
        QTest::newRow("all levels") << kAllLevels << true;
        QTest::newRow("all but debug") << (kAllLevels ^ LoggerDefs::Debug) << false;
        QTest::newRow("none") << 0 << false;
    }
    void interrupting()
    {
        QFETCH(int, mask);
        QFETCH(bool, isOn);
        const QList<QByteArray> lines{
            "|20|Debug|RegisteredThread::SetInterrupted|plain", "|20|Debug|DerivedThread::SetInterrupted|%1",
            "|20|Debug|Outer::NestedThread::SetInterrupted|", "|20|Debug|RegisteredThread::SetInterrupted|plain"};
        QCOMPARE(LoggedBy("InterruptAll", {QString::number(mask)}), isOn ? lines : QList<QByteArray>());
    }

    void interruptingLogsBeforeItSetsTheFlag()
    {
        QCOMPARE(LoggedBy("LookAtTheFlagWhileItsLineIsLogged"),
                 QList<QByteArray>{"|20|Debug|RegisteredThread::SetInterrupted|" + QByteArray(kPastOneBatch, 'n')});
    }

    void theListAndTheLogDoNotWaitForEachOther()
    {
        const auto result = TestSupport::RunScenario("ListAndRestartTheLog");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void theListWhileTheLogEnds_data()
    {
        QTest::addColumn<QString>("end");
        for (const char* const end : {"change", "stop", "clean up"})
            QTest::newRow(end) << QString::fromLatin1(end);
    }
    void theListWhileTheLogEnds()
    {
        QFETCH(QString, end);
        const auto result = TestSupport::RunScenario("ListWhileTheLogEnds", {end});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void theListOutlivesTheMutex()
    {
        const auto result = TestSupport::RunScenario("ExitWithTheListLocked");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStdout, QByteArray("QMutex: destroying locked mutex, list alive\nat last, list gone\n"));
    }

    void theOnlyStaticInitialiserOfTheLibrary()
    {
        Initialisers initialisers;
        QCOMPARE(::dl_iterate_phdr(CollectInitialisers, &initialisers), 1);
        const QMultiMap<quintptr, QByteArray> functions
            = Functions(LogText::Read(QFile::decodeName(initialisers.iPath)));
        QList<QByteArray> own;
        for (const quintptr offset : qAsConst(initialisers.iOffsets)) {
            const QByteArray name = functions.value(offset, "unknown");
            if (!IsTheToolchains(name))
                own += name;
        }
        QVERIFY2(own.size() == 1, own.join(' ').constData());
        QVERIFY2(own.first().startsWith("_GLOBAL__sub_I_"), own.first().constData());
        QVERIFY2(own.first().contains("RegisteredThread"), own.first().constData());
    }
};

NEROLT_TEST_MAIN(tst_RegisteredThread)

#include "tst_RegisteredThread.moc"

#include "CrashLives.h"

#include "CallDeath.h"
#include "CrashKills.h"
#include "Lines.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using namespace CrashLives;
using CrashKills::Death;
using TestSupport::Scenario;

namespace {

int Argument(const QStringList& arguments, int number)
{
    return arguments.value(number).toInt();
}

void SayOn(Said& said, int speaker, int number, int pauseUsecs)
{
    Lines::Say(speaker, number);
    said.iReturned.at(size_t(speaker)).store(number + 1, std::memory_order_release);
    if (pauseUsecs > 0)
        ::usleep(useconds_t(pauseUsecs));
}

[[noreturn]] void Die(Death death)
{
    switch (death) {
    case Death::Crash:
        std::signal(SIGSEGV, SIG_DFL); // not the sanitizer's
        *static_cast<volatile char*>(::mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) = 1;
        break;
    case Death::Abort:
        std::abort();
    case Death::Exception:
        throw std::runtime_error("nobody catches it");
    case Death::Exit:
        ::_exit(1);
    case Death::Kill:
    case Death::AtCall:
    case Death::InWrite:
        break;
    }
    ::kill(::getpid(), SIGKILL);
    ::_exit(kRefused);
}

void Start()
{
    struct rlimit none = {};
    ::setrlimit(RLIMIT_CORE, &none);
    Logger::GetInstance()->SetLevel(StartedLog::kAlwaysOn);
    if (!Logger::SetCrashFile(kCrashFile))
        ::_exit(kRefused);
    Logger::SetLoggerFileName(kLog, false);
}

struct Load
{
    int iRun;
    int iThreads;
    int iPauseUsecs;
    std::chrono::microseconds iLife;
    Death iDeath;
    bool iChanges;
    std::function<void(Death)> iArm;
};

// The main thread is the first speaker.
[[noreturn]] void LogUntilDeath(Said& said, const Load& load)
{
    const int first = load.iRun * kMostThreads;
    for (int thread = 1; thread < load.iThreads; ++thread) {
        std::thread([&said, &load, speaker = first + thread] {
            for (int number = 0;; ++number)
                SayOn(said, speaker, number, load.iPauseUsecs);
        }).detach();
    }
    auto begin = std::chrono::steady_clock::now();
    bool isToChange = load.iChanges;
    for (int number = 0;; ++number) {
        SayOn(said, first, number, load.iPauseUsecs);
        said.iLogging.store(load.iRun + 1);
        const auto lived = std::chrono::steady_clock::now() - begin;
        if (isToChange && lived > load.iLife / 2) {
            Logger::SetLoggerFileName(kOtherLog, true);
            load.iArm(load.iDeath);
            isToChange = false;
            begin = std::chrono::steady_clock::now(); // it may have taken long
        } else if (load.iDeath != Death::Kill && lived > load.iLife) {
            Die(load.iDeath);
        }
    }
}

const Scenario crashKilled(kKilled, [](const QStringList& arguments) {
    Said& said = *Share(kSaid);
    const auto arm = [&arguments](Death death) {
        if (death == Death::AtCall)
            CallDeath::AfterCalls(Argument(arguments, 6), Argument(arguments, 7) != 0);
        else if (death == Death::InWrite)
            CallDeath::InWrite(Argument(arguments, 8), Argument(arguments, 9));
    };
    const Load load{Argument(arguments, 0),
                    Argument(arguments, 1),
                    Argument(arguments, 2),
                    std::chrono::microseconds(Argument(arguments, 3)),
                    Death(Argument(arguments, 4)),
                    Argument(arguments, 5) != 0,
                    arm};
    said.iStarted.store(load.iRun + 1);
    if (load.iRun > 0)
        arm(load.iDeath);
    Start();
    if (load.iRun == 0 && !load.iChanges)
        arm(load.iDeath);
    LogUntilDeath(said, load);
    return kRefused;
});

const Scenario crashCompleted(kCompleted, [](const QStringList& arguments) {
    Said& said = *Share(kSaid);
    Start();
    for (int number = 0; number < kLastLines; ++number)
        SayOn(said, Argument(arguments, 0) * kMostThreads, number, 0);
    Logger::StopLogging();
    return 0;
});

} // namespace

Said* CrashLives::Share(const QByteArray& path)
{
    const int file = ::open(path.constData(), O_RDWR | O_CLOEXEC);
    void* const memory = ::mmap(nullptr, sizeof(Said), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    if (memory == MAP_FAILED)
        qFatal("no shared memory");
    return static_cast<Said*>(memory);
}

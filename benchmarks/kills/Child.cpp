#include "Child.h"

#include "Log.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

void LogLines(Log& log, const Child::Job& job)
{
    Child::Returned& returned = *Child::Share(Child::kReturnedFile);
    for (int number = 0; number < job.iLines; ++number) {
        log.Write(number);
        returned.store(number + 1, std::memory_order_release);
        if (job.iPauseUsecs > 0)
            ::usleep(useconds_t(job.iPauseUsecs));
    }
}

void Crash()
{
    void* const page = ::mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}

// Without the end of the process, which is not what is measured.
void PrintCost(Log& log, const Child::Job& job)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    for (int number = 0; number < job.iLines; ++number)
        log.Write(number);
    const std::chrono::duration<double, std::nano> taken = Clock::now() - begin;
    std::printf("%.1f\n", taken.count() / job.iLines);
    std::fflush(stdout);
    ::_exit(0);
}

} // namespace

Child::Returned* Child::Share(const QByteArray& path)
{
    const int file = ::open(path.constData(), O_RDWR | O_CLOEXEC);
    void* const memory = ::mmap(nullptr, sizeof(Returned), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED)
        std::abort();
    ::close(file);
    return static_cast<Returned*>(memory);
}

int Child::Run(const Job& job)
{
    const struct rlimit noCore = {};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const LogKind kind = LogKinds::All().at(size_t(job.iKind));
    if (job.iTask == Task::Recover) {
        kind.iRecover();
        return 0;
    }
    const std::unique_ptr<Log> log = kind.iMake();
    if (job.iTask == Task::Cost)
        PrintCost(*log, job);
    LogLines(*log, job);
    switch (job.iTask) {
    case Task::Crash:
        Crash();
        break;
    case Task::Abort:
        std::abort();
    case Task::Terminate:
        throw std::runtime_error("nobody catches it");
    case Task::Kill:
        while (true)
            ::pause();
    case Task::Cost:
    case Task::Recover:
        break;
    }
    return 1;
}

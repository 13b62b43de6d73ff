#include "RunningLog.h"

#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QFile>
#include <QtCore/QSemaphore>

#include <atomic>
#include <memory>
#include <unistd.h>

NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)
NEROLT_PRIVATE(LoggerAgent, iWorker, LoggerWorker*)
NEROLT_PRIVATE(LoggerWorker, iQueue, QList<QByteArray>)

namespace {

constexpr int kPatienceMs = 60000;

LoggerAgent* Agent()
{
    return (Logger::GetInstance()->*Logger_iAgent()).load();
}

} // namespace

void RunningLog::HandOver()
{
    Agent()->SendBufferToThread();
    LoggerWorker* const worker = Agent()->*LoggerAgent_iWorker();
    bool done = false;
    const auto look = [&] { done = (worker->*LoggerWorker_iQueue()).isEmpty(); };
    while (!done)
        QMetaObject::invokeMethod(worker, look, Qt::BlockingQueuedConnection);
}

void RunningLog::WhileTheWriterStandsStill(const std::function<void()>& call)
{
    const auto stands = std::make_shared<QSemaphore>();
    const auto end = std::make_shared<QSemaphore>();
    LoggerWorker* const worker = Agent()->*LoggerAgent_iWorker();
    const auto stand = [stands, end] {
        stands->release();
        end->acquire();
    };
    QMetaObject::invokeMethod(worker, stand, Qt::QueuedConnection);
    stands->acquire();
    call();
    end->release();
    Logger::Flush(kPatienceMs); // false when it was stopped meanwhile
}

qint64 RunningLog::ResidentKiB()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * (::sysconf(_SC_PAGESIZE) / 1024);
}

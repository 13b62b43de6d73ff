#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RTimerGarbageCollector.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

namespace {

constexpr const char* kCleanup = "RegisteredTimer::Cleanup";
constexpr const char* kCleanupTimer = "RegisteredTimer::CleanupTimer";

void Collect(QTimer* timer, const QObject* parent, RTimerGarbageCollector& collector, const char* func)
{
    if (Logger::GetInstance()->GetLevel() & LoggerDefs::Debug)
        Logger::LogDebug(func, QLatin1String("Cleanup registered timer, parent is ") + parent->objectName());
    QObject::disconnect(timer, nullptr, nullptr, nullptr);
    timer->stop();
    collector.AddTimer(timer);
}

} // namespace

RegisteredTimer::RegisteredTimer(QObject* parent)
    : QTimer(parent)
{
}

RegisteredTimer* RegisteredTimer::singleShot(int msec, QObject* receiver, const char* member)
{
    auto* const timer = new RegisteredTimer(receiver);
    timer->setSingleShot(true);
    connect(timer, SIGNAL(timeout()), receiver, member);
    timer->start(msec);
    return timer;
}

void RegisteredTimer::Cleanup(QObject* parent, bool recursive)
{
    if (Logger::GetInstance()->GetLevel() & LoggerDefs::Trace)
        Logger::LogTrace(kCleanup, QStringLiteral("Enter."));
    if (!parent)
        return;
    RTimerGarbageCollector collector(nullptr);
    const QObjectList children = parent->children();
    for (QObject* const child : children) {
        if (auto* const timer = dynamic_cast<RegisteredTimer*>(child))
            Collect(timer, parent, collector, kCleanup);
        else if (recursive)
            Cleanup(child, true);
    }
}

void RegisteredTimer::CleanupTimer(QTimer* timer, QObject* parent)
{
    if (!parent)
        return;
    RTimerGarbageCollector collector(nullptr);
    const QObjectList children = parent->children();
    for (QObject* const child : children) {
        if (timer && dynamic_cast<QTimer*>(child) == timer) {
            Collect(timer, parent, collector, kCleanupTimer);
            break;
        }
    }
}

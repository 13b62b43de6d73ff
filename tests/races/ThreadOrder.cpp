// The framework is not built with the thread sanitizer, which therefore does not see how it orders threads. These
// definitions replace the framework's own and tell the sanitizer: what one thread does before it unlocks a mutex,
// releases a semaphore, emits or posts happens before what another does after it has locked, acquired, received or
// waited. All events share one order, so a race that an event hides by chance is not found.

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QMutex>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <climits>
#include <dlfcn.h>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}

namespace {

char gEvents;

template <typename Function>
Function Original(const char* symbol)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, symbol));
}

} // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto original = Original<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
    original(this);
    __tsan_acquire(this);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto original = Original<bool (*)(QMutex*, int)>("_ZN6QMutex7tryLockEi");
    const bool locked = original(this, timeout);
    if (locked)
        __tsan_acquire(this);
    return locked;
}

void QMutex::unlock() noexcept
{
    static const auto original = Original<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    original(this);
}

// Inside it the framework unlocks the mutex and locks it again.
bool QWaitCondition::wait(QMutex* mutex, QDeadlineTimer deadline)
{
    static const auto original = Original<bool (*)(QWaitCondition*, QMutex*, QDeadlineTimer)>(
        "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    __tsan_release(mutex);
    const bool isWoken = original(this, mutex, deadline);
    __tsan_acquire(mutex);
    return isWoken;
}

void QSemaphore::release(int number)
{
    static const auto original = Original<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    original(this, number);
}

bool QSemaphore::tryAcquire(int number, int timeout)
{
    static const auto original = Original<bool (*)(QSemaphore*, int, int)>("_ZN10QSemaphore10tryAcquireEii");
    const bool acquired = original(this, number, timeout);
    if (acquired)
        __tsan_acquire(this);
    return acquired;
}

void QMetaObject::activate(QObject* sender, const QMetaObject* type, int signal, void** arguments)
{
    static const auto original
        = Original<void (*)(QObject*, const QMetaObject*, int, void**)>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(&gEvents);
    original(sender, type, signal, arguments);
    __tsan_acquire(&gEvents);
}

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type,
                                   void* result)
{
    static const auto original = Original<bool (*)(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    __tsan_release(&gEvents);
    const bool invoked = original(object, slot, type, result);
    __tsan_acquire(&gEvents);
    return invoked;
}

void QObject::deleteLater()
{
    static const auto original = Original<void (*)(QObject*)>("_ZN7QObject11deleteLaterEv");
    __tsan_release(&gEvents);
    original(this);
}

bool QObject::event(QEvent* event)
{
    static const auto original = Original<bool (*)(QObject*, QEvent*)>("_ZN7QObject5eventEP6QEvent");
    __tsan_acquire(&gEvents);
    const bool done = original(this, event);
    __tsan_release(&gEvents);
    return done;
}

void QThread::start(Priority priority)
{
    static const auto original = Original<void (*)(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
    connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
    original(this, priority);
}

bool QThread::isFinished() const
{
    static const auto original = Original<bool (*)(const QThread*)>("_ZNK7QThread10isFinishedEv");
    const bool ended = original(this);
    __tsan_acquire(const_cast<QThread*>(this));
    return ended;
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto original = Original<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = original(this, deadline);
    __tsan_acquire(this);
    return ended;
}

bool QThread::wait(unsigned long time)
{
    return wait(time == ULONG_MAX ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(qint64(time)));
}

#include "Stack.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <array>
#include <execinfo.h>
#include <pthread.h>

// With external linkage, or the functions would have no names.
namespace Stack {

constexpr int kFramesOfAnEvent = 6; // more than the delivery of one takes

struct Goal
{
    int iDepth;
    void (*iFunction)(void*);
    void* iArgument;
};

// Behind a call, or the compiler may make it a jump and the caller be gone from the stack.
inline void Stay()
{
    asm volatile("" : : : "memory");
}

template <typename Key, typename Value>
struct Layer
{
    static void Descend(const Goal& goal, const QMap<Key, Value>& context);
};

void Descend(const Goal& goal);

class Receiver : public QObject
{
public:
    explicit Receiver(const Goal& goal)
        : iGoal(goal)
    {
    }
    bool event(QEvent*) override;

private:
    const Goal& iGoal;
};

Q_NEVER_INLINE bool Receiver::event(QEvent*)
{
    Descend(iGoal);
    Stay();
    return true;
}

template <typename Key, typename Value>
Q_NEVER_INLINE void Layer<Key, Value>::Descend(const Goal& goal, const QMap<Key, Value>&)
{
    Stack::Descend(goal);
    Stay();
}

Q_NEVER_INLINE void Descend(const Goal& goal)
{
    std::array<void*, 64> frames = {};
    const int left = goal.iDepth - ::backtrace(frames.data(), int(frames.size()));
    if (left < 1)
        qFatal("the stack is too deep already");
    if (left == 1) {
        goal.iFunction(goal.iArgument);
    } else if (left > kFramesOfAnEvent) {
        Receiver receiver(goal);
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(&receiver, &event);
    } else if (left % 2 == 1) {
        Layer<QString, int>::Descend(goal, {});
    } else {
        Descend(goal);
    }
    Stay();
}

void* Begin(void* goal)
{
    Descend(*static_cast<const Goal*>(goal));
    Stay();
    return nullptr;
}

} // namespace Stack

void CallAtDepth(int depth, void (*function)(void*), void* argument)
{
    Stack::Goal goal{depth, function, argument};
    pthread_t thread = {};
    if (::pthread_create(&thread, nullptr, Stack::Begin, &goal) != 0)
        qFatal("no thread can be started");
    ::pthread_join(thread, nullptr);
}

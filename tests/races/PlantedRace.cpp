// Two threads and a number: the sanitizer must report a race on it, but not if the framework orders the threads.
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMutex>

#include <cstdio>
#include <cstring>

namespace {

constexpr int kTimes = 10000;

int gNumber = 0;
QMutex gMutex;

class Counter : public RegisteredThread
{
public:
    explicit Counter(bool isLocked)
        : RegisteredThread(nullptr, QStringLiteral("counter"))
        , iIsLocked(isLocked)
    {
    }

protected:
    void run() override
    {
        for (int i = 0; i < kTimes; ++i) {
            if (iIsLocked) {
                const QMutexLocker lock(&gMutex);
                ++gNumber;
            } else {
                ++gNumber;
            }
        }
    }

private:
    const bool iIsLocked;
};

void Together(bool isLocked)
{
    Counter first(isLocked);
    Counter second(isLocked);
    first.start();
    second.start();
    first.wait();
    second.wait();
}

void OneAfterTheOther()
{
    for (int i = 0; i < 2; ++i) {
        Counter counter(false);
        counter.start();
        counter.wait();
        ++gNumber;
    }
}

// The sanitizer does not see events for objects of the framework's own classes.
class Receiver : public QObject
{
};

void BySignal()
{
    QThread thread;
    Receiver there;
    there.moveToThread(&thread);
    thread.start();
    ++gNumber;
    QMetaObject::invokeMethod(
        &there, [] { ++gNumber; }, Qt::BlockingQueuedConnection);
    ++gNumber;
    thread.quit();
    thread.wait();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const char* const way = argc > 1 ? argv[1] : "";
    if (std::strcmp(way, "race") == 0)
        Together(false);
    else if (std::strcmp(way, "lock") == 0)
        Together(true);
    else if (std::strcmp(way, "wait") == 0)
        OneAfterTheOther();
    else
        BySignal();
    std::printf("%d\n", gNumber);
    return 0;
}

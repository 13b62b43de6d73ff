// Named threads, timers that are deleted with their receiver, singletons that can be replaced.
#include <NeroltOrvaneBase/Threading.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

class Worker : public RegisteredThread // clazy:exclude=missing-qobject-macro
{
public:
    using RegisteredThread::RegisteredThread;

protected:
    void run() override
    {
        while (!IsInterrupted())
            yieldCurrentThread();
    }
};

struct Greeting : public IOrvaneInstance
{
    void Delete() override { delete this; }

    QString iText = "good morning";
};

static QString& GreetingOf(SingletonHook& hook)
{
    return static_cast<Greeting*>(hook.GetInstance("Greeting"))->iText;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);

    Worker worker(nullptr, "worker");
    worker.start();
    worker.SetInterrupted();
    out << worker.Name() << " ended: " << (worker.wait() ? "yes" : "no") << '\n';

    // Both are children of their receiver. The first one is cancelled.
    RegisteredTimer* const late = RegisteredTimer::singleShot(60000, qApp, SLOT(quit()));
    RegisteredTimer::CleanupTimer(late, qApp);
    RegisteredTimer::singleShot(0, qApp, SLOT(quit()));
    out << "event loop: " << QCoreApplication::exec()
        << ", timers left: " << qApp->findChildren<RegisteredTimer*>().size() << '\n';
    RegisteredTimer::Cleanup(qApp, false);
    out << "timers after the cleanup: " << qApp->findChildren<RegisteredTimer*>().size() << '\n';

    // The hook deletes the instances that it holds at the end. One that was replaced belongs to its owner.
    SingletonHook hook;
    Greeting ours;
    hook.SetInstance("Greeting", &ours);
    out << GreetingOf(hook) << '\n';
    hook.SetInstance("Greeting", new Greeting);
    GreetingOf(hook) = "what a test says instead";
    out << GreetingOf(hook) << '\n';
    return 0;
}

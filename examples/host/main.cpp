#include "Host.h"
#include "Interrupt.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SingletonHook.h>

#include <QtCore/QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NeroltHost"));
    QCoreApplication::setApplicationVersion(QStringLiteral(HOST_VERSION));
    Options options;
    if (const std::optional<int> code = ReadOptions(QCoreApplication::arguments(), options))
        return *code;
    Interrupt::Catch();
    // Before any singleton is used. The hook deletes the instances that it holds at the end.
    SingletonHook hook;
    HookedSingleton::InstallHook(&hook);
    const int code = Host(options).Run();
    Logger::Cleanup();
    return code;
}

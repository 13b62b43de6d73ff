#include <NeroltOrvaneBase/IOrvaneInstance.h>
#include <NeroltOrvaneBase/SingletonHook.h>

IOrvaneInstance::~IOrvaneInstance() = default;

SingletonHook::SingletonHook() = default;

SingletonHook::~SingletonHook()
{
    const QList<IOrvaneInstance*> instances = iInstances.values();
    for (IOrvaneInstance* const instance : instances)
        instance->Delete();
}

IOrvaneInstance* SingletonHook::GetInstance(const QString& name)
{
    return iInstances.value(name, nullptr);
}

void SingletonHook::SetInstance(const QString& name, IOrvaneInstance* instance)
{
    iInstances.insert(name, instance);
}

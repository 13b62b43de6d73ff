#include <NeroltOrvaneBase/HookedSingleton.h>

HookedSingleton* HookedSingleton::iInstance = nullptr;

HookedSingleton::HookedSingleton(SingletonHook* hook)
    : iHook(hook)
{
}

HookedSingleton::~HookedSingleton()
{
    iInstance = nullptr;
}

void HookedSingleton::InstallHook(SingletonHook* hook)
{
    if (!iInstance)
        iInstance = new HookedSingleton(hook);
}

SingletonHook* HookedSingleton::GetInstance()
{
    if (!iInstance)
        qFatal("HookedSingleton::GetInstance: call HookedSingleton::InstallHook before the first singleton is used");
    return iInstance->iHook;
}

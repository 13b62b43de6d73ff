#include "SecondModule.h"

#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/SystemConfig.h>

NEROLT_PRIVATE_STATIC(SystemConfig, sInstance, SystemConfig*)

extern "C" Q_DECL_EXPORT const SecondModule* secondModule()
{
    static const SecondModule module{&SystemConfig::GetInstance, &SystemConfig_sInstance(), &SystemConfig::SetTestPath,
                                     &SystemConfig::GetUserCachePath};
    return &module;
}

#pragma once

#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/SystemConfig.h>

NEROLT_PRIVATE_STATIC(SystemConfig, sInstance, SystemConfig*)

const QString kName = QStringLiteral("SystemConfig");

/// A host's own configuration.
class Replacement : public SystemConfig
{
public:
    explicit Replacement(int& destroyed)
        : iDestroyed(destroyed)
    {
    }
    ~Replacement() override { ++iDestroyed; }

private:
    int& iDestroyed;
};

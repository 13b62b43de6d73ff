#pragma once

#include <QtCore/QStringList>

/// What the library tells of the machine.
struct Machine
{
    QString iSystem;
    QString iProcessor;
    QString iBuild; ///< what the application was built for; empty outside of a bundle
    QString iUserAgent;
    QString iUpdateUrl; ///< where a host with these facts would ask for an update
    qint64 iFreeBytes = -1; ///< where the user's data is
    bool iIsLoggedIn = false;
    QStringList iCallers; ///< the functions that led here, the innermost first
};

/// Blocks for up to 5 seconds, see SystemConfig::getApplicationBuildArch.
Machine DescribeMachine();

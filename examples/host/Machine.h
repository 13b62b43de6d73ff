#pragma once

#include <QtCore/QStringList>

/// The facts that the library knows about the machine.
struct Machine
{
    QString iSystem;
    QString iProcessor;
    QString iBuild; ///< what the application was built for; empty outside of a bundle
    QString iUserAgent;
    QString iUpdateUrl; ///< the URL by which such a host would check for updates
    qint64 iFreeBytes = -1; ///< on the volume of the user's data
    bool iIsLoggedIn = false;
    QStringList iCallers; ///< the functions that led here, the innermost first
};

/// Blocks for up to 5 seconds, see SystemConfig::getApplicationBuildArch.
Machine DescribeMachine();

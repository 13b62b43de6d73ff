#pragma once

// Included first in a source for macOS: what the framework declares only there. No other header may see that macro.

#include <QtCore/qglobal.h>

#define Q_OS_DARWIN
#include <QtCore/qstring.h>
#undef Q_OS_DARWIN

#include <QtCore/qcalendar.h>
#include <QtCore/qnamespace.h>
#include <QtCore/qshareddata.h>

#define Q_OS_DARWIN
#include <QtCore/qdatetime.h>
#undef Q_OS_DARWIN

/// The framework's own. Its definition is with the rest of the fake Foundation.
class QMacAutoReleasePool
{
public:
    QMacAutoReleasePool();
    ~QMacAutoReleasePool();

private:
    Q_DISABLE_COPY(QMacAutoReleasePool)
    void* iOuter;
};

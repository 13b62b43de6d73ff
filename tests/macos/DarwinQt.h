#pragma once

// Included first in a source for macOS: what the framework declares only there, and for its documentation. No other
// header may see that macro.

#define Q_QDOC
#include <QtCore/qstring.h>
#undef Q_QDOC

#include <QtCore/qnamespace.h>
#include <QtCore/qshareddata.h>

#define Q_QDOC
#include <QtCore/qdatetime.h>
#undef Q_QDOC

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

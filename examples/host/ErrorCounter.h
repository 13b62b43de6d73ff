#pragma once

#include <NeroltOrvaneBase/IErrorReporter.h>

#include <QtCore/QStringList>

#include <mutex>

/// Is told of each error that is logged. Another host would show them to the user, or send them to a server.
class ErrorCounter final : public IErrorReporter
{
public:
    // Any thread may log an error, so any thread may call this.
    void ReportError(const QString& errorCode, const QString&) override
    {
        const std::lock_guard<std::mutex> lock(iMutex);
        iCodes += errorCode;
    }

    QStringList Codes() const
    {
        const std::lock_guard<std::mutex> lock(iMutex);
        return iCodes;
    }

private:
    mutable std::mutex iMutex;
    QStringList iCodes;
};

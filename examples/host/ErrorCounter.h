#pragma once

#include <NeroltOrvaneBase/IErrorReporter.h>

#include <QtCore/QStringList>

#include <mutex>

/// Hears of every error that is logged. Another host would show them to the user, or send them home.
class ErrorCounter final : public IErrorReporter
{
public:
    // Any thread may log an error, so any thread may come here.
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

#pragma once

#include "support/LogText.h"
#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>

#include <utility>

NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)

/// Captures the lines of the log while it lives, under a mask of its own. Needs no logging thread and no file: it gets
/// the lines from the agent.
class CapturedLog
{
public:
    static constexpr int kAll = 63;

    explicit CapturedLog(int mask)
        : iAgent((Logger::GetInstance()->*Logger_iAgent()).load())
    {
        iConnection
            = QObject::connect(iAgent, &LoggerAgent::logMessage, [this](const QByteArray& batch) { iText += batch; });
        Bodies();
        Logger::GetInstance()->SetLevel(mask);
    }
    ~CapturedLog()
    {
        Logger::GetInstance()->SetLevel(0);
        iAgent->SendBufferToThread();
        QObject::disconnect(iConnection);
    }
    Q_DISABLE_COPY(CapturedLog)

    /// The lines since the last call, each from the first bar on.
    QList<QByteArray> Bodies()
    {
        iAgent->SendBufferToThread();
        return LogText::Bodies(std::exchange(iText, QByteArray()));
    }

private:
    LoggerAgent* iAgent;
    QMetaObject::Connection iConnection;
    QByteArray iText;
};

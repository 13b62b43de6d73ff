#pragma once

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QList>
#include <QtCore/QStringList>

#include <functional>
#include <utility>

/// Does with a report what the test says. It is set while it lives.
class Reporter final : public IErrorReporter
{
public:
    using Call = std::function<void(const QString& errorCode, const QString& message)>;

    explicit Reporter(Call call = nullptr)
        : iCall(std::move(call))
    {
        Logger::SetErrorReporter(this);
    }
    ~Reporter() { Logger::SetErrorReporter(nullptr); }
    Q_DISABLE_COPY(Reporter)

    void ReportError(const QString& errorCode, const QString& message) override
    {
        if (iCall)
            return iCall(errorCode, message);
        iReports += errorCode + QStringLiteral(": ") + message;
    }

    QStringList iReports;

private:
    const Call iCall;
};

/// What a host calls to log.
struct EntryPoint
{
    const char* iName;
    std::function<void()> iCall;
    QByteArray iLine;
    QString iReport = QString();
};

inline QList<EntryPoint> EntryPoints()
{
    using namespace LoggerDefs;
    Logger* const logger = Logger::GetInstance();
    const QString m = QStringLiteral("m");
    const QString unknown = QStringLiteral("7: Unknown exception has been caught.");
    const QByteArray unknownLine = "|7|Exception|F|Unknown exception has been caught.";
    return {
        {"LogInformation", [=] { Logger::LogInformation("F", m); }, "|10|Information|F|m"},
        {"Information", [=] { logger->Information("F", m); }, "|10|Information|F|m"},
        {"LogDebug", [=] { Logger::LogDebug("F", m); }, "|20|Debug|F|m"},
        {"Debug", [=] { logger->Debug("F", m); }, "|20|Debug|F|m"},
        {"LogTrace", [=] { Logger::LogTrace("F", m); }, "|25|Trace|F|m"},
        {"Trace", [=] { logger->Trace("F", m); }, "|25|Trace|F|m"},
        {"LogWarning", [=] { Logger::LogWarning("F", m); }, "|30|Warning|F|m"},
        {"Warning", [=] { logger->Warning("F", m); }, "|30|Warning|F|m"},
        {"LogError ints", [=] { Logger::LogError(1, BothIntsHexDec, "F", m, 2, 31); }, "|1|Error|F|m", "1_1f_2: m"},
        {"Error ints", [=] { logger->Error(1, BothIntsHexDec, "F", m, 3, 32); }, "|1|Error|F|m", "1_20_3: m"},
        {"LogError text", [=] { Logger::LogError(1, ExtraText, "F", m, "a"); }, "|1|Error|F|m", "1_a: m"},
        {"Error text", [=] { logger->Error(1, ExtraText, "F", m, "b"); }, "|1|Error|F|m", "1_b: m"},
        {"LogError unsigned", [=] { Logger::LogError(1, TwoUIntsHex, 10U, 11U, "F", m); }, "|1|Error|F|m", "1_a_b: m"},
        {"Error unsigned", [=] { logger->Error(1, TwoUIntsHex, 12U, 13U, "F", m); }, "|1|Error|F|m", "1_c_d: m"},
        {"LogException", [=] { Logger::LogException(1, "F", m, 77); }, "|1|Exception|F|m", "1: m"},
        {"Exception", [=] { logger->Exception(1, "F", m, 78); }, "|1|Exception|F|m", "1: m"},
        {"LogUnknownException", [=] { Logger::LogUnknownException(7, "F"); }, unknownLine, unknown},
        {"UnknownException", [=] { logger->UnknownException(7, "F"); }, unknownLine, unknown},
    };
}

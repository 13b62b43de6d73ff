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

inline QList<EntryPoint> EntryPoints(const char* func = "F", const QString& m = QStringLiteral("m"))
{
    using namespace LoggerDefs;
    Logger* const logger = Logger::GetInstance();
    const QByteArray name = QByteArray("|") + func + '|';
    const QByteArray rest = name + m.toUtf8();
    const QString unknown = QStringLiteral("7: Unknown exception has been caught.");
    const QByteArray unknownLine = "|7|Exception" + name + "Unknown exception has been caught.";
    return {
        {"LogInformation", [=] { Logger::LogInformation(func, m); }, "|10|Information" + rest},
        {"Information", [=] { logger->Information(func, m); }, "|10|Information" + rest},
        {"LogDebug", [=] { Logger::LogDebug(func, m); }, "|20|Debug" + rest},
        {"Debug", [=] { logger->Debug(func, m); }, "|20|Debug" + rest},
        {"LogTrace", [=] { Logger::LogTrace(func, m); }, "|25|Trace" + rest},
        {"Trace", [=] { logger->Trace(func, m); }, "|25|Trace" + rest},
        {"LogWarning", [=] { Logger::LogWarning(func, m); }, "|30|Warning" + rest},
        {"Warning", [=] { logger->Warning(func, m); }, "|30|Warning" + rest},
        {"LogError ints", [=] { Logger::LogError(1, BothIntsHexDec, func, m, 2, 31); }, "|1|Error" + rest,
         "1_1f_2: " + m},
        {"Error ints", [=] { logger->Error(1, BothIntsHexDec, func, m, 3, 32); }, "|1|Error" + rest, "1_20_3: " + m},
        {"LogError text", [=] { Logger::LogError(1, ExtraText, func, m, "a"); }, "|1|Error" + rest, "1_a: " + m},
        {"Error text", [=] { logger->Error(1, ExtraText, func, m, "b"); }, "|1|Error" + rest, "1_b: " + m},
        {"LogError unsigned", [=] { Logger::LogError(1, TwoUIntsHex, 10U, 11U, func, m); }, "|1|Error" + rest,
         "1_a_b: " + m},
        {"Error unsigned", [=] { logger->Error(1, TwoUIntsHex, 12U, 13U, func, m); }, "|1|Error" + rest, "1_c_d: " + m},
        {"LogException", [=] { Logger::LogException(1, func, m, 77); }, "|1|Exception" + rest, "1: " + m},
        {"Exception", [=] { logger->Exception(1, func, m, 78); }, "|1|Exception" + rest, "1: " + m},
        {"LogUnknownException", [=] { Logger::LogUnknownException(7, func); }, unknownLine, unknown},
        {"UnknownException", [=] { logger->UnknownException(7, func); }, unknownLine, unknown},
    };
}

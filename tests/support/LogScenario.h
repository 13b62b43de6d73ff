#pragma once

#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>

#include <QtTest/QTest>

#include <functional>
#include <utility>

NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)

/// What tests of log lines share.
namespace LogScenario {

constexpr int kAllLevels = 63;
/// So long a text makes every line complete a batch, and Captured calls back.
constexpr int kOneBatch = 5001;

/// Captures the lines of the log while it lives, under a mask of its own. Needs no logging thread and no file: it gets
/// the lines from the agent.
class Captured
{
public:
    explicit Captured(int mask = kAllLevels)
        : iAgent((Logger::GetInstance()->*Logger_iAgent()).load())
    {
        iConnection = QObject::connect(iAgent, &LoggerAgent::logMessage, [this](const QByteArray& batch) {
            iText += batch;
            if (iWhenComplete)
                iWhenComplete();
        });
        Lines();
        Logger::GetInstance()->SetLevel(mask);
    }
    ~Captured()
    {
        Logger::GetInstance()->SetLevel(0);
        iWhenComplete = nullptr;
        iAgent->SendBufferToThread();
        QObject::disconnect(iConnection);
    }
    Q_DISABLE_COPY(Captured)

    /// The lines since the last call, each from the first bar on.
    QList<QByteArray> Lines()
    {
        const auto call = std::exchange(iWhenComplete, nullptr);
        iAgent->SendBufferToThread();
        iWhenComplete = call;
        return LogText::Bodies(std::exchange(iText, QByteArray()));
    }

    /// Called on the thread that logs, during its call, when a batch is complete.
    std::function<void()> iWhenComplete;

private:
    LoggerAgent* iAgent;
    QMetaObject::Connection iConnection;
    QByteArray iText;
};

/// The lines that a call logs under a mask.
template <typename Call>
QList<QByteArray> LoggedBy(const Call& call, int mask = kAllLevels)
{
    Captured log(mask);
    call();
    return log.Lines();
}

/// The lines that a scenario has left in a file. If it failed, or wrote to its standard error, what tells of that.
inline QList<QByteArray> LeftBy(const TestSupport::ScenarioResult& result, const QString& file = "app.log")
{
    if (!result.IsOk() || !result.iStderr.isEmpty())
        return {result.Describe()};
    return LogText::Bodies(LogText::Read(result.iFolder.filePath(file)));
}

/// Those lines of a list that pass a mask.
inline QList<QByteArray> Passing(const QList<QByteArray>& lines, int mask)
{
    const std::pair<const char*, int> levels[] = {{"|Information|", 1}, {"|Error|", 2},      {"|Warning|", 4},
                                                  {"|Trace|", 8},       {"|Exception|", 16}, {"|Debug|", 32}};
    QList<QByteArray> passing;
    for (const QByteArray& line : lines) {
        for (const auto& [word, level] : levels) {
            if ((mask & level) != 0 && line.indexOf(word) == line.indexOf('|', 1))
                passing += line;
        }
    }
    return passing;
}

/// Rows with a column "mask": all levels, each of the given ones alone, and all but each.
inline void AddMasks(std::initializer_list<int> levels)
{
    QTest::addColumn<int>("mask");
    QTest::newRow("all levels") << kAllLevels;
    for (const int level : levels) {
        QTest::addRow("only level %d", level) << level;
        QTest::addRow("all but level %d", level) << (kAllLevels ^ level);
    }
}

} // namespace LogScenario

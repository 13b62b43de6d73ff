#pragma once

#include "support/TestMain.h"

#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>

/// A scenario in the current folder. Its program may be elsewhere, and it may leave processes behind, for which this
/// waits as well.
class DetachedScenario
{
public:
    DetachedScenario();
    ~DetachedScenario();

    /// Another copy of this program.
    void SetProgram(const QString& program) { iProgram = program; }
    void SetVariable(const char* name, const QString& value) { iEnvironment.insert(QString::fromUtf8(name), value); }

    /// Runs it until it ends, for a minute at most.
    TestSupport::ScenarioResult Run(const char* name, const QStringList& arguments);
    /// Whether a process that it left behind still runs.
    bool HasLeft() const;
    /// Waits for those to end. False after a minute.
    bool WaitForRest() const;

private:
    Q_DISABLE_COPY(DetachedScenario)

    bool IsOver(int waitMs) const;

    QString iProgram;
    QProcessEnvironment iEnvironment;
    int iPipe[2]; ///< all processes inherit the write end, and none writes to it
};

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

    /// Runs it to its own end, within a minute.
    TestSupport::ScenarioResult Run(const char* name, const QStringList& arguments);
    /// Whether what it left behind has not ended yet.
    bool HasLeft() const;
    /// Waits for that. False after a minute.
    bool WaitForRest() const;

private:
    Q_DISABLE_COPY(DetachedScenario)

    bool IsOver(int waitMs) const;

    QString iProgram;
    QProcessEnvironment iEnvironment;
    int iPipe[2]; ///< the writing end is inherited by all, and never written to
};

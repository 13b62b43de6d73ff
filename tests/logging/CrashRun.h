#pragma once

#include "support/TestMain.h"

#include <QtCore/QDir>

/// Processes that end in the middle of their work, and what the next ones find.
namespace CrashRun {

/// In the folder of a run.
const QString kCrashFile = QStringLiteral("crash");

/// The first argument of the scenario is the folder of the run, where the process stays. It is protected, or ends.
void Begin(const QStringList& arguments);
/// The same, and goes on without protection.
bool IsProtected(const QStringList& arguments);
void Say(const QString& what);

QByteArray Said(const QByteArray& what);
QByteArray Recovered(int lines);
QByteArray Stopped(const QByteArray& path);
QList<QByteArray> BodiesOf(const QDir& folder, const char* file = "log");

/// What is said by LetDie.
QList<QByteArray> TheFour();

/// A fresh folder for runs.
class Folder
{
public:
    Folder()
        : iPath(TestSupport::EnterFreshFolder())
    {
    }

    TestSupport::ScenarioResult Run(const char* scenario, const QStringList& arguments = {}) const;
    /// A run that dies with lines in the buffer: two from before the log had a file, two from after.
    TestSupport::ScenarioResult LetDie(const QString& log = QStringLiteral("log")) const;
    /// The next run. Says two lines, and dies if it is told so. Returns whether it was protected.
    bool NextRun(const QStringList& logAndDeath = {}) const;

    QDir Path() const { return iPath; }
    QStringList Files() const { return iPath.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System); }

private:
    QDir iPath;
};

} // namespace CrashRun

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QStringList>
#include <QtTest/QTest>

#include <functional>

class QProcess;

/// Shared by all test programs: a scratch folder of its own for each, which is the home and the current folder while it
/// runs and is removed afterwards, and scenarios that run in a process of their own.
namespace TestSupport {

/// The scratch folder of this process.
QString Scratch();

/// Creates a folder in it and makes that the current one. Its path contains no links.
QString EnterFreshFolder();

/// A scenario: a function that the test program runs in a fresh process. Define it at file scope.
class Scenario
{
public:
    /// The function gets the arguments given to RunScenario and returns the exit code.
    Scenario(const char* name, std::function<int(const QStringList&)> run);
};

struct ScenarioResult
{
    bool iTimedOut = false;
    bool iCrashed = false;
    int iExitCode = -1;
    QByteArray iStdout;
    QByteArray iStderr;
    QDir iFolder; ///< the new current folder of the process, which stays for the test to check

    /// For QVERIFY2: whether it ended normally with exit code 0.
    bool IsOk() const { return !iTimedOut && !iCrashed && iExitCode == 0; }
    QByteArray Describe() const;
};

/// Starts this program again, or a copy of it, for one scenario.
void StartScenario(QProcess& process, const char* name, const QStringList& arguments = {},
                   const QString& program = QCoreApplication::applicationFilePath());

/// Runs this program, or a copy of it, for one scenario and waits until it ends, or kills it after a minute.
ScenarioResult RunScenario(const char* name, const QStringList& arguments = {},
                           const QString& program = QCoreApplication::applicationFilePath());

int Main(int argc, char** argv, const std::function<int(int, char**)>& runTests);

} // namespace TestSupport

#define NEROLT_TEST_MAIN(TestClass)                                                                                    \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        return TestSupport::Main(argc, argv, [](int count, char** arguments) {                                         \
            TestClass test;                                                                                            \
            return QTest::qExec(&test, count, arguments);                                                              \
        });                                                                                                            \
    }

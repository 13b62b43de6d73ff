#pragma once

#include "support/Framework.h"
#include "support/TestMain.h"

#include <QtCore/QByteArray>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <csignal>

class QDeadlineTimer;

/// The folder that a host keeps its data in.
class DataFolder
{
public:
    QString Base() const { return iFolder.path(); }
    QString Path() const { return iFolder.filePath(QStringLiteral("data")); }
    QString Option() const { return QStringLiteral("--folder=") + Path(); }
    QDir Logs() const { return QDir(iFolder.filePath(QStringLiteral("data/Logs"))); }
    QString LogPath() const { return Logs().filePath(QStringLiteral("host.log")); }
    QByteArray Log() const;
    QStringList Rotated() const { return Logs().entryList({QStringLiteral("host-*.log")}, QDir::Files, QDir::Name); }
    QByteArray RotatedLog(int index) const;
    /// Writes a file below Base.
    void Write(const QString& name, const QByteArray& text) const;

private:
    QTemporaryDir iFolder{TestSupport::Scratch() + QStringLiteral("/host")};
};

/// The value of a row of a host's summary: "  label   value".
QByteArray Row(const QByteArray& summary, const QByteArray& label);

/// Runs the host program as a user may run it.
class HostProcess : public TestSupport::Process
{
public:
    HostProcess();
    ~HostProcess() override;

    void SetVariable(const char* name, const char* value);
    /// Without the report for technical support, which takes long.
    void MakeReport() { iIsReporting = true; }
    /// As an ordinary user, even if this process is root and nobody else can reach the program.
    void RunAsOrdinaryUser();
    /// On a pseudo terminal instead of pipes. Call it before Start.
    void OpenTerminal();

    void Start(const QStringList& arguments);
    /// Waits for the end. Returns the exit code, or -1 if the program crashed or had to be killed.
    int Finish();
    int Run(const QStringList& arguments);

    /// Starts a run that nobody could wait for, and stops the process when there are lines of the load in its log, at
    /// whatever speed it logs: the log of a running host may be rotated before it is looked at.
    bool StartAndHold(const DataFolder& data);
    /// Lets the process go on with a signal.
    bool Release(int signal) { return Signal(signal) && Signal(SIGCONT); }

    /// The output on the pseudo terminal.
    const QByteArray& Screen() const { return iScreen; }
    QByteArray Out() { return readAllStandardOutput(); }
    QByteArray Err() { return readAllStandardError(); }

private:
    void BeforeProgram() override;
    void ReadScreen();
    bool Signal(int signal) { return ::kill(pid_t(processId()), signal) == 0; }
    bool Hold(const QDeadlineTimer& deadline);

    QProcessEnvironment iEnvironment = QProcessEnvironment::systemEnvironment();
    QString iProgram = QStringLiteral(HOST_PROGRAM);
    bool iIsReporting = false;
    bool iIsOrdinaryUser = false;
    int iMaster = -1;
    int iSlave = -1;
    QByteArray iScreen;
};

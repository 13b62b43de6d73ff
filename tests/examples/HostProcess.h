#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>

/// The host program, run the way a user may run it.
class HostProcess : public QProcess
{
public:
    HostProcess();
    ~HostProcess() override;

    void SetVariable(const char* name, const char* value);
    /// Tests do without the report for the support, which takes its time.
    void MakeReport() { iIsReporting = true; }
    /// Even if this process is root, and the program lies where nobody else can reach it.
    void RunAsOrdinaryUser();
    /// On a pseudo terminal of its own instead of pipes. Call it before Start.
    void OpenTerminal();

    void Start(const QStringList& arguments);
    /// Waits for the end; the exit code, or -1 when it crashed or had to be killed.
    int Finish();
    int Run(const QStringList& arguments);

    /// What it wrote to the pseudo terminal.
    const QByteArray& Screen() const { return iScreen; }
    QByteArray Out() { return readAllStandardOutput(); }
    QByteArray Err() { return readAllStandardError(); }

protected:
    void setupChildProcess() override;

private:
    void ReadScreen();

    QProcessEnvironment iEnvironment = QProcessEnvironment::systemEnvironment();
    QString iProgram = QStringLiteral(HOST_PROGRAM);
    bool iIsReporting = false;
    bool iIsOrdinaryUser = false;
    int iMaster = -1;
    int iSlave = -1;
    QByteArray iScreen;
};

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringList>

/// Runs the host program as a user may run it.
class HostProcess : public QProcess
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

    /// The output on the pseudo terminal.
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

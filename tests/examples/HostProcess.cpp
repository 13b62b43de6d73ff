#include "HostProcess.h"

#include "support/LogText.h"
#include "support/OrdinaryUser.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kTimeoutMs = 60000;
constexpr int kPollMs = 10;
constexpr uid_t kNobody = 65534;

void BecomeOrdinaryUser()
{
    if (::getuid() != 0)
        return;
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)
        ::_exit(99);
}

// Makes a copy in this test's own folder.
QString Reachable(const QString& path)
{
    const QString copy = TestSupport::Scratch() + QLatin1Char('/') + QFileInfo(path).fileName();
    if (!QFile::exists(copy) && !QFile::copy(path, copy))
        qFatal("cannot copy %s", qPrintable(path));
    return copy;
}

} // namespace

QByteArray DataFolder::Log() const
{
    return LogText::Read(LogPath());
}

QByteArray DataFolder::RotatedLog(int index) const
{
    return LogText::Read(Logs().filePath(Rotated().value(index)));
}

void DataFolder::Write(const QString& name, const QByteArray& text) const
{
    const QString path = iFolder.filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray Row(const QByteArray& summary, const QByteArray& label)
{
    for (const QByteArray& line : LogText::Lines(summary)) {
        if (line.startsWith("  " + label + ' '))
            return line.mid(2 + label.size()).trimmed();
    }
    return "<no row>";
}

HostProcess::HostProcess()
{
    for (const char* const name : {"NO_COLOR", "TERM"})
        iEnvironment.remove(QString::fromLatin1(name));
}

HostProcess::~HostProcess()
{
    if (state() != NotRunning) {
        kill(); // a stopped one, too
        waitForFinished();
    }
    for (const int descriptor : {iMaster, iSlave}) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
}

void HostProcess::SetVariable(const char* name, const char* value)
{
    iEnvironment.insert(QString::fromLatin1(name), QString::fromLocal8Bit(value));
}

void HostProcess::RunAsOrdinaryUser()
{
    iIsOrdinaryUser = true;
    if (!OrdinaryUser::IsTestRoot())
        return;
    iProgram = Reachable(QStringLiteral(HOST_PROGRAM));
    SetVariable("LD_LIBRARY_PATH",
                QFile::encodeName(QFileInfo(Reachable(QStringLiteral(HOST_LIBRARY))).path()).constData());
}

void HostProcess::OpenTerminal()
{
    iMaster = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (iMaster < 0 || ::grantpt(iMaster) != 0 || ::unlockpt(iMaster) != 0)
        qFatal("no pseudo terminal");
    iSlave = ::open(::ptsname(iMaster), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ::fcntl(iMaster, F_SETFL, O_NONBLOCK);
}

void HostProcess::BeforeProgram()
{
    if (iIsOrdinaryUser)
        BecomeOrdinaryUser();
    if (iSlave < 0)
        return;
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(iSlave, descriptor);
}

void HostProcess::Start(const QStringList& arguments)
{
    setProcessEnvironment(iEnvironment);
    const QStringList first(iIsReporting ? QStringList() : QStringList(QStringLiteral("--no-report")));
    start(iProgram, first + arguments);
    waitForStarted();
}

// A terminal that nobody reads fills up and blocks its writer.
void HostProcess::ReadScreen()
{
    char bytes[4096];
    ssize_t size = 0;
    while (iMaster >= 0 && (size = ::read(iMaster, bytes, sizeof bytes)) > 0)
        iScreen.append(bytes, int(size));
}

int HostProcess::Finish()
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!waitForFinished(kPollMs) && state() != NotRunning) {
        ReadScreen();
        if (elapsed.hasExpired(kTimeoutMs))
            return -1;
    }
    ReadScreen();
    return exitStatus() == NormalExit ? exitCode() : -1;
}

int HostProcess::Run(const QStringList& arguments)
{
    Start(arguments);
    return Finish();
}

// Waits until it stands still.
bool HostProcess::Hold(const QDeadlineTimer& deadline)
{
    siginfo_t info = {};
    if (!Signal(SIGSTOP))
        return false;
    while (info.si_pid == 0 && !deadline.hasExpired())
        ::waitid(P_PID, id_t(processId()), &info, WSTOPPED | WNOHANG);
    return info.si_pid != 0;
}

bool HostProcess::StartAndHold(const DataFolder& data)
{
    const QDeadlineTimer deadline(2 * kTimeoutMs);
    Start({data.Option(), QStringLiteral("--lines=10000000"), QStringLiteral("--threads=1")});
    while (Hold(deadline)) {
        QFile log(data.LogPath());
        if (log.open(QIODevice::ReadOnly) && log.read(10000).contains("|LoadThread::run|"))
            return true;
        if (!Signal(SIGCONT) || waitForFinished(1))
            break;
    }
    return false;
}

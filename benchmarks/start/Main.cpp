#include "Log.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <chrono>
#include <cstdio>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>

// Starts itself again with the time of that moment; the second process measures how long it took from then on until the
// first line of its log was in the file, and what memory it has when nothing more happens.

namespace {

constexpr int kPatienceMs = 10000;
constexpr unsigned long kIdleMs = 300;

qint64 Now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// As the system's calls have it: the framework's would count as the log's.
void WaitForLine(const QByteArray& path)
{
    struct stat status = {};
    const qint64 end = Now() + qint64(kPatienceMs) * 1000000;
    while (::stat(path.constData(), &status) != 0 || status.st_size == 0) {
        if (Now() > end)
            qFatal("no line comes into %s", path.constData());
    }
}

qint64 ProportionalKiB()
{
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("Pss:"))
            return line.simplified().split(' ').value(1).toLongLong();
    }
    return 0;
}

int Start(int argc, char** argv)
{
    const qint64 begin = std::stoll(argv[1]);
    const QCoreApplication application(argc, argv);
    const QString path = QString::fromLocal8Bit(argv[2]) + QStringLiteral("/start.log");
    StartLog(path);
    WaitForLine(QFile::encodeName(path));
    const qint64 end = Now();
    QThread::msleep(kIdleMs);
    std::printf("{\"ms\": %.4f, \"pss\": %lld}\n", double(end - begin) / 1e6, ProportionalKiB());
    return 0;
}

int StartAgain(char* program)
{
    const QTemporaryDir folder;
    std::string path = folder.path().toStdString();
    std::string begin = std::to_string(Now());
    char* const arguments[] = {program, &begin[0], &path[0], nullptr};
    pid_t process = 0;
    int status = 0;
    if (::posix_spawn(&process, program, nullptr, nullptr, arguments, environ) != 0
        || ::waitpid(process, &status, 0) != process)
        qFatal("cannot start %s", program);
    return status == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    return argc == 3 ? Start(argc, argv) : StartAgain(argv[0]);
}

#include "Runs.h"

#include "Log.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <fstream>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kTimeoutMs = 120000;

// A fresh folder with a process in it.
class Run
{
public:
    Run()
    {
        QFile returned(iFolder.filePath(QString::fromLatin1(Child::kReturnedFile)));
        if (!iFolder.isValid() || !returned.open(QIODevice::WriteOnly) || !returned.resize(sizeof(Child::Returned)))
            throw Runs::Failure{QStringLiteral("no folder to work in")};
        iReturned = Child::Share(QFile::encodeName(returned.fileName()));
    }
    ~Run() { ::munmap(iReturned, sizeof(Child::Returned)); }
    Q_DISABLE_COPY(Run)

    void Start(const Child::Job& job)
    {
        iProcess.setWorkingDirectory(iFolder.path());
        iProcess.start(QCoreApplication::applicationFilePath(),
                       {QStringLiteral("child"), QString::number(job.iKind), QString::number(int(job.iTask)),
                        QString::number(job.iPauseUsecs), QString::number(job.iLines)});
    }

    // It dies when so many calls have returned.
    void KillAfter(int lines)
    {
        while (Returned() < lines && !iProcess.waitForFinished(0))
            ::usleep(50);
        iProcess.kill();
    }

    void End()
    {
        if (!iProcess.waitForFinished(kTimeoutMs))
            throw Runs::Failure{QStringLiteral("a process does not end")};
    }

    void EndWell()
    {
        End();
        if (iProcess.exitStatus() != QProcess::NormalExit || iProcess.exitCode() != 0)
            throw Runs::Failure{QString::fromLocal8Bit(iProcess.readAllStandardError())};
    }

    QByteArray Output() { return iProcess.readAllStandardOutput(); }
    int Returned() const { return iReturned->load(); }

    Runs::Left Judge() const
    {
        std::vector<int> times(Messages::kMost);
        Runs::Left left;
        std::ifstream log(QFile::encodeName(iFolder.filePath(QStringLiteral("kills.log"))).toStdString());
        std::string line;
        while (std::getline(log, line)) {
            const int number = Messages::NumberOf(line);
            if (number >= 0)
                ++times.at(size_t(number));
            left.iIsTorn |= log.eof() || (number < 0 && line.find("xxx") != std::string::npos);
        }
        left.iLost
            = int(std::count_if(times.begin(), times.begin() + Returned(), [](int count) { return count != 1; }));
        return left;
    }

private:
    QTemporaryDir iFolder;
    QProcess iProcess;
    Child::Returned* iReturned;
};

} // namespace

Runs::Left Runs::Kill(const Child::Job& job, bool isRecovered)
{
    Run run;
    const bool isKilled = job.iTask == Child::Task::Kill;
    run.Start({job.iKind, job.iTask, job.iPauseUsecs, isKilled ? Messages::kMost : job.iLines});
    if (isKilled)
        run.KillAfter(job.iLines);
    run.End();
    if (run.Returned() < job.iLines)
        throw Failure{QStringLiteral("a process died too early: %1 of %2 lines").arg(run.Returned()).arg(job.iLines)};
    if (isRecovered) {
        run.Start({job.iKind, Child::Task::Recover, 0, 0});
        run.EndWell();
    }
    return run.Judge();
}

double Runs::Cost(const Child::Job& job)
{
    Run run;
    run.Start(job);
    run.EndWell();
    return run.Output().toDouble();
}

#include "Ends.h"

#include "Lines.h"
#include "support/LogText.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QThread>

#include <atomic>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

// Encoding its name needs the framework's codecs, which are destroyed before the process ends.
constexpr const char* kLog = "l\xc3\xbcge.log";
constexpr const char* kStop = "stop";
constexpr int kPageBytes = 4096;

bool HasBegun()
{
    struct stat status = {};
    return ::stat(kLog, &status) == 0 && status.st_size > 0;
}

// Other threads continue to log while the process ends.
const Scenario endsUnderLoad("endsUnderLoad", [](const QStringList& arguments) {
    StartedLog::Start(QString::fromUtf8(kLog));
    static std::atomic<int> lines{0};
    for (int thread = 1; thread <= 3; ++thread) {
        std::thread([thread] {
            for (int number = 0;; ++number) {
                Lines::Say(thread, number);
                ++lines;
            }
        }).detach();
    }
    while (lines < 3000 || !HasBegun())
        QThread::yieldCurrentThread();
    if (arguments.contains(QLatin1String(kStop)))
        Logger::StopLogging();
    return 0;
});

// Uses the names that the system returns: the framework leaves out names that it cannot decode.
using Files = QMap<QByteArray, QByteArray>;

// The contents of a folder. Removes the folder.
Files Take(const QString& path)
{
    const QByteArray folder = QFile::encodeName(path);
    Files files;
    DIR* const entries = ::opendir(folder.constData());
    while (const dirent* const entry = entries ? ::readdir(entries) : nullptr) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        std::ifstream file(folder + '/' + name, std::ios::binary);
        files.insert(name, QByteArray::fromStdString(std::string(std::istreambuf_iterator<char>(file), {})));
        ::unlink((folder + '/' + name).constData());
    }
    if (entries)
        ::closedir(entries);
    ::rmdir(folder.constData());
    return files;
}

void JudgeLog(QByteArray text, Ends::Outcome& outcome)
{
    if (text.isEmpty())
        outcome.iFault = "the log is empty";
    // If the process ends during a write, the kernel may stop at a page boundary of the file.
    if (text.size() % kPageBytes == 0)
        text.truncate(text.lastIndexOf('\n') + 1);
    const QList<QByteArray> bodies = LogText::Bodies(text);
    for (const QByteArray& body : bodies) {
        if (!Lines::Whose(body) && !body.contains("|Logger::StopLogging|"))
            outcome.iFault = "torn: " + body;
    }
    outcome.iLines += bodies.size();
}

} // namespace

Ends::Outcome Ends::UnderLoad(int ends, bool stops)
{
    qputenv("LC_ALL", "C.UTF-8");
    const QStringList arguments{stops ? QString::fromLatin1(kStop) : QString()};
    Outcome outcome;
    while (outcome.iEnds < ends && outcome.iFault.isEmpty()) {
        const auto result = TestSupport::RunScenario("endsUnderLoad", arguments);
        const Files files = Take(result.iFolder.path());
        ++outcome.iEnds;
        if (!result.IsOk())
            outcome.iFault = result.Describe();
        else if (files.keys() != QList<QByteArray>{kLog})
            outcome.iFault = "files: " + files.keys().join(' ');
        else
            JudgeLog(files.first(), outcome);
    }
    return outcome;
}

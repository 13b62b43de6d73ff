#include "Log.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QString>

#include <cstdlib>

namespace {

constexpr const char* kFunction = "Disk::Scan";

class NeroltLog : public Log
{
public:
    void Write(int number) override { Logger::LogInformation(kFunction, iMessages[size_t(number)]); }

private:
    const std::vector<QString> iMessages = Messages::All<QString>(&QString::fromStdString);
};

void Start()
{
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(QStringLiteral("kills.log"), false);
}

void StartWithCrashFile()
{
    if (!Logger::SetCrashFile(QStringLiteral("kills.crash")))
        std::abort();
    Start();
}

std::unique_ptr<Log> Make()
{
    Start();
    return std::make_unique<NeroltLog>();
}

std::unique_ptr<Log> MakeWithCrashFile()
{
    StartWithCrashFile();
    return std::make_unique<NeroltLog>();
}

std::unique_ptr<Log> Recover()
{
    StartWithCrashFile();
    Logger::StopLogging();
    return nullptr;
}

const LogKinds kinds{{0, "this library with a crash file", MakeWithCrashFile, Recover},
                     {1, "this library without", Make, nullptr}};

} // namespace

#pragma once

#include <memory>
#include <string>
#include <vector>

/// A log as this program uses it: it writes ready-made messages to files in the current folder.
class Log
{
public:
    virtual ~Log() = default;
    virtual void Write(int number) = 0;

protected:
    Log() = default;
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
};

/// How a log is called, and how it is made. Those that are built into the program say so before `main`.
struct LogKind
{
    using Make = std::unique_ptr<Log> (*)();

    int iPlace; ///< in the table
    const char* iName;
    Make iMake;
    Make iRecover; ///< what the next process does before it writes anything, or null
};

class LogKinds
{
public:
    LogKinds(std::initializer_list<LogKind> kinds);
    /// In the order of the table.
    static std::vector<LogKind> All();
};

/// The messages: all of one length, with their number and a text.
namespace Messages {

constexpr int kMost = 400000;

std::string Text(int number);

/// The number of a line that ends with a whole message, or -1.
int NumberOf(const std::string& line);

/// All of them, in the class that a log takes.
template <typename Message, typename Convert>
std::vector<Message> All(const Convert& convert)
{
    std::vector<Message> messages;
    messages.reserve(kMost);
    for (int number = 0; number < kMost; ++number)
        messages.push_back(convert(Text(number)));
    return messages;
}

} // namespace Messages

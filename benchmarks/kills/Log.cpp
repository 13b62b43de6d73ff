#include "Log.h"

#include <algorithm>
#include <cstdlib>

namespace {

// Made when it is first needed: the logs are made known before main.
const std::string& Tail()
{
    static const std::string tail = ' ' + std::string(64, 'x') + " whole";
    return tail;
}

constexpr int kDigits = 8;

std::vector<LogKind>& Kinds()
{
    static std::vector<LogKind> kinds;
    return kinds;
}

} // namespace

LogKinds::LogKinds(std::initializer_list<LogKind> kinds)
{
    Kinds().insert(Kinds().end(), kinds);
}

std::vector<LogKind> LogKinds::All()
{
    std::vector<LogKind> all = Kinds();
    std::sort(all.begin(), all.end(), [](const LogKind& a, const LogKind& b) { return a.iPlace < b.iPlace; });
    return all;
}

std::string Messages::Text(int number)
{
    std::string digits = std::to_string(number);
    return std::string(kDigits - digits.size(), '0') + digits + Tail();
}

int Messages::NumberOf(const std::string& line)
{
    if (line.size() < kDigits + Tail().size()
        || line.compare(line.size() - Tail().size(), std::string::npos, Tail()) != 0)
        return -1;
    return std::atoi(line.substr(line.size() - Tail().size() - kDigits, kDigits).c_str());
}

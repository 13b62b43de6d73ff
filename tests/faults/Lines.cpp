#include "Lines.h"

#include "support/LogText.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QString>

#include <array>
#include <cstdio>
#include <vector>

namespace {

constexpr const char* kSpeaker = "Speaker";
constexpr int kSpeakerSize = 7;
constexpr int kTexts = 128;

struct Kind
{
    LoggerDefs::LogValues iLevel;
    int iCode; // or 0 for the number
    const char* iWord;
};

// Of the entry points of Say.
constexpr std::array<Kind, 8> kKinds{{{LoggerDefs::Information, 10, "Information"},
                                      {LoggerDefs::Warning, 30, "Warning"},
                                      {LoggerDefs::Error, 0, "Error"},
                                      {LoggerDefs::Error, 0, "Error"},
                                      {LoggerDefs::Error, 0, "Error"},
                                      {LoggerDefs::Debug, 20, "Debug"},
                                      {LoggerDefs::Exception, 0, "Exception"},
                                      {LoggerDefs::Trace, 25, "Trace"}}};

const Kind& KindOf(int number)
{
    return kKinds.at(size_t(number) % kKinds.size());
}

// Short and long, ASCII and other text, some with line breaks that the log removes.
QString MakeText(int index)
{
    QString text = QString(index, QLatin1Char(char('a' + index % 26)));
    if (index % 5 == 0)
        text += QStringLiteral("ä€") + QString::fromUcs4(U"\U0001F600", 1);
    if (index % 11 == 0)
        text.insert(text.size() / 2, QLatin1String("\r\n2024-03-05 14:07:09.042|30|Warning|F|forged"));
    return text;
}

// Made before main: a process that is copied while one of its threads made them would wait for that thread, which it
// has not. Never destroyed: a thread may log until the very end of the process.
const std::vector<QString>& gTexts = *[] {
    auto* const all = new std::vector<QString>;
    for (int i = 0; i < kTexts; ++i)
        all->push_back(MakeText(i));
    return all;
}();

QString Message(int thread, int number)
{
    return QString::number(thread) + QLatin1Char(' ') + QString::number(number) + QLatin1Char(' ')
        + gTexts[size_t(number % kTexts)];
}

} // namespace

LoggerDefs::LogValues Lines::LevelOf(int number)
{
    return KindOf(number).iLevel;
}

void Lines::Say(int thread, int number)
{
    const QString message = Message(thread, number);
    const auto code = unsigned(number);
    switch (size_t(number) % kKinds.size()) {
    case 0:
        return Logger::LogInformation(kSpeaker, message);
    case 1:
        return Logger::LogWarning(kSpeaker, message);
    case 2:
        return Logger::LogError(code, LoggerDefs::BothIntsHexDec, kSpeaker, message, thread, number);
    case 3:
        return Logger::LogError(code, LoggerDefs::ExtraText, kSpeaker, message, message);
    case 4:
        return Logger::LogError(code, LoggerDefs::TwoUIntsHex, code, code, kSpeaker, message);
    case 5:
        return Logger::LogDebug(kSpeaker, message);
    case 6:
        return Logger::LogException(code, kSpeaker, message, thread);
    default:
        return Logger::LogTrace(kSpeaker, message);
    }
}

QByteArray Lines::Body(int thread, int number)
{
    const Kind& kind = KindOf(number);
    return '|' + QByteArray::number(kind.iCode > 0 ? kind.iCode : number) + '|' + kind.iWord + '|' + kSpeaker + '|'
        + QByteArray::number(thread) + ' ' + QByteArray::number(number) + ' '
        + gTexts[size_t(number % kTexts)].toUtf8().replace('\r', "").replace('\n', "");
}

std::optional<Lines::Said> Lines::Whose(const QByteArray& body)
{
    const auto at = body.indexOf("|Speaker|");
    if (at < 0)
        return std::nullopt;
    const char* const words = body.constData() + at + kSpeakerSize + 2;
    Said said{};
    if (std::sscanf(words, "%d %d ", &said.iThread, &said.iNumber) != 2 || said.iNumber < 0)
        return std::nullopt;
    if (body != Body(said.iThread, said.iNumber))
        return std::nullopt;
    return said;
}

bool Lines::IsSpoken(const QByteArray& line)
{
    return line.contains(kSpeaker) || line.contains("forged");
}

void Lines::SayTen(int from)
{
    for (int number = from; number < from + 10; ++number)
        Say(0, number);
}

QList<int> Lines::Numbers(const QByteArray& log)
{
    QList<int> numbers;
    for (const QByteArray& body : LogText::Bodies(log)) {
        if (const std::optional<Said> said = Whose(body))
            numbers += said->iNumber;
    }
    return numbers;
}

QList<int> Lines::Expected(int from, int to)
{
    QList<int> numbers;
    for (int number = from; number < to; ++number) {
        if (LevelOf(number) & StartedLog::kAlwaysOn)
            numbers += number;
    }
    return numbers;
}

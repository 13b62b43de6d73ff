#pragma once

#include <NeroltOrvaneBase/LoggerDefs.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <optional>

/// The lines of a load. Each contains its thread, its number and a text of its own, which reveals torn, forged and lost
/// lines.
namespace Lines {

struct Said
{
    int iThread;
    int iNumber;
};

/// The level of a line. Every third line uses another entry point of the logger.
LoggerDefs::LogValues LevelOf(int number);

/// Logs the line.
void Say(int thread, int number);
/// Ten lines of speaker 0.
void SayTen(int from);

/// The text in the file after the time stamp.
QByteArray Body(int thread, int number);

/// The thread and number of a complete line; no value for any other line.
std::optional<Said> Whose(const QByteArray& body);

/// The numbers of the complete lines in a log, in their order.
QList<int> Numbers(const QByteArray& log);
/// Those that StartedLog::kAlwaysOn lets through.
QList<int> Expected(int from, int to);

/// Whether the line contains a speaker's name, complete or not.
bool IsSpoken(const QByteArray& line);

} // namespace Lines

#pragma once

#include <NeroltOrvaneBase/LoggerDefs.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <optional>

/// The lines of a load. Each tells who said it and which of his it is, and has a text of its own, so that what is torn,
/// forged or lost shows.
namespace Lines {

struct Said
{
    int iThread;
    int iNumber;
};

/// What most tests let through: all but what is tried for a second only.
constexpr int kAlwaysOn = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Exception;

/// The level of a speaker's line. Every third is of another entry point of the logger.
LoggerDefs::LogValues LevelOf(int number);

/// Logs the line.
void Say(int thread, int number);
/// Ten lines of speaker 0.
void SayTen(int from);

/// What stands in the file behind the stamp.
QByteArray Body(int thread, int number);

/// Whose line this is, if it is whole; nothing for a line of anybody else's.
std::optional<Said> Whose(const QByteArray& body);

/// The numbers of the whole lines in a log, in their order.
QList<int> Numbers(const QByteArray& log);
/// Those that kAlwaysOn lets through.
QList<int> Expected(int from, int to);

/// Whether a speaker's name is in the line, whole or not.
bool IsSpoken(const QByteArray& line);

} // namespace Lines

#include "Line.h"

namespace {

constexpr char kFiller[] = "the cache was looked through and nothing was found.";

int Code(Line::Level level)
{
    switch (level) {
    case Line::Level::Debug:
        return 20;
    case Line::Level::Warning:
        return 30;
    case Line::Level::Information:
        break;
    }
    return 10;
}

} // namespace

QString Line::Name(Level level)
{
    switch (level) {
    case Level::Debug:
        return QStringLiteral("Debug");
    case Level::Warning:
        return QStringLiteral("Warning");
    case Level::Information:
        break;
    }
    return QStringLiteral("Information");
}

QByteArray Line::Head(Level level)
{
    return '|' + QByteArray::number(Code(level)) + '|' + Name(level).toLatin1() + '|' + kFunction + '|';
}

int Line::Size(Level level)
{
    return kStampSize + Head(level).size() + kMessageSize + 1;
}

QByteArray Line::Message(int thread, int number)
{
    return "thread " + QByteArray::number(thread).rightJustified(2, '0') + " line "
        + QByteArray::number(number).rightJustified(7, '0')
        + QByteArray(": ").append(kFiller).leftJustified(kMessageSize - 22, '.', true);
}

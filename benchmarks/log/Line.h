#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <string>

/// The lines that every scenario writes: the same text, whoever writes them.
///
/// "<date and time>|code|level|Disk::Scan|thread 00 line 0000000: ...".
namespace Line {

enum class Level { Information, Debug, Warning };

/// What tells the lines of one scenario from those of another.
struct Shape
{
    Level iLevel = Level::Information;
    int iCharacters = 80; ///< of the message
    bool iIsMixed = false; ///< in several scripts, not in ASCII alone
};

constexpr const char* kFunction = "Disk::Scan";
constexpr int kStampSize = 23;
constexpr int kFewestCharacters = 24;
constexpr int kMaxThreads = 99;

/// What stands between the stamp and the message.
QByteArray Head(Level level);
QString Message(const Shape& shape, int thread, int number);

/// A message that exists already: only the line's number is incremented in place, so building it costs nothing.
template <typename Unit>
void CountUp(Unit* message)
{
    constexpr int kLastDigit = 21;
    Unit* digit = message + kLastDigit;
    while (*digit == Unit('9'))
        *digit-- = Unit('0');
    ++*digit;
}

/// A message of a thread, as the library's users have it.
class QtMessage
{
public:
    QtMessage(const Shape& shape, int thread)
        : iText(Message(shape, thread, 0))
        , iUnits(reinterpret_cast<ushort*>(iText.data()))
    {
    }
    Q_DISABLE_COPY(QtMessage)

    const QString& Text() const { return iText; }
    void Next() { CountUp(iUnits); }

private:
    QString iText;
    ushort* iUnits;
};

/// The same, as the users of the standard library have it: in UTF-8.
class StdMessage
{
public:
    StdMessage(const Shape& shape, int thread)
        : iText(Message(shape, thread, 0).toStdString())
    {
    }
    Q_DISABLE_COPY(StdMessage)

    const std::string& Text() const { return iText; }
    void Next() { CountUp(&iText[0]); }

private:
    std::string iText;
};

/// A whole line, ready to be written.
class ReadyLine
{
public:
    ReadyLine(const Shape& shape, int thread);
    Q_DISABLE_COPY(ReadyLine)

    const std::string& Text() const { return iText; }
    void Next() { CountUp(&iText[iBegin]); }

private:
    size_t iBegin; ///< of the message
    std::string iText;
};

} // namespace Line

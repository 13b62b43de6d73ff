#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// The lines that every scenario writes: the same bytes, whoever writes them.
///
/// "<date and time>|code|level|Disk::Scan|thread 00 line 0000000: ...", with a message of 80 characters.
namespace Line {

enum class Level { Information, Debug, Warning };

constexpr const char* kFunction = "Disk::Scan";
constexpr int kStampSize = 23;
constexpr int kMessageSize = 80;
constexpr int kMaxThreads = 99;
constexpr int kMaxNumber = 9999999;

QString Name(Level level);
/// What stands between the stamp and the message.
QByteArray Head(Level level);
/// With the line feed.
int Size(Level level);
QByteArray Message(int thread, int number);

/// Counts the line's number up in place: a message that is at hand, without the cost of making it.
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
    explicit QtMessage(int thread)
        : iText(QString::fromLatin1(Message(thread, 0)))
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

/// The same, as the users of the standard library have it.
class StdMessage
{
public:
    explicit StdMessage(int thread)
        : iText(Message(thread, 0).toStdString())
    {
    }
    Q_DISABLE_COPY(StdMessage)

    const std::string& Text() const { return iText; }
    void Next() { CountUp(&iText[0]); }

private:
    std::string iText;
};

} // namespace Line

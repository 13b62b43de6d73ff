#include "Check.h"

#include "Files.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QVector>

#include <cstring>

namespace {

constexpr char kStampShape[] = "0000-00-00 00:00:00.000";

bool HasStamp(const QByteArray& line)
{
    if (line.size() < Line::kStampSize)
        return false;
    for (int i = 0; i < Line::kStampSize; ++i) {
        const bool isDigit = line[i] >= '0' && line[i] <= '9';
        if (kStampShape[i] == '0' ? !isDigit : line[i] != kStampShape[i])
            return false;
    }
    return true;
}

// What the library says of itself while it starts, rotates and stops.
bool IsOwnLine(const QByteArray& line)
{
    const QByteArray body = line.mid(Line::kStampSize);
    if (body.startsWith("continued from bench-"))
        return true;
    const QByteArray func = body.split('|').value(3);
    for (const char* const name : {"Logger::", "LoggerAgent::", "RegisteredTimer::", "RTimerGarbageCollector::"}) {
        if (func.startsWith(name))
            return true;
    }
    return false;
}

class Checker
{
public:
    Checker(Line::Level level, int threads)
        : iHead(Line::Head(level))
        , iSize(Line::Size(level) - 1)
    {
        for (int thread = 0; thread < threads; ++thread) {
            iExpected += Line::Message(thread, 0);
            iCounts += 0;
        }
    }

    QString CheckFile(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("cannot read %1").arg(path);
        if (file.size() == 0)
            return {};
        const char* const text = reinterpret_cast<const char*>(file.map(0, file.size()));
        return text ? CheckText(text, file.size()) : QStringLiteral("cannot map %1").arg(path);
    }

    QString CheckCounts(int linesPerThread) const
    {
        for (int thread = 0; thread < iCounts.size(); ++thread) {
            if (iCounts[thread] != linesPerThread)
                return QStringLiteral("thread %1: %2 lines of %3").arg(thread).arg(iCounts[thread]).arg(linesPerThread);
        }
        return {};
    }

private:
    QString CheckText(const char* text, qint64 size)
    {
        const char* const end = text + size;
        while (text != end) {
            const auto* const feed = static_cast<const char*>(std::memchr(text, '\n', size_t(end - text)));
            if (!feed)
                return QStringLiteral("the last line has no end");
            const QByteArray line = QByteArray::fromRawData(text, int(feed - text));
            if (!HasStamp(line) || !(TakeLine(line) || IsOwnLine(line)))
                return QStringLiteral("lost, doubled or damaged at: %1").arg(QString::fromUtf8(line));
            text = feed + 1;
        }
        return {};
    }

    // Whether it is the line that must come next of one of the threads.
    bool TakeLine(const QByteArray& line)
    {
        const int begin = Line::kStampSize + iHead.size();
        if (line.size() != iSize
            || std::memcmp(line.constData() + Line::kStampSize, iHead.constData(), size_t(iHead.size())) != 0)
            return false;
        const int thread = (line[begin + 7] - '0') * 10 + line[begin + 8] - '0';
        if (thread < 0 || thread >= iCounts.size())
            return false;
        QByteArray& expected = iExpected[thread];
        if (std::memcmp(line.constData() + begin, expected.constData(), Line::kMessageSize) != 0)
            return false;
        Line::CountUp(expected.data());
        ++iCounts[thread];
        return true;
    }

    QByteArray iHead;
    int iSize;
    QVector<QByteArray> iExpected;
    QVector<int> iCounts;
};

} // namespace

QString Check::Lines(const QString& folder, Line::Level level, int threads, int linesPerThread)
{
    Checker checker(level, threads);
    for (const QString& path : Files::All(folder)) {
        const QString wrong = checker.CheckFile(path);
        if (!wrong.isEmpty())
            return QFileInfo(path).fileName() + QLatin1String(": ") + wrong;
    }
    return checker.CheckCounts(linesPerThread);
}

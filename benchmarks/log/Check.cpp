#include "Check.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QVector>

#include <cstring>

namespace {

constexpr char kStampShape[] = "0000-00-00 00:00:00.000";

bool HasStamp(const QByteArray& line)
{
    if (line.size() < Line::kStampSize || line[0] == '0') // no time is rendered as noughts
        return false;
    for (int i = 0; i < Line::kStampSize; ++i) {
        const bool isDigit = line[i] >= '0' && line[i] <= '9';
        if (kStampShape[i] == '0' ? !isDigit : line[i] != kStampShape[i])
            return false;
    }
    return true;
}

// All files that the log has become.
QStringList FilesIn(const QString& folder)
{
    // "bench-<time>.log" comes before "bench.log".
    QStringList paths;
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral("bench*")}, QDir::Files, QDir::Name))
        paths += dir.filePath(name);
    return paths;
}

class Checker
{
public:
    Checker(const Scenario& scenario, Check::Head head, const QByteArrayList& others)
        : iMark(head == Check::Head::Common ? Line::Head(scenario.iShape.iLevel) : QByteArray())
        , iHasStamp(head == Check::Head::Common)
        , iOthers(others)
    {
        for (int thread = 0; thread < scenario.iThreads; ++thread) {
            iExpected += Line::Message(scenario.iShape, thread, 0).toUtf8();
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

    QString CheckCounts(int lines) const
    {
        for (int thread = 0; thread < iCounts.size(); ++thread) {
            if (iCounts[thread] != lines)
                return QStringLiteral("thread %1: %2 lines of %3").arg(thread).arg(iCounts[thread]).arg(lines);
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
            if (!TakeLine(line) && !IsOther(line))
                return QStringLiteral("lost, doubled or damaged at: %1").arg(QString::fromUtf8(line));
            text = feed + 1;
        }
        return {};
    }

    bool IsOther(const QByteArray& line) const
    {
        const QByteArray body = iHasStamp ? line.mid(Line::kStampSize) : line;
        for (const QByteArray& other : iOthers) {
            if (body.startsWith(other))
                return true;
        }
        return false;
    }

    // Where the message should begin. With a head of the logger's own it ends the line and says where.
    int BeginOfMessage(const QByteArray& line) const
    {
        if (!iHasStamp)
            return int(line.size() - iExpected.first().size());
        const int begin = int(Line::kStampSize + iMark.size());
        const bool isOurs = HasStamp(line) && line.size() >= begin
            && std::memcmp(line.constData() + Line::kStampSize, iMark.constData(), size_t(iMark.size())) == 0;
        return isOurs ? begin : -1;
    }

    // Whether it is the line that must come next of one of the threads.
    bool TakeLine(const QByteArray& line)
    {
        const int begin = BeginOfMessage(line);
        const int size = int(iExpected.first().size());
        if (begin < 0 || line.size() != begin + size)
            return false;
        const int thread = (line[begin + 7] - '0') * 10 + line[begin + 8] - '0';
        if (thread < 0 || thread >= iCounts.size())
            return false;
        QByteArray& expected = iExpected[thread];
        if (std::memcmp(line.constData() + begin, expected.constData(), size_t(size)) != 0)
            return false;
        Line::CountUp(expected.data());
        ++iCounts[thread];
        return true;
    }

    const QByteArray iMark;
    const bool iHasStamp;
    const QByteArrayList iOthers;
    QVector<QByteArray> iExpected;
    QVector<int> iCounts;
};

} // namespace

QString Check::Lines(const Scenario& scenario, Head head, const QByteArrayList& others)
{
    const QStringList paths = FilesIn(scenario.iFolder);
    if (head == Head::None)
        return paths.isEmpty() ? QString() : QStringLiteral("there is a file");
    Checker checker(scenario, head, others);
    for (const QString& path : paths) {
        const QString wrong = checker.CheckFile(path);
        if (!wrong.isEmpty())
            return QFileInfo(path).fileName() + QLatin1String(": ") + wrong;
    }
    return checker.CheckCounts(scenario.iLines);
}

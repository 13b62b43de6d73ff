#include "CrashedLog.h"

#include "CrashLives.h"
#include "support/LogText.h"

#include <QtCore/QFile>

#include <algorithm>

using CrashedLog::Text;

bool CrashedLog::IsTorn(const QByteArray& line)
{
    return line.endsWith("<no line feed>");
}

bool CrashedLog::IsHeader(const QByteArray& line)
{
    constexpr int kStamp = 23;
    return line.mid(kStamp).startsWith("continued from ");
}

bool CrashedLog::IsLogsOwn(const QByteArray& body)
{
    for (const char* const start : {"StopLogging|stopping logging file path is ", "SetLoggerFileName|Existing path is ",
                                    "SetLoggerFileName|New path is "}) {
        const QByteArray whole = QByteArray("|10|Information|Logger::") + start;
        if (body == whole + CrashLives::kLog.toLatin1() || body == whole + CrashLives::kOtherLog.toLatin1())
            return true;
    }
    return false;
}

qint64 CrashedLog::Count(const Text& lines)
{
    return std::count_if(lines.begin(), lines.end(),
                         [](const QByteArray& line) { return !IsTorn(line) && !IsHeader(line); });
}

void CrashedLog::RemoveTwofold(const Text& log, Text& other)
{
    auto at = other.isEmpty() ? -1 : log.indexOf(other.first());
    while (at >= 0 && at < log.size() && !other.isEmpty() && log.at(at) == other.first()) {
        other.removeFirst();
        ++at;
    }
}

Text CrashedLog::LinesOf(const QDir& folder, const QString& log, qint64 filled)
{
    Text lines;
    const QString rotated = QString(log).replace(QLatin1String(".log"), QLatin1String("-*.log"));
    const QStringList names = folder.entryList({rotated}, QDir::Files, QDir::Name) + QStringList{log};
    for (const QString& name : names) {
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::ReadOnly) && file.seek(filled))
            lines += LogText::Lines(file.readAll());
        filled = 0;
    }
    return lines;
}

#include "LogText.h"

#include <QtCore/QFile>

namespace {

constexpr char kShape[] = "0000-00-00 00:00:00.000";
constexpr int kStamp = int(sizeof kShape) - 1;

bool HasStamp(const QByteArray& line)
{
    if (line.size() <= kStamp || line[kStamp] != '|')
        return false;
    for (int i = 0; i < kStamp; ++i) {
        const bool isDigit = line[i] >= '0' && line[i] <= '9';
        if (kShape[i] == '0' ? !isDigit : line[i] != kShape[i])
            return false;
    }
    return true;
}

} // namespace

QByteArray LogText::Read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<QByteArray> LogText::Lines(const QByteArray& text)
{
    if (text.isEmpty())
        return {};
    QList<QByteArray> lines = text.split('\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    else
        lines.last() += "<no line feed>";
    return lines;
}

QByteArray LogText::Body(const QByteArray& line)
{
    return HasStamp(line) ? line.mid(kStamp) : "<no stamp>" + line;
}

QList<QByteArray> LogText::Bodies(const QByteArray& text)
{
    QList<QByteArray> bodies;
    for (const QByteArray& line : Lines(text))
        bodies += Body(line);
    return bodies;
}

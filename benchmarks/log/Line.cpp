#include "Line.h"

#include <string>

namespace {

constexpr char kPlainFiller[] = "the cache was looked through and nothing was found. ";
constexpr char kMixedFiller[] = "größte Datei geprüft, поиск завершён, 缓存已清空 🚀 ";

QByteArray NameOf(Line::Level level)
{
    switch (level) {
    case Line::Level::Debug:
        return "20|Debug";
    case Line::Level::Warning:
        return "30|Warning";
    case Line::Level::Information:
        break;
    }
    return "10|Information";
}

QString Filler(bool isMixed, int characters)
{
    const std::u32string filler = QString::fromUtf8(isMixed ? kMixedFiller : kPlainFiller).toStdU32String();
    std::u32string text;
    while (text.size() < size_t(characters))
        text += filler[text.size() % filler.size()];
    return QString::fromStdU32String(text);
}

} // namespace

QByteArray Line::Head(Level level)
{
    return '|' + NameOf(level) + '|' + kFunction + '|';
}

QString Line::Message(const Shape& shape, int thread, int number)
{
    return QStringLiteral("thread %1 line %2: ")
               .arg(thread, 2, 10, QLatin1Char('0'))
               .arg(number, 7, 10, QLatin1Char('0'))
        + Filler(shape.iIsMixed, shape.iCharacters - kFewestCharacters);
}

Line::ReadyLine::ReadyLine(const Shape& shape, int thread)
    : iText("2024-03-05 14:07:09.042" + Head(shape.iLevel).toStdString())
{
    iBegin = iText.size();
    iText += Message(shape, thread, 0).toStdString() + '\n';
}

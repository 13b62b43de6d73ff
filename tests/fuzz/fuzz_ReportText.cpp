#include "Fuzz.h"

#include "system/ReportText.h"

#include <QtCore/QStringList>
#include <QtCore/QTextStream>

namespace {

QString Excerpt(QString text)
{
    QTextStream stream(&text);
    return ReportText::DiagnosticExcerpt(stream);
}

} // namespace

// An excerpt consists of whole lines of the output, in their order. The excerpt of an excerpt is the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const QByteArray output(reinterpret_cast<const char*>(bytes), int(size));
    const QString text = QString::fromUtf8(output);
    const QString excerpt = Excerpt(text);
    FUZZ_CHECK(excerpt.isEmpty() || excerpt.endsWith(QLatin1String("\r\n")));
    FUZZ_CHECK(Excerpt(excerpt) == excerpt);

    QString source = text;
    QTextStream lines(&source);
    QString line;
    QStringList copied = excerpt.split(QStringLiteral("\r\n"));
    copied.removeLast();
    for (const QString& wanted : qAsConst(copied)) {
        do
            FUZZ_CHECK(lines.readLineInto(&line));
        while (line != wanted);
    }

    const QString graphics = ReportText::GraphicsText(output);
    FUZZ_CHECK(!graphics.contains(QChar(0)));
    FUZZ_CHECK(text.startsWith(graphics));
    return 0;
}

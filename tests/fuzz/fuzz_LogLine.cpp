#include "Fuzz.h"

#include "logging/LogLine.h"

#include <QtCore/QByteArray>

namespace {

constexpr int kLong = 200000;

QByteArray WithoutBreaks(QByteArray text)
{
    return text.replace('\r', "").replace('\n', "");
}

} // namespace

// For any message or name: one line, valid UTF-8, nothing lost except line breaks.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    FuzzedDataProvider data(bytes, size);
    const qint64 time = data.ConsumeIntegralInRange<qint64>(0, 4102444800000); // to the year 2100
    const unsigned int code = data.ConsumeIntegral<unsigned int>();
    const bool isLong = data.ConsumeIntegral<quint8>() == 255;
    const std::string func = data.ConsumeRandomLengthString();
    const QString text = Fuzz::Text(data);
    const QString message = isLong && !text.isEmpty() ? text.repeated(1 + kLong / text.size()) : text;

    QByteArray buffer("before\n");
    LogLine::Append(buffer, time, code, "Debug", func.c_str(), message);
    FUZZ_CHECK(buffer.startsWith("before\n") && buffer.endsWith('\n') && buffer.count('\n') == 2);
    const QByteArray line = buffer.mid(7);
    FUZZ_CHECK(line.size() > 24 && line[4] == '-' && line[10] == ' ' && line[19] == '.' && line[23] == '|');
    const QByteArray expected = "|" + QByteArray::number(code) + "|Debug|"
        + WithoutBreaks(QString::fromUtf8(func.c_str()).toUtf8()) + "|" + WithoutBreaks(message.toUtf8()) + "\n";
    FUZZ_CHECK(line.mid(23) == expected);
    return 0;
}

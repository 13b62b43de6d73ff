#pragma once

#include <QtCore/QString>

#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>

/// Ends the run, so that the fuzzer keeps the input.
#define FUZZ_CHECK(condition)                                                                                          \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                                       \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)

namespace Fuzz {

/// Mostly UTF-8 text, as a person types it into a corpus, and sometimes arbitrary UTF-16.
inline QString Text(const std::string& bytes, bool isUtf16)
{
    if (!isUtf16)
        return QString::fromUtf8(bytes.data(), int(bytes.size()));
    QString text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        text += QChar(uchar(bytes[i]), uchar(bytes[i + 1]));
    return text;
}

inline QString Text(FuzzedDataProvider& data)
{
    const bool isUtf16 = data.ConsumeIntegralInRange(0, 3) == 0;
    return Text(data.ConsumeRandomLengthString(), isUtf16);
}

} // namespace Fuzz

#include "Fuzz.h"

#include "logging/CrashFormat.h"
#include "logging/CrashRecovery.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstddef>
#include <sys/stat.h>

using CrashFormat::kFileBytes;
using CrashFormat::Remains;
using CrashFormat::Section;

namespace {

const QByteArray kOther = "2026-01-02 03:04:05.680|10|Information|f|of another process\n";
const QByteArray kScript = "#!/bin/sh\necho this is no log\n";

QByteArray Content(const QByteArray& name)
{
    QFile file(QFile::decodeName(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void SetContent(const QByteArray& name, const QByteArray& text)
{
    QFile file(QFile::decodeName(name));
    FUZZ_CHECK(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
}

QByteArray Lines(FuzzedDataProvider& data)
{
    QByteArray lines;
    for (int i = data.ConsumeIntegralInRange(0, 5); i > 0; --i)
        lines += "2026-01-02 03:04:05.678|10|Information|f|"
            + QByteArray::fromStdString(data.ConsumeRandomLengthString(20)).replace('\n', ' ') + '\n';
    return lines;
}

// Forged numbers have right checks now and then, or nothing behind these would ever be reached.
void Damage(FuzzedDataProvider& data, Section& section, qint64 size)
{
    if (data.ConsumeBool())
        section.iHead += quint64(data.ConsumeIntegralInRange(-40, 40));
    if (data.ConsumeBool())
        section.iTail += quint64(data.ConsumeIntegralInRange(-40, 40));
    for (int i = data.ConsumeIntegralInRange(0, 3); i > 0; --i)
        reinterpret_cast<char*>(&section)[data.ConsumeIntegralInRange<qint64>(0, size - 1)]
            = data.ConsumeIntegral<char>();
    if (data.ConsumeBool())
        section.iCheck
            = CrashFormat::Check(reinterpret_cast<const char*>(&section), quint64(offsetof(Section, iCheck)));
}

void SetAttempt(FuzzedDataProvider& data, Section& section, const QByteArray& name)
{
    struct stat status = {};
    FUZZ_CHECK(::stat(name.constData(), &status) == 0);
    section.SetAttempt({status.st_dev, status.st_ino},
                       data.ConsumeBool() ? data.ConsumeIntegralInRange<qint64>(0, 200)
                                          : data.ConsumeIntegral<qint64>());
}

void CheckRecovery(Section& section, quint64 size, const Remains& remains, const QByteArray& log,
                   const QByteArray& script)
{
    const QByteArray before = Content(log);
    const std::optional<qint64> lines = CrashRecovery::Complete(section, remains, log);
    FUZZ_CHECK(Content(script) == kScript);
    const QByteArray after = Content(log);
    FUZZ_CHECK(after.startsWith(before.left(before.lastIndexOf('\n') + 1)));
    if (!lines)
        return;
    FUZZ_CHECK(*lines >= 0 && *lines <= remains.iLines.count('\n'));
    for (const QByteArray& line : remains.iLines.split('\n'))
        FUZZ_CHECK(after.contains(line));
    // And again, as if it had died before it could tell.
    const auto again = CrashFormat::Read(reinterpret_cast<const char*>(&section), size);
    FUZZ_CHECK(again && CrashRecovery::Complete(section, *again, log) == qint64(0) && Content(log) == after);
}

} // namespace

// Whatever the file holds: it is read or refused, only logs are written to, and what is recovered stands there once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const QTemporaryDir folder;
    static const QByteArray log = QFile::encodeName(folder.filePath(QStringLiteral("app.log")));
    static const QByteArray script = QFile::encodeName(folder.filePath(QStringLiteral("script")));
    static QByteArray file(int(kFileBytes), '\0');

    FuzzedDataProvider data(bytes, size);
    SetContent(script, kScript);
    new (file.data()) Section(CrashFormat::kCapacity);
    file.resize(int(kFileBytes));
    for (int i = data.ConsumeIntegralInRange(0, 3); i > 0; --i) {
        const QByteArray lines = Lines(data);
        SetContent(log,
                   kOther + lines.left(data.ConsumeIntegralInRange(0, 400))
                       + QByteArray::fromStdString(data.ConsumeRandomLengthString(20)));
        const QByteArray name = data.ConsumeBool() ? log : data.ConsumeBool() ? script : QByteArray();
        QByteArray kept = CrashFormat::Kept({name, lines, std::nullopt, false, 0, false});
        auto& section = *reinterpret_cast<Section*>(kept.data());
        if (data.ConsumeBool())
            SetAttempt(data, section, log);
        if (data.ConsumeBool())
            Damage(data, section, kept.size());
        file += kept.left(data.ConsumeBool() ? kept.size() : data.ConsumeIntegralInRange(0, int(kept.size())));
    }
    const auto all = CrashFormat::ReadAll(file);
    for (quint64 at = quint64(kFileBytes); all && at != quint64(file.size());) {
        auto& section = *reinterpret_cast<Section*>(file.data() + at);
        const quint64 left = quint64(file.size()) - at;
        const auto remains = CrashFormat::Read(file.constData() + at, left);
        FUZZ_CHECK(remains);
        if (!remains->iIsOver)
            CheckRecovery(section, left, *remains, log, script);
        at += CrashFormat::SizeOf(file.constData() + at, left);
    }
    return 0;
}

#pragma once

#include "logging/CrashFormat.h"
#include "logging/CrashRecovery.h"

#include "support/LogText.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtTest/QTest>

#include <optional>

inline const QByteArray kFirst = "2026-01-02 03:04:05.678|10|Information|f|one\n";
inline const QByteArray kSecond = "2026-01-02 03:04:05.679|10|Information|f|two\n";
inline const QByteArray kOther = "2026-01-02 03:04:05.680|10|Information|f|of another process\n";

inline QByteArray LogName()
{
    return QFile::encodeName(QDir().absoluteFilePath(QStringLiteral("app.log")));
}

inline void Write(const QByteArray& name, const QByteArray& text)
{
    QFile file(QFile::decodeName(name));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    QCOMPARE(file.write(text), qint64(text.size()));
}

inline QByteArray Text(const QByteArray& name)
{
    return LogText::Read(QFile::decodeName(name));
}

inline void PutRecord(CrashFormat::Section& section, quint64 at, const QByteArray& text)
{
    const quint32 head[] = {quint32(text.size()), CrashFormat::Check(text.constData(), quint64(text.size()))};
    section.Put(at, head, sizeof head);
    section.Put(at + sizeof head, text.constData(), quint64(text.size()));
}

/// What a process leaves that has put lines and begun to write them.
class Left
{
public:
    explicit Left(const QByteArray& lines, const QByteArray& log = LogName())
        : iBytes(CrashFormat::Kept({log, lines, std::nullopt, false, 0, false}))
    {
    }

    void BeginWrite() { That().SetAttempt(Descriptor(LogName()).Which(), Descriptor(LogName()).Size()); }
    // The lines so far are in the log.
    void TakeFirst() { That().iTail += quint64(kFirst.size() + CrashFormat::kRecordHead); }

    std::optional<CrashFormat::Remains> Read() const
    {
        return CrashFormat::Read(iBytes.constData(), quint64(iBytes.size()));
    }
    std::optional<qint64> Complete(const QByteArray& newLog = "/none/new.log")
    {
        return CrashRecovery::Complete(That(), *Read(), newLog);
    }

    CrashFormat::Section& That() { return *reinterpret_cast<CrashFormat::Section*>(iBytes.data()); }
    QByteArray& Bytes() { return iBytes; }

private:
    QByteArray iBytes;
};

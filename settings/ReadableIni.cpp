#include "ReadableIni.h"

#include "IniDisk.h"
#include "IniText.h"

using IniDisk::Content;
using IniDisk::Kind;

void TakeAll(const QSettings& settings)
{
    settings.childKeys(); // the cheapest call that parses everything
}

ReadableIni::ReadableIni(const QString& path, Refused refused)
{
    Content content;
    const QByteArray& text = content.Bytes();
    const Kind kind = IniDisk::StateOf(path).iKind;
    const bool isRead = kind == Kind::File && content.Read(path);
    const QVector<IniText::Line> lines = IniText::Refused(text);
    QString readable = path;
    if (kind == Kind::Other || !lines.isEmpty()) {
        iFolder = std::make_unique<QTemporaryDir>();
        readable = iFolder->filePath(QStringLiteral("settings.ini"));
    }
    if (isRead && !lines.isEmpty())
        IniDisk::Put(readable,
                     refused == Refused::Empty ? IniText::WithValues(text, lines, [](int) { return QByteArray(); })
                                               : IniText::Without(text, lines));
    iSettings = std::make_unique<QSettings>(readable, QSettings::IniFormat);
}

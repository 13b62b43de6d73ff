#include "ReadableIni.h"

#include "IniDisk.h"
#include "IniEncoding.h"
#include "IniText.h"

using IniDisk::Content;
using IniDisk::FolderLock;
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
    const bool isCopied = isRead && (!lines.isEmpty() || !IniEncoding::IsRead(text));
    if (kind == Kind::Other || isCopied) {
        iFolder = std::make_unique<QTemporaryDir>();
        readable = iFolder->filePath(QStringLiteral("settings.ini"));
    }
    if (isCopied)
        IniDisk::Put(readable,
                     IniEncoding::Readable(refused == Refused::Empty
                                               ? IniText::WithValues(text, lines, [](int) { return QByteArray(); })
                                               : IniText::Without(text, lines)));
    const FolderLock lock(readable, FolderLock::For::Reading);
    iSettings = std::make_unique<QSettings>(readable, QSettings::IniFormat);
}

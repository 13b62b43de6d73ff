#pragma once

#include <QtCore/QLibraryInfo>
#include <QtCore/QProcess>
#include <QtCore/QVariant>

#if QT_VERSION_MAJOR < 6
#include <QtCore/QRegExp>
#include <QtCore/QTextCodec>
#endif

/// What differs between the versions of the framework.
namespace TestSupport {

/// A null of the type.
inline QVariant NullOf(int type)
{
#if QT_VERSION_MAJOR < 6
    return QVariant(QVariant::Type(type));
#else
    return QVariant(QMetaType(type));
#endif
}

/// Sets the encoding of file names and of the output of programs. In Qt 6 it is always UTF-8.
inline void SetLocalCodec(const char* name)
{
#if QT_VERSION_MAJOR < 6
    QTextCodec::setCodecForLocale(QTextCodec::codecForName(name));
#else
    Q_UNUSED(name)
#endif
}

/// The folder of the framework's programs.
inline QString ProgramsFolder()
{
#if QT_VERSION_MAJOR < 6
    return QLibraryInfo::location(QLibraryInfo::BinariesPath);
#else
    return QLibraryInfo::path(QLibraryInfo::BinariesPath);
#endif
}

/// A child process that does something before it becomes its program.
class Process : public QProcess
{
#if QT_VERSION_MAJOR < 6
protected:
    void setupChildProcess() final
    {
        BeforeProgram();
    }
#else
public:
    Process()
    {
        setChildProcessModifier([this] { BeforeProgram(); });
    }
#endif

private:
    virtual void BeforeProgram() = 0;
};

/// A text in Latin-1, or in UTF-8 with its mark, in the encoding in which the framework reads INI files.
inline QByteArray AsFrameworkReads(const QByteArray& latin1)
{
#if QT_VERSION_MAJOR < 6
    return latin1;
#else
    return latin1.startsWith("\xef\xbb\xbf") ? latin1 : QString::fromLatin1(latin1).toUtf8();
#endif
}

} // namespace TestSupport

#include "Run.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QLoggingCategory>
#include <QtCore/QMutex>
#include <QtCore/QTextStream>

#include <mutex>

namespace {

/// A message handler as many programs have one: format, lock, write to a stream.
class QtTarget
{
public:
    using Message = Line::QtMessage;

    QtTarget(const QString& path, Line::Level level)
        : iHead(QString::fromLatin1(Line::Head(level)))
        , iFile(path)
        , iStream(&iFile)
        , iCategory("bench", TypeOf(level))
    {
        if (!iFile.open(QIODevice::WriteOnly | QIODevice::Append))
            throw Failure{QStringLiteral("cannot open %1").arg(path)};
        iStream.setCodec("UTF-8");
        sTarget = this;
        qInstallMessageHandler(&QtTarget::Handle);
    }

    ~QtTarget() { qInstallMessageHandler(nullptr); }
    Q_DISABLE_COPY(QtTarget)

    // What the logging macros do, which clang finds pedantic fault with.
    template <Line::Level level>
    void Write(const QString& text)
    {
        if constexpr (level == Line::Level::Debug)
            QMessageLogger().debug().noquote() << text;
        else if constexpr (level == Line::Level::Warning)
            QMessageLogger().warning().noquote() << text;
        else
            QMessageLogger().info().noquote() << text;
    }

    void WriteIfOn(const QString& text)
    {
        if (iCategory.isDebugEnabled())
            QMessageLogger().debug().noquote() << text;
    }

    void HandOver()
    {
        const std::lock_guard<QMutex> lock(iMutex);
        iStream.flush();
    }

    void Finish() { HandOver(); }

private:
    static QtMsgType TypeOf(Line::Level level)
    {
        return level == Line::Level::Debug ? QtDebugMsg : level == Line::Level::Warning ? QtWarningMsg : QtInfoMsg;
    }

    static void Handle(QtMsgType, const QMessageLogContext&, const QString& text) { sTarget->WriteLine(text); }

    void WriteLine(const QString& text)
    {
        const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
        const std::lock_guard<QMutex> lock(iMutex);
        iStream << stamp << iHead << text << '\n';
    }

    static QtTarget* sTarget;

    const QString iHead;
    QMutex iMutex;
    QFile iFile;
    QTextStream iStream;
    const QLoggingCategory iCategory;
};

QtTarget* QtTarget::sTarget = nullptr;

} // namespace

Results RunQt(const Scenario& scenario)
{
    return RunOn<QtTarget>(scenario);
}

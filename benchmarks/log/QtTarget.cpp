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
    static constexpr Check::Head kHead = Check::Head::Common;

    explicit QtTarget(const Scenario& scenario)
        : iHead(QString::fromLatin1(Line::Head(Line::Level::Information)))
        , iFile(scenario.LogPath())
        , iStream(&iFile)
        , iCategory("bench", QtInfoMsg)
    {
        if (!iFile.open(QIODevice::WriteOnly | QIODevice::Append))
            throw Failure{QStringLiteral("cannot open %1").arg(iFile.fileName())};
        iStream.setCodec("UTF-8");
        Stamp(); // the first time must not be rendered by several threads at once: some would get an empty text
        sTarget = this;
        qInstallMessageHandler(&QtTarget::Handle);
    }

    ~QtTarget() { qInstallMessageHandler(nullptr); }
    Q_DISABLE_COPY(QtTarget)

    static QByteArrayList Others() { return {}; }

    // What the logging macros do, which clang finds pedantic fault with.
    void Write(const QString& text) { QMessageLogger().info().noquote() << text; }

    void WriteIfOn(const QString& text)
    {
        if (iCategory.isDebugEnabled())
            QMessageLogger().debug().noquote() << text;
    }

    void Finish()
    {
        const std::lock_guard<QMutex> lock(iMutex);
        iStream.flush();
        iFile.close();
    }

private:
    static void Handle(QtMsgType, const QMessageLogContext&, const QString& text) { sTarget->WriteLine(text); }

    static QString Stamp() { return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")); }

    void WriteLine(const QString& text)
    {
        const QString stamp = Stamp();
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

Results RunScenario(const Scenario& scenario)
{
    return Run<QtTarget>(scenario).Measure();
}

// An outside program that has headers called like those of two modules. A class comes by both of its names.
#include <Logger.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/Logging.h>
#include <NeroltOrvaneBase/Settings.h>
#include <NeroltOrvaneBase/System.h>
#include <NeroltOrvaneBase/Threading.h>
#include <NeroltOrvaneBase/Util.h>
#include <Settings.h>
#include <Util.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <cstdio>

static_assert(kHasOwnSettings && kHasOwnUtil);

namespace {

QByteArray Content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QString path = QCoreApplication::arguments().value(1);
    const RegisteredThread thread(nullptr, QStringLiteral("outside"));

    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    Logger::SetLoggerFileName(path, false);
    Logger::LogWarning("Consumer", QLatin1String("a line from ") + thread.Name());
    Logger::StopLogging();

    const QByteArray text = Content(path);
    if (text.mid(23) == "|30|Warning|Consumer|a line from outside\n"
        && FileUtilities::GetTime(path, FileTimeModification, false).isValid())
        return 0;
    std::fprintf(stderr, "the log holds: %s\n", text.constData());
    return 1;
}

// Sends a message at each of Qt's levels to the log: qt-messages <log file> [fatal]
#include "QtMessages.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>

#include <cstdio>

namespace {

Q_LOGGING_CATEGORY(network, "app.network", QtDebugMsg)

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc < 2) {
        std::fputs("usage: qt-messages <log file> [fatal]\n", stderr);
        return 2;
    }
    QtMessages::Install();
    Logger::SetLoggerFileName(QString::fromLocal8Bit(argv[1]), false);
    Logger::GetInstance()->SetLevel(LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning
                                    | LoggerDefs::Exception | LoggerDefs::Debug);

    qDebug() << "a debug message" << 42;
    qInfo("some information");
    qWarning("a warning with\na line break");
    qCritical() << QStringLiteral("a string");
    qCDebug(network, "connected to %s", "example.org");
    QObject().startTimer(-1); // the framework objects
    if (argc > 2)
        qFatal("this is the end");

    Logger::StopLogging();
    qInfo("the log has stopped");
    return 0;
}

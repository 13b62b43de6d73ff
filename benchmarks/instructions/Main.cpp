#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdio>

namespace {

constexpr int kMessageBytes = 80;
// "2024-03-05 14:07:09.042|10|Information|Disk::Scan|", the message and the line's end: 131 bytes. The 39th line is the
// one that takes a batch past 5000.
constexpr int kLinesOfABatch = 39;

// Of 80 bytes as well, so that batches come after as many lines.
QString Message(bool isMixed)
{
    const QString mixed = QStringLiteral("Größe 12, размер 34, 大きさ 56, ");
    QString message = isMixed ? mixed : QString();
    message += QString(kMessageBytes - message.toUtf8().size(), QLatin1Char('m'));
    return message;
}

int LinesIn(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : 0;
}

} // namespace

// Logs what fills so many batches, and as many debug messages that the level stops, for a tool that counts
// instructions.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("mixed"), QStringLiteral("A message in several scripts.")});
    parser.addPositionalArgument(QStringLiteral("batches"), QStringLiteral("How many to fill."));
    parser.process(application);
    const int lines = parser.positionalArguments().value(0).toInt() * kLinesOfABatch;
    const QString message = Message(parser.isSet(QStringLiteral("mixed")));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("app.log"));

    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(path, false);
    for (int line = 0; line < lines; ++line) {
        Logger::LogInformation("Disk::Scan", message);
        Logger::LogDebug("Disk::Scan", message);
    }
    Logger::StopLogging(); // says so in a line
    const int written = LinesIn(path) - 1;
    std::printf("%d\n", written);
    return lines > 0 && written == lines ? 0 : 1;
}

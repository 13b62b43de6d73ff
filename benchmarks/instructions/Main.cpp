#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <cstdio>

namespace {

constexpr int kMessageBytes = 80;
// "2024-03-05 14:07:09.042|10|Information|Disk::Scan|", the message and the line's end: 131 bytes. The 39th line is the
// one that takes a batch past 5000.
constexpr int kLinesOfABatch = 39;
constexpr int kLineBytes = 131;
constexpr int kPatienceMs = 60000;

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
    return file.open(QIODevice::ReadOnly) ? int(file.readAll().count('\n')) : 0;
}

bool WaitForBytes(const QString& path, qint64 bytes)
{
    const QDeadlineTimer patience(kPatienceMs);
    while (QFile(path).size() < bytes) {
        if (patience.hasExpired())
            return false;
        QThread::msleep(1);
    }
    return true;
}

} // namespace

// Logs what fills so many batches, and as many debug messages that the level stops, for a tool that counts
// instructions. Each batch is written before the next begins: how many are written together would depend on the moment.
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
    bool isWritten = true;
    for (int line = 1; isWritten && line <= lines; ++line) {
        Logger::LogInformation("Disk::Scan", message);
        Logger::LogDebug("Disk::Scan", message);
        if (line % kLinesOfABatch == 0)
            isWritten = WaitForBytes(path, qint64(line) * kLineBytes);
    }
    Logger::StopLogging(); // says so in a line
    const int written = LinesIn(path) - 1;
    std::printf("%d\n", written);
    return lines > 0 && written == lines ? 0 : 1;
}

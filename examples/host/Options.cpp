#include "Options.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QStandardPaths>

#include <cstdio>

namespace {

constexpr int kMostThreads = 64;
constexpr int kMostLines = 10000000;

const QString kCrash = QStringLiteral("crash");
const QString kFolder = QStringLiteral("folder");
const QString kLines = QStringLiteral("lines");
const QString kNoReport = QStringLiteral("no-report");
const QString kThreads = QStringLiteral("threads");

void AddOptions(QCommandLineParser& parser)
{
    const Options defaults;
    parser.setApplicationDescription(
        QStringLiteral("Shows the library at work: logs from several threads, lets the log rotate, and checks that\n"
                       "every line arrived. Then prints a summary of the machine, the folders, the "
                       "settings, the log and\n"
                       "the report for technical support."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {kCrash,
         QStringLiteral("Kill the host in the middle. The next run recovers the lines that are not in the log.")},
        {kFolder, QStringLiteral("Put everything below this folder, and create it if it is missing."),
         QStringLiteral("folder")},
        {kLines, QStringLiteral("Lines that each thread logs, 1 to %1 (%2).").arg(kMostLines).arg(defaults.iLines),
         QStringLiteral("n"), QString::number(defaults.iLines)},
        {kNoReport, QStringLiteral("Make no report for technical support.")},
        {kThreads, QStringLiteral("Threads that log, 1 to %1 (%2).").arg(kMostThreads).arg(defaults.iThreads),
         QStringLiteral("n"), QString::number(defaults.iThreads)},
    });
}

int Show(const QString& text)
{
    std::fputs(qPrintable(text), stdout);
    return std::fflush(stdout) == 0 ? ExitCode::kDone : ExitCode::kFailed;
}

// Zero if the text is not a number in the range.
int Number(const QString& text, int most)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber && number >= 1 && number <= most ? number : 0;
}

QString NumberError(const QString& option, int most, const QString& text)
{
    return QStringLiteral("--%1 takes a number from 1 to %2, not \"%3\"").arg(option, QString::number(most), text);
}

QString ReadFolder(const QCommandLineParser& parser)
{
    const QString folder = parser.isSet(kFolder)
        ? parser.value(kFolder)
        : QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    return folder.isEmpty() ? QString() : QDir::cleanPath(QDir::current().absoluteFilePath(folder));
}

// Returns what is wrong, or an empty text.
QString ReadValues(const QCommandLineParser& parser, Options& options)
{
    if (!parser.positionalArguments().isEmpty())
        return QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst());
    options.iLines = Number(parser.value(kLines), kMostLines);
    if (options.iLines == 0)
        return NumberError(kLines, kMostLines, parser.value(kLines));
    options.iThreads = Number(parser.value(kThreads), kMostThreads);
    if (options.iThreads == 0)
        return NumberError(kThreads, kMostThreads, parser.value(kThreads));
    options.iIsCrashing = parser.isSet(kCrash);
    options.iIsReporting = !parser.isSet(kNoReport);
    options.iIsOwnFolder = !parser.isSet(kFolder);
    options.iFolder = ReadFolder(parser);
    return options.iFolder.isEmpty() ? QStringLiteral("--folder needs a name") : QString();
}

} // namespace

std::optional<int> ReadOptions(const QStringList& arguments, Options& options)
{
    QCommandLineParser parser;
    AddOptions(parser);
    if (!parser.parse(arguments))
        return RejectInput(parser.errorText());
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all")))
        return Show(parser.helpText());
    if (parser.isSet(QStringLiteral("version")))
        return Show(QStringLiteral("host " HOST_VERSION "\n"));
    const QString wrong = ReadValues(parser, options);
    if (!wrong.isEmpty())
        return RejectInput(wrong);
    return std::nullopt;
}

int RejectInput(const QString& what)
{
    std::fprintf(stderr, "host: %s\nTry 'host --help'.\n", qPrintable(what));
    return ExitCode::kBadInput;
}

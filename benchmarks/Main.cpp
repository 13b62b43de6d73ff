#include "Report.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>

#include <cstdio>
#include <unistd.h>

namespace {

// More would rotate the log of a scenario a second time within one second, and a rotation that finds its name taken
// loses a file.
constexpr int kMaxLines = 1500000;
constexpr int kMinLines = 10000;

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

void AddOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral("Measures the log beside its peers."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("rounds"), QStringLiteral("How often everything is measured (5)."), QStringLiteral("n"),
         QStringLiteral("5")},
        {QStringLiteral("lines"), QStringLiteral("Lines in a scenario, 10000 to 1500000 (1000000)."),
         QStringLiteral("n"), QStringLiteral("1000000")},
        {QStringLiteral("folder"), QStringLiteral("Where the log files lie meanwhile."), QStringLiteral("folder"),
         QDir::tempPath()},
        {QStringLiteral("only"), QLatin1String("What to measure, of ") + Suite::Kinds().join(QLatin1String(", ")),
         QStringLiteral("kind")},
        {QStringLiteral("json"), QStringLiteral("Writes the figures to this file too."), QStringLiteral("file")},
        {QStringLiteral("markdown"), QStringLiteral("Writes the page about performance to this file."),
         QStringLiteral("file")},
    });
    QCommandLineOption scenario(QStringLiteral("scenario"), QString(), QStringLiteral("scenario"));
    scenario.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(scenario);
}

int Number(const QCommandLineParser& parser, const char* option, int least, int most)
{
    bool isNumber = false;
    const QString text = parser.value(QLatin1String(option));
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < least || number > most)
        throw Failure{QStringLiteral("--%1 takes a number from %2 to %3, not \"%4\"")
                          .arg(QLatin1String(option))
                          .arg(least)
                          .arg(most)
                          .arg(text)};
    return number;
}

// Minutes later would be a bad time to find out.
void CheckTarget(const QCommandLineParser& parser, const QString& option)
{
    const QString path = parser.value(option);
    if (!path.isEmpty() && !QFileInfo(QFileInfo(path).path()).isWritable())
        throw Failure{
            QStringLiteral("--%1: the folder of \"%2\" is missing or may not be written to").arg(option, path)};
}

SuiteOptions ReadOptions(const QCommandLineParser& parser)
{
    SuiteOptions options;
    options.iRounds = Number(parser, "rounds", 1, 1000);
    options.iLines = Number(parser, "lines", kMinLines, kMaxLines);
    options.iFolder = parser.value(QStringLiteral("folder"));
    options.iOnly = parser.values(QStringLiteral("only"));
    if (!parser.positionalArguments().isEmpty())
        throw Failure{QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first())};
    for (const char* const option : {"json", "markdown"})
        CheckTarget(parser, QLatin1String(option));
    for (const QString& kind : options.iOnly) {
        if (!Suite::Kinds().contains(kind))
            throw Failure{QStringLiteral("--only does not know \"%1\"").arg(kind)};
    }
    return options;
}

int RunOneScenario(const QCommandLineParser& parser)
{
    Scenario scenario = Scenario::FromText(parser.value(QStringLiteral("scenario")));
    scenario.iLines = Number(parser, "lines", 1, kMaxLines);
    scenario.iFolder = parser.value(QStringLiteral("folder"));
    QJsonObject object;
    const Results results = RunScenario(scenario);
    for (auto it = results.begin(); it != results.end(); ++it)
        object[it.key()] = it.value();
    std::puts(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    return 0;
}

void ShowProgress(double part, const QString& what)
{
    if (::isatty(STDERR_FILENO))
        std::fprintf(stderr, "\r\033[K%3d %%  %s", int(part * 100), qPrintable(what));
}

void Save(const QString& path, const QByteArray& bytes)
{
    if (path.isEmpty())
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Failure{QStringLiteral("cannot write %1: %2").arg(path, file.errorString())};
}

int RunSuite(const QCommandLineParser& parser, const SuiteOptions& options)
{
    Suite suite(options);
    QStringList load{Machine::Load()};
    suite.Run(ShowProgress);
    if (::isatty(STDERR_FILENO))
        std::fputs("\r\033[K", stderr);
    load += Machine::Load();
    const Report report(suite, load);
    std::fputs(report.Text().toUtf8().constData(), stdout);
    Save(parser.value(QStringLiteral("json")), report.Json());
    Save(parser.value(QStringLiteral("markdown")), report.Markdown().toUtf8());
    return 0;
}

int Fail(const Failure& failure, int code)
{
    std::fprintf(stderr, "bench_log: %s\n", qPrintable(failure.iText));
    return code;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    AddOptions(parser);
    parser.process(application);
    SuiteOptions options;
    try {
        if (!parser.isSet(QStringLiteral("scenario")))
            options = ReadOptions(parser);
    } catch (const Failure& failure) {
        return Fail(failure, kBadUsage);
    }
    try {
        return parser.isSet(QStringLiteral("scenario")) ? RunOneScenario(parser) : RunSuite(parser, options);
    } catch (const Failure& failure) {
        return Fail(failure, kFailed);
    }
}

#include "Scenario.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cstdio>

namespace {

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

void AddOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Measures one logger in one scenario, and prints the figures as JSON."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("kind"), QStringLiteral("flat, bursty, stopped, host or killed (flat)."),
         QStringLiteral("kind"), QStringLiteral("flat")},
        {QStringLiteral("threads"), QStringLiteral("Threads that log (1)."), QStringLiteral("n"), QStringLiteral("1")},
        {QStringLiteral("lines"), QStringLiteral("Lines in all (100000)."), QStringLiteral("n"),
         QStringLiteral("100000")},
        {QStringLiteral("characters"), QStringLiteral("Characters of a message (80)."), QStringLiteral("n"),
         QStringLiteral("80")},
        {QStringLiteral("mixed"), QStringLiteral("Messages in several scripts.")},
        {QStringLiteral("level"), QStringLiteral("information, debug or warning (information)."),
         QStringLiteral("level"), QStringLiteral("information")},
        {QStringLiteral("heap"), QStringLiteral("The heap of the host, in MiB (1024)."), QStringLiteral("n"),
         QStringLiteral("1024")},
        {QStringLiteral("death"), QStringLiteral("crash, abort, terminate, kill, or recover after another's (kill)."),
         QStringLiteral("death"), QStringLiteral("kill")},
        {QStringLiteral("pause"), QStringLiteral("After each line before that death, in microseconds (0)."),
         QStringLiteral("n"), QStringLiteral("0")},
        {QStringLiteral("flush"), QStringLiteral("Every line (spdlog only).")},
        {QStringLiteral("folder"), QStringLiteral("An empty folder for the log (the current one)."),
         QStringLiteral("folder"), QDir::currentPath()},
    });
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

Line::Level LevelOf(const QString& name)
{
    static const QMap<QString, Line::Level> levels{{QStringLiteral("information"), Line::Level::Information},
                                                   {QStringLiteral("debug"), Line::Level::Debug},
                                                   {QStringLiteral("warning"), Line::Level::Warning}};
    if (!levels.contains(name))
        throw Failure{QStringLiteral("--level does not know \"%1\"").arg(name)};
    return levels.value(name);
}

Scenario ReadScenario(const QCommandLineParser& parser)
{
    Scenario scenario;
    scenario.iKind = parser.value(QStringLiteral("kind"));
    scenario.iThreads = Number(parser, "threads", 1, Line::kMaxThreads);
    scenario.iLines = Number(parser, "lines", scenario.iThreads, 10000000) / scenario.iThreads;
    scenario.iShape.iLevel = LevelOf(parser.value(QStringLiteral("level")));
    scenario.iShape.iCharacters = Number(parser, "characters", Line::kFewestCharacters, 100000);
    scenario.iShape.iIsMixed = parser.isSet(QStringLiteral("mixed"));
    scenario.iHeapMiB = Number(parser, "heap", 1, 65536);
    scenario.iDeath = parser.value(QStringLiteral("death"));
    scenario.iPauseUsecs = Number(parser, "pause", 0, 1000000);
    scenario.iIsFlushed = parser.isSet(QStringLiteral("flush"));
    scenario.iFolder = parser.value(QStringLiteral("folder"));
    return scenario;
}

void Print(const Results& results)
{
    QJsonObject object;
    for (auto it = results.begin(); it != results.end(); ++it)
        object[it.key()] = it.value();
    std::puts(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
}

int Fail(const Failure& failure, int code)
{
    std::fprintf(stderr, "%s\n", qPrintable(failure.iText));
    return code;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    AddOptions(parser);
    parser.process(application);
    Scenario scenario;
    try {
        scenario = ReadScenario(parser);
    } catch (const Failure& failure) {
        return Fail(failure, kBadUsage);
    }
    try {
        Print(RunScenario(scenario));
        return 0;
    } catch (const Failure& failure) {
        return Fail(failure, kFailed);
    }
}

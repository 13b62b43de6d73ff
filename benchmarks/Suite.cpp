#include "Suite.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <algorithm>

namespace {

constexpr int kTimeoutMs = 300000;
// Bursts wait for the file after every thousand lines; half the lines are plenty.
constexpr int kBurstsShare = 2;

const QVector<QString> kTargets{QStringLiteral("nerolt"), QStringLiteral("spdlog-async"), QStringLiteral("spdlog-sync"),
                                QStringLiteral("qt")};

bool IsInBursts(const QString& kind)
{
    return kind.endsWith(QLatin1String("burst"));
}

Series MakeSeries(const QString& kind, const QString& target, int threads, int lines,
                  Line::Level level = Line::Level::Information)
{
    Series series;
    series.iScenario = {kind, target, level, threads, IsInBursts(kind) ? lines / kBurstsShare : lines, QString()};
    return series;
}

Group MakeGroup(const QString& kind, const QVector<int>& threads, int lines)
{
    Group group{kind, {}};
    for (const int count : threads) {
        for (const QString& target : kTargets) {
            group.iSeries += MakeSeries(kind, target, count, lines);
            const bool isCall = kind == QLatin1String("burst") || kind == QLatin1String("sustained");
            if (isCall && target == kTargets.first()) {
                group.iSeries += MakeSeries(kind, target, count, lines, Line::Level::Debug);
                group.iSeries += MakeSeries(kind, target, count, lines, Line::Level::Warning);
            }
        }
    }
    return group;
}

QVector<double> Sorted(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values;
}

Results ParseResults(const QByteArray& json)
{
    Results results;
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    for (auto it = object.begin(); it != object.end(); ++it)
        results.insert(it.key(), it.value().toDouble());
    return results;
}

Results RunProcess(const Scenario& scenario)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--scenario"), scenario.ToText(), QStringLiteral("--lines"),
                   QString::number(scenario.iLines), QStringLiteral("--folder"), scenario.iFolder});
    if (!process.waitForFinished(kTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        throw Failure{scenario.ToText() + QLatin1String(": does not end")};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw Failure{scenario.ToText() + QLatin1String(": ")
                      + QString::fromLocal8Bit(process.readAllStandardError()).trimmed()};
    return ParseResults(process.readAllStandardOutput());
}

} // namespace

double Series::Median(const QString& name) const
{
    const QVector<double> values = Sorted(iValues.value(name));
    if (values.isEmpty())
        return 0;
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

double Series::Least(const QString& name) const
{
    return Sorted(iValues.value(name)).value(0);
}

double Series::Most(const QString& name) const
{
    const QVector<double> values = Sorted(iValues.value(name));
    return values.value(values.size() - 1);
}

const Series* Group::Find(const QString& target, int threads, Line::Level level) const
{
    for (const Series& series : iSeries) {
        const Scenario& scenario = series.iScenario;
        if (scenario.iTarget == target && scenario.iThreads == threads && scenario.iLevel == level)
            return &series;
    }
    return nullptr;
}

Suite::Suite(const SuiteOptions& options)
    : iOptions(options)
{
    for (const QString& kind : Kinds()) {
        if (!options.iOnly.isEmpty() && !options.iOnly.contains(kind))
            continue;
        const bool isThreaded = kind == QLatin1String("throughput") || kind == QLatin1String("memory");
        iGroups += MakeGroup(kind, isThreaded ? QVector<int>{1, 4} : QVector<int>{1}, options.iLines);
    }
}

QStringList Suite::Kinds()
{
    return {QStringLiteral("burst"),         QStringLiteral("sustained"),         QStringLiteral("stopped"),
            QStringLiteral("latency-burst"), QStringLiteral("latency-sustained"), QStringLiteral("throughput"),
            QStringLiteral("memory")};
}

const Group* Suite::Find(const QString& kind) const
{
    for (const Group& group : iGroups) {
        if (group.iKind == kind)
            return &group;
    }
    return nullptr;
}

int Suite::Count() const
{
    int count = 0;
    for (const Group& group : iGroups)
        count += group.iSeries.size();
    return count * iOptions.iRounds;
}

void Suite::Run(const std::function<void(double, const QString&)>& progress)
{
    int done = 0;
    for (int round = 0; round < iOptions.iRounds; ++round) {
        for (Group& group : iGroups) {
            for (Series& series : group.iSeries) {
                progress(double(done++) / Count(), series.iScenario.ToText());
                RunOnce(series);
            }
        }
    }
}

void Suite::RunOnce(Series& series) const
{
    const QTemporaryDir folder(iOptions.iFolder + QStringLiteral("/bench_log-XXXXXX"));
    if (!folder.isValid())
        throw Failure{QStringLiteral("cannot make a folder in %1: %2").arg(iOptions.iFolder, folder.errorString())};
    Scenario scenario = series.iScenario;
    scenario.iFolder = folder.path();
    const Results results = RunProcess(scenario);
    if (results.isEmpty())
        throw Failure{scenario.ToText() + QLatin1String(": no result")};
    for (auto it = results.begin(); it != results.end(); ++it)
        series.iValues[it.key()] += it.value();
}

#include "Suite.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <algorithm>

namespace {

constexpr int kTimeoutMs = 300000;
constexpr int kFewestLines = 2000;

const QVector<QString> kTargets{QStringLiteral("nerolt"), QStringLiteral("spdlog-async"), QStringLiteral("spdlog-sync"),
                                QStringLiteral("qt")};

// Half the lines are plenty where the file catches up after every thousand, and a tenth where a line takes longest.
int LinesOf(const QString& kind, const QString& target, int lines)
{
    const int share = (kind.endsWith(QLatin1String("burst")) ? 2 : 1) * (target == QLatin1String("qt") ? 10 : 1);
    return qMax(kFewestLines, lines / share);
}

Series MakeSeries(const QString& kind, const QString& target, int threads, int lines, Line::Level level)
{
    Series series;
    series.iScenario = {kind, target, level, threads, LinesOf(kind, target, lines), QString()};
    return series;
}

// Each of our levels that locks in its own way.
QVector<Line::Level> LevelsOf(const QString& kind, const QString& target)
{
    if (target == QLatin1String("nerolt") && (kind == QLatin1String("burst") || kind == QLatin1String("sustained")))
        return {Line::Level::Information, Line::Level::Debug, Line::Level::Warning};
    return {Line::Level::Information};
}

// Who writes in the calling thread has no backlog that could take memory.
QVector<QString> TargetsOf(const QString& kind)
{
    return kind == QLatin1String("memory") ? kTargets.mid(0, 2) : kTargets;
}

QVector<int> ThreadsOf(const QString& kind)
{
    return kind == QLatin1String("throughput") || kind == QLatin1String("memory") ? QVector<int>{1, 4}
                                                                                  : QVector<int>{1};
}

Group MakeGroup(const QString& kind, int lines)
{
    Group group{kind, {}};
    for (const int threads : ThreadsOf(kind)) {
        for (const QString& target : TargetsOf(kind)) {
            for (const Line::Level level : LevelsOf(kind, target))
                group.iSeries += MakeSeries(kind, target, threads, lines, level);
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
        if (options.iOnly.isEmpty() || options.iOnly.contains(kind))
            iGroups += MakeGroup(kind, options.iLines);
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

#include "Report.h"

#include "Aims.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

constexpr char kIntroduction[] = R"(# Performance

The log beside its peers, all measured in one run. This page was written by the program that measured; write it anew
with

```sh
cmake --preset release
cmake --build --preset release --target bench_log
build/release/benchmarks/bench_log --markdown docs/performance.md
```

Everybody writes the same lines of about 130 bytes with the same message of 80 characters, which is at hand. Each
scenario runs in a process of its own, once in every round, ours and its peers in turn. Before a figure counts, the
program reads the files back: every line arrived exactly once and in the order of its thread. Figures are medians of
the rounds; "ours is faster by" is the median of the rounds' ratios.

- spdlog asynchronous: one thread writes, a queue of 8192, callers wait while it is full.
- spdlog synchronous: the caller writes, under a mutex, through the C library's file buffer.
- Qt message handler: formats with QDateTime and writes to a QTextStream under a mutex; it gets a tenth of the lines, or
  all would wait for it.

Our log opens and closes its file for every batch, looks at its age and size, and rotates it on the way.
)";

const QMap<QString, QString>& Titles()
{
    static const QMap<QString, QString> titles{
        {QStringLiteral("burst"), QStringLiteral("A call that passes the filter, in bursts of 1000 (ns on average)")},
        {QStringLiteral("sustained"), QStringLiteral("A call that passes the filter, without a pause (ns on average)")},
        {QStringLiteral("stopped"), QStringLiteral("A call that the level stops (ns on average)")},
        {QStringLiteral("latency-burst"), QStringLiteral("Single calls in bursts of 1000 (ns, the clock included)")},
        {QStringLiteral("latency-sustained"), QStringLiteral("Single calls without a pause (ns, the clock included)")},
        {QStringLiteral("throughput"), QStringLiteral("Until everything is in the file (million lines per second)")},
        {QStringLiteral("memory"), QStringLiteral("Resident memory of a burst (MiB)")}};
    return titles;
}

QString TargetName(const QString& target)
{
    static const QMap<QString, QString> names{{QStringLiteral("nerolt"), QStringLiteral("NeroltOrvaneBase")},
                                              {QStringLiteral("spdlog-async"), QStringLiteral("spdlog asynchronous")},
                                              {QStringLiteral("spdlog-sync"), QStringLiteral("spdlog synchronous")},
                                              {QStringLiteral("qt"), QStringLiteral("Qt message handler")}};
    return names.value(target);
}

bool IsThreaded(const Group& group)
{
    return group.Find(QStringLiteral("nerolt"), 4) != nullptr;
}

QString Who(const Group& group, const Scenario& scenario)
{
    QString who = TargetName(scenario.iTarget);
    if (IsThreaded(group))
        who += scenario.iThreads == 1 ? QStringLiteral(", 1 thread")
                                      : QStringLiteral(", %1 threads").arg(scenario.iThreads);
    else if (group.Find(QStringLiteral("nerolt"), 1, Line::Level::Debug))
        who += QLatin1String(", ") + Line::Name(scenario.iLevel);
    return who;
}

// Rates are shown in millions and memory in MiB.
double Scale(const Group& group)
{
    if (group.iKind == QLatin1String("throughput"))
        return 1e-6;
    return group.iKind == QLatin1String("memory") ? 1.0 / 1048576.0 : 1.0;
}

QString Shown(double value)
{
    return QString::number(value, 'f', value < 10 ? 2 : value < 100 ? 1 : 0);
}

// How many times better ours is than that series: the median of the rounds' ratios, since what disturbs a round
// disturbs both.
QString Advantage(const Group& group, const Series& series, const QString& name)
{
    const Series* const ours = group.Find(QStringLiteral("nerolt"), series.iScenario.iThreads);
    if (!ours || series.iScenario.iTarget == ours->iScenario.iTarget)
        return {};
    const bool isTime = name == QLatin1String("ns");
    const QVector<double> our = ours->iValues.value(name);
    const QVector<double> their = series.iValues.value(name);
    Series ratios;
    for (int round = 0; round < our.size(); ++round)
        ratios.iValues[name] += isTime ? their[round] / our[round] : our[round] / their[round];
    return QStringLiteral("%1 x").arg(Shown(ratios.Median(name)));
}

QStringList AverageRow(const Group& group, const Series& series, const QString& name)
{
    const double scale = Scale(group);
    return {Who(group, series.iScenario), Shown(series.Median(name) * scale),
            Shown(series.Least(name) * scale) + QLatin1String(" to ") + Shown(series.Most(name) * scale),
            Advantage(group, series, name)};
}

QVector<QStringList> AverageRows(const Group& group, const QString& name)
{
    QVector<QStringList> rows{
        {QString(), QStringLiteral("median"), QStringLiteral("least to most"), QStringLiteral("ours is faster by")}};
    for (const Series& series : group.iSeries)
        rows += AverageRow(group, series, name);
    return rows;
}

QVector<QStringList> ColumnRows(const Group& group, const QStringList& names, const QStringList& shownNames)
{
    QVector<QStringList> rows{QStringList{QString()} + shownNames};
    for (const Series& series : group.iSeries) {
        QStringList row{Who(group, series.iScenario)};
        for (const QString& name : names)
            row += Shown(series.Median(name) * Scale(group));
        rows += row;
    }
    return rows;
}

QString TextTable(const QVector<QStringList>& rows)
{
    QVector<int> widths(rows.first().size(), 0);
    for (const QStringList& row : rows) {
        for (int i = 0; i < row.size(); ++i)
            widths[i] = qMax(widths[i], row[i].size());
    }
    QString text;
    for (const QStringList& row : rows) {
        QString line = QStringLiteral("  ") + row[0].leftJustified(widths[0]);
        for (int i = 1; i < row.size(); ++i)
            line += QStringLiteral("  ") + row[i].rightJustified(widths[i]);
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        text += line + QLatin1Char('\n');
    }
    return text;
}

QString MarkdownTable(const QVector<QStringList>& rows)
{
    const auto line = [](const QStringList& cells) {
        return QLatin1String("| ") + cells.join(QLatin1String(" | ")) + QLatin1String(" |\n");
    };
    QStringList rule{QStringLiteral("---")};
    while (rule.size() < rows.first().size())
        rule += QStringLiteral("---:");
    QString text = line(rows.first()) + line(rule);
    for (const QStringList& row : rows.mid(1))
        text += line(row);
    return text;
}

QJsonObject JsonOf(const Series& series)
{
    QJsonObject figures;
    for (auto it = series.iValues.begin(); it != series.iValues.end(); ++it) {
        QJsonArray values;
        for (const double value : it.value())
            values += value;
        figures[it.key()] = QJsonObject{{QStringLiteral("median"), series.Median(it.key())},
                                        {QStringLiteral("least"), series.Least(it.key())},
                                        {QStringLiteral("most"), series.Most(it.key())},
                                        {QStringLiteral("rounds"), values}};
    }
    const Scenario& scenario = series.iScenario;
    return {{QStringLiteral("target"), scenario.iTarget},
            {QStringLiteral("level"), Line::Name(scenario.iLevel)},
            {QStringLiteral("threads"), scenario.iThreads},
            {QStringLiteral("lines"), scenario.iLines},
            {QStringLiteral("figures"), figures}};
}

} // namespace

Report::Report(const Suite& suite, const QStringList& load)
    : iSuite(suite)
    , iFacts(Machine::Facts(suite.Options().iFolder))
{
    iFacts += {QStringLiteral("Load before and after"), load.join(QLatin1String(", "))};
    iFacts += {QStringLiteral("Rounds"), QString::number(suite.Options().iRounds)};
    iFacts += {QStringLiteral("Lines in a scenario"), QString::number(suite.Options().iLines)};
}

Report::Table Report::GroupTable(const Group& group)
{
    Table table{Titles().value(group.iKind), {}};
    const QStringList percentiles{QStringLiteral("p50"), QStringLiteral("p90"), QStringLiteral("p99"),
                                  QStringLiteral("p99.9")};
    const QStringList moments{QStringLiteral("before"), QStringLiteral("peak"), QStringLiteral("after"),
                              QStringLiteral("stopped")};
    if (group.iKind.startsWith(QLatin1String("latency")))
        table.iRows = ColumnRows(group, percentiles, percentiles);
    else if (group.iKind == QLatin1String("memory"))
        table.iRows = ColumnRows(group, moments, moments);
    else
        table.iRows = AverageRows(
            group, group.iKind == QLatin1String("throughput") ? QStringLiteral("lines/s") : QStringLiteral("ns"));
    return table;
}

Report::Table Report::AimTable() const
{
    Table table{QStringLiteral("Aims"), {{QString(), QStringLiteral("figure"), QStringLiteral("met")}}};
    for (const Aim& aim : Aims(iSuite))
        table.iRows += {aim.iText, aim.iFigure, aim.iIsMet ? QStringLiteral("yes") : QStringLiteral("no")};
    return table;
}

Report::Table Report::MachineTable() const
{
    Table table{QStringLiteral("Measured on"), {{QString(), QString()}}};
    for (const Machine::Fact& fact : iFacts)
        table.iRows += {fact.first, fact.second};
    return table;
}

QVector<Report::Table> Report::Tables() const
{
    QVector<Table> tables{AimTable()};
    for (const Group& group : iSuite.Groups())
        tables += GroupTable(group);
    return tables;
}

QString Report::Text() const
{
    QString text;
    for (const Machine::Fact& fact : iFacts)
        text += (fact.first + QLatin1Char(':')).leftJustified(26) + fact.second + QLatin1Char('\n');
    for (const Table& table : Tables())
        text += QLatin1Char('\n') + table.iTitle + QLatin1Char('\n') + TextTable(table.iRows);
    return text;
}

QString Report::Markdown() const
{
    QString text = QString::fromUtf8(kIntroduction);
    for (const Table& table : QVector<Table>{MachineTable()} + Tables())
        text += QLatin1String("\n## ") + table.iTitle + QLatin1String("\n\n") + MarkdownTable(table.iRows);
    return text;
}

QByteArray Report::Json() const
{
    QJsonObject machine;
    for (const Machine::Fact& fact : iFacts)
        machine[fact.first] = fact.second;
    QJsonObject groups;
    for (const Group& group : iSuite.Groups()) {
        QJsonArray series;
        for (const Series& one : group.iSeries)
            series += JsonOf(one);
        groups[group.iKind] = series;
    }
    QJsonArray aims;
    for (const Aim& aim : Aims(iSuite))
        aims += QJsonObject{{QStringLiteral("aim"), aim.iText},
                            {QStringLiteral("figure"), aim.iFigure},
                            {QStringLiteral("met"), aim.iIsMet}};
    return QJsonDocument(QJsonObject{{QStringLiteral("machine"), machine},
                                     {QStringLiteral("aims"), aims},
                                     {QStringLiteral("groups"), groups}})
        .toJson();
}

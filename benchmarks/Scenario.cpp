#include "Scenario.h"

#include "Check.h"

#include <QtCore/QStringList>

namespace {

using Runner = Results (*)(const Scenario&);

const QMap<QString, Runner>& Runners()
{
    static const QMap<QString, Runner> runners{{QStringLiteral("nerolt"), RunNerolt},
                                               {QStringLiteral("spdlog-async"), RunSpdlogAsync},
                                               {QStringLiteral("spdlog-sync"), RunSpdlogSync},
                                               {QStringLiteral("qt"), RunQt}};
    return runners;
}

Line::Level LevelOf(const QString& name)
{
    for (const Line::Level level : {Line::Level::Debug, Line::Level::Warning}) {
        if (name == Line::Name(level))
            return level;
    }
    return Line::Level::Information;
}

} // namespace

QString Scenario::ToText() const
{
    return QStringList{iKind, iTarget, Line::Name(iLevel), QString::number(iThreads)}.join(QLatin1Char(','));
}

Scenario Scenario::FromText(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    Scenario scenario;
    scenario.iKind = parts.value(0);
    scenario.iTarget = parts.value(1);
    scenario.iLevel = LevelOf(parts.value(2));
    scenario.iThreads = qBound(1, parts.value(3).toInt(), Line::kMaxThreads);
    return scenario;
}

Results RunScenario(const Scenario& scenario)
{
    const Runner run = Runners().value(scenario.iTarget);
    if (!run)
        throw Failure{QStringLiteral("no target %1").arg(scenario.iTarget)};
    return run(scenario);
}

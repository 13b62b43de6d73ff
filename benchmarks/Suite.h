#pragma once

#include "Scenario.h"

#include <QtCore/QVector>

#include <functional>

/// The values of one scenario, one for each round.
struct Series
{
    Scenario iScenario;
    QMap<QString, QVector<double>> iValues;

    double Median(const QString& name) const;
    double Least(const QString& name) const;
    double Most(const QString& name) const;
};

/// Scenarios that measure the same.
struct Group
{
    QString iKind;
    QVector<Series> iSeries;

    /// Null when it was not measured.
    const Series* Find(const QString& target, int threads = 1, Line::Level level = Line::Level::Information) const;
};

struct SuiteOptions
{
    int iRounds = 5;
    int iLines = 1000000;
    QString iFolder; ///< where the scenarios get folders of their own
    QStringList iOnly; ///< the kinds to measure, empty for all
};

/// Everything that is measured: each round runs every scenario once, each in a process of its own, one after another,
/// so that ours and its peers meet the same state of the machine.
class Suite
{
public:
    explicit Suite(const SuiteOptions& options);

    static QStringList Kinds();

    /// Calls `progress` before each scenario with what is done, in parts of one. Throws Failure.
    void Run(const std::function<void(double, const QString&)>& progress);
    const SuiteOptions& Options() const { return iOptions; }
    const QVector<Group>& Groups() const { return iGroups; }
    const Group* Find(const QString& kind) const;

private:
    int Count() const;
    void RunOnce(Series& series) const;

    SuiteOptions iOptions;
    QVector<Group> iGroups;
};

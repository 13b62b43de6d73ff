#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>

/// What programs have in common that do the same in several ways, ours first.
namespace Comparison {

struct Figure
{
    double iMedian = 0;
    double iLeast = 0;
    double iMost = 0;
};

using Figures = QVector<Figure>; // one for each way

/// Measures `ways` in turn, another one first in every round, so that a disturbance hits them all. `measure` gets the
/// way's number.
Figures Measure(int ways, int rounds, const std::function<double(int)>& measure);

struct Aim
{
    QString iText; ///< empty when there is none
    QString iFigure; ///< what is held against it
    bool iIsMet = true;
};

struct Task
{
    QString iTitle;
    QString iUnit;
    QStringList iWays;
};

/// Prints a table, and gives the same for the file of results.
QJsonObject Print(const Task& task, const Figures& figures, const Aim& aim);

/// The program: `compare` gets the number of rounds, and gives what Print made of its tasks.
int Main(int argc, char** argv, const QString& description, int rounds, const std::function<QJsonArray(int)>& compare);

} // namespace Comparison

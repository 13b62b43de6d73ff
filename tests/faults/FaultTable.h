#pragma once

#include "DiskFaults.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <functional>
#include <vector>

/// The faults, how each begins and ends, and what is lost.
namespace FaultTable {

/// Numbers of lines, half-open.
struct Range
{
    int iFrom;
    int iTo;
};

constexpr int kAll = 3 * DiskFaults::kLinesEach;
constexpr Range kBefore{0, DiskFaults::kLinesEach};
constexpr Range kDuring{DiskFaults::kLinesEach, 2 * DiskFaults::kLinesEach};
constexpr Range kAfter{2 * DiskFaults::kLinesEach, kAll};

struct Fault
{
    enum class Needs { Nothing, Mount, OrdinaryUser };

    const char* iName;
    std::function<void()> iBegin;
    std::function<void()> iEnd;
    Needs iNeeds = Needs::Nothing;
    QList<Range> iMust = {kBefore, kAfter}; ///< lines that must be in the files at the end
    QList<Range> iMay = {}; ///< lines that may be there or not
    int iTorn = 0; ///< lines that may be damaged
};

std::vector<Fault> All();

/// Ends the process unless the condition holds.
void Require(bool done, const char* what);

/// The folder of the log, and the log in it.
QString Folder();
QString Log();

} // namespace FaultTable

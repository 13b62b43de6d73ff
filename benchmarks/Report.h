#pragma once

#include "Machine.h"
#include "Suite.h"

/// The figures of a suite, for people and for programs.
class Report
{
public:
    /// `load` is what Machine::Load said before and after.
    Report(const Suite& suite, const QStringList& load);

    /// For a terminal.
    QString Text() const;
    /// A page for the documentation.
    QString Markdown() const;
    QByteArray Json() const;

private:
    struct Table
    {
        QString iTitle;
        QVector<QStringList> iRows; ///< the head first
    };

    QVector<Table> Tables() const;
    Table AimTable() const;
    Table MachineTable() const;
    static Table GroupTable(const Group& group);

    const Suite& iSuite;
    QVector<Machine::Fact> iFacts;
};

#pragma once

#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVector>

/// What the figures were measured on and with.
namespace Machine {

using Fact = QPair<QString, QString>;

/// `folder` is where the log files lay.
QVector<Fact> Facts(const QString& folder);
/// The load averages of this moment; empty where the system does not tell.
QString Load();

} // namespace Machine

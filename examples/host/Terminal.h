#pragma once

#include <QtCore/QString>

/// The output.
namespace Terminal {

/// Whether a line may be overwritten: all output goes to a terminal that can do that.
bool ShowsProgress();
/// Whether the summary may be in colour. Honours NO_COLOR.
bool ShowsColour();

QString Bold(const QString& text);
QString Green(const QString& text);
QString Red(const QString& text);

/// Writes to stdout. False if that fails.
bool Print(const QString& text);

} // namespace Terminal

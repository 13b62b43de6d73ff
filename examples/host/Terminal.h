#pragma once

#include <QtCore/QString>

/// What the output goes to.
namespace Terminal {

/// Whether a line may be drawn over itself: everything goes to a terminal that can do that.
bool ShowsProgress();
/// Whether the summary may be in colour. Honours NO_COLOR.
bool ShowsColour();

QString Bold(const QString& text);
QString Green(const QString& text);
QString Red(const QString& text);

/// Writes to stdout. False when that was not possible.
bool Print(const QString& text);

} // namespace Terminal

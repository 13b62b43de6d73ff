#pragma once

#include "support/TestMain.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QStringList>

#include <functional>
#include <initializer_list>

/// Texts, folders and lines, as the tests of paths compare them.
namespace PathText {

/// From UTF-8.
QString Text(const char* utf8);
QStringList Texts(std::initializer_list<const char*> list);

/// All that is in a folder and below, sorted, relative to it. Folders have a separator behind.
QStringList Tree(const QString& folder);

/// For a scenario: runs the calls with a hook installed and nothing but their own lines in the log. The exit code.
int Logged(int level, const std::function<void()>& calls);

/// What Logged left in the log, without the time stamps.
QList<QByteArray> BodiesOf(const TestSupport::ScenarioResult& result);

} // namespace PathText

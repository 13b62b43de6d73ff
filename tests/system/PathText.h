#pragma once

#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <functional>
#include <initializer_list>

/// Texts, folders and lines for the tests of paths.
namespace PathText {

/// From UTF-8.
QString Text(const char* utf8);
QStringList Texts(std::initializer_list<const char*> list);

/// The contents of a folder and its subfolders, sorted, as relative paths. Folders end with a separator.
QStringList Tree(const QString& folder);

/// Makes "x" a file with a line of text, "x/" a folder, "x -> y" a link.
bool Make(const QString& thing);
/// Writes a file, and makes its folder.
bool Write(const QString& path, const QByteArray& bytes, QFile::Permissions more = {});
/// The same for a script of the shell that everybody may run.
bool WriteProgram(const QString& path, const QByteArray& body);
/// A value for PATH with a folder before the others.
QString PathWith(const QString& folder);

/// For a scenario: runs the calls with a hook installed and only their own lines in the log. Returns the exit code.
int Logged(int level, const std::function<void()>& calls);

} // namespace PathText

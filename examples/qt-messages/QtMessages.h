#pragma once

/// Writes Qt's messages to the log: those of the framework, and those of qDebug() and similar functions.
namespace QtMessages {

/// Sends all messages to the log from now on: debug, info and warning at the levels of these names, critical ones as
/// errors and fatal ones as exceptions, with the function "Qt(<category>)". Call it once, on the main thread, before
/// other threads run.
///
/// Messages that the log cannot accept go to the previous handler: those while the log is silent or stopped, and those
/// of the logging thread. A fatal message stops the log and goes there too. Messages that are caused by logging a
/// message, for instance in an error reporter, are printed by Qt. If QT_FATAL_WARNINGS makes a warning fatal, the
/// warning and the lines in the buffer are lost.
void Install();

} // namespace QtMessages

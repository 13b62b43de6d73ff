#pragma once

/// Qt's own messages, those of the framework and those of qDebug() and its kind, in the log.
namespace QtMessages {

/// Sends all messages into the log from now on: debug, info and warning at the levels of these names, critical ones as
/// errors and fatal ones as exceptions, with the function "Qt(<category>)". Call it once, on the main thread, before
/// others run.
///
/// What the log cannot take goes to the handler that was there before: messages while the log is silent or stopped, and
/// those of the thread that writes it. A fatal one ends the log and goes there too. Messages that come of logging a
/// message, those of an error reporter for instance, Qt prints by itself. A warning that QT_FATAL_WARNINGS makes fatal
/// is lost with what is still in the buffer.
void Install();

} // namespace QtMessages

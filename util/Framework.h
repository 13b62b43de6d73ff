#pragma once

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QVariant>

class QDateTime;

/// Where the versions of the framework differ: on all of them the library does what it does with Qt 5.
namespace Framework {

/// Whether there is no value, or one of a type that knows null and is null.
bool IsNull(const QVariant& value);
/// The number of the value's type, the same for all types that Qt 5 does not have.
int TypeNumber(const QVariant& value);
/// The text in the form Qt::TextDate, with the names of the system's language.
QString TextDate(const QDateTime& time);

#if QT_VERSION_MAJOR < 6
using TimerInterval = int;
using Dispatcher = QAbstractEventDispatcher;
#else
using TimerInterval = qint64;

/// With what a dispatcher has to have in Qt 5.
class Dispatcher : public QAbstractEventDispatcher
{
public:
    virtual bool hasPendingEvents() = 0;
    virtual void flush() = 0;
};
#endif

} // namespace Framework

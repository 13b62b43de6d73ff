#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QUuid>

/// Texts that are put in the place of values while QSettings writes them.
class StandIns
{
public:
    QByteArray For(const QByteArray& value);
    /// The text with the values in their places again.
    QByteArray Restored(const QByteArray& text) const;

private:
    const QByteArray iMark = QUuid::createUuid().toByteArray(QUuid::Id128);
    QByteArrayList iValues;
};

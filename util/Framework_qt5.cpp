#include "Framework.h"

#include <QtCore/QDateTime>

bool Framework::IsNull(const QVariant& value)
{
    return value.isNull();
}

int Framework::TypeNumber(const QVariant& value)
{
    return int(value.type());
}

QString Framework::TextDate(const QDateTime& time)
{
    return time.toString(Qt::TextDate);
}

#include "IniEncoding.h"

const bool IniEncoding::kIsFrameworks = true;

bool IniEncoding::IsRead(const QByteArray&)
{
    return true;
}

QByteArray IniEncoding::Readable(const QByteArray& text)
{
    return text;
}

bool IniEncoding::IsKept(const QByteArray&)
{
    return true;
}

QByteArray IniEncoding::Rewritten(const QByteArray& value)
{
    return value;
}

QVariant IniEncoding::Writable(const QVariant& value, const StandIn&)
{
    return value;
}

#include "StandIns.h"

QByteArray StandIns::For(const QByteArray& value)
{
    iValues += value;
    return iMark + QByteArray::number(iValues.size() - 1) + 'x';
}

QByteArray StandIns::Restored(const QByteArray& text) const
{
    QByteArray restored;
    int from = 0;
    for (int at = int(text.indexOf(iMark)); at >= 0; at = int(text.indexOf(iMark, from))) {
        const int number = at + int(iMark.size());
        const int end = int(text.indexOf('x', number));
        restored += text.mid(from, at - from) + iValues.value(text.mid(number, end - number).toInt());
        from = end + 1;
    }
    return restored + text.mid(from);
}

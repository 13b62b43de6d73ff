#include "Framework.h"

#include <QtCore/QBitArray>
#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonValue>
#include <QtCore/QLine>
#include <QtCore/QLocale>
#include <QtCore/QRect>
#include <QtCore/QUuid>

namespace {

constexpr int kLastCore = QMetaType::QCborMap; ///< of Qt 5
constexpr int kFirstGui = 64; ///< in Qt 5
constexpr int kLastGui = 87; ///< in Qt 5
constexpr int kSizePolicy = 121; ///< in Qt 5
constexpr int kOthers = 1024; ///< in Qt 5: all those that are not the framework's

QString TwoDigits(int number)
{
    return QString::number(number).rightJustified(2, u'0');
}

QString OffsetText(int seconds)
{
    const int minutes = std::abs(seconds) / 60;
    return (seconds < 0 ? u'-' : u'+') + TwoDigits(minutes / 60) + TwoDigits(minutes % 60);
}

QString ZoneText(const QDateTime& time)
{
    switch (time.timeSpec()) {
    case Qt::LocalTime:
        return QString();
    case Qt::TimeZone:
        return u' ' + time.timeZoneAbbreviation();
    case Qt::OffsetFromUTC:
        return QLatin1String(" GMT") + OffsetText(time.offsetFromUtc());
    default:
        return QStringLiteral(" GMT");
    }
}

} // namespace

bool Framework::IsNull(const QVariant& value)
{
    if (value.isNull())
        return true;
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString().isNull();
    case QMetaType::QChar:
        return value.toChar().isNull();
    case QMetaType::QByteArray:
        return value.toByteArray().isNull();
    case QMetaType::QBitArray:
        return value.toBitArray().isNull();
    case QMetaType::QDate:
        return value.toDate().isNull();
    case QMetaType::QTime:
        return value.toTime().isNull();
    case QMetaType::QDateTime:
        return value.toDateTime().isNull();
    case QMetaType::QRect:
        return value.toRect().isNull();
    case QMetaType::QRectF:
        return value.toRectF().isNull();
    case QMetaType::QLine:
        return value.toLine().isNull();
    case QMetaType::QLineF:
        return value.toLineF().isNull();
    case QMetaType::QPoint:
        return value.toPoint().isNull();
    case QMetaType::QPointF:
        return value.toPointF().isNull();
    case QMetaType::QSize:
        return value.toSize().isNull();
    case QMetaType::QSizeF:
        return value.toSizeF().isNull();
    case QMetaType::QUuid:
        return value.toUuid().isNull();
    case QMetaType::QJsonValue:
        return value.toJsonValue().isNull();
    case QMetaType::QJsonDocument:
        return value.toJsonDocument().isNull();
    default:
        return false;
    }
}

int Framework::TypeNumber(const QVariant& value)
{
    const int id = value.typeId();
    if (id <= kLastCore)
        return id;
    const int gui = id - QMetaType::FirstGuiType + kFirstGui;
    if (gui >= kFirstGui && gui <= kLastGui)
        return gui;
    return id == QMetaType::QSizePolicy ? kSizePolicy : kOthers;
}

QString Framework::TextDate(const QDateTime& time)
{
    if (!time.isValid())
        return QString();
    const QLocale system = QLocale::system();
    const QDate date = time.date();
    return system.dayName(date.dayOfWeek(), QLocale::ShortFormat) + u' '
        + system.monthName(date.month(), QLocale::ShortFormat) + u' ' + QString::number(date.day()) + u' '
        + time.time().toString(Qt::TextDate) + u' ' + QString::number(date.year()) + ZoneText(time);
}

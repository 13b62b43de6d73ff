#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RTimerGarbageCollector.h>

#include <QtCore/QTimer>

RTimerGarbageCollector::RTimerGarbageCollector(QObject* parent)
    : QObject(parent)
{
}

void RTimerGarbageCollector::AddTimer(QTimer* timer)
{
    if (!timer)
        return;
    if (Logger::GetInstance()->GetLevel() & LoggerDefs::Debug) {
        const QByteArray func = QByteArray(metaObject()->className()) + "::AddTimer";
        Logger::LogDebug(func.constData(), QLatin1String("Adding timer to garbage collector ") + timer->objectName());
    }
    timer->setParent(this);
    timer->deleteLater();
}

#include "Log.h"

#include <QtCore/QFile>

// What a program without a log does at least.
void StartLog(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write("a line\n") < 0)
        qFatal("cannot write to %s", qPrintable(path));
}

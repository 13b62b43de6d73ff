#include "Host.h"
#include "Interrupt.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("NeroltHost"));
    Options options;
    if (const std::optional<int> code = ReadOptions(QCoreApplication::arguments(), options))
        return *code;
    Interrupt::Catch();
    const int code = Host(options).Run();
    Logger::Cleanup();
    return code;
}

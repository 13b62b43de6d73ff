#include "Peers.h"

QVector<Work> KConfigWorks()
{
    return {};
}

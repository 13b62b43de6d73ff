#include "Works.h"

QVector<Work> KConfigWorks()
{
    return {};
}

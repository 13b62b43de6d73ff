#pragma once

#include "Suite.h"

/// What the library wants to reach.
struct Aim
{
    QString iText;
    QString iFigure;
    bool iIsMet = false;
};

/// Those of which the suite knows the figures.
QVector<Aim> Aims(const Suite& suite);

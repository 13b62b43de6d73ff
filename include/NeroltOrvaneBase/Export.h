#pragma once

/// @file
/// How the names of the library leave it.

#include <QtCore/qglobal.h>

/// Marks what the shared library exports. Everything else in it is hidden.
#if defined(NeroltOrvaneBase_EXPORTS)
#define NEROLTORVANEBASE_EXPORT Q_DECL_EXPORT
#else
#define NEROLTORVANEBASE_EXPORT Q_DECL_IMPORT
#endif

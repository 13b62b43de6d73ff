#pragma once

/// @file
/// Exports the public names of the library.

#include <QtCore/qglobal.h>

/// Marks what the shared library exports. Everything else in it is hidden, and so is all of a static one, whose users
/// define NEROLTORVANEBASE_STATIC; the library's CMake target and its pkg-config file do it for them.
#if defined(NEROLTORVANEBASE_STATIC)
#define NEROLTORVANEBASE_EXPORT
#elif defined(NeroltOrvaneBase_EXPORTS)
#define NEROLTORVANEBASE_EXPORT Q_DECL_EXPORT
#else
#define NEROLTORVANEBASE_EXPORT Q_DECL_IMPORT
#endif

#pragma once

/// @file
/// All classes of the module logging.
#include "IErrorReporter.h"
#include "Logger.h"
#include "LoggerAgent.h"
#include "LoggerDefs.h"
#include "LoggerWorker.h"
#include "StackTrace.h"

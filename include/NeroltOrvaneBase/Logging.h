#pragma once

/// @file
/// The log: every class of the family.
#include "IErrorReporter.h"
#include "Logger.h"
#include "LoggerAgent.h"
#include "LoggerDefs.h"
#include "LoggerWorker.h"
#include "StackTrace.h"

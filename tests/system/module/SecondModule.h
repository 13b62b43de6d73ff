#pragma once

class QString;
class SystemConfig;

/// The plug-in's access to its own copy of SystemConfig. The function "secondModule" returns it.
struct SecondModule
{
    SystemConfig* (*iGetInstance)();
    SystemConfig** iPointer; ///< its static pointer
    void (*iSetTestPath)(const QString& path);
    QString (*iGetUserCachePath)();
};

using SecondModuleFunction = const SecondModule* (*)();

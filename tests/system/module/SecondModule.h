#pragma once

class QString;
class SystemConfig;

/// What the module shows of its own copy of SystemConfig. It is got with the function "secondModule".
struct SecondModule
{
    SystemConfig* (*iGetInstance)();
    SystemConfig** iPointer; ///< its static pointer
    const QString& (*iGetTestPath)();
    void (*iSetTestPath)(const QString& path);
    QString (*iGetUserCachePath)();
};

using SecondModuleFunction = const SecondModule* (*)();

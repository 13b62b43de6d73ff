#pragma once

#include <QtCore/QString>

/// While it lives, a test that runs as root acts as an ordinary user without privileges; any other goes on as it is.
/// For programs with one thread at that moment.
class OrdinaryUser
{
public:
    OrdinaryUser();
    ~OrdinaryUser();

    /// Whether this process is root when no object of this class lives.
    static bool IsTestRoot();
    /// Gives a file or folder to the ordinary user and lets him reach it. Call it while root.
    static void Own(const QString& path);

private:
    Q_DISABLE_COPY(OrdinaryUser)
};

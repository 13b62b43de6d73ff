#pragma once

#include <QtCore/QString>

/// While it lives, a test that runs as root acts as an ordinary user without privileges. Any other test continues
/// unchanged. The program must have a single thread at that moment.
class OrdinaryUser
{
public:
    OrdinaryUser();
    ~OrdinaryUser();

    /// Whether this process is root while no object of this class lives.
    static bool IsTestRoot();
    /// Makes the ordinary user the owner of a file or folder, and makes it reachable. Call it while root.
    static void Own(const QString& path);

private:
    static constexpr unsigned int kId = 65534;

    Q_DISABLE_COPY(OrdinaryUser)
};

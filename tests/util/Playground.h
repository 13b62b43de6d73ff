#pragma once

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A folder in the scratch folder, for one test. The folder and its contents belong to the ordinary user. The
/// destructor unlocks what the test locked, and removes everything. Create it before the test becomes an ordinary user.
class Playground
{
public:
    Playground();
    ~Playground();
    Q_DISABLE_COPY(Playground)

    QString Path(const QString& name) const;
    QString File(const QString& name, int mode = 0644) const;
    QString Folder(const QString& name, int mode = 0755) const;
    QString Pipe(const QString& name, int mode = 0644) const;
    QString Link(const QString& target, const QString& name) const;
    /// A file that belongs to root. Only root can make it.
    QString FileOfRoot(const QString& name, int mode) const;

    /// Whether this process may set the inode's immutable flag in the scratch folder.
    static bool MayFlag();

private:
    QTemporaryDir iFolder;
};

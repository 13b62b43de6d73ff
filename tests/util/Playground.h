#pragma once

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A folder for one test. The folder and its contents belong to the ordinary user. The destructor unlocks what the test
/// locked, and removes everything. Create it before the test becomes an ordinary user.
class Playground
{
public:
    /// Makes the folder in the folder `place`.
    explicit Playground(const QString& place);
    ~Playground();
    Q_DISABLE_COPY(Playground)

    QString Path(const QString& name) const;
    QString File(const QString& name, int mode = 0644) const;
    QString Folder(const QString& name, int mode = 0755) const;
    QString Pipe(const QString& name, int mode = 0644) const;
    QString Link(const QString& target, const QString& name) const;
    /// A file that belongs to root. Only root can make it.
    QString FileOfRoot(const QString& name, int mode) const;

    /// Global rows: the folders in which every test runs, in a column "place". Always the scratch folder, and another
    /// file system if there is one that supports attributes and flags as well.
    static void AddPlaces();
    /// Whether this process may set the inode's immutable flag in the scratch folder.
    static bool MayFlag();

private:
    QTemporaryDir iFolder;
};

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
    QString Socket(const QString& name, int mode = 0644) const;
    QString Link(const QString& target, const QString& name) const;
    /// A file that belongs to root. Only root can make it.
    QString FileOfRoot(const QString& name, int mode) const;

    /// Global rows: the folders to run every test in, in a column "place". The scratch folder always, and another file
    /// system if there is one that keeps attributes and flags as well.
    static void AddPlaces();
    /// Whether this process may set the inode's immutable flag in the scratch folder.
    static bool MayFlag();
    /// Makes a process of root's the ordinary user's for the rest of its life, also for what asks for the real user. He
    /// gets the current folder.
    static void StayOrdinary();

private:
    QTemporaryDir iFolder;
};

#pragma once

#include "IniNames.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <functional>

/// Changes that are not in their file yet, in their order.
class IniChanges
{
public:
    struct Change
    {
        QString iGroup;
        QString iKey;
        QVariant iValue;
        bool iIsRemoval = false;
    };
    using Function = std::function<void(const Change&)>;
    /// Calls a function for each change.
    using Many = std::function<void(const Function&)>;

    void Add(const Change& change) { iChanges += change; }
    /// Changes that come after those added, without a copy of them.
    void SetMany(const Many& many) { iMany = many; }
    void Clear();
    /// Puts those added to others before those added here.
    void Prepend(const IniChanges& earlier) { iChanges = earlier.iChanges + iChanges; }
    /// Those added, which are not here any more.
    IniChanges TakeAdded();

    bool IsEmpty() const { return !iMany && iChanges.empty(); }
    void ForEach(const Function& function) const;
    /// The last one added that sets or removes the key, or null.
    const Change* Last(const QString& group, const QString& key) const;
    /// Of those added, by their whole names, the values; null for a key that is removed.
    QHash<QString, QVariant> Values() const;
    /// Whether one sets a key that comes after this name in the file.
    bool SetAfter(const IniNames::Name& name) const;
    /// Whether they change anything in a file with these keys.
    bool HaveEffectOn(const QStringList& keys) const;

    QSet<QString> Removed() const;
    /// Whether the removal of one of the keys also removes this one.
    static bool IsBelow(const QString& key, const QSet<QString>& removed);

private:
    QVector<Change> iChanges;
    Many iMany;
};

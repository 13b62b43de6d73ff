#pragma once

#include <QtCore/QString>

#include <functional>

/// Told how much of something is done.
using Shown = std::function<void(qint64 done, qint64 all)>;

/// A bar on the terminal. Shows nothing if the output is not a terminal.
class Progress
{
public:
    Progress();
    ~Progress() { Wipe(); }
    Q_DISABLE_COPY(Progress)

    void Show(const QString& what, qint64 done, qint64 all);
    void Wipe();

    /// "[#####     ]  50 %", with a bar of `width` characters.
    static QString Bar(qint64 done, qint64 all, int width);

private:
    const bool iIsShown;
    QString iLast;
};

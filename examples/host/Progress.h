#pragma once

#include <QtCore/QString>

/// A bar on the terminal, and nothing anywhere else.
class Progress
{
public:
    Progress();
    /// Wipes the bar away.
    ~Progress();
    Q_DISABLE_COPY(Progress)

    void Show(qint64 done, qint64 all);

    /// "[#####     ]  50 %", with a bar of `width` characters.
    static QString Bar(qint64 done, qint64 all, int width);

private:
    const bool iIsShown;
    QString iLast;
};

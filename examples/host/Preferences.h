#pragma once

#include <QtCore/QString>
#include <QtCore/QTime>

/// The host's settings, which persist from run to run.
struct Preferences
{
    QString iPath;
    int iRuns = 0; ///< including this one
    bool iIsMerged = false; ///< whether the defaults added anything
    QTime iDownloadsFrom;
    QTime iDownloadsTo;
};

/// Sets the user's folders, all below `base`, and creates them. False if that fails.
bool PrepareFolders(const QString& base);

/// Opens the preferences, merges the application's defaults into them, and counts the run.
Preferences OpenPreferences();

#pragma once

#include <QtCore/QString>
#include <QtCore/QTime>

/// The host's settings, kept from run to run.
struct Preferences
{
    QString iPath;
    int iRuns = 0; ///< this one included
    bool iIsMerged = false; ///< whether the defaults brought something new
    QTime iDownloadsFrom;
    QTime iDownloadsTo;
};

/// Tells the library where the user's folders are, all below `base`, and creates them. False when that fails.
bool PrepareFolders(const QString& base);

/// Opens the preferences, merges what the application ships as defaults into them, and counts the run.
Preferences OpenPreferences();

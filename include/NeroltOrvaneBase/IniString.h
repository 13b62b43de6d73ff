#pragma once

#include "Export.h"

#include <QtCore/QString>

/// The name of a section or key. Comparison ignores case, character by character; the spelling is kept. The order is a
/// strict weak ordering, so the class can be the key of a QMap. A name that is inserted again with another spelling
/// keeps the first one. Copies share their text.
class NEROLTORVANEBASE_EXPORT IniString
{
public:
    // Implicit both ways, so that text can be used as a name and a name as text.
    // NOLINTBEGIN(google-explicit-constructor)
    /// Keeps the spelling of the text.
    IniString(const QString& text)
        : iText(text)
    {
    }
    /// Returns the text in its original spelling.
    operator QString() const { return iText; }
    // NOLINTEND(google-explicit-constructor)

    /// @name Comparison without regard to case
    /// Any thread may call; never throws.
    /// @{

    /// The same result as QString::compare with Qt::CaseInsensitive.
    bool operator==(const QString& other) const { return Compare(iText, other) == 0; }
    bool operator==(const IniString& other) const { return Compare(iText, other.iText) == 0; }
    bool operator!=(const QString& other) const { return !(*this == other); }
    bool operator!=(const IniString& other) const { return !(*this == other); }
    friend bool operator==(const QString& left, const IniString& right) { return right == left; }
    friend bool operator!=(const QString& left, const IniString& right) { return !(right == left); }
    bool operator<(const IniString& other) const { return Compare(iText, other.iText) < 0; }
    /// @}

private:
    // QString::compare(Qt::CaseInsensitive), faster where names are ASCII.
    static int Compare(const QString& left, const QString& right);

    QString iText;
};

#pragma once

#include "Export.h"

#include <QtCore/QString>

/// The name of a section or key: compared without regard to case, character by character, but kept as it was spelled.
/// The order is a strict weak one, so that the class serves as the key of a QMap; a name that is found again under
/// another spelling keeps its first. Copies share their text.
class NEROLTORVANEBASE_EXPORT IniString
{
public:
    // Implicit both ways, so that plain text serves as a name and a name as text.
    // NOLINTBEGIN(google-explicit-constructor)
    /// Keeps the text as it is spelled.
    IniString(const QString& text)
        : iText(text)
    {
    }
    /// The text as it was spelled.
    operator QString() const { return iText; }
    // NOLINTEND(google-explicit-constructor)

    /// @name Comparison without regard to case
    /// Any thread may call; never throws.
    /// @{

    /// As QString::compare with Qt::CaseInsensitive tells.
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

#include "ReportText.h"

#include <QtCore/QTextStream>

namespace {

bool ContainsAny(const QString& line, std::initializer_list<const char*> words)
{
    for (const char* const word : words) {
        if (line.contains(QLatin1String(word)))
            return true;
    }
    return false;
}

/// The words may be in any line, not only in a heading, and those that start copying are looked for first: technical
/// support expects the excerpts in this form.
bool IsCopiedFrom(const QString& line, bool wasCopied)
{
    if (ContainsAny(line,
                    {"Architecture", "Features", "Network", "Screens", "Platform capabilities", "Environment", "GPU"}))
        return true;
    if (ContainsAny(line,
                    {"Library info", "Standard paths", "File selectors", "Style hints", "Theme", "Fonts", "Palette",
                     "Additional"}))
        return false;
    return wasCopied;
}

} // namespace

QString ReportText::DiagnosticScript(const QString& program, const QString& output)
{
    return QLatin1Char('"') + program + QLatin1String("\" > \"") + output + QLatin1Char('"');
}

QString ReportText::MacGraphicsScript(const QString& output)
{
    return QLatin1String("system_profiler SPDisplaysDataType > \"") + output + QLatin1Char('"');
}

QString ReportText::LinuxGraphicsScript(const QString& output)
{
    // Tools that are missing, fail or wait for a blocked display server add nothing.
    return QLatin1String("{ said=; "
                         "for tool in 'lspci -nnk -d ::03xx' 'lshw -C display' 'glxinfo -B' 'xrandr --query'; do "
                         "text=$(timeout -k 1 10 $tool) || :; "
                         "[ -z \"$text\" ] || { said=yes; printf '%s\\n\\n%s\\n\\n' \"$tool\" \"$text\"; }; done; "
                         "[ \"$said\" ] || for file in /sys/class/drm/*/status /sys/class/drm/*/modes "
                         "/sys/class/drm/*/device/uevent; do "
                         "[ -s \"$file\" ] && text=$(cat \"$file\") && [ \"$text\" ] || continue; "
                         "said=yes; printf '%s\\n\\n%s\\n\\n' \"$file\" \"$text\"; done; "
                         "[ \"$said\" ] || echo 'No display and no graphics adapter was found.'; "
                         "} 2>/dev/null > \"")
        + output + QLatin1Char('"');
}

QString ReportText::DiagnosticExcerpt(QTextStream& output)
{
    QString excerpt;
    bool isCopied = true;
    for (QString line; output.readLineInto(&line);) {
        isCopied = IsCopiedFrom(line, isCopied);
        if (isCopied)
            excerpt += line + QLatin1String("\r\n");
    }
    return excerpt;
}

QString ReportText::GraphicsText(const QByteArray& output)
{
    return QString::fromUtf8(output.constData());
}

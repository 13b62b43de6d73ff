#include "Terminal.h"

#include <cstdio>
#include <unistd.h>

namespace {

bool IsTerminal(int descriptor)
{
    const QByteArray type = qgetenv("TERM");
    return ::isatty(descriptor) && !type.isEmpty() && type != "dumb";
}

QString Styled(const char* style, const QString& text)
{
    return Terminal::ShowsColour()
        ? QLatin1String("\x1b[") + QLatin1String(style) + QLatin1Char('m') + text + QLatin1String("\x1b[0m")
        : text;
}

} // namespace

bool Terminal::ShowsProgress()
{
    return IsTerminal(STDOUT_FILENO) && IsTerminal(STDERR_FILENO);
}

bool Terminal::ShowsColour()
{
    return IsTerminal(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR");
}

QString Terminal::Bold(const QString& text)
{
    return Styled("1", text);
}

QString Terminal::Green(const QString& text)
{
    return Styled("32", text);
}

QString Terminal::Red(const QString& text)
{
    return Styled("31", text);
}

bool Terminal::Print(const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit();
    const bool isWritten = std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) == size_t(bytes.size());
    return std::fflush(stdout) == 0 && isWritten;
}

#include "Summary.h"

#include "Terminal.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>

namespace {

constexpr int kLabelWidth = 13;

QString Number(qint64 number)
{
    return QLocale(QLocale::English).toString(number);
}

QString Bytes(qint64 bytes)
{
    return bytes > 0 ? QLocale(QLocale::English).formattedDataSize(bytes, 1) : QStringLiteral("unknown");
}

QString Title(const QString& title)
{
    return QLatin1Char('\n') + Terminal::Bold(title) + QLatin1Char('\n');
}

QString Row(const QString& label, const QString& value)
{
    return QLatin1String("  ") + label.leftJustified(kLabelWidth) + value + QLatin1Char('\n');
}

QString MachinePart(const Machine& machine)
{
    const QString build = machine.iBuild.isEmpty() ? QStringLiteral("unknown, not in a bundle") : machine.iBuild;
    const QString free = machine.iFreeBytes < 0
        ? QStringLiteral("unknown")
        : QStringLiteral("%1 free").arg(QLocale(QLocale::English).formattedDataSize(machine.iFreeBytes, 1));
    return Title(QStringLiteral("Machine")) + Row(QStringLiteral("system"), machine.iSystem)
        + Row(QStringLiteral("processor"), machine.iProcessor) + Row(QStringLiteral("built for"), build)
        + Row(QStringLiteral("disk"), free)
        + Row(QStringLiteral("user"),
              machine.iIsLoggedIn ? QStringLiteral("logged in") : QStringLiteral("not logged in"))
        + Row(QStringLiteral("agent"), machine.iUserAgent) + Row(QStringLiteral("updates"), machine.iUpdateUrl)
        + Row(QStringLiteral("asked by"), machine.iCallers.join(QLatin1String(", ")));
}

QString ReportPart(const Report& report)
{
    if (!report.iIsMade)
        return QString();
    const QString displays = report.iDisplays.size() == 1
        ? report.iDisplays.constFirst()
        : QStringLiteral("%1 lines in graphics.log").arg(report.iDisplays.size());
    const QString framework = report.iFramework.isEmpty()
        ? QStringLiteral("unknown, there is no qtdiag beside the host")
        : QStringLiteral("%1 relevant lines of qtdiag.log").arg(report.iFramework.size());
    const QString inTime = report.iIsComplete ? QString() : QStringLiteral(" (the tools have not finished)");
    return Title(QStringLiteral("Report")) + Row(QStringLiteral("displays"), displays + inTime)
        + Row(QStringLiteral("framework"), framework);
}

QString FoldersPart()
{
    return Title(QStringLiteral("Folders")) + Row(QStringLiteral("user data"), SystemConfig::GetUserDataPath())
        + Row(QStringLiteral("cache"), SystemConfig::GetUserCachePath())
        + Row(QStringLiteral("downloads"), SystemConfig::GetUsersDownloadsPath())
        + Row(QStringLiteral("resources"), SystemConfig::GetResourcesPath());
}

QString SettingsPart(const Preferences& preferences)
{
    const QString clock = QStringLiteral("hh:mm");
    return Title(QStringLiteral("Settings")) + Row(QStringLiteral("preferences"), preferences.iPath)
        + Row(QStringLiteral("defaults"),
              preferences.iIsMerged ? QStringLiteral("merged") : QStringLiteral("nothing new"))
        + Row(QStringLiteral("run"), Number(preferences.iRuns))
        + Row(QStringLiteral("window"),
              QStringLiteral("downloads from %1 to %2")
                  .arg(preferences.iDownloadsFrom.toString(clock), preferences.iDownloadsTo.toString(clock)));
}

QString Verdict(const Life& life)
{
    if (!life.iLog.iWrong.isEmpty())
        return Terminal::Red(QStringLiteral("The log is wrong: %1").arg(life.iLog.iWrong)) + QLatin1Char('\n');
    const QString text
        = QStringLiteral("Every line arrived, once and in its thread's order: %1").arg(Number(life.iLines));
    const QString ending = life.iIsInterrupted ? QStringLiteral(" (interrupted before the end)") : QString();
    return Terminal::Green(text) + ending + QLatin1Char('\n');
}

QString RotatedRow(const Life& life, const QString& name)
{
    const bool isFirst = name == life.iLog.iFiles.first();
    return Row(QStringLiteral("rotated"),
               name + (isFirst && life.iIsAged ? QStringLiteral(" (it was two days old)") : QString()));
}

QString LogPart(const Life& life)
{
    QString text = Title(QStringLiteral("Log")) + Row(QStringLiteral("file"), life.iLogPath)
        + Row(QStringLiteral("first line"), QString::fromUtf8(life.iLog.iFirstLine))
        + Row(QStringLiteral("last line"), QString::fromUtf8(life.iLog.iLastLine));
    for (int i = 0; i < life.iLog.iFiles.size() - 1; ++i)
        text += RotatedRow(life, life.iLog.iFiles[i]);
    if (!life.iLog.iRecovered.isEmpty())
        text += Row(QStringLiteral("last crash"), QString::fromUtf8(life.iLog.iRecovered));
    if (!life.iIsAged)
        text += Row(QStringLiteral("not rotated"), QStringLiteral("the file system stores no creation time"));
    if (life.iOldLogsRemoved > 0)
        text += Row(QStringLiteral("removed"), QStringLiteral("%1 of the older logs").arg(life.iOldLogsRemoved));
    return text + Row(QStringLiteral("errors"), life.iErrorCodes.join(QLatin1String(", ")));
}

QString LoadPart(const Options& options, const Life& life)
{
    const double rate = life.iSeconds > 0 ? double(life.iLines) / life.iSeconds : 0;
    return Title(QStringLiteral("Load"))
        + Row(QStringLiteral("lines"),
              QStringLiteral("%1 (threads: %2)").arg(Number(life.iLines), Number(options.iThreads)))
        + Row(QStringLiteral("seconds"),
              QStringLiteral("%1 until the last was in the file").arg(life.iSeconds, 0, 'f', 3))
        + Row(QStringLiteral("rate"), QStringLiteral("%1 lines per second").arg(Number(qint64(rate))));
}

QString FilesPart(const LogFolder& folder, const Life& life)
{
    QString text = Title(QStringLiteral("Files"));
    for (const QString& name : life.iLog.iFiles)
        text += Row(Bytes(QFileInfo(folder.PathOf(name)).size()), name);
    return text;
}

// As a shell takes it.
QString Quoted(const QString& path)
{
    return QLatin1Char('\'') + QString(path).replace(QLatin1Char('\''), QLatin1String("'\\''")) + QLatin1Char('\'');
}

qint64 SizeOfAll(const QString& folder)
{
    qint64 size = 0;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        // The lock goes with the host.
        size += files.fileName() == QLatin1String("host.lock") ? 0 : files.fileInfo().size();
    }
    return size;
}

QString LeftPart(const Options& options)
{
    if (!options.iIsOwnFolder)
        return QString();
    return Title(QStringLiteral("Left behind")) + Row(Bytes(SizeOfAll(options.iFolder)), options.iFolder)
        + Row(QStringLiteral("to remove it"), QStringLiteral("rm -r ") + Quoted(options.iFolder));
}

QString MemoryPart(const Life& life)
{
    return Title(QStringLiteral("Memory")) + Row(QStringLiteral("peak"), Bytes(life.iPeakMemory))
        + Row(QStringLiteral("at the end"), Bytes(life.iFinalMemory));
}

} // namespace

QString Summary(const Options& options, const LogFolder& folder, const Life& life)
{
    return Verdict(life) + MachinePart(life.iMachine) + FoldersPart() + SettingsPart(life.iPreferences) + LogPart(life)
        + LoadPart(options, life) + FilesPart(folder, life) + MemoryPart(life) + ReportPart(life.iReport)
        + LeftPart(options);
}

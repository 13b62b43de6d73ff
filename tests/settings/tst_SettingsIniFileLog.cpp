#include "IniFiles.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtTest/QtTest>

#include <functional>

using ByteLines = QList<QByteArray>;
using Call = std::function<void(SettingsIniFile& ini)>;
Q_DECLARE_METATYPE(Call)

namespace {

Call Get(const char* group, const char* key)
{
    return [=](SettingsIniFile& ini) { IniFiles::Get(ini, group, key); };
}

QByteArray DebugLine(const char* operation, const char* message)
{
    return QByteArray("|20|Debug|SettingsIniFile::") + operation + '|' + message;
}

QByteArray TraceLine(const char* operation, const char* message)
{
    return QByteArray("|25|Trace|SettingsIniFile::") + operation + '|' + message;
}

QByteArray ValueLine(const char* message)
{
    return QByteArray("|25|Trace|IniFile::SettingValue|") + message;
}

} // namespace

class tst_SettingsIniFileLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lines_data()
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<ByteLines>("lines");
        const auto row
            = [](const char* name, const Call& call, const ByteLines& lines) { QTest::newRow(name) << call << lines; };
        row("hit", Get("SECT", "kEY"),
            {ValueLine("the return value is some text"),
             TraceLine("GetKeyValue", "getting group=SECT key=kEY value=some text")});
        row("hit on a value without a text", Get("Sect", "Double"),
            {ValueLine("type is 6"), ValueLine("the return value is "),
             TraceLine("GetKeyValue", "getting group=Sect key=Double value=")});
        row("hit with percent signs", Get("Sect", "%2"),
            {ValueLine("the return value is %1 %3"),
             TraceLine("GetKeyValue", "getting group=Sect key=%2 value=%1 %3")});
        row("no such key", Get("Sect", "none"), {});
        row("no such section", Get("none", "Key"), {});
        row("removal", [](auto& ini) { ini.RemoveKey("SECT", "kEY"); },
            {DebugLine("RemoveKey", "section key SECT"),
             DebugLine("RemoveKey", "number of keys removed 1 for key kEY")});
        row("removal of a missing key", [](auto& ini) { ini.RemoveKey("Sect", "%2 none"); },
            {DebugLine("RemoveKey", "section key Sect"),
             DebugLine("RemoveKey", "number of keys removed 0 for key %2 none")});
        row("removal from a missing section", [](auto& ini) { ini.RemoveKey("none", "Key"); }, {});
        row("removal from a section without keys", [](auto& ini) { ini.RemoveKey("empty", "k"); },
            {DebugLine("RemoveKey", "section key empty"),
             DebugLine("RemoveKey", "number of keys removed 0 for key k")});
        row("read", [](auto& ini) { ini.ReadFile("./in.ini"); },
            {DebugLine("ReadFile", "The file is ./in.ini"), TraceLine("ReadFile", "The group is Sect"),
             TraceLine("ReadFile", "The group is a"), TraceLine("ReadFile", "The group is b")});
        row("read of a missing file", [](auto& ini) { ini.ReadFile("no %1/file.ini"); },
            {DebugLine("ReadFile", "The file is no %1/file.ini")});
        row("write", [](auto& ini) { ini.WriteFile("./out %2.ini"); },
            {DebugLine("WriteFile", "The file is ./out %2.ini and can be written 1")});
        row("write over a folder", [](auto& ini) { ini.WriteFile("folder.ini"); },
            {DebugLine("WriteFile", "The file is folder.ini and can be written 0")});
        row("everything else",
            [](auto& ini) {
                ini.SetKeyValue("Sect", "Key", 1);
                ini.SetKeyValue("Sect", "Key", QString("text"));
                SettingsIniFile copy(ini);
                copy = ini;
                copy.Clear();
            },
            {});
    }
    void lines()
    {
        QFETCH(Call, call);
        QFETCH(ByteLines, lines);
        IniFiles::Write(QStringLiteral("in.ini"), "top=1\n[b]\nk=2\n[Sect]\nKey=1\n[a]\nx/y=1\n");
        QDir().mkpath(QStringLiteral("folder.ini"));
        for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Debug), int(LoggerDefs::Trace), 23}) {
            SettingsIniFile ini;
            ini.SetKeyValue("Sect", "Key", QString("some text"));
            ini.SetKeyValue("Sect", "Double", 3.5);
            ini.SetKeyValue("Sect", "%2", QString("%1 %3"));
            ini.SetKeyValue("empty", "k", 1);
            ini.RemoveKey("empty", "k");
            QCOMPARE(LogScenario::LoggedBy([&] { call(ini); }, mask), LogScenario::Passing(lines, mask));
        }
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileLog)

#include "tst_SettingsIniFileLog.moc"

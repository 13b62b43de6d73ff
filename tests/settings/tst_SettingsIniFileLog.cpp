#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtTest/QtTest>

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");

const Scenario logLines("logLines", [](const QStringList& arguments) {
    SettingsIniFile ini;
    ini.SetKeyValue("Sect", "Key", QString("some text"));
    ini.SetKeyValue("Sect", "Number", 1);
    ini.SetKeyValue("Sect", "Double", 3.5);
    ini.SetKeyValue("Sect", "%2", QString("%1 %3"));
    ini.SetKeyValue("%2", "%1", QString("x"));
    QFile file(QStringLiteral("in.ini"));
    if (!file.open(QIODevice::WriteOnly) || file.write("top=1\n[b]\nk=2\n[Sect]\nKey=1\n[a]\nx/y=1\n") < 0)
        return 1;
    file.close();
    QDir().mkpath(QStringLiteral("folder.ini"));

    Logger::SetLoggerFileName(kLog, false);
    Logger::GetInstance()->SetLevel(arguments.value(0).toInt());
    const QString operation = arguments.value(1);
    const QString first = arguments.value(2);
    const QString second = arguments.value(3);
    QString value;
    if (operation == QLatin1String("get"))
        ini.GetKeyValue(first, second, value);
    else if (operation == QLatin1String("remove"))
        ini.RemoveKey(first, second);
    else if (operation == QLatin1String("remove twice")) {
        ini.RemoveKey(first, second);
        ini.RemoveKey(first, second);
    } else if (operation == QLatin1String("read"))
        ini.ReadFile(first);
    else if (operation == QLatin1String("write"))
        ini.WriteFile(first);
    else if (operation == QLatin1String("silent")) {
        ini.SetKeyValue(first, second, 1);
        ini.SetKeyValue(first, second, QStringLiteral("text"));
        SettingsIniFile copy(ini);
        copy = ini;
        copy.Clear();
    } else
        return 2;
    Logger::GetInstance()->SetLevel(0);
    Logger::StopLogging();
    return 0;
});

// The lines of the classes under test, without those of the log itself.
QList<QByteArray> StoreLines(const QByteArray& log)
{
    QList<QByteArray> lines;
    for (const QByteArray& body : LogText::Bodies(log)) {
        const QByteArray function = body.split('|').value(3);
        if (!function.startsWith("Logger"))
            lines += body;
    }
    return lines;
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

constexpr int kAll = 63;
constexpr int kOthers = kAll & ~LoggerDefs::Debug & ~LoggerDefs::Trace;

using ByteLines = QList<QByteArray>;

// Checks the lines of debug and of trace level under each mask: neither may replace the other.
void AddLog(const char* name, const QStringList& arguments, const ByteLines& debug, const ByteLines& trace)
{
    QTest::addRow("%s, debug", name) << int(LoggerDefs::Debug) << arguments << debug;
    QTest::addRow("%s, trace", name) << int(LoggerDefs::Trace) << arguments << trace;
}

} // namespace

class tst_SettingsIniFileLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lines_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<ByteLines>("lines");
        AddLog("hit", {"get", "SECT", "kEY"}, {},
               {ValueLine("the return value is some text"),
                TraceLine("GetKeyValue", "getting group=SECT key=kEY value=some text")});
        AddLog("hit on a number", {"get", "Sect", "Number"}, {},
               {ValueLine("the return value is 1"), TraceLine("GetKeyValue", "getting group=Sect key=Number value=1")});
        AddLog("hit on a value without a text", {"get", "Sect", "Double"}, {},
               {ValueLine("type is 6"), ValueLine("the return value is "),
                TraceLine("GetKeyValue", "getting group=Sect key=Double value=")});
        AddLog("hit with percent signs", {"get", "Sect", "%2"}, {},
               {ValueLine("the return value is %1 %3"),
                TraceLine("GetKeyValue", "getting group=Sect key=%2 value=%1 %3")});
        AddLog("no such key", {"get", "Sect", "none"}, {}, {});
        AddLog("no such section", {"get", "none", "Key"}, {}, {});
        AddLog("removal", {"remove", "SECT", "kEY"},
               {DebugLine("RemoveKey", "section key SECT"),
                DebugLine("RemoveKey", "number of keys removed 1 for key kEY")},
               {});
        AddLog("removal of a missing key", {"remove", "Sect", "none"},
               {DebugLine("RemoveKey", "section key Sect"),
                DebugLine("RemoveKey", "number of keys removed 0 for key none")},
               {});
        AddLog(
            "removal of an empty key", {"remove", "Sect", ""},
            {DebugLine("RemoveKey", "section key Sect"), DebugLine("RemoveKey", "number of keys removed 0 for key ")},
            {});
        AddLog("removal from a missing section", {"remove", "none", "Key"}, {}, {});
        AddLog(
            "removal with percent signs", {"remove", "%2", "%1"},
            {DebugLine("RemoveKey", "section key %2"), DebugLine("RemoveKey", "number of keys removed 1 for key %1")},
            {});
        // The second finds the section that the first left without keys.
        AddLog("removal again", {"remove twice", "%2", "%1"},
               {DebugLine("RemoveKey", "section key %2"), DebugLine("RemoveKey", "number of keys removed 1 for key %1"),
                DebugLine("RemoveKey", "section key %2"),
                DebugLine("RemoveKey", "number of keys removed 0 for key %1")},
               {});
        AddLog("read", {"read", "./in.ini"}, {DebugLine("ReadFile", "The file is ./in.ini")},
               {TraceLine("ReadFile", "The group is Sect"), TraceLine("ReadFile", "The group is a"),
                TraceLine("ReadFile", "The group is b")});
        AddLog("read of a missing file", {"read", "no %1/file.ini"},
               {DebugLine("ReadFile", "The file is no %1/file.ini")}, {});
        AddLog("write", {"write", "./out %2.ini"},
               {DebugLine("WriteFile", "The file is ./out %2.ini and can be written 1")}, {});
        AddLog("write over a folder", {"write", "folder.ini"},
               {DebugLine("WriteFile", "The file is folder.ini and can be written 0")}, {});
        AddLog("write below a file", {"write", "in.ini/out.ini"},
               {DebugLine("WriteFile", "The file is in.ini/out.ini and can be written 0")}, {});
        AddLog("everything else", {"silent", "Sect", "Key"}, {}, {});
        for (const char* const operation : {"get", "remove"})
            QTest::addRow("%s, other levels", operation)
                << kOthers << QStringList{operation, "Sect", "Key"} << ByteLines();
        for (const char* const operation : {"read", "write"})
            QTest::addRow("%s, other levels", operation) << kOthers << QStringList{operation, "in.ini"} << ByteLines();
        QTest::newRow("read, all levels")
            << kAll << QStringList{"read", "in.ini"}
            << ByteLines{DebugLine("ReadFile", "The file is in.ini"), TraceLine("ReadFile", "The group is Sect"),
                         TraceLine("ReadFile", "The group is a"), TraceLine("ReadFile", "The group is b")};
    }
    void lines()
    {
        QFETCH(int, mask);
        QFETCH(QStringList, arguments);
        QFETCH(ByteLines, lines);
        const auto result = TestSupport::RunScenario("logLines", QStringList{QString::number(mask)} + arguments);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(StoreLines(LogText::Read(result.iFolder.filePath(kLog))), lines);
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileLog)

#include "tst_SettingsIniFileLog.moc"

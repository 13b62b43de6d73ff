#include "support/TestMain.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtTest/QtTest>

namespace {

const QString kPath = QStringLiteral("settings.ini");

void Make(const QByteArray& text)
{
    QFile file(kPath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64(text.size()));
}

QStringList Keys()
{
    return QSettings(kPath, QSettings::IniFormat).allKeys();
}

} // namespace

// Sections and keys without a name, which to the framework mean the top level and everything in a section.
class tst_SettingsIniFileNoNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void topLevelIsNotReadByWayOfASectionWithoutAName()
    {
        Make("top=1\n[]\nx=2\n[A]\ny=3\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(kPath));
        QString value = QStringLiteral("untouched");
        QVERIFY(!ini.GetKeyValue(QString(), QStringLiteral("top"), value));
        QVERIFY(!ini.GetKeyValue(QString(), QStringLiteral("x"), value));
        QCOMPARE(value, QStringLiteral("untouched"));
        QVERIFY(ini.GetKeyValue(QStringLiteral("A"), QStringLiteral("y"), value));
    }

    void removingAKeyWithoutANameLeavesTheSection()
    {
        Make("[A]\n=1\ny=3\nz=4\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(kPath));
        ini.RemoveKey(QStringLiteral("A"), QString());
        QVERIFY(ini.WriteFile(kPath));
        const QStringList keys = Keys();
        QVERIFY(keys.contains(QStringLiteral("A/y")) && keys.contains(QStringLiteral("A/z")));
    }

    void removingAKeyWithoutANameLeavesWhatWasNeverRead_data()
    {
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::newRow("empty") << QStringLiteral("A") << QString();
        QTest::newRow("separator") << QStringLiteral("A") << QStringLiteral("/");
        QTest::newRow("separators") << QStringLiteral("A") << QStringLiteral("///");
        QTest::newRow("separator at the top level") << QString() << QStringLiteral("/");
        QTest::newRow("separators for both") << QStringLiteral("/") << QStringLiteral("//");
    }
    void removingAKeyWithoutANameLeavesWhatWasNeverRead()
    {
        QFETCH(QString, section);
        QFETCH(QString, key);
        Make("[A]\ny=3\n[B]\nz=4\n");
        SettingsIniFile ini;
        ini.SetKeyValue(section, key, QStringLiteral("x"));
        ini.RemoveKey(section, key);
        QVERIFY(ini.WriteFile(kPath));
        const QStringList keys = Keys();
        QVERIFY2(keys.contains(QStringLiteral("A/y")) && keys.contains(QStringLiteral("B/z")),
                 qPrintable(keys.join(QLatin1Char(' '))));
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileNoNames)

#include "tst_SettingsIniFileNoNames.moc"

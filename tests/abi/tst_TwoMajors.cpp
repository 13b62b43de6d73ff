#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QLibrary>
#include <QtTest/QtTest>

/// A host, and in its process a plug-in with the library's next major version.
class tst_TwoMajors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachLogsToItsOwnLog()
    {
        TestSupport::EnterFreshFolder();
        Logger::GetInstance()->SetLevel(LoggerDefs::Error);
        Logger::SetLoggerFileName(QStringLiteral("host.log"), false);

        QLibrary plugIn(QStringLiteral(PLUG_IN));
        const auto logFromPlugIn = reinterpret_cast<void (*)(const QString&)>(plugIn.resolve("LogFromPlugIn"));
        QVERIFY2(logFromPlugIn, qPrintable(plugIn.errorString()));
        logFromPlugIn(QStringLiteral("plug-in.log"));

        QCOMPARE(Logger::GetInstance()->GetLevel(), int(LoggerDefs::Error));
        Logger::LogError(4711, LoggerDefs::FirstIntDec, "host", "from the host", 28, 0);
        Logger::StopLogging();
        QCOMPARE(LogText::Bodies(LogText::Read(QStringLiteral("host.log"))),
                 QList<QByteArray>{"|4711|Error|host|from the host"});
        QCOMPARE(LogText::Bodies(LogText::Read(QStringLiteral("plug-in.log"))),
                 QList<QByteArray>{"|30|Warning|plug-in|from the plug-in"});
    }
};

NEROLT_TEST_MAIN(tst_TwoMajors)
#include "tst_TwoMajors.moc"

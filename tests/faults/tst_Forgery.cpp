#include "RunningLog.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

#include <algorithm>
#include <string>

using TestSupport::Scenario;

namespace {

constexpr int kAll = 63;
constexpr int kTexts = 300;
const QByteArray kForged = "2024-03-05 14:07:09.042|1|Error|Bank::Pay|paid";

// Texts that might end a line somewhere, and the parts of a line.
QString Evil(QRandomGenerator& random)
{
    static const QStringList parts{
        QStringLiteral("\n"),   QStringLiteral("\r"),   QStringLiteral("\r\n"),  QStringLiteral("\n\r\n"),
        QString(QChar(0)),      QString(QChar(0x0b)),   QString(QChar(0x0c)),    QString(QChar(0x85)),
        QString(QChar(0x2028)), QString(QChar(0x2029)), QString(QChar(0xd83d)),  QString(QChar(0xde00)),
        QString(QChar(0x010a)), // a line feed in its lower byte
        QString(QChar(0x0a00)), // and in its upper
        QStringLiteral("|"),    QStringLiteral("%1%2"), QStringLiteral("plain"), QString::fromLatin1(kForged)};
    QString text;
    for (int i = random.bounded(8); i >= 0; --i)
        text += parts.at(random.bounded(parts.size()));
    return text;
}

std::string Name(const QString& text)
{
    return text.toStdString();
}

// The text that the log must write: everything except line breaks.
QByteArray Kept(const QString& text)
{
    return QString(text).remove(QLatin1Char('\r')).remove(QLatin1Char('\n')).toUtf8();
}

// A name ends at the first NUL.
QByteArray KeptName(const QString& text)
{
    return Kept(QString::fromUtf8(Name(text).c_str()));
}

// Uses the texts in every place of every entry point. The first word of the message identifies the expected line.
const Scenario forge("forge", [](const QStringList&) {
    QRandomGenerator random(7);
    Logger::GetInstance()->SetLevel(kAll);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    for (int i = 0; i < kTexts; ++i) {
        const std::string func = Name(Evil(random));
        const QString msg = QString::number(i) + QLatin1Char(' ') + Evil(random);
        const QString extra = Evil(random);
        switch (i % 6) {
        case 0:
            Logger::LogInformation(func.c_str(), msg);
            break;
        case 1:
            Logger::LogWarning(func.c_str(), msg);
            break;
        case 2:
            Logger::LogError(10, LoggerDefs::ExtraText, func.c_str(), msg, extra);
            break;
        case 3:
            Logger::LogException(13, func.c_str(), msg, '\n');
            break;
        case 4:
            Logger::LogDebug(func.c_str(), msg);
            break;
        default:
            Logger::LogTrace(func.c_str(), msg);
        }
    }
    RunningLog::HandOver();
    Logger::GetInstance()->SetLevel(kAll & ~(LoggerDefs::Debug | LoggerDefs::Trace));
    Logger::SetLoggerFileName(QStringLiteral("new\n") + QString::fromLatin1(kForged), true);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), true);
    Logger::StopLogging();
    return 0;
});

QByteArray Expected(QRandomGenerator& random, int i)
{
    static const QList<QByteArray> heads{"|10|Information|", "|30|Warning|", "|10|Error|",
                                         "|13|Exception|",   "|20|Debug|",   "|25|Trace|"};
    const QByteArray func = KeptName(Evil(random));
    const QByteArray msg = QByteArray::number(i) + ' ' + Kept(Evil(random));
    Evil(random);
    return heads.at(i % 6) + func + '|' + msg;
}

} // namespace

class tst_Forgery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nobodyMakesASecondLine()
    {
        const auto result = TestSupport::RunScenario("forge");
        QVERIFY2(result.IsOk(), result.Describe());
        QList<QByteArray> bodies = LogText::Bodies(LogText::Read(result.iFolder.filePath(QStringLiteral("app.log"))));
        // The log's own lines about its thread, its timers and its files are mixed in.
        const auto isOwn = [](const QByteArray& body) {
            return body.contains("|LoggerAgent::") || body.contains("|Registered") || body.contains("|RTimer");
        };
        bodies.erase(std::remove_if(bodies.begin(), bodies.end(), isOwn), bodies.end());
        QRandomGenerator random(7);
        for (int i = 0; i < kTexts; ++i)
            QCOMPARE(bodies.value(i), Expected(random, i));
        const QByteArray change = "|10|Information|Logger::SetLoggerFileName|";
        // The lines in the buffer go to the file before the change and to the one after it.
        const QList<QByteArray> there{change + "Existing path is app.log", change + "New path is new" + kForged};
        const QList<QByteArray> back{change + "Existing path is new" + kForged, change + "New path is app.log"};
        QCOMPARE(bodies.mid(kTexts, 6), there + there + back);
        QCOMPARE(bodies.size(), kTexts + 7);
    }
};

NEROLT_TEST_MAIN(tst_Forgery)

#include "tst_Forgery.moc"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>
#include <QtCore/QProcess>
#include <QtCore/QSemaphore>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <thread>

namespace {

constexpr int kInformation = 1;
constexpr const char* kUnload = "--unload";

struct Functions
{
    using Name = void (*)(const QString&, bool);
    using Level = bool (*)(int);
    using Log = void (*)(const char*, const QString&);
    using Stop = void (*)();

    Name iSetLoggerFileName;
    Level iResetLoggingLevel;
    Log iLogInformation;
    Stop iStopLogging;
};

template <typename Function>
void Resolve(Function& function, QLibrary& library, const char* symbol)
{
    function = reinterpret_cast<Function>(library.resolve(symbol));
}

// Without the functions it lacks.
Functions Load(QLibrary& library)
{
    Functions logger;
    Resolve(logger.iSetLoggerFileName, library, "_ZN6Logger17SetLoggerFileNameERK7QStringb");
    Resolve(logger.iResetLoggingLevel, library, "_ZN6Logger17ResetLoggingLevelEi");
    Resolve(logger.iLogInformation, library, "_ZN6Logger14LogInformationEPKcRK7QString");
    Resolve(logger.iStopLogging, library, "_ZN6Logger11StopLoggingEv");
    return logger;
}

int LogAndUnload()
{
    QLibrary library(QStringLiteral(LIBRARY));
    const Functions logger = Load(library);
    if (!logger.iSetLoggerFileName || !logger.iResetLoggingLevel || !logger.iLogInformation)
        return 1;
    const QString path = QStringLiteral("app.log");
    logger.iSetLoggerFileName(path, false);
    logger.iResetLoggingLevel(kInformation); // handed over at once
    if (!QTest::qWaitFor([&path] { return QFileInfo(path).size() > 0; }))
        return 1;
    library.unload();
    // Its thread ends its rest somewhere in the library's code, and a copy of the process is made with its handlers.
    return QProcess::execute(QStringLiteral("sleep"), {QStringLiteral("0.1")});
}

} // namespace

// A host need not be linked with the library: it may load it when it has long had threads.
class tst_LoadedLate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What runs in it outlives a module that brought it and goes without a word to the log.
    void unloadedWhileTheLogRuns()
    {
        const QTemporaryDir folder;
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(kUnload)});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }

    void threadsFromBeforeLog()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("app.log"));
        Functions logger = {};
        QSemaphore loaded;
        std::thread before([&] {
            loaded.acquire();
            if (logger.iLogInformation)
                logger.iLogInformation("F", QStringLiteral("from before"));
        });
        QLibrary library(QStringLiteral(LIBRARY));
        logger = Load(library);
        const bool isWhole
            = logger.iSetLoggerFileName && logger.iResetLoggingLevel && logger.iLogInformation && logger.iStopLogging;
        if (isWhole) {
            logger.iSetLoggerFileName(path, false);
            logger.iResetLoggingLevel(kInformation);
        }
        loaded.release();
        before.join();
        QVERIFY2(isWhole, qPrintable(library.errorString()));
        logger.iStopLogging();

        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray line = file.readAll().split('\n').value(1);
        QCOMPARE(line.mid(line.indexOf('|')), QByteArray("|10|Information|F|from before"));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], kUnload) == 0)
        return LogAndUnload();
    tst_LoadedLate test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_LoadedLate.moc"

#include "logging/LogFile.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QScopeGuard>
#include <QtTest/QtTest>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int OpenDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System)
        .size();
}

// The size afterwards, -1 when the file cannot be opened.
qint64 Append(const QString& path, const QByteArray& bytes)
{
    const std::optional<LogFile::State> file = LogFile::Append(path, bytes);
    return file ? file->iSize : -1;
}

} // namespace

class tst_LogFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir scratch(TestSupport::Scratch());
        for (const QFileInfo& entry : scratch.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System)) {
            if (entry.isDir() && !entry.isSymLink())
                QVERIFY(QDir(entry.filePath()).removeRecursively());
            else
                QVERIFY(QFile::remove(entry.filePath()));
        }
    }

    void creationTime()
    {
        const QString path = QStringLiteral("a.log");
        const auto created = [&] { return LogFile::Append(path, "one\n")->iCreatedMSecs; };
        const std::optional<qint64> born = created();
        QVERIFY(born);
        QCOMPARE(born, FileUtilities::GetMSecs(path, FileTimeCreation));
        const QDateTime time(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
        QVERIFY(FileUtilities::SetTime(path, time, FileTimeCreation, false));
        QCOMPARE(created(), std::optional<qint64>(time.toMSecsSinceEpoch()));
    }

    void appendCreatesAndAppends()
    {
        QCOMPARE(Append(QStringLiteral("a.log"), "one\n"), qint64(4));
        QCOMPARE(Append(QStringLiteral("a.log"), "three\n"), qint64(10));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("one\nthree\n"));
    }

    void appendOfNothingCreatesTheFile()
    {
        QCOMPARE(Append(QStringLiteral("a.log"), QByteArray()), qint64(0));
        QVERIFY(QFile::exists(QStringLiteral("a.log")));
    }

    void appendGoesBehindWhatAnotherWrote()
    {
        LogFile::Append(QStringLiteral("a.log"), "one\n");
        QFile other(QStringLiteral("a.log"));
        QVERIFY(other.open(QIODevice::Append | QIODevice::Unbuffered));
        other.write("other\n");
        QCOMPARE(Append(QStringLiteral("a.log"), "two\n"), qint64(14));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("one\nother\ntwo\n"));
    }

    void replaceTruncates()
    {
        LogFile::Append(QStringLiteral("a.log"), "one and more\n");
        QVERIFY(LogFile::Replace(QStringLiteral("a.log"), "two\n"));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("two\n"));
    }

    void replaceCreates()
    {
        QVERIFY(LogFile::Replace(QStringLiteral("a.log"), "two\n"));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("two\n"));
    }

    void bytesStayAsTheyAre()
    {
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all += char(i);
        QCOMPARE(Append(QStringLiteral("a.log"), all), qint64(256));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), all);
    }

    void permissionsFollowTheUmask()
    {
        const mode_t before = ::umask(027);
        const auto restore = qScopeGuard([before] { ::umask(before); });
        LogFile::Append(QStringLiteral("a.log"), "one\n");
        struct stat status = {};
        QCOMPARE(::stat("a.log", &status), 0);
        QCOMPARE(int(status.st_mode & 07777), 0640);
    }

    void cannotBeOpened_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("empty name") << QString();
        QTest::newRow("folder missing") << QStringLiteral("missing/a.log");
        QTest::newRow("a folder") << QStringLiteral("folder");
        QTest::newRow("a file as folder") << QStringLiteral("file/a.log");
        QTest::newRow("NUL in the name") << QStringLiteral("file") + QChar(0) + QStringLiteral("x");
        QTest::newRow("name too long") << QString(300, QLatin1Char('n'));
        QTest::newRow("pipe without a reader") << QStringLiteral("pipe");
    }
    void cannotBeOpened()
    {
        QFETCH(QString, path);
        QVERIFY(QDir().mkdir(QStringLiteral("folder")));
        QVERIFY(LogFile::Replace(QStringLiteral("file"), QByteArray()));
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        const int before = OpenDescriptors();
        QCOMPARE(Append(path, "one\n"), qint64(-1));
        QVERIFY(!LogFile::Replace(path, "one\n"));
        QCOMPARE(OpenDescriptors(), before);
        QCOMPARE(LogText::Read(QStringLiteral("file")), QByteArray());
    }

    void leavesNothingOpen()
    {
        const int before = OpenDescriptors();
        LogFile::Append(QStringLiteral("a.log"), "one\n");
        LogFile::Replace(QStringLiteral("a.log"), "one\n");
        QCOMPARE(OpenDescriptors(), before);
    }

    void fullPipeDoesNotBlock()
    {
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        const int reader = ::open("pipe", O_RDONLY | O_NONBLOCK);
        QVERIFY(reader >= 0);
        const QByteArray much(1 << 20, 'x');
        QCOMPARE(Append(QStringLiteral("pipe"), much), qint64(0));
        ::close(reader);
    }

    // What a full disk does: the write is short, then it fails.
    void limitOfTheFileSizeTakesWholeLines_data()
    {
        QTest::addColumn<QByteArray>("batch");
        QTest::addColumn<QByteArray>("kept");
        QTest::newRow("second line cut") << QByteArray("one\nseconds\n") << QByteArray("one\n");
        QTest::newRow("only a line feed wanting") << QByteArray("one\nsecond\n") << QByteArray("one\n");
        QTest::newRow("cut between lines") << QByteArray("one\nthree\nfour\n") << QByteArray("one\nthree\n");
        QTest::newRow("first line cut") << QByteArray("one-and-more\ntwo\n") << QByteArray();
        QTest::newRow("fits") << QByteArray("one\nthree\n") << QByteArray("one\nthree\n");
    }
    void limitOfTheFileSizeTakesWholeLines()
    {
        QFETCH(QByteArray, batch);
        QFETCH(QByteArray, kept);
        LogFile::Append(QStringLiteral("a.log"), "old\n");
        const auto ignored = ::signal(SIGXFSZ, SIG_IGN);
        struct rlimit before = {};
        ::getrlimit(RLIMIT_FSIZE, &before);
        struct rlimit small = before;
        small.rlim_cur = 14;
        ::setrlimit(RLIMIT_FSIZE, &small);
        const qint64 size = Append(QStringLiteral("a.log"), batch);
        ::setrlimit(RLIMIT_FSIZE, &before);
        ::signal(SIGXFSZ, ignored);
        QCOMPARE(size, qint64(4 + kept.size()));
        LogFile::Append(QStringLiteral("a.log"), "later\n");
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), "old\n" + kept + "later\n");
    }
};

NEROLT_TEST_MAIN(tst_LogFile)

#include "tst_LogFile.moc"

#include "logging/Rename.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int gError = 0;

void MakeFile(const char* name)
{
    QFile file(QString::fromLatin1(name));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(name) > 0);
}

QByteArray Read(const char* name)
{
    return LogText::Read(QString::fromLatin1(name));
}

} // namespace

extern "C" Q_DECL_EXPORT int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                                       unsigned int flags) noexcept
{
    if (gError == 0)
        return int(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
    errno = gError;
    return -1;
}

class tst_Rename : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }
    void cleanup() { gError = 0; }

    void unlessTaken_data()
    {
        QTest::addColumn<int>("error");
        QTest::newRow("in one step") << 0;
        QTest::newRow("a file system that cannot") << EINVAL;
        QTest::newRow("an old kernel") << ENOSYS;
    }
    void unlessTaken()
    {
        QFETCH(int, error);
        gError = error;
        MakeFile("from");
        MakeFile("taken");
        QVERIFY(QFile::link(QStringLiteral("nowhere"), QStringLiteral("link")));
        QVERIFY(!RenameUnlessTaken("from", "taken"));
        QVERIFY(!RenameUnlessTaken("from", "link"));
        QVERIFY(!RenameUnlessTaken("from", "from/to"));
        QVERIFY(!RenameUnlessTaken("missing", "to"));
        QCOMPARE(Read("taken"), QByteArray("taken"));
        QCOMPARE(Read("from"), QByteArray("from"));
        QVERIFY(RenameUnlessTaken("from", "to"));
        QCOMPARE(Read("to"), QByteArray("from"));
        QVERIFY(!QFile::exists(QStringLiteral("from")));
    }

    void otherErrorsAreFinal()
    {
        gError = EACCES;
        MakeFile("from");
        QVERIFY(!RenameUnlessTaken("from", "to"));
        QVERIFY(QFile::exists(QStringLiteral("from")));
    }
};

NEROLT_TEST_MAIN(tst_Rename)

#include "tst_Rename.moc"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QOperatingSystemVersion>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <memory>

namespace {

// Foundation counts seconds in floating point.
bool AreSame(const QDateTime& a, const QDateTime& b)
{
    return a.isValid() && b.isValid() && qAbs(a.msecsTo(b)) <= 1;
}

const QDateTime kLongAgo = QDateTime::fromMSecsSinceEpoch(1000000000123);

} // namespace

/// Real files and a Foundation that nobody here has written: on a Mac the system's, elsewhere GNUstep's.
class tst_FileInfoMacFiles : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> iFolder;

    QString Made(const QString& name) const
    {
        QFile file(iFolder->filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write("text") == 4 ? file.fileName() : QString();
    }

private Q_SLOTS:
    void init()
    {
        iFolder = std::make_unique<QTemporaryDir>();
        QVERIFY(iFolder->isValid());
    }
    void cleanup() { iFolder.reset(); }

    void modificationTime_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::newRow("modified") << QStringLiteral("file.txt") << int(FileTimeModification);
        QTest::newRow("written") << QStringLiteral("file.txt") << int(FileTimeWrite);
        QTest::newRow("blanks") << QStringLiteral("two words") << int(FileTimeModification);
        QTest::newRow("beyond ASCII") << QString::fromUtf8("\xC3\xA4\xF0\x9F\x98\x80.txt") << int(FileTimeModification);
    }
    void modificationTime()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        const QString path = Made(name);
        FileInfoMac info(path);
        QVERIFY(AreSame(info.GetTime(FileTimeType(type)), QFileInfo(path).lastModified()));
        QVERIFY(info.SetTime(kLongAgo, FileTimeType(type)));
        QVERIFY(AreSame(QFileInfo(path).lastModified(), kLongAgo));
        QVERIFY(AreSame(info.GetTime(FileTimeType(type)), kLongAgo));
        QCOMPARE(QFileInfo(path).size(), qint64(4));
    }

    void folder()
    {
        FileInfoMac info(iFolder->path());
        QVERIFY(info.SetTime(kLongAgo, FileTimeModification));
        QVERIFY(AreSame(QFileInfo(iFolder->path()).lastModified(), kLongAgo));
    }

    void nothingThere()
    {
        FileInfoMac info(iFolder->filePath(QStringLiteral("missing")));
        QVERIFY(!info.GetTime(FileTimeModification).isValid());
        QVERIFY(!info.GetTime(FileTimeCreation).isValid());
        QVERIFY(!info.SetTime(kLongAgo, FileTimeModification));
        QVERIFY(!info.SetReadOnlyFlag(true));
        QVERIFY(!QFileInfo::exists(iFolder->filePath(QStringLiteral("missing"))));
    }

    void wrongValues()
    {
        const QString path = Made(QStringLiteral("file"));
        FileInfoMac info(path);
        const QDateTime before = QFileInfo(path).lastModified();
        QVERIFY(!info.SetTime(QDateTime(), FileTimeModification));
        QVERIFY(!info.SetTime(kLongAgo, FileTimeType(99)));
        QVERIFY(!info.GetTime(FileTimeType(99)).isValid());
        QCOMPARE(QFileInfo(path).lastModified(), before);
    }

    void creationTimeIsKnown()
    {
        const QDateTime before = QDateTime::currentDateTime().addSecs(-5);
        const QDateTime created = FileInfoMac(Made(QStringLiteral("file"))).GetTime(FileTimeCreation);
        QVERIFY(created.isValid());
        QVERIFY(created > before && created < before.addSecs(60));
    }

#ifdef Q_OS_MACOS // GNUstep's takes these calls, and does not keep what they set, or has none of them
    void creationTime()
    {
        const QString path = Made(QStringLiteral("file"));
        FileInfoMac info(path);
        const QDateTime modified = QFileInfo(path).lastModified();
        QVERIFY(info.SetTime(kLongAgo, FileTimeCreation));
        QVERIFY(AreSame(info.GetTime(FileTimeCreation), kLongAgo));
        QVERIFY(AreSame(QFileInfo(path).birthTime(), kLongAgo));
        QVERIFY(AreSame(QFileInfo(path).lastModified(), modified));
    }

    void lock()
    {
        const QString path = Made(QStringLiteral("file"));
        FileInfoMac info(path);
        QVERIFY(info.SetReadOnlyFlag(true));
        QVERIFY(!QFile(path).open(QIODevice::ReadWrite));
        QVERIFY(!QFile::remove(path));
        QVERIFY(info.SetReadOnlyFlag(false));
        QVERIFY(QFile(path).open(QIODevice::ReadWrite));
        QVERIFY(QFile::remove(path));
    }

    void systemVersion()
    {
        const OSVersion version = FileInfoMac::GetOSVersion();
        QCOMPARE(version.iMajor, QOperatingSystemVersion::current().majorVersion());
        QCOMPARE(version.iMinor, QOperatingSystemVersion::current().minorVersion());
    }
#endif
};

QTEST_APPLESS_MAIN(tst_FileInfoMacFiles)

#include "tst_FileInfoMacFiles.moc"

#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtCore/QDir>
#include <QtCore/QStorageInfo>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

/// Real volumes, and what the framework says of them.
class tst_DiskSpaceOfVolumes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freeSpace()
    {
        const QTemporaryDir folder;
        QVERIFY(folder.isValid());
        // Others write meanwhile.
        QTRY_VERIFY(qAbs(DiskSpace::GetFreeDiskSpace(folder.path()) - QStorageInfo(folder.path()).bytesFree())
                    < 64 * 1024 * 1024);
        QVERIFY(DiskSpace::GetFreeDiskSpace(folder.path()) > 0);
    }

    void nothingThere()
    {
        const QTemporaryDir folder;
        QCOMPARE(DiskSpace::GetFreeDiskSpace(folder.filePath(QStringLiteral("missing"))), qint64(-1));
        QCOMPARE(DiskSpace::GetFreeDiskSpace(QString()), qint64(-1));
    }
};

QTEST_APPLESS_MAIN(tst_DiskSpaceOfVolumes)

#include "tst_DiskSpaceOfVolumes.moc"

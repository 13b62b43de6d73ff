#include "logging/Rename.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

// It calls nothing that only a Mac has.
class tst_RenameCalls : public QObject
{
    Q_OBJECT

private:
    static bool IsMade(const QString& name) { return QFile(name).open(QIODevice::WriteOnly); }

private Q_SLOTS:
    void unlessTaken()
    {
        const QTemporaryDir folder;
        QVERIFY(folder.isValid() && QDir::setCurrent(folder.path()));
        QVERIFY(IsMade(QStringLiteral("from")) && IsMade(QStringLiteral("taken")));
        QVERIFY(QFile::link(QStringLiteral("nowhere"), QStringLiteral("link")));
        QVERIFY(!RenameUnlessTaken("from", "taken"));
        QVERIFY(!RenameUnlessTaken("from", "link"));
        QVERIFY(!RenameUnlessTaken("from", "from/to"));
        QVERIFY(!RenameUnlessTaken("missing", "to"));
        QVERIFY(QFile::exists(QStringLiteral("from")));
        QVERIFY(RenameUnlessTaken("from", "to"));
        QVERIFY(QFile::exists(QStringLiteral("to")) && !QFile::exists(QStringLiteral("from")));
        QVERIFY(QDir::setCurrent(QDir::rootPath()));
    }
};

QTEST_APPLESS_MAIN(tst_RenameCalls)

#include "tst_RenameCalls.moc"

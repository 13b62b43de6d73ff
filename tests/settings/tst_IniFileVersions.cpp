#include "IniFiles.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QFileInfo>
#include <QtTest/QtTest>

#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

using namespace IniFiles;

namespace {

// What another process does when the framework has read a file and not yet asked for its time.
std::function<void()>& AfterRead()
{
    static std::function<void()> function;
    return function;
}

QDateTime TimeOf(const QString& path)
{
    return QFileInfo(path).lastModified();
}

/// Returns the value that it finds.
using Look = std::function<QString(const QString& path)>;

} // namespace

Q_DECLARE_METATYPE(Look)

extern "C" Q_DECL_EXPORT ssize_t read(int file, void* bytes, size_t size)
{
    static auto* const original = reinterpret_cast<ssize_t (*)(int, void*, size_t)>(::dlsym(RTLD_NEXT, "read"));
    const ssize_t count = original(file, bytes, size);
    if (count == 0 && AfterRead())
        AfterRead()();
    return count;
}

// How the framework, which compares times and sizes, notices each version of a file.
class tst_IniFileVersions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Otherwise the framework takes the new time for the time of the contents that it has read.
    void aWriterWaitsForAReader_data()
    {
        QTest::addColumn<Look>("look");
        QTest::newRow("a new object") << Look([](const QString& path) { return Get(IniFile(path)); });
        QTest::newRow("the second look-up") << Look([ini = std::shared_ptr<IniFile>()](const QString& path) mutable {
            if (!ini)
                ini = std::make_shared<IniFile>(path);
            return Get(*ini);
        });
        QTest::newRow("the other store") << Look([](const QString& path) {
            SettingsIniFile store;
            QString value;
            store.ReadFile(path);
            store.GetKeyValue(kGroup, kKey, value);
            return value;
        });
    }
    void aWriterWaitsForAReader()
    {
        QFETCH(Look, look);
        const QString path = NewFile("[A]\nk=old\n");
        const QString next = NewFile("[A]\nk=the newest\n");
        QCOMPARE(look(path), QStringLiteral("old"));
        Write(path, "[A]\nk=other\n");
        bool waited = false;
        bool isReplaced = false;
        const auto replace = [&] { isReplaced = std::rename(qPrintable(next), qPrintable(path)) == 0; };
        AfterRead() = [&] {
            if (!CanLockFolder(path, LOCK_EX))
                waited = true;
            else if (!isReplaced)
                replace();
        };
        look(path);
        AfterRead() = nullptr;
        if (!isReplaced)
            replace();
        QVERIFY(waited && isReplaced);
        QCOMPARE(look(path), QStringLiteral("the newest"));
    }

    // A writer that has stopped must not stop a reader.
    void aReaderWaitsForALimitedTime()
    {
        const QString path = NewFile("[A]\nk=1\n");
        const int folder = ::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY);
        QCOMPARE(::flock(folder, LOCK_EX), 0);
        const QString found = Get(IniFile(path));
        ::close(folder);
        QCOMPARE(found, QStringLiteral("1"));
    }

    // The framework takes two versions with the same size and time for the same one.
    void eachVersionIsLater_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("aheadMSecs");
        QTest::addColumn<bool>("isLater");
        QTest::newRow("a clock that stands still") << QByteArray("[A]\nk=1\n") << 900 << true;
        QTest::newRow("beside a value that is refused") << QByteArray("[A]\nk=1\nv=@Variant(x)\n") << 900 << true;
        QTest::newRow("a time in the far future") << QByteArray("[A]\nk=1\n") << 3600000 << false;
    }
    void eachVersionIsLater()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, aheadMSecs);
        QFETCH(bool, isLater);
        const QString path = NewFile(text);
        const QDateTime time = QDateTime::currentDateTime().addMSecs(aheadMSecs);
        SetTime(path, time);
        IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("1"));
        ini.SetKeyValue(kGroup, kKey, 2);
        QCOMPARE(TimeOf(path) > time, isLater);
        QCOMPARE(Get(ini), QStringLiteral("2"));
    }
};

NEROLT_TEST_MAIN(tst_IniFileVersions)

#include "tst_IniFileVersions.moc"

#include "IniFiles.h"
#include "StoreContents.h"
#include "support/Framework.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtTest/QtTest>

#include <algorithm>

namespace {

constexpr QLatin1Char kSeparator('/');

// Of the kinds that are INI files or look like them.
QStringList InstalledFiles()
{
    constexpr qint64 kLargest = 1 << 20;
    const QStringList kinds{"*.ini", "*.conf", "*.cfg", "*.desktop", "*.theme", "*.service", "*.pc", "*.cnf", "*.toml"};
    QStringList paths;
    for (const char* const folder : {"/usr/lib", "/usr/share"}) {
        QDirIterator file(folder, kinds, QDir::Files | QDir::Readable, QDirIterator::Subdirectories);
        while (file.hasNext()) {
            paths += file.next();
            if (file.fileInfo().size() > kLargest)
                paths.removeLast();
        }
    }
    return paths;
}

} // namespace

// Files as others write them: those that the installed packages brought.
class tst_IniFilesOfPackages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKey()
    {
        // A name with nothing before or behind a separator is another one when it is asked for.
        const QRegularExpression name(QStringLiteral("^[^/]+(/[^/]+)*$"));
        int files = 0;
        for (const QString& path : InstalledFiles()) {
            const QByteArray text = IniFiles::Read(path);
            QSettings expected(IniFiles::NewFile(TestSupport::AsFrameworkReads(text)), QSettings::IniFormat);
            // The framework is right about a file if all keys are listed before anything else is asked.
            const QStringList keys = expected.allKeys();
            files += keys.isEmpty() ? 0 : 1;

            SettingsIniFile store;
            store.ReadFile(IniFiles::NewFile(text));
            SettingsIniFile expectedStore;
            for (const QString& group : expected.childGroups()) {
                expected.beginGroup(group);
                for (const QString& key : group.isEmpty() ? QStringList() : expected.childKeys())
                    expectedStore.SetKeyValue(group, key, expected.value(key));
                expected.endGroup();
            }
            QVERIFY2(StoreContents::Sections(store) == StoreContents::Sections(expectedStore), qPrintable(path));

            const IniFile file(IniFiles::NewFile(text));
            // From the last to the first: the sections that the framework mistakes for others stand behind them.
            for (auto key = keys.crbegin(); key != keys.crend(); ++key) {
                if (!key->contains(name))
                    continue;
                const auto at = key->indexOf(kSeparator);
                const QString found = IniFiles::Get(file, key->left(std::max(int(at), 0)), key->mid(at + 1));
                QVERIFY2(found == IniFile::SettingValue(expected.value(*key), false),
                         qPrintable(path + QLatin1Char(' ') + *key));
            }
        }
        qInfo("%d files with keys", files);
        QVERIFY(files > 0);
    }
};

NEROLT_TEST_MAIN(tst_IniFilesOfPackages)

#include "tst_IniFilesOfPackages.moc"

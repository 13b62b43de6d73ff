#include "ListedSettings.h"
#include "support/Framework.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtTest/QtTest>

#include <algorithm>

namespace {

constexpr QLatin1Char kSeparator('/');

const QString kPackageTool = QStringLiteral("dpkg-query");

QStringList LinesOf(const QStringList& arguments)
{
    QProcess tool;
    tool.start(kPackageTool, arguments);
    if (!tool.waitForFinished() || tool.exitStatus() != QProcess::NormalExit)
        return {};
    return QString::fromLocal8Bit(tool.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Of the kinds that are INI files or look like them.
QStringList Candidates()
{
    constexpr int kMost = 2000;
    constexpr qint64 kLargest = 1 << 20;
    const QStringList packages
        = LinesOf({QStringLiteral("--show"), QStringLiteral("--showformat=${binary:Package}\n")});
    QStringList paths
        = LinesOf(QStringList{QStringLiteral("--listfiles")} + packages)
              .filter(QRegularExpression(QStringLiteral("^/.*\\.(ini|conf|cfg|desktop|theme|service|pc|cnf|toml)$")));
    paths.removeDuplicates();
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [](const QString& path) {
                                   const QFileInfo info(path);
                                   return !info.isFile() || !info.isReadable() || info.size() > kLargest;
                               }),
                paths.end());
    return paths.mid(0, kMost);
}

// A name with nothing before or behind a separator is another one when it is asked for.
bool IsName(const QString& key)
{
    return !key.isEmpty() && !key.startsWith(kSeparator) && !key.endsWith(kSeparator)
        && !key.contains(QLatin1String("//"));
}

int WrongInIniFile(const QByteArray& text, ListedSettings& expected)
{
    const IniFile file(IniFiles::NewFile(text));
    int wrong = 0;
    // From the last to the first: the sections that the framework mistakes for others stand behind them.
    for (auto i = expected.Keys().size() - 1; i >= 0; --i) {
        const QString& key = expected.Keys().at(i);
        const auto at = key.indexOf(kSeparator);
        const QString group = key.left(at < 0 ? 0 : at);
        const QString name = key.mid(at + 1);
        wrong += IsName(key) && IniFiles::Get(file, group, name) != expected.Text(group, name) ? 1 : 0;
    }
    return wrong;
}

int WrongInStore(const QByteArray& text, ListedSettings& expected)
{
    SettingsIniFile store;
    store.ReadFile(IniFiles::NewFile(text));
    QMap<QPair<QString, QString>, QString> values; // of names that differ only in case, the last one's
    for (const QString& group : expected.childGroups()) {
        expected.beginGroup(group);
        const QStringList keys = expected.childKeys();
        expected.endGroup();
        for (const QString& key : keys) {
            if (IsName(group + kSeparator + key))
                values[{group.toCaseFolded(), key.toCaseFolded()}] = expected.Text(group, key);
        }
    }
    int wrong = 0;
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        wrong += IniFiles::Get(store, value.key().first, value.key().second) != value.value() ? 1 : 0;
    return wrong;
}

} // namespace

// Files as others write them: those that the installed packages brought.
class tst_IniFilesOfPackages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKey()
    {
        constexpr int kFewestFiles = 25; // with keys; a bare system with what this library is built with has more
        if (QStandardPaths::findExecutable(kPackageTool).isEmpty())
            QSKIP("only where dpkg-query tells which files the packages brought: elsewhere there is nothing to read",
                  0);
        int files = 0;
        for (const QString& path : Candidates()) {
            const QByteArray text = IniFiles::Read(path);
            ListedSettings expected(IniFiles::NewFile(TestSupport::AsFrameworkReads(text)));
            files += expected.Keys().isEmpty() ? 0 : 1;
            QVERIFY2(WrongInIniFile(text, expected) == 0, qPrintable(path));
            QVERIFY2(WrongInStore(text, expected) == 0, qPrintable(path));
        }
        qInfo("%d files with keys", files);
        QVERIFY(files >= kFewestFiles);
    }
};

NEROLT_TEST_MAIN(tst_IniFilesOfPackages)

#include "tst_IniFilesOfPackages.moc"

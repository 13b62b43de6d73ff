#include "IniFiles.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QPair>
#include <QtCore/QSettings>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <algorithm>
#include <iterator>

using IniFiles::NewFile;
using IniFiles::Read;

namespace {

constexpr QLatin1Char kSeparator('/');

// The framework's settings, right about every file: all keys are listed before anything else is asked or done.
class ListedSettings : public QSettings // clazy:exclude=missing-qobject-macro
{
public:
    explicit ListedSettings(const QString& path)
        : QSettings(path, QSettings::IniFormat)
        , iKeys(allKeys())
    {
    }

    const QStringList& Keys() const { return iKeys; }

    // As IniFiles::Get.
    QString Text(const QString& group, const QString& key)
    {
        beginGroup(group);
        const QString text = IniFile::SettingValue(value(key), false);
        const bool isThere = contains(key);
        endGroup();
        return isThere ? text : QStringLiteral("<none>");
    }

private:
    const QStringList iKeys;
};

using Question = QPair<QString, QString>; // a group and a key in it

Question Split(const QString& name)
{
    const auto at = name.indexOf(kSeparator, 1);
    return at < 0 ? Question{QString(), name} : Question{name.left(at), name.mid(at + 1)};
}

// Each key and what it is nested in, and what is not there.
QVector<Question> QuestionsTo(const QByteArray& text)
{
    QStringList names{QStringLiteral("a/none"), QStringLiteral("a/b/none")};
    const ListedSettings file(NewFile(text));
    for (const QString& key : file.Keys()) {
        for (auto at = key.indexOf(kSeparator, 1); at >= 0; at = key.indexOf(kSeparator, at + 1))
            names += key.left(at);
        names += key;
    }
    // No name ends with a separator to the framework.
    names.erase(
        std::remove_if(names.begin(), names.end(), [](const QString& name) { return name.endsWith(kSeparator); }),
        names.end());
    names.removeDuplicates();
    QVector<Question> questions;
    std::transform(names.begin(), names.end(), std::back_inserter(questions), Split);
    return questions;
}

// Whether it is about a key directly in a section.
bool IsDirect(const Question& question)
{
    return !question.first.isEmpty() && !question.first.contains(kSeparator) && !question.second.contains(kSeparator);
}

QByteArray AfterRemoval(const QByteArray& text, const Question& question)
{
    const QString path = NewFile(text);
    {
        ListedSettings file(path);
        file.beginGroup(question.first);
        file.remove(question.second);
    }
    return Read(path);
}

QByteArray AfterMerge(const QByteArray& text, const Question& question, const QVariant& value)
{
    const QString path = NewFile(text);
    {
        ListedSettings file(path);
        file.beginGroup(question.first);
        if (file.value(question.second).isNull())
            file.setValue(question.second, value);
    }
    return Read(path);
}

QByteArray AfterChange(const QByteArray& text)
{
    const QString path = NewFile(text);
    ListedSettings(path).setValue(QStringLiteral("new/key"), 1);
    return Read(path);
}

// For messages.
QByteArray About(const Question& question)
{
    return "key " + question.second.toUtf8() + " in " + question.first.toUtf8();
}

} // namespace

// Files in which a section's name is the start of another one's, or a name at the top level looks like a section's.
class tst_IniFileNested : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lookUp_data() { AddFiles(); }
    void lookUp()
    {
        QFETCH(QByteArray, text);
        for (const Question& question : QuestionsTo(text)) {
            const QString expected = ListedSettings(NewFile(text)).Text(question.first, question.second);
            const IniFile file(NewFile(text));
            QVERIFY2(IniFiles::Get(file, question.first, question.second) == expected, About(question));
            QVERIFY2(IniFiles::Get(IniFile(file), question.first, question.second) == expected, About(question));
            SettingsIniFile store;
            store.ReadFile(NewFile(text));
            if (IsDirect(question))
                QVERIFY2(IniFiles::Get(store, question.first, question.second) == expected, About(question));
        }
    }

    void remove_data() { AddFiles(); }
    void remove()
    {
        QFETCH(QByteArray, text);
        for (const Question& question : QuestionsTo(text)) {
            const QByteArray expected = AfterRemoval(text, question);
            const QString path = NewFile(text);
            IniFile(path).RemoveKey(question.first, question.second);
            QVERIFY2(Read(path) == expected, About(question));
            if (!IsDirect(question))
                continue;
            // What was removed from one file is removed from a copy of it.
            SettingsIniFile store;
            store.SetKeyValue(question.first, question.second, QVariant(1));
            store.RemoveKey(question.first, question.second);
            const QString copy = NewFile(text);
            QVERIFY(store.WriteFile(copy));
            QVERIFY2(Read(copy) == expected, About(question));
        }
    }

    void merge_data() { AddFiles(); }
    void merge()
    {
        QFETCH(QByteArray, text);
        for (const Question& question : QuestionsTo(text)) {
            if (!IsDirect(question))
                continue;
            const QString source = IniFiles::NewPath();
            QSettings(source, QSettings::IniFormat)
                .setValue(question.first + kSeparator + question.second, QStringLiteral("other"));
            const QString path = NewFile(text);
            IniFile(path).Merge(source, QStringLiteral("nothing"));
            QVERIFY2(Read(path) == AfterMerge(text, question, QStringLiteral("other")), About(question));
        }
    }

    // What it holds then is found by the object that wrote it as by any other.
    void change_data() { AddFiles(); }
    void change()
    {
        QFETCH(QByteArray, text);
        const QByteArray expected = AfterChange(text);
        const QString path = NewFile(text);
        IniFile file(path);
        file.SetKeyValue(QStringLiteral("new"), QStringLiteral("key"), 1);
        QCOMPARE(Read(path), expected);
        for (const Question& question : QuestionsTo(expected)) {
            const QString there = ListedSettings(NewFile(expected)).Text(question.first, question.second);
            QVERIFY2(IniFiles::Get(file, question.first, question.second) == there, About(question));
        }
    }

    void mergeBehindAChange()
    {
        const QString path = NewFile("[/a]\nx=1\n");
        const QString source = NewFile("[a]\nx=other\n");
        {
            IniFile file(path);
            file.SetKeyValue(QStringLiteral("new"), QStringLiteral("key"), 1);
            QVERIFY(!file.Merge(source, QStringLiteral("nothing")));
        }
        QCOMPARE(Read(path), QByteArray("[General]\na\\x=1\n\n[new]\nkey=1\n"));
    }

    void writeBack_data() { AddFiles(); }
    void writeBack()
    {
        QFETCH(QByteArray, text);
        const QString path = NewFile(text);
        SettingsIniFile store;
        store.ReadFile(path);
        const SettingsIniFile copy(store);
        store.SetKeyValue(QStringLiteral("new"), QStringLiteral("key"), QVariant(1));
        QVERIFY(store.WriteFile(path));
        QCOMPARE(Read(path), AfterChange(text));
        // A copy of its own has the keys directly in sections.
        const QString direct = IniFiles::NewPath();
        QVERIFY(copy.WriteFile(direct));
        const QString expected = IniFiles::NewPath();
        {
            ListedSettings file(NewFile(text));
            QSettings other(expected, QSettings::IniFormat);
            for (const QString& key : file.Keys()) {
                if (IsDirect(Split(key)))
                    other.setValue(key, file.value(key));
            }
        }
        QCOMPARE(Read(direct), Read(expected));
    }

    // Once for each state of the file.
    void aFileThatChanges()
    {
        const QString path = NewFile("[a]\nx=1\n");
        IniFile file(path);
        QCOMPARE(IniFiles::Get(file, QStringLiteral("a"), QStringLiteral("x")), QStringLiteral("1"));
        IniFiles::Write(path, "[a]\nx=22\n[a/b]\ny=3\n");
        QCOMPARE(IniFiles::Get(file, QStringLiteral("a"), QStringLiteral("x")), QStringLiteral("22"));
        IniFiles::Write(path, "[a]\nnew=333\n[a/b]\ny=3\n");
        file.RemoveKey(QStringLiteral("a"), QStringLiteral("new"));
        QCOMPARE(Read(path), QByteArray("[a]\nb\\y=3\n"));
    }

    // Values that are refused are kept from the framework by a copy of the file.
    void besideWhatIsRefused()
    {
        const QByteArray refused = "\n[z]\nhuge=@Variant(\\0\\0\\0\\xa\\x7f\\xff\\xff\\xff)\n";
        const QString path = NewFile("[a]\nx=1\n[a/b]\ny=2" + refused);
        const QString source = NewFile("[a]\nx=other\n");
        {
            IniFile file(path);
            QCOMPARE(IniFiles::Get(file, QStringLiteral("a"), QStringLiteral("x")), QStringLiteral("1"));
            QVERIFY(!file.Merge(source, QString()));
        }
        IniFile(path).RemoveKey(QStringLiteral("a"), QStringLiteral("x"));
        QCOMPARE(Read(path), "[a]\nb\\y=2\n" + refused);
    }

private:
    static void AddFiles();
};

void tst_IniFileNested::AddFiles()
{
    const QByteArray beside = "[a]\nx=1\ny=2\n";
    const QByteArrayList sections = {
        "[a/b]\nx=3\n",
        "[a\\b]\nx=3\n",
        "[a%2fb]\nx=3\n",
        "[a%U002Fb]\nx=3\n",
        "[a/b]\nx=3\n[a/b/c]\nx=4\n[a/c]\ny=5\n",
        "[a/b/c]\nx=3\n",
        "[/a]\nx=3\nz=4\n",
        "[/]\nx=3\n",
        "[a/]\nx=3\n",
        "[]\nx=3\nb\\x=4\n",
        "[b/a]\nx=3\n",
        "[A/b]\nx=3\n",
        "[General]\nx=3\nb\\x=4\n",
        "[ general ]\nx=3\na\\z=4\n",
        "[General/b]\nx=3\n",
        "[%General]\nx=3\n",
        "[a]\nx=3\nb\\x=4\n[a/b]\ny=5\n",
        "[a]\nb\\x=3\n[a/b]\nx=4\n",
        "[a-b]\nx=3\n[a b]\nx=4\n",
        "[a/b\nx=3\n",
        "[\"q\n\"]\nx=3\nz=4\n[\"q\n\"/b]\ny=5\n",
        "[b\nz=3\n[General]\na\\z=4\n",
        "Net\\Proxy=3\na\\x=4\n",
        "Net/Proxy=3\n",
        "Net%2FProxy=3\n",
        "long=\"\n[b]\n\"\na\\z=3\n[a/b]\nx=4\n",
        "; no setting\r\n[b]\r\nx=3\r\n[General]\r\na\\z=4\r\n",
    };
    QTest::addColumn<QByteArray>("text");
    for (const QByteArray& section : sections) {
        const QByteArray name = QByteArray(section).simplified();
        QTest::newRow("before " + name) << section + beside;
        QTest::newRow("behind " + name) << beside + section;
    }
}

NEROLT_TEST_MAIN(tst_IniFileNested)

#include "tst_IniFileNested.moc"

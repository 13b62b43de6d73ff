#include "CrashLeft.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

#include <cstddef>
#include <new>

using CrashFormat::Remains;
using CrashFormat::Section;

class tst_CrashFormat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void damageIsFound()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        const QByteArray whole = left.Bytes();
        const auto accepted = [&](int at, char bits) {
            left.Bytes()[at] = char(left.Bytes().at(at) ^ bits);
            const std::optional<Remains> remains = left.Read();
            left.Bytes() = whole;
            return remains;
        };
        const int lines = int(sizeof(Section));
        for (int at = lines; at < lines + kFirst.size() + kSecond.size() + 2 * CrashFormat::kRecordHead; ++at)
            for (int bit = 0; bit < 8; ++bit)
                QVERIFY2(!accepted(at, char(1 << bit)), QByteArray::number(at - lines));
        // Magic, version, byte order, capacity and their check.
        for (int at = 0; at < int(offsetof(Section, iUnused)); ++at)
            QVERIFY2(!accepted(at, 1), QByteArray::number(at));
        for (const size_t at : {offsetof(Section, iHead), offsetof(Section, iTail), offsetof(Section, iAttempt),
                                offsetof(Section, iAttemptCheck)})
            QVERIFY2(!accepted(int(at), 8), QByteArray::number(qulonglong(at)));
        QVERIFY(!accepted(int(offsetof(Section, iHead)) + 7, 1)); // far away
        const size_t log = offsetof(Section, iLogs) + sizeof(CrashFormat::LogName) * left.That().iLog;
        for (const size_t at : {log, log + 3, log + 4, log + 8, log + 9})
            QVERIFY2(!accepted(int(at), 1), QByteArray::number(qulonglong(at - log)));
        QVERIFY(left.Read());
        QVERIFY(CrashFormat::Check("abcdefgh12345678", 16) != CrashFormat::Check("12345678abcdefgh", 16));
    }

    void forgedFields()
    {
        QVERIFY(Left(kFirst).Read());
        QVERIFY(Left(kFirst, QByteArray()).Read());
        QVERIFY(!Left(kFirst, "app.log").Read());
        QVERIFY(!Left(kFirst, QByteArray("/app\0log", 8)).Read());
    }

    void oneRecordIsOneLine()
    {
        Left left(kFirst);
        const QByteArray two = QByteArray(kFirst.size() - 5, 'x') + "\none\n";
        PutRecord(left.That(), 0, two);
        QVERIFY(!left.Read());
    }

    // The next one is read in place, too.
    void aSectionHasNoOddSize()
    {
        QByteArray bytes(int(sizeof(Section) + 208), '\0');
        for (const quint64 capacity : {200ULL, 201ULL, 204ULL, 207ULL}) {
            new (bytes.data()) Section(capacity);
            const bool isRead = CrashFormat::Read(bytes.constData(), quint64(bytes.size())).has_value();
            QCOMPARE(isRead, capacity == 200);
            QCOMPARE(CrashFormat::SizeOf(bytes.constData(), quint64(bytes.size())) != 0, isRead);
        }
    }

    void aSectionTakesAllOfAnother()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        left.That().iUnprotected = 5;
        left.That().iUnprotectedDone = 2;
        QByteArray bytes(left.Bytes().size(), '\0');
        auto& section = *new (bytes.data()) Section(left.That().iCapacity);
        section.TakeOver(left.That());
        QCOMPARE(bytes, left.Bytes());
    }

    // It is being filled, or its lines are in the log: nothing else in it counts.
    void aSectionThatIsOverIsNotLookedInto()
    {
        Left left(kFirst);
        left.That().iIsOver = 1;
        left.That().iHead += left.That().iCapacity;
        QVERIFY(left.Read() && left.Read()->iIsOver && left.Read()->iLines.isEmpty());
        left.That().iIsOver = 0;
        QVERIFY(!left.Read());
    }

    // Around the end of the ring, from every position.
    void theRingEndsAnywhere()
    {
        QByteArray bytes(int(sizeof(Section) + 200), '\0');
        for (quint64 begin = 1000; begin < 1200; ++begin) {
            auto& section = *new (bytes.data()) Section(200);
            section.iHead = section.iTail = begin;
            for (const QByteArray& line : {kFirst, kSecond}) {
                PutRecord(section, section.iHead, line);
                section.iHead += CrashFormat::kRecordHead + quint64(line.size());
            }
            const std::optional<Remains> remains = CrashFormat::Read(bytes.constData(), quint64(bytes.size()));
            QVERIFY(remains);
            QCOMPARE(remains->iLines, kFirst + kSecond);
        }
    }

    void keptSectionsAreTheSame()
    {
        QByteArray file(int(CrashFormat::kFileBytes), '\0');
        new (file.data()) Section(CrashFormat::kCapacity);
        for (const bool isOpen : {true, false}) {
            Left left(isOpen ? kFirst : kFirst + kSecond);
            left.BeginWrite();
            if (!isOpen)
                left.TakeFirst();
            file += CrashFormat::Kept(*left.Read());
        }
        const auto all = CrashFormat::ReadAll(file);
        QVERIFY(all && all->size() == 3);
        QCOMPARE(all->at(0).iLines, kFirst); // oldest first
        QVERIFY(all->at(0).iIsAttemptOpen);
        QCOMPARE(all->at(1).iLines, kSecond);
        QVERIFY(!all->at(1).iIsAttemptOpen);
        QVERIFY(all->at(2).iLines.isEmpty());
    }
};

NEROLT_TEST_MAIN(tst_CrashFormat)

#include "tst_CrashFormat.moc"

#include "LoadFiles.h"

#include "Lines.h"
#include "support/LogText.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>

namespace {

constexpr qint64 kMaxBytes = 104857600;
constexpr int kBatchBytes = 5000;

using Text = QList<QByteArray>;

class Checker
{
public:
    Checker(const std::vector<LoadFiles::Records>& records, Load::Outcome& outcome)
        : iRecords(records)
        , iOutcome(outcome)
        , iLast(records.size(), -1)
    {
        for (const LoadFiles::Records& each : records)
            iFound.emplace_back(each.size(), false);
    }

    void File(int file);
    QByteArray Finish(int resets);

private:
    void Part(const QString& name, qint64 from, const QString& before);
    void Line(const QByteArray& line);
    void Count(const QByteArray& line);
    void Missing(size_t thread, size_t number);
    void Fail(const QByteArray& fault)
    {
        if (iFault.isEmpty())
            iFault = fault;
    }

    const std::vector<LoadFiles::Records>& iRecords;
    Load::Outcome& iOutcome;
    std::vector<int> iLast;
    std::vector<std::vector<bool>> iFound;
    Text iBuffered; // the agent's buffer at this point of the text
    int iBufferedBytes = 0;
    Text iExpectedAgain; // the lines in the buffer when the file was changed
    int iResets = 0;
    QByteArray iFault;
};

// The contents of a file and of its rotated files, in order.
void Checker::File(int file)
{
    const QStringList rotated = LoadFiles::Rotated(file);
    iOutcome.iRotations += int(rotated.size());
    iExpectedAgain = iBuffered;
    QString before;
    for (const QString& name : rotated) {
        Part(name, before.isEmpty() ? LoadFiles::PreparedSize(file) : 0, before);
        before = name;
    }
    Part(LoadFiles::Path(file), 0, before);
    if (!iExpectedAgain.isEmpty())
        Fail("file " + QByteArray::number(file) + " lacks lines of the one before");
}

void Checker::Part(const QString& name, qint64 from, const QString& before)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(from))
        return Fail("cannot read " + name.toUtf8());
    if (!before.isEmpty()) {
        const QByteArray header = file.readLine();
        if (header.mid(23) != "continued from " + before.toUtf8() + '\n')
            return Fail("the header of " + name.toUtf8() + " is " + header);
    }
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (!line.endsWith('\n'))
            return Fail(name.toUtf8() + " ends with " + line);
        Line(line.chopped(1));
    }
}

// The sizes of the lines determine their batches, and so the rest of the last batch.
void Checker::Line(const QByteArray& line)
{
    if (!iExpectedAgain.isEmpty()) {
        if (iExpectedAgain.takeFirst() != line)
            Fail("not the line that ended the file before: " + line);
        ++iOutcome.iTwice;
        return;
    }
    Count(line);
    const bool isReset = line.contains("|10|Information|Logger::ResetLoggingLevel|resetting log level ");
    iResets += isReset;
    iBuffered += line;
    iBufferedBytes += int(line.size()) + 1;
    if (iBufferedBytes > kBatchBytes || isReset) {
        iBuffered.clear();
        iBufferedBytes = 0;
    }
}

void Checker::Count(const QByteArray& line)
{
    const QByteArray body = LogText::Body(line);
    const std::optional<Lines::Said> said = Lines::Whose(body);
    if (!said) {
        if (body.startsWith('<') || Lines::IsSpoken(body))
            Fail("torn or forged: " + line);
        return;
    }
    int& last = iLast.at(size_t(said->iThread));
    if (said->iNumber <= last)
        Fail("after " + QByteArray::number(last) + " of its thread: " + line);
    last = said->iNumber;
    iFound.at(size_t(said->iThread)).at(size_t(said->iNumber)) = true;
}

void Checker::Missing(size_t thread, size_t number)
{
    switch (iRecords[thread][number]) {
    case LoadFiles::Record::Accepted:
        Fail("lost: " + Lines::Body(int(thread), int(number)));
        break;
    case LoadFiles::Record::Late:
        ++iOutcome.iDropped;
        break;
    case LoadFiles::Record::Open:
    case LoadFiles::Record::Stopped:
        ++iOutcome.iStopped;
        break;
    }
}

QByteArray Checker::Finish(int resets)
{
    for (size_t thread = 0; thread < iRecords.size(); ++thread) {
        for (size_t number = 0; number < iRecords[thread].size(); ++number) {
            const LoadFiles::Record record = iRecords[thread][number];
            iOutcome.iLate += record == LoadFiles::Record::Late;
            if (!iFound[thread][number])
                Missing(thread, number);
            else if (record == LoadFiles::Record::Stopped)
                Fail("the level stops it: " + Lines::Body(int(thread), int(number)));
        }
    }
    if (iResets != resets && iOutcome.iLate == 0)
        Fail(QByteArray::number(iResets) + " changes of level in the files and not " + QByteArray::number(resets));
    return iFault;
}

} // namespace

QString LoadFiles::Path(int file)
{
    return QStringLiteral("load%1.log").arg(file);
}

qint64 LoadFiles::PreparedSize(int file)
{
    return file % 2 == 0 ? 0 : kMaxBytes - 3000;
}

QStringList LoadFiles::Rotated(int file)
{
    return QDir().entryList({QStringLiteral("load%1-*.log").arg(file)}, QDir::Files, QDir::Name);
}

QByteArray LoadFiles::Check(const std::vector<Records>& records, int files, int resets, Load::Outcome& outcome)
{
    Checker checker(records, outcome);
    for (int file = 0; file < files; ++file)
        checker.File(file);
    return checker.Finish(resets);
}

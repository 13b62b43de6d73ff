#include "StackFrame.h"

#include <QtCore/QStringList>

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace {

/// Reads the words of a line in turn. The bundle's name has blanks in it, and so has an Objective-C method's.
class Walk
{
public:
    void Take(const QString& word)
    {
        const int next = iPosition + 1;
        if (word.startsWith(QLatin1String("Ner"))) {
            iFrame.iModule = word;
            iPosition = next;
        } else if (word.startsWith(QLatin1String("Ka"))) {
            iFrame.iModule += QLatin1Char(' ') + word;
            iPosition = next;
        } else if (word.startsWith(QLatin1String("Vesp"))) {
            iFrame.iModule += QLatin1Char(' ') + word;
            iPosition = 1;
        } else if (word.startsWith(QLatin1String("-["))) {
            iFrame.iFunctionName = word;
            iIsInMethodName = true;
            iPosition = next;
        } else if (iIsInMethodName) {
            iFrame.iFunctionName += QLatin1Char(' ') + word;
            iIsInMethodName = false;
            iPosition = 3;
        } else {
            TakeField(word);
            iPosition = next;
        }
    }

    const TraceInfo& Frame() const { return iFrame; }

private:
    void TakeField(const QString& word)
    {
        switch (iPosition) {
        case 0:
            iFrame.iModule += word;
            break;
        case 1:
            iFrame.iMemory = word;
            break;
        case 2:
            iFrame.iFunctionName += word;
            break;
        case 4:
            iFrame.iOffset = word;
            break;
        default: // the index and the plus sign
            break;
        }
    }

    TraceInfo iFrame;
    int iPosition = -1;
    bool iIsInMethodName = false;
};

struct Free
{
    void operator()(char* text) const { std::free(text); }
};

} // namespace

TraceInfo StackFrame::Parse(const QString& line)
{
    QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    words.removeDuplicates(); // an offset that equals the index is lost with it: readers know it so
    Walk walk;
    for (const QString& word : qAsConst(words))
        walk.Take(word);
    return walk.Frame();
}

bool StackFrame::Demangle(QString& name)
{
    int status = 0;
    const std::unique_ptr<char, Free> text(abi::__cxa_demangle(name.toUtf8().constData(), nullptr, nullptr, &status));
    if (status != 0 || !text)
        return false;
    name = QString::fromUtf8(text.get());
    return true;
}

QString StackFrame::Text(const TraceInfo& frame)
{
    return QLatin1String("Module ") + frame.iModule + QLatin1String(" Memory ") + frame.iMemory
        + QLatin1String(" FunctionName ") + frame.iFunctionName + QLatin1String(" Offset ") + frame.iOffset;
}

#include "StackFrame.h"

#include <QtCore/QStringBuilder>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace {

/// Reads the words of a line in turn. The bundle's name has blanks in it, and so has an Objective-C method's.
class Walk
{
    /// Where the next word stands in a line "index module address function + offset".
    enum Place { Index = -1, Module, Address, Function, PlusSign, Offset };

public:
    void Take(const QString& word)
    {
        const int next = iPlace + 1;
        if (word.startsWith(QLatin1String("Ner"))) {
            iFrame.iModule = word;
            iPlace = next;
        } else if (word.startsWith(QLatin1String("Ka"))) {
            iFrame.iModule += QLatin1Char(' ') % word;
            iPlace = next;
        } else if (word.startsWith(QLatin1String("Vesp"))) {
            iFrame.iModule += QLatin1Char(' ') % word;
            iPlace = Address; // the name is complete
        } else if (word.startsWith(QLatin1String("-["))) {
            iFrame.iFunctionName = word;
            iIsInMethodName = true;
            iPlace = next;
        } else if (iIsInMethodName) {
            iFrame.iFunctionName += QLatin1Char(' ') % word;
            iIsInMethodName = false;
            iPlace = PlusSign;
        } else {
            TakeField(word);
            iPlace = next;
        }
    }

    const TraceInfo& Frame() const { return iFrame; }

private:
    void TakeField(const QString& word)
    {
        switch (iPlace) {
        case Module:
            iFrame.iModule += word;
            break;
        case Address:
            iFrame.iMemory = word;
            break;
        case Function:
            iFrame.iFunctionName += word;
            break;
        case Offset:
            iFrame.iOffset = word;
            break;
        default: // the index and the plus sign
            break;
        }
    }

    TraceInfo iFrame;
    int iPlace = Index;
    bool iIsInMethodName = false;
};

struct Free
{
    void operator()(char* text) const { std::free(text); }
};

} // namespace

TraceInfo StackFrame::Parse(const QString& line)
{
    const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    Walk walk;
    for (auto word = words.begin(); word != words.end(); ++word) {
        // A word that comes again counts once. An offset that equals the index is lost with it: readers know it so.
        if (std::find(words.begin(), word, *word) == word)
            walk.Take(*word);
    }
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
    return QLatin1String("Module ") % frame.iModule % QLatin1String(" Memory ") % frame.iMemory
        % QLatin1String(" FunctionName ") % frame.iFunctionName % QLatin1String(" Offset ") % frame.iOffset;
}

#include "logging/FrameLines.h"
#include "logging/StackFrame.h"

#include <QtTest/QtTest>

#include <array>
#include <execinfo.h>

using Addresses = std::array<void*, 32>;

Q_DECL_EXPORT Q_NEVER_INLINE int frame_of_this_test(Addresses& addresses)
{
    const int count = ::backtrace(addresses.data(), int(addresses.size()));
    asm volatile("" : : : "memory"); // or the call would be a jump, and this function not on the stack
    return count;
}

/// The C library's own texts, on a Mac in the layout that is parsed.
class tst_FrameLinesOfSystem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneForEachFrame()
    {
        Addresses addresses = {};
        const int count = frame_of_this_test(addresses);
        QVERIFY(count > 2);
        const QStringList lines = FrameLines::Of(addresses.data(), count);
        QCOMPARE(lines.size(), count);
        // The sanitizers put a frame of their own before it.
        const QStringList begin = lines.mid(0, 2).filter(QStringLiteral("frame_of_this_test"));
        QVERIFY2(!begin.isEmpty(), qPrintable(lines.first()));
        QCOMPARE(FrameLines::Of(addresses.data(), count, 2), lines.mid(2));
        QCOMPARE(FrameLines::Of(addresses.data(), 1), lines.mid(0, 1));
    }

#ifdef Q_OS_MACOS
    void parsed()
    {
        Addresses addresses = {};
        const int count = frame_of_this_test(addresses);
        const QStringList lines = FrameLines::Of(addresses.data(), count);
        for (int i = 0; i < count; ++i) {
            const TraceInfo frame = StackFrame::Parse(lines.at(i));
            QVERIFY2(!frame.iModule.isEmpty() && !frame.iFunctionName.isEmpty(), qPrintable(lines.at(i)));
            QCOMPARE(frame.iMemory.toULongLong(nullptr, 16), quint64(addresses.at(std::size_t(i))));
        }
        QString name = StackFrame::Parse(lines.first()).iFunctionName;
        QVERIFY(StackFrame::Demangle(name));
        QVERIFY2(name.startsWith(QLatin1String("frame_of_this_test(")), qPrintable(name));
        QCOMPARE(StackFrame::Parse(lines.first()).iModule, QStringLiteral("tst_FrameLinesOfSystem"));
    }
#endif
};

QTEST_APPLESS_MAIN(tst_FrameLinesOfSystem)

#include "tst_FrameLinesOfSystem.moc"

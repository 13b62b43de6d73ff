#include "FrameText.h"
#include "logging/FrameLines.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cstdio>
#include <dlfcn.h>
#include <limits>
#include <link.h>
#include <sys/auxv.h>
#include <vector>

extern "C" {
extern const char __executable_start;

Q_DECL_EXPORT void frame_function()
{
    FewBytes<__LINE__>();
}

Q_DECL_EXPORT void frame_f\u00e4hre()
{
    FewBytes<__LINE__>();
}

Q_DECL_EXPORT int frame_variable = 1;
}

namespace Frame {

Q_DECL_EXPORT void Function(const QString&, int)
{
    FewBytes<__LINE__>();
}

} // namespace Frame

namespace {

void Nameless()
{
    FewBytes<__LINE__>();
}

const char* Bytes(const void* address)
{
    return static_cast<const char*>(address);
}

QStringList Lines(const std::vector<const void*>& addresses)
{
    std::vector<void*> plain;
    for (const void* const address : addresses)
        plain.push_back(const_cast<void*>(address));
    return FrameLines::Of(plain.data(), int(plain.size()));
}

// A shared library in memory while this lives.
class Image
{
public:
    explicit Image(const QByteArray& path)
        : iPath(path)
        , iHandle(::dlopen(iPath.constData(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!iHandle)
            qFatal("%s", ::dlerror());
    }
    ~Image() { Unload(); }
    Q_DISABLE_COPY(Image)

    void Unload()
    {
        if (iHandle)
            ::dlclose(iHandle);
        iHandle = nullptr;
    }
    bool IsInMemory() const
    {
        void* const handle = ::dlopen(iPath.constData(), RTLD_NOLOAD | RTLD_NOW);
        if (handle)
            ::dlclose(handle);
        return handle;
    }
    const char* Base() const
    {
        const struct link_map* map = nullptr;
        ::dlinfo(iHandle, RTLD_DI_LINKMAP, &map);
        return Bytes(reinterpret_cast<const void*>(map->l_addr));
    }
    const char* Symbol(const char* name) const { return Bytes(::dlsym(iHandle, name)); }
    const char* Nameless() const
    {
        return Bytes(reinterpret_cast<const void* (*)()>(::dlsym(iHandle, "module_nameless"))());
    }

private:
    const QByteArray iPath;
    void* iHandle;
};

// The same library under another name.
QByteArray CopyOfModule(const char* name)
{
    const QString path = QDir(TestSupport::Scratch()).filePath(QString::fromLatin1(name));
    if (!QFile::copy(QString::fromLocal8Bit(FRAME_MODULE), path))
        qFatal("cannot copy to %s", qPrintable(path));
    return QFile::encodeName(path);
}

} // namespace

class tst_FrameLines : public QObject
{
    Q_OBJECT

private:
    static void CompareModule(const QByteArray& path, const QByteArray& name)
    {
        const Image image(path);
        const char* const function = image.Symbol("module_call");
        const char* const hidden = image.Nameless();
        QVERIFY(function && hidden);
        QCOMPARE(Lines({function + 3, hidden}),
                 (QStringList{FrameText(0, name, function + 3, "module_call", 3),
                              FrameText(1, name, hidden, BaseText(image.Base()), quintptr(hidden - image.Base()))}));
    }

private Q_SLOTS:
    void noFrames() { QCOMPARE(FrameLines::Of(nullptr, 0), QStringList()); }

    void ownFrames_data()
    {
        QTest::addColumn<quintptr>("start");
        QTest::addColumn<int>("offset");
        QTest::addColumn<QByteArray>("symbol");
        const auto row = [](const char* name, const char* start, int offset, const char* symbol) {
            QTest::newRow(name) << quintptr(start) << offset << QByteArray(symbol);
        };
        row("beginning of a function", CodeOf(&frame_function), 0, "frame_function");
        row("inside a function", CodeOf(&frame_function), 3, "frame_function");
        row("names stay mangled", CodeOf(&Frame::Function), 1, "_ZN5Frame8FunctionERK7QStringi");
        row("letters beyond ASCII", CodeOf(&frame_f\u00e4hre), 2, "frame_f\xc3\xa4hre");
        row("variable", Bytes(&frame_variable), 2, "frame_variable");
        row("function without a name", &__executable_start, int(CodeOf(&Nameless) + 1 - &__executable_start),
            BaseText(&__executable_start));
    }
    void ownFrames()
    {
        QFETCH(quintptr, start);
        QFETCH(int, offset);
        QFETCH(QByteArray, symbol);
        const auto* const address = reinterpret_cast<const char*>(start) + offset;
        QCOMPARE(Lines({address}), QStringList{FrameText(0, Program(), address, symbol, quintptr(offset))});
    }

    void inNoImage_data()
    {
        QTest::addColumn<quintptr>("address");
        static const QByteArray heap(64, 'x');
        QTest::newRow("memory of no image") << quintptr(heap.constData());
        QTest::newRow("null") << quintptr(0);
        QTest::newRow("least") << quintptr(1);
        QTest::newRow("greatest") << std::numeric_limits<quintptr>::max();
    }
    void inNoImage()
    {
        QFETCH(quintptr, address);
        const void* const pointer = reinterpret_cast<const void*>(address);
        QCOMPARE(Lines({pointer}), QStringList{FrameText(0, "???", pointer, "0x0", address)});
    }

    void imageWithoutAPath()
    {
        const char* const base = Bytes(reinterpret_cast<const void*>(::getauxval(AT_SYSINFO_EHDR)));
        const QByteArray name = base ? "linux-vdso.so.1" : "???";
        QCOMPARE(Lines({base}), QStringList{FrameText(0, name, base, BaseText(base), 0)});
    }

    void framesOfSeveralImagesStayInOrder()
    {
        const Image image(FRAME_MODULE);
        const char* const function = CodeOf(&frame_function);
        const char* const hidden = CodeOf(&Nameless);
        const char* const module = image.Symbol("module_call");
        const QByteArray base = BaseText(&__executable_start);
        const quintptr hiddenOffset = quintptr(hidden - &__executable_start);
        QCOMPARE(Lines({module + 1, function + 2, nullptr, function + 3, hidden, module, function + 2}),
                 (QStringList{FrameText(0, "two words.so", module + 1, "module_call", 1),
                              FrameText(1, Program(), function + 2, "frame_function", 2),
                              FrameText(2, "???", nullptr, "0x0", 0),
                              FrameText(3, Program(), function + 3, "frame_function", 3),
                              FrameText(4, Program(), hidden, base, hiddenOffset),
                              FrameText(5, "two words.so", module, "module_call", 0),
                              FrameText(6, Program(), function + 2, "frame_function", 2)}));
    }

    void imageName_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("a letter less than the column") << QByteArray(34, 'm');
        QTest::newRow("as wide as the column") << QByteArray(35, 'm');
        QTest::newRow("wider than the column") << QByteArray(36, 'm');
        QTest::newRow("as long as a name can be") << QByteArray(255, 'm');
        QTest::newRow("blanks around") << QByteArray(" m ");
        QTest::newRow("percent signs") << QByteArray("%s%n%d%1");
    }
    void imageName()
    {
        QFETCH(QByteArray, name);
        CompareModule(CopyOfModule(name.constData()), name);
    }

    void imageWithLettersBeyondAscii()
    {
        const QByteArray name("gr\xc3\xb6\xc3\x9f"
                              "e.so");
        const QByteArray path = CopyOfModule("plain.so");
        const QByteArray other = path.left(path.lastIndexOf('/') + 1) + name;
        QCOMPARE(std::rename(path.constData(), other.constData()), 0);
        const Image image(other);
        const char* const function = image.Symbol("module_call");
        const QStringList lines = Lines({function});
        QCOMPARE(lines.size(), 1);
        // The width of the column is counted in bytes there and in letters here.
        QCOMPARE(lines[0].simplified(), FrameText(0, name, function, "module_call", 0).simplified());
    }

    void imageThatHasGone()
    {
        Image image(CopyOfModule("gone.so"));
        const char* const function = image.Symbol("module_call");
        QCOMPARE(Lines({function}), QStringList{FrameText(0, "gone.so", function, "module_call", 0)});
        image.Unload();
        QVERIFY(!image.IsInMemory());
        QCOMPARE(Lines({function}), QStringList{FrameText(0, "???", function, "0x0", quintptr(function))});
    }

    void imageInTheOldOnesPlace()
    {
        Image first(CopyOfModule("first.so"));
        Lines({first.Symbol("module_call"), first.Nameless()});
        first.Unload();
        QVERIFY(!first.IsInMemory());
        CompareModule(CopyOfModule("second.so"), "second.so");
    }
};

NEROLT_TEST_MAIN(tst_FrameLines)

#include "tst_FrameLines.moc"

#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include <cstdio>

/// The line of a frame as the C library of macOS prints it: the reference for every byte.
inline QString FrameText(int index, const QByteArray& image, const void* address, const QByteArray& symbol,
                         quintptr offset)
{
    char line[1024];
    std::snprintf(line, sizeof line, "%-4d%-35s 0x%016lx %s + %lu", index, image.constData(),
                  reinterpret_cast<unsigned long>(address), symbol.constData(), static_cast<unsigned long>(offset));
    return QString::fromUtf8(line);
}

/// The name of a frame that has none: where its image begins.
inline QByteArray BaseText(const void* base)
{
    return "0x" + QByteArray::number(quintptr(base), 16);
}

/// A body of a few bytes, another at each place, or the compiler may make one function of two.
template <int Place>
void FewBytes()
{
    asm volatile("nop\n nop\n nop\n nop" : : "i"(Place) : "memory");
}

template <typename Function>
const char* CodeOf(Function* function)
{
    return reinterpret_cast<const char*>(function);
}

/// The image of the test.
inline QByteArray Program()
{
    return QFileInfo(QCoreApplication::applicationFilePath()).fileName().toUtf8();
}

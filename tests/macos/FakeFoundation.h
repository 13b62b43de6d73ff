#pragma once

#include <QtCore/QStringList>

#include <optional>

/// What the fake Foundation returns, and the messages that it received.
namespace FakeFoundation {

struct Answers
{
    bool iHasManager = true;
    unsigned char iFileExists = 1;
    bool iHasAttributes = true;
    std::optional<double> iCreationDate; ///< seconds since 1970
    std::optional<double> iModificationDate;
    unsigned char iSetAttributes = 1;
    bool iHasProcessInfo = true;
    long iMajor = 0;
    long iMinor = 0;
    long iPatch = 0;
};

/// Forgets everything and returns this from now on.
void Start(const Answers& answers);

/// Every message so far with its arguments, in order, and every mistake in the reference counts.
QStringList Messages();

/// How many objects were created since the start, and how many of them are alive.
int CreatedObjects();
int LiveObjects();

/// Whether the objects and constants that live as long as the program still have a reference count of one.
bool AreSystemObjectsKept();

} // namespace FakeFoundation

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cstdint>

/// What the fake Core Foundation and File Manager return, and how they were called.
namespace FakeCoreServices {

struct Answers
{
    bool iHasString = true;
    bool iHasUrl = true;
    unsigned char iHasReference = 1;
    std::int16_t iCatalogStatus = 0;
    std::int16_t iVolume = -100;
    std::int16_t iVolumeStatus = 0;
    std::uint64_t iFreeBytes = 0;
};

/// Forgets everything and returns this from now on.
void Start(const Answers& answers);

/// Every call so far with its arguments, in order. A release is listed only if there was nothing to release.
QList<QByteArray> Calls();

/// How many references were created since the start, and how many of them are not released.
int CreatedReferences();
int LiveReferences();

} // namespace FakeCoreServices

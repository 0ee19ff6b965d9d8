#pragma once
#include <memory>
#include <vector>

#include "dither/ZPixfDitherExact.h"
#include "dither/ZPixfDitherMixtures.h"
#include "gdi/gdi.h"

namespace zpixf {

/// What the ordered dithers look up of a palette. It grows with the colours that are seen, and so is kept for the next
/// picture that has the palette.
struct OrderedTables {
    OrderedTables(const RGBQUAD* newEntries, unsigned numEntries, double newStrength);
    bool IsFor(const RGBQUAD* otherEntries, unsigned numEntries, double otherStrength) const;

    const std::vector<RGBQUAD> entries;
    const double strength;
    const ExactColors exactColors;
    Mixtures mixtures;
};

/// Gives tables that were kept, or new ones, to the caller alone. May raise std::bad_alloc.
std::unique_ptr<OrderedTables> TakeTables(const RGBQUAD* entries, unsigned numEntries, double strength);
/// Keeps the tables for whoever takes such ones next; of many those kept last.
void KeepTables(std::unique_ptr<OrderedTables> tables) noexcept;
/// Frees all that are kept.
void FreeKeptTables() noexcept;

}  // namespace zpixf

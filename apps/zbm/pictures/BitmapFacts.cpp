#include "pictures/BitmapFacts.h"

#include <vector>

#include "pictures/RowConversion.h"
#include "pictures/TileRows.h"

namespace tool {

namespace {

void NoteIndices(BitmapFacts& facts, const std::uint8_t* values, const std::uint8_t* mask, bool opaque, int count) {
    if (opaque) {
        for (int x = 0; x < count; ++x) facts.opaqueIndices[values[x]] = true;
        return;
    }
    for (int x = 0; x < count; ++x) {
        (BitAt(mask, x) ? facts.opaqueIndices : facts.transparentIndices)[values[x]] = true;
    }
}

bool HasSoftAlphaIn(const std::uint8_t* row, int count) {
    // Of 255 and 0 the next number has no bit above the lowest.
    std::uint8_t all = 0;
    for (std::size_t x = 0; x < static_cast<std::size_t>(count); ++x)
        all |= static_cast<std::uint8_t>(static_cast<std::uint8_t>(row[4 * x + 3] + 1) & 0xFE);
    return all != 0;
}

}  // namespace

bool HasAlphaBelowFull(const std::uint8_t* row, int count) {
    // Without a way out of the loop, so that it is vectorised.
    std::uint8_t all = shr::ALPHA_MAX;
    for (std::size_t x = 0; x < static_cast<std::size_t>(count); ++x) all &= row[4 * x + 3];
    return all != shr::ALPHA_MAX;
}

bool HasSoftAlpha(zbm::ZBitmap& bitmap, shr::IProgress& progress) {
    if (HasMask(bitmap.GetColorFormat())) return false;
    const shr::CScopedIProgressTask task(&progress, L"Examining pixels...");
    TileRows rows(bitmap);
    std::vector<std::uint8_t> row(std::size_t{4} * static_cast<unsigned>(rows.Width()));
    for (int y = 0; y < rows.Height(); ++y) {
        progress.SetProgress(static_cast<double>(y) / rows.Height());
        rows.Fetch(0, y, rows.Width(), row.data(), nullptr);
        if (HasSoftAlphaIn(row.data(), rows.Width())) return true;
    }
    return false;
}

bool BitmapFacts::IsTransparencyByIndex() const {
    for (std::size_t i = 0; i < opaqueIndices.size(); ++i) {
        if (opaqueIndices[i] && transparentIndices[i]) return false;
    }
    return true;
}

int BitmapFacts::LargestIndex() const {
    int index = 255;
    while (index >= 0 && !opaqueIndices[static_cast<std::size_t>(index)] &&
           !transparentIndices[static_cast<std::size_t>(index)]) {
        --index;
    }
    return index;
}

BitmapFacts LookAt(zbm::ZBitmap& bitmap, shr::IProgress& progress) {
    const shr::CScopedIProgressTask task(&progress, L"Examining pixels...");
    BitmapFacts facts;
    TileRows rows(bitmap);
    const shr::ColorFormat format = rows.Format();
    const int width = rows.Width();
    const auto size = static_cast<std::uint64_t>(width);
    std::vector<std::uint8_t> row(shr::RowBytes(size, format)), mask(shr::RowBytes(size, shr::GRAYSCALE_1));
    std::vector<std::uint8_t> values(IsIndexed(format) ? size : 0);
    for (int y = 0; y < rows.Height(); ++y) {
        progress.SetProgress(static_cast<double>(y) / rows.Height());
        rows.Fetch(0, y, width, row.data(), mask.data());
        const bool transparent =
            HasMask(format) ? HasClearBit(mask.data(), width) : HasAlphaBelowFull(row.data(), width);
        facts.hasTransparentPixels |= transparent;
        if (values.empty()) continue;
        ValuesOf(values.data(), row.data(), shr::ColorFmtToBPP[format], width);
        NoteIndices(facts, values.data(), mask.data(), !transparent, width);
    }
    return facts;
}

}  // namespace tool

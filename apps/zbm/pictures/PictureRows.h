#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "pictures/TileRows.h"
#include "shr/Color4b.h"

namespace tool {

/// The rows of a bitmap that a picture is written of: as they are, or laid over a background, which leaves no
/// transparent pixel.
///
/// Over a background grey stays grey of its depth, of 8 bits at least, if the background is grey too. All else becomes
/// BGR_24.
class PictureRows {
public:
    PictureRows(zbm::ZBitmap& source, std::optional<shr::Color4b> background);

    int Width() const noexcept { return rows.Width(); }
    int Height() const noexcept { return rows.Height(); }
    shr::ColorFormat Format() const noexcept { return format; }
    /// The first of always 256 entries.
    const shr::Color4b* ColorTable() const noexcept { return rows.ColorTable(); }

    /// All pixels of row y, and their mask unless that is null. A format without mask gives none.
    void Fetch(int y, std::uint8_t* pixels, std::uint8_t* mask);

private:
    void FetchGrey(std::uint8_t* pixels);

    TileRows rows;
    const std::optional<shr::Color4b> background;
    const shr::ColorFormat format;
    std::vector<std::uint8_t> sourceRow, sourceMask, colors;  // for laying over a background
};

}  // namespace tool

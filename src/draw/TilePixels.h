#pragma once
// The pixels of one tile after the other, as drawing takes them.
#include <cstdint>
#include <optional>

#include "core/LockedTile.h"
#include "core/TileReading.h"
#include "shr/ByteBuffer.h"
#include "zbm/ZBitmap.h"

namespace zbm {

/// Reads rectangles of tiles as BGRA: premultiplied if the bitmap is, straight if not. Where the format has no alpha,
/// the mask says what is opaque; the alpha of a colour table says nothing.
class TilePixels {
public:
    explicit TilePixels(const ZBitmap& bitmap);
    ~TilePixels();

    bool ArePremultiplied() const noexcept { return format == shr::PBGRA_32; }
    /// Whether all tiles can be reached at any time at no cost.
    bool AreAtHand() const noexcept { return reading != nullptr && reading->resident != nullptr; }

    /// Whether a tile can be taken up part by part at no more cost than at once.
    bool ComeInRows() const noexcept { return reading != nullptr && reading->loadRows != nullptr; }

    /// Takes up a tile, of which `part`, in the bitmap's pixels, will be read.
    void Begin(int row, int col, const RECT& part);
    /// Lets go of it.
    void End() noexcept { locked.reset(); }

    struct Row {
        const std::uint8_t* pixels;
        bool isOpaque;
    };
    /// Row `y` of the part, in the bitmap's pixels. Stays until another row is read.
    Row Read(int y);
    /// Row `y` of the part where it lies in its tile if that is BGRA, or BGRX, and opaque; else null.
    const std::uint8_t* FindOpaque(int y) const;
    /// Row `y` of the part as fine pixels.
    void Refine(int y, std::uint16_t* fine);
    /// The part as it lies in its tile, rows `stride` bytes apart: BGRA once the bits of `alpha` are set.
    struct StoredPixels {
        const std::uint8_t* first;
        std::ptrdiff_t stride;
        std::uint32_t alpha;
    };
    /// None if the format is another.
    std::optional<StoredPixels> Stored() const;
    /// How many rows of the part from `y` on, up to `end`, are opaque because the masks or the format say so.
    int CountOpaque(int y, int end) const;
    /// Writes rows of the part, all of them opaque, as BGRA.
    void Convert(int y, int rows, std::uint8_t* dst, std::ptrdiff_t stride);

private:
    bool IsMaskOpaque(int y) const;
    void FetchAhead(int y) const;
    const std::uint8_t* ReadFromBlock(int y);
    void ReadBlock(int y);
    /// The part's first pixel in a row of the tile, or up to 7 before it: where a byte begins.
    const std::uint8_t* RowAt(int y) const;
    int Lead() const noexcept;

    const ZBitmap& bitmap;
    const shr::ColorFormat format;
    const TileReading* const reading;
    const shr::Color4b* colorTable = nullptr;
    shr::Color4b opaqueColors[256];

    std::optional<LockedTile> locked;
    std::optional<ZScanRect> loaded;
    const ZScanRect* tile = nullptr;
    RECT box{}, part{};

    shr::ByteBuffer block;  ///< rows of the part, converted, from blockBegin to blockEnd
    int blockBegin = 0, blockEnd = 0;
};

}  // namespace zbm

#pragma once
// One picture in two bitmaps, one of which filters run over from tile to tile and the other line by line, and all that
// a host sees of a run. Pictures are thrown with dice.
#include <gtest/gtest.h>

#include "file/FileBitmapTesting.h"
#include "file/TileWays.h"
#include "filter/RandomPicture.h"

namespace testkit {

enum class BitmapKind { basic, withReductions, onFile };

/// Pixels, each with its mask above it.
using Lines = std::vector<std::vector<std::uint64_t>>;

inline Lines LinesOf(const zbm::ZBitmap& bitmap) {
    const bool hasMask = HasMask(bitmap.GetColorFormat());
    Lines lines(static_cast<std::size_t>(bitmap.GetPixelHeight()));
    for (auto& line : lines) line.resize(static_cast<std::size_t>(bitmap.GetPixelWidth()));
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const RECT box = bitmap.GetScanRectBBox(row, col);
            const zbm::LockedTile tile(bitmap, row, col);
            auto line = lines.begin() + box.top;
            for (int y = 0; y < tile->GetHeight(); ++y, ++line) {
                std::uint64_t* out = line->data() + box.left;
                const std::uint8_t* pixels = tile->GetRowPtr(y);
                const std::uint8_t* mask = hasMask ? tile->GetAlphaRowPtr(y) : nullptr;
                for (int x = 0; x < tile->GetWidth(); ++x)
                    *out++ = std::uint64_t{PixelAt(pixels, x, bitmap.GetColorFormat())} |
                             std::uint64_t{hasMask && MaskAt(mask, x)} << 32;
            }
        }
    return lines;
}

/// The first lines of the one and the others of the other.
inline Lines Joined(const Lines& first, int lines, const Lines& others) {
    Lines joined(first.begin(), first.begin() + lines);
    joined.insert(joined.end(), others.begin() + lines, others.end());
    return joined;
}

using Host = WatchingHost<&LinesOf>;

inline constexpr int kUnreported = 0, kToItsEnd = std::numeric_limits<int>::max();

/// What a host sees of a run: what that gives or raises, the picture at each report, and what is left.
struct Trace {
    std::string outcome;
    std::vector<double> reports;
    std::vector<Lines> seen;
    Lines left;
    bool hasLevels;  ///< still shows reductions of what it held before
};

template <class Run>
std::string OutcomeOrErrorOf(const Run& run) {
    try {
        return OutcomeOf(run);
    } catch (const shr::Exception& error) { return Describe(error); }
}

template <class Run>
Trace Traced(zbm::ZBitmap& bitmap, int cancelAt, const Run& run) {
    Host host(bitmap, cancelAt);
    const std::string outcome = OutcomeOrErrorOf([&] { return run(cancelAt == kUnreported ? nullptr : &host); });
    EXPECT_EQ(host.openTasks, 0);
    return {outcome, host.fractions, std::move(host.seen), LinesOf(bitmap), bitmap.GetPtrToPOTReduction(1) != nullptr};
}

/// High enough for some reports, in tiles of which some may be halved one by one.
inline Layout RandomShape(Dice& dice) {
    Layout layout = RandomLayout(dice);
    if (dice.OneIn(2)) layout.height = dice.Between(90, 330);
    if (dice.OneIn(2)) layout.tileWidth = 16 * dice.Between(1, 8);
    if (dice.OneIn(2)) layout.tileHeight = 2 * dice.Between(4, 60);
    layout.tileHeight = std::max(layout.tileHeight, 3);
    layout.type = BitmapClass::basic;
    return layout;
}

inline zbm::ZBasicMemBitmap RandomPicture(Dice& dice, const Layout& layout) {
    return std::move(*RandomBitmap(dice, layout));
}

class FilterWays : public FileBitmapTest {
protected:
    template <class Bitmap>
    static std::unique_ptr<zbm::ZBitmap> InMemoryAs(const zbm::ZBasicMemBitmap& picture) {
        auto bitmap =
            std::make_unique<Bitmap>(picture.GetPixelWidth(), picture.GetPixelHeight(), picture.GetColorFormat(),
                                     picture.GetScanRectWidth(), picture.GetScanRectHeight());
        StoreAll(picture, *bitmap);
        return bitmap;
    }
    /// The picture in a bitmap that filters run over that way.
    std::unique_ptr<zbm::ZBitmap> Made(const zbm::ZBasicMemBitmap& picture, BitmapKind kind, Way way) const {
        const bool byTiles = way == Way::tileByTile;
        switch (kind) {
            case BitmapKind::basic:
                return byTiles ? InMemoryAs<zbm::ZBasicMemBitmap>(picture)
                               : InMemoryAs<ByLines<zbm::ZBasicMemBitmap>>(picture);
            case BitmapKind::withReductions:
                return byTiles ? InMemoryAs<zbm::ZMemBitmap>(picture) : InMemoryAs<ByLines<zbm::ZMemBitmap>>(picture);
            default:
                if (byTiles) return OnFile<OpenFileBitmapByTiles>(scratch.File("tiles"), picture);
                return OnFile<OpenFileBitmap>(scratch.File("lines"), picture);
        }
    }
};

}  // namespace testkit

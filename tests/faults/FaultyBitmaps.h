#pragma once
// Small pictures of every kind that lives in memory, and what may be left of them when something fails.
#include <memory>
#include <utility>
#include <vector>

#include "shr/Archive.h"
#include "shr/Exception.h"
#include "support_code/FormulaPicture.h"
#include "support_code/Pixels.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace faults {

using shr::ColorFormat;
using testkit::kFormats;
using zbm::ZBasicMemBitmap;

/// Makes reductions by hand, so that they are copied, stored and loaded whatever builds them elsewhere.
class ReducedBitmap : public zbm::ZMemBitmap {
public:
    using ZMemBitmap::ZMemBitmap;

    void AddReduction(const ZBasicMemBitmap& level) {
        reductions.push_back(std::make_unique<ZBasicMemBitmap>(level));
        needsRebuild = false;
    }
    std::size_t Reductions() const { return reductions.size(); }
    const ZBasicMemBitmap& Reduction(std::size_t i) const { return *reductions[i]; }
    bool IsStale() const { return needsRebuild; }
};

inline std::size_t ReductionsOf(const ZBasicMemBitmap&) { return 0; }
inline std::size_t ReductionsOf(const ReducedBitmap& bitmap) { return bitmap.Reductions(); }

// 5 x 3 pixels in tiles of 4 x 2: whole tiles and the three kinds of smaller ones.
inline constexpr int kWidth = 5, kHeight = 3, kTileWidth = 4, kTileHeight = 2;

inline void AddReductions(ZBasicMemBitmap&) {}
inline void AddReductions(ReducedBitmap& bitmap) {
    ZBasicMemBitmap half = testkit::FormulaBitmap(3, 2, bitmap.GetColorFormat(), 2, 2);
    if (testkit::TableSize(half.GetColorFormat()) > 2) half.FillColorTable(half.GetConstColorTablePtr(), 2);
    bitmap.AddReduction(half);
    bitmap.AddReduction(testkit::FormulaBitmap(1, 1, shr::BGRA_32, 512, 512));
}

/// The picture of the formula, with two reductions where the kind holds such.
template <class Bitmap>
Bitmap MakePicture(ColorFormat format) {
    Bitmap bitmap(kWidth, kHeight, format, kTileWidth, kTileHeight);
    testkit::FillByFormula(bitmap);
    AddReductions(bitmap);
    return bitmap;
}

/// Another picture, for work that replaces what a bitmap held.
template <class Bitmap>
Bitmap MakeOtherPicture() {
    Bitmap bitmap(7, 7, shr::GRAYSCALE_8, 7, 7);
    testkit::FillByFormula(bitmap);
    AddReductions(bitmap);
    return bitmap;
}

inline testing::AssertionResult IsSamePicture(const ZBasicMemBitmap& a, const ZBasicMemBitmap& b) {
    return testkit::AreEqual(a, b);
}
inline testing::AssertionResult IsSamePicture(const ReducedBitmap& a, const ReducedBitmap& b) {
    if (a.Reductions() != b.Reductions()) return testing::AssertionFailure() << a.Reductions() << " reductions";
    for (std::size_t i = 0; i < a.Reductions(); ++i)
        if (const auto same = testkit::AreEqual(a.Reduction(i), b.Reduction(i)); !same) return same;
    return testkit::AreEqual(a, b);
}

/// No format, no tiles, no colours: what a failed creation leaves.
inline testing::AssertionResult IsEmpty(const ZBasicMemBitmap& bitmap) {
    if (bitmap.GetColorFormat() == shr::FORMAT_NONE && bitmap.GetNumScanRectRows() == 0 &&
        bitmap.GetNumColorTableItems() == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "format " << bitmap.GetColorFormat() << ", " << bitmap.GetNumScanRectRows()
                                       << " rows, " << bitmap.GetNumColorTableItems() << " colours";
}

/// What a cancelled load leaves: 1 x 1 of format BGRA_32 with a tile.
inline testing::AssertionResult IsOnePixel(const ZBasicMemBitmap& bitmap) {
    return testkit::AreEqual(bitmap, ZBasicMemBitmap(1, 1, shr::BGRA_32, 512, 512));
}

/// Whether a new picture can be made in the bitmap at once.
inline testing::AssertionResult IsUsable(ZBasicMemBitmap& bitmap) {
    bitmap.Create(3, 2, shr::GRAYSCALE_4, 2, 2);
    testkit::FillByFormula(bitmap);
    return testkit::IsFormulaPicture(bitmap);
}

/// Whether every tile that the layout promises is there.
inline bool HasAllTiles(const ZBasicMemBitmap& bitmap) {
    try {
        for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
            for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
                bitmap.LockScanRect(row, col);
                bitmap.UnlockScanRect(row, col);
            }
    } catch (const shr::InternalError&) { return false; }
    return true;
}

enum class Reductions : bool { leftOut, stored };
using Bytes = std::vector<std::uint8_t>;

inline Bytes Stored(ZBasicMemBitmap& bitmap, zcdl::CodecMethod method, Reductions reductions = Reductions::stored) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, reductions == Reductions::stored, method);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    return archive.Bytes();
}

template <class Archive>
bool Load(ZBasicMemBitmap& bitmap, Archive& archive, shr::IProgress* progress = nullptr) {
    zbm::SerializeIO io(archive, true);
    return bitmap.Serialize(io, progress, nullptr);
}

}  // namespace faults

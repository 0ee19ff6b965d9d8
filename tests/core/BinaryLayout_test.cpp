// Fields stand where applications that were compiled before expect them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "core/OpenBitmaps.h"
#include "shr/Archive.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZCachedBitmap.h"
#include "zbm/ZPOTCFileBitmap.h"

namespace {

std::ptrdiff_t Distance(const void* from, const void* to) {
    return static_cast<const char*>(to) - static_cast<const char*>(from);
}

struct TileImage {
    std::int32_t width, height;
    shr::ColorFormat colorFormat;
    std::uint32_t stride;
    shr::ByteBuffer pixels;
    std::vector<std::uint8_t*> rowPtrs;
    shr::ByteBuffer alpha;
    std::int32_t alphaStride;
    std::vector<std::uint8_t*> alphaRowPtrs;
};

/// A tile's bytes, looked at as the fields that should be there. They own nothing.
class TileView {
public:
    explicit TileView(const zbm::ZScanRect& tile) {
        std::memcpy(storage, static_cast<const void*>(&tile), sizeof storage);
    }
    const TileImage& Image() const { return *std::launder(reinterpret_cast<const TileImage*>(storage)); }

private:
    static_assert(sizeof(TileImage) == sizeof(zbm::ZScanRect));
    alignas(TileImage) unsigned char storage[sizeof(TileImage)];
};

TEST(BinaryLayout, OfATile) {
    zbm::ZScanRect tile(35, 3, shr::INDEXED_4);
    const TileView view(tile);
    const TileImage& image = view.Image();
    EXPECT_EQ(image.width, 35);
    EXPECT_EQ(image.height, 3);
    EXPECT_EQ(image.colorFormat, shr::INDEXED_4);
    EXPECT_EQ(image.stride, 20u);
    EXPECT_EQ(image.pixels.Data(), tile.GetRowPtr(2));
    ASSERT_EQ(image.rowPtrs.size(), 3u);
    EXPECT_EQ(image.rowPtrs[0], tile.GetRowPtr(0));
    EXPECT_EQ(image.alpha.Data(), tile.GetAlphaRowPtr(2));
    EXPECT_EQ(image.alphaStride, 8);
    ASSERT_EQ(image.alphaRowPtrs.size(), 3u);
    EXPECT_EQ(image.alphaRowPtrs[0], tile.GetAlphaRowPtr(0));
}

TEST(BinaryLayout, OfATileWithoutMask) {
    zbm::ZScanRect tile(2, 2, shr::BGRA_32);
    const TileView view(tile);
    const TileImage& image = view.Image();
    EXPECT_TRUE(image.alpha.IsEmpty());
    EXPECT_EQ(image.alphaStride, 0);
    EXPECT_TRUE(image.alphaRowPtrs.empty());
}

TEST(BinaryLayout, OfABitmap) {
    testkit::OpenBitmap open;
    open.Init(11, 22, shr::INDEXED_8, 33, 44);
    open.ZBitmap::SetXResolution(55);
    open.ZBitmap::SetYResolution(66);
    const shr::Color4b color(1, 2, 3, 4);
    open.ZBitmap::FillColorTable(&color, 1);

    const zbm::ZBitmap* bitmap = &open;
    std::int32_t values[8];
    std::memcpy(values, reinterpret_cast<const char*>(bitmap) + sizeof(void*), sizeof values);
    EXPECT_EQ(std::vector<std::int32_t>(values, values + 8), (std::vector<std::int32_t>{11, 22, 33, 44, 55, 66, 8, 1}));
    EXPECT_EQ(Distance(bitmap, open.colorTable), static_cast<std::ptrdiff_t>(sizeof(void*) + 8 * 4));
    EXPECT_EQ(Distance(open.colorTable, &open.scanRectRows), 256 * 4);
    EXPECT_EQ(sizeof(zbm::ZBitmap), sizeof(void*) + 8 * 4 + 256 * 4 + sizeof(std::vector<int>));
}

TEST(BinaryLayout, OfABitmapInMemory) {
    testkit::OpenBasicMemBitmap open(2, 2, shr::BGRA_32);
    const zbm::ZBasicMemBitmap* bitmap = &open;
    EXPECT_EQ(Distance(bitmap, &open.filterState.inputRowCopy), static_cast<std::ptrdiff_t>(sizeof(zbm::ZBitmap)));
    EXPECT_EQ(Distance(&open.filterState.inputRowCopy, &open.filterState.currentInputRow),
              static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_EQ(Distance(&open.filterState.currentInputRow, &open.filterState.inputRect), 4);
    EXPECT_GT(Distance(&open.filterState.inputRect, &open.filterState.inputLine), 0);
    const auto vectorBytes = static_cast<std::ptrdiff_t>(sizeof(std::vector<int>));
    EXPECT_EQ(Distance(&open.filterState.inputLine, &open.filterState.outputLine), vectorBytes);
    EXPECT_EQ(Distance(&open.filterState.outputLine, &open.filterState.outputLine32), vectorBytes);
    EXPECT_EQ(Distance(&open.filterState.outputLine32, &open.filterState.inputLine32), vectorBytes);
    EXPECT_EQ(Distance(&open.filterState.inputLine32, &open.filterState.inputBitmap), vectorBytes);
    EXPECT_EQ(Distance(&open.filterState.inputBitmap, &open.filterState.awaitedInputLine),
              static_cast<std::ptrdiff_t>(sizeof(void*)));
    EXPECT_EQ(Distance(bitmap, &open.filterState.awaitedInputLine) + 8,
              static_cast<std::ptrdiff_t>(sizeof(zbm::ZBasicMemBitmap)));
}

TEST(BinaryLayout, OfABitmapWithReductions) {
    testkit::OpenMemBitmap open(2, 2, shr::BGRA_32);
    const zbm::ZMemBitmap* bitmap = &open;
    EXPECT_EQ(Distance(bitmap, &open.needsRebuild), static_cast<std::ptrdiff_t>(sizeof(zbm::ZBasicMemBitmap)));
    EXPECT_EQ(Distance(bitmap, &open.reductions),
              static_cast<std::ptrdiff_t>(sizeof(zbm::ZBasicMemBitmap) + sizeof(void*)));
}

/// Opens the fields of bitmaps in files.
struct FieldsInFile : zbm::ZScanRectFileBitmap {
    FieldsInFile() : ZScanRectFileBitmap(L"", L"", false) {}

    /// From the object's beginning, one behind the other.
    std::vector<std::ptrdiff_t> OfAnyFile() const {
        return {Distance(this, &fileOpen), Distance(this, &fileName), Distance(this, &readOnly),
                Distance(this, &filterState), Distance(this, &outputRowState)};
    }
    std::vector<std::ptrdiff_t> OfItsOwn() const {
        return {
            Distance(this, &tempDir),           Distance(this, &tempFile),      Distance(this, &currentTempFilename),
            Distance(this, &keepTempFile),      Distance(this, &file),          Distance(this, &version),
            Distance(this, &infoTablePosition), Distance(this, &fileInfoTable), Distance(this, &store),
            Distance(this, &reductionsStale),   Distance(this, &reductions)};
    }
};

TEST(BinaryLayout, OfABitmapInAFile) {
    const FieldsInFile bitmap;
    const std::vector<std::ptrdiff_t> base = bitmap.OfAnyFile(), own = bitmap.OfItsOwn();
    EXPECT_EQ(base.front(), static_cast<std::ptrdiff_t>(sizeof(zbm::ZBitmap)));
    EXPECT_TRUE(std::is_sorted(base.begin(), base.end()));
    EXPECT_EQ(own.front(), static_cast<std::ptrdiff_t>(sizeof(zbm::ZFileBitmap)));
    EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
    EXPECT_GT(own.front(), base.back());
    EXPECT_EQ(sizeof(zbm::ZCachedBitmap), sizeof(zbm::ZScanRectFileBitmap)) << "it adds nothing";
}

TEST(BinaryLayout, OfAStream) {
    struct StreamImage {
        shr::ISerialize* archive;
        void* encoder;
        void* decoder;
        bool storePOTReductions;
        shr::ISerializeExtent* extent;
        std::uint64_t damagedBlocks;
    };
    static_assert(sizeof(StreamImage) == sizeof(zbm::SerializeIO));
    shr::MemoryArchive archive;
    for (const bool withReductions : {false, true}) {
        const zbm::SerializeIO io(archive, withReductions);
        StreamImage image{};
        std::memcpy(static_cast<void*>(&image), &io, sizeof image);
        EXPECT_EQ(image.archive, &archive);
        EXPECT_EQ(image.extent, &archive);
        EXPECT_EQ(image.damagedBlocks, 0u);
        EXPECT_NE(image.encoder, nullptr);
        EXPECT_NE(image.decoder, nullptr);
        EXPECT_EQ(image.storePOTReductions, withReductions);
    }
}

}  // namespace

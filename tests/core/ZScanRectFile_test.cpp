// The tile's record in a file: pixel rows bottom-up, then mask rows, and nothing else.
#include <gtest/gtest.h>

#include <vector>

#include "shr/BufferedFile.h"
#include "shr/Exception.h"
#include "support_code/Pixels.h"
#include "support_code/ScratchFolder.h"
#include "zbm/ZScanRect.h"

namespace {

using shr::CBufferedFile;
using zbm::ZScanRect;

class TileInFile : public testing::Test {
protected:
    void SetUp() override {
        file.Open(scratch.File("tile"), shr::FileAccess::readWrite, shr::FileMode::createNew, shr::FileSharing::none);
    }
    std::vector<std::uint8_t> WholeFile() {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.GetLength()));
        file.Seek(0);
        file.ReadExactly(bytes.data(), bytes.size());
        return bytes;
    }

    testkit::ScratchFolder scratch;
    CBufferedFile file;
};

TEST_F(TileInFile, HoldsPixelRowsBottomUpThenMaskRowsBottomUp) {
    ZScanRect tile(3, 2, shr::BGR_24);
    for (int x = 0; x < 12; ++x) {
        tile.GetRowPtr(0)[x] = static_cast<std::uint8_t>(0x10 + x);  // the last three bytes are padding
        tile.GetRowPtr(1)[x] = static_cast<std::uint8_t>(0x50 + x);
    }
    for (int x = 0; x < 4; ++x) tile.GetAlphaRowPtr(0)[x] = static_cast<std::uint8_t>(0xA0 + x);
    tile.Write(file);
    const std::vector<std::uint8_t> expected = {
        0x50, 0x51, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B,  // row 1
        0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B,  // row 0
        0xFF, 0xFF, 0xFF, 0xFF,                                                  // mask of row 1
        0xA0, 0xA1, 0xA2, 0xA3,                                                  // mask of row 0
    };
    EXPECT_EQ(WholeFile(), expected);
}

TEST_F(TileInFile, HoldsNoMaskForAFormatWithAlphaChannel) {
    ZScanRect tile(1, 2, shr::RGBA_32);
    for (int k = 0; k < 4; ++k) {
        tile.GetRowPtr(0)[k] = static_cast<std::uint8_t>(1 + k);
        tile.GetRowPtr(1)[k] = static_cast<std::uint8_t>(5 + k);
    }
    tile.Write(file);
    EXPECT_EQ(WholeFile(), (std::vector<std::uint8_t>{5, 6, 7, 8, 1, 2, 3, 4}));
}

TEST_F(TileInFile, TakesExactlyTheBytesOfItsBlocksAndComesBackInEveryFormat) {
    for (const shr::ColorFormat format : testkit::kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        constexpr int kWidth = 35, kHeight = 6;
        const int rowBytes = testkit::PaddedRowBytes(kWidth, testkit::BitsPerPixel(format));
        const int maskRowBytes = testkit::HasMask(format) ? testkit::PaddedRowBytes(kWidth, 1) : 0;
        ZScanRect tile(kWidth, kHeight, format), back(kWidth, kHeight, format);
        for (int row = 0; row < kHeight; ++row) {
            for (int i = 0; i < rowBytes; ++i) tile.GetRowPtr(row)[i] = static_cast<std::uint8_t>(31 * row + 7 * i);
            for (int i = 0; i < maskRowBytes; ++i)
                tile.GetAlphaRowPtr(row)[i] = static_cast<std::uint8_t>(17 * row + 3 * i);
        }
        const std::int64_t start = file.GetPosition();
        tile.Write(file);
        EXPECT_EQ(file.GetPosition() - start, kHeight * (rowBytes + maskRowBytes));
        const std::uint8_t* row0 = back.GetRowPtr(0);
        file.Seek(start);
        back.Read(file);
        EXPECT_EQ(file.GetPosition() - start, kHeight * (rowBytes + maskRowBytes));
        EXPECT_EQ(back.GetRowPtr(0), row0) << "reads into the memory that is there";
        for (int row = 0; row < kHeight; ++row) {
            EXPECT_TRUE(std::equal(tile.GetRowPtr(row), tile.GetRowPtr(row) + rowBytes, back.GetRowPtr(row)));
            if (maskRowBytes > 0) {
                EXPECT_TRUE(std::equal(tile.GetAlphaRowPtr(row), tile.GetAlphaRowPtr(row) + maskRowBytes,
                                       back.GetAlphaRowPtr(row)));
            }
        }
    }
}

TEST_F(TileInFile, IsReadWithTheReadersShapeSinceItHoldsNone) {
    ZScanRect tile(10, 10, shr::BGRA_32), smaller(2, 3, shr::GRAYSCALE_8);
    tile.GetRowPtr(9)[0] = 99;
    tile.Write(file);
    file.Seek(0);
    smaller.Read(file);
    EXPECT_EQ(file.GetPosition(), 3 * 4 + 3 * 4);
    EXPECT_EQ(smaller.GetRowPtr(2)[0], 99);
    EXPECT_EQ(smaller.GetWidth(), 2);
}

TEST_F(TileInFile, ThatIsCutShortRaisesTheFilesError) {
    ZScanRect tile(10, 10, shr::BGR_24), larger(11, 10, shr::BGR_24);
    tile.Write(file);
    file.Seek(0);
    EXPECT_THROW(larger.Read(file), shr::Exception);
}

}  // namespace

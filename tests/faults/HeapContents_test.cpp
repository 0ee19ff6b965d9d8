// What lay in the heap before never shows in pixels, records or archives.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "faults/FaultyBitmaps.h"
#include "shr/BufferedFile.h"
#include "shr/ByteBuffer.h"
#include "shr/Dib.h"
#include "support_code/ScratchFolder.h"

namespace faults {
namespace {

using zbm::ZScanRect;

// The second is what the address sanitizer puts into fresh memory.
constexpr std::uint8_t kSecret = 0xD7, kFresh = 0xBE;

/// Fills blocks of all sizes that tiles here take with the secret, and gives them back to the heap.
void FillHeapWithSecrets() {
    std::vector<shr::ByteBuffer> blocks;
    for (std::uint64_t size = 8; size <= 1024; size += 8)
        for (int i = 0; i < 4; ++i) {
            blocks.push_back(shr::ByteBuffer::Uninitialized(size));
            std::memset(blocks.back().Data(), kSecret, blocks.back().Size());
        }
}

bool Shows(const std::uint8_t* bytes, std::size_t count) {
    return std::any_of(bytes, bytes + count, [](std::uint8_t byte) { return byte == kSecret || byte == kFresh; });
}
bool Shows(const Bytes& bytes) { return Shows(bytes.data(), bytes.size()); }

/// Looks at whole rows, padding included.
bool Shows(const ZScanRect& tile) {
    for (int y = 0; y < tile.GetHeight(); ++y) {
        if (Shows(tile.GetRowPtr(y), static_cast<std::size_t>(-tile.GetStride()))) return true;
        if (tile.GetAlphaStride() != 0 &&
            Shows(tile.GetAlphaRowPtr(y), static_cast<std::size_t>(-tile.GetAlphaStride())))
            return true;
    }
    return false;
}

bool Shows(const zbm::ZBitmap& bitmap) {
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const bool shows = Shows(bitmap.LockScanRect(row, col));
            bitmap.UnlockScanRect(row, col);
            if (shows) return true;
        }
    return false;
}

// Widths of every kind of padding.
constexpr int kWidths[] = {1, 3, 5, 7, 9, 13, 31, 33};

template <class Use>
void ForEachShape(Use use) {
    for (const ColorFormat format : kFormats)
        for (const int width : kWidths) {
            SCOPED_TRACE(testkit::FormatName(format) + " " + std::to_string(width));
            FillHeapWithSecrets();
            use(format, width);
        }
}

// Without this the tests below would prove nothing.
TEST(HeapContents, AreThereToBeSeen) {
    FillHeapWithSecrets();
    const shr::ByteBuffer fresh = shr::ByteBuffer::Uninitialized(200);
    EXPECT_TRUE(Shows(fresh.Data(), fresh.Size()));
}

TEST(HeapContents, DoNotShowInANewTileOrItsCopies) {
    ForEachShape([](ColorFormat format, int width) {
        const ZScanRect tile(width, 3, format);
        EXPECT_FALSE(Shows(tile));
        FillHeapWithSecrets();
        const ZScanRect copy(tile);
        EXPECT_FALSE(Shows(copy));
        FillHeapWithSecrets();
        ZScanRect assigned(2, 2, shr::GRAYSCALE_16);
        assigned = tile;
        EXPECT_FALSE(Shows(assigned));
    });
}

TEST(HeapContents, DoNotShowInATilesFileRecord) {
    const testkit::ScratchFolder folder;
    const shr::ZString name = folder.File("record");
    ForEachShape([&](ColorFormat format, int width) {
        shr::CBufferedFile file;
        file.Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
        ZScanRect(width, 3, format).Write(file);
        Bytes record(static_cast<std::size_t>(file.GetLength()));
        ASSERT_GE(record.size(), 3u * 4u);
        file.Seek(0);
        file.ReadExactly(record.data(), record.size());
        EXPECT_FALSE(Shows(record));
    });
}

TEST(HeapContents, DoNotShowInANewBitmapItsCopiesOrItsArchive) {
    ForEachShape([](ColorFormat format, int width) {
        ZBasicMemBitmap bitmap(width, 3, format, 4, 2);
        const std::uint32_t pixel = 0x11111111;
        bitmap.StoreRegion(reinterpret_cast<const std::uint8_t*>(&pixel), 4, 0, 0, 1, 1);
        EXPECT_FALSE(Shows(bitmap));
        FillHeapWithSecrets();
        const ZBasicMemBitmap copy(bitmap);
        EXPECT_FALSE(Shows(copy));
        FillHeapWithSecrets();
        EXPECT_FALSE(Shows(Stored(bitmap, zcdl::CodecMethod::stored)));
    });
}

/// Fills whole rows, padding and masks included, as one who holds a tile may.
void FillWithSecrets(zbm::ZBitmap& bitmap) {
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            ZScanRect& tile = bitmap.LockScanRect(row, col);
            for (int y = 0; y < tile.GetHeight(); ++y) {
                std::memset(tile.GetRowPtr(y), kSecret, static_cast<std::size_t>(-tile.GetStride()));
                if (tile.GetAlphaStride() != 0)
                    std::memset(tile.GetAlphaRowPtr(y), kSecret, static_cast<std::size_t>(-tile.GetAlphaStride()));
            }
            bitmap.UnlockScanRect(row, col);
        }
}

// Whether a bitmap of the same shape stood there before, whose memory may be taken, or another.
TEST(HeapContents, DoNotShowInWhatIsCreatedInThePlaceOfAnother) {
    ForEachShape([](ColorFormat format, int width) {
        const ColorFormat other = format == shr::BGRA_32 ? shr::BGR_24 : shr::BGRA_32;
        ZBasicMemBitmap same(width, 3, format), inOther(width, 3, other), result(1, 1, shr::BGRA_32);
        for (int time = 0; time < 3; ++time) {
            const auto expectClean = [&](const char* what) {
                EXPECT_FALSE(Shows(result)) << what;
                EXPECT_FALSE(Shows(Stored(result, zcdl::CodecMethod::stored))) << what;
                FillWithSecrets(result);
                FillHeapWithSecrets();
            };
            result.Create(width, 3, format);
            expectClean("of a size");
            ASSERT_TRUE(result.Create(same, nullptr));
            expectClean("a copy");
            ASSERT_TRUE(result.Create(format, inOther, nullptr));
            expectClean("in another format");
            ASSERT_TRUE(result.Create(width, 3, same, {0, 0, 1, 3}, zbm::ResizeBilinear, nullptr));
            expectClean("in another size");
        }
    });
}

TEST(HeapContents, DoNotShowInWhatAFilterMakesOrInReductions) {
    ForEachShape([](ColorFormat format, int width) {
        ReducedBitmap bitmap(width + 34, 40, format, 16, 16);
        ASSERT_TRUE(bitmap.MedianFilter(3, nullptr));
        EXPECT_FALSE(Shows(bitmap));
        for (int time = 0; time < 2; ++time) {
            ASSERT_TRUE(bitmap.CommitAll(nullptr, true));
            ASSERT_EQ(bitmap.Reductions(), 1u);
            EXPECT_FALSE(Shows(bitmap.Reduction(0)));
            FillWithSecrets(*bitmap.GetPtrToPOTReduction(1));
        }
    });
}

// The padding of the source's rows is the caller's heap, and no pixels either.
TEST(HeapContents, DoNotShowInWhatComesFromADib) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32})
        for (const int width : kWidths) {
            SCOPED_TRACE(std::to_string(bitCount) + " bits, width " + std::to_string(width));
            BITMAPINFOHEADER header{};
            header.biSize = sizeof header;
            header.biWidth = width;
            header.biHeight = 3;
            header.biPlanes = 1;
            header.biBitCount = static_cast<WORD>(bitCount);
            const auto rowBytes = static_cast<std::size_t>(testkit::PaddedRowBytes(width, bitCount));
            const std::size_t pixelBits = static_cast<std::size_t>(bitCount * width);
            Bytes bits(3 * rowBytes, kSecret);
            for (std::size_t row = 0; row < 3; ++row)
                for (std::size_t bit = 0; bit < pixelBits; ++bit)
                    bits[row * rowBytes + bit / 8] =
                        static_cast<std::uint8_t>(bits[row * rowBytes + bit / 8] & ~(0x80 >> bit % 8));

            FillHeapWithSecrets();
            ZScanRect tile(width, 3, shr::BGRX_32);
            tile.CopyFromDib(&header, bits.data(), 0, 0);
            for (int y = 0; y < 3; ++y) {
                // All pixels are 0 (opaque ones of 32 bits end in 255), and so is what follows them in the row.
                const std::uint8_t* row = tile.GetRowPtr(y);
                for (std::size_t i = 0; i < static_cast<std::size_t>(-tile.GetStride()); ++i)
                    EXPECT_EQ(row[i], bitCount == 32 && i % 4 == 3 ? 255 : 0) << "byte " << i << " of row " << y;
            }
            shr::MemoryArchive archive;
            zbm::SerializeIO io(archive, false, zcdl::CodecMethod::stored);
            tile.Serialize(io);
            EXPECT_FALSE(Shows(archive.Bytes()));
        }
}

TEST(HeapContents, DoNotShowInALoadedBitmapWhoseBlocksAreDamaged) {
    constexpr zcdl::CodecMethod methods[] = {zcdl::CodecMethod::stored, zcdl::CodecMethod::fast,
                                             zcdl::CodecMethod::balanced, zcdl::CodecMethod::small};
    for (const zcdl::CodecMethod method : methods)
        for (const ColorFormat format : kFormats) {
            SCOPED_TRACE(testkit::FormatName(format));
            ZBasicMemBitmap blank(33, 3, format, 33, 3);
            const Bytes whole = Stored(blank, method);
            for (std::size_t i = 0; i < whole.size(); ++i)
                for (const std::uint8_t change : {std::uint8_t{0xFF}, std::uint8_t{1}}) {
                    Bytes bytes = whole;
                    bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ change);
                    FillHeapWithSecrets();
                    ZBasicMemBitmap bitmap(1, 1, shr::BGRA_32);
                    shr::MemoryArchive archive(bytes);
                    try {
                        if (!Load(bitmap, archive)) continue;
                    } catch (const shr::Exception&) { continue; }
                    // (A turned byte may be a secret itself.)
                    if (!Shows(bytes)) { EXPECT_FALSE(Shows(bitmap)) << "byte " << i; }
                }
        }
}

TEST(HeapContents, DoNotShowInANewDib) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32})
        for (const int width : kWidths) {
            FillHeapWithSecrets();
            shr::CDib dib;
            dib.Create(width, 3, bitCount, 0, nullptr, nullptr, -1, -1);
            EXPECT_FALSE(Shows(dib.GetWritableBits(), static_cast<std::size_t>(dib.GetStride()) * 3));
            for (unsigned i = 0; i < dib.GetNumColors(); ++i) {
                const RGBQUAD& color = dib.GetColors()[i];
                EXPECT_EQ(color.rgbBlue | color.rgbGreen | color.rgbRed | color.rgbReserved, 0);
            }
        }
}

}  // namespace
}  // namespace faults

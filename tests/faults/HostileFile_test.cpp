// Files of bitmaps that somebody changed at will: opened, read to the last tile of every level, worked on, saved and
// opened again. A program of its own, of which ZBM_HOSTILE_FILES=100000 makes many more.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>

#include "core/checks/ScanRectFileBitmapChecks.h"
#include "faults/HeapMeter.h"
#include "file/FileBitmapTesting.h"
#include "support_code/AsanOptions.h"
#include "zpixf/ZPixfConvolution.h"

namespace faults {
namespace {

using namespace testkit;

constexpr double kMostPixels = 1 << 21;  // of what is read: a host looks at the size before it asks for a tile

/// Seeds and changes, each of which follows from its number.
class HostileFiles {
public:
    explicit HostileFiles(const ScratchFolder& scratch) {
        const shr::ZString name = scratch.File("seed");
        for (const auto& [format, width, height, tileWidth, tileHeight] : kSeeds) {
            const auto bitmap = OnFile(name, FormulaBitmap(width, height, format, tileWidth, tileHeight));
            EXPECT_TRUE(bitmap->CommitAll(nullptr));
            bitmap->Close();
            seeds.push_back(ReadWhole(name));
        }
        OpenFileBitmap empty;
        empty.CreateEmpty(name, 1100, 600, shr::INDEXED_8);
        empty.Close();
        seeds.push_back(ReadWhole(name));
    }

    Bytes Make(unsigned number) {
        random.seed(number);
        Bytes file = seeds[Below(seeds.size())];
        for (std::size_t changes = 1 + Below(4); changes > 0 && !file.empty(); --changes) Change(file);
        return file;
    }
    std::size_t Below(std::size_t limit) { return random() % limit; }

private:
    struct Seed {
        ColorFormat format;
        int width, height, tileWidth, tileHeight;
    };
    static constexpr Seed kSeeds[] = {{shr::BGR_24, 70, 60, 30, 25},      {shr::INDEXED_4, 40, 36, 20, 12},
                                      {shr::GRAYSCALE_1, 99, 90, 64, 50}, {shr::PBGRA_32, 33, 40, 512, 512},
                                      {shr::GRAYSCALE_16, 64, 64, 8, 64}, {shr::INDEXED_8, 50, 17, 16, 16}};

    /// The numbers that most depends on stand before the tiles.
    std::size_t Place(const Bytes& file) {
        constexpr std::size_t kHeads = 3200;
        return Below(Below(4) == 0 ? file.size() : std::min(file.size(), kHeads));
    }
    std::uint64_t Number(const Bytes& file) {
        constexpr std::uint64_t kNumbers[] = {
            0,   1,   2,   3,   9,    13,   0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x7FFFFFFFFFFFFFFF,
            509, 511, 512, 513, 2577, 3086, 1313};
        const std::size_t i = Below(std::size(kNumbers) + 4);
        if (i < std::size(kNumbers)) return kNumbers[i];
        return i % 2 == 0 ? file.size() - Below(40) + 20 : Below(file.size());
    }
    void Put(Bytes& file, std::size_t place, std::uint64_t number, std::size_t count) const {
        for (std::size_t i = 0; i < count && place + i < file.size(); ++i)
            file[place + i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
    void Change(Bytes& file) {
        const std::size_t place = Place(file);
        switch (Below(9)) {
            case 0: file[place] = static_cast<std::uint8_t>(file[place] ^ 1u << Below(8)); break;
            case 1: file[place] = static_cast<std::uint8_t>(random()); break;
            case 2: Put(file, place, Number(file), 4); break;
            case 3: Put(file, place, Number(file), 8); break;
            case 4: Put(file, 509 + 49 + 4 * Below(6), Number(file), 4); break;  // size, tiles, format, colours
            case 5: Put(file, 3086 + 4 * Below(40), Number(file), 8); break;     // where tiles are
            case 6: Put(file, 49 + 4 * Below(9), Number(file), 8); break;        // where levels are
            case 7: file.resize(Below(8) == 0 ? place : file.size() + Below(5000)); break;
            default: {
                const Bytes& other = seeds[Below(seeds.size())];
                const std::size_t from = Below(other.size()), count = Below(300);
                for (std::size_t i = 0; i < count && from + i < other.size() && place + i < file.size(); ++i)
                    file[place + i] = other[from + i];
            }
        }
    }

    std::vector<Bytes> seeds;
    std::mt19937 random;
};

bool IsSmall(const zbm::ZBitmap& bitmap) {
    const auto pixels = [](int width, int height) { return static_cast<double>(width) * height; };
    return pixels(bitmap.GetPixelWidth(), bitmap.GetPixelHeight()) < kMostPixels &&
           pixels(bitmap.GetScanRectWidth(), bitmap.GetScanRectHeight()) < kMostPixels;
}

class HostileFile : public FileBitmapTest {
protected:
    /// Opens it or is refused by a stated error; then nothing is open.
    void Open(OpenFileBitmap& bitmap, bool readOnly) {
        try {
            bitmap.Open(name, readOnly);
        } catch (const shr::InternalError& error) {
            EXPECT_TRUE(IsAt(error, zbm::ScanRectFileBitmapCheck::openedLevelCount)) << Describe(error);
        } catch (const shr::Exception& error) {
            EXPECT_NE(error.GetMessageText().Wide().find(name.Wide()), std::wstring::npos) << Describe(error);
        }
        EXPECT_TRUE(bitmap.IsFileOpen() || IsClosed(bitmap));
    }

    /// Tiles that are missing in a file opened for reading are refused, each for itself.
    void ReadAll(const zbm::ZBitmap& bitmap, bool readOnly) {
        if (!IsSmall(bitmap)) return;
        for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
            for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
                try {
                    const zbm::LockedTile tile(bitmap, row, col);
                    EXPECT_EQ(tile->GetColorFormat(), bitmap.GetColorFormat());
                } catch (const shr::InternalError& error) {
                    ADD_FAILURE() << Describe(error);
                } catch (const shr::Exception& error) { EXPECT_TRUE(readOnly) << Describe(error); }
            }
    }

    /// What opened for writing is like any other. (Of a palette without colours nothing can be said.)
    void WorkOn(OpenFileBitmap& bitmap) {
        const bool lacksColors = TableSize(bitmap.GetColorFormat()) > 0 && bitmap.GetNumColorTableItems() == 0;
        if (lacksColors || !IsSmall(bitmap)) return;
        if (bitmap.GetPixelWidth() > 0 && bitmap.GetPixelHeight() > 0) {
            EXPECT_TRUE(bitmap.ChangeBrightness(0.2, nullptr));
            EXPECT_TRUE(bitmap.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr));
        }
        EXPECT_TRUE(bitmap.CommitAll(nullptr, true));
        bitmap.Close();
        Open(bitmap, false);
        EXPECT_TRUE(bitmap.IsFileOpen()) << "what was written here opens";
    }

    void TryFile(const Bytes& bytes, bool readOnly) {
        WriteWhole(name, bytes);
        ResetRequests();
        Open(used, readOnly);
        EXPECT_LE(RequestsSinceReset().peak, static_cast<std::int64_t>(32 * bytes.size() + (1 << 20))) << "to open it";
        if (used.IsFileOpen()) {
            ++opened;
            ReadAll(used, readOnly);
            for (const auto& level : used.reductions) ReadAll(*level, readOnly);
            if (!readOnly) WorkOn(used);
        }
        used.Close();
        constexpr std::int64_t kMostBytes = 96 << 20;  // two rows of tiles of the largest picture that is read
        EXPECT_LE(RequestsSinceReset().peak, kMostBytes);
        most = std::max(most, RequestsSinceReset().peak);
    }

    void ExpectUsable() {
        shr::RemoveFile(name);  // emptying an old file makes some file systems write at once
        used.CreateSkeleton(name, 20, 30, shr::BGR_24, 16, 16);
        StoreAll(FormulaBitmap(30, 20, shr::BGR_24, 16, 16), used);
        EXPECT_TRUE(IsEqual(used, FormulaBitmap(30, 20, shr::BGR_24, 16, 16)));
        used.Close();
    }

    OpenFileBitmap used;
    std::size_t opened = 0;
    std::int64_t most = 0;
};

TEST_F(HostileFile, IsRefusedOrReadAndWorkedOnInBoundedMemory) {
    const char* const wanted = std::getenv("ZBM_HOSTILE_FILES");
    const unsigned count = wanted == nullptr ? 3000 : static_cast<unsigned>(std::atoi(wanted));
    HostileFiles files(scratch);
    for (unsigned number = 0; number < count; ++number) {
        const Bytes bytes = files.Make(number);
        ASSERT_NO_THROW(TryFile(bytes, files.Below(2) == 0)) << "file " << number;
        if (number % 16 == 0) ExpectUsable();
        ASSERT_FALSE(HasFailure()) << "file " << number;
    }
    std::cout << count << " files, of which " << opened << " opened; at most " << most << " bytes of memory\n";
}

}  // namespace
}  // namespace faults

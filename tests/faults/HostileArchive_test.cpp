// Damaged archives: every one that is cut short, and every one with a single bit turned over.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/MemBitmapChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "faults/FaultyArchives.h"
#include "faults/HeapMeter.h"
#include "support_code/ExpectError.h"

namespace faults {
namespace {

/// Bytes to load from, changed between loads. Says how many are left only through the subclass.
class ChangingArchive : public shr::ISerialize {
public:
    bool IsStoring() override { return false; }
    void Read(void* dst, unsigned int byteCount) override {
        if (byteCount > size - position) throw HostError{0};
        if (byteCount != 0) std::memcpy(dst, bytes + position, byteCount);
        position += byteCount;
    }
    void Write(const void*, unsigned int) override { throw HostError{1}; }
    void Rewind(const std::uint8_t* first, std::size_t count) {
        bytes = first;
        size = count;
        position = 0;
    }

protected:
    const std::uint8_t* bytes = nullptr;
    std::size_t size = 0, position = 0;
};
class TellingArchive : public ChangingArchive, public shr::ISerializeExtent {
public:
    std::uint64_t RemainingBytes() override { return size - position; }
};

enum class Answer {
    loaded,
    refused,
    unknownVersion,  // leaves what was read before the record
};

/// The errors that state an unknown version, by their places.
bool IsUnknownVersion(const shr::Exception& error) {
    return testkit::IsAt(error, zbm::BitmapCheck::formatInfoVersion) ||
           testkit::IsAt(error, zbm::BasicMemBitmapCheck::recordVersion) ||
           testkit::IsAt(error, zbm::ScanRectCheck::recordVersion) ||
           testkit::IsAt(error, zbm::MemBitmapCheck::recordVersion);
}

/// The most bytes that blocks of `encodedBytes` together can stand for.
std::uint64_t MostDecodedBytes(std::uint64_t encodedBytes) {
    std::uint64_t low = 0, high = std::uint64_t{1} << 40;
    while (low < high) {
        const std::uint64_t middle = low + (high - low + 1) / 2;
        if (zcdl::MinEncodedSize(middle) <= encodedBytes)
            low = middle;
        else
            high = middle - 1;
    }
    return low;
}

/// Loads changed bytes again and again into one bitmap from one stream, as a host with many bad files would.
template <class Bitmap, class Archive>
class Trial {
public:
    explicit Trial(const Bytes& wholeArchive) : whole(wholeArchive), bitmap(MakeOtherPicture<Bitmap>()) {
        // Decoder and encoder make their buffers and tables once.
        archive.Rewind(whole.data(), whole.size());
        EXPECT_EQ(TryLoad(), Answer::loaded);
        const std::uint64_t once = RequestsSinceReset().total;
        mostBytes = once + 2 * MostDecodedBytes(whole.size()) + 65536;
        if constexpr (std::is_same_v<Archive, ChangingArchive>) mostBytes += kBelievedBytes;
    }

    Answer Load(const std::uint8_t* bytes, std::size_t count) {
        archive.Rewind(bytes, count);
        const Answer answer = TryLoad();
        EXPECT_LE(RequestsSinceReset().total, mostBytes);
        if (answer == Answer::refused) {
            EXPECT_TRUE(IsEmpty(bitmap));
            EXPECT_EQ(ReductionsOf(bitmap), 0u);
        }
        if (answer == Answer::loaded) UseAll();
        if (answer == Answer::unknownVersion) HasAllTiles(bitmap);  // whichever, but no crash
        ExpectUsable();
        return answer;
    }

private:
    // A grid that the archive's length does not back is believed to this size.
    static constexpr std::uint64_t kBelievedBytes = 64 << 20;

    Answer TryLoad() {
        ResetRequests();
        try {
            EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
            return Answer::loaded;
        } catch (const shr::Exception& error) {
            return IsUnknownVersion(error) ? Answer::unknownVersion : Answer::refused;
        } catch (const HostError& error) {
            EXPECT_EQ(error.number, 0);
            return Answer::refused;
        }
    }

    void UseAll() {
        ASSERT_TRUE(HasAllTiles(bitmap));
        const int width = bitmap.GetPixelWidth(), height = bitmap.GetPixelHeight();
        Fetch(RECT{0, 0, width, height});
        Fetch(RECT{1, 1, width, height});
        Fetch(RECT{width / 2, height / 2, width + 3, height + 3});
        const Bitmap copy(bitmap);
        EXPECT_EQ(copy.GetPixelWidth(), width);
        EXPECT_EQ(copy.GetNumColorTableItems(), bitmap.GetNumColorTableItems());
    }

    void Fetch(const RECT& rect) {
        if (rect.right <= rect.left || rect.bottom <= rect.top) return;
        const auto rows = static_cast<std::size_t>(rect.bottom - rect.top);
        const int stride = 4 * static_cast<int>(rect.right - rect.left);
        pixels.resize(rows * static_cast<std::size_t>(stride));
        bitmap.FetchRegion(pixels.data(), stride, rect);
        if (testkit::HasMask(bitmap.GetColorFormat())) bitmap.GetAlphaFromMask(pixels.data(), stride, rect, 4);
    }

    void ExpectUsable() {
        bitmap.Create(3, 2, shr::GRAYSCALE_8, 2, 2);
        const std::uint8_t pixel = 77;
        std::uint8_t fetched = 0;
        bitmap.StoreRegion(&pixel, 1, 2, 1, 1, 1);
        bitmap.FetchRegion(&fetched, 1, 2, 1, 1, 1);
        EXPECT_EQ(fetched, 77);
    }

    const Bytes& whole;
    Bitmap bitmap;
    Archive archive;
    zbm::SerializeIO io{archive, true};
    Bytes pixels;
    std::uint64_t mostBytes = 0;
};

template <class Bitmap, class Archive>
void CutShortEverywhere(const Bytes& whole) {
    Trial<Bitmap, Archive> trial(whole);
    for (std::size_t count = 0; count < whole.size() && !testing::Test::HasFailure(); ++count) {
        // Exactly as much memory as there are bytes, so that a sanitizer sees the first byte too many.
        const Bytes prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count));
        EXPECT_EQ(trial.Load(prefix.data(), count), Answer::refused) << count << " bytes";
    }
}

template <class Bitmap, class Archive>
void TurnEveryBit(const Bytes& whole) {
    Trial<Bitmap, Archive> trial(whole);
    Bytes bytes = whole;
    for (std::size_t bit = 0; bit < 8 * whole.size() && !testing::Test::HasFailure(); ++bit) {
        SCOPED_TRACE(bit);
        bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] ^ (1 << bit % 8));
        trial.Load(bytes.data(), bytes.size());
        bytes[bit / 8] = whole[bit / 8];
    }
}

/// The picture with no more than five colours: a turned bit in one colour is like one in any other.
template <class Bitmap>
Bitmap MakeSmallPicture(ColorFormat format) {
    Bitmap bitmap = MakePicture<Bitmap>(format);
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < std::min(5, testkit::TableSize(format)); ++i) colors.push_back(testkit::FormulaColor(i));
    bitmap.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    return bitmap;
}

constexpr zcdl::CodecMethod kMethods[] = {zcdl::CodecMethod::stored, zcdl::CodecMethod::fast,
                                          zcdl::CodecMethod::balanced, zcdl::CodecMethod::small};

class HostileArchive : public testing::TestWithParam<ColorFormat> {
protected:
    template <class Use>
    void ForEachArchive(Use use) {
        for (const zcdl::CodecMethod method : kMethods) {
            SCOPED_TRACE(static_cast<int>(method));
            ZBasicMemBitmap basic = MakeSmallPicture<ZBasicMemBitmap>(GetParam());
            use.template operator()<ZBasicMemBitmap>(Stored(basic, method));
            ReducedBitmap reduced = MakeSmallPicture<ReducedBitmap>(GetParam());
            use.template operator()<ReducedBitmap>(Stored(reduced, method, Reductions::leftOut));
            use.template operator()<ReducedBitmap>(Stored(reduced, method, Reductions::stored));
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Formats, HostileArchive, testing::ValuesIn(kFormats),
                         [](const auto& tested) { return testkit::FormatName(tested.param); });

TEST_P(HostileArchive, CutShortAnywhereIsRefused) {
    ForEachArchive([]<class Bitmap>(const Bytes& whole) { CutShortEverywhere<Bitmap, TellingArchive>(whole); });
}

TEST_P(HostileArchive, CutShortAnywhereIsRefusedWithoutKnowingItsLength) {
    ForEachArchive([]<class Bitmap>(const Bytes& whole) { CutShortEverywhere<Bitmap, ChangingArchive>(whole); });
}

TEST_P(HostileArchive, WithAnyBitTurnedIsRefusedOrGivesABitmap) {
    ForEachArchive([]<class Bitmap>(const Bytes& whole) { TurnEveryBit<Bitmap, TellingArchive>(whole); });
}

// A turned bit in a size makes large grids here, which cost time; so the codec's part is left to the test before, and
// reductions, whose headers are no others, to one format.
TEST_P(HostileArchive, WithAnyBitTurnedIsRefusedOrGivesABitmapWithoutKnowingItsLength) {
    ZBasicMemBitmap basic = MakeSmallPicture<ZBasicMemBitmap>(GetParam());
    TurnEveryBit<ZBasicMemBitmap, ChangingArchive>(Stored(basic, zcdl::CodecMethod::stored));
}

TEST(HostileArchiveOfReductions, WithAnyBitTurnedIsRefusedOrGivesABitmapWithoutKnowingItsLength) {
    ReducedBitmap reduced = MakeSmallPicture<ReducedBitmap>(shr::INDEXED_4);
    TurnEveryBit<ReducedBitmap, ChangingArchive>(Stored(reduced, zcdl::CodecMethod::stored));
}

/// A header that claims what its few bytes cannot back.
struct Claim {
    const char* name;
    std::int32_t height, width, tileHeight, tileWidth;
    std::uint32_t colors;
};

Bytes HeaderOf(const Claim& claim, ColorFormat format) {
    Bytes bytes;
    const auto put = [&](std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    };
    put(1, 2);
    for (const std::int32_t value :
         {claim.height, claim.width, static_cast<std::int32_t>(format), claim.tileHeight, claim.tileWidth, 2835, 2835})
        put(static_cast<std::uint32_t>(value), 4);
    put(claim.colors, 4);
    put(1, 2);
    return bytes;
}

constexpr std::int32_t kMost = 0x7FFFFFFF;
constexpr Claim kClaims[] = {
    {"MostPixelsInSmallestTiles", kMost, kMost, 1, 1, 0},
    {"MostPixelsInOneTile", kMost, kMost, kMost, kMost, 0},
    {"MostRows", kMost, 1, 1, 1, 0},
    {"MostColumns", 1, kMost, 1, 1, 0},
    {"MostRowsWithoutTiles", kMost, 0, 1, 1, 0},
    {"ManyRowsWithoutTiles", 1 << 24, 0, 1, 1, 0},
    {"MostColumnsWithoutRows", 0, kMost, 1, 1, 0},
    {"ManyTiles", 4096, 4096, 1, 1, 0},
    {"LargeTiles", 1 << 20, 1 << 20, 16384, 16384, 0},
    {"NegativeHeight", -1, 5, 4, 4, 0},
    {"NegativeWidth", 5, -2147483647 - 1, 4, 4, 0},
    {"TileOfNoHeight", 5, 5, 0, 4, 0},
    {"TileOfNegativeWidth", 5, 5, 4, -4, 0},
    {"MostColors", 5, 5, 4, 4, 0xFFFFFFFF},
    {"OneColorTooMany", 5, 5, 4, 4, 257},
};

class HostileClaim : public testing::TestWithParam<Claim> {};
INSTANTIATE_TEST_SUITE_P(Headers, HostileClaim, testing::ValuesIn(kClaims),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(HostileClaim, IsRefusedOrGivesABitmapWithoutTilesInLittleMemory) {
    for (const ColorFormat format : {shr::GRAYSCALE_1, shr::INDEXED_8, shr::PBGRA_32}) {
        SCOPED_TRACE(testkit::FormatName(format));
        const Bytes bytes = HeaderOf(GetParam(), format);
        ZBasicMemBitmap bitmap = MakeOtherPicture<ZBasicMemBitmap>();
        TellingArchive archive;
        archive.Rewind(bytes.data(), bytes.size());
        ResetRequests();
        bool refused = false;
        try {
            faults::Load(bitmap, archive);
        } catch (const shr::Exception&) { refused = true; }
        EXPECT_LE(RequestsSinceReset().total, std::uint64_t{128} << 20);
        if (refused) {
            EXPECT_TRUE(IsEmpty(bitmap));
        } else {
            EXPECT_TRUE(GetParam().width == 0 || GetParam().height == 0);
        }
        EXPECT_TRUE(IsUsable(bitmap));
    }
}

}  // namespace
}  // namespace faults

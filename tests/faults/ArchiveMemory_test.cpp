// What archives cost in memory: a small multiple of what they hold, whatever they claim, and whether or not they tell
// how much is left to read. Where the system gives no way to see requests, only the outcome is judged.
#include <gtest/gtest.h>

#include <functional>

#include "faults/FaultyArchives.h"
#include "faults/HeapMeter.h"
#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"

namespace faults {
namespace {

using testkit::ArchiveWriter;

constexpr std::int64_t kMiB = 1 << 20;

/// Judges what a piece of work asked for at any one time.
void ExpectAtMost(std::int64_t bytes) {
    const Requests requests = RequestsSinceReset();
    EXPECT_LE(requests.peak, bytes);
    EXPECT_LE(requests.largest, static_cast<std::uint64_t>(bytes));
}

/// All pixels and masks, and where the tiles are.
struct Content {
    Bytes pixels, masks;
    std::vector<LONG> boxes;
    explicit Content(const ZBasicMemBitmap& bitmap) {
        const int width = bitmap.GetPixelWidth(), height = bitmap.GetPixelHeight();
        pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        masks.resize(pixels.size());
        bitmap.FetchRegion(pixels.data(), width, 0, 0, width, height);
        bitmap.GetAlphaFromMask(masks.data(), width, RECT{0, 0, width, height}, 1);
        for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
            for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
                const RECT box = bitmap.GetScanRectBBox(row, col);
                boxes.insert(boxes.end(), {box.left, box.top, box.right, box.bottom});
            }
    }
    bool operator==(const Content&) const = default;
};

/// Bytes of a pixel each, no two neighbours alike, every third pixel transparent.
ZBasicMemBitmap MakeGreys(int width, int height, int tileWidth, int tileHeight) {
    ZBasicMemBitmap bitmap(width, height, shr::GRAYSCALE_8, tileWidth, tileHeight);
    Bytes pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    bitmap.StoreRegion(pixels.data(), width, 0, 0, width, height);
    Bytes alpha(4 * pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) alpha[4 * i + 3] = i % 3 == 0 ? 0 : 255;
    bitmap.SetMaskFromAlpha(alpha.data(), 4 * width, RECT{0, 0, width, height});
    return bitmap;
}

struct Shape {
    const char* name;
    int width, height, tileWidth, tileHeight;
};
void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.name; }

// Each more tiles than are laid out unasked.
constexpr Shape kShapes[] = {
    {"AMillionTiles", 1025, 1024, 1, 1},
    {"ALastColumnThatIsNarrower", 257, 1001, 2, 1},
    {"ALastRowThatIsLower", 70001, 3, 1, 2},
    {"OneColumn", 1, 70001, 3, 1},
};

class GridOfUnknownExtent : public testing::TestWithParam<Shape> {};
INSTANTIATE_TEST_SUITE_P(Of, GridOfUnknownExtent, testing::ValuesIn(kShapes),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(GridOfUnknownExtent, GrowsWithTheTilesThatArrive) {
    const Shape& shape = GetParam();
    ZBasicMemBitmap bitmap = MakeGreys(shape.width, shape.height, shape.tileWidth, shape.tileHeight);
    const Bytes bytes = Stored(bitmap, zcdl::CodecMethod::stored);
    ZBasicMemBitmap loaded(1, 1, shr::BGRA_32);
    PlainArchive archive(bytes);
    ResetRequests();
    ASSERT_TRUE(faults::Load(loaded, archive));
    ExpectAtMost(16 * static_cast<std::int64_t>(bytes.size()) + kMiB);
    EXPECT_TRUE(Content(loaded) == Content(bitmap));
}

TEST(GridThatGrows, CutShortOrOfAnUnknownVersionLeavesAnEmptyBitmap) {
    ZBasicMemBitmap bitmap = MakeGreys(300, 300, 1, 1);
    const Bytes whole = Stored(bitmap, zcdl::CodecMethod::stored);
    constexpr std::size_t kFormatInfo = 2 + 8 * 4, kTile = 2 + 3 * 4 + 2 * (4 + 1 + 4 + 4);
    for (const std::size_t version : {kFormatInfo, kFormatInfo + 2, kFormatInfo + 2 + 299 * kTile,
                                      kFormatInfo + 2 + 300 * kTile, kFormatInfo + 2 + 89999 * kTile}) {
        ASSERT_EQ(whole[version], 1) << version;
        Bytes foreign = whole;
        foreign[version] = 2;
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(version));
        for (const Bytes& bytes : {foreign, cut}) {
            ZBasicMemBitmap loaded = MakeOtherPicture<ZBasicMemBitmap>();
            PlainArchive archive(bytes);
            EXPECT_ANY_THROW(faults::Load(loaded, archive));
            EXPECT_TRUE(IsEmpty(loaded));
            EXPECT_TRUE(IsUsable(loaded));
        }
    }
}

/// What an archive says, and what may come of it.
struct Case {
    const char* name;
    std::function<Bytes()> make;
    std::int64_t mostBytes;
    bool withReductions = false;
    bool loads = false;
};
void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }

constexpr std::int32_t kMost = 0x7FFFFFFF;

/// One tile of the whole picture, and what there is of its first block.
Bytes OneTile(int width, int height, shr::ColorFormat format, const Bytes& block) {
    return ArchiveWriter()
        .FormatInfo(height, width, format, height, width)
        .U16(1)
        .TileHead(width, height, format)
        .Raw(block)
        .Take();
}

/// A picture, the number of its reductions, and some of these, which have no tiles.
Bytes WithReductions(std::uint32_t count, int come, int width, int height) {
    ZBasicMemBitmap picture(1, 1, shr::BGRA_32);
    ArchiveWriter writer;
    writer.U16(1).Raw(Stored(picture, zcdl::CodecMethod::stored)).U32(1).U32(count);
    for (int i = 0; i < come; ++i) writer.FormatInfo(height, width, shr::BGRA_32, 1, 1).U16(1);
    return writer.Take();
}

Bytes Claim(std::uint32_t encodedBytes, std::size_t come) {
    return ArchiveWriter().U32(encodedBytes).Raw(Bytes(come, 0xEE)).Take();
}

const Case kCases[] = {
    {"OneTileOf16GiB", [] { return OneTile(65536, 65536, shr::BGRA_32, Bytes(80)); }, kMiB},
    {"OneTileOf4GBInSixBytes", [] { return OneTile(30000, 30000, shr::BGRA_32, Claim(6, 6)); }, kMiB},
    {"OneTileOf4GBInNoBytes", [] { return OneTile(30000, 30000, shr::BGRA_32, Claim(0, 0)); }, kMiB},
    {"OneTileOf4GBThatHasNotCome", [] { return OneTile(30000, 30000, shr::BGRA_32, Claim(3600000005u, 99)); },
     8 * kMiB},
    {"OneTileOf4GBWithAMask", [] { return OneTile(60000, 60000, shr::GRAYSCALE_8, Claim(200000, 99)); }, kMiB},
    {"OneTileOf83MillionRows", [] { return OneTile(1, 83000000, shr::BGRA_32, Claim(12000, 99)); }, kMiB},
    {"OneTileOf83MillionRowsInSixBytes", [] { return OneTile(1, 83000000, shr::GRAYSCALE_1, Claim(6, 6)); }, kMiB},
    {"TilesWithoutEnd",
     [] { return ArchiveWriter().FormatInfo(kMost, kMost, shr::BGRA_32, 1, 1).U16(1).TileHead(1, 1, 10).Take(); },
     kMiB},
    {"ColumnsWithoutEnd",
     [] { return ArchiveWriter().FormatInfo(1, kMost, shr::BGRA_32, 1, 1).U16(1).TileHead(1, 1, 10).Take(); }, kMiB},
    {"RowsWithoutEnd",
     [] { return ArchiveWriter().FormatInfo(kMost, 1, shr::BGRA_32, 1, 1).U16(1).TileHead(1, 1, 10).Take(); }, kMiB},
    {"AGridThatIsLargeButBelieved",
     [] { return ArchiveWriter().FormatInfo(65536, 1, shr::BGRA_32, 1, 1).U16(1).Take(); }, 16 * kMiB},
    {"AMillionRowsWithoutTiles",
     [] { return ArchiveWriter().FormatInfo(1 << 20, 0, shr::BGRA_32, 1, 1).U16(1).Take(); }, 64 * kMiB, false, true},
    {"MoreThanAMillionRowsWithoutTiles",
     [] { return ArchiveWriter().FormatInfo((1 << 20) + 1, 0, shr::BGRA_32, 1, 1).U16(1).Take(); }, kMiB},
    {"TwentyReductionsWithoutWidth", [] { return WithReductions(20, 20, 0, 1 << 20); }, 64 * kMiB, true},
    {"AHundredReductionsWithoutWidth", [] { return WithReductions(100, 100, 0, 1 << 20); }, kMiB, true},
    {"TwentyReductionsWithoutHeight", [] { return WithReductions(20, 20, kMost, 0); }, kMiB, true},
    {"FourBillionReductions", [] { return WithReductions(0xFFFFFFFF, 0, 1, 1); }, kMiB, true},
};

class ArchiveClaim : public testing::TestWithParam<Case> {
protected:
    template <class Bitmap, class Archive>
    void Judge(Archive&& archive) const {
        Bitmap bitmap = MakeOtherPicture<Bitmap>();
        ResetRequests();
        bool loaded = false;
        try {
            loaded = faults::Load(bitmap, archive);
        } catch (const shr::Exception&) {
        } catch (const HostError&) {}
        ExpectAtMost(GetParam().mostBytes);
        EXPECT_EQ(loaded, GetParam().loads);
        if (!loaded) { EXPECT_TRUE(IsEmpty(bitmap)); }
        EXPECT_TRUE(IsUsable(bitmap));
    }

    template <class Bitmap>
    void JudgeEachWay() const {
        const Bytes bytes = GetParam().make();
        Judge<Bitmap>(shr::MemoryArchive(bytes));
        Judge<Bitmap>(PlainArchive(bytes));
    }
};

TEST_P(ArchiveClaim, CostsNoMoreThanWhatIsThereHoweverMuchItIs) {
    if (GetParam().withReductions)
        JudgeEachWay<ReducedBitmap>();
    else
        JudgeEachWay<ZBasicMemBitmap>();
}

INSTANTIATE_TEST_SUITE_P(Of, ArchiveClaim, testing::ValuesIn(kCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(TileRecordMemory, IsThatOfAUsualTileUntilTheFirstBlockBacksMore) {
    for (const std::uint32_t claim : {0u, 6u, 109000u, 3600000005u}) {
        const Bytes bytes = ArchiveWriter().TileHead(30000, 30000, shr::BGRA_32).Raw(Claim(claim, 6)).Take();
        shr::MemoryArchive archive(bytes);
        zbm::SerializeIO io(archive, false);
        zbm::ZScanRect tile(3, 2, shr::GRAYSCALE_8);
        ResetRequests();
        EXPECT_THROW(tile.Serialize(io), shr::Exception) << claim;
        ExpectAtMost(8 * kMiB);
        EXPECT_EQ(tile.GetWidth(), 3) << "the tile is as it was";
    }
}

TEST(TileRecordMemory, IsTakenForALargeTileWhoseBlockIsThere) {
    zbm::ZScanRect tile(1, 600000, shr::BGRA_32);
    tile.GetRowPtr(599999)[0] = 77;
    shr::MemoryArchive stored;
    zbm::SerializeIO out(stored, false);
    tile.Serialize(out);
    EXPECT_LT(stored.Bytes().size(), 1000u);
    PlainArchive archive(stored.Bytes());
    zbm::SerializeIO in(archive, false);
    zbm::ZScanRect loaded;
    loaded.Serialize(in);
    EXPECT_EQ(in.DamagedBlocks(), 0u);
    EXPECT_EQ(loaded.GetHeight(), 600000);
    EXPECT_EQ(loaded.GetRowPtr(599999)[0], 77);
}

TEST(BitmapMemory, IsNotLaidOutForMorePixelsThanAnyMemoryHolds) {
    for (const ColorFormat format : {shr::GRAYSCALE_1, shr::BGR_24, shr::BGRA_32})
        for (const auto& [width, height, tile] :
             {std::tuple{2000000000, 2000000000, 512}, {kMost, kMost, 1}, {kMost, kMost, kMost}}) {
            ZBasicMemBitmap bitmap = MakeOtherPicture<ZBasicMemBitmap>();
            ResetRequests();
            EXPECT_THROW(bitmap.Create(width, height, format, tile, tile), std::bad_alloc);
            EXPECT_THROW(ZBasicMemBitmap(width, height, format, tile, tile), std::bad_alloc);
            ExpectAtMost(kMiB);
            EXPECT_TRUE(IsEmpty(bitmap));
            EXPECT_TRUE(IsUsable(bitmap));
        }
}

}  // namespace
}  // namespace faults

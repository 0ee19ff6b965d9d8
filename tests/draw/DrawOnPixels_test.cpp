// Drawing, against plain sums over the bitmap's pixels.
#include <gtest/gtest.h>

#include <random>

#include "core/Kernels.h"
#include "core/OpenBitmaps.h"
#include "core/checks/BitmapChecks.h"
#include "draw/PlainDrawing.h"
#include "file/OpenFileBitmaps.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/KernelLevels.h"
#include "support_code/ScratchFolder.h"
#include "support_code/TestProgress.h"
#include "zbm/ZMemBitmap.h"

namespace {

using namespace testkit;
using zbm::DrawOptions;
using zbm::PixelSurface;
using zbm::SourceArea;
using zbm::SurfaceLayout;

/// A surface amid guard bytes, at any address and with rows in either order.
class GuardedSurface {
public:
    GuardedSurface(int width, int height, SurfaceLayout layout, bool isBottomUp = false, int offset = 0, int gap = 0)
        : stride(4 * width + gap), memory(kGuard + static_cast<std::size_t>(stride * height + offset) + kGuard) {
        for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<std::uint8_t>(i * 37 + i / 251);
        std::uint8_t* const first = memory.data() + kGuard + offset;
        surface = {isBottomUp ? first + stride * (height - 1) : first, isBottomUp ? -stride : stride, width, height,
                   layout};
        if (layout == SurfaceLayout::pbgra) MakeValid();
        before = memory;
    }

    /// Whether the bytes outside of the surface's pixels are what they were.
    bool IsWhole() const {
        std::vector<std::uint8_t> now = memory;
        for (int y = 0; y < surface.height; ++y) {
            const auto row = (surface.firstRow + surface.stride * y) - memory.data();
            std::copy_n(before.begin() + row, 4 * surface.width, now.begin() + row);
        }
        return now == before;
    }
    void Reset() { std::copy(before.begin(), before.end(), memory.begin()); }
    const std::vector<std::uint8_t>& Bytes() const { return memory; }
    const PixelSurface& operator*() const { return surface; }
    const PixelSurface* operator->() const { return &surface; }

private:
    /// No colour above its alpha.
    void MakeValid() {
        for (int y = 0; y < surface.height; ++y)
            for (int x = 0; x < surface.width; ++x) {
                std::uint8_t* const pixel = surface.firstRow + surface.stride * y + 4 * x;
                for (int c = 0; c < 3; ++c) pixel[c] = std::min(pixel[c], pixel[3]);
            }
    }

    static constexpr std::size_t kGuard = 64;
    std::ptrdiff_t stride;
    std::vector<std::uint8_t> memory, before;
    PixelSurface surface;
};

/// What the surface must hold is found before it is drawn on.
struct Expected {
    Expected(const zbm::ZBitmap& bitmap, const PixelSurface& surface, const RECT& destination, const SourceArea& area,
             const DrawOptions& options) {
        DrawPlainly(PlainPicture(bitmap), surface, destination, area, options,
                    [&](const std::uint8_t* at, const PlainPixel& pixel, bool isExact) {
                        places.push_back({at, pixel, isExact});
                    });
    }

    /// Single pixels to the bit, sums within a level. Colours of nearly transparent pixels mean little.
    testing::AssertionResult IsMet(SurfaceLayout layout) const {
        for (std::size_t i = 0; i < places.size(); ++i) {
            const Place& place = places[i];
            for (int c = 0; c < 4; ++c) {
                const double difference = std::abs(place.at[c] - place.pixel.byte[c]);
                const bool isFaint = layout == SurfaceLayout::bgra && c < 3 && place.pixel.byte[3] < 32;
                if (difference > (place.isExact ? 0.5 + 1e-9 : isFaint ? 20 : 1.01))
                    return testing::AssertionFailure() << "place " << i << ", byte " << c << ": " << int(place.at[c])
                                                       << " instead of " << place.pixel.byte[c];
            }
        }
        return testing::AssertionSuccess();
    }

    double MostDifference() const {
        double most = 0;
        for (const Place& place : places)
            for (int c = 0; c < 4; ++c) most = std::max(most, std::abs(place.at[c] - place.pixel.byte[c]));
        return most;
    }

private:
    struct Place {
        const std::uint8_t* at;
        PlainPixel pixel;
        bool isExact;
    };
    std::vector<Place> places;
};

class Dice {
public:
    explicit Dice(unsigned seed) : engine(seed) {}
    int From(int least, int most) {
        return least + static_cast<int>(engine() % static_cast<unsigned>(most - least + 1));
    }
    bool Toss() { return engine() % 2 == 0; }
    double Part() { return static_cast<double>(engine()) / 4294967296.0; }

private:
    std::mt19937 engine;
};

struct Scene {
    ColorFormat format;
    int width, height, tileWidth, tileHeight;
    SurfaceLayout layout;
    int surfaceWidth, surfaceHeight, offset, gap;
    bool isBottomUp;
    RECT destination;
    SourceArea area;
    DrawOptions options;
};

Scene RandomScene(unsigned seed) {
    Dice dice(seed);
    Scene scene{};
    scene.format = kFormats[dice.From(0, 12)];
    scene.width = dice.From(1, 60), scene.height = dice.From(1, 60);
    scene.tileWidth = dice.From(1, 40), scene.tileHeight = dice.From(1, 40);
    scene.layout = static_cast<SurfaceLayout>(dice.From(0, 2));
    scene.surfaceWidth = dice.From(1, 40), scene.surfaceHeight = dice.From(1, 40);
    scene.offset = dice.From(0, 5), scene.gap = dice.From(0, 9), scene.isBottomUp = dice.Toss();
    scene.destination.left = dice.From(-20, 30), scene.destination.top = dice.From(-20, 30);
    scene.destination.right = scene.destination.left + dice.From(1, 80);
    scene.destination.bottom = scene.destination.top + dice.From(1, 80);
    const double zoom = std::exp2(dice.From(-4, 4));
    const double across = scene.destination.right - scene.destination.left,
                 down = scene.destination.bottom - scene.destination.top;
    scene.area = {dice.Part() * scene.width - 8, dice.Part() * scene.height - 8, across * zoom, down * zoom};
    if (dice.Toss()) scene.area.left = std::floor(scene.area.left), scene.area.top = std::floor(scene.area.top);
    if (dice.Toss()) scene.area.width *= 0.5 + dice.Part(), scene.area.height *= 0.5 + dice.Part();
    if (dice.From(0, 3) == 0) scene.area.width = across;
    if (dice.From(0, 3) == 0) scene.area.height = down;
    if (dice.Toss()) scene.options.enlarging = DrawOptions::Enlarging::nearest;
    if (dice.Toss()) scene.options.shrinking = DrawOptions::Shrinking::nearest;
    scene.options.background = static_cast<DrawOptions::Background>(dice.From(0, 2));
    scene.options.checkerSide = dice.From(0, 6);
    scene.options.colors[0].alpha = static_cast<std::uint8_t>(dice.Toss() ? 255 : dice.From(0, 255));
    if (dice.Toss())
        scene.options.clip = RECT{dice.From(-5, 20), dice.From(-5, 20), dice.From(10, 50), dice.From(10, 50)};
    return scene;
}

std::string Described(unsigned seed) {
    const Scene s = RandomScene(seed);
    return "seed " + std::to_string(seed) + ", " + FormatName(s.format) + ", layout " + std::to_string(int(s.layout));
}

GuardedSurface SurfaceOf(const Scene& scene) {
    return {scene.surfaceWidth, scene.surfaceHeight, scene.layout, scene.isBottomUp, scene.offset, scene.gap};
}

zbm::ZBasicMemBitmap BitmapOf(const Scene& scene) {
    return FormulaBitmap(scene.width, scene.height, scene.format, scene.tileWidth, scene.tileHeight);
}

constexpr unsigned kScenes = 3000;

class DrawOnPixelsAtLevel : public testing::TestWithParam<cpu::Level> {
protected:
    void SetUp() override { ASSERT_TRUE(zbm::UseKernels(GetParam())); }
    void TearDown() override { zbm::UseKernels(LevelsHere().back()); }
};
INSTANTIATE_TEST_SUITE_P(Levels, DrawOnPixelsAtLevel, testing::ValuesIn(LevelsHere()), kLevelName);

TEST_P(DrawOnPixelsAtLevel, GivesWhatPlainSumsGive) {
    for (unsigned seed = 0; seed < kScenes; ++seed) {
        const Scene scene = RandomScene(seed);
        const zbm::ZBasicMemBitmap bitmap = BitmapOf(scene);
        GuardedSurface surface = SurfaceOf(scene);
        const Expected expected(bitmap, *surface, scene.destination, scene.area, scene.options);
        ASSERT_TRUE(bitmap.DrawOnPixels(*surface, scene.destination, scene.area, scene.options, nullptr));
        ASSERT_TRUE(expected.IsMet(scene.layout)) << Described(seed);
        ASSERT_TRUE(surface.IsWhole()) << Described(seed);
    }
}

/// Noise that is opaque in bands of rows only, the last of them wider than any sum; or everywhere.
zbm::ZBasicMemBitmap OpaqueInBands(ColorFormat format, int tileSide, bool isOpaque = false) {
    constexpr int kSide = 120, kBand = 7, kOpaqueFrom = 60;
    zbm::ZBasicMemBitmap bitmap(kSide, kSide, format, tileSide, tileSide);
    std::mt19937 noise(11);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            const auto value = static_cast<std::uint32_t>(noise());
            const bool isSolid = isOpaque || y >= kOpaqueFrom || y / kBand % 2 == 0;
            const std::uint32_t alpha = isSolid ? 255 : value >> 24;
            std::uint32_t pixel = alpha << 24;
            for (int shift = 0; shift < 24; shift += 8) {
                const std::uint32_t channel = value >> shift & 255;
                pixel |= (format == shr::PBGRA_32 ? channel * alpha / 255 : channel) << shift;
            }
            SetPixel(bitmap, x, y, pixel);
            if (HasMask(format)) SetMask(bitmap, x, y, isSolid || value >> 31 != 0);
        }
    return bitmap;
}

/// All of it, `zoom` pixels a place; the last pixels may be left out.
std::vector<std::uint8_t> DrawnAt(const zbm::ZBitmap& bitmap, double zoom, SurfaceLayout layout,
                                  const std::vector<RECT>& clips) {
    const int side = static_cast<int>(bitmap.GetPixelWidth() / zoom);
    GuardedSurface surface(side, side, layout);
    for (const RECT& clip : clips) {
        DrawOptions options;
        options.clip = clip;
        EXPECT_TRUE(
            bitmap.DrawOnPixels(*surface, {0, 0, side, side}, {0, 0, side * zoom, side * zoom}, options, nullptr));
    }
    return surface.Bytes();
}

constexpr RECT kEverywhere{0, 0, 1000, 1000};
constexpr double kZooms[] = {0.3, 0.5, 0.8, 1.5, 2, 2.6, 3, 4, 5.5, 7, 7.1, 9, 20};
const ColorFormat kFormatsOfOpaqueRows[] = {shr::BGRA_32, shr::PBGRA_32, shr::BGRX_32, shr::BGR_24, shr::RGBA_32};

TEST_P(DrawOnPixelsAtLevel, ShowsNoSeamWhereOpaqueRowsMeetOthers) {
    for (const ColorFormat format : kFormatsOfOpaqueRows) {
        const zbm::ZBasicMemBitmap inOneTile = OpaqueInBands(format, 128), inTiles = OpaqueInBands(format, 17);
        for (const double zoom : kZooms)
            for (const auto layout : {SurfaceLayout::bgrx, SurfaceLayout::bgra, SurfaceLayout::pbgra}) {
                zbm::UseKernels(cpu::Level::base);
                const auto expected = DrawnAt(inOneTile, zoom, layout, {kEverywhere});
                zbm::UseKernels(GetParam());
                EXPECT_EQ(DrawnAt(inOneTile, zoom, layout, {kEverywhere}), expected) << format << ' ' << zoom;
                EXPECT_EQ(DrawnAt(inTiles, zoom, layout, {kEverywhere}), expected) << format << ' ' << zoom;
                std::vector<RECT> pieces;
                for (int y = 0; y < 400; y += 29)
                    for (int x = 0; x < 500; x += 167) pieces.push_back({x, y, x + 167, y + 29});
                EXPECT_EQ(DrawnAt(inTiles, zoom, layout, pieces), expected) << format << ' ' << zoom;
            }
    }
}

TEST_P(DrawOnPixelsAtLevel, GivesOpaqueRowsTheBitsOfAnOpaquePicture) {
    for (const ColorFormat format : kFormatsOfOpaqueRows) {
        const zbm::ZBasicMemBitmap inBands = OpaqueInBands(format, 40), opaque = OpaqueInBands(format, 40, true);
        for (const double zoom : kZooms) {
            const int side = static_cast<int>(120 / zoom), rows = side - static_cast<int>(std::ceil(61 / zoom)) - 1;
            const auto tail = [&](const zbm::ZBitmap& bitmap) {
                std::vector<std::uint8_t> bytes = DrawnAt(bitmap, zoom, SurfaceLayout::bgrx, {kEverywhere});
                return std::vector<std::uint8_t>(bytes.end() - 64 - 4 * side * rows, bytes.end());
            };
            ASSERT_GT(rows, 0);
            EXPECT_EQ(tail(inBands), tail(opaque)) << format << ' ' << zoom;
        }
    }
}

std::vector<std::uint8_t> Drawn(const zbm::ZBitmap& bitmap, const Scene& scene) {
    GuardedSurface surface = SurfaceOf(scene);
    EXPECT_TRUE(bitmap.DrawOnPixels(*surface, scene.destination, scene.area, scene.options, nullptr));
    return surface.Bytes();
}

TEST_P(DrawOnPixelsAtLevel, GivesTheSameBitsAsTheBaseLevel) {
    for (unsigned seed = 0; seed < kScenes; ++seed) {
        const Scene scene = RandomScene(seed);
        const zbm::ZBasicMemBitmap bitmap = BitmapOf(scene);
        zbm::UseKernels(cpu::Level::base);
        const auto base = Drawn(bitmap, scene);
        zbm::UseKernels(GetParam());
        ASSERT_EQ(Drawn(bitmap, scene), base) << Described(seed);
    }
}

TEST(DrawOnPixels, GivesTheSameBitsForEveryTileSizeAndClass) {
    const ScratchFolder folder;
    for (unsigned seed = 0; seed < kScenes; ++seed) {
        const Scene scene = RandomScene(seed);
        const zbm::ZBasicMemBitmap inOneTile = FormulaBitmap(scene.width, scene.height, scene.format, 64, 64);
        const zbm::ZBasicMemBitmap inTiles = BitmapOf(scene);
        const auto expected = Drawn(inOneTile, scene);
        ASSERT_EQ(Drawn(inTiles, scene), expected) << Described(seed);
        OpenBitmap ofAHost(scene.width, scene.height, scene.format, scene.tileWidth, scene.tileHeight);
        StoreAll(inTiles, ofAHost);
        ASSERT_EQ(Drawn(ofAHost, scene), expected) << Described(seed);
        if (seed % 20 != 0) continue;
        const auto onFile = OnFile(folder.File("picture.zbf"), inTiles);
        ASSERT_EQ(Drawn(*onFile, scene), expected) << Described(seed);
        onFile->Close();
        zbm::ZScanRectFileBitmap exactly(L"", L"", false);
        exactly.Open(folder.File("picture.zbf"), true);
        ASSERT_EQ(Drawn(exactly, scene), expected) << Described(seed);
    }
}

TEST(DrawOnPixels, GivesInPiecesWhatItGivesAsAWhole) {
    for (unsigned seed = 0; seed < kScenes; ++seed) {
        Scene scene = RandomScene(seed);
        const zbm::ZBasicMemBitmap bitmap = BitmapOf(scene);
        const auto whole = Drawn(bitmap, scene);
        GuardedSurface surface = SurfaceOf(scene);
        const RECT clip = scene.options.clip.value_or(RECT{0, 0, scene.surfaceWidth, scene.surfaceHeight});
        Dice dice(seed);
        const int x = dice.From(0, scene.surfaceWidth), y = dice.From(0, scene.surfaceHeight);
        const RECT pieces[] = {{0, 0, x, y},
                               {x, 0, scene.surfaceWidth, y},
                               {0, y, x, scene.surfaceHeight},
                               {x, y, scene.surfaceWidth, scene.surfaceHeight}};
        for (const RECT& piece : pieces) {
            RECT part;
            if (!IntersectRect(&part, &piece, &clip)) continue;
            scene.options.clip = part;
            ASSERT_TRUE(bitmap.DrawOnPixels(*surface, scene.destination, scene.area, scene.options, nullptr));
        }
        ASSERT_EQ(surface.Bytes(), whole) << Described(seed);
    }
}

/// Counts the locks of each tile.
std::vector<std::string> LocksOf(const OpenBitmap& bitmap) {
    std::vector<std::string> locks;
    for (const std::string& call : bitmap.calls)
        if (call.find("Lock") == 0) locks.push_back(call);
    return locks;
}

TEST(DrawOnPixels, LocksEachTileThatMeetsTheClipOnceAndNoOther) {
    OpenBitmap bitmap(100, 100, shr::BGR_24, 10, 10);
    GuardedSurface surface(100, 100, SurfaceLayout::bgrx);
    for (const double zoom : {1.0, 0.5, 0.75, 2.0, 3.3}) {
        const int side = static_cast<int>(100 * zoom);
        DrawOptions options;
        options.clip = RECT{static_cast<int>(32 * zoom), static_cast<int>(32 * zoom), static_cast<int>(48 * zoom),
                            static_cast<int>(38 * zoom)};
        bitmap.calls.clear();
        ASSERT_TRUE(bitmap.DrawOnPixels(*surface, {0, 0, side, side}, {0, 0, 100, 100}, options, nullptr));
        EXPECT_EQ(LocksOf(bitmap).size(), zoom > 3 ? 0u : 2u) << zoom;
    }
}

TEST(DrawOnPixels, UnlocksEachTileBeforeItLocksTheNext) {
    OpenBitmap bitmap(30, 30, shr::BGR_24, 10, 10);
    GuardedSurface surface(20, 20, SurfaceLayout::bgrx);
    bitmap.calls.clear();
    ASSERT_TRUE(bitmap.DrawOnPixels(*surface, {0, 0, 20, 20}, {0, 0, 30, 30}, {}, nullptr));
    ASSERT_EQ(bitmap.calls.size(), 18u);
    for (std::size_t i = 0; i < bitmap.calls.size(); ++i)
        EXPECT_EQ(bitmap.calls[i].find(i % 2 == 0 ? "Lock" : "Unlock"), 0u) << bitmap.calls[i];
}

TEST(DrawOnPixels, ReportsAfterEachRowOfTilesAndStopsThere) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(40, 40, shr::BGR_24, 10, 10);
    for (const int side : {40, 30, 100, 2, 1}) {
        GuardedSurface surface(side, side, SurfaceLayout::bgrx);
        TestProgress progress;
        ASSERT_TRUE(bitmap.DrawOnPixels(*surface, {0, 0, side, side}, {0, 0, 40, 40}, {}, &progress));
        ASSERT_EQ(progress.fractions.size(), 4u) << side;
        EXPECT_TRUE(std::is_sorted(progress.fractions.begin(), progress.fractions.end()));
        EXPECT_EQ(progress.fractions.back(), 1);
        EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Drawing image..."});
        for (int report = 1; report <= 4; ++report) {
            TestProgress cancelling(report);
            EXPECT_FALSE(bitmap.DrawOnPixels(*surface, {0, 0, side, side}, {0, 0, 40, 40}, {}, &cancelling));
            EXPECT_EQ(cancelling.openTasks, 0);
        }
    }
}

TEST(DrawOnPixels, RefusesWhatIsNoSurfaceOrNoAreaBeforeItDraws) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(8, 8, shr::BGR_24, 8, 8);
    GuardedSurface surface(8, 8, SurfaceLayout::bgrx);
    const RECT destination{0, 0, 8, 8};
    const auto draw = [&](const PixelSurface& on, const SourceArea& area) {
        (void)bitmap.DrawOnPixels(on, destination, area, {}, nullptr);
    };
    const SourceArea all{0, 0, 8, 8};
    std::uint8_t* const memory = surface->firstRow;
    const PixelSurface bad[] = {{nullptr, 32, 8, 8, SurfaceLayout::bgrx}, {memory, 31, 8, 8, SurfaceLayout::bgrx},
                                {memory, -31, 8, 8, SurfaceLayout::bgrx}, {memory, 32, -1, 8, SurfaceLayout::bgrx},
                                {memory, 32, 8, -1, SurfaceLayout::bgrx}, {memory, 32, 8, 8, SurfaceLayout(3)}};
    for (const PixelSurface& on : bad)
        EXPECT_TRUE(RaisesInternalError([&] { draw(on, all); }, zbm::BitmapCheck::drawnSurface));
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    for (const SourceArea& area : {SourceArea{nan, 0, 8, 8}, SourceArea{0, inf, 8, 8}, SourceArea{0, 0, 0, 8},
                                   SourceArea{0, 0, 8, -1}, SourceArea{0, 0, inf, 8}, SourceArea{0, 0, 8, nan}})
        EXPECT_TRUE(RaisesInternalError([&] { draw(*surface, area); }, zbm::BitmapCheck::drawnArea));
    GuardedSurface untouched(8, 8, SurfaceLayout::bgrx);
    EXPECT_EQ(surface.Bytes(), untouched.Bytes());
}

TEST(DrawOnPixels, DrawsNothingWhereThereIsNothingToDraw) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(8, 8, shr::BGR_24, 8, 8);
    const GuardedSurface untouched(8, 8, SurfaceLayout::bgrx);
    const auto drawsNothing = [&](const RECT& destination, const SourceArea& area, const DrawOptions& options) {
        GuardedSurface surface(8, 8, SurfaceLayout::bgrx);
        return bitmap.DrawOnPixels(*surface, destination, area, options, nullptr) &&
               surface.Bytes() == untouched.Bytes();
    };
    const SourceArea all{0, 0, 8, 8};
    EXPECT_TRUE(drawsNothing({4, 4, 4, 8}, all, {}));
    EXPECT_TRUE(drawsNothing({4, 4, 2, 8}, all, {}));
    EXPECT_TRUE(drawsNothing({8, 0, 16, 8}, all, {}));
    EXPECT_TRUE(drawsNothing({0, 0, 8, 8}, {8, 0, 8, 8}, {}));
    EXPECT_TRUE(drawsNothing({0, 0, 8, 8}, {1e300, 0, 1e300, 8}, {}));
    DrawOptions options;
    options.clip = RECT{2, 2, 2, 2};
    EXPECT_TRUE(drawsNothing({0, 0, 8, 8}, all, options));
    const PixelSurface none{nullptr, 0, 0, 0, SurfaceLayout::bgrx};
    EXPECT_TRUE(bitmap.DrawOnPixels(none, {0, 0, 8, 8}, all, {}, nullptr));
}

TEST(DrawOnPixels, FillsTheBackgroundForAnEmptyBitmap) {
    const OpenBitmap withoutFormat, withoutPixels(0, 0, shr::BGR_24, 8, 8);
    for (const zbm::ZBitmap* const empty : {&withoutFormat, &withoutPixels}) {
        GuardedSurface surface(2, 1, SurfaceLayout::bgra);
        DrawOptions options;
        options.background = DrawOptions::Background::color;
        options.colors[0] = {1, 2, 3, 4};
        ASSERT_TRUE(empty->DrawOnPixels(*surface, {0, 0, 2, 1}, {0, 0, 1, 1}, options, nullptr));
        EXPECT_EQ(std::vector<int>(surface->firstRow, surface->firstRow + 8),
                  (std::vector<int>{3, 2, 1, 4, 3, 2, 1, 4}));
    }
}

TEST(DrawOnPixels, ReachesTheEdgesOf32Bits) {
    const zbm::ZBasicMemBitmap bitmap = FormulaBitmap(8, 8, shr::BGRA_32, 8, 8);
    constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    for (const auto shrinking : {DrawOptions::Shrinking::nearest, DrawOptions::Shrinking::average})
        for (const SourceArea& area : {SourceArea{0, 0, 8, 8}, SourceArea{-1e9, -1e9, 2e9, 2e9},
                                       SourceArea{0, 0, 1e-300, 1e-300}, SourceArea{-1e300, -1e300, 1e301, 1e301}}) {
            GuardedSurface surface(8, 8, SurfaceLayout::pbgra);
            DrawOptions options;
            options.shrinking = shrinking;
            options.clip = RECT{least, least, most, most};
            EXPECT_TRUE(bitmap.DrawOnPixels(*surface, {least, least, most, most}, area, options, nullptr));
            EXPECT_TRUE(bitmap.DrawOnPixels(*surface, {0, 0, 1, 1}, area, options, nullptr));
            EXPECT_TRUE(surface.IsWhole());
        }
}

TEST(DrawOnPixels, AveragesManyThousandsOfPixels) {
    for (const int width : {70000, 65536, 66000, 32768, 1000}) {
        zbm::ZBasicMemBitmap bitmap(width, 2, shr::GRAYSCALE_8);
        std::vector<std::uint8_t> row(static_cast<std::size_t>(width));
        for (std::size_t x = 0; x < row.size(); ++x) row[x] = x % 4 == 0 ? 200 : 100;
        bitmap.StoreRegion(row.data(), 0, RECT{0, 0, width, 2});
        GuardedSurface surface(1, 1, SurfaceLayout::bgrx);
        ASSERT_TRUE(bitmap.DrawOnPixels(*surface, {0, 0, 1, 1}, {0, 0, double(width), 2}, {}, nullptr));
        EXPECT_NEAR(surface->firstRow[0], 125, 1) << width;
        EXPECT_EQ(surface->firstRow[3], 255);
    }
}

/// A bitmap whose reductions show something else, so that it is seen what is drawn.
zbm::ZMemBitmap WithOddLevels(int side) {
    zbm::ZMemBitmap bitmap(side, side, shr::GRAYSCALE_8, 16, 16);
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    for (unsigned level = 1; bitmap.GetPtrToPOTReduction(level) != nullptr; ++level) {
        zbm::ZBitmap& reduced = *bitmap.GetPtrToPOTReduction(level);
        for (int y = 0; y < reduced.GetPixelHeight(); ++y)
            for (int x = 0; x < reduced.GetPixelWidth(); ++x) SetPixel(reduced, x, y, 50 * level);
    }
    return bitmap;
}

int LevelDrawn(const zbm::ZBitmap& bitmap, double zoom, const DrawOptions& options = {}) {
    GuardedSurface surface(4, 4, SurfaceLayout::bgrx);
    EXPECT_TRUE(bitmap.DrawOnPixels(*surface, {0, 0, 4, 4}, {0, 0, 4 * zoom, 4 * zoom}, options, nullptr));
    return surface->firstRow[0] / 50;
}

TEST(DrawOnPixels, TakesTheSmallestReductionThatIsNotSmallerThanTheResult) {
    zbm::ZMemBitmap bitmap = WithOddLevels(256);
    EXPECT_EQ(LevelDrawn(bitmap, 1), 0);
    EXPECT_EQ(LevelDrawn(bitmap, 1.99), 0);
    EXPECT_EQ(LevelDrawn(bitmap, 2), 1);
    EXPECT_EQ(LevelDrawn(bitmap, 3.9), 1);
    EXPECT_EQ(LevelDrawn(bitmap, 4), 2);
    DrawOptions nearest;
    nearest.shrinking = DrawOptions::Shrinking::nearest;
    EXPECT_EQ(LevelDrawn(bitmap, 4, nearest), 0);
}

TEST(DrawOnPixels, NeverTakesAReductionThatIsStale) {
    zbm::ZMemBitmap bitmap = WithOddLevels(256);
    const zbm::ZMemBitmap copy(bitmap);
    bitmap.CommitScanRect(0, 0);
    EXPECT_EQ(LevelDrawn(bitmap, 4), 0);
    EXPECT_EQ(LevelDrawn(copy, 4), 2);
}

TEST(DrawOnPixels, OfReductionsIsWithinTwoLevelsOfTheAverageOfThePicture) {
    zbm::ZMemBitmap bitmap(256, 192, shr::BGRA_32, 64, 64);
    std::mt19937 noise(7);
    for (int y = 0; y < 192; ++y)
        for (int x = 0; x < 256; ++x) SetPixel(bitmap, x, y, static_cast<std::uint32_t>(noise()));
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    for (const int scale : {2, 4, 8, 16}) {
        GuardedSurface surface(256 / scale, 192 / scale, SurfaceLayout::bgrx);
        const RECT all{0, 0, 256 / scale, 192 / scale};
        const Expected expected(bitmap, *surface, all, {0, 0, 256, 192}, {});
        ASSERT_TRUE(bitmap.DrawOnPixels(*surface, all, {0, 0, 256, 192}, {}, nullptr));
        EXPECT_LE(expected.MostDifference(), 2) << scale;
    }
}

TEST(DrawOnPixels, AveragesFewGreysFromThePicturesOwnPixels) {
    for (const auto format : {shr::GRAYSCALE_1, shr::GRAYSCALE_4}) {
        zbm::ZMemBitmap bitmap(128, 128, format, 64, 64);
        std::mt19937 noise(9);
        for (int y = 0; y < 128; ++y)
            for (int x = 0; x < 128; ++x) SetPixel(bitmap, x, y, static_cast<std::uint32_t>(noise() % 8 == 0));
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        GuardedSurface surface(16, 16, SurfaceLayout::bgrx);
        const RECT all{0, 0, 16, 16};
        const Expected expected(bitmap, *surface, all, {0, 0, 128, 128}, {});
        ASSERT_TRUE(bitmap.DrawOnPixels(*surface, all, {0, 0, 128, 128}, {}, nullptr));
        EXPECT_LE(expected.MostDifference(), 2) << format;
    }
}

}  // namespace

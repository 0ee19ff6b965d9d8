// Chains of filters over a bitmap, from tile to tile and line by line: the same pixels and masks, the same picture at
// each report, the same error where a filter fails, and the same left behind where they are cancelled. Bitmaps and
// filters are thrown with dice; a failure tells the seed.
#include <gtest/gtest.h>

#include "file/FilterWays.h"
#include "zbm/RunFilters.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfNull.h"
#include "zpixf/ZPixfQuantize.h"

namespace {

using namespace testkit;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;

/// A host's own: turns all channels round, and fails once so many pixels have come.
class Invert final : public zpixf::ZPixfPointwise {
public:
    Invert(zpixf::ZPixfType newType, std::size_t pixelThatFails) : type(newType), failsAt(pixelThatFails) {}
    zpixf::ZPixfType FilterType() const override { return type; }
    bool ChangePixels(std::uint8_t* pixels, std::size_t count) override {
        come += count;
        if (come > failsAt) return Fail("Invert", 7, L"A pixel fails.");
        for (std::size_t i = 0; i < 4 * count; ++i) pixels[i] = static_cast<std::uint8_t>(255 - pixels[i]);
        return true;
    }

protected:
    bool OnStart() override {
        come = 0;
        return true;
    }

private:
    const zpixf::ZPixfType type;
    const std::size_t failsAt;
    std::size_t come = 0;
};

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

enum class StageKind { brightness, contrast, saturation, gray, invert, handThrough, dither, quantize };

/// A stage as it is thrown, of which each run makes a filter of its own.
struct Stage {
    StageKind kind;
    double amount;
    zpixf::ZPixfType type;
    std::size_t failsAt = kNever;

    std::unique_ptr<zpixf::ZPixFilterBase> MakeFilter() const {
        switch (kind) {
            case StageKind::brightness: return Set(&zpixf::ZPixfBrightness::SetBrightness);
            case StageKind::contrast: return Set(&zpixf::ZPixfContrast::SetContrast);
            case StageKind::saturation: return Set(&zpixf::ZPixfSaturation::SetSaturation);
            case StageKind::gray: return std::make_unique<zpixf::ZPixfDesaturate>();
            case StageKind::handThrough: return std::make_unique<zpixf::ZPixfNull>();
            case StageKind::dither: return std::make_unique<zpixf::ZPixfDitherOrdered>();  // which is of lines alone
            case StageKind::quantize: return MakeQuantizer();
            default: return std::make_unique<Invert>(type, failsAt);
        }
    }

private:
    static std::unique_ptr<zpixf::ZPixFilterBase> MakeQuantizer() {
        auto quantizer = std::make_unique<zpixf::ZPixfQuantizeMedian5>();
        quantizer->SetDesiredColors(5);
        return quantizer;
    }
    template <class Filter>
    std::unique_ptr<zpixf::ZPixFilterBase> Set(void (Filter::*set)(double)) const {
        auto filter = std::make_unique<Filter>();
        (filter.get()->*set)(amount);
        return filter;
    }
};

struct Chain {
    std::vector<Stage> stages;
    bool isOfOneFilter;  ///< run as such

    bool Run(ZBitmap& bitmap, shr::IProgress* progress) const {
        std::vector<std::unique_ptr<zpixf::ZPixFilterBase>> filters;
        std::vector<zpixf::ZPixFilterBase*> borrowed;
        for (const Stage& stage : stages) borrowed.push_back(filters.emplace_back(stage.MakeFilter()).get());
        return isOfOneFilter ? bitmap.FilterScanLines(*borrowed[0], progress)
                             : zbm::RunFilters(bitmap, borrowed, progress);
    }
};

Stage RandomStage(Dice& dice) {
    constexpr zpixf::ZPixfType kTypes[] = {zpixf::ZPixfType::KeepsAlpha, zpixf::ZPixfType::MakesAlpha,
                                           zpixf::ZPixfType::Null};
    const StageKind kind = dice.OneIn(3)    ? StageKind::invert
                           : dice.OneIn(20) ? StageKind::dither
                                            : static_cast<StageKind>(dice.Below(6));
    return {kind, dice.Between(-99, 99) / 100.0, kTypes[dice.Below(3)]};
}

/// Where it has several, mostly such that leave alpha alone: others are run line by line.
Chain RandomChain(Dice& dice) {
    Chain chain;
    for (int count = dice.Between(1, 4); count > 0; --count) chain.stages.push_back(RandomStage(dice));
    chain.isOfOneFilter = chain.stages.size() == 1 && dice.OneIn(2);
    if (chain.stages.size() == 1 || dice.OneIn(5)) return chain;
    for (Stage& stage : chain.stages) {
        stage.type = zpixf::ZPixfType::KeepsAlpha;
        if (stage.kind == StageKind::handThrough) stage.kind = StageKind::invert;
    }
    return chain;
}

/// The lines that are written when line `line` is: that and all before, or where rows of tiles are put together first,
/// all in the rows before.
int LinesWritten(const ZBitmap& bitmap, bool inRows, int line) {
    if (!inRows) return line + 1;
    return line / bitmap.GetScanRectHeight() * bitmap.GetScanRectHeight();
}

struct ChainCase {
    ZBasicMemBitmap picture;
    BitmapKind kind;
    Chain chain;

    bool IsInRows(Way way) const {
        return kind == BitmapKind::onFile || (way == Way::lineByLine && !chain.isOfOneFilter);
    }
    int Height() const { return picture.GetPixelHeight(); }
    /// What must be written at the report of that number out of so many. The last comes when all lines are done; those
    /// too many are of the choice of a palette, before any line.
    int LinesAt(std::size_t report, std::size_t reports, Way way) const {
        const int firstOfLines = static_cast<int>(reports) - 2 - (Height() - 1) / 100;
        const int number = static_cast<int>(report) - firstOfLines;
        if (number < 0) return 0;
        return LinesWritten(picture, IsInRows(way), report + 1 == reports ? Height() - 1 : 100 * number);
    }
};

ChainCase RandomChainCase(Dice& dice) {
    const Layout layout = RandomShape(dice);
    const BitmapKind kind = dice.OneIn(4)   ? BitmapKind::onFile
                            : dice.OneIn(2) ? BitmapKind::basic
                                            : BitmapKind::withReductions;
    return {RandomPicture(dice, layout), kind, RandomChain(dice)};
}

class FilterWaysInPlace : public FilterWays {
protected:
    Trace Run(const ChainCase& c, Way way, int cancelAt) const {
        const auto bitmap = Made(c.picture, c.kind, way);
        EXPECT_TRUE(bitmap->CommitAll(nullptr));
        return Traced(*bitmap, cancelAt, [&](shr::IProgress* progress) { return c.chain.Run(*bitmap, progress); });
    }
    /// Each report finds the lines that are written until then, and others as they were.
    static void ExpectLinesInOrder(const ChainCase& c, Way way, const Trace& trace, const Trace& whole) {
        const Lines before = LinesOf(c.picture);
        ASSERT_EQ(trace.reports,
                  std::vector<double>(whole.reports.begin(), whole.reports.begin() + std::ssize(trace.reports)));
        for (std::size_t i = 0; i < trace.seen.size(); ++i) {
            const int lines = c.LinesAt(i, whole.reports.size(), way);
            ASSERT_EQ(trace.seen[i], Joined(whole.left, lines, before)) << "report " << i;
        }
    }
    void ExpectTheSameEitherWay(const ChainCase& c) const {
        const Trace whole = Run(c, Way::lineByLine, kToItsEnd);
        ASSERT_EQ(whole.outcome, "true");
        for (const Way way : {Way::tileByTile, Way::lineByLine}) {
            const Trace unreported = Run(c, way, kUnreported), toItsEnd = Run(c, way, kToItsEnd);
            ASSERT_EQ(unreported.left, whole.left);
            ASSERT_EQ(toItsEnd.left, whole.left);
            ASSERT_EQ(toItsEnd.reports, whole.reports);
            ASSERT_EQ(toItsEnd.hasLevels, whole.hasLevels);
            for (int cancelAt = 1; cancelAt <= std::ssize(whole.reports); ++cancelAt) {
                const Trace cancelled = Run(c, way, cancelAt);
                ASSERT_EQ(cancelled.outcome, "cancelled");
                ASSERT_EQ(std::ssize(cancelled.reports), cancelAt);
                ASSERT_EQ(cancelled.left, cancelled.seen.back());
                ExpectLinesInOrder(c, way, cancelled, whole);
            }
        }
    }
};

TEST_F(FilterWaysInPlace, GiveAndShowTheSameAlsoWhereTheyAreCancelled) {
    for (unsigned seed = 1; seed <= 250 && !HasFailure(); ++seed) {
        Dice dice(seed);
        ChainCase c = RandomChainCase(dice);
        if (dice.OneIn(5)) c.chain.stages.back().kind = StageKind::quantize;
        SCOPED_TRACE("seed " + std::to_string(seed));
        ExpectTheSameEitherWay(c);
    }
}

/// One stage fails at a pixel. Lines before are done and lines behind are not; between there may be some of both.
class FailingFilterWays : public FilterWaysInPlace {
protected:
    static std::pair<int, int> Between(const ChainCase& c, Way way, std::size_t reports, int failingLine) {
        if (c.IsInRows(way)) {
            // Line by line, a row is written when the first line of the next one is there.
            const int end = LinesWritten(c.picture, true, failingLine) + c.picture.GetScanRectHeight();
            return {LinesWritten(c.picture, true, std::max(0, failingLine - 1)), std::min(c.Height(), end)};
        }
        const int next = 100 * static_cast<int>(reports);
        return {std::max(0, next - 99), std::min(c.Height(), next + 1)};
    }
    static void ExpectPixelsOfBoth(const Lines& left, const Lines& before, const Lines& after, int first, int end) {
        for (int y = 0; y < std::ssize(left); ++y)
            for (std::size_t x = 0; x < left[0].size(); ++x) {
                const auto line = static_cast<std::size_t>(y);
                const bool isOld = y >= first && left[line][x] == before[line][x];
                const bool isNew = y < end && left[line][x] == after[line][x];
                ASSERT_TRUE(isOld || isNew) << "pixel (" << x << ", " << y << ") is " << left[line][x];
            }
    }
    void ExpectToFailAlike(ChainCase c, std::size_t stage, int failingPixel) const {
        const Trace whole = Run(c, Way::lineByLine, kToItsEnd);
        c.chain.stages[stage].failsAt = static_cast<std::size_t>(failingPixel);
        const int line = failingPixel / c.picture.GetPixelWidth();
        const Trace lines = Run(c, Way::lineByLine, kToItsEnd), tiles = Run(c, Way::tileByTile, kToItsEnd);
        ASSERT_NE(lines.outcome.find("\"A pixel fails.\""), std::string::npos) << lines.outcome;
        ASSERT_EQ(tiles.outcome, lines.outcome);
        // A row of tiles is made when it is due, which may be some reports later.
        const auto made = static_cast<std::ptrdiff_t>(lines.reports.size());
        const bool isPutOff = c.IsInRows(Way::tileByTile);
        ASSERT_TRUE(isPutOff ? std::ssize(tiles.reports) >= made : std::ssize(tiles.reports) == made);
        const Lines before = LinesOf(c.picture);
        for (const Way way : {Way::tileByTile, Way::lineByLine}) {
            const Trace& trace = way == Way::tileByTile ? tiles : lines;
            ExpectLinesInOrder(c, way, trace, whole);
            const auto [first, end] = Between(c, way, trace.reports.size(), line);
            ExpectPixelsOfBoth(trace.left, before, whole.left, first, end);
        }
    }
};

/// Here and there, or now and then in every line.
std::vector<int> RandomPixels(Dice& dice, int width, int height) {
    std::vector<int> pixels = {0, width * height - 1};
    for (int i = 0; i < 3; ++i) pixels.push_back(dice.Below(width * height));
    if (!dice.OneIn(10)) return pixels;
    for (int y = 0; y < height; ++y) pixels.push_back(width * y + dice.Below(width));
    return pixels;
}

TEST_F(FailingFilterWays, RaiseTheSameAndLeaveEachPixelDoneOrAsItWas) {
    for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
        Dice dice(seed);
        ChainCase c = RandomChainCase(dice);
        if (TableSize(c.picture.GetColorFormat()) > 0) continue;
        const auto stage = static_cast<std::size_t>(dice.Below(static_cast<int>(c.chain.stages.size())));
        c.chain.stages[stage].kind = StageKind::invert;
        SCOPED_TRACE("seed " + std::to_string(seed) + ", stage " + std::to_string(stage));
        for (const int failingPixel : RandomPixels(dice, c.picture.GetPixelWidth(), c.Height())) {
            SCOPED_TRACE("pixel " + std::to_string(failingPixel));
            ExpectToFailAlike(c, stage, failingPixel);
        }
    }
}

}  // namespace

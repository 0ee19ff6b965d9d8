// Whichever way a run of filters goes, from tile to tile or line by line, it is the same run: in pixels and masks, in
// what each report finds, in what it raises, and in what it leaves where it is cancelled or fails. Bitmaps and filters
// are thrown with dice; a failure tells the seed.
#include <gtest/gtest.h>

#include "file/FileBitmapTesting.h"
#include "file/TileWays.h"
#include "filter/RandomChange.h"
#include "zbm/RunFilters.h"

namespace {

using namespace testkit;
using shr::ColorFormat;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zbm::ZMemBitmap;

enum class Way { tileByTile, lineByLine };
enum class Kind { basic, withReductions, onFile };

/// Pixels, each with its mask above it.
using Lines = std::vector<std::vector<std::uint64_t>>;

Lines LinesOf(const ZBitmap& bitmap) {
    const bool hasMask = HasMask(bitmap.GetColorFormat());
    Lines lines(static_cast<std::size_t>(bitmap.GetPixelHeight()));
    for (auto& line : lines) line.resize(static_cast<std::size_t>(bitmap.GetPixelWidth()));
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const RECT box = bitmap.GetScanRectBBox(row, col);
            const zbm::LockedTile tile(bitmap, row, col);
            for (int y = 0; y < tile->GetHeight(); ++y) {
                std::uint64_t* out = lines[static_cast<std::size_t>(box.top + y)].data() + box.left;
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
Lines Joined(const Lines& first, int lines, const Lines& others) {
    Lines joined(first.begin(), first.begin() + lines);
    joined.insert(joined.end(), others.begin() + lines, others.end());
    return joined;
}

/// Looks at the picture at every report, as a host does that repaints.
class Host final : public TestProgress {
public:
    Host(const ZBitmap& watched, int cancelAtReport) : TestProgress(cancelAtReport), bitmap(watched) {}
    void SetProgress(double fraction) override {
        seen.push_back(LinesOf(bitmap));
        TestProgress::SetProgress(fraction);
    }
    std::vector<Lines> seen;

private:
    const ZBitmap& bitmap;
};

constexpr int kUnreported = 0, kToItsEnd = std::numeric_limits<int>::max();

/// What a host sees of a run: what that gives or raises, the picture at each report, and what is left.
struct Trace {
    std::string outcome;
    std::vector<double> reports;
    std::vector<Lines> seen;
    Lines left;
};

template <class Run>
std::string OutcomeOrErrorOf(const Run& run) {
    try {
        return OutcomeOf(run);
    } catch (const shr::Exception& error) { return Describe(error); }
}

template <class Run>
Trace Traced(ZBitmap& bitmap, int cancelAt, const Run& run) {
    Host host(bitmap, cancelAt);
    const std::string outcome = OutcomeOrErrorOf([&] { return run(cancelAt == kUnreported ? nullptr : &host); });
    EXPECT_EQ(host.openTasks, 0);
    return {outcome, host.fractions, std::move(host.seen), LinesOf(bitmap)};
}

/// High enough for some reports, in tiles of which some may be halved one by one.
Layout RandomShape(Dice& dice) {
    Layout layout = RandomLayout(dice);
    if (dice.OneIn(2)) layout.height = dice.Between(90, 330);
    if (dice.OneIn(2)) layout.tileWidth = 16 * dice.Between(1, 8);
    if (dice.OneIn(2)) layout.tileHeight = 2 * dice.Between(4, 60);
    layout.tileHeight = std::max(layout.tileHeight, 3);
    layout.type = BitmapClass::basic;
    return layout;
}

ZBasicMemBitmap RandomPicture(Dice& dice, const Layout& layout) { return std::move(*RandomBitmap(dice, layout)); }

class FilterWays : public FileBitmapTest {
protected:
    template <class Bitmap>
    static std::unique_ptr<ZBitmap> InMemoryAs(const ZBasicMemBitmap& picture) {
        auto bitmap =
            std::make_unique<Bitmap>(picture.GetPixelWidth(), picture.GetPixelHeight(), picture.GetColorFormat(),
                                     picture.GetScanRectWidth(), picture.GetScanRectHeight());
        StoreAll(picture, *bitmap);
        return bitmap;
    }
    /// The picture in a bitmap that filters run over that way.
    std::unique_ptr<ZBitmap> Made(const ZBasicMemBitmap& picture, Kind kind, Way way) const {
        const bool byTiles = way == Way::tileByTile;
        switch (kind) {
            case Kind::basic:
                return byTiles ? InMemoryAs<ZBasicMemBitmap>(picture) : InMemoryAs<ByLines<ZBasicMemBitmap>>(picture);
            case Kind::withReductions:
                return byTiles ? InMemoryAs<ZMemBitmap>(picture) : InMemoryAs<ByLines<ZMemBitmap>>(picture);
            default:
                if (byTiles) return OnFile<OpenFileBitmapByTiles>(scratch.File("tiles"), picture);
                return OnFile<OpenFileBitmap>(scratch.File("lines"), picture);
        }
    }
};

// ---- Chains of filters in place.

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

/// A stage as it is thrown, of which each run makes a filter of its own.
struct Stage {
    int kind;
    double amount;
    zpixf::ZPixfType type;
    std::size_t failsAt = kNever;

    bool ChangesAlpha() const { return kind == 4 || (kind > 5 && type != zpixf::ZPixfType::KeepsAlpha); }
    std::unique_ptr<zpixf::ZPixFilterBase> MakeFilter() const {
        switch (kind) {
            case 0: return Set(&zpixf::ZPixfBrightness::SetBrightness);
            case 1: return Set(&zpixf::ZPixfContrast::SetContrast);
            case 2: return Set(&zpixf::ZPixfSaturation::SetSaturation);
            case 3: return std::make_unique<zpixf::ZPixfDesaturate>();
            case 4: return std::make_unique<zpixf::ZPixfNull>();
            case 5: return std::make_unique<zpixf::ZPixfDitherOrdered>();  // which is of lines alone
            default: return std::make_unique<Invert>(type, failsAt);
        }
    }

private:
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

/// Seldom of lines alone, and mostly one that leaves alpha alone, where it has more than one.
Chain RandomChain(Dice& dice) {
    constexpr zpixf::ZPixfType kTypes[] = {zpixf::ZPixfType::KeepsAlpha, zpixf::ZPixfType::MakesAlpha,
                                           zpixf::ZPixfType::Null};
    Chain chain;
    int count = dice.Between(1, 4);
    for (const bool keepsAlpha = count > 1 && !dice.OneIn(5); count > 0; --count) {
        Stage stage{dice.OneIn(20) ? 5 : dice.Below(8), dice.Between(-99, 99) / 100.0, kTypes[dice.Below(3)]};
        if (keepsAlpha) stage.type = kTypes[0];
        if (keepsAlpha && stage.kind == 4) stage.kind = 6;
        chain.stages.push_back(stage);
    }
    if (dice.OneIn(8)) chain.stages = {{4, 0, kTypes[0]}};
    chain.isOfOneFilter = chain.stages.size() == 1 && dice.OneIn(2);
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
    Kind kind;
    Chain chain;

    bool IsInRows(Way way) const { return kind == Kind::onFile || (way == Way::lineByLine && !chain.isOfOneFilter); }
    int Height() const { return picture.GetPixelHeight(); }
    /// What must be written at the report of that number, counted from 0; the last comes when all lines are done.
    int LinesAt(std::size_t report, bool isLast, Way way) const {
        const int line = isLast ? Height() - 1 : 100 * static_cast<int>(report);
        return LinesWritten(picture, IsInRows(way), line);
    }
};

ChainCase RandomChainCase(Dice& dice) {
    const Layout layout = RandomShape(dice);
    const Kind kind = dice.OneIn(4) ? Kind::onFile : dice.OneIn(2) ? Kind::basic : Kind::withReductions;
    return {RandomPicture(dice, layout), kind, RandomChain(dice)};
}

class FilterWaysInPlace : public FilterWays {
protected:
    Trace Run(const ChainCase& c, Way way, int cancelAt) const {
        const auto bitmap = Made(c.picture, c.kind, way);
        return Traced(*bitmap, cancelAt, [&](shr::IProgress* progress) { return c.chain.Run(*bitmap, progress); });
    }
    /// Each report finds the lines that are written until then, and others as they were.
    static void ExpectLinesInOrder(const ChainCase& c, Way way, const Trace& trace, const Trace& whole) {
        const Lines before = LinesOf(c.picture);
        ASSERT_EQ(trace.reports,
                  std::vector<double>(whole.reports.begin(), whole.reports.begin() + std::ssize(trace.reports)));
        for (std::size_t i = 0; i < trace.seen.size(); ++i) {
            const int lines = c.LinesAt(i, i + 1 == whole.reports.size(), way);
            ASSERT_EQ(trace.seen[i], Joined(whole.left, lines, before)) << "report " << i;
        }
    }
    void ExpectTheSameEitherWay(const ChainCase& c) const {
        const Trace whole = Run(c, Way::lineByLine, kToItsEnd);
        ASSERT_EQ(whole.outcome, "true");
        // Of indices the palette is chosen first, under reports of its own.
        const bool isInOrder = TableSize(c.picture.GetColorFormat()) == 0;
        for (const Way way : {Way::tileByTile, Way::lineByLine}) {
            const Trace unreported = Run(c, way, kUnreported), toItsEnd = Run(c, way, kToItsEnd);
            ASSERT_EQ(unreported.left, whole.left);
            ASSERT_EQ(toItsEnd.left, whole.left);
            ASSERT_EQ(toItsEnd.reports, whole.reports);
            for (int cancelAt = 1; cancelAt <= std::ssize(whole.reports); ++cancelAt) {
                const Trace cancelled = Run(c, way, cancelAt);
                ASSERT_EQ(cancelled.outcome, "cancelled");
                ASSERT_EQ(std::ssize(cancelled.reports), cancelAt);
                ASSERT_EQ(cancelled.left, cancelled.seen.back());
                if (isInOrder) ExpectLinesInOrder(c, way, cancelled, whole);
            }
        }
    }
};

TEST_F(FilterWaysInPlace, GiveAndShowTheSameAlsoWhereTheyAreCancelled) {
    for (unsigned seed = 1; seed <= 250 && !HasFailure(); ++seed) {
        Dice dice(seed);
        const ChainCase c = RandomChainCase(dice);
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

TEST_F(FailingFilterWays, RaiseTheSameAndLeaveEachPixelDoneOrAsItWas) {
    for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
        Dice dice(seed);
        ChainCase c = RandomChainCase(dice);
        if (TableSize(c.picture.GetColorFormat()) > 0) continue;
        const auto stage = static_cast<std::size_t>(dice.Below(static_cast<int>(c.chain.stages.size())));
        c.chain.stages[stage].kind = 7;
        const int pixels = c.picture.GetPixelWidth() * c.Height();
        SCOPED_TRACE("seed " + std::to_string(seed) + ", stage " + std::to_string(stage));
        for (const int failingPixel : {0, pixels - 1, dice.Below(pixels), dice.Below(pixels), dice.Below(pixels)}) {
            SCOPED_TRACE("pixel " + std::to_string(failingPixel));
            ExpectToFailAlike(c, stage, failingPixel);
        }
    }
}

// ---- Creations.

/// A bitmap that is made of another: in another format, or of another size by a method.
struct CreationCase {
    ZBasicMemBitmap picture;
    Kind from, to;
    Way ofLines[2];  ///< of source and result, for the run line by line
    ColorFormat format;
    bool isOfAnotherSize;
    RECT part;
    int width, height;
    zbm::ResizeMethod method;

    bool Make(ZBasicMemBitmap& result, ZBitmap& source, shr::IProgress* progress) const {
        return isOfAnotherSize ? result.Create(width, height, source, part, method, progress)
                               : result.Create(format, source, progress);
    }
    bool Make(OpenFileBitmap& result, const shr::ZString& name, ZBitmap& source, shr::IProgress* progress) const {
        return isOfAnotherSize ? result.Create(name, width, height, source, part, method, progress)
                               : result.Create(name, format, source, progress);
    }
};

RECT RandomPart(Dice& dice, int width, int height) {
    if (!dice.OneIn(3)) return {0, 0, width, height};
    const int left = dice.Below(width), top = dice.Below(height);
    return {left, top, dice.Between(left + 1, width), dice.Between(top + 1, height)};
}

/// Often to half the size, with odd sides as well, and often of nearest pixels; often of tiles as a creation makes
/// them.
CreationCase RandomCreation(Dice& dice) {
    Layout layout = RandomShape(dice);
    if (dice.OneIn(2)) layout.tileWidth = layout.tileHeight = 512;
    const auto kind = [&] { return dice.OneIn(4) ? Kind::onFile : dice.OneIn(2) ? Kind::basic : Kind::withReductions; };
    CreationCase c{RandomPicture(dice, layout), kind(), kind(), {}, RandomFormat(dice), !dice.OneIn(3), {}, 1, 1, {}};
    if (c.format == layout.format) c.isOfAnotherSize = true;  // else it were a copy, without filters
    const int forced = dice.Below(3);
    c.ofLines[0] = forced == 1 ? Way::tileByTile : Way::lineByLine;
    c.ofLines[1] = forced == 2 ? Way::tileByTile : Way::lineByLine;
    c.part = RandomPart(dice, layout.width, layout.height);
    c.method = dice.OneIn(2) ? zbm::ResizePlain : zbm::ResizeBilinear;
    const auto halves = c.method == zbm::ResizeBilinear && !dice.OneIn(6);
    c.width = halves ? std::max(1, static_cast<int>(c.part.right - c.part.left) / 2) : dice.Between(1, 200);
    c.height = halves ? std::max(1, static_cast<int>(c.part.bottom - c.part.top) / 2) : dice.Between(1, 330);
    return c;
}

class FilterWaysOfCreations : public FilterWays {
protected:
    struct Made {
        Trace trace;
        bool isEmpty;
        Bytes file;
    };
    /// Into one that held another picture.
    template <class Bitmap>
    static Made IntoMemory(const CreationCase& c, ZBitmap& source, int cancelAt) {
        Bitmap result(9, 7, shr::GRAYSCALE_8);
        const auto run = [&](shr::IProgress* progress) { return c.Make(result, source, progress); };
        return {Traced(result, cancelAt, run), result.IsEmpty(), {}};
    }
    template <class Bitmap>
    Made IntoFile(const CreationCase& c, ZBitmap& source, int cancelAt) const {
        const shr::ZString file = scratch.File("result");
        std::filesystem::remove(shr::test::SystemPath(file));
        Bitmap result;
        const auto run = [&](shr::IProgress* progress) { return c.Make(result, file, source, progress); };
        const Trace trace = Traced(result, cancelAt, run);
        const bool isEmpty = result.IsEmpty();
        result.Close();
        return {trace, isEmpty, shr::PathExists(file) ? ReadWhole(file) : Bytes()};
    }
    Made Run(const CreationCase& c, Way way, int cancelAt) const {
        const Way fromWay = way == Way::tileByTile ? way : c.ofLines[0];
        const bool toTiles = (way == Way::tileByTile ? way : c.ofLines[1]) == Way::tileByTile;
        const auto source = FilterWays::Made(c.picture, c.from, fromWay);
        switch (c.to) {
            case Kind::basic:
                return toTiles ? IntoMemory<ZBasicMemBitmap>(c, *source, cancelAt)
                               : IntoMemory<ByLines<ZBasicMemBitmap>>(c, *source, cancelAt);
            case Kind::withReductions:
                return toTiles ? IntoMemory<ZMemBitmap>(c, *source, cancelAt)
                               : IntoMemory<ByLines<ZMemBitmap>>(c, *source, cancelAt);
            default:
                return toTiles ? IntoFile<OpenFileBitmapByTiles>(c, *source, cancelAt)
                               : IntoFile<OpenFileBitmap>(c, *source, cancelAt);
        }
    }
    /// Lines that are not there yet hold anything.
    static void ExpectLinesInOrder(const CreationCase& c, const Trace& trace, const Trace& whole) {
        for (std::size_t i = 0; i < trace.seen.size(); ++i) {
            const bool isLast = i + 1 == whole.reports.size();
            const int height = static_cast<int>(whole.left.size()),
                      line = isLast ? height - 1 : 100 * static_cast<int>(i);
            const int lines = c.to == Kind::onFile ? line / 512 * 512 : line + 1;
            const auto end = [&](const Lines& of) { return of.begin() + lines; };
            ASSERT_TRUE(std::equal(trace.seen[i].begin(), end(trace.seen[i]), whole.left.begin(), end(whole.left)))
                << "report " << i;
        }
    }
    void ExpectTheSameEitherWay(const CreationCase& c) const {
        const Made whole = Run(c, Way::lineByLine, kToItsEnd);
        ASSERT_EQ(whole.trace.outcome, "true");
        const bool isInOrder = TableSize(c.isOfAnotherSize ? c.picture.GetColorFormat() : c.format) == 0;
        for (int cancelAt = kUnreported; cancelAt <= std::ssize(whole.trace.reports); ++cancelAt) {
            SCOPED_TRACE("cancelled at report " + std::to_string(cancelAt));
            const Made tiles = Run(c, Way::tileByTile, cancelAt), lines = Run(c, Way::lineByLine, cancelAt);
            ASSERT_EQ(tiles.trace.outcome, lines.trace.outcome);
            ASSERT_EQ(tiles.trace.reports, lines.trace.reports);
            ASSERT_EQ(tiles.trace.left, lines.trace.left);
            ASSERT_EQ(tiles.isEmpty, lines.isEmpty);
            ASSERT_EQ(tiles.file, lines.file);
            if (cancelAt == kUnreported) {
                ASSERT_EQ(tiles.trace.left, whole.trace.left);
            } else if (isInOrder) {
                ExpectLinesInOrder(c, tiles.trace, whole.trace);
                ExpectLinesInOrder(c, lines.trace, whole.trace);
            }
        }
        ASSERT_EQ(Run(c, Way::tileByTile, kToItsEnd).file, whole.file);
    }
};

TEST_F(FilterWaysOfCreations, GiveAndShowTheSameAlsoWhereTheyAreCancelled) {
    for (unsigned seed = 1; seed <= 300 && !HasFailure(); ++seed) {
        Dice dice(seed);
        const CreationCase c = RandomCreation(dice);
        SCOPED_TRACE("seed " + std::to_string(seed));
        ExpectTheSameEitherWay(c);
    }
}

// ---- Reductions.

class FilterWaysOfReductions : public FilterWays {
protected:
    struct Built {
        std::string outcome;
        std::vector<double> reports;
        std::vector<Lines> levels;
    };
    Built Run(const ZBasicMemBitmap& picture, Kind kind, Way way, int cancelAt) const {
        const auto bitmap = Made(picture, kind, way);
        TestProgress progress(cancelAt);
        Built built;
        built.outcome =
            OutcomeOrErrorOf([&] { return bitmap->CommitAll(cancelAt == kUnreported ? nullptr : &progress); });
        built.reports = progress.fractions;
        for (unsigned level = 1; const ZBitmap* reduction = bitmap->GetPtrToPOTReduction(level); ++level) {
            if (reduction == bitmap.get()) break;
            built.levels.push_back(LinesOf(*reduction));
        }
        return built;
    }
};

TEST_F(FilterWaysOfReductions, GiveTheSameAlsoWhereTheyAreCancelled) {
    for (unsigned seed = 1; seed <= 80 && !HasFailure(); ++seed) {
        Dice dice(seed);
        const Kind kind = dice.OneIn(2) ? Kind::withReductions : Kind::onFile;
        const ZBasicMemBitmap picture = RandomPicture(dice, RandomShape(dice));
        SCOPED_TRACE("seed " + std::to_string(seed));
        for (int cancelAt = kUnreported, reports = 0; cancelAt <= reports + 1; ++cancelAt) {
            const Built tiles = Run(picture, kind, Way::tileByTile, cancelAt);
            const Built lines = Run(picture, kind, Way::lineByLine, cancelAt);
            ASSERT_EQ(tiles.outcome, lines.outcome) << "cancelled at report " << cancelAt;
            ASSERT_EQ(tiles.reports, lines.reports) << "cancelled at report " << cancelAt;
            ASSERT_EQ(tiles.levels, lines.levels) << "cancelled at report " << cancelAt;
            reports = static_cast<int>(tiles.reports.size());
        }
    }
}

}  // namespace

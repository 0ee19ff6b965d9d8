// Creations from other bitmaps, and reductions, made from tile to tile and line by line: the same pixels, masks and
// files, the same picture at each report, and the same left behind where they are cancelled. Bitmaps are thrown with
// dice; a failure tells the seed.
#include <gtest/gtest.h>

#include "file/FilterWays.h"

namespace {

using namespace testkit;
using shr::ColorFormat;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zbm::ZMemBitmap;

/// A bitmap that is made of another: in another format, or of another size by a method.
struct CreationCase {
    ZBasicMemBitmap picture;
    BitmapKind from, to;
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
    const auto kind = [&] {
        return dice.OneIn(4) ? BitmapKind::onFile : dice.OneIn(2) ? BitmapKind::basic : BitmapKind::withReductions;
    };
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
            case BitmapKind::basic:
                return toTiles ? IntoMemory<ZBasicMemBitmap>(c, *source, cancelAt)
                               : IntoMemory<ByLines<ZBasicMemBitmap>>(c, *source, cancelAt);
            case BitmapKind::withReductions:
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
            const int lines = c.to == BitmapKind::onFile ? line / 512 * 512 : line + 1;
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
    Built Run(const ZBasicMemBitmap& picture, BitmapKind kind, Way way, int cancelAt) const {
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
        const BitmapKind kind = dice.OneIn(2) ? BitmapKind::withReductions : BitmapKind::onFile;
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

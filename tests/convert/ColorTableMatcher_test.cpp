#include "zbm/ColorTableMatcher.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "convert/MatcherKernels.h"
#include "convert/MatcherMaps.h"
#include "convert/PlainMatcher.h"
#include "core/Kernels.h"
#include "core/checks/ColorTableMatcherChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/KernelLevels.h"

namespace zbm {
namespace {

using shr::Color4b;
using testkit::Colors;

constexpr unsigned kCells = 32 * 32 * 32;

ColorTableMatcher MatcherOver(const Colors& table) {
    return ColorTableMatcher(table.data(), static_cast<unsigned>(table.size()));
}

/// Tables of all lengths that vectors could stumble over, and some that are hard on distances.
std::vector<Colors> ManyTables() {
    std::vector<Colors> tables;
    unsigned seed = 1;
    for (const unsigned count : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 100u, 255u, 256u})
        tables.push_back(testkit::RandomTable(count, seed++));
    Colors corners, grays, same(256, Color4b(1, 2, 3));
    for (int i = 0; i < 8; ++i)
        corners.push_back({static_cast<std::uint8_t>(i & 1 ? 255 : 0), static_cast<std::uint8_t>(i & 2 ? 255 : 0),
                           static_cast<std::uint8_t>(i & 4 ? 255 : 0)});
    for (int i = 0; i < 256; ++i) {
        const auto gray = static_cast<std::uint8_t>(255 - i);
        grays.push_back({gray, gray, gray});
    }
    tables.insert(tables.end(), {corners, grays, same});
    return tables;
}

/// Colours that are in the table, next to one that is, and all over the cube.
Colors Probes(const Colors& table) {
    Colors probes;
    for (const Color4b entry : table)
        for (const int step : {0, 1, 255}) {
            Color4b probe = entry;
            probe.blue = static_cast<std::uint8_t>(probe.blue + step);
            probe.alpha = static_cast<std::uint8_t>(37 * step);
            probes.push_back(probe);
        }
    std::mt19937 random(4711);
    for (int i = 0; i < 4000; ++i) probes.push_back(testkit::RandomColor(random));
    return probes;
}

TEST(ColorTableMatcher, IsNeitherCopiedNorAssigned) {
    static_assert(!std::is_copy_constructible_v<ColorTableMatcher>);
    static_assert(!std::is_copy_assignable_v<ColorTableMatcher>);
    static_assert(!std::is_move_constructible_v<ColorTableMatcher>);
}

TEST(ColorTableMatcher, HoldsTheTableAndTheTwoMaps) {
    EXPECT_EQ(sizeof(ColorTableMatcher),
              sizeof(Colors) + sizeof(std::vector<std::uint8_t>) + sizeof(std::unique_ptr<std::uint8_t[]>));
    const Colors table = testkit::RandomTable(256, 77);
    const ColorTableMatcher matcher(table.data(), 256);
    const MatcherMaps maps(matcher);
    EXPECT_EQ(Colors(maps.table, maps.table + maps.count), table);
    std::size_t nonZero = 0;
    for (std::size_t key = 0; key < std::size_t{1} << 24; ++key) {
        if (maps.exactMap[key] == 0) continue;
        ++nonZero;
        const Color4b color(key & 255, key >> 8 & 255, static_cast<std::uint8_t>(key >> 16));
        EXPECT_EQ(maps.exactMap[key], testkit::PlainExact(table, color));
    }
    EXPECT_GT(nonZero, 200u);
}

TEST(ColorTableMatcher, RaisesAnErrorForATableThatIsEmptyOrTooLong) {
    const Colors table(257);
    EXPECT_TRUE(
        testkit::RaisesInternalError([&] { ColorTableMatcher(table.data(), 0); }, ColorTableMatcherCheck::colorCount));
    EXPECT_TRUE(testkit::RaisesInternalError([&] { ColorTableMatcher(table.data(), 257); },
                                             ColorTableMatcherCheck::colorCount));
    EXPECT_TRUE(testkit::RaisesInternalError([] { ColorTableMatcher(nullptr, 1); }, ColorTableMatcherCheck::table));
}

TEST(ColorTableMatcher, KeepsACopyOfTheTable) {
    Colors table = {{200, 0, 0}, {0, 200, 0}};
    const ColorTableMatcher matcher(table.data(), 2);
    table[0] = table[1] = {0, 0, 0};
    EXPECT_EQ(matcher.MatchNearest({190, 0, 0}), 0);
    EXPECT_EQ(matcher.MatchNearest({0, 190, 0}), 1);
}

TEST(ColorTableMatcher, TakesNoAccountOfAlpha) {
    const Color4b table[] = {{10, 20, 30, 0}, {10, 20, 30, 255}, {90, 80, 70, 128}};
    const ColorTableMatcher matcher(table, 3);
    for (const int alpha : {0, 1, 127, 128, 255}) {
        const auto a = static_cast<std::uint8_t>(alpha);
        EXPECT_EQ(matcher.MatchExactOrApproximate({10, 20, 30, a}), 1);
        EXPECT_EQ(matcher.MatchExactOrApproximate({90, 80, 71, a}), 2);
        EXPECT_EQ(matcher.MatchNearest({10, 20, 30, a}), 1);
        EXPECT_EQ(matcher.MatchNearest({90, 80, 71, a}), 2);
    }
}

TEST(ColorTableMatcher, AnswersTheLastOfEqualEntriesForTheirColor) {
    const Color4b table[] = {{0, 0, 0}, {1, 1, 1}, {9, 9, 9}, {3, 3, 3}, {4, 4, 4}, {9, 9, 9}};
    const ColorTableMatcher matcher(table, 6);
    EXPECT_EQ(matcher.MatchExactOrApproximate({9, 9, 9}), 5);
    EXPECT_EQ(matcher.MatchNearest({9, 9, 9}), 5);
}

TEST(ColorTableMatcher, AnswersTheFirstOfEqualEntriesForOtherColors) {
    const Color4b table[] = {{0, 0, 0}, {250, 250, 250}, {90, 90, 90}, {250, 250, 250}, {90, 90, 90}};
    const ColorTableMatcher matcher(table, 5);
    EXPECT_EQ(matcher.MatchExactOrApproximate({91, 90, 90}), 2);
    EXPECT_EQ(matcher.MatchNearest({91, 90, 90}), 2);
    EXPECT_EQ(matcher.MatchExactOrApproximate({251, 250, 250}), 1);
    EXPECT_EQ(matcher.MatchNearest({251, 250, 250}), 1);
}

TEST(ColorTableMatcher, FindsTheColorOfTheFirstEntry) {
    const Color4b table[] = {{5, 5, 5}, {4, 4, 4}, {6, 6, 6}, {8, 8, 8}, {9, 9, 9}, {5, 5, 5}};
    // The centre of the cell of (5, 5, 5) is (4, 4, 4): only the exact match answers 0.
    EXPECT_EQ(ColorTableMatcher(table, 5).MatchExactOrApproximate({5, 5, 5}), 0);
    EXPECT_EQ(ColorTableMatcher(table, 5).MatchNearest({5, 5, 5}), 0);
    EXPECT_EQ(ColorTableMatcher(table, 6).MatchExactOrApproximate({5, 5, 5}), 5);
    EXPECT_EQ(ColorTableMatcher(table, 6).MatchNearest({5, 5, 5}), 5);
}

TEST(ColorTableMatcher, AnswersTheEntryNearestToTheCellForDarkColors) {
    const Color4b table[] = {{255, 255, 255}, {0, 0, 255}, {255, 0, 0}, {0, 0, 0}};
    const ColorTableMatcher matcher(table, 4);
    for (const int level : {0, 1, 4, 7}) {
        const auto v = static_cast<std::uint8_t>(level);
        EXPECT_EQ(matcher.MatchExactOrApproximate({v, 0, 0}), 3);
        EXPECT_EQ(matcher.MatchExactOrApproximate({v, v, v}), 3);
    }
}

TEST(ColorTableMatcher, MayAnswerAnotherThanTheNearestAtTheBorderOfACell) {
    // From the centre (4, 4, 4) black is at 48 and the other at 68; from the colour they are at 49 and 9.
    const Color4b table[] = {{0, 0, 0}, {10, 0, 0}};
    const ColorTableMatcher matcher(table, 2);
    EXPECT_EQ(matcher.MatchExactOrApproximate({7, 0, 0}), 0);
    EXPECT_EQ(matcher.MatchNearest({7, 0, 0}), 1);
}

TEST(ColorTableMatcher, KeepsTheFirstOfEntriesAtEqualDistanceFromACell) {
    const Color4b table[] = {{255, 255, 255}, {4, 4, 10}, {4, 10, 4}, {10, 4, 4}};  // all three 36 from (4, 4, 4)
    const ColorTableMatcher matcher(table, 4);
    EXPECT_EQ(matcher.MatchExactOrApproximate({7, 4, 4}), 1);
    EXPECT_EQ(matcher.MatchNearest({7, 7, 7}), 1);
    EXPECT_EQ(matcher.MatchNearest({8, 4, 4}), 3);
}

TEST(ColorTableMatcher, AnswersLikeThePlainSearchForEveryTable) {
    for (const Colors& table : ManyTables()) {
        SCOPED_TRACE(table.size());
        const ColorTableMatcher matcher = MatcherOver(table);
        for (const Color4b color : Probes(table)) {
            ASSERT_EQ(matcher.MatchExactOrApproximate(color), testkit::PlainMatchExactOrApproximate(table, color));
            ASSERT_EQ(matcher.MatchNearest(color), testkit::PlainMatchNearest(table, color));
        }
    }
}

// The two that do the work, at every level; the inverse map in all of its cells.

TableBytes BytesOf(const Colors& table) {
    return {reinterpret_cast<const std::uint8_t*>(table.data()), static_cast<unsigned>(table.size())};
}

std::vector<std::uint8_t> PlainInverseMap(const Colors& table) {
    std::vector<std::uint8_t> map;
    for (int red = 0; red < 32; ++red)
        for (int green = 0; green < 32; ++green)
            for (int blue = 0; blue < 32; ++blue)
                map.push_back(
                    static_cast<std::uint8_t>(testkit::PlainNearest(table, testkit::CenterOfCell(red, green, blue))));
    return map;
}

TEST(MatcherKernels, BuildThePlainInverseMapAtEveryLevel) {
    const auto work = std::make_unique<std::int32_t[]>(kInverseMapWork);
    for (const Colors& table : ManyTables()) {
        const std::vector<std::uint8_t> plain = PlainInverseMap(table);
        for (const cpu::Level level : testkit::LevelsHere()) {
            ASSERT_TRUE(UseKernels(level));
            std::vector<std::uint8_t> map(kCells, 0xEE);
            ActiveMatcherKernels().buildInverseMap(BytesOf(table), work.get(), map.data());
            EXPECT_EQ(map, plain) << table.size() << " colours, level " << testkit::NameOf(level);
        }
    }
    UseKernels(cpu::Choose());
}

TEST(MatcherKernels, FindThePlainNearestEntryAtEveryLevel) {
    for (const cpu::Level level : testkit::LevelsHere()) {
        ASSERT_TRUE(UseKernels(level));
        SCOPED_TRACE(testkit::NameOf(level));
        for (unsigned count = 1; count <= 256; ++count) {
            const Colors table = testkit::RandomTable(count, count);  // reads past it show under a sanitizer
            std::mt19937 random(count);
            for (int i = 0; i < 64; ++i) {
                const Color4b color = testkit::RandomColor(random);
                ASSERT_EQ(ActiveMatcherKernels().nearest(BytesOf(table), reinterpret_cast<const std::uint8_t*>(&color)),
                          testkit::PlainNearest(table, color))
                    << count << " colours";
            }
        }
    }
    UseKernels(cpu::Choose());
}

}  // namespace
}  // namespace zbm

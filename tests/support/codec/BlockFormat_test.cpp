// Blocks written out by hand, byte by byte, as an independent reader of the format would expect them. Their zstd frames
// hold one raw zstd block, so that every byte of the content can be seen.
#include <gtest/gtest.h>
#include <zstd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "Blocks.h"

namespace codec_tests {
namespace {

using zcdl::CodecMethod;

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// Magic number; single segment with a content size of one byte; the last block, raw.
Bytes RawFrame(const Bytes& content) {
    const auto size = static_cast<std::uint8_t>(content.size());
    const unsigned head = 1 | static_cast<unsigned>(content.size()) << 3;
    return Bytes{0x28,
                 0xB5,
                 0x2F,
                 0xFD,
                 0x20,
                 size,
                 static_cast<std::uint8_t>(head),
                 static_cast<std::uint8_t>(head >> 8),
                 0} +
           content;
}

void ExpectContent(const Bytes& block, const Bytes& content) {
    const Decoded decoded = Decode(block, content.size());
    EXPECT_TRUE(decoded.whole);
    EXPECT_EQ(decoded.content, content);
}

void ExpectDamaged(const Bytes& block, std::size_t byteCount) {
    const Decoded decoded = Decode(block, byteCount);
    EXPECT_FALSE(decoded.whole);
    EXPECT_TRUE(IsZero(decoded.content));
}

TEST(BlockFormat, NoBytesAreOneZeroByte) {
    for (const CodecMethod method : kMethods) EXPECT_EQ(Encode({}, method), Bytes{0});
    ExpectContent({0}, {});
    ExpectDamaged({1}, 0);
    ExpectDamaged({0, 0}, 0);
    ExpectDamaged({}, 0);
}

TEST(BlockFormat, StoredBytesStandBetweenKindAndChecksum) {
    // The checksum by hand: sums 0x00030201 and its own sum in lane 0, nothing in the others.
    const Bytes block = Sealed({1, 2, 3});
    EXPECT_EQ(Encode({2, 3}, CodecMethod::stored), block);
    EXPECT_EQ(Encode({2, 3}, CodecMethod::small), block);
    ExpectContent(block, {2, 3});
}

TEST(BlockFormat, APatternStandsOnceBehindItsLengthAndPeriod) {
    const Bytes content = {9, 8, 7, 9, 8, 7, 9, 8, 7, 9, 8, 7, 9, 8};
    const Bytes block = Sealed({2, 14, 3, 9, 8, 7});
    EXPECT_EQ(Encode(content, CodecMethod::fast), block);
    ExpectContent(block, content);
    ExpectDamaged(Sealed({2, 14, 0, 9, 8, 7}), 14);
    ExpectDamaged(Sealed({2, 14, 5, 9, 8, 7, 6, 5}), 14);
    ExpectDamaged(Sealed({2, 14, 3, 9, 8}), 14);
    ExpectDamaged(Sealed({2, 14, 3, 9, 8, 7, 1}), 14);
    ExpectDamaged(Sealed({2, 0x8E, 0, 3, 9, 8, 7}), 14);
    // A number of ten groups, even if what is beyond 63 bits would be lost.
    ExpectDamaged(Sealed(Bytes{2, 0x8E} + Bytes(8, 0x80) + Bytes{2, 3, 9, 8, 7}), 14);
}

TEST(BlockFormat, APatternIsShorterThanWhatRepeatsIt) {
    const Bytes content = {9, 8, 7, 6};
    for (std::uint8_t period = 1; period <= 4; ++period) {
        const Bytes once(content.begin(), content.begin() + period);
        const Bytes twice = once + once;
        ExpectDamaged(Sealed(Bytes{2, period, period} + once), period);
        ExpectContent(Sealed(Bytes{2, static_cast<std::uint8_t>(2 * period), period} + once), twice);
        // The first byte of the second time is enough.
        ExpectContent(Sealed(Bytes{2, static_cast<std::uint8_t>(period + 1), period} + once), once + Bytes{9});
    }
}

TEST(BlockFormat, APatternStandsOnlyWhereItIsShorterThanItsBytes) {
    EXPECT_EQ(Encode({5, 5, 5}, CodecMethod::fast), Sealed({1, 5, 5, 5}));
    EXPECT_EQ(Encode({5, 5, 5, 5}, CodecMethod::fast), Sealed({2, 4, 1, 5}));
    EXPECT_EQ(Encode({1, 2, 3, 1, 2}, CodecMethod::fast), Sealed({1, 1, 2, 3, 1, 2}));
    EXPECT_EQ(Encode({1, 2, 3, 1, 2, 3}, CodecMethod::fast), Sealed({2, 6, 3, 1, 2, 3}));
    EXPECT_EQ(Encode({1, 2, 3, 4, 1, 2}, CodecMethod::fast), Sealed({1, 1, 2, 3, 4, 1, 2}));
    EXPECT_EQ(Encode({1, 2, 3, 4, 1, 2, 3}, CodecMethod::fast), Sealed({2, 7, 4, 1, 2, 3, 4}));
}

/// The byte 5 over and over, and so many zeros behind it, or other fillers.
Bytes PatternBlock(std::uint32_t byteCount, std::size_t fillers, std::uint8_t filler = 0) {
    Bytes body = {2};
    for (; byteCount >= 128; byteCount >>= 7) body.push_back(static_cast<std::uint8_t>(byteCount | 128));
    body.insert(body.end(), {static_cast<std::uint8_t>(byteCount), 1, 5});
    body.resize(body.size() + fillers, filler);
    return Sealed(body);
}

// 10 bytes say it all; 11 are expected of more than 5 times 32768.
TEST(BlockFormat, LongPatternsAreFilledUpWithZerosToTheLeastLength) {
    constexpr std::uint32_t kUnit = 32768;
    struct Case {
        std::uint32_t byteCount;
        std::size_t zeros;
    };
    for (const Case c : {Case{4 * kUnit + 1, 0}, Case{5 * kUnit, 0}, Case{5 * kUnit + 1, 1}, Case{6 * kUnit, 1},
                         Case{6 * kUnit + 1, 2}, Case{300000, 5}}) {
        SCOPED_TRACE(c.byteCount);
        const Bytes content(c.byteCount, 5), block = PatternBlock(c.byteCount, c.zeros);
        EXPECT_EQ(Encode(content, CodecMethod::balanced), block);
        ExpectContent(block, content);
        ExpectDamaged(PatternBlock(c.byteCount, c.zeros + 1), c.byteCount);
        if (c.zeros == 0) continue;
        ExpectDamaged(PatternBlock(c.byteCount, c.zeros - 1), c.byteCount);
        ExpectDamaged(PatternBlock(c.byteCount, c.zeros, 1), c.byteCount);
    }
}

TEST(BlockFormat, AZstdFrameStandsAsItIs) {
    const Bytes content = {1, 2, 3, 4, 5};
    ExpectContent(Sealed(Bytes{3} + RawFrame(content)), content);
    ExpectDamaged(Sealed(Bytes{3} + RawFrame(content)), 4);
    ExpectDamaged(Sealed(Bytes{3} + RawFrame(content) + Bytes{0}), 5);
    // A skippable frame before it, and an older format's magic number.
    ExpectDamaged(Sealed(Bytes{3, 0x50, 0x2A, 0x4D, 0x18, 0, 0, 0, 0} + RawFrame(content)), 5);
    Bytes older = RawFrame(content);
    older[0] = 0x27;
    ExpectDamaged(Sealed(Bytes{3} + older), 5);
}

TEST(BlockFormat, AZstdFrameStandsAlone) {
    const Bytes content = {1, 2, 3, 4, 5};
    const Bytes skippable = {0x50, 0x2A, 0x4D, 0x18, 0, 0, 0, 0};
    const Bytes planesHead = {4, 5, 0, 5, 1};
    for (const Bytes& behind : {Bytes{0}, skippable, RawFrame({}), RawFrame({6})}) {
        ExpectDamaged(Sealed(Bytes{3} + RawFrame(content) + behind), content.size());
        ExpectDamaged(Sealed(planesHead + RawFrame(content) + behind), content.size());
    }
    ExpectContent(Sealed(planesHead + RawFrame(content)), content);
    // And where there is nothing to say, a skippable frame says something else.
    const Bytes constantHead = {4, 5, 0, 5, 0, 9};
    ExpectContent(Sealed(constantHead + RawFrame({})), Bytes(5, 9));
    ExpectDamaged(Sealed(constantHead + skippable), 5);
}

TEST(BlockFormat, AZstdFrameTellsItsContentsSize) {
    // The same frame with a window of 1 KiB in place of the size.
    Bytes frame = RawFrame({1, 2, 3, 4, 5});
    frame[4] = frame[5] = 0;
    ExpectDamaged(Sealed(Bytes{3} + frame), 5);
}

TEST(BlockFormat, AZstdFrameNeedsNoDictionary) {
    // The same frame with a dictionary's number, 1, behind its descriptor.
    Bytes frame = RawFrame({1, 2, 3, 4, 5});
    frame[4] |= 1;
    frame.insert(frame.begin() + 5, 1);
    ExpectDamaged(Sealed(Bytes{3} + frame), 5);
}

// Two rows of three pixels of one byte; each predictor; the length, the layout and the row's length before the plane.
TEST(BlockFormat, ResidualsAreAddedToEachPredictor) {
    const Bytes rows = {10, 12, 15, 11, 14, 13};
    const auto block = [&](std::uint8_t predictor, const Bytes& residuals) {
        return Sealed(Bytes{4, 6, 0, 3, static_cast<std::uint8_t>(1 | predictor << 2)} + RawFrame(residuals));
    };
    ExpectContent(block(0, rows), rows);
    ExpectContent(block(1, {10, 2, 3, 11, 3, 255}), rows);
    ExpectContent(block(2, {10, 12, 15, 1, 2, 254}), rows);
    // Median of left, up and left + up - up-left: 0, 10, 12 in the first row; 10, 12 of (11, 12, 13)... in the second.
    ExpectContent(block(3, {10, 2, 3, 1, 14 - 12, static_cast<std::uint8_t>(13 - 15)}), rows);
}

TEST(BlockFormat, PairsHoldTwoResidualsAndEscapesFollow) {
    // Residuals 1, -7 | 7, 100 | -100 (odd row): halves 8, 0 | 14, 15 | 15 and a residual of 0, 7.
    const Bytes head = {4, 5, 0, 5, 2 | 0 << 2};
    const Bytes content = {0x80, 0xEF, 0xF7, 100, 156};
    ExpectContent(Sealed(head + Bytes{2} + RawFrame(content)), {1, 249, 7, 100, 156});
    ExpectDamaged(Sealed(head + Bytes{1} + RawFrame({0x80, 0xEF, 0xF7, 100})), 5);
    ExpectDamaged(Sealed(head + Bytes{3} + RawFrame(content + Bytes{100})), 5);
    ExpectDamaged(Sealed(head + Bytes{6} + RawFrame(content + Bytes{1, 2, 3, 4})), 5);
    // Another half byte behind the odd row's last residual, an escape of what is packed.
    ExpectDamaged(Sealed(head + Bytes{2} + RawFrame({0x80, 0xEF, 0xF8, 100, 156})), 5);
    for (const std::uint8_t packable : Bytes{249, 0, 7})
        ExpectDamaged(Sealed(head + Bytes{2} + RawFrame({0x80, 0xEF, 0xF7, 100, packable})), 5);
    for (const std::uint8_t escape : Bytes{248, 8})
        ExpectContent(Sealed(head + Bytes{2} + RawFrame({0x80, 0xEF, 0xF7, 100, escape})), {1, 249, 7, 100, escape});
}

TEST(BlockFormat, EveryResidualMayEscapeButNoMore) {
    const Bytes rows = {10, 20, 30, 40, 50, 60}, all(6, 0xFF);
    // Pairs in two rows of three; two joint planes of three pixels each.
    const Bytes pairs = {4, 6, 0, 3, 2 | 0 << 2}, joint = {4, 6, 1, 6, 3 | 0 << 2};
    ExpectContent(Sealed(pairs + Bytes{6} + RawFrame(Bytes{0xFF, 0xF7, 0xFF, 0xF7} + rows)), rows);
    ExpectContent(Sealed(joint + Bytes{6, 3 | 0 << 2} + RawFrame(Bytes{0xFF, 0xFF, 0xFF} + rows)), rows);
    // Counts that no memory could hold are damage, and so is one that overflows the content's size.
    for (const Bytes& count :
         {Bytes{7}, Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, Bytes(8, 0xFF) + Bytes{0x3F}, Bytes(8, 0xFF) + Bytes{0x7F}}) {
        ExpectDamaged(Sealed(pairs + count + RawFrame(all + rows)), 6);
        ExpectDamaged(Sealed(joint + count + Bytes{3} + RawFrame(all + rows)), 6);
    }
}

TEST(BlockFormat, ColourPixelsAreDifferencesToGreenWithTheFirstAndThirdInOneByte) {
    // One row of two pixels B, G, R, A. B' = B - G + 128, R' = R - G + 128, G' = G + ((B' + R' + 1) >> 2) - 64.
    // (13, 10, 8, 255): B' 131, R' 126, G' 10.  (14, 10, 8, 255): B' 132, R' 126, G' 10.
    // Left-predicted: B' 131 (escape), 1; R' 126 (escape), 0; G' 10 as a byte, 0. Alpha is constant.
    const Bytes head = {4, 8, 3 | 4, 8, 3 | 1 << 2, 2, 1 | 1 << 2, 3 | 1 << 2, 0, 255};
    const Bytes content = {0xFF, 0x87, 10, 0, 131, 126};
    ExpectContent(Sealed(head + RawFrame(content)), {13, 10, 8, 255, 14, 10, 8, 255});
    Bytes threeJoint = head;
    threeJoint[6] = 3 | 1 << 2;
    ExpectDamaged(Sealed(threeJoint + RawFrame(content)), 8);
}

TEST(BlockFormat, WordsAreFoldedAndSplit) {
    // 1000, 1300, 1200: left-predicted 1000, 300, -100; folded 2000, 600, 199; low bytes, then high bytes.
    const Bytes head = {4, 6, 1 | 8, 6, 1 | 1 << 2, 1 | 1 << 2};
    const Bytes content = {0xD0, 0x58, 0xC7, 0x07, 0x02, 0x00};
    ExpectContent(Sealed(head + RawFrame(content)), {0xE8, 0x03, 0x14, 0x05, 0xB0, 0x04});
    Bytes twoPredictors = head;
    twoPredictors[5] = 1 | 2 << 2;
    ExpectDamaged(Sealed(twoPredictors + RawFrame(content)), 6);
}

TEST(BlockFormat, BytesOfNoWholePixelFollowThePlanes) {
    // Rows of 4 bytes hold one pixel of 3 and one byte of rest; two rows and two bytes more.
    const Bytes head = {4, 10, 2, 4, 1, 1, 1};
    const Bytes content = {1, 11, 2, 12, 3, 13, 4, 14, 21, 22};
    ExpectContent(Sealed(head + RawFrame(content)), {1, 2, 3, 4, 11, 12, 13, 14, 21, 22});
}

TEST(BlockFormat, LayoutsThatNoEncoderWritesAreDamage) {
    const Bytes content = {1, 2, 3, 4, 5, 6};
    // Nothing but the head is wrong: whatever part of the content that asks for is there.
    const auto refuse = [&](const Bytes& head) {
        for (std::size_t count = 0; count <= content.size(); ++count) {
            const Bytes part(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(count));
            ExpectDamaged(Sealed(head + RawFrame(part)), 6);
        }
    };
    ExpectContent(Sealed(Bytes{4, 6, 0, 6, 1} + RawFrame(content)), content);
    refuse({4, 7, 0, 6, 1});                                                        // another length
    refuse({4, 6, 16, 6, 1});                                                       // an unknown flag
    refuse({4, 6, 4, 6, 1});                                                        // colour of one byte
    refuse({4, 6, 1 | 4, 6, 1, 1});                                                 // or of two
    refuse({4, 6, 8, 6, 1});                                                        // words of one byte
    refuse({4, 6, 2 | 8, 6, 1, 1, 1});                                              // or of three
    refuse({4, 6, 1 | 8, 6, 0, 9, 1});                                              // words with a constant half
    refuse({4, 6, 0, 0, 1});                                                        // rows of nothing
    refuse({4, 6, 0, 7, 1});                                                        // rows longer than all
    refuse({4, 6, 2, 2, 1, 1, 1});                                                  // rows shorter than a pixel
    refuse({4, 6, 0, 6, 17});                                                       // an unknown plane
    refuse({4, 6, 0, 6, 4, 9});                                                     // a constant with a predictor
    refuse({4, 6, 0, 6, 3, 0});                                                     // joint with nothing
    refuse({4, 6, 0, 0x86, 0, 1});                                                  // a number not in its shortest form
    refuse({4, 6, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1, 1});  // or too long
}

/// Blocks that a former version wrote; what they hold is made anew.
struct GoldenCase {
    const char* file;
    Picture picture;
    CodecMethod method = CodecMethod::balanced;
};

std::vector<GoldenCase> GoldenCases() {
    return {{"drawing", Drawing(40, 30, 4)},
            {"drawing-planes", Photo(90, 60, 4, 0), CodecMethod::small},
            {"photo-bgra", Photo(40, 30, 4, 5)},
            {"photo-bgra-fast", Photo(40, 30, 4, 5), CodecMethod::fast},
            {"photo-bgr-padded", Photo(41, 30, 3, 5)},
            {"photo-grey", Photo(60, 40, 1, 4)},
            {"grey-words", GreyWords(40, 30)},
            {"photo-grain", Photo(40, 30, 4, 60)},
            {"mask", Mask(100, 60)}};
}

Bytes ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

TEST(BlockFormat, BlocksOfFormerVersionsStillGiveTheirPixels) {
    for (const GoldenCase& golden : GoldenCases()) {
        const Bytes block = ReadFile(std::string(ZBM_TEST_DATA) + "/codec/" + golden.file + ".block");
        ASSERT_FALSE(block.empty()) << golden.file;
        EXPECT_NE(block[0], 1) << golden.file;
        ExpectContent(block, golden.picture.bytes);
    }
}

// With another zstd the frames may differ, and the golden blocks are those of the version that they name.
TEST(BlockFormat, EverySystemWritesTheSameBlocks) {
    constexpr unsigned kZstdOfTheGoldenBlocks = 10504;
    for (const GoldenCase& golden : GoldenCases()) {
        const Bytes expected = ReadFile(std::string(ZBM_TEST_DATA) + "/codec/" + golden.file + ".block");
        const Bytes block = Encode(golden.picture.bytes, golden.method);
        ASSERT_FALSE(expected.empty()) << golden.file;
        EXPECT_EQ(block[0], expected[0]) << golden.file;
        if (ZSTD_versionNumber() == kZstdOfTheGoldenBlocks) { EXPECT_EQ(block, expected) << golden.file; }
        ExpectContent(block, golden.picture.bytes);
    }
}

}  // namespace
}  // namespace codec_tests

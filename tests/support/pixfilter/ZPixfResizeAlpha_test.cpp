// What becomes of transparency when a picture is resampled.
#include <algorithm>
#include <array>

#include "ResizePictures.h"

namespace zpixf::resampling {
namespace {

using Pixel = std::array<std::uint8_t, 4>;
constexpr Pixel kClearRed = {0, 0, 255, 0}, kBlue = {255, 0, 0, 255};

ResizePicture HalfAndHalf(unsigned side, Pixel left, Pixel right) {
    ResizePicture picture(side, side);
    for (unsigned y = 0; y < side; ++y)
        for (unsigned x = 0; x < side; ++x) std::memcpy(picture.At(x, y), (x < side / 2 ? left : right).data(), 4);
    return picture;
}

TEST(ResizeAlpha, LetsNothingOfATransparentPixelShowInItsNeighbours) {
    for (const Method method : kWeighted)
        for (const unsigned side : {7u, 13u, 20u, 61u}) {
            const ResizePicture to = Resized(method, HalfAndHalf(26, kClearRed, kBlue), side, side);
            for (unsigned y = 0; y < side; ++y)
                for (unsigned x = 0; x < side; ++x)
                    if (to.At(x, y)[3] != 0) {
                        EXPECT_EQ(to.At(x, y)[0], 255) << x;
                        EXPECT_EQ(to.At(x, y)[2], 0) << x;
                    }
        }
}

TEST(ResizeAlpha, KeepsTheColoursThatATransparentAreaHides) {
    for (const Method method : kWeighted)
        for (const unsigned side : {8u, 13u, 61u}) {
            const ResizePicture to = Resized(method, HalfAndHalf(26, kClearRed, kBlue), side, side);
            EXPECT_EQ(std::memcmp(to.At(0, side / 2), kClearRed.data(), 4), 0);
        }
}

TEST(ResizeAlpha, ResizesTheHiddenColoursOfAnEntirelyTransparentPictureLikeOpaqueOnes) {
    for (const Method method : kWeighted)
        for (const unsigned side : {5u, 13u, 18u, 41u}) {
            const ResizePicture opaque = NoisePicture(26, 26, Alpha::opaque);
            ResizePicture clear = opaque, expected = Resized(method, opaque, side, side);
            for (std::size_t i = 3; i < clear.bytes.size(); i += 4) clear.bytes[i] = 0;
            for (std::size_t i = 3; i < expected.bytes.size(); i += 4) expected.bytes[i] = 0;
            EXPECT_EQ(Resized(method, clear, side, side).bytes, expected.bytes);
        }
}

TEST(ResizeAlpha, WeighsEachColourByItsAlpha) {
    // Blue 200 at alpha 64 beside blue 40 at 192: (200 * 64 + 40 * 192) / 256 = 80 at the mean alpha, 128.
    ResizePicture pair(2, 2);
    for (unsigned y = 0; y < 2; ++y) {
        std::memcpy(pair.At(0, y), Pixel{200, 0, 10, 64}.data(), 4);
        std::memcpy(pair.At(1, y), Pixel{40, 0, 10, 192}.data(), 4);
    }
    const ResizePicture to = Resized(Method::bilinear, pair, 1, 1);
    EXPECT_EQ(to.bytes, (std::vector<std::uint8_t>{80, 0, 10, 128}));
}

TEST(ResizeAlpha, IsResizedAsAColourIs) {
    for (const Method method : kWeighted)
        for (const unsigned side : {5u, 10u, 14u, 33u}) {
            ResizePicture from = NoisePicture(20, 20, Alpha::varied), grey(20, 20);
            for (std::size_t i = 0; i < from.bytes.size(); ++i)
                grey.bytes[i] = i % 4 == 3 ? std::uint8_t{255} : from.bytes[i / 4 * 4 + 3];
            const ResizePicture to = Resized(method, from, side, side), greyTo = Resized(method, grey, side, side);
            for (std::size_t i = 3; i < to.bytes.size(); i += 4) ASSERT_EQ(to.bytes[i], greyTo.bytes[i - 3]);
        }
}

TEST(ResizeAlpha, KeepsASlopeOfAlphaSmoothAndItsColourWhole) {
    ResizePicture slope(64, 4);
    for (unsigned y = 0; y < 4; ++y)
        for (unsigned x = 0; x < 64; ++x)
            std::memcpy(slope.At(x, y), Pixel{30, 140, 250, static_cast<std::uint8_t>(4 * x)}.data(), 4);
    for (const Method method : kWeighted)
        for (const unsigned width : {21u, 32u, 64u, 201u}) {
            const ResizePicture to = Resized(method, slope, width, 4);
            for (unsigned x = 0; x < width; ++x) {
                ASSERT_EQ(std::memcmp(to.At(x, 1), Pixel{30, 140, 250}.data(), 3), 0) << "only alpha differs";
                ASSERT_GE(to.At(x, 1)[3], to.At(x == 0 ? 0 : x - 1, 1)[3]);
            }
        }
}

// The dips of a cubic beside an edge would have alpha below 0 and above 255.
TEST(ResizeAlpha, IsCutOffWhereACubicShootsOverAnEdge) {
    const ResizePicture to = Resized(Method::catmullRom, HalfAndHalf(8, kClearRed, kBlue), 32, 32);
    unsigned before = 0;
    for (unsigned x = 0; x < 32; ++x) {
        const unsigned alpha = to.At(x, 16)[3];
        EXPECT_GE(alpha, before) << x;
        before = alpha;
    }
    EXPECT_EQ(to.At(12, 16)[3], 0);
    EXPECT_EQ(to.At(19, 16)[3], 255);
}

/// To nearest; halves go up or down as on a chequered board that is counted from the nearer borders.
unsigned Quotient(unsigned dividend, unsigned divisor, bool roundsUp) {
    return (2 * dividend + divisor - (roundsUp ? 0 : 1)) / (2 * divisor);
}

void ExpectHalf(const ResizePicture& from, const ResizePicture& half) {
    const auto fromBorder = [](unsigned place, unsigned places) { return std::min(place, places - 1 - place); };
    for (unsigned y = 0; y < half.height; ++y)
        for (unsigned x = 0; x < half.width; ++x) {
            const std::uint8_t* const four[] = {from.At(2 * x, 2 * y), from.At(2 * x + 1, 2 * y),
                                                from.At(2 * x, 2 * y + 1), from.At(2 * x + 1, 2 * y + 1)};
            const bool roundsUp = (fromBorder(x, half.width) + fromBorder(y, half.height)) % 2 == 0;
            unsigned alphas = 0;
            for (const auto* pixel : four) alphas += pixel[3];
            for (unsigned c = 0; c < 3; ++c) {
                unsigned sum = 0;
                for (const auto* pixel : four) sum += pixel[c] * (alphas == 0 ? 1u : pixel[3]);
                ASSERT_EQ(half.At(x, y)[c], Quotient(sum, alphas == 0 ? 4 : alphas, roundsUp)) << x << ", " << y;
            }
            ASSERT_EQ(half.At(x, y)[3], Quotient(alphas, 4, roundsUp)) << x << ", " << y;
        }
}

TEST(ResizeAlpha, OfAnExactHalfWeighsToNearestWithHalvesUpAndDownByTurns) {
    for (const unsigned width : {1u, 2u, 7u, 8u, 9u, 31u, 64u, 333u})
        for (const Alpha alpha : {Alpha::opaque, Alpha::varied, Alpha::rare}) {
            const ResizePicture noise = NoisePicture(2 * width, 64, alpha, width);
            ExpectHalf(noise, Resized(Method::bilinear, noise, width, 32));
        }
}

/// Alphas of 0, 1, 2, 254 and 255 and few levels: means that are halves, or nearly.
TEST(ResizeAlpha, OfAnExactHalfIsExactWhereMeansAreHalvesOrNearly) {
    constexpr std::uint8_t kAlphas[] = {0, 1, 2, 3, 254, 255}, kLevels[] = {0, 1, 2, 127, 128, 253, 254, 255};
    ResizePicture picture(512, 512);
    std::uint32_t seed = 5;
    for (std::size_t i = 0; i < picture.bytes.size(); ++i)
        picture.bytes[i] = i % 4 == 3 ? kAlphas[NextRandom(seed) % 6] : kLevels[NextRandom(seed) % 8];
    ExpectHalf(picture, Resized(Method::bilinear, picture, 256, 256));
}

TEST(ResizeAlpha, OfAnExactHalfIsTheSameInPartsOfIt) {
    constexpr unsigned kHeight = 5;
    for (const unsigned width : {9u, 40u}) {
        const ResizePicture from = NoisePicture(2 * width, 2 * kHeight, Alpha::varied);
        const ResizePicture whole = Resized(Method::bilinear, from, width, kHeight);
        ZPixfResizeBilinear filter;
        filter.SetInputFormat(ZPixFormat(2 * width, 2 * kHeight, 4, 8, 0));
        filter.SetOutputFormat(ZPixFormat(width, kHeight, 4, 8, 0));
        ASSERT_NE(filter.AsHalving(), nullptr);
        const auto expectSame = [&](unsigned x, unsigned y, unsigned columns, unsigned lines, bool bottomUp) {
            const std::ptrdiff_t stride = 4 * static_cast<std::ptrdiff_t>(columns) + 12;
            std::vector<std::uint8_t> made(static_cast<std::size_t>(stride) * lines);
            std::uint8_t* const first = made.data() + (bottomUp ? (lines - 1) * stride : 0);
            const std::ptrdiff_t step = bottomUp ? -stride : stride;
            filter.AsHalving()->Halve(
                {x, y, columns, lines, from.At(2 * x, 2 * y), from.At(0, 1) - from.At(0, 0), first, step, bottomUp});
            for (unsigned line = 0; line < lines; ++line)
                ASSERT_EQ(std::memcmp(first + line * step, whole.At(x, y + line), std::size_t{4} * columns), 0)
                    << x << " " << y << " " << columns << " x " << lines << " line " << line;
        };
        for (unsigned x = 0; x < width; ++x)
            for (unsigned columns = 1; x + columns <= width; ++columns)
                for (unsigned y = 0; y < kHeight; ++y)
                    for (unsigned lines = 1; y + lines <= kHeight; ++lines)
                        for (const bool bottomUp : {false, true})
                            ASSERT_NO_FATAL_FAILURE(expectSame(x, y, columns, lines, bottomUp));
    }
}

class HostsBilinear final : public ZPixfResizeBilinear {};

TEST(ResizeAlpha, IsPromisedForPartsOnlyByAnExactHalfOfThisFilter) {
    const auto promises = [](ZPixFilterBase&& filter, unsigned width, unsigned height) {
        filter.SetInputFormat(ZPixFormat(20, 10, 4, 8, 0));
        filter.SetOutputFormat(ZPixFormat(width, height, 4, 8, 0));
        return filter.AsHalving() != nullptr;
    };
    EXPECT_TRUE(promises(ZPixfResizeBilinear(), 10, 5));
    EXPECT_FALSE(promises(ZPixfResizeBilinear(), 10, 6));
    EXPECT_FALSE(promises(ZPixfResizeBilinear(), 9, 5));
    EXPECT_FALSE(promises(HostsBilinear(), 10, 5));
    EXPECT_FALSE(promises(ZPixfResizeBicubic(), 10, 5));
    EXPECT_FALSE(promises(ZPixfResize(), 10, 5));
}

}  // namespace
}  // namespace zpixf::resampling

// What a caller of CEncode and CDecode sees.
#include "zcdl/Codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "Blocks.h"

namespace codec_tests {
namespace {

using zcdl::CodecMethod;

void ExpectRoundTrip(const Bytes& content, CodecMethod method, const std::string& what) {
    const Bytes block = Encode(content, method);
    EXPECT_LE(block.size(), zcdl::MaxEncodedSize(content.size())) << what;
    EXPECT_GE(block.size(), zcdl::MinEncodedSize(content.size())) << what;
    const Decoded decoded = Decode(block, content.size());
    EXPECT_TRUE(decoded.whole) << what;
    EXPECT_EQ(decoded.content, content) << what;
}

TEST(Codec, ReturnsEveryLengthUpTo300OfEveryKindByEveryMethod) {
    const Picture kinds[] = {Photo(25, 3, 4, 5), Photo(33, 4, 3, 5), Photo(300, 1, 1, 3), GreyWords(76, 2),
                             Drawing(25, 3, 4),  Mask(300, 8),       Noise(300),          Flat(300)};
    for (const Picture& kind : kinds) {
        for (std::size_t length = 0; length <= 300; ++length) {
            const Bytes content(kind.bytes.begin(), kind.bytes.begin() + static_cast<std::ptrdiff_t>(length));
            for (const CodecMethod method : kMethods)
                ExpectRoundTrip(content, method, kind.name + " length " + std::to_string(length));
        }
    }
}

TEST(Codec, ReturnsPicturesOfAllShapesByEveryMethod) {
    for (const Picture& picture : LargePictures()) {
        for (const CodecMethod method : kMethods)
            ExpectRoundTrip(picture.bytes, method, picture.name + " of " + std::to_string(picture.bytes.size()));
    }
}

TEST(Codec, ReturnsPiecesOfPicturesThatAreNoWholeRows) {
    Random random(5);
    for (const Picture& picture : {Photo(200, 90, 4, 4), Photo(200, 90, 3, 4), GreyWords(200, 90)}) {
        for (int piece = 0; piece < 60; ++piece) {
            const std::size_t from = random.Below(5000), count = 1 + random.Below(12000);
            const Bytes content(picture.bytes.begin() + static_cast<std::ptrdiff_t>(from),
                                picture.bytes.begin() + static_cast<std::ptrdiff_t>(from + count));
            ExpectRoundTrip(content, CodecMethod::balanced, picture.name + " piece of " + std::to_string(count));
        }
    }
}

// The quick look sees a few rows only; what it did not see must come back all the same.
TEST(Codec, ReturnsPicturesThatAreNotWhatTheyLookLike) {
    for (const std::size_t step : {1u, 2u, 3u, 4u}) {
        const Picture plain = Photo(300, 200, step, 2);
        for (const std::size_t at :
             {std::size_t{0}, std::size_t{3}, plain.bytes.size() / 2 + 3, plain.bytes.size() - 1}) {
            Bytes content = plain.bytes;
            content[at] = static_cast<std::uint8_t>(content[at] ^ 0x80);
            ExpectRoundTrip(content, CodecMethod::balanced, plain.name + " changed at " + std::to_string(at));
        }
        Bytes content = plain.bytes;
        const Picture noise = Noise(content.size() / 3);
        std::copy(noise.bytes.begin(), noise.bytes.end(),
                  content.begin() + static_cast<std::ptrdiff_t>(content.size() / 3));
        for (const CodecMethod method : kMethods) ExpectRoundTrip(content, method, plain.name + " with noise");
    }
}

/// Noise wherever no sample of 16 rows spread over the picture, nor the rows before these, can meet it.
/// Only in one of `every` bytes, the first of each pixel.
Bytes WithUnseenNoise(const Picture& picture, std::size_t toRow, std::size_t every) {
    const std::size_t rows = picture.bytes.size() / picture.rowBytes;
    const auto isSeen = [&](std::size_t row) {
        for (std::size_t i = 0; i < 16; ++i) {
            const std::size_t sample = 1 + (rows - 2) * (2 * i + 1) / 32;
            if (row == sample || row + 1 == sample) return true;
        }
        return false;
    };
    Bytes content = picture.bytes;
    Random random(1);
    for (std::size_t row = 0; row < toRow; ++row)
        for (std::size_t i = 0; !isSeen(row) && i < picture.rowBytes; i += every)
            content[row * picture.rowBytes + i] = static_cast<std::uint8_t>(random.Next());
    return content;
}

// Far more residuals escape than there was room made for, in one plane, in several and in joint ones.
TEST(Codec, ReturnsPicturesWithMoreGrainThanAQuickLookCanSee) {
    for (const std::size_t step : {1u, 3u, 4u}) {
        const Picture picture = Photo(400, 300, step, 3);
        for (const std::size_t toRow : {100u, 130u, 150u}) {
            for (const std::size_t every : {std::size_t{1}, step}) {
                const Bytes content = WithUnseenNoise(picture, toRow, every);
                for (const CodecMethod method : {CodecMethod::fast, CodecMethod::small})
                    ExpectRoundTrip(content, method, picture.name + " to row " + std::to_string(toRow));
            }
        }
    }
}

// Of two joint planes neither is left alone when there is no more room, whichever row finds that out.
TEST(Codec, ReturnsColoursWhoseJointPlanesRunOutOfRoomAtAnyRow) {
    const Picture picture = Photo(400, 300, 3, 3);
    for (std::size_t toRow = 100; toRow < 140; ++toRow)
        ExpectRoundTrip(WithUnseenNoise(picture, toRow, 3), CodecMethod::fast, "to row " + std::to_string(toRow));
}

TEST(Codec, ShrinksPhotographsToLessThanThePixelsLookLikeToAByteCompressor) {
    const Picture photo = Photo(256, 256, 4, 4);
    const std::size_t stored = Encode(photo.bytes, CodecMethod::stored).size();
    const std::size_t fast = Encode(photo.bytes, CodecMethod::fast).size();
    const std::size_t balanced = Encode(photo.bytes, CodecMethod::balanced).size();
    const std::size_t small = Encode(photo.bytes, CodecMethod::small).size();
    EXPECT_GT(stored, photo.bytes.size());
    EXPECT_LT(fast, stored / 3);
    EXPECT_LE(balanced, fast + fast / 100);
    EXPECT_LE(small, balanced);
}

TEST(Codec, SmallIsNeverLargerThanBalancedForPictures) {
    for (const Picture& picture : LargePictures()) {
        EXPECT_LE(Encode(picture.bytes, CodecMethod::small).size(), Encode(picture.bytes, CodecMethod::balanced).size())
            << picture.name << " of " << picture.bytes.size();
    }
}

TEST(Codec, StoresWhatDoesNotShrink) {
    const Picture noise = Noise(5000);
    for (const CodecMethod method : kMethods) {
        const Bytes block = Encode(noise.bytes, method);
        EXPECT_EQ(block.size(), noise.bytes.size() + 5);
        EXPECT_EQ(block, Encode(noise.bytes, CodecMethod::stored));
    }
}

TEST(Codec, KeepsPlainPatternsInAHandfulOfBytes) {
    for (std::size_t period = 1; period <= 4; ++period) {
        Bytes content(100003);
        for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(7 + 50 * (i % period));
        ExpectRoundTrip(content, CodecMethod::fast, "period " + std::to_string(period));
        EXPECT_LE(Encode(content, CodecMethod::fast).size(), 15u);
    }
}

TEST(Codec, GivesTheSameBlockForTheSameBytesWhateverCameBefore) {
    for (const CodecMethod method : kMethods) {
        zcdl::CEncode used(method);
        for (const Picture& before : SmallPictures()) used.Encode(before.bytes.data(), before.bytes.size());
        for (const Picture& picture : {Photo(100, 80, 4, 5), Drawing(100, 80, 4), GreyWords(100, 80)}) {
            used.Encode(picture.bytes.data(), picture.bytes.size());
            EXPECT_EQ(Bytes(used.GetEncodedBytes(), used.GetEncodedBytes() + used.GetNumEncodedBytes()),
                      Encode(picture.bytes, method))
                << picture.name;
        }
    }
}

TEST(Codec, UsesItsBuffersAgainFromBlockToBlock) {
    const Picture large = Photo(200, 200, 4, 5);
    zcdl::CEncode encoder;
    zcdl::CDecode decoder;
    encoder.Encode(large.bytes.data(), large.bytes.size());
    decoder.SetEncodeBufferSize(encoder.GetNumEncodedBytes());
    const std::uint8_t* const encoded = encoder.GetEncodedBytes();
    const std::uint8_t* const input = decoder.GetEncodeBuffer();
    std::vector<Picture> pictures = SmallPictures();
    pictures.push_back(large);
    for (const Picture& picture : pictures) {
        encoder.Encode(picture.bytes.data(), picture.bytes.size());
        decoder.SetEncodeBufferSize(encoder.GetNumEncodedBytes());
        EXPECT_EQ(encoder.GetEncodedBytes(), encoded);
        EXPECT_EQ(decoder.GetEncodeBuffer(), input);
        std::memcpy(decoder.GetEncodeBuffer(), encoder.GetEncodedBytes(), encoder.GetNumEncodedBytes());
        Bytes content(picture.bytes.size());
        EXPECT_TRUE(decoder.Decode(content.data(), content.size()));
        EXPECT_EQ(content, picture.bytes);
    }
}

TEST(Codec, DecodesTheSameInputBufferMoreThanOnce) {
    const Picture photo = Photo(60, 40, 4, 5);
    const Bytes block = Encode(photo.bytes, CodecMethod::balanced);
    zcdl::CDecode decoder;
    decoder.SetEncodeBufferSize(static_cast<std::uint32_t>(block.size()));
    std::memcpy(decoder.GetEncodeBuffer(), block.data(), block.size());
    for (int turn = 0; turn < 3; ++turn) {
        Bytes content(photo.bytes.size());
        EXPECT_TRUE(decoder.Decode(content.data(), content.size()));
        EXPECT_EQ(content, photo.bytes);
    }
}

TEST(Codec, RefusesBlocksTooLongForTheirLengthFieldAndHoldsNothingThen) {
    if constexpr (sizeof(std::size_t) > 4) {
        zcdl::CEncode encoder;
        const std::uint8_t byte = 1;
        encoder.Encode(&byte, 1);
        ASSERT_NE(encoder.GetNumEncodedBytes(), 0u);
        // Only the length is looked at.
        EXPECT_THROW(encoder.Encode(&byte, std::size_t{0xFFFFFFFFu}), std::length_error);
        EXPECT_EQ(encoder.GetNumEncodedBytes(), 0u);
    }
}

TEST(Codec, BoundsOfTheBlockSizeGrowWithTheLength) {
    EXPECT_EQ(zcdl::MinEncodedSize(0), 1u);
    EXPECT_EQ(zcdl::MaxEncodedSize(0), 1u);
    std::uint64_t least = 0, most = 0;
    for (std::uint64_t length = 0; length < (std::uint64_t{1} << 40); length += 1 + length / 7) {
        EXPECT_GE(zcdl::MinEncodedSize(length), least);
        EXPECT_GE(zcdl::MaxEncodedSize(length), most);
        EXPECT_LE(zcdl::MinEncodedSize(length), zcdl::MaxEncodedSize(length));
        EXPECT_GE(zcdl::MinEncodedSize(length), length / 32768);
        least = zcdl::MinEncodedSize(length);
        most = zcdl::MaxEncodedSize(length);
    }
    EXPECT_GE(zcdl::MaxEncodedSize(UINT64_MAX), UINT64_MAX - 1);
}

constexpr std::size_t kColumnRowBytes = 64;

/// Rows that are all the same, and but for the first byte of each pixel one value: three planes of nothing, and one of
/// zeros behind its first row.
Bytes Columns(std::size_t rows) {
    Bytes content(kColumnRowBytes * rows, 200);
    for (std::size_t i = 0; i < content.size(); i += 4)
        content[i] = static_cast<std::uint8_t>(i % kColumnRowBytes * 37 / 4);
    return content;
}

// Planes of next to nothing would make blocks that no reader believes. The bound grows by one with each 32 KiB, so that
// a block of just one byte less than the bound would be met on the way.
TEST(Codec, BlocksOfPlanesAreNoShorterThanTheirBound) {
    constexpr std::size_t kRows = 32768 / kColumnRowBytes;
    std::size_t planes = 0, others = 0;
    for (std::size_t rows = 8 * kRows; others < 3;) {
        const Bytes content = Columns(rows), block = Encode(content, CodecMethod::small);
        const auto least = static_cast<std::size_t>(zcdl::MinEncodedSize(content.size()));
        ASSERT_GE(block.size(), least) << rows;
        const bool isPlanes = block[0] == 4;
        isPlanes ? ++planes : ++others;
        rows += kRows * (isPlanes ? std::max<std::size_t>(1, block.size() - least) : 1);
    }
    EXPECT_GT(planes, 0u);
}

TEST(Codec, SmallTakesPlanesForADrawingIfTheyAreTheSmaller) {
    // Steps across on a steep slope: no row is like the ones before, but nearly every pixel is as predicted.
    Bytes content(std::size_t{256} * 200);
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<std::uint8_t>(i % 256 / 32 + i / 256 * 17);
    const Bytes block = Encode(content, CodecMethod::small);
    EXPECT_EQ(block[0], 4) << "planes";
    EXPECT_EQ(Encode(content, CodecMethod::balanced)[0], 3) << "a drawing";
    EXPECT_LT(block.size(), Encode(content, CodecMethod::balanced).size());
    ExpectRoundTrip(content, CodecMethod::small, "slope");
}

TEST(Codec, BlocksOfMillionsOfLikeBytesAreNoShorterThanTheirBound) {
    Bytes content(std::size_t{5} << 20, 9);
    for (const CodecMethod method : kMethods) ExpectRoundTrip(content, method, "flat");
    content[1234567] = 10;
    for (const CodecMethod method : kMethods) ExpectRoundTrip(content, method, "flat but for one");
}

}  // namespace
}  // namespace codec_tests

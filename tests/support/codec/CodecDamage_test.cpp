// Blocks that no encoder made: each gives false and zeros, and nothing beside the buffers is touched.
#include <gtest/gtest.h>

#include <algorithm>

#include "Blocks.h"

namespace codec_tests {
namespace {

using zcdl::CodecMethod;

void ExpectRefused(const Bytes& block, std::size_t byteCount, const std::string& what) {
    const Decoded decoded = Decode(block, byteCount);
    EXPECT_FALSE(decoded.whole) << what;
    EXPECT_TRUE(IsZero(decoded.content)) << what;
}

/// Damage that also repaired the checksum may pass as other pixels, but what is refused is zero.
void ExpectHarmless(const Bytes& block, std::size_t byteCount, const std::string& what) {
    const Decoded decoded = Decode(block, byteCount);
    if (!decoded.whole) { EXPECT_TRUE(IsZero(decoded.content)) << what; }
}

TEST(CodecDamage, EveryPrefixIsRefused) {
    for (const Picture& picture : SmallPictures()) {
        for (const CodecMethod method : kMethods) {
            const Bytes block = Encode(picture.bytes, method);
            for (std::size_t length = 0; length < block.size(); ++length) {
                const Bytes prefix(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(length));
                const std::string what = picture.name + " prefix " + std::to_string(length);
                ExpectRefused(prefix, picture.bytes.size(), what);
                if (length >= 5) ExpectHarmless(Resealed(prefix), picture.bytes.size(), what);
            }
        }
    }
}

TEST(CodecDamage, EveryFlippedBitIsRefused) {
    for (const Picture& picture : SmallPictures()) {
        for (const CodecMethod method : kMethods) {
            const Bytes block = Encode(picture.bytes, method);
            for (std::size_t bit = 0; bit < 8 * block.size(); ++bit) {
                Bytes damaged = block;
                damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ (1u << bit % 8));
                ExpectRefused(damaged, picture.bytes.size(), picture.name + " bit " + std::to_string(bit));
            }
        }
    }
}

TEST(CodecDamage, EveryFlippedBitUnderAFittingChecksumIsHarmless) {
    for (const Picture& picture : SmallPictures()) {
        for (const CodecMethod method : kMethods) {
            const Bytes block = Encode(picture.bytes, method);
            for (std::size_t bit = 0; bit < 8 * (block.size() - 4); ++bit) {
                Bytes damaged = block;
                damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ (1u << bit % 8));
                ExpectHarmless(Resealed(damaged), picture.bytes.size(), picture.name + " bit " + std::to_string(bit));
            }
        }
    }
}

TEST(CodecDamage, EveryByteOfAHeadUnderAFittingChecksumIsHarmless) {
    for (const Picture& picture : SmallPictures()) {
        const Bytes block = Encode(picture.bytes, CodecMethod::balanced);
        for (std::size_t at = 0; at < std::min<std::size_t>(28, block.size() - 4); ++at) {
            for (unsigned value = 0; value < 256; ++value) {
                Bytes damaged = block;
                damaged[at] = static_cast<std::uint8_t>(value);
                ExpectHarmless(Resealed(damaged), picture.bytes.size(), picture.name + " byte " + std::to_string(at));
            }
        }
    }
}

TEST(CodecDamage, AnotherLengthThanTheBlocksIsRefused) {
    for (const Picture& picture : SmallPictures()) {
        for (const CodecMethod method : kMethods) {
            const Bytes block = Encode(picture.bytes, method);
            for (std::size_t length = 0; length < 2 * picture.bytes.size(); length += 1 + length / 9) {
                if (length == picture.bytes.size()) continue;
                ExpectRefused(block, length, picture.name + " as " + std::to_string(length));
            }
            ExpectRefused(block, picture.bytes.size() - 1, picture.name + " less one");
            ExpectRefused(block, picture.bytes.size() + 1, picture.name + " and one");
        }
    }
}

TEST(CodecDamage, BytesBehindABlockAreRefused) {
    for (const Picture& picture : SmallPictures()) {
        Bytes block = Encode(picture.bytes, CodecMethod::balanced);
        block.insert(block.end() - 4, 0);
        ExpectRefused(Resealed(block), picture.bytes.size(), picture.name);
    }
}

TEST(CodecDamage, RandomBytesUnderAFittingChecksumAreHarmless) {
    Random random(11);
    for (int turn = 0; turn < 20000; ++turn) {
        Bytes body(6 + random.Below(60));
        for (std::uint8_t& b : body) b = static_cast<std::uint8_t>(random.Next());
        body[0] = static_cast<std::uint8_t>(random.Below(6));
        const std::size_t byteCount = 1 + random.Below(3000);
        if (turn % 2 == 0 && byteCount >= 128) {
            body[1] = static_cast<std::uint8_t>(byteCount | 128);
            body[2] = static_cast<std::uint8_t>(byteCount >> 7);
        }
        ExpectHarmless(Sealed(body), byteCount, "turn " + std::to_string(turn));
    }
}

TEST(CodecDamage, ABlockTooShortForItsLengthIsRefused) {
    // A mebibyte from a few bytes: the pattern says it all, but no encoder leaves out the zeros behind it.
    const std::size_t byteCount = std::size_t{1} << 20;
    Bytes body = {2, 0x80, 0x80, 0x40, 1, 7};
    ASSERT_LT(body.size() + 4, zcdl::MinEncodedSize(byteCount));
    ExpectRefused(Sealed(body), byteCount, "too short");
    body.resize(static_cast<std::size_t>(zcdl::MinEncodedSize(byteCount)) - 4);
    EXPECT_TRUE(Decode(Sealed(body), byteCount).whole);
}

}  // namespace
}  // namespace codec_tests

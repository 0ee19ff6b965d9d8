#pragma once
// What the codec's tests share: pixels to compress, blocks in buffers of their exact size, and a checksum of its own.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zcdl/Codec.h"

namespace codec_tests {

using Bytes = std::vector<std::uint8_t>;

inline constexpr zcdl::CodecMethod kMethods[] = {zcdl::CodecMethod::stored, zcdl::CodecMethod::fast,
                                                 zcdl::CodecMethod::balanced, zcdl::CodecMethod::small};

/// The same numbers on every system.
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}
    std::uint32_t Next() {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::uint32_t>(state >> 33);
    }
    /// 0 to `limit` - 1.
    std::uint32_t Below(std::uint32_t limit) { return Next() % limit; }

private:
    std::uint64_t state;
};

/// A picture of rows padded to 32-bit words.
struct Picture {
    std::string name;
    std::size_t rowBytes;
    Bytes bytes;
};

/// Soft shades with `noise` levels of grain, in pixels of `step` bytes; with four the last one is opaque alpha.
Picture Photo(std::size_t width, std::size_t height, std::size_t step, unsigned noise);
/// Grey of 16 bits, low byte first: a ramp with grain.
Picture GreyWords(std::size_t width, std::size_t height);
/// Rectangles and lines of few colours.
Picture Drawing(std::size_t width, std::size_t height, std::size_t step);
/// A round 1-bit mask.
Picture Mask(std::size_t width, std::size_t height);
Picture Noise(std::size_t byteCount);
Picture Flat(std::size_t byteCount);
/// Each of these at a size in which all of it is soon tried.
std::vector<Picture> SmallPictures();
/// And at sizes where bands, tails and margins of all lengths occur.
std::vector<Picture> LargePictures();

Bytes Encode(const Bytes& content, zcdl::CodecMethod method);

/// What became of a block: both buffers stand in memory of their exact size, so that sanitizers see every step beside.
struct Decoded {
    bool whole;
    Bytes content;
};
Decoded Decode(const Bytes& block, std::size_t byteCount);

/// The checksum that ends a block, written for clarity.
std::uint32_t ChecksumOf(const Bytes& bytes);
/// `body` with its checksum behind it.
Bytes Sealed(Bytes body);
/// `block` with the checksum that fits what now stands before it.
Bytes Resealed(Bytes block);

bool IsZero(const Bytes& bytes);

}  // namespace codec_tests

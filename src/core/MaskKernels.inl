// Rows of masks, compiled once for each instruction-set level. Nothing here may have weak linkage, so the standard
// library stays out: a copy that was compiled for a wide level must never stand in for one that runs everywhere.
//
// A row is the pixels before the first whole mask byte (head), whole mask bytes (body), and the pixels left over.
#include <cstring>

#include "core/MaskKernels.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <immintrin.h>
#endif

namespace zbm {
namespace {

using std::size_t;
using std::uint8_t;

unsigned BitOf(size_t x) { return 0x80u >> (x & 7); }

void SetBit(uint8_t* mask, size_t x, bool value) {
    const unsigned byte = mask[x >> 3];
    mask[x >> 3] = static_cast<uint8_t>(value ? byte | BitOf(x) : byte & ~BitOf(x));
}

void ExpandBits(uint8_t* lastByte, size_t pixelStep, const uint8_t* mask, size_t x, size_t count) {
    for (size_t i = x; i < x + count; ++i, lastByte += pixelStep) *lastByte = (mask[i >> 3] & BitOf(i)) != 0 ? 255 : 0;
}

/// From pixels of 4 bytes.
void PackBits(uint8_t* mask, size_t x, const uint8_t* pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) SetBit(mask, x + i, pixels[4 * i + 3] >= 128);
}

struct Parts {
    size_t head, maskBytes, tail;  ///< pixels, bytes, pixels
    size_t BeforeTail() const { return head + 8 * maskBytes; }
};

Parts PartsOf(size_t x, size_t count) {
    const size_t ahead = (8 - (x & 7)) & 7, head = ahead < count ? ahead : count;
    return {head, (count - head) / 8, (count - head) % 8};
}

#if defined(__AVX2__)

/// Eight pixels of 4 bytes a mask byte. Written out, since GCC takes the words of the plain loop one by one through the
/// stack.
void ExpandBytes4(uint8_t* pixels, const uint8_t* mask, size_t maskBytes) {
    const __m256i bitOfPixel = _mm256_setr_epi32(0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01);
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xFF000000u));
    for (size_t i = 0; i < maskBytes; ++i, pixels += 32) {
        auto* const eight = reinterpret_cast<__m256i*>(pixels);
        const __m256i bits = _mm256_and_si256(_mm256_set1_epi32(mask[i]), bitOfPixel);
        const __m256i opaque = _mm256_and_si256(_mm256_cmpeq_epi32(bits, bitOfPixel), alpha);
        _mm256_storeu_si256(eight, _mm256_or_si256(_mm256_andnot_si256(alpha, _mm256_loadu_si256(eight)), opaque));
    }
}

#else

// The alpha bits of eight pixels of 4 bytes, for each value of a mask byte.
struct EightAlphas {
    alignas(32) std::uint32_t pixel[8];
};
struct AlphaTable {
    EightAlphas ofMaskByte[256];
};
constexpr AlphaTable MakeAlphaTable() {
    AlphaTable table{};
    for (unsigned value = 0; value < 256; ++value)
        for (unsigned i = 0; i < 8; ++i)
            table.ofMaskByte[value].pixel[i] = (value & (0x80u >> i)) != 0 ? 0xFF000000u : 0;
    return table;
}
constexpr AlphaTable kAlphas = MakeAlphaTable();

/// Eight pixels of 4 bytes a mask byte, as whole words: one masked merge each instead of a bit test and a byte store.
void ExpandBytes4(uint8_t* pixels, const uint8_t* mask, size_t maskBytes) {
    for (size_t i = 0; i < maskBytes; ++i, pixels += 32) {
        std::uint32_t words[8];
        std::memcpy(words, pixels, 32);
        for (size_t k = 0; k < 8; ++k) words[k] = (words[k] & 0x00FFFFFFu) | kAlphas.ofMaskByte[mask[i]].pixel[k];
        std::memcpy(pixels, words, 32);
    }
}

#endif

#if defined(__AVX2__)

/// The sign of a little-endian pixel is the top bit of its alpha. Signs are gathered the last one first.
unsigned PackEight(const uint8_t* pixels) {
    const __m256i lastFirst = _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0);
    const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels));
    return static_cast<unsigned>(
        _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_permutevar8x32_epi32(eight, lastFirst))));
}

#elif defined(__SSE2__) || defined(_M_X64)

/// The sign of a little-endian pixel is the top bit of its alpha. Signs are gathered the last one first.
unsigned PackFour(const uint8_t* pixels) {
    const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(_mm_shuffle_epi32(four, 0x1B))));
}
unsigned PackEight(const uint8_t* pixels) { return PackFour(pixels) << 4 | PackFour(pixels + 16); }

#else

unsigned PackEight(const uint8_t* pixels) {
    unsigned bits = 0;
    for (size_t i = 0; i < 8; ++i) bits = bits << 1 | pixels[4 * i + 3] >> 7;
    return bits;
}

#endif

void Expand(uint8_t* lastByte, size_t pixelStep, const uint8_t* mask, size_t x, size_t count) {
    if (pixelStep != 4) return ExpandBits(lastByte, pixelStep, mask, x, count);
    const Parts parts = PartsOf(x, count);
    ExpandBits(lastByte, 4, mask, x, parts.head);
    ExpandBytes4(lastByte + 4 * parts.head - 3, mask + ((x + parts.head) >> 3), parts.maskBytes);
    ExpandBits(lastByte + 4 * parts.BeforeTail(), 4, mask, x + parts.BeforeTail(), parts.tail);
}

bool IsOpaque(const uint8_t* mask, size_t count) {
    uint8_t all = 0xFF;
    for (size_t i = 0; i < count / 8; ++i) all &= mask[i];
    const auto last = static_cast<uint8_t>(0xFF >> count % 8);  // the bits behind
    return all == 0xFF && (count % 8 == 0 || (mask[count / 8] | last) == 0xFF);
}

void Pack(uint8_t* mask, size_t x, const uint8_t* pixels, size_t count) {
    const Parts parts = PartsOf(x, count);
    PackBits(mask, x, pixels, parts.head);
    uint8_t* const whole = mask + ((x + parts.head) >> 3);
    for (size_t i = 0; i < parts.maskBytes; ++i)
        whole[i] = static_cast<uint8_t>(PackEight(pixels + 4 * parts.head + 32 * i));
    PackBits(mask, x + parts.BeforeTail(), pixels + 4 * parts.BeforeTail(), parts.tail);
}

constexpr MaskKernels kKernels = {&Expand, &IsOpaque, &Pack};

}  // namespace
}  // namespace zbm

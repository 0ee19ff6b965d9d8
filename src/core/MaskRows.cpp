#include "core/MaskRows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "shr/Color4b.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

namespace zbm {

namespace {

using std::size_t;
using std::uint8_t;

std::uint8_t AlphaOfBit(const uint8_t* mask, size_t x) {
    return (mask[x >> 3] & (0x80 >> (x & 7))) != 0 ? shr::ALPHA_MAX : shr::ALPHA_MIN;
}

void SetBit(uint8_t* mask, size_t x, bool value) {
    const auto bit = static_cast<uint8_t>(0x80 >> (x & 7));
    mask[x >> 3] = static_cast<uint8_t>(value ? mask[x >> 3] | bit : mask[x >> 3] & ~bit);
}

void ExpandBits(uint8_t* lastByte, size_t pixelStep, const uint8_t* mask, size_t x, size_t count) {
    for (size_t i = 0; i < count; ++i) lastByte[i * pixelStep] = AlphaOfBit(mask, x + i);
}

/// Pixels before the first whole mask byte, at most `count`.
size_t HeadPixels(size_t x, size_t count) { return std::min((8 - (x & 7)) & 7, count); }

// The alpha bits of eight pixels of 4 bytes, for each value of a mask byte.
struct EightAlphas {
    alignas(32) std::uint32_t pixel[8];
};
constexpr std::array<EightAlphas, 256> MakeAlphaTable() {
    std::array<EightAlphas, 256> table{};
    for (unsigned value = 0; value < 256; ++value)
        for (unsigned i = 0; i < 8; ++i) table[value].pixel[i] = (value & (0x80u >> i)) != 0 ? 0xFF000000u : 0;
    return table;
}
constexpr std::array<EightAlphas, 256> kAlphaOfMaskByte = MakeAlphaTable();

/// Eight pixels of 4 bytes a mask byte, as whole words: one masked merge each instead of a bit test and a byte store.
void ExpandBytes4(uint8_t* pixels, const uint8_t* mask, size_t maskBytes) {
    static_assert(std::endian::native == std::endian::little);
    for (size_t i = 0; i < maskBytes; ++i, pixels += 32) {
        std::uint32_t words[8];
        std::memcpy(words, pixels, 32);
        for (size_t k = 0; k < 8; ++k) words[k] = (words[k] & 0x00FFFFFFu) | kAlphaOfMaskByte[mask[i]].pixel[k];
        std::memcpy(pixels, words, 32);
    }
}

#if defined(__SSE2__) || defined(_M_X64)

constexpr std::array<uint8_t, 256> MakeReversedBytes() {
    std::array<uint8_t, 256> table{};
    for (unsigned value = 0; value < 256; ++value)
        for (unsigned i = 0; i < 8; ++i)
            if ((value >> i & 1) != 0) table[value] = static_cast<uint8_t>(table[value] | (0x80u >> i));
    return table;
}
constexpr std::array<uint8_t, 256> kReversed = MakeReversedBytes();

/// Saturated packing keeps the sign, and the sign of a little-endian pixel is the top bit of its alpha.
__m128i PackSigns(const uint8_t* pixels) {
    const auto* from = reinterpret_cast<const __m128i*>(pixels);
    return _mm_packs_epi32(_mm_loadu_si128(from), _mm_loadu_si128(from + 1));
}

void PackSixteen(uint8_t* mask, const uint8_t* pixels) {
    const __m128i signs = _mm_packs_epi16(PackSigns(pixels), PackSigns(pixels + 32));
    const auto bits = static_cast<unsigned>(_mm_movemask_epi8(signs));
    mask[0] = kReversed[bits & 0xFF];
    mask[1] = kReversed[bits >> 8];
}

#else

void PackSixteen(uint8_t* mask, const uint8_t* pixels) {
    unsigned bits = 0;
    for (size_t i = 0; i < 16; ++i) bits = bits << 1 | pixels[4 * i + 3] >> 7;
    mask[0] = static_cast<uint8_t>(bits >> 8);
    mask[1] = static_cast<uint8_t>(bits);
}

#endif

}  // namespace

void ExpandMaskRow(uint8_t* lastByte, size_t pixelStep, const uint8_t* mask, size_t x, size_t count) {
    if (pixelStep != 4) return ExpandBits(lastByte, pixelStep, mask, x, count);
    const size_t head = HeadPixels(x, count), bytes = (count - head) / 8, body = bytes * 8;
    ExpandBits(lastByte, 4, mask, x, head);
    ExpandBytes4(lastByte + 4 * head - 3, mask + ((x + head) >> 3), bytes);
    ExpandBits(lastByte + 4 * (head + body), 4, mask, x + head + body, count - head - body);
}

bool IsMaskRowOpaque(const uint8_t* mask, size_t count) {
    uint8_t all = 0xFF;
    for (size_t i = 0; i < count / 8; ++i) all &= mask[i];
    const auto last = static_cast<uint8_t>(0xFF >> count % 8);  // the bits behind
    return all == 0xFF && (count % 8 == 0 || (mask[count / 8] | last) == 0xFF);
}

void PackMaskRow(uint8_t* mask, size_t x, const uint8_t* pixels, size_t count) {
    const size_t head = HeadPixels(x, count), pairs = (count - head) / 16, body = pairs * 16;
    for (size_t i = 0; i < head; ++i) SetBit(mask, x + i, pixels[4 * i + 3] >= 128);
    uint8_t* whole = mask + ((x + head) >> 3);
    for (size_t i = 0; i < pairs; ++i) PackSixteen(whole + 2 * i, pixels + 4 * (head + 16 * i));
    for (size_t i = head + body; i < count; ++i) SetBit(mask, x + i, pixels[4 * i + 3] >= 128);
}

}  // namespace zbm

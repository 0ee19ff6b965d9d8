// Rows of masks, compiled once for each instruction-set level. Nothing here may have weak linkage, so the standard
// library stays out: a copy that was compiled for a wide level must never stand in for one that runs everywhere.
//
// A row is the pixels before the first whole mask byte, groups of whole mask bytes, and the pixels left over.
#include <cstring>

#include "core/MaskKernels.h"
#include "simd/Vectors.inl"

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

#if defined(SIMD_HAS_VECTORS)

using namespace simd;

// A group of pixels is a vector, or two where that is of less than eight; it has whole mask bytes, the first one lowest
// in a number of bits.
constexpr size_t kGroup = kVecPixels < 8 ? 8 : kVecPixels, kGroupBytes = kGroup / 8;
constexpr int kSecond = kVecPixels < 8 ? kVecPixels : 0;  // of such two

template <int kFirst>
void ExpandVector(uint8_t* pixels, Vec bits) {
    const Vec alphas = And(LanesOfMaskBits<kFirst>(bits), AlphaBytes());
    Store(pixels + 4 * kFirst, Or(AndNot(AlphaBytes(), Load(pixels + 4 * kFirst)), alphas));
}

void ExpandGroup(uint8_t* pixels, unsigned bits) {
    const Vec everywhere = Splat32(bits);
    ExpandVector<0>(pixels, everywhere);
    if (kSecond != 0) ExpandVector<kSecond>(pixels, everywhere);
}

unsigned PackGroup(const uint8_t* pixels) {
    const unsigned bits = MaskBitsOfSigns<0>(Load(pixels));
    return kSecond == 0 ? bits : bits | MaskBitsOfSigns<kSecond>(Load(pixels + 4 * kSecond));
}

#else

constexpr size_t kGroup = 8, kGroupBytes = 1;

void ExpandGroup(uint8_t* pixels, unsigned bits) {
    const auto mask = static_cast<uint8_t>(bits);
    ExpandBits(pixels + 3, 4, &mask, 0, kGroup);
}

unsigned PackGroup(const uint8_t* pixels) {
    uint8_t mask = 0;
    PackBits(&mask, 0, pixels, kGroup);
    return mask;
}

#endif

unsigned LoadGroup(const uint8_t* mask) {
    unsigned bits = 0;
    std::memcpy(&bits, mask, kGroupBytes);
    return bits;
}

void StoreGroup(uint8_t* mask, unsigned bits) { std::memcpy(mask, &bits, kGroupBytes); }

/// Pixels before the first whole mask byte.
size_t HeadOf(size_t x, size_t count) {
    const size_t ahead = (8 - (x & 7)) & 7;
    return ahead < count ? ahead : count;
}

void Expand(uint8_t* lastByte, size_t pixelStep, const uint8_t* mask, size_t x, size_t count) {
    if (pixelStep != 4) return ExpandBits(lastByte, pixelStep, mask, x, count);
    size_t i = HeadOf(x, count);
    ExpandBits(lastByte, 4, mask, x, i);
    const uint8_t* bytes = mask + ((x + i) >> 3);
    for (; i + kGroup <= count; i += kGroup, bytes += kGroupBytes) ExpandGroup(lastByte + 4 * i - 3, LoadGroup(bytes));
    ExpandBits(lastByte + 4 * i, 4, mask, x + i, count - i);
}

bool IsOpaque(const uint8_t* mask, size_t count) {
    uint8_t all = 0xFF;
    for (size_t i = 0; i < count / 8; ++i) all &= mask[i];
    const auto last = static_cast<uint8_t>(0xFF >> count % 8);  // the bits behind
    return all == 0xFF && (count % 8 == 0 || (mask[count / 8] | last) == 0xFF);
}

void Pack(uint8_t* mask, size_t x, const uint8_t* pixels, size_t count) {
    size_t i = HeadOf(x, count);
    PackBits(mask, x, pixels, i);
    uint8_t* bytes = mask + ((x + i) >> 3);
    for (; i + kGroup <= count; i += kGroup, bytes += kGroupBytes) StoreGroup(bytes, PackGroup(pixels + 4 * i));
    PackBits(mask, x + i, pixels + 4 * i, count - i);
}

constexpr MaskKernels kKernels = {&Expand, &IsOpaque, &Pack};

}  // namespace
}  // namespace zbm

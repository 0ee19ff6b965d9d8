// Kernels of palettes; the including file defines the table of its level. Nothing here calls the standard library or
// is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>
#if defined(__AVX2__)
#include <immintrin.h>
#elif defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

#include "cpu/PackIndices.inl"
#include "palette/PaletteMapKernels.h"

namespace zpixf {
namespace {

// A colour as the candidates of a group are multiplied by it. `Smallest` gives the smallest of a group's eight numbers
// of that colour, or per lane the smaller one of it and `best`; `Index` the index out of what is left.
#if defined(__AVX2__)

/// The numbers by which the candidates of the group compare, for one colour.
__m256i Keys(__m256i bg, __m256i red, const CandidateGroup& group) {
    const auto load = [](const void* from) { return _mm256_load_si256(static_cast<const __m256i*>(from)); };
    const __m256i product =
        _mm256_add_epi32(_mm256_madd_epi16(bg, load(group.bg)), _mm256_madd_epi16(red, load(group.red)));
    return _mm256_sub_epi32(load(group.base), _mm256_slli_epi32(product, 9));
}

struct Seeker {
    __m256i bg, red, best = _mm256_set1_epi32(0x7FFFFFFF);

    explicit Seeker(std::uint32_t pixel)
        : bg(_mm256_set1_epi32(static_cast<int>((pixel & 0xFF) | (pixel & 0xFF00) << 8))),
          red(_mm256_set1_epi32(static_cast<int>(pixel >> 16 & 0xFF))) {}

    void Try(const CandidateGroup& group) { best = _mm256_min_epi32(best, Keys(bg, red, group)); }

    std::uint8_t Index() const {
        __m128i m = _mm_min_epi32(_mm256_castsi256_si128(best), _mm256_extracti128_si256(best, 1));
        m = _mm_min_epi32(m, _mm_shuffle_epi32(m, 0x4E));
        m = _mm_min_epi32(m, _mm_shuffle_epi32(m, 0xB1));
        return static_cast<std::uint8_t>(_mm_cvtsi128_si32(m));
    }
};

#elif defined(__SSE2__) || defined(_M_X64)

__m128i Min(__m128i a, __m128i b) {
    const __m128i isLess = _mm_cmplt_epi32(a, b);
    return _mm_or_si128(_mm_and_si128(isLess, a), _mm_andnot_si128(isLess, b));
}

struct Seeker {
    __m128i bg, red, best = _mm_set1_epi32(0x7FFFFFFF);

    explicit Seeker(std::uint32_t pixel)
        : bg(_mm_set1_epi32(static_cast<int>((pixel & 0xFF) | (pixel & 0xFF00) << 8))),
          red(_mm_set1_epi32(static_cast<int>(pixel >> 16 & 0xFF))) {}

    __m128i Half(const CandidateGroup& group, unsigned half) const {
        const __m128i product =
            _mm_add_epi32(_mm_madd_epi16(bg, _mm_load_si128(reinterpret_cast<const __m128i*>(group.bg) + half)),
                          _mm_madd_epi16(red, _mm_load_si128(reinterpret_cast<const __m128i*>(group.red) + half)));
        return _mm_sub_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(group.base) + half),
                             _mm_slli_epi32(product, 9));
    }

    void Try(const CandidateGroup& group) { best = Min(best, Min(Half(group, 0), Half(group, 1))); }

    std::uint8_t Index() const {
        __m128i m = Min(best, _mm_shuffle_epi32(best, 0x4E));
        m = Min(m, _mm_shuffle_epi32(m, 0xB1));
        return static_cast<std::uint8_t>(_mm_cvtsi128_si32(m));
    }
};

#else

struct Seeker {
    std::int32_t blue, green, red, best = 0x7FFFFFFF;

    explicit Seeker(std::uint32_t pixel)
        : blue(static_cast<std::int32_t>(pixel & 0xFF)),
          green(static_cast<std::int32_t>(pixel >> 8 & 0xFF)),
          red(static_cast<std::int32_t>(pixel >> 16 & 0xFF)) {}

    void Try(const CandidateGroup& group) {
        for (unsigned i = 0; i < CandidateGroup::kSize; ++i) {
            const std::int32_t product = blue * group.bg[2 * i] + green * group.bg[2 * i + 1] + red * group.red[2 * i];
            const std::int32_t key = group.base[i] - product * 512;
            best = key < best ? key : best;
        }
    }

    std::uint8_t Index() const { return static_cast<std::uint8_t>(best & 0xFF); }
};

#endif

std::uint32_t LoadPixel(const std::uint8_t* pixel) {
    return static_cast<std::uint32_t>(pixel[0]) | static_cast<std::uint32_t>(pixel[1]) << 8 |
           static_cast<std::uint32_t>(pixel[2]) << 16;
}

std::uint32_t CellOf(std::uint32_t pixel) {
    return (pixel & 0xF8) << 7 | (pixel & 0xF800) >> 6 | (pixel & 0xF80000) >> 19;
}

/// Maps pixel by pixel, whatever the cells hold.
std::size_t MapEach(const std::uint32_t* cells, const CandidateGroup* groups, const std::uint8_t* pixels,
                    std::size_t count, std::uint8_t* indices) {
    for (std::size_t x = 0; x < count; ++x) {
        const std::uint32_t pixel = LoadPixel(pixels + 4 * x);
        const std::uint32_t cell = cells[CellOf(pixel)];
        if (cell == 0) return x;
        const CandidateGroup* group = groups + (cell >> kMoreGroupsBits);
        Seeker seeker(pixel);
        seeker.Try(*group);
        for (std::uint32_t more = cell & kMoreGroupsMask; more != 0; --more) seeker.Try(*++group);
        indices[x] = seeker.Index();
    }
    return count;
}

#if defined(__AVX2__)

constexpr std::size_t kBlock = 8;

__m256i And(__m256i a, int mask) { return _mm256_and_si256(a, _mm256_set1_epi32(mask)); }

/// Eight pixels, prepared for the search.
struct Block {
    alignas(32) std::uint32_t cell[kBlock];
    alignas(32) std::int32_t bg[kBlock];
    alignas(32) std::int32_t red[kBlock];

    explicit Block(__m256i pixels) {
        const __m256i blue = _mm256_slli_epi32(And(pixels, 0xF8), 7), green = _mm256_srli_epi32(And(pixels, 0xF800), 6),
                      high = _mm256_srli_epi32(And(pixels, 0xF80000), 19);
        Store(cell, _mm256_or_si256(_mm256_or_si256(blue, green), high));
        Store(bg, _mm256_or_si256(And(pixels, 0xFF), _mm256_slli_epi32(And(pixels, 0xFF00), 8)));
        Store(red, _mm256_srli_epi32(And(pixels, 0xFF0000), 16));
    }

    static void Store(void* to, __m256i value) { _mm256_store_si256(static_cast<__m256i*>(to), value); }

    __m256i Keys(unsigned at, const CandidateGroup& group) const {
        return zpixf::Keys(_mm256_set1_epi32(bg[at]), _mm256_set1_epi32(red[at]), group);
    }
};

/// The smaller ones of the halves of `a` and of `b`, by turns.
__m256i Halve32(__m256i a, __m256i b) {
    return _mm256_min_epi32(_mm256_unpacklo_epi32(a, b), _mm256_unpackhi_epi32(a, b));
}
__m256i Halve64(__m256i a, __m256i b) {
    return _mm256_min_epi32(_mm256_unpacklo_epi64(a, b), _mm256_unpackhi_epi64(a, b));
}

/// The smallest of each of eight vectors.
__m256i Smallest(const __m256i (&keys)[kBlock]) {
    const __m256i low = Halve64(Halve32(keys[0], keys[1]), Halve32(keys[2], keys[3]));
    const __m256i high = Halve64(Halve32(keys[4], keys[5]), Halve32(keys[6], keys[7]));
    return _mm256_min_epi32(_mm256_permute2x128_si256(low, high, 0x20), _mm256_permute2x128_si256(low, high, 0x31));
}

/// Maps eight pixels if their cells have been built and hold one group each; false, with nothing written, if not.
bool MapBlock(const std::uint32_t* cells, const CandidateGroup* groups, __m256i pixels, std::uint8_t* indices) {
    const Block block(pixels);
    __m256i keys[kBlock];
    std::uint32_t more = 0;
    for (unsigned i = 0; i < kBlock; ++i) {
        const std::uint32_t cell = cells[block.cell[i]];
        more |= cell;
        keys[i] = block.Keys(i, groups[cell >> kMoreGroupsBits]);
    }
    if ((more & kMoreGroupsMask) != 0) return false;
    const __m256i best = Smallest(keys);
    const __m256i isNotBuilt = _mm256_cmpgt_epi32(_mm256_set1_epi32(kNoKeyBelow), best);
    if (!_mm256_testz_si256(isNotBuilt, isNotBuilt)) return false;
    // Byte 0 of each number, side by side.
    const __m256i order = _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                           -1, -1, -1, -1, 0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i bytes = _mm256_shuffle_epi8(best, order);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(indices),
                     _mm_or_si128(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1)));
    return true;
}

std::size_t MapRow(const std::uint32_t* cells, const CandidateGroup* groups, const std::uint8_t* pixels,
                   std::size_t count, std::uint8_t* indices) {
    std::size_t x = 0;
    for (; x + kBlock <= count; x += kBlock) {
        const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels + 4 * x));
        if (x != 0) {
            const __m256i last = _mm256_set1_epi32(static_cast<int>(LoadPixel(pixels + 4 * x - 4)));
            const __m256i change = And(_mm256_xor_si256(block, last), 0xFFFFFF);
            if (_mm256_testz_si256(change, change)) {
                std::memset(indices + x, indices[x - 1], kBlock);
                continue;
            }
        }
        if (MapBlock(cells, groups, block, indices + x)) continue;
        const std::size_t done = MapEach(cells, groups, pixels + 4 * x, kBlock, indices + x);
        if (done < kBlock) return x + done;
    }
    return x + MapEach(cells, groups, pixels + 4 * x, count - x, indices + x);
}

#else

std::size_t MapRow(const std::uint32_t* cells, const CandidateGroup* groups, const std::uint8_t* pixels,
                   std::size_t count, std::uint8_t* indices) {
    std::size_t done = 0;
    while (done < count) {
        const std::uint32_t first = LoadPixel(pixels + 4 * done);
        if (MapEach(cells, groups, pixels + 4 * done, 1, indices + done) == 0) break;
        const std::uint8_t index = indices[done++];
        while (done < count && LoadPixel(pixels + 4 * done) == first) indices[done++] = index;
    }
    return done;
}

#endif

// (A whole pixel at a time: from four bytes the compilers make no vectors.)
void Colorize(std::uint8_t* colors, const std::uint8_t* pixels, const std::uint8_t* indices, std::size_t count,
              const std::uint32_t* palette) {
    for (std::size_t x = 0; x < count; ++x) {
        std::uint32_t pixel;
        std::memcpy(&pixel, pixels + 4 * x, sizeof pixel);
        pixel = (pixel & 0xFF000000) | palette[indices[x]];
        std::memcpy(colors + 4 * x, &pixel, sizeof pixel);
    }
}

constexpr PaletteMapKernels kKernels = {&MapRow, &Colorize, &cpu::PackBits, &cpu::PackNibbles};

}  // namespace
}  // namespace zpixf

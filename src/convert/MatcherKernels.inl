// Kernels of the colour-table matcher; the including file gives kVectorBytes and defines the table of its level.
//
// Nothing here calls the standard library or is inline with external linkage, so no copy compiled for a wide level can
// stand in for another. Distances are compared together with the indices that they belong to, as distance << 8 | index:
// the least of these is the nearest entry and, among equals, the first. No distance needs more than 18 bits.
#include <cstring>

#include "MatcherKernels.h"
#include "cpu/PackIndices.inl"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace zbm {
namespace {

using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr unsigned kMaxColors = 256, kCellsAxis = 32, kIndexBits = 8;
constexpr int32_t kFarther = 0x7FFFFFFF;  // than any entry

uint32_t KeyOf(const uint8_t* rgba) {
    return rgba[0] | static_cast<uint32_t>(rgba[1]) << 8 | static_cast<uint32_t>(rgba[2]) << 16;
}

// ---- The inverse map

/// The squared distances of a channel's value to the centres 4, 12, .. 252, by additions alone; `step` elements apart.
void SquaresToCenters(int32_t value, int32_t* squares, size_t step) {
    int32_t square = (4 - value) * (4 - value);
    int32_t growth = 16 * (8 - value);
    for (unsigned k = 0; k < kCellsAxis; ++k, squares += step) {
        *squares = square << kIndexBits;
        square += growth;
        growth += 128;
    }
}

#if defined(__GNUC__)
using Ints = int32_t __attribute__((vector_size(kVectorBytes)));
constexpr unsigned kLanes = sizeof(Ints) / sizeof(int32_t);

Ints LoadInts(const void* from) {
    Ints v;
    std::memcpy(&v, from, sizeof v);
    return v;
}
Ints Least(const Ints& a, const Ints& b) { return a < b ? a : b; }
#else
using Ints = int32_t;
constexpr unsigned kLanes = 1;
Ints LoadInts(const void* from) {
    Ints v;
    std::memcpy(&v, from, sizeof v);
    return v;
}
Ints Least(Ints a, Ints b) { return a < b ? a : b; }
#endif

/// The nearest entries of the 32 cells along the blue axis. `rest[i]` is entry i's distance on the other two axes, with
/// its index; `blue` holds 32 squares for each entry.
void MatchLine(const int32_t* rest, const int32_t* blue, unsigned count, uint8_t* line) {
    constexpr unsigned kVectors = kCellsAxis / kLanes;
    Ints nearest[kVectors];
    for (Ints& v : nearest) v = Ints{} + kFarther;
    for (unsigned i = 0; i < count; ++i, blue += kCellsAxis)
        for (unsigned k = 0; k < kVectors; ++k) nearest[k] = Least(nearest[k], LoadInts(blue + k * kLanes) + rest[i]);
    int32_t lanes[kCellsAxis];
    std::memcpy(lanes, nearest, sizeof lanes);
    for (unsigned k = 0; k < kCellsAxis; ++k) line[k] = static_cast<uint8_t>(lanes[k]);
}

void BuildInverseMap(TableBytes table, int32_t* work, uint8_t* inverseMap) {
    // Red and green by cell and then by entry, blue by entry and then by cell.
    int32_t* const red = work;
    int32_t* const green = red + kCellsAxis * kMaxColors;
    int32_t* const blue = green + kCellsAxis * kMaxColors;
    for (unsigned i = 0; i < table.count; ++i) {
        const uint8_t* entry = table.bytes + 4 * i;
        SquaresToCenters(entry[0], red + i, kMaxColors);
        SquaresToCenters(entry[1], green + i, kMaxColors);
        SquaresToCenters(entry[2], blue + i * kCellsAxis, 1);
    }
    int32_t rest[kMaxColors];
    for (unsigned r = 0; r < kCellsAxis; ++r)
        for (unsigned g = 0; g < kCellsAxis; ++g, inverseMap += kCellsAxis) {
            const int32_t* redSquares = red + r * kMaxColors;
            const int32_t* greenSquares = green + g * kMaxColors;
            for (unsigned i = 0; i < table.count; ++i)
                rest[i] = redSquares[i] + greenSquares[i] + static_cast<int32_t>(i);
            MatchLine(rest, blue, table.count, inverseMap);
        }
}

// ---- The nearest entry

int32_t SquaredDistance(const uint8_t* a, const uint8_t* b) {
    int32_t distance = 0;
    for (int k = 0; k < 3; ++k) distance += (a[k] - b[k]) * (a[k] - b[k]);
    return distance;
}

#if defined(__SSE2__)
#if defined(__AVX2__)
Ints SubtractBytes(const Ints& a, const Ints& b) {  // 0 where b is greater
    return reinterpret_cast<Ints>(_mm256_subs_epu8(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
}
Ints SumsOfSquares(const Ints& words) {  // of the two 16-bit numbers in each lane
    return reinterpret_cast<Ints>(
        _mm256_madd_epi16(reinterpret_cast<__m256i>(words), reinterpret_cast<__m256i>(words)));
}
#else
Ints SubtractBytes(const Ints& a, const Ints& b) {
    return reinterpret_cast<Ints>(_mm_subs_epu8(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}
Ints SumsOfSquares(const Ints& words) {
    return reinterpret_cast<Ints>(_mm_madd_epi16(reinterpret_cast<__m128i>(words), reinterpret_cast<__m128i>(words)));
}
#endif

/// Distances and indices of kLanes entries.
Ints DistancesOf(const uint8_t* entries, const Ints& color, const Ints& indices) {
    const Ints entry = LoadInts(entries);
    const Ints apart = (SubtractBytes(entry, color) | SubtractBytes(color, entry)) & 0xFFFFFF;
    const Ints distances = SumsOfSquares(apart & 0xFF00FF) + SumsOfSquares(apart >> 8 & 0xFF);
    return distances << kIndexBits | indices;
}
#endif

unsigned Nearest(TableBytes table, const uint8_t* color) {
    int32_t best = kFarther;
    unsigned i = 0;
#if defined(__SSE2__)
    Ints nearest = Ints{} + kFarther, indices;
    for (unsigned k = 0; k < kLanes; ++k) indices[k] = static_cast<int32_t>(k);
    const Ints colors = Ints{} + static_cast<int32_t>(KeyOf(color));
    for (; i + kLanes <= table.count; i += kLanes, indices += static_cast<int32_t>(kLanes))
        nearest = Least(nearest, DistancesOf(table.bytes + 4 * i, colors, indices));
    for (unsigned k = 0; k < kLanes; ++k) best = nearest[k] < best ? nearest[k] : best;
#endif
    for (; i < table.count; ++i) {
        const int32_t distance = SquaredDistance(table.bytes + 4 * i, color) << kIndexBits | static_cast<int32_t>(i);
        best = distance < best ? distance : best;
    }
    return static_cast<unsigned>(best) & 0xFF;
}

// ---- Rows of colours

/// Multiplicative hashing: the bits that every bit of the colour has had a part in.
uint16_t HashOf(uint32_t key) { return static_cast<uint16_t>(key * 0x9E3779B1u >> 16); }

void BuildFilter(TableBytes table, uint64_t* filter) {
    std::memset(filter, 0, kFilterWords * sizeof *filter);
    for (unsigned i = 0; i < table.count; ++i) {
        const unsigned hash = HashOf(KeyOf(table.bytes + 4 * i));
        filter[hash / 64] |= uint64_t{1} << hash % 64;
    }
}

/// Pixels of a row that are worked on at once: a whole number of bytes whatever the target.
constexpr size_t kBlock = 256;

struct Bgr24 {
    static constexpr size_t kBytes = 3;
    static uint32_t Key(const uint8_t* p) {
        return p[2] | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[0]) << 16;
    }
};
struct Bgra32 {
    static constexpr size_t kBytes = 4;
    static uint32_t Key(const uint8_t* p) {
        uint32_t v;
        std::memcpy(&v, p, sizeof v);
        return (v >> 16 & 0xFF) | (v & 0xFF00) | (v & 0xFF) << 16;
    }
};
struct Rgba32 {
    static constexpr size_t kBytes = 4;
    static uint32_t Key(const uint8_t* p) {
        uint32_t v;
        std::memcpy(&v, p, sizeof v);
        return v & 0xFFFFFF;
    }
};

struct Bits {
    static void Store(uint8_t* row, size_t x, const uint8_t* indices, size_t count) {
        cpu::PackBits(row + x / 8, indices, count);
    }
};
struct Nibbles {
    static void Store(uint8_t* row, size_t x, const uint8_t* indices, size_t count) {
        cpu::PackNibbles(row + x / 2, indices, count);
    }
};
struct Bytes {
    static void Store(uint8_t* row, size_t x, const uint8_t* indices, size_t count) {
        std::memcpy(row + x, indices, count);
    }
};

uint16_t CellOf(uint32_t key) {
    return static_cast<uint16_t>((key << 7 & 0x7C00) | (key >> 6 & 0x3E0) | (key >> 19 & 0x1F));
}

/// The matcher's own answer.
uint8_t MatchInMaps(const RowMaps& maps, uint32_t key) {
    const uint8_t exact = maps.exactMap[key];
    if (exact != 0) return exact;
    return key == maps.firstKey ? uint8_t{0} : maps.inverseMap[CellOf(key)];
}

/// For pictures of many colours. The jump is hardly ever taken; to do without it, or with one for several pixels, was
/// slower.
void MatchEach(const RowMaps& maps, const uint32_t* keys, size_t count, uint8_t* indices) {
    uint16_t cells[kBlock], hashes[kBlock];
    for (size_t i = 0; i < count; ++i) {
        cells[i] = CellOf(keys[i]);
        hashes[i] = HashOf(keys[i]);
    }
    const uint8_t* const inverseMap = maps.inverseMap;
    const uint64_t* const filter = maps.filter;
    for (size_t i = 0; i < count; ++i) {
        const unsigned hash = hashes[i];
        indices[i] = inverseMap[cells[i]];
        if ((filter[hash / 64] >> hash % 64 & 1) != 0) [[unlikely]]
            indices[i] = MatchInMaps(maps, keys[i]);
    }
}

/// For drawings, whose pixels are mostly like their neighbours.
void MatchRuns(const RowMaps& maps, const uint32_t* keys, size_t count, uint8_t* indices) {
    size_t i = 0;
    while (i < count) {
        const uint32_t key = keys[i];
        const uint8_t index = MatchInMaps(maps, key);
        do { indices[i++] = index; } while (i < count && keys[i] == key);
    }
}

void MatchBlock(const RowMaps& maps, const uint32_t* keys, size_t count, uint8_t* indices) {
    // A few pixels tell what kind of picture it is.
    constexpr size_t kStep = 16;
    size_t pairs = 0, alike = 0;
    for (size_t i = 0; i + 1 < count; i += kStep, ++pairs) alike += keys[i] == keys[i + 1] ? 1u : 0u;
    if (2 * alike > pairs) return MatchRuns(maps, keys, count, indices);
    MatchEach(maps, keys, count, indices);
}

template <class Source, class Target>
void MatchColors(const RowMaps& maps, const uint8_t* source, uint8_t* destination, size_t count) {
    uint32_t keys[kBlock];
    uint8_t indices[kBlock];
    for (size_t x = 0; x < count; x += kBlock) {
        const size_t n = count - x < kBlock ? count - x : kBlock;
        for (size_t i = 0; i < n; ++i) keys[i] = Source::Key(source + (x + i) * Source::kBytes);
        MatchBlock(maps, keys, n, indices);
        Target::Store(destination, x, indices, n);
    }
}

// ---- Rows of levels

struct FromBits {
    static unsigned Level(const uint8_t* row, size_t x) { return row[x / 8] >> (7 - x % 8) & 1u; }
};
struct FromNibbles {
    static unsigned Level(const uint8_t* row, size_t x) { return row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15u; }
};
/// The highest byte of a little-endian number.
template <size_t bytes>
struct FromTopByte {
    static unsigned Level(const uint8_t* row, size_t x) { return row[x * bytes + bytes - 1]; }
};

template <class Source, class Target>
void MapLevels(const uint8_t* indexOf, const uint8_t* source, uint8_t* destination, size_t count) {
    uint8_t indices[kBlock];
    for (size_t x = 0; x < count; x += kBlock) {
        const size_t n = count - x < kBlock ? count - x : kBlock;
        for (size_t i = 0; i < n; ++i) indices[i] = indexOf[Source::Level(source, x + i)];
        Target::Store(destination, x, indices, n);
    }
}

constexpr MatcherKernels kKernels = {
    BuildInverseMap,
    Nearest,
    BuildFilter,
    {{MatchColors<Bgr24, Bits>, MatchColors<Bgr24, Nibbles>, MatchColors<Bgr24, Bytes>},
     {MatchColors<Bgra32, Bits>, MatchColors<Bgra32, Nibbles>, MatchColors<Bgra32, Bytes>},
     {MatchColors<Rgba32, Bits>, MatchColors<Rgba32, Nibbles>, MatchColors<Rgba32, Bytes>}},
    {{MapLevels<FromBits, Bits>, MapLevels<FromBits, Nibbles>, MapLevels<FromBits, Bytes>},
     {MapLevels<FromNibbles, Bits>, MapLevels<FromNibbles, Nibbles>, MapLevels<FromNibbles, Bytes>},
     {MapLevels<FromTopByte<1>, Bits>, MapLevels<FromTopByte<1>, Nibbles>, MapLevels<FromTopByte<1>, Bytes>},
     {MapLevels<FromTopByte<2>, Bits>, MapLevels<FromTopByte<2>, Nibbles>, MapLevels<FromTopByte<2>, Bytes>},
     {MapLevels<FromTopByte<4>, Bits>, MapLevels<FromTopByte<4>, Nibbles>, MapLevels<FromTopByte<4>, Bytes>}},
};

}  // namespace
}  // namespace zbm

// Kernels of error diffusion; the including file defines the table of its level. Nothing here calls the standard
// library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>

#include "dither/DiffuseKernels.h"
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace zpixf {
namespace {

using std::int16_t;
using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

/// Which candidate it is stands in the lowest bits of a distance, so that of equals the first is the least.
constexpr int kPlaceBits = 3;
static_assert(DiffuseCandidates::kCount == 1 << kPlaceBits);

// Channels: blue, green and red of a colour or error, in sixteenths of a level.
//   Load, Store, operators + and -
//   Times<n>, Sixteenth          the latter rounds down
//   Weakened(a, strength)        strength 256ths of it, rounded down
//   Clamp(a, least, most)
//   OfPixel(pixel)
//   CellOf(a, bits)
//   Distances, LeastDistance     of a group of candidates: the least squared distance, with its place
#if defined(__AVX2__)

struct Channels {
    __m128i v;
};

Channels Load(const DiffuseColor& color) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(color.channels))}; }
void Store(DiffuseColor& color, Channels a) { _mm_storeu_si128(reinterpret_cast<__m128i*>(color.channels), a.v); }
Channels Each(int32_t value) { return {_mm_setr_epi32(value, value, value, 0)}; }
Channels operator+(Channels a, Channels b) { return {_mm_add_epi32(a.v, b.v)}; }
Channels operator-(Channels a, Channels b) { return {_mm_sub_epi32(a.v, b.v)}; }
template <int kBits>
Channels Shifted(Channels a) {
    return {_mm_slli_epi32(a.v, kBits)};
}
Channels Sixteenth(Channels a) { return {_mm_srai_epi32(a.v, 4)}; }
Channels Weakened(Channels a, int32_t strength) {
    return {_mm_srai_epi32(_mm_mullo_epi32(a.v, _mm_set1_epi32(strength)), 8)};
}
Channels Clamp(Channels a, Channels least, Channels most) {
    return {_mm_max_epi32(_mm_min_epi32(a.v, most.v), least.v)};
}
Channels OfPixel(const uint8_t* pixel) {
    int32_t bytes;
    std::memcpy(&bytes, pixel, sizeof bytes);
    return {_mm_slli_epi32(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes & 0x00FFFFFF)), 4)};
}
unsigned CellOf(Channels a, int bits) {
    const __m128i cells = _mm_srli_epi32(a.v, DiffuseCells::kShift);
    const __m128i apart = _mm_sllv_epi32(cells, _mm_setr_epi32(0, bits, 2 * bits, 0));
    const __m128i two = _mm_or_si128(apart, _mm_shuffle_epi32(apart, 0xE5));
    return static_cast<unsigned>(_mm_cvtsi128_si32(_mm_or_si128(two, _mm_shuffle_epi32(apart, 0xEE))));
}
Channels ColorOf(const DiffuseCandidates& candidates, unsigned place) {
    return {_mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(candidates.colors[place])))};
}

uint32_t LeastDistance(const DiffuseCandidates& candidates, Channels color) {
    const __m256i wanted = _mm256_broadcastq_epi64(_mm_packs_epi32(color.v, color.v));
    const auto squares = [&](unsigned first) {
        const __m256i four = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(candidates.colors[first]));
        const __m256i apart = _mm256_sub_epi16(four, wanted);
        return _mm256_madd_epi16(apart, apart);
    };
    const __m256i distances = _mm256_hadd_epi32(squares(0), squares(4));
    const __m256i keys =
        _mm256_or_si256(_mm256_slli_epi32(distances, kPlaceBits), _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7));
    const __m128i of4 = _mm_min_epu32(_mm256_castsi256_si128(keys), _mm256_extracti128_si256(keys, 1));
    const __m128i of2 = _mm_min_epu32(of4, _mm_shuffle_epi32(of4, 0x4E));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_min_epu32(of2, _mm_shuffle_epi32(of2, 0xB1))));
}

#else

constexpr int kColors = 3;

struct Channels {
    int32_t v[kColors];
};

template <class Operation>
Channels ForEach(Operation operation) {
    return {{operation(0), operation(1), operation(2)}};
}
Channels Load(const DiffuseColor& color) {
    return ForEach([&](int c) { return color.channels[c]; });
}
void Store(DiffuseColor& color, Channels a) {
    for (int c = 0; c < kColors; ++c) color.channels[c] = a.v[c];
}
Channels Each(int32_t value) { return {{value, value, value}}; }
Channels operator+(Channels a, Channels b) {
    return ForEach([&](int c) { return a.v[c] + b.v[c]; });
}
Channels operator-(Channels a, Channels b) {
    return ForEach([&](int c) { return a.v[c] - b.v[c]; });
}
template <int kBits>
Channels Shifted(Channels a) {
    return ForEach([&](int c) { return a.v[c] * (1 << kBits); });
}
Channels Sixteenth(Channels a) {
    return ForEach([&](int c) { return a.v[c] >> 4; });
}
Channels Weakened(Channels a, int32_t strength) {
    return ForEach([&](int c) { return a.v[c] * strength >> 8; });
}
Channels Clamp(Channels a, Channels least, Channels most) {
    return ForEach([&](int c) {
        const int32_t value = a.v[c] < most.v[c] ? a.v[c] : most.v[c];
        return value > least.v[c] ? value : least.v[c];
    });
}
Channels OfPixel(const uint8_t* pixel) {
    return ForEach([&](int c) { return pixel[c] * kSixteenths; });
}
unsigned CellOf(Channels a, int bits) {
    unsigned cell = 0;
    for (int c = kColors; c-- > 0;) cell = cell << bits | static_cast<unsigned>(a.v[c] >> DiffuseCells::kShift);
    return cell;
}
Channels ColorOf(const DiffuseCandidates& candidates, unsigned place) {
    return ForEach([&](int c) { return int32_t{candidates.colors[place][c]}; });
}

uint32_t LeastDistance(const DiffuseCandidates& candidates, Channels color) {
    uint32_t least = 0xFFFFFFFF;
    for (uint32_t place = 0; place < 1u << kPlaceBits; ++place) {
        const int16_t* const other = candidates.colors[place];
        const int32_t blue = other[0] - color.v[0], green = other[1] - color.v[1], red = other[2] - color.v[2];
        const uint32_t key = static_cast<uint32_t>(blue * blue + green * green + red * red) << kPlaceBits | place;
        least = key < least ? key : least;
    }
    return least;
}

#endif

struct Nearest {
    const DiffuseCandidates* candidates;
    unsigned place;
};

/// Of equal candidates the first.
Nearest NearestOf(const DiffuseCandidates* candidates, Channels color) {
    uint32_t least = LeastDistance(*candidates, color);
    const DiffuseCandidates* nearest = candidates;
    for (unsigned i = 1; i <= candidates->more; ++i) {
        const uint32_t distance = LeastDistance(candidates[i], color);
        if (distance >> kPlaceBits >= least >> kPlaceBits) continue;
        least = distance;
        nearest = candidates + i;
    }
    return {nearest, least % DiffuseCandidates::kCount};
}

/// A line in the making, in registers as far as they reach.
struct Walk {
    const uint8_t* pixel;
    uint8_t* index;
    DiffuseColor* sum;
    const std::ptrdiff_t step;
    const size_t count;
    size_t done;
    Channels ahead, behind, here;

    explicit Walk(const DiffuseLine& line)
        : pixel(line.pixels + 4 * Place(line)),
          index(line.indices + Place(line)),
          sum(line.sums + Place(line)),
          step(line.step),
          count(line.count),
          done(line.done),
          ahead(Load(line.ahead)),
          behind(Load(line.behind)),
          here(Load(line.here)) {}

    void Leave(DiffuseLine& line) const {
        line.done = done;
        Store(line.ahead, ahead);
        Store(line.behind, behind);
        Store(line.here, here);
    }

    static std::ptrdiff_t Place(const DiffuseLine& line) {
        return line.first + line.step * static_cast<std::ptrdiff_t>(line.done);
    }
};

struct Tables {
    const uint16_t* cells;
    const DiffuseCandidates* candidates;
    int bits;
    int32_t strength;
    Channels origin, most, least, lowest, highest;

    Tables(const DiffuseCells& table, const DiffuseRule& rule)
        : cells(table.cells),
          candidates(table.candidates),
          bits(static_cast<int>(table.bits)),
          strength(rule.strength),
          origin(Each(table.origin)),
          most(Each(rule.most)),
          least(Each(-rule.most)),
          lowest(Each(-table.origin)),
          highest(Each(255 * kSixteenths + table.origin)) {}
};

constexpr unsigned kNoneMissing = DiffuseKernels::kAllKnown;

/// A pixel. The shares of an error are whole and add up to it; what would fall beside the picture goes under the pixel
/// instead. Gives the cell that is missing, if one is.
inline unsigned Step(const Tables& tables, Walk& walk) {
    const Channels none = Each(0);
    const bool isSeen = walk.pixel[3] != 0;
    const Channels error = isSeen ? Clamp(walk.ahead + Load(*walk.sum), tables.least, tables.most) : none;
    const Channels wanted = Clamp(OfPixel(walk.pixel) + error, tables.lowest, tables.highest);
    const unsigned cell = CellOf(wanted + tables.origin, tables.bits);
    const unsigned found = tables.cells[cell];
    if (found == 0) return cell;
    const Nearest nearest = NearestOf(tables.candidates + found, wanted);
    *walk.index = nearest.candidates->entries[nearest.place];
    Channels rest = wanted - ColorOf(*nearest.candidates, nearest.place);
    if (!isSeen) rest = none;
    if (tables.strength != 256) rest = Weakened(rest, tables.strength);
    const Channels threes = Sixteenth(Shifted<2>(rest) - rest), fives = Sixteenth(Shifted<2>(rest) + rest);
    walk.ahead = Sixteenth(Shifted<3>(rest) - rest);
    if (walk.done == 0)
        walk.here = threes;
    else
        Store(*(walk.sum - walk.step), walk.behind + threes);
    walk.behind = walk.here + fives;
    walk.here = rest - walk.ahead - threes - fives;
    if (++walk.done == walk.count) Store(*walk.sum, walk.behind + walk.here + walk.ahead);
    walk.pixel += 4 * walk.step;
    walk.index += walk.step;
    walk.sum += walk.step;
    return kNoneMissing;
}

/// Goes on with a line alone until so many of its pixels are done.
unsigned Advance(const Tables& tables, DiffuseLine& line, size_t until) {
    Walk walk(line);
    unsigned missing = kNoneMissing;
    while (walk.done < until && missing == kNoneMissing) missing = Step(tables, walk);
    walk.Leave(line);
    return missing;
}

/// What a pixel takes from above is complete when the line above is so many pixels further.
constexpr size_t kLead = 2;

size_t MayGoTo(const DiffuseLine& line, const DiffuseLine& above) {
    return above.done == line.count ? line.count : above.done - kLead;
}

/// Goes on with four lines until the first is done, each being far enough behind the one above. The steps of a pixel in
/// each do not wait for each other, so that the processor does them at once.
unsigned GoInStep(const Tables& tables, DiffuseLine* lines) {
    Walk first(lines[0]), second(lines[1]), third(lines[2]), fourth(lines[3]);
    unsigned missing = kNoneMissing;
    while (first.done < first.count) {
        if ((missing = Step(tables, first)) != kNoneMissing) break;
        if ((missing = Step(tables, second)) != kNoneMissing) break;
        if ((missing = Step(tables, third)) != kNoneMissing) break;
        if ((missing = Step(tables, fourth)) != kNoneMissing) break;
    }
    first.Leave(lines[0]);
    second.Leave(lines[1]);
    third.Leave(lines[2]);
    fourth.Leave(lines[3]);
    return missing;
}

unsigned Diffuse(const DiffuseCells& table, const DiffuseRule& rule, DiffuseLine* lines, unsigned count) {
    const Tables tables(table, rule);
    const bool areFour = count == DiffuseKernels::kMostLines && lines[0].count > kLead * count;
    for (bool isDone = false; !isDone; isDone = lines[count - 1].done == lines[count - 1].count) {
        unsigned missing = kNoneMissing;
        const size_t begin = areFour && lines[0].done < kLead * count ? kLead * count : lines[0].done;
        missing = Advance(tables, lines[0], areFour ? begin : lines[0].count);
        for (unsigned i = 1; i < count && missing == kNoneMissing; ++i)
            missing = Advance(tables, lines[i], MayGoTo(lines[i], lines[i - 1]));
        if (missing == kNoneMissing && areFour && lines[0].done < lines[0].count) missing = GoInStep(tables, lines);
        if (missing != kNoneMissing) return missing;
    }
    return kNoneMissing;
}

constexpr DiffuseKernels kKernels = {&Diffuse};

}  // namespace
}  // namespace zpixf

// Kernels of the small medians; the including file defines the table of its level. Nothing here calls the standard
// library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
//
// Medians of 3 x 3 and 5 x 5 by networks of comparisons, as many bytes at once as a vector holds. Columns are sorted
// once and shared by all windows that they stand in.
#include <cstring>

#include "median/MedianKernels.h"

#define SIMD_ALWAYS
#include "simd/Vectors.inl"

namespace zpixf {
namespace {

using namespace simd;
using std::size_t;
using std::uint8_t;

constexpr size_t kBlockVectors = 16;  ///< vectors of results a block
constexpr size_t kBlockPixels = kBlockVectors * kVecPixels;
/// A block's results need some pixels more of its columns; and one vector further may be read, though not used.
constexpr size_t kColumnBytes = (kBlockVectors + 2) * kVecBytes;

/// How many vectors hold that many pixels.
constexpr size_t Vectors(size_t pixels) { return (pixels + kVecPixels - 1) / kVecPixels; }

size_t AtMost(size_t a, size_t b) { return a < b ? a : b; }

/// B, G and R of the one, A of the other.
inline Vec WithAlphaOf(Vec color, Vec alpha) { return Blend(color, alpha, AlphaBytes()); }

/// Pixels of the one and the other by turns, two vectors of them.
inline void StoreByTurns(uint8_t* to, Vec even, Vec odd) {
    const Vec low = InterleaveLow32(even, odd), high = InterleaveHigh32(even, odd);
    Store(to, FirstInOrder(low, high));
    Store(to + kVecBytes, SecondInOrder(low, high));
}

inline void Order(Vec& low, Vec& high) {
    const Vec least = Min8(low, high);
    high = Max8(low, high);
    low = least;
}

// 3 x 3. With each column sorted, the median is that of: the greatest of the least, the median of the middle ones, and
// the least of the greatest (J. L. Paeth, Median Finding on a 3x3 Grid, 1990).

struct Columns3 {
    Vec low, middle, high;
};

inline Columns3 SortColumns3(const uint8_t* const (&lines)[3], size_t at) {
    Vec a = Load(lines[0] + at), b = Load(lines[1] + at), c = Load(lines[2] + at);
    Order(a, b);
    Order(b, c);
    Order(a, b);
    return {a, b, c};
}

inline Vec MedianOf3(Vec a, Vec b, Vec c) { return Max8(Min8(a, b), Min8(Max8(a, b), c)); }

/// The medians of the windows whose left columns are `columns`; `next` are the columns after these.
inline Vec MedianOfColumns3(const Columns3& columns, const Columns3& next) {
    const Vec low = Max8(Max8(columns.low, Shifted<1>(columns.low, next.low)), Shifted<2>(columns.low, next.low));
    const Vec high = Min8(Min8(columns.high, Shifted<1>(columns.high, next.high)), Shifted<2>(columns.high, next.high));
    const Vec middle =
        MedianOf3(columns.middle, Shifted<1>(columns.middle, next.middle), Shifted<2>(columns.middle, next.middle));
    return MedianOf3(low, middle, high);
}

void Median3(const uint8_t* const* lines, size_t width, uint8_t* medians) {
    const uint8_t* const fromLeft[3] = {lines[0] - 4, lines[1] - 4, lines[2] - 4};
    const uint8_t* centres = lines[1];
    const size_t bytes = 4 * width, whole = bytes / kVecBytes * kVecBytes;
    Columns3 columns = SortColumns3(fromLeft, 0);
    for (size_t i = 0; i < whole; i += kVecBytes) {
        const Columns3 next = SortColumns3(fromLeft, i + kVecBytes);
        Store(medians + i, WithAlphaOf(MedianOfColumns3(columns, next), Load(centres + i)));
        columns = next;
    }
    if (whole == bytes) return;
    uint8_t last[kVecBytes];
    const Columns3 next = SortColumns3(fromLeft, whole + kVecBytes);
    Store(last, WithAlphaOf(MedianOfColumns3(columns, next), Load(centres + whole)));
    std::memcpy(medians + whole, last, bytes - whole);
}

// 5 x 5. Two windows side by side share four of their five columns, and of these 20 values only the six in the middle
// can be the median of 25: the other 7 above and 7 below have 13 values on one side. So the median is the middle one of
// these six and the five of the window's own column. Columns are merged by two, and a couple serves two such fours:
// columns 2j - 1 and 2j stand together, and the windows around 2j and 2j + 1 share the couples j and j + 1. Even and
// odd columns come apart, so that one vector holds the same step of the work for many windows. Work goes block by
// block, so that what is sorted stays near. Merging is by K. E. Batcher's odd-even networks (Sorting Networks and their
// Applications, 1968), less what nobody asks for.

void Split(const uint8_t* pixels, size_t pairs, uint8_t* even, uint8_t* odd) {
    for (size_t i = 0; i < pairs; ++i) {
        std::uint32_t first, second;
        std::memcpy(&first, pixels + 8 * i, 4);
        std::memcpy(&second, pixels + 8 * i + 4, 4);
        std::memcpy(even + 4 * i, &first, 4);
        std::memcpy(odd + 4 * i, &second, 4);
    }
}

using Column5 = uint8_t[5][kColumnBytes];   ///< sorted columns
using Couple5 = uint8_t[10][kColumnBytes];  ///< two of them, merged

inline void SortColumns5(const uint8_t* const* lines, size_t at, size_t vectors, Column5& columns) {
    for (size_t i = 0; i < vectors * kVecBytes; i += kVecBytes) {
        Vec a = Load(lines[0] + at + i), b = Load(lines[1] + at + i), c = Load(lines[2] + at + i);
        Vec d = Load(lines[3] + at + i), e = Load(lines[4] + at + i);
        Order(a, b);
        Order(d, e);
        Order(c, e);
        Order(c, d);
        Order(b, e);
        Order(a, d);
        Order(a, c);
        Order(b, d);
        Order(b, c);
        Store(columns[0] + i, a);
        Store(columns[1] + i, b);
        Store(columns[2] + i, c);
        Store(columns[3] + i, d);
        Store(columns[4] + i, e);
    }
}

/// Merges a[0] <= a[1] with b[0] <= b[1].
inline void Merge2(Vec a0, Vec a1, Vec b0, Vec b1, Vec (&sorted)[4]) {
    Order(a0, b0);
    Order(a1, b1);
    Order(a1, b0);
    sorted[0] = a0;
    sorted[1] = a1;
    sorted[2] = b0;
    sorted[3] = b1;
}

/// The couples of an odd column and the even one after it.
inline void MergeColumns5(const Column5& odd, const Column5& even, size_t vectors, Couple5& couples) {
    for (size_t i = 0; i < vectors * kVecBytes; i += kVecBytes) {
        const auto a = [&](size_t rank) { return Load(odd[rank] + i); };
        const auto b = [&](size_t rank) { return Load(even[rank] + i + 4); };
        Vec ofOdd[4], outer[4], a2 = a(2), b2 = b(2);
        Merge2(a(1), a(3), b(1), b(3), ofOdd);
        Merge2(a(0), a(4), b(0), b(4), outer);  // of ranks 0, 2 and 4 first the outer ones, ...
        Order(a2, b2);                          // ... then the inner
        Order(a2, outer[1]);
        Order(b2, outer[2]);
        // outer[0] <= a2 <= outer[1] <= b2 <= outer[2] <= outer[3]
        Order(ofOdd[0], a2);
        Order(ofOdd[1], outer[1]);
        Order(ofOdd[2], b2);
        Order(ofOdd[3], outer[2]);
        const Vec sorted[10] = {outer[0], ofOdd[0], a2, ofOdd[1], outer[1], ofOdd[2], b2, ofOdd[3], outer[2], outer[3]};
        for (size_t rank = 0; rank < 10; ++rank) Store(couples[rank] + i, sorted[rank]);
    }
}

/// Of two and two the two in the middle.
inline void MiddleOf2And2(Vec a0, Vec a1, Vec b0, Vec b1, Vec& low, Vec& high) {
    low = Max8(a0, b0);
    high = Min8(a1, b1);
    Order(low, high);
}

/// Of five and five, numbered from `first` on in steps of 2, what may become the middle: the four candidates that the
/// last comparisons of the merge would put into ranks 3, 4 and 5, 6.
struct Middle {
    Vec third, fourth, fifth, sixth;  ///< third with fourth and fifth with sixth still to be ordered
};

template <class Rank>
inline Middle MiddleOf5And5(Rank a, Rank b) {
    Middle m;
    MiddleOf2And2(a(1), a(3), b(1), b(3), m.third, m.fifth);
    Vec low, high, a2 = a(2), b2 = b(2);
    MiddleOf2And2(a(0), a(4), b(0), b(4), low, high);
    Order(a2, b2);
    m.fourth = Max8(a2, low);
    m.sixth = Min8(b2, high);
    return m;
}

/// The six in the middle of two couples, in order.
inline void MiddleOfCouples(const Couple5& couples, size_t i, Vec (&middle)[6]) {
    const auto of = [&](size_t parity, size_t shift) {
        return [&couples, at = i + shift, parity](size_t rank) { return Load(couples[2 * rank + parity] + at); };
    };
    const Middle even = MiddleOf5And5(of(0, 0), of(0, 4)), odd = MiddleOf5And5(of(1, 0), of(1, 4));
    middle[0] = Min8(odd.third, odd.fourth);
    middle[1] = Max8(even.third, even.fourth);
    middle[2] = Max8(odd.third, odd.fourth);
    middle[3] = Min8(even.fifth, even.sixth);
    middle[4] = Min8(odd.fifth, odd.sixth);
    middle[5] = Max8(even.fifth, even.sixth);
    Order(middle[0], middle[1]);
    Order(middle[2], middle[3]);
    Order(middle[4], middle[5]);
}

/// The middle one of six and five.
inline Vec MedianOf6And5(const Vec (&middle)[6], const Column5& column, size_t i) {
    Vec median = middle[5];
    for (size_t rank = 0; rank < 5; ++rank) median = Min8(median, Max8(middle[4 - rank], Load(column[rank] + i)));
    return median;
}

struct Block5 {
    alignas(32) Column5 even, odd;
    alignas(32) Couple5 couples;
};

/// Writes what the first block of a line reads beyond its columns; it is not used, but is to be something. (Others find
/// there what was.)
void ClearBeyond(size_t vectors, Block5& block) {
    const size_t at = vectors * kVecBytes;
    for (auto& column : block.even) std::memset(column + at, 0, kVecBytes);
    for (auto& column : block.odd) std::memset(column + at, 0, kVecBytes);
    for (auto& couple : block.couples) std::memset(couple + at, 0, kVecBytes);
}

inline void SortBlock5(const uint8_t* const* evenLines, const uint8_t* const* oddLines, size_t at, size_t pairs,
                       Block5& block) {
    const size_t vectors = Vectors(pairs + 2);
    SortColumns5(evenLines, at, vectors, block.even);
    SortColumns5(oddLines, at, vectors, block.odd);
    MergeColumns5(block.odd, block.even, vectors, block.couples);
}

/// Two vectors of results.
inline void MediansAt5(const Block5& block, const uint8_t* evenCentres, const uint8_t* oddCentres, size_t i,
                       uint8_t* results) {
    Vec middle[6];
    MiddleOfCouples(block.couples, i, middle);
    const Vec even = MedianOf6And5(middle, block.even, i), odd = MedianOf6And5(middle, block.odd, i + 8);
    StoreByTurns(results, WithAlphaOf(even, Load(evenCentres + i)), WithAlphaOf(odd, Load(oddCentres + i)));
}

void Median5(const uint8_t* const* evenLines, const uint8_t* const* oddLines, size_t width, uint8_t* medians) {
    Block5 block;
    ClearBeyond(Vectors(AtMost((width + 1) / 2, kBlockPixels) + 2), block);
    for (size_t x = 0; x < width; x += 2 * kBlockPixels) {
        const size_t pixels = AtMost(width - x, 2 * kBlockPixels), at = 2 * x;
        SortBlock5(evenLines, oddLines, at, (pixels + 1) / 2, block);
        const uint8_t *evenCentres = evenLines[2] + at + 4, *oddCentres = oddLines[2] + at + 4;
        uint8_t* results = medians + 4 * x;
        const size_t bytes = 4 * pixels, whole = bytes / (2 * kVecBytes) * (2 * kVecBytes);
        for (size_t i = 0; i < whole; i += 2 * kVecBytes)
            MediansAt5(block, evenCentres, oddCentres, i / 2, results + i);
        if (whole == bytes) continue;
        uint8_t last[2 * kVecBytes];
        MediansAt5(block, evenCentres, oddCentres, whole / 2, last);
        std::memcpy(results + whole, last, bytes - whole);
    }
}

constexpr MedianKernels kKernels = {&Median3, &Split, &Median5};

}  // namespace
}  // namespace zpixf

// Medians of 3 x 3 and 5 x 5 by networks of comparisons, as many bytes at once as a vector holds. Columns are sorted
// once and shared by all windows that they stand in.
namespace zpixf {
namespace {

constexpr size_t kVectorBytes = sizeof(Bytes);
constexpr size_t kVectorPixels = kVectorBytes / 4;
constexpr size_t kBlockVectors = 16;  ///< vectors of results a block
constexpr size_t kBlockPixels = kBlockVectors * kVectorPixels;
/// A block's results need some pixels more of its columns; and one vector further may be read, though not used.
constexpr size_t kColumnBytes = (kBlockVectors + 2) * kVectorBytes;

/// How many vectors hold that many pixels.
constexpr size_t Vectors(size_t pixels) { return (pixels + kVectorPixels - 1) / kVectorPixels; }

size_t AtMost(size_t a, size_t b) { return a < b ? a : b; }

inline void Order(Bytes& low, Bytes& high) {
    const Bytes least = Min(low, high);
    high = Max(low, high);
    low = least;
}

// 3 x 3. With each column sorted, the median is that of: the greatest of the least, the median of the middle ones, and
// the least of the greatest (J. L. Paeth, Median Finding on a 3x3 Grid, 1990).

struct Columns3 {
    Bytes low, middle, high;
};

inline Columns3 SortColumns3(const uint8_t* const (&lines)[3], size_t at) {
    Bytes a = Load(lines[0] + at), b = Load(lines[1] + at), c = Load(lines[2] + at);
    Order(a, b);
    Order(b, c);
    Order(a, b);
    return {a, b, c};
}

inline Bytes MedianOf3(Bytes a, Bytes b, Bytes c) { return Max(Min(a, b), Min(Max(a, b), c)); }

/// The medians of the windows whose left columns are `columns`; `next` are the columns after these.
inline Bytes MedianOfColumns3(const Columns3& columns, const Columns3& next) {
    const Bytes low = Max(Max(columns.low, Shifted<1>(columns.low, next.low)), Shifted<2>(columns.low, next.low));
    const Bytes high = Min(Min(columns.high, Shifted<1>(columns.high, next.high)), Shifted<2>(columns.high, next.high));
    const Bytes middle =
        MedianOf3(columns.middle, Shifted<1>(columns.middle, next.middle), Shifted<2>(columns.middle, next.middle));
    return MedianOf3(low, middle, high);
}

void Median3(const uint8_t* const* lines, size_t width, uint8_t* medians) {
    const uint8_t* const fromLeft[3] = {lines[0] - 4, lines[1] - 4, lines[2] - 4};
    const uint8_t* centres = lines[1];
    const size_t bytes = 4 * width, whole = bytes / kVectorBytes * kVectorBytes;
    Columns3 columns = SortColumns3(fromLeft, 0);
    for (size_t i = 0; i < whole; i += kVectorBytes) {
        const Columns3 next = SortColumns3(fromLeft, i + kVectorBytes);
        Store(medians + i, WithAlphaOf(MedianOfColumns3(columns, next), Load(centres + i)));
        columns = next;
    }
    if (whole == bytes) return;
    uint8_t last[kVectorBytes];
    const Columns3 next = SortColumns3(fromLeft, whole + kVectorBytes);
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
    for (size_t i = 0; i < vectors * kVectorBytes; i += kVectorBytes) {
        Bytes a = Load(lines[0] + at + i), b = Load(lines[1] + at + i), c = Load(lines[2] + at + i);
        Bytes d = Load(lines[3] + at + i), e = Load(lines[4] + at + i);
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
inline void Merge2(Bytes a0, Bytes a1, Bytes b0, Bytes b1, Bytes (&sorted)[4]) {
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
    for (size_t i = 0; i < vectors * kVectorBytes; i += kVectorBytes) {
        const auto a = [&](size_t rank) { return Load(odd[rank] + i); };
        const auto b = [&](size_t rank) { return Load(even[rank] + i + 4); };
        Bytes ofOdd[4], outer[4], a2 = a(2), b2 = b(2);
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
        const Bytes sorted[10] = {outer[0], ofOdd[0], a2,       ofOdd[1], outer[1],
                                  ofOdd[2], b2,       ofOdd[3], outer[2], outer[3]};
        for (size_t rank = 0; rank < 10; ++rank) Store(couples[rank] + i, sorted[rank]);
    }
}

/// Of two and two the two in the middle.
inline void MiddleOf2And2(Bytes a0, Bytes a1, Bytes b0, Bytes b1, Bytes& low, Bytes& high) {
    low = Max(a0, b0);
    high = Min(a1, b1);
    Order(low, high);
}

/// Of five and five, numbered from `first` on in steps of 2, what may become the middle: the four candidates that the
/// last comparisons of the merge would put into ranks 3, 4 and 5, 6.
struct Middle {
    Bytes third, fourth, fifth, sixth;  ///< third with fourth and fifth with sixth still to be ordered
};

template <class Rank>
inline Middle MiddleOf5And5(Rank a, Rank b) {
    Middle m;
    MiddleOf2And2(a(1), a(3), b(1), b(3), m.third, m.fifth);
    Bytes low, high, a2 = a(2), b2 = b(2);
    MiddleOf2And2(a(0), a(4), b(0), b(4), low, high);
    Order(a2, b2);
    m.fourth = Max(a2, low);
    m.sixth = Min(b2, high);
    return m;
}

/// The six in the middle of two couples, in order.
inline void MiddleOfCouples(const Couple5& couples, size_t i, Bytes (&middle)[6]) {
    const auto of = [&](size_t parity, size_t shift) {
        return [&couples, at = i + shift, parity](size_t rank) { return Load(couples[2 * rank + parity] + at); };
    };
    const Middle even = MiddleOf5And5(of(0, 0), of(0, 4)), odd = MiddleOf5And5(of(1, 0), of(1, 4));
    middle[0] = Min(odd.third, odd.fourth);
    middle[1] = Max(even.third, even.fourth);
    middle[2] = Max(odd.third, odd.fourth);
    middle[3] = Min(even.fifth, even.sixth);
    middle[4] = Min(odd.fifth, odd.sixth);
    middle[5] = Max(even.fifth, even.sixth);
    Order(middle[0], middle[1]);
    Order(middle[2], middle[3]);
    Order(middle[4], middle[5]);
}

/// The middle one of six and five.
inline Bytes MedianOf6And5(const Bytes (&middle)[6], const Column5& column, size_t i) {
    Bytes median = middle[5];
    for (size_t rank = 0; rank < 5; ++rank) median = Min(median, Max(middle[4 - rank], Load(column[rank] + i)));
    return median;
}

struct Block5 {
    alignas(32) Column5 even, odd;
    alignas(32) Couple5 couples;
};

/// Writes what the first block of a line reads beyond its columns; it is not used, but is to be something. (Others find
/// there what was.)
void ClearBeyond(size_t vectors, Block5& block) {
    const size_t at = vectors * kVectorBytes;
    for (auto& column : block.even) std::memset(column + at, 0, kVectorBytes);
    for (auto& column : block.odd) std::memset(column + at, 0, kVectorBytes);
    for (auto& couple : block.couples) std::memset(couple + at, 0, kVectorBytes);
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
    Bytes middle[6];
    MiddleOfCouples(block.couples, i, middle);
    const Bytes even = MedianOf6And5(middle, block.even, i), odd = MedianOf6And5(middle, block.odd, i + 8);
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
        const size_t bytes = 4 * pixels, whole = bytes / (2 * kVectorBytes) * (2 * kVectorBytes);
        for (size_t i = 0; i < whole; i += 2 * kVectorBytes)
            MediansAt5(block, evenCentres, oddCentres, i / 2, results + i);
        if (whole == bytes) continue;
        uint8_t last[2 * kVectorBytes];
        MediansAt5(block, evenCentres, oddCentres, whole / 2, last);
        std::memcpy(results + whole, last, bytes - whole);
    }
}

}  // namespace
}  // namespace zpixf

// Kernels of the plane transform; the including file gives kVectorBytes and defines the table of its level.
//
// Nothing here calls the standard library or is inline with external linkage, so no copy compiled for a wide level can
// stand in for another. Vector types give the same code shape at every level; where a compiler has none the plain
// loops, which end each row elsewhere, do all of it.
#include <cstring>

#include "PlaneKernels.h"

namespace zcdl {
namespace {

using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr int kNibbleBias = 7;
constexpr unsigned kEscape = 15;

uint8_t Byte(unsigned value) { return static_cast<uint8_t>(value); }

template <typename T>
T Median(T left, T up, T upLeft) {
    const T low = left < up ? left : up;
    const T high = left < up ? up : left;
    const T clamped = upLeft < low ? low : upLeft > high ? high : upLeft;
    return static_cast<T>(left + up - clamped);
}

uint16_t Fold(uint16_t v) { return static_cast<uint16_t>((v << 1) ^ -(v >> 15)); }
uint16_t Unfold(uint16_t v) { return static_cast<uint16_t>((v >> 1) ^ -(v & 1)); }

#if defined(__GNUC__)
#define ZCDL_VECTORS 1

using B16 = uint8_t __attribute__((vector_size(16)));
using W8 = uint16_t __attribute__((vector_size(16)));
using BN = uint8_t __attribute__((vector_size(kVectorBytes)));
using D4 = uint32_t __attribute__((vector_size(16)));
using Q2 = uint64_t __attribute__((vector_size(16)));

template <typename V>
V Load(const void* from) {
    V v;
    std::memcpy(&v, from, sizeof v);
    return v;
}
template <typename V>
void Store(void* to, const V& v) {
    std::memcpy(to, &v, sizeof v);
}

B16 InterleaveLow(const B16& a, const B16& b) {
    return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
B16 InterleaveHigh(const B16& a, const B16& b) {
    return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}
W8 InterleaveLow(const W8& a, const W8& b) { return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11); }
W8 InterleaveHigh(const W8& a, const W8& b) { return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15); }
B16 EvenBytes(const B16& a, const B16& b) {
    return __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}
B16 OddBytes(const B16& a, const B16& b) {
    return __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
}

// Lane i + 1 gets v's lane i; lane 0 gets 0.
B16 TowardsLast(const B16& v) {
    return __builtin_shufflevector(B16{}, v, 0, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30);
}
W8 TowardsLast(const W8& v) { return __builtin_shufflevector(W8{}, v, 0, 8, 9, 10, 11, 12, 13, 14); }
B16 TowardsFirst(const B16& v) {
    return __builtin_shufflevector(v, B16{}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
}
W8 TowardsFirst(const W8& v) { return __builtin_shufflevector(v, W8{}, 1, 2, 3, 4, 5, 6, 7, 8); }

template <typename V>
V Least(const V& a, const V& b) {
    return a < b ? a : b;
}
template <typename V>
V Greatest(const V& a, const V& b) {
    return a > b ? a : b;
}
// The median of left, up and left + up - upLeft is left + up less this.
template <typename V>
V Clamped(const V& left, const V& up, const V& upLeft) {
    return Greatest<V>(Least<V>(upLeft, Greatest<V>(left, up)), Least<V>(left, up));
}
template <typename V>
V VectorMedian(const V& left, const V& up, const V& upLeft) {
    return left + up - Clamped<V>(left, up, upLeft);
}
template <typename V>
V RoundedUpMean(const V& a, const V& b) {
    return (a | b) - ((a ^ b) >> 1);
}

// Rows become columns: rounds of pairing row i with row i + half.
template <typename V, size_t kLanes>
void Transpose(V (&rows)[kLanes]) {
    for (size_t round = 1; round < kLanes; round *= 2) {
        V paired[kLanes];
        for (size_t i = 0; i < kLanes / 2; ++i) {
            paired[2 * i] = InterleaveLow(rows[i], rows[i + kLanes / 2]);
            paired[2 * i + 1] = InterleaveHigh(rows[i], rows[i + kLanes / 2]);
        }
        for (size_t i = 0; i < kLanes; ++i) rows[i] = paired[i];
    }
}

// One row is a chain in which each sample waits for the one before. A wave front of `kLanes` rows, each one sample
// behind the row above it, turns the chain into one of vectors: what a lane needs from above is what the lane before it
// gave one turn ago. The zeros left of each row keep lanes at 0 until their row begins.
template <typename V, typename T>
void RestoreMedianRows(T* above, size_t stride, size_t count) {
    constexpr size_t kLanes = sizeof(V) / sizeof(T);
    V left = {};
    V upLeft = {};
    for (size_t turn = 0; turn < count + kLanes - 1; turn += kLanes) {
        V samples[kLanes];
        for (size_t r = 0; r < kLanes; ++r) samples[r] = Load<V>(above + (r + 1) * stride + turn - r);
        Transpose(samples);
        V firstUps = Load<V>(above + turn);
        constexpr V kFirstLane = {static_cast<T>(-1)};
        for (size_t k = 0; k < kLanes; ++k) {
            const V up = TowardsLast(left) | (firstUps & kFirstLane);
            firstUps = TowardsFirst(firstUps);
            // In this order all but the last subtraction is done by the time that the median is known.
            const V sum = samples[k] + left + up;
            left = sum - Clamped<V>(left, up, upLeft);
            upLeft = up;
            samples[k] = left;
        }
        Transpose(samples);
        for (size_t r = 0; r < kLanes; ++r) Store(above + (r + 1) * stride + turn - r, samples[r]);
    }
}

// The colour transform on 16 pixels. The halved mean takes the bias of B and R, 128, with it.
void SubtractGreen(B16& b, B16& g, B16& r) {
    b = b - g + 128;
    r = r - g + 128;
    g = g + (RoundedUpMean(b, r) >> 1) - 64;
}
void AddGreen(B16& b, B16& g, B16& r) {
    g = g - (RoundedUpMean(b, r) >> 1) + 64;
    b = b + g - 128;
    r = r + g - 128;
}

void SplitVectors(const uint8_t* p, B16 (&out)[1]) { out[0] = Load<B16>(p); }
void SplitVectors(const uint8_t* p, B16 (&out)[2]) {
    const B16 a = Load<B16>(p), b = Load<B16>(p + 16);
    out[0] = EvenBytes(a, b);
    out[1] = OddBytes(a, b);
}
// A perfect shuffle of 48 bytes moves position p to 2 p (mod 47); four of them to 16 p, and 3 i + c to i + 16 c.
void SplitVectors(const uint8_t* p, B16 (&out)[3]) {
    B16 a = Load<B16>(p), b = Load<B16>(p + 16), c = Load<B16>(p + 32);
    for (int round = 0; round < 4; ++round) {
        const B16 first = __builtin_shufflevector(a, b, 0, 24, 1, 25, 2, 26, 3, 27, 4, 28, 5, 29, 6, 30, 7, 31);
        const B16 second = __builtin_shufflevector(a, c, 8, 16, 9, 17, 10, 18, 11, 19, 12, 20, 13, 21, 14, 22, 15, 23);
        const B16 third = __builtin_shufflevector(b, c, 0, 24, 1, 25, 2, 26, 3, 27, 4, 28, 5, 29, 6, 30, 7, 31);
        a = first, b = second, c = third;
    }
    out[0] = a, out[1] = b, out[2] = c;
}
void SplitVectors(const uint8_t* p, B16 (&out)[4]) {
    const B16 a = Load<B16>(p), b = Load<B16>(p + 16), c = Load<B16>(p + 32), d = Load<B16>(p + 48);
    const B16 even0 = EvenBytes(a, b), even1 = EvenBytes(c, d), odd0 = OddBytes(a, b), odd1 = OddBytes(c, d);
    out[0] = EvenBytes(even0, even1);
    out[1] = EvenBytes(odd0, odd1);
    out[2] = OddBytes(even0, even1);
    out[3] = OddBytes(odd0, odd1);
}

void JoinVectors(uint8_t* p, const B16 (&in)[1]) { Store(p, in[0]); }
void JoinVectors(uint8_t* p, const B16 (&in)[2]) {
    Store(p, InterleaveLow(in[0], in[1]));
    Store(p + 16, InterleaveHigh(in[0], in[1]));
}
// Four times back: the even positions first, then the odd ones.
void JoinVectors(uint8_t* p, const B16 (&in)[3]) {
    B16 a = in[0], b = in[1], c = in[2];
    for (int round = 0; round < 4; ++round) {
        const B16 evenAb = EvenBytes(a, b), oddAb = OddBytes(a, b);
        const B16 evenC = EvenBytes(c, c), oddC = OddBytes(c, c);
        a = evenAb;
        b = __builtin_shufflevector(evenC, oddAb, 0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23);
        c = __builtin_shufflevector(oddAb, oddC, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23);
    }
    Store(p, a);
    Store(p + 16, b);
    Store(p + 32, c);
}
void JoinVectors(uint8_t* p, const B16 (&in)[4]) {
    const B16 low02 = InterleaveLow(in[0], in[2]), low13 = InterleaveLow(in[1], in[3]);
    const B16 high02 = InterleaveHigh(in[0], in[2]), high13 = InterleaveHigh(in[1], in[3]);
    Store(p, InterleaveLow(low02, low13));
    Store(p + 16, InterleaveHigh(low02, low13));
    Store(p + 32, InterleaveLow(high02, high13));
    Store(p + 48, InterleaveHigh(high02, high13));
}
#endif  // __GNUC__

template <int kStep, bool kColor>
void SplitRow(const uint8_t* pixels, size_t count, uint8_t* const* planes) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 16 <= count; i += 16) {
        B16 v[kStep];
        SplitVectors(pixels + i * kStep, v);
        if constexpr (kColor) SubtractGreen(v[0], v[1], v[2]);
        for (int c = 0; c < kStep; ++c) Store(planes[c] + i, v[c]);
    }
#endif
    for (; i < count; ++i) {
        const uint8_t* pixel = pixels + i * kStep;
        for (int c = 0; c < kStep; ++c) planes[c][i] = pixel[c];
        if constexpr (kColor) {
            const unsigned g = pixel[1];
            const unsigned b = Byte(pixel[0] - g + 128), r = Byte(pixel[2] - g + 128);
            planes[0][i] = Byte(b);
            planes[1][i] = Byte(g + ((b + r + 1) >> 2) - 64);
            planes[2][i] = Byte(r);
        }
    }
}

template <int kStep, bool kColor>
void JoinRow(uint8_t* pixels, size_t count, const uint8_t* const* planes) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 16 <= count; i += 16) {
        B16 v[kStep];
        for (int c = 0; c < kStep; ++c) v[c] = Load<B16>(planes[c] + i);
        if constexpr (kColor) AddGreen(v[0], v[1], v[2]);
        JoinVectors(pixels + i * kStep, v);
    }
#endif
    for (; i < count; ++i) {
        uint8_t* pixel = pixels + i * kStep;
        for (int c = 0; c < kStep; ++c) pixel[c] = planes[c][i];
        if constexpr (kColor) {
            const unsigned b = planes[0][i], r = planes[2][i];
            const unsigned g = planes[1][i] - ((b + r + 1) >> 2) + 64;
            pixel[0] = Byte(b + g - 128);
            pixel[1] = Byte(g);
            pixel[2] = Byte(r + g - 128);
        }
    }
}

void Split(const uint8_t* pixels, size_t count, PixelShape shape, uint8_t* const* planes) {
    switch (shape.step) {
        case 1: return SplitRow<1, false>(pixels, count, planes);
        case 2: return SplitRow<2, false>(pixels, count, planes);
        case 3:
            return shape.color ? SplitRow<3, true>(pixels, count, planes) : SplitRow<3, false>(pixels, count, planes);
        default:
            return shape.color ? SplitRow<4, true>(pixels, count, planes) : SplitRow<4, false>(pixels, count, planes);
    }
}

void Join(uint8_t* pixels, size_t count, PixelShape shape, const uint8_t* const* planes) {
    switch (shape.step) {
        case 1: return JoinRow<1, false>(pixels, count, planes);
        case 2: return JoinRow<2, false>(pixels, count, planes);
        case 3: return shape.color ? JoinRow<3, true>(pixels, count, planes) : JoinRow<3, false>(pixels, count, planes);
        default:
            return shape.color ? JoinRow<4, true>(pixels, count, planes) : JoinRow<4, false>(pixels, count, planes);
    }
}

bool IsConstant(const uint8_t* bytes, size_t count, uint8_t value) {
    unsigned differs = 0;
    for (size_t i = 0; i < count; ++i) differs |= static_cast<unsigned>(bytes[i] ^ value);
    return differs == 0;
}

template <Predictor kPredictor, typename T>
T Prediction(const T* row, const T* above, size_t i) {
    if constexpr (kPredictor == Predictor::left) return *(row + i - 1);
    if constexpr (kPredictor == Predictor::up) return above[i];
    if constexpr (kPredictor == Predictor::median) return Median<T>(*(row + i - 1), above[i], *(above + i - 1));
    return 0;
}

#if defined(ZCDL_VECTORS)
template <Predictor kPredictor, typename V, typename T>
V VectorPrediction(const T* row, const T* above, size_t i) {
    if constexpr (kPredictor == Predictor::left) return Load<V>(row + i - 1);
    if constexpr (kPredictor == Predictor::up) return Load<V>(above + i);
    if constexpr (kPredictor == Predictor::median)
        return VectorMedian<V>(Load<V>(row + i - 1), Load<V>(above + i), Load<V>(above + i - 1));
    return V{};
}
#endif

template <Predictor kPredictor>
void PredictRow(const uint8_t* row, const uint8_t* above, uint8_t* residual, size_t count) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + sizeof(BN) <= count; i += sizeof(BN))
        Store<BN>(residual + i, Load<BN>(row + i) - VectorPrediction<kPredictor, BN>(row, above, i));
#endif
    for (; i < count; ++i) residual[i] = Byte(row[i] - 0u - Prediction<kPredictor>(row, above, i));
}

void Predict(Predictor predictor, const uint8_t* row, const uint8_t* above, uint8_t* residual, size_t count) {
    switch (predictor) {
        case Predictor::none: std::memcpy(residual, row, count); return;
        case Predictor::left: return PredictRow<Predictor::left>(row, above, residual, count);
        case Predictor::up: return PredictRow<Predictor::up>(row, above, residual, count);
        case Predictor::median: return PredictRow<Predictor::median>(row, above, residual, count);
    }
}

template <Predictor kPredictor>
void PredictWordRow(const uint16_t* row, const uint16_t* above, uint8_t* low, uint8_t* high, size_t count) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 16 <= count; i += 16) {
        B16 folded[2];
        for (size_t half = 0; half < 2; ++half) {
            const size_t at = i + 8 * half;
            const W8 v = Load<W8>(row + at) - VectorPrediction<kPredictor, W8>(row, above, at);
            folded[half] = reinterpret_cast<B16>((v << 1) ^ (W8{} - (v >> 15)));
        }
        Store(low + i, EvenBytes(folded[0], folded[1]));
        Store(high + i, OddBytes(folded[0], folded[1]));
    }
#endif
    for (; i < count; ++i) {
        const uint16_t folded = Fold(static_cast<uint16_t>(row[i] - Prediction<kPredictor>(row, above, i)));
        low[i] = Byte(folded & 255u);
        high[i] = Byte(folded >> 8);
    }
}

void PredictWords(Predictor predictor, const uint16_t* row, const uint16_t* above, uint8_t* low, uint8_t* high,
                  size_t count) {
    switch (predictor) {
        case Predictor::none: return PredictWordRow<Predictor::none>(row, above, low, high, count);
        case Predictor::left: return PredictWordRow<Predictor::left>(row, above, low, high, count);
        case Predictor::up: return PredictWordRow<Predictor::up>(row, above, low, high, count);
        case Predictor::median: return PredictWordRow<Predictor::median>(row, above, low, high, count);
    }
}

void MergeWords(const uint8_t* low, const uint8_t* high, uint16_t* residual, size_t count) {
    for (size_t i = 0; i < count; ++i) residual[i] = Unfold(static_cast<uint16_t>(low[i] | high[i] << 8));
}

#if defined(ZCDL_VECTORS)
// Adds to each lane all lanes before it, by doubling distances.
B16 RunningSum(B16 v) {
    v += TowardsLast(v);
    v += __builtin_shufflevector(B16{}, v, 0, 1, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29);
    v += __builtin_shufflevector(B16{}, v, 0, 1, 2, 3, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27);
    v += __builtin_shufflevector(B16{}, v, 0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23);
    return v;
}
W8 RunningSum(W8 v) {
    v += TowardsLast(v);
    v += __builtin_shufflevector(W8{}, v, 0, 1, 8, 9, 10, 11, 12, 13);
    v += __builtin_shufflevector(W8{}, v, 0, 1, 2, 3, 8, 9, 10, 11);
    return v;
}
#endif

template <typename V, typename T>
void RestoreLeft(T* row, size_t count) {
    size_t i = 0;
    T sum = 0;
#if defined(ZCDL_VECTORS)
    constexpr size_t kLanes = sizeof(V) / sizeof(T);
    for (; i + kLanes <= count; i += kLanes) {
        // The sums within a vector do not wait for the carry: only its addition is in the chain from one to the next.
        const V sums = RunningSum(Load<V>(row + i)) + sum;
        Store(row + i, sums);
        sum = sums[kLanes - 1];
    }
#endif
    for (; i < count; ++i) row[i] = sum = static_cast<T>(sum + row[i]);
}

template <typename T>
void RestoreUp(T* row, const T* above, size_t count) {
    for (size_t i = 0; i < count; ++i) row[i] = static_cast<T>(row[i] + above[i]);
}

template <typename T>
void RestoreMedian(T* row, const T* above, size_t count) {
    T left = 0, upLeft = 0;
    for (size_t i = 0; i < count; ++i) {
        left = static_cast<T>(row[i] + Median<T>(left, above[i], upLeft));
        upLeft = above[i];
        row[i] = left;
    }
}

#if !defined(ZCDL_VECTORS)
using B16 = void;
using W8 = void;
template <typename V, typename T>
void RestoreMedianRows(T* above, size_t stride, size_t count) {
    constexpr size_t kRows = 16 / sizeof(T);
    for (size_t r = 0; r < kRows; ++r) RestoreMedian(above + (r + 1) * stride, above + r * stride, count);
}
#endif

template <typename V, typename T>
void Restore(Predictor predictor, T* row, const T* above, size_t count) {
    switch (predictor) {
        case Predictor::none: return;
        case Predictor::left: return RestoreLeft<V>(row, count);
        case Predictor::up: return RestoreUp(row, above, count);
        case Predictor::median: return RestoreMedian(row, above, count);
    }
}

bool IsEscape(uint8_t residual) { return Byte(residual + kNibbleBias) >= kEscape; }
unsigned Nibble(uint8_t residual) { return IsEscape(residual) ? kEscape : Byte(residual + kNibbleBias); }

#if defined(ZCDL_VECTORS)
template <typename V>
V Nibbles(const V& residual) {
    return Least<V>(residual + Byte(kNibbleBias), V{} + Byte(kEscape));
}

// Which bytes are escapes: 255 each.
template <typename V>
V EscapeMask(const V& nibbles) {
    return reinterpret_cast<V>(nibbles == (V{} + Byte(kEscape)));
}
// Two half bytes in one byte; none of them is above 15, so words can be shifted as a whole.
B16 JoinNibbles(const B16& high, const B16& low) {
    return reinterpret_cast<B16>(reinterpret_cast<W8>(high) << 4) | low;
}
bool Any(const B16& mask) {
    const Q2 halves = Load<Q2>(&mask);
    return (halves[0] | halves[1]) != 0;
}

// Appends those of 8 residuals that are escapes; `mask` holds 255 at each (little-endian: the first in the low byte).
uint8_t* AppendEscapes(const uint8_t* residual, uint64_t mask, uint8_t* escapes) {
    while (mask != 0) {
        const int bit = __builtin_ctzll(mask) & ~7;
        *escapes++ = residual[bit / 8];
        mask &= ~(uint64_t{255} << bit);
    }
    return escapes;
}

// Puts the next escapes in the places of the mask; null if there are too few.
const uint8_t* PlaceEscapes(uint8_t* residual, uint64_t mask, const uint8_t* escapes, const uint8_t* escapesEnd) {
    while (mask != 0) {
        if (escapes == escapesEnd) return nullptr;
        const int bit = __builtin_ctzll(mask) & ~7;
        residual[bit / 8] = *escapes++;
        mask &= ~(uint64_t{255} << bit);
    }
    return escapes;
}
#endif

uint8_t* PackPairs(const uint8_t* residual, size_t count, uint8_t* packed, uint8_t* escapes) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 32 <= count; i += 32) {
        const B16 a = Nibbles<B16>(Load<B16>(residual + i)), b = Nibbles<B16>(Load<B16>(residual + i + 16));
        Store<B16>(packed + i / 2, JoinNibbles(EvenBytes(a, b), OddBytes(a, b)));
        const B16 maskA = EscapeMask(a), maskB = EscapeMask(b);
        if (!Any(maskA | maskB)) continue;
        uint64_t masks[4];
        Store(masks, maskA);
        Store(masks + 2, maskB);
        for (size_t part = 0; part < 4; ++part) escapes = AppendEscapes(residual + i + 8 * part, masks[part], escapes);
    }
#endif
    for (; i < count; i += 2) {
        // The half byte behind an odd row's last sample is that of a residual of 0.
        const uint8_t second = i + 1 < count ? residual[i + 1] : uint8_t{0};
        packed[i / 2] = Byte(Nibble(residual[i]) << 4 | Nibble(second));
        if (IsEscape(residual[i])) *escapes++ = residual[i];
        if (IsEscape(second)) *escapes++ = second;
    }
    return escapes;
}

uint8_t* PackJoint(const uint8_t* high, const uint8_t* low, size_t count, uint8_t* packed, uint8_t* escapes) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 16 <= count; i += 16) {
        const B16 a = Nibbles<B16>(Load<B16>(high + i)), b = Nibbles<B16>(Load<B16>(low + i));
        Store<B16>(packed + i, JoinNibbles(a, b));
        const B16 maskA = EscapeMask(a), maskB = EscapeMask(b);
        if (!Any(maskA | maskB)) continue;
        // In the order of the packed byte's halves: residuals and masks of both planes in turns.
        uint8_t both[32];
        uint64_t masks[4];
        Store(both, InterleaveLow(Load<B16>(high + i), Load<B16>(low + i)));
        Store(both + 16, InterleaveHigh(Load<B16>(high + i), Load<B16>(low + i)));
        Store(masks, InterleaveLow(maskA, maskB));
        Store(masks + 2, InterleaveHigh(maskA, maskB));
        for (size_t part = 0; part < 4; ++part) escapes = AppendEscapes(both + 8 * part, masks[part], escapes);
    }
#endif
    for (; i < count; ++i) {
        packed[i] = Byte(Nibble(high[i]) << 4 | Nibble(low[i]));
        if (IsEscape(high[i])) *escapes++ = high[i];
        if (IsEscape(low[i])) *escapes++ = low[i];
    }
    return escapes;
}

const uint8_t* UnpackPairs(const uint8_t* packed, size_t count, uint8_t* residual, const uint8_t* escapes,
                           const uint8_t* escapesEnd) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 32 <= count; i += 32) {
        const B16 v = Load<B16>(packed + i / 2);
        const B16 first = v >> 4, second = v & 15;
        const B16 a = InterleaveLow(first, second), b = InterleaveHigh(first, second);
        Store<B16>(residual + i, a - Byte(kNibbleBias));
        Store<B16>(residual + i + 16, b - Byte(kNibbleBias));
        const B16 maskA = EscapeMask(a), maskB = EscapeMask(b);
        if (!Any(maskA | maskB)) continue;
        uint64_t masks[4];
        Store(masks, maskA);
        Store(masks + 2, maskB);
        for (size_t part = 0; part < 4; ++part) {
            escapes = PlaceEscapes(residual + i + 8 * part, masks[part], escapes, escapesEnd);
            if (escapes == nullptr) return nullptr;
        }
    }
#endif
    for (; i < count; ++i) {
        const unsigned nibble = i % 2 == 0 ? packed[i / 2] >> 4 : packed[i / 2] & 15u;
        residual[i] = Byte(nibble - kNibbleBias);
        if (nibble != kEscape) continue;
        if (escapes == escapesEnd) return nullptr;
        residual[i] = *escapes++;
    }
    if (count % 2 != 0 && (packed[count / 2] & 15u) != kNibbleBias) return nullptr;
    return escapes;
}

const uint8_t* UnpackJoint(const uint8_t* packed, size_t count, uint8_t* high, uint8_t* low, const uint8_t* escapes,
                           const uint8_t* escapesEnd) {
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    for (; i + 16 <= count; i += 16) {
        const B16 v = Load<B16>(packed + i);
        const B16 a = v >> 4, b = v & 15;
        const B16 maskA = EscapeMask(a), maskB = EscapeMask(b);
        B16 residualA = a - Byte(kNibbleBias), residualB = b - Byte(kNibbleBias);
        if (Any(maskA | maskB)) {
            uint8_t both[32];
            uint64_t masks[4];
            Store(both, InterleaveLow(residualA, residualB));
            Store(both + 16, InterleaveHigh(residualA, residualB));
            Store(masks, InterleaveLow(maskA, maskB));
            Store(masks + 2, InterleaveHigh(maskA, maskB));
            for (size_t part = 0; part < 4; ++part) {
                escapes = PlaceEscapes(both + 8 * part, masks[part], escapes, escapesEnd);
                if (escapes == nullptr) return nullptr;
            }
            residualA = EvenBytes(Load<B16>(both), Load<B16>(both + 16));
            residualB = OddBytes(Load<B16>(both), Load<B16>(both + 16));
        }
        Store(high + i, residualA);
        Store(low + i, residualB);
    }
#endif
    for (; i < count; ++i) {
        const unsigned v = packed[i];
        const unsigned nibbles[2] = {v >> 4, v & 15};
        uint8_t* const residuals[2] = {high + i, low + i};
        for (int half = 0; half < 2; ++half) {
            *residuals[half] = Byte(nibbles[half] - kNibbleBias);
            if (nibbles[half] != kEscape) continue;
            if (escapes == escapesEnd) return nullptr;
            *residuals[half] = *escapes++;
        }
    }
    return escapes;
}

bool AreEscapes(const uint8_t* residuals, size_t count) {
    unsigned packable = 0;
    for (size_t i = 0; i < count; ++i) packable |= IsEscape(residuals[i]) ? 0u : 1u;
    return packable == 0;
}

uint32_t Distance(const uint8_t* a, const uint8_t* b, size_t count) {
    uint32_t sum = 0;
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    W8 sums = {};
    for (; i + 16 <= count; i += 16) {
        const B16 difference = Load<B16>(a + i) - Load<B16>(b + i);
        const W8 magnitude = reinterpret_cast<W8>(Least<B16>(difference, B16{} - difference));
        sums += (magnitude & 255) + (magnitude >> 8);
    }
    for (size_t lane = 0; lane < 8; ++lane) sum += sums[lane];
#endif
    for (; i < count; ++i) {
        const uint8_t difference = Byte(a[i] - 0u - b[i]);
        sum += difference < 128 ? difference : 256u - difference;
    }
    return sum;
}

// Eight interleaved Fletcher sums of 32-bit words: two additions per 32 bytes and lane, and a damaged word shows in
// both sums of its lane. They are folded into one word at the end.
uint32_t Checksum(const uint8_t* bytes, size_t count) {
    uint32_t sums[8] = {}, sumsOfSums[8] = {};
    size_t i = 0;
#if defined(ZCDL_VECTORS)
    D4 s[2] = {}, t[2] = {};
    for (; i + 32 <= count; i += 32) {
        t[0] += s[0] += Load<D4>(bytes + i);
        t[1] += s[1] += Load<D4>(bytes + i + 16);
    }
    Store(sums, s);
    Store(sumsOfSums, t);
#endif
    for (; i < count; i += 32) {
        uint8_t group[32] = {};
        std::memcpy(group, bytes + i, count - i < 32 ? count - i : 32);
        for (size_t lane = 0; lane < 8; ++lane) {
            const uint8_t* w = group + 4 * lane;
            sums[lane] += static_cast<uint32_t>(w[0]) | static_cast<uint32_t>(w[1]) << 8 |
                          static_cast<uint32_t>(w[2]) << 16 | static_cast<uint32_t>(w[3]) << 24;
            sumsOfSums[lane] += sums[lane];
        }
    }
    auto hash = static_cast<uint32_t>(count);
    for (size_t lane = 0; lane < 8; ++lane) {
        hash = (hash ^ sums[lane]) * 0x9E3779B1u;
        hash ^= hash >> 15;
        hash = (hash ^ sumsOfSums[lane]) * 0x85EBCA77u;
        hash ^= hash >> 13;
    }
    return hash;
}

constexpr PlaneKernels kKernels = {
    Split,
    Join,
    IsConstant,
    Predict,
    PredictWords,
    MergeWords,
    Restore<B16, uint8_t>,
    Restore<W8, uint16_t>,
    RestoreMedianRows<B16, uint8_t>,
    RestoreMedianRows<W8, uint16_t>,
    PackPairs,
    PackJoint,
    UnpackPairs,
    UnpackJoint,
    AreEscapes,
    Distance,
    Checksum,
};

}  // namespace
}  // namespace zcdl

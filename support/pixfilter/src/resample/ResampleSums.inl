// Halving and the sums down the picture on vectors of any width that can move bytes. What they hold is of four pixels
// in each 16 bytes.

namespace zpixf {
namespace {

using namespace simd;

bool IsOpaque(const uint8_t* pixels, size_t count) {
    Vec all = Splat32(0xFFFFFFFF);
    size_t x = 0;
    for (; x + 2 * kVecPixels <= count; x += 2 * kVecPixels)
        all = And(all, And(Load(pixels + 4 * x), Load(pixels + 4 * x + kVecBytes)));
    return AreAllOpaque(all) && IsOpaqueFrom(x, pixels, count);
}

/// Sums of neighbours, side by side: of pixels 0 + 1 and 2 + 3 of each four.
Vec PairSums(Vec pixels) {
    return MultiplyAdd8(Shuffle8(pixels, 0x0703'0602'0501'0400, 0x0F0B'0E0A'0D09'0C08), Splat8(1));
}

/// `factors` as HalvingFactors gives them.
Vec MeansOfFour(Vec upper, Vec lower, Vec factors) {
    return MultiplyRounded16(Add16(PairSums(upper), PairSums(lower)), factors);
}

/// Factors of the sums of four bytes: sum * factor / 2^15 goes to the nearest, and halves up if the factor is 2^13. A
/// little less makes them go down, and of alpha, with less still, only the largest sum becomes 255.
Vec HalvingFactors(bool roundsUp) {
    const uint64_t up = 0x1FF4'2000'2000'2000, down = 0x1FF4'1FFC'1FFC'1FFC;
    return roundsUp ? Splat128(up, down) : Splat128(down, up);
}

// Of each four pixels, pairs of neighbours are taken two at a time: `kFirst` 0 for pixels 0 | 1, 2 for 2 | 3.
constexpr uint64_t kTwoPixelsOn = 0x0008'0008'0008'0008;

/// Each channel of the two side by side, in 16 bits.
template <int kFirst>
Vec SpreadPairs(Vec pixels) {
    constexpr uint64_t kFrom = kFirst / 2 * kTwoPixelsOn;
    return Shuffle8(pixels, 0x8005'8001'8004'8000 + kFrom, 0x8007'8003'8006'8002 + kFrom);
}

/// Alphas in the places of the colours, and ones in those of alpha.
template <int kFirst>
Vec AlphasOfPairs(Vec pixels) {
    constexpr uint64_t kFrom = kFirst / 2 * kTwoPixelsOn;
    const Vec alphas = Shuffle8(pixels, 0x8007'8003'8007'8003 + kFrom, 0x8080'8080'8007'8003 + (kFrom & 0xFFFFFFFF));
    return Or(alphas, Splat128(0, 0x0001'0001'0000'0000));
}

/// One pixel of a half in each 16 bytes, of neighbours as in SpreadPairs: numbers of 32 bits. `rounding` is the tie
/// breaker. (Reciprocals are off by a few parts in 2^22, quotients by less than kHalvingTieBreaker.)
template <int kFirst>
Vec WeightedMeans(Vec upper, Vec lower, Floats rounding) {
    const Vec above = SpreadPairs<kFirst>(upper), below = SpreadPairs<kFirst>(lower);
    const Vec sums =
        Add32(MultiplyAdd16(above, AlphasOfPairs<kFirst>(upper)), MultiplyAdd16(below, AlphasOfPairs<kFirst>(lower)));
    const Floats weighted = ToFloats(sums), alphas = LastOfFour(weighted);
    Floats means = MultiplyFloats(weighted, Reciprocals(WithLastOfFour(alphas, SplatFloats(4))));
    if (IsAnyZero(alphas)) {
        const Floats plain = ToFloats(MultiplyAdd16(Add16(above, below), Splat16(1)));
        means = WhereZero(alphas, MultiplyFloats(plain, SplatFloats(0.25F)), means);
    }
    return Nearest32(AddFloats(means, rounding));
}

/// In 16 bits, in the order of MeansOfFour.
Vec WeightedMeansOfFour(Vec upper, Vec lower, Floats even) {
    return PackSigned32(WeightedMeans<0>(upper, lower, even),
                        WeightedMeans<2>(upper, lower, MultiplyFloats(even, SplatFloats(-1))));
}

// A vector of a half, from pixels of two lines.

Vec OpaqueHalf(const uint8_t* upper, const uint8_t* lower, Vec factors) {
    return PackToBytesInOrder(MeansOfFour(Load(upper), Load(lower), factors),
                              MeansOfFour(Load(upper + kVecBytes), Load(lower + kVecBytes), factors));
}

Vec AnyHalf(const uint8_t* upper, const uint8_t* lower, Vec factors, Floats even) {
    const Vec above = Load(upper), aboveNext = Load(upper + kVecBytes);
    const Vec below = Load(lower), belowNext = Load(lower + kVecBytes);
    if (AreAllOpaque(And(And(above, aboveNext), And(below, belowNext)))) return OpaqueHalf(upper, lower, factors);
    return PackToBytesInOrder(WeightedMeansOfFour(above, below, even), WeightedMeansOfFour(aboveNext, belowNext, even));
}

/// Has the two lines behind a pair fetched while that is halved: bytes from `upper` on.
void FetchNextLines(const uint8_t* upper, std::ptrdiff_t stride) {
    constexpr size_t kLine = 64;  // of the caches
    for (size_t i = 0; i < 2 * kVecBytes; i += kLine) {
        FetchAhead(upper + 2 * stride + i);
        FetchAhead(upper + 3 * stride + i);
    }
}

template <bool kFetches>
void HalveLine(const uint8_t* upper, std::ptrdiff_t stride, size_t count, bool roundsUp, uint8_t* out) {
    const Vec factors = HalvingFactors(roundsUp);
    const Floats even = SplatFloats(roundsUp ? kHalvingTieBreaker : -kHalvingTieBreaker);
    size_t x = 0;
    // Whether pixels are opaque is told by what comes out; once some are not, it is asked first.
    for (; x + kVecPixels <= count; x += kVecPixels) {
        if constexpr (kFetches) FetchNextLines(upper + 8 * x, stride);
        const Vec half = OpaqueHalf(upper + 8 * x, upper + 8 * x + stride, factors);
        if (!AreAllOpaque(half)) break;
        Store(out + 4 * x, half);
    }
    for (; x + kVecPixels <= count; x += kVecPixels) {
        if constexpr (kFetches) FetchNextLines(upper + 8 * x, stride);
        Store(out + 4 * x, AnyHalf(upper + 8 * x, upper + 8 * x + stride, factors, even));
    }
    HalveSome(upper + 8 * x, upper + stride + 8 * x, count - x, roundsUp, out + 4 * x);
}

/// The weights of two lines in each 32 bits, as MultiplyAdd16 wants them.
Vec PairOfWeights(const ResampleTap* taps) {
    return Splat32(static_cast<uint32_t>(taps[1].weight) << 16 | (static_cast<uint32_t>(taps[0].weight) & 0xFFFF));
}

/// Of a vector's sums, each four channels belong to the fourth pixel after the one before.
constexpr size_t kBetween = 4 * kChannels;

void SumPlain(const ResampleTap* taps, size_t tapCount, size_t first, size_t count, double* sums) {
    for (size_t x = first; x < first + count; x += kVecPixels, sums += kVecBytes) {
        Vec sum0 = Zero(), sum1 = Zero(), sum2 = Zero(), sum3 = Zero();  // of the first of each four pixels, ...
        for (size_t tap = 0; tap < tapCount; tap += 2) {
            const Vec weights = PairOfWeights(taps + tap);
            const Vec a = Load(taps[tap].line + 4 * x), b = Load(taps[tap + 1].line + 4 * x);
            const Vec low = InterleaveLow8(a, b), high = InterleaveHigh8(a, b);
            sum0 = Add32(sum0, MultiplyAdd16(InterleaveLow8(low, Zero()), weights));
            sum1 = Add32(sum1, MultiplyAdd16(InterleaveHigh8(low, Zero()), weights));
            sum2 = Add32(sum2, MultiplyAdd16(InterleaveLow8(high, Zero()), weights));
            sum3 = Add32(sum3, MultiplyAdd16(InterleaveHigh8(high, Zero()), weights));
        }
        StoreFoursAsDoubles<kBetween>(sums, sum0);
        StoreFoursAsDoubles<kBetween>(sums + kChannels, sum1);
        StoreFoursAsDoubles<kBetween>(sums + 2 * kChannels, sum2);
        StoreFoursAsDoubles<kBetween>(sums + 3 * kChannels, sum3);
    }
}

/// Colours times alpha, and alpha, of pixels that have been unpacked to 16 bits.
Vec TimesAlpha(Vec pixels) {
    const Vec alphas = Shuffle8(pixels, 0x8080'0706'0706'0706, 0x8080'0F0E'0F0E'0F0E);
    return Multiply16(pixels, Or(alphas, Splat64(uint64_t{1} << 48)));
}

// A product's bytes are summed apart, as MultiplyAdd16 takes 16 bits with a sign and a product has 16 without. In each
// 16 bytes are the sums of one pixel's channels.
struct SplitSums {
    Vec high0, low0, high1, low1;

    void Add(Vec a, Vec b, Vec weights) {
        const Vec pairs0 = InterleaveLow16(a, b), pairs1 = InterleaveHigh16(a, b);
        high0 = Add32(high0, MultiplyAdd16(ShiftRight16<8>(pairs0), weights));
        low0 = Add32(low0, MultiplyAdd16(And(pairs0, Splat16(255)), weights));
        high1 = Add32(high1, MultiplyAdd16(ShiftRight16<8>(pairs1), weights));
        low1 = Add32(low1, MultiplyAdd16(And(pairs1, Splat16(255)), weights));
    }
    void Store(double* sums) const {
        StoreFoursAsDoubles<kBetween>(sums, high0, low0);
        StoreFoursAsDoubles<kBetween>(sums + kChannels, high1, low1);
    }
};

void SumWeighted(const ResampleTap* taps, size_t tapCount, size_t first, size_t count, double* sums) {
    for (size_t x = first; x < first + count; x += kVecPixels, sums += kVecBytes) {
        SplitSums left = {Zero(), Zero(), Zero(), Zero()}, right = left;
        for (size_t tap = 0; tap < tapCount; tap += 2) {
            const Vec weights = PairOfWeights(taps + tap);
            const Vec a = Load(taps[tap].line + 4 * x), b = Load(taps[tap + 1].line + 4 * x);
            left.Add(TimesAlpha(InterleaveLow8(a, Zero())), TimesAlpha(InterleaveLow8(b, Zero())), weights);
            right.Add(TimesAlpha(InterleaveHigh8(a, Zero())), TimesAlpha(InterleaveHigh8(b, Zero())), weights);
        }
        left.Store(sums);
        right.Store(sums + 2 * kChannels);
    }
}

}  // namespace
}  // namespace zpixf

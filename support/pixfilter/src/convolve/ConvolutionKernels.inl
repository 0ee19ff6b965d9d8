// Kernels of the convolutions; the including file defines the table of its level. Nothing here calls the standard
// library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include "convolve/ConvolutionKernels.h"
#include "simd/Vectors.inl"

namespace zpixf {
namespace {

using namespace simd;

std::uint8_t ToLevel(double value) {
    const double raised = value + kConvolutionHalf;
    if (!(raised >= 1)) return 0;
    return raised < 255 ? static_cast<std::uint8_t>(raised) : 255;
}

/// Where each tap's first pixel lies.
struct TapSources {
    const std::uint8_t* at[kMaxPairedTaps];

    TapSources(const ConvolutionForm& form, const ConvolutionLines& lines) {
        for (unsigned tap = 0; tap < kMaxPairedTaps; ++tap) {
            const Tap& place = form.taps[tap < form.numTaps ? tap : 0];
            at[tap] = lines.rows[place.row] + std::ptrdiff_t{4} * place.column;
        }
    }
};

const std::uint8_t* Centre(const ConvolutionForm& form, const ConvolutionLines& lines) {
    return lines.rows[form.side / 2];
}

/// The byte at `place`, which is none of alpha.
std::uint8_t PlainByte(const ConvolutionForm& form, const TapSources& sources, std::size_t place) {
    double sum = 0;
    for (unsigned tap = 0; tap < form.numTaps; ++tap) {
        const double product = form.factors[tap] * sources.at[tap][place];
        sum += product;
    }
    const double quotient = sum / form.divisor;
    return ToLevel(quotient + form.bias);
}

void Plain(const ConvolutionForm& form, const ConvolutionLines& lines) {
    const TapSources sources(form, lines);
    for (std::size_t x = 0; x < lines.count; ++x) {
        for (std::size_t place = 4 * x; place < 4 * x + 3; ++place)
            lines.result[place] = PlainByte(form, sources, place);
        lines.result[4 * x + 3] = Centre(form, lines)[4 * x + 3];
    }
}

#if defined(SIMD_HAS_VECTORS)

/// Where results go: colours beside the alpha of the line in the middle.
struct Results {
    const std::uint8_t* alphas;
    std::uint8_t* result;

    Results(const ConvolutionForm& form, const ConvolutionLines& lines)
        : alphas(Centre(form, lines)), result(lines.result) {}

    void Store(std::size_t x, Vec colors) const {
        const Vec alpha = And(Load(alphas + 4 * x), AlphaBytes());
        simd::Store(result + 4 * x, Or(AndNot(AlphaBytes(), colors), alpha));
    }
};

unsigned NumPairs(unsigned taps) { return (taps + 1) / 2; }

/// From a sum in 16 bits to a level, which PackToBytes clamps.
class NarrowEnd {
public:
    explicit NarrowEnd(const WholeForm& form)
        : toTop(Splat16(form.toTop)),
          fromTop(Splat16(form.fromTop)),
          reciprocal(Splat16(static_cast<int>(form.reciprocal))),
          shift(form.shift),
          divides(form.reciprocal != 0) {}

    Vec Level(Vec sum) const {
        const Vec clamped = SubtractSaturated16(AddSaturated16(sum, toTop), fromTop);
        return divides ? ShiftRight16(MultiplyHigh16(clamped, reciprocal), shift) : clamped;
    }

private:
    Vec toTop, fromTop, reciprocal;
    unsigned shift;
    bool divides;
};

/// The taps of a convolution two by two, for sums in 16 bits.
struct NarrowPairs {
    struct Pair {
        PairFactors factors;
        const std::uint8_t *first, *second;
    };
    Pair pairs[kMaxPairedTaps / 2];
    unsigned count;

    NarrowPairs(const ConvolutionForm& form, const ConvolutionLines& lines) : count(NumPairs(form.numTaps)) {
        const TapSources sources(form, lines);
        for (unsigned i = 0; i < count; ++i) {
            pairs[i].factors.Set(form.whole.factors[2 * i], form.whole.factors[2 * i + 1]);
            pairs[i].first = sources.at[2 * i];
            pairs[i].second = sources.at[2 * i + 1];
        }
    }

    /// The sums of `kVectors` vectors from `place` on, each in two halves. A loop over the pairs, not one laid out by
    /// the compiler: there are not enough registers for more than the sums.
    template <unsigned kVectors>
    void Sum(std::size_t place, Vec start, Vec (&low)[kVectors], Vec (&high)[kVectors]) const {
        for (unsigned i = 0; i < kVectors; ++i) low[i] = high[i] = start;
        for (unsigned pair = 0; pair < count; ++pair) {
            const Pair& taps = pairs[pair];
            for (unsigned i = 0; i < kVectors; ++i) {
                const Vec a = Load(taps.first + place + i * kVecBytes), b = Load(taps.second + place + i * kVecBytes);
                low[i] = Add16(low[i], taps.factors.SumOfProducts(InterleaveLow8(a, b)));
                high[i] = Add16(high[i], taps.factors.SumOfProducts(InterleaveHigh8(a, b)));
            }
        }
    }
};

template <unsigned kVectors>
void NarrowStep(const NarrowPairs& pairs, const NarrowEnd& end, Vec start, const Results& results, std::size_t x) {
    Vec low[kVectors], high[kVectors];
    pairs.Sum(4 * x, start, low, high);
    for (unsigned i = 0; i < kVectors; ++i)
        results.Store(x + i * kVecPixels, PackToBytes(end.Level(low[i]), end.Level(high[i])));
}

void Narrow(const ConvolutionForm& form, const ConvolutionLines& lines) {
    if (lines.count < kVecPixels) return Plain(form, lines);
    const NarrowPairs pairs(form, lines);
    const NarrowEnd end(form.whole);
    const Results results(form, lines);
    const Vec start = Splat16(form.whole.start);
    constexpr unsigned kAtOnce = 2;
    std::size_t x = 0;
    for (; x + kAtOnce * kVecPixels <= lines.count; x += kAtOnce * kVecPixels)
        NarrowStep<kAtOnce>(pairs, end, start, results, x);
    if (x + kVecPixels <= lines.count) {
        NarrowStep<1>(pairs, end, start, results, x);
        x += kVecPixels;
    }
    if (x < lines.count) NarrowStep<1>(pairs, end, start, results, lines.count - kVecPixels);
}

/// A stretch of a line after the pass down the columns, each byte in 16 bits; short, to stay in the nearest cache.
struct ColumnSums {
    static constexpr std::size_t kPixels = 128;
    static constexpr std::size_t kReach = kMaxConvolutionSide / 2;
    std::int16_t sums[4 * (kPixels + 2 * kReach + kVecPixels)];

    /// For pixels `x` - kReach and on, as many as `count` results need.
    void Fill(const SeparableForm& form, const PairFactors* factors, const ConvolutionLines& lines, std::size_t x,
              std::size_t count) {
        for (std::size_t done = 0; done < count + 2 * kReach; done += kVecPixels) {
            const std::ptrdiff_t offset = 4 * (static_cast<std::ptrdiff_t>(x + done) - std::ptrdiff_t{kReach});
            Vec low = Zero(), high = Zero();
            for (unsigned pair = 0; pair < NumPairs(form.numRows); ++pair) {
                const Vec a = Load(lines.rows[form.rows[2 * pair]] + offset);
                const Vec b = Load(lines.rows[form.rows[2 * pair + 1]] + offset);
                low = Add16(low, factors[pair].SumOfProducts(InterleaveLow8(a, b)));
                high = Add16(high, factors[pair].SumOfProducts(InterleaveHigh8(a, b)));
            }
            Store(sums + 4 * done, FirstInOrder(low, high));
            Store(sums + 4 * done + kVecBytes / 2, SecondInOrder(low, high));
        }
    }
};

template <unsigned kColumns>
void SeparableColumns(const ConvolutionForm& form, const ConvolutionLines& lines) {
    const SeparableForm& separable = form.separable;
    PairFactors rowFactors[(kMaxConvolutionSide + 1) / 2];
    for (unsigned pair = 0; pair < NumPairs(separable.numRows); ++pair)
        rowFactors[pair].Set(separable.rowFactors[2 * pair], separable.rowFactors[2 * pair + 1]);
    Vec columnFactors[kColumns];
    std::ptrdiff_t columns[kColumns];
    for (unsigned i = 0; i < kColumns; ++i) {
        columnFactors[i] = Splat16(separable.columnFactors[i]);
        columns[i] = 4 * (separable.columns[i] + std::ptrdiff_t{ColumnSums::kReach});
    }
    const NarrowEnd end(form.whole);
    const Vec start = Splat16(form.whole.start);
    const Results results(form, lines);
    ColumnSums stretch;
    const auto level = [&](std::size_t place) {
        Vec sum = start;
        for (unsigned i = 0; i < kColumns; ++i)
            sum = Add16(
                sum, Multiply16(Load(stretch.sums + place + static_cast<std::size_t>(columns[i])), columnFactors[i]));
        return end.Level(sum);
    };
    for (std::size_t x = 0; x < lines.count;) {
        std::size_t count = lines.count - x;
        if (count > ColumnSums::kPixels) count = ColumnSums::kPixels;
        if (count < kVecPixels) {  // the last few: with some again
            x = lines.count - kVecPixels;
            count = kVecPixels;
        }
        stretch.Fill(separable, rowFactors, lines, x, count);
        for (std::size_t done = 0; done < count; done += kVecPixels) {
            const std::size_t at = done + kVecPixels <= count ? done : count - kVecPixels;
            results.Store(x + at, PackToBytesInOrder(level(4 * at), level(4 * at + kVecBytes / 2)));
        }
        x += count;
    }
}

void Separable(const ConvolutionForm& form, const ConvolutionLines& lines) {
    if (lines.count < kVecPixels) return Plain(form, lines);
    switch (form.separable.numColumns) {
        case 1: return SeparableColumns<1>(form, lines);
        case 2: return SeparableColumns<2>(form, lines);
        case 3: return SeparableColumns<3>(form, lines);
        case 4: return SeparableColumns<4>(form, lines);
        default: return SeparableColumns<5>(form, lines);
    }
}

#endif

}  // namespace
}  // namespace zpixf

#include "convolve/ConvolutionKernelsFloats.inl"

namespace zpixf {
namespace {

#if defined(SIMD_HAS_VECTORS)

constexpr ConvolutionKernels kKernels = {&LayOut, &ByDefinition, &Narrow, &Separable, &Wide, &Fraction};

#else

constexpr ConvolutionKernels kKernels = {nullptr, &Plain, &Plain, &Plain, &Plain, &Plain};

#endif

}  // namespace
}  // namespace zpixf

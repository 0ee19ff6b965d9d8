// Which arithmetic gives what the plain one gives, and is quicker.
//
// The plain one computes in double, with an error that is below 2^-34 of a level near the levels 0 to 255 for the
// kernels that are taken here for fractions of whole numbers. These are computed exactly; so the two agree where no
// exact result lies within that of a step. A step lies kConvolutionHalf, a half and 2^-32, off a whole number, and so
// clear of the halves too, which are the results that matter.
#include "convolve/ZPixfConvolutionForm.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace zpixf {
namespace {

void TakeTaps(unsigned side, const double* coefficients, ConvolutionForm& form) {
    const int reach = static_cast<int>(side / 2);
    for (unsigned i = 0; i < side * side; ++i) {
        if (coefficients[i] == 0) continue;
        const int column = static_cast<int>(i % side) - reach;
        form.taps[form.numTaps] = {static_cast<std::uint8_t>(i / side), static_cast<std::int8_t>(column)};
        form.factors[form.numTaps++] = coefficients[i];
    }
}

double SumOfMagnitudes(const ConvolutionForm& form) {
    double sum = 0;
    for (unsigned tap = 0; tap < form.numTaps; ++tap) sum += std::fabs(form.factors[tap]);
    return sum;
}

/// Whether a number is whole but for so many roundings; `tolerance` is relative.
bool IsWhole(double value, double tolerance) {
    return std::fabs(value - std::round(value)) <= std::fabs(value) * tolerance;
}

/// The factors, times `scale`, as whole numbers over a whole divisor.
bool TakeWhole(double scale, const ConvolutionForm& form, WholeForm& whole, std::int64_t& divisor) {
    constexpr double kLargestFactor = 32767, kLargestDivisor = 1 << 20;
    constexpr double kFewRoundings = 0x1p-51, kRoundingsOfASum = 0x1p-48;
    const double scaledDivisor = std::fabs(form.divisor) * scale;
    if (!(scaledDivisor >= 0.5 && scaledDivisor <= kLargestDivisor)) return false;
    if (!IsWhole(scaledDivisor, kRoundingsOfASum)) return false;
    for (unsigned tap = 0; tap < form.numTaps; ++tap) {
        const double factor = form.factors[tap] * scale;
        if (std::fabs(factor) > kLargestFactor || !IsWhole(factor, kFewRoundings)) return false;
        whole.factors[tap] = static_cast<std::int16_t>(std::round(form.divisor < 0 ? -factor : factor));
    }
    divisor = static_cast<std::int64_t>(std::round(scaledDivisor));
    return true;
}

bool FindScale(const ConvolutionForm& form, WholeForm& whole, std::int64_t& divisor) {
    constexpr int kLargestDenominator = 1024, kLargestPowerOf2 = 1 << 15;
    // Powers of 2 change nothing in the plain arithmetic, which is exact for such factors. Others do.
    for (int scale = 1; scale <= kLargestPowerOf2; scale *= 2)
        if (TakeWhole(scale, form, whole, divisor)) return true;
    constexpr double kStrongest = 16;
    if (SumOfMagnitudes(form) > kStrongest * std::fabs(form.divisor)) return false;
    for (int scale = 3; scale <= kLargestDenominator; ++scale)
        if (TakeWhole(scale, form, whole, divisor)) return true;
    return false;
}

/// What is added to the sum before the division, which then rounds down.
bool FindStart(const ConvolutionForm& form, std::int64_t divisor, std::int64_t& start) {
    constexpr double kLargestBias = 1024, kError = 0x1p-34;
    if (std::fabs(form.bias) > kLargestBias) return false;
    const auto scale = static_cast<double>(divisor);
    const double exact = (form.bias + kConvolutionHalf) * scale, below = std::floor(exact);
    start = static_cast<std::int64_t>(below);
    return exact - below >= kError * scale && below + 1 - exact >= kError * scale;
}

/// Floor of the logarithm.
unsigned Log2(std::int64_t value) {
    unsigned log = 0;
    while (value >> (log + 1) != 0) ++log;
    return log;
}

bool IsPowerOf2(std::int64_t value) { return (value & (value - 1)) == 0; }

/// n / divisor is n * reciprocal >> (16 + shift), for n up to `largest`: the reciprocal is too great by less than 1,
/// times divisor by `excess`, and n times that must not reach the next multiple.
bool FindReciprocal(std::int64_t divisor, std::int64_t largest, WholeForm& whole) {
    whole.shift = Log2(divisor) - (IsPowerOf2(divisor) ? 1 : 0);
    const std::int64_t power = std::int64_t{1} << (16 + whole.shift);
    const std::int64_t reciprocal = (power + divisor - 1) / divisor, excess = reciprocal * divisor - power;
    whole.reciprocal = static_cast<std::uint32_t>(reciprocal);
    return excess * largest < power;
}

/// The range of the sums with what they start from.
struct Range {
    std::int64_t least, greatest;

    Range(const WholeForm& whole, unsigned numTaps, std::int64_t start) : least(start), greatest(start) {
        for (unsigned tap = 0; tap < numTaps; ++tap)
            (whole.factors[tap] < 0 ? least : greatest) += 255 * std::int64_t{whole.factors[tap]};
    }
};

/// From 256 times the divisor on every quotient is too great for a level, right or not.
std::int64_t LargestThatCounts(const Range& range, std::int64_t divisor) {
    return std::min(range.greatest, 256 * divisor - 1);
}

bool FitsNarrow(const Range& range, std::int64_t start, std::int64_t divisor, WholeForm& whole) {
    constexpr std::int64_t kSums = 65536, kLevels = 256;
    const std::int64_t lift = std::max<std::int64_t>(0, -range.least);
    if (range.greatest + lift >= kSums || lift > kSums - kLevels) return false;
    whole.start = static_cast<std::uint16_t>((start + lift) & (kSums - 1));
    if (divisor == 1) {
        whole.toTop = static_cast<std::uint16_t>(kSums - kLevels - lift);
        whole.fromTop = static_cast<std::uint16_t>(kSums - kLevels);
        whole.reciprocal = whole.shift = 0;
        return true;
    }
    whole.toTop = 0;
    whole.fromTop = static_cast<std::uint16_t>(lift);
    return FindReciprocal(divisor, LargestThatCounts(range, divisor), whole);
}

/// Floats hold whole numbers and their halves below 2^23, and half a unit more is no nearer to the next quotient than
/// half a unit. By that the quotient is off the steps, against an error of 2^-15: two roundings of less than 256.
bool FitsWide(const ConvolutionForm& form, std::int64_t start, std::int64_t divisor, FloatForm& floats) {
    constexpr std::int64_t kLargestSum = (1 << 23) - 1, kLargestDivisor = 1 << 13;
    std::int64_t largest = std::abs(start) + 1;
    for (unsigned tap = 0; tap < form.numTaps; ++tap) {
        floats.factors[tap] = form.whole.factors[tap];
        largest += 255 * std::abs(std::int64_t{form.whole.factors[tap]});
    }
    floats.start = static_cast<float>(static_cast<double>(start) + 0.5);
    floats.scale = static_cast<float>(1 / static_cast<double>(divisor));
    return largest <= kLargestSum && divisor <= kLargestDivisor;
}

/// Whether each two of the factors suit PairFactors: bytes, and no sum of two products beyond 16 bits.
bool SuitPairs(const std::int16_t* factors, unsigned count) {
    constexpr int kLargest = 127, kLargestSum = 128;
    for (unsigned i = 0; i < count; i += 2) {
        const int a = factors[i], b = i + 1 < count ? factors[i + 1] : 0;
        if (std::abs(a) > kLargest || std::abs(b) > kLargest) return false;
        if ((a < 0) == (b < 0) && std::abs(a + b) > kLargestSum) return false;
    }
    return true;
}

using Row = std::array<int, kMaxConvolutionSide>;

/// A kernel as a square of whole numbers.
struct Square {
    Row rows[kMaxConvolutionSide] = {};

    explicit Square(const ConvolutionForm& form) {
        const int reach = static_cast<int>(form.side / 2);
        for (unsigned tap = 0; tap < form.numTaps; ++tap)
            rows[form.taps[tap].row][static_cast<unsigned>(form.taps[tap].column + reach)] = form.whole.factors[tap];
    }
};

bool IsZero(const Row& row) {
    return std::all_of(row.begin(), row.end(), [](int factor) { return factor == 0; });
}

/// The first row that is not 0, without its common divisor.
Row FindBase(const Square& square) {
    Row base = *std::find_if_not(std::begin(square.rows), std::end(square.rows) - 1, IsZero);
    int common = 0;
    for (const int factor : base) common = std::gcd(common, factor);
    if (common != 0)
        for (int& factor : base) factor /= common;
    return base;
}

/// `row` = factor * `base` for one factor, if there is such. The base is not 0.
bool IsMultiple(const Row& row, const Row& base, int& factor) {
    unsigned first = 0;
    while (base[first] == 0) ++first;
    factor = row[first] / base[first];
    for (unsigned i = 0; i < row.size(); ++i)
        if (row[i] != factor * base[i]) return false;
    return true;
}

bool FindSeparable(const ConvolutionForm& form, SeparableForm& separable) {
    const Square square(form);
    const Row base = FindBase(square);
    if (IsZero(base)) return false;
    const unsigned side = form.side;
    for (unsigned row = 0; row < side; ++row) {
        int factor = 0;
        if (!IsMultiple(square.rows[row], base, factor)) return false;
        if (factor == 0) continue;
        separable.rows[separable.numRows] = static_cast<std::uint8_t>(row);
        separable.rowFactors[separable.numRows++] = static_cast<std::int16_t>(factor);
    }
    separable.rows[separable.numRows] = separable.rows[0];  // the partner of a single last one
    const int reach = static_cast<int>(side / 2);
    for (unsigned column = 0; column < side; ++column) {
        if (base[column] == 0) continue;
        separable.columns[separable.numColumns] = static_cast<std::int8_t>(static_cast<int>(column) - reach);
        separable.columnFactors[separable.numColumns++] = static_cast<std::int16_t>(base[column]);
    }
    return SuitPairs(separable.rowFactors, separable.numRows);
}

/// Multiplications of a vector, which take most of the time.
unsigned CostOfNarrow(const ConvolutionForm& form) { return (form.numTaps + 1) / 2; }
unsigned CostOfSeparable(const SeparableForm& form) { return (form.numRows + 1) / 2 + form.numColumns; }

/// plain if none of those in whole numbers will do.
ConvolutionWay FindWholeForm(ConvolutionForm& form) {
    WholeForm& whole = form.whole;
    std::int64_t divisor = 0, start = 0;
    if (!FindScale(form, whole, divisor) || !FindStart(form, divisor, start)) return ConvolutionWay::plain;
    const Range range(whole, form.numTaps, start);
    if (FitsNarrow(range, start, divisor, whole)) {
        const bool isSeparable = FindSeparable(form, form.separable);
        const bool suitsPairs = SuitPairs(whole.factors, form.numTaps);
        if (isSeparable && (!suitsPairs || CostOfSeparable(form.separable) < CostOfNarrow(form)))
            return ConvolutionWay::separable;
        if (suitsPairs) return ConvolutionWay::narrow;
    }
    return FitsWide(form, start, divisor, form.floats) ? ConvolutionWay::wide : ConvolutionWay::plain;
}

/// What a sum may come to as it grows.
struct Extremes {
    double least = 0, greatest = 0;

    void Add(double factor) { (factor < 0 ? least : greatest) += 255 * factor; }
    /// By magnitude.
    double Largest() const { return std::max(-least, greatest); }
};

/// By how much a sum in floats may be off, with every factor, product and sum rounded once: the sums of the columns of
/// a kernel, and those of these.
class FloatError {
public:
    FloatError(unsigned newSide, double newStart) : side(newSide), start(newStart), roundings(newStart) {}

    void Add(const Tap& tap, double factor) {
        Extremes& column = columns[static_cast<unsigned>(tap.column + static_cast<int>(side / 2))];
        column.Add(factor);
        all.Add(factor);
        roundings += 2 * 255 * std::fabs(factor) + start + column.Largest();
    }
    double Bound() const {
        constexpr double kRounding = 0x1p-24, kRoundingsOfRoundings = 1 + 0x1p-16;
        return (roundings + side * Largest()) * kRounding * kRoundingsOfRoundings;
    }
    /// The greatest sum, by magnitude.
    double Largest() const { return start + all.Largest(); }

private:
    const unsigned side;
    const double start;
    Extremes columns[kMaxConvolutionSide], all;
    double roundings;
};

/// Sums in units of 2^-bits; beyond so many bits little is left to be told. No if the errors are no small part of a
/// level.
bool FindFractionForm(const ConvolutionForm& form, FloatForm& floats) {
    constexpr double kLargestSum = 0x1p30, kLargestError = 0x1p-6;
    constexpr unsigned kBits = 15;
    const double unit = std::ldexp(1.0, kBits);
    const double start = (form.bias + kConvolutionHalf) * unit;
    FloatError error(form.side, std::fabs(start) + unit);
    const auto factorOf = [&](unsigned tap) { return form.factors[tap] / form.divisor * unit; };
    for (unsigned tap = 0; tap < form.numTaps; ++tap) error.Add(form.taps[tap], factorOf(tap));
    if (!(error.Largest() <= kLargestSum && error.Bound() <= kLargestError * unit)) return false;
    for (unsigned tap = 0; tap < form.numTaps; ++tap) floats.factors[tap] = static_cast<float>(factorOf(tap));
    constexpr double kOfNearest = 0.5, kOfDoubles = 0.25;
    const double most = std::ceil(error.Bound() + kOfNearest + kOfDoubles);
    floats.bits = kBits;
    floats.start = static_cast<float>(start + most);
    floats.margin = static_cast<std::uint32_t>(2 * most);
    return true;
}

}  // namespace

ConvolutionWay FindConvolutionForm(unsigned side, const double* coefficients, double divisor, double bias,
                                   ConvolutionForm& form) {
    form = {};
    form.side = side;
    form.divisor = divisor;
    form.bias = bias;
    TakeTaps(side, coefficients, form);
    const ConvolutionWay way = FindWholeForm(form);
    if (way != ConvolutionWay::plain) return way;
    return FindFractionForm(form, form.floats) ? ConvolutionWay::fraction : ConvolutionWay::plain;
}

}  // namespace zpixf

// Kernels of the medians by histograms; the including file defines the table of its level. Nothing here calls the
// standard library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
//
// Medians of large windows in constant time per pixel: a histogram for each column moves down with the window, and the
// window's own, their sum, moves along by one column more and one less (S. Perreault, P. Hebert, Median Filtering in
// Constant Time, 2007). The coarse tier is kept up at each step; of the fine tiers, only the one that holds the median
// is, and others are brought up to date when they are needed again.
#include "median/MedianHistogramCounters.inl"
#include "median/MedianKernels.h"

namespace zpixf {
namespace {

size_t AtMost(size_t a, size_t b) { return a < b ? a : b; }

inline uint8_t* FineBins(ColumnHistograms columns, size_t value, size_t column) {
    return columns.fine + (value >> 4) * columns.binStride + column * kBins;
}

void Count(const ColumnHistograms& columns, const uint8_t* values, size_t width, unsigned times) {
    const auto add = [times](uint8_t* bins, unsigned from) {
        Store(bins, Add(LoadNarrow(bins), AndEach(LoadNarrow(SetFrom(from)), static_cast<uint8_t>(times))));
    };
    for (size_t i = 0; i < width; ++i) {
        const unsigned value = values[4 * i];
        add(columns.coarse + i * kBins, value >> 4);
        add(FineBins(columns, value, i), value & 15);
    }
}

/// Takes a column's value of one line in and lets that of another go. (A set byte is -1.)
inline void Exchange(ColumnHistograms columns, size_t column, LineExchange lines) {
    const size_t entering = lines.entering[4 * column];
    uint8_t* fine = FineBins(columns, entering, column);
    Store(fine, Subtract(LoadNarrow(fine), LoadNarrow(SetFrom(entering & 15))));
    const size_t leaving = lines.leaving[4 * column];
    fine = FineBins(columns, leaving, column);
    Store(fine, Add(LoadNarrow(fine), LoadNarrow(SetFrom(leaving & 15))));
    uint8_t* coarse = columns.coarse + column * kBins;
    Store(coarse,
          Add(Subtract(LoadNarrow(coarse), LoadNarrow(SetFrom(entering >> 4))), LoadNarrow(SetFrom(leaving >> 4))));
}

/// The columns of the window around one; beyond the border stands the border's column again.
struct Span {
    size_t last;  ///< of the picture
    size_t radius;

    size_t Entering(size_t x) const { return AtMost(x + radius, last); }
    size_t Leaving(size_t x) const { return x > radius ? x - radius - 1 : 0; }  // for the window around x
};

/// The window's sum of a tier, of which `bins` is the first column's.
inline Wide SumAround(const uint8_t* bins, const Span& span, size_t x) {
    Wide sum = ZeroWide();
    for (size_t i = 0; i <= 2 * span.radius; ++i) {
        const size_t column = x + i > span.radius ? AtMost(x + i - span.radius, span.last) : 0;
        sum = Add(sum, Widen(bins + column * kBins));
    }
    return sum;
}

inline Wide Step(Wide sum, const uint8_t* bins, size_t entering, size_t leaving) {
    return Add(sum, Subtract(Widen(bins + entering * kBins), Widen(bins + leaving * kBins)));
}

/// The window's fine tiers: each as it was around the column where it was needed last.
class FineTiers {
public:
    explicit FineTiers(const Span& newSpan) : span(newSpan) {
        for (auto& place : places) place = kNowhere;
    }

    /// Puts away the tier of a coarse bin as it is around column x.
    void Keep(unsigned bin, size_t x, Wide sum) {
        Store(sums[bin], sum);
        places[bin] = x;
    }

    /// The tier of a coarse bin around column x, at which no earlier one has been kept.
    Wide Around(unsigned bin, size_t x, const uint8_t* bins) const {
        if (places[bin] == kNowhere || x - places[bin] > span.radius) return SumAround(bins, span, x);
        Wide sum = LoadWide(sums[bin]);
        for (size_t i = places[bin] + 1; i <= x; ++i) sum = Step(sum, bins, span.Entering(i), span.Leaving(i));
        return sum;
    }

private:
    static constexpr size_t kNowhere = ~size_t{0};

    Span span;
    size_t places[kBins];
    alignas(32) std::int16_t sums[kBins][kBins];
};

// All sums of the coarse tier are less by the median's rank plus one: the bins below the median's are those whose sums
// are negative. The numbers fit 16 bits, for a window has at most 255 x 255 pixels, and its median is the middle one.
template <bool kExchanges>
void MediansOfLine(const ColumnHistograms columns, const LineExchange exchange, size_t width, unsigned radius,
                   uint8_t* medians) {
    const Span span = {width - 1, radius};
    if constexpr (kExchanges)
        for (size_t i = 0; i <= span.Entering(0); ++i) Exchange(columns, i, exchange);

    const unsigned side = 2 * radius + 1;
    const auto none = static_cast<std::int16_t>(-static_cast<int>((side * side + 1) / 2));
    alignas(32) std::int16_t below[2 * kBins];  // from the last of the first half on: what lies below each coarse bin
    below[kBins - 1] = none;
    Wide coarse = PlusEach(SumAround(columns.coarse, span, 0), none);
    FineTiers tiers(span);
    unsigned bin = Negatives(coarse);
    const uint8_t* bins = columns.fine + bin * columns.binStride;
    Wide fine = SumAround(bins, span, 0);
    for (size_t x = 0;;) {
        Store(below + kBins, coarse);
        const unsigned low = Negatives(PlusEach(fine, below[kBins - 1 + bin]));
        medians[4 * x] = static_cast<uint8_t>(bin << 4 | low);
        if (++x == width) return;
        const size_t entering = span.Entering(x), leaving = span.Leaving(x);
        if constexpr (kExchanges)
            if (x + radius < width) Exchange(columns, entering, exchange);
        coarse = Step(coarse, columns.coarse, entering, leaving);
        const unsigned next = Negatives(coarse);
        if (next == bin) {
            fine = Step(fine, bins, entering, leaving);
            continue;
        }
        tiers.Keep(bin, x - 1, fine);
        bin = next;
        bins = columns.fine + bin * columns.binStride;
        fine = tiers.Around(bin, x, bins);
    }
}

void Medians(const ColumnHistograms& columns, const LineExchange& exchange, size_t width, unsigned radius,
             uint8_t* medians) {
    if (exchange.entering != nullptr)
        MediansOfLine<true>(columns, exchange, width, radius, medians);
    else
        MediansOfLine<false>(columns, exchange, width, radius, medians);
}

constexpr MedianHistogramKernels kKernels = {&Count, &Medians};

}  // namespace
}  // namespace zpixf

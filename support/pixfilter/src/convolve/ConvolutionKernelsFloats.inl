// The convolutions whose numbers are no bytes, on lines that are laid out as floats, each colour by itself: a tap is a
// multiplication and an addition for as many pixels as a vector has floats. Sums in floats are used where their errors
// do not tell: where all is whole and exact, and where they are not near a step. What is left is done as it is defined,
// in doubles.
namespace zpixf {
namespace {

#if defined(SIMD_HAS_VECTORS)

constexpr std::size_t kReach = kMaxConvolutionSide / 2;

void LayOut(const std::uint8_t* pixels, std::size_t count, const ColorPlanes& planes) {
    const Vec byte = Splat32(0xFF);
    static_assert(kReach <= kVecPixels && 2 * kVecPixels + kReach <= kPlaneMargin);
    static_assert(kVecPixels <= kPlaneMarginBefore && kVecPixels <= kConvolutionMargin);
    for (std::size_t i = 0; i < count + kVecPixels + kReach; i += kVecPixels) {
        const Vec bytes = Load(pixels + 4 * i - 4 * kVecPixels);
        float* const to = planes.blue + i - kVecPixels;
        StoreFloats(to, ToFloats(And(bytes, byte)));
        StoreFloats(to + planes.stride, ToFloats(And(ShiftRight32(bytes, 8), byte)));
        StoreFloats(to + 2 * planes.stride, ToFloats(And(ShiftRight32(bytes, 16), byte)));
    }
}

/// The blue levels that a tap takes.
const float* LevelsAt(const Tap& tap, const ConvolutionLines& lines) { return lines.blues[tap.row] + tap.column; }

/// The kernel as a full square of factors, and what its sums begin with.
template <unsigned kSide>
struct FactorSquare {
    Floats factors[kSide][kSide];
    Floats start;

    explicit FactorSquare(const ConvolutionForm& form) : start(SplatFloats(form.floats.start)) {
        constexpr int kMiddle = kSide / 2;
        for (auto& row : factors)
            for (Floats& factor : row) factor = SplatFloats(0);
        for (unsigned tap = 0; tap < form.numTaps; ++tap)
            factors[form.taps[tap].row][form.taps[tap].column + kMiddle] = SplatFloats(form.floats.factors[tap]);
    }
};

/// The sums of one colour. The levels of a vector are loaded once for each line and not once for each tap: they are
/// summed down the picture first, for each column of the kernel by itself, and these sums, moved by as many pixels as
/// their column lies beside the centre, are added.
template <unsigned kSide>
class SumsOfColor {
public:
    SumsOfColor(const FactorSquare<kSide>& newSquare, const ConvolutionLines& lines, std::size_t offset)
        : square(newSquare) {
        for (unsigned row = 0; row < kSide; ++row) blues[row] = lines.blues[row] + offset;
    }

    /// `vectors` of them, of pixels from `x` on, which is a multiple of kVecPixels.
    void Sum(std::size_t x, std::size_t vectors, float* sums) const {
        const std::ptrdiff_t step = kVecPixels;
        std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x);
        Columns columns = At(at - step), next = At(at);
        for (std::size_t i = 0; i < vectors; ++i, sums += kVecPixels) {
            const Floats left = WithLeft(columns, next);
            columns = next;
            next = At(at += step);
            StoreFloats(sums, WithRight(left, columns, next));
        }
    }

private:
    static constexpr unsigned kMiddle = kSide / 2;
    struct Columns {
        Floats sums[kSide];
    };

    Columns At(std::ptrdiff_t x) const {
        Columns columns;
        const Floats first = LoadFloats(blues[0] + x);
        for (unsigned column = 0; column < kSide; ++column)
            columns.sums[column] = column == kMiddle ? AddProduct(square.start, first, square.factors[0][column])
                                                     : MultiplyFloats(first, square.factors[0][column]);
        for (unsigned row = 1; row < kSide; ++row) {
            const Floats levels = LoadFloats(blues[row] + x);
            for (unsigned column = 0; column < kSide; ++column)
                columns.sums[column] = AddProduct(columns.sums[column], levels, square.factors[row][column]);
        }
        return columns;
    }
    /// The sums of the columns up to the one in the middle.
    static Floats WithLeft(const Columns& former, const Columns& columns) {
        Floats sum = columns.sums[kMiddle];
        if constexpr (kMiddle > 1)
            sum = AddFloats(sum, ShiftedFloats<kVecPixels - 2>(former.sums[kMiddle - 2], columns.sums[kMiddle - 2]));
        return AddFloats(sum, ShiftedFloats<kVecPixels - 1>(former.sums[kMiddle - 1], columns.sums[kMiddle - 1]));
    }
    static Floats WithRight(Floats sum, const Columns& columns, const Columns& next) {
        sum = AddFloats(sum, ShiftedFloats<1>(columns.sums[kMiddle + 1], next.sums[kMiddle + 1]));
        if constexpr (kMiddle > 1)
            sum = AddFloats(sum, ShiftedFloats<2>(columns.sums[kMiddle + 2], next.sums[kMiddle + 2]));
        return sum;
    }

    const FactorSquare<kSide>& square;
    const float* blues[kSide];  ///< or greens, or reds
};

/// What Plain gives, by the same steps in the same order.
class Definition {
public:
    Definition(const ConvolutionForm& newForm, const ConvolutionLines& newLines) : form(newForm), lines(newLines) {}

    /// One colour of a vector of pixels.
    Vec Find(std::size_t x, unsigned color) const {
        constexpr std::size_t kHalf = kVecPixels / 2;
        const std::size_t first = x + color * lines.planeStride;
        Doubles low = SplatDoubles(0), high = low;
        for (unsigned tap = 0; tap < form.numTaps; ++tap) {
            const Doubles factor = SplatDoubles(form.factors[tap]);
            const float* const from = LevelsAt(form.taps[tap], lines) + first;
            low = AddDoubles(low, MultiplyDoubles(factor, LoadAsDoubles(from)));
            high = AddDoubles(high, MultiplyDoubles(factor, LoadAsDoubles(from + kHalf)));
        }
        return Truncated32(Clamped(low), Clamped(high));
    }

private:
    Doubles Clamped(Doubles sum) const {
        const Doubles quotient = DivideDoubles(sum, SplatDoubles(form.divisor));
        const Doubles value = AddDoubles(quotient, SplatDoubles(form.bias));
        const Doubles raised = AddDoubles(value, SplatDoubles(kConvolutionHalf));
        return MinDoubles(MaxDoubles(raised, SplatDoubles(0)), SplatDoubles(255));
    }

    const ConvolutionForm& form;
    const ConvolutionLines& lines;
};

/// Where levels in 32 bits go, beside the alpha of the line in the middle. They are clamped here.
struct MergedResults {
    const std::uint8_t* alphas;
    std::uint8_t* result;

    MergedResults(const ConvolutionForm& form, const ConvolutionLines& lines)
        : alphas(Centre(form, lines)), result(lines.result) {}

    void Store(std::size_t x, const Vec (&levels)[kColors]) const {
        const Vec alpha = ShiftRight32(Load(alphas + 4 * x), 24);
        simd::Store(result + 4 * x, MergeChannels(levels[0], levels[1], levels[2], alpha));
    }
};

/// Has `step` finish the sums of a line: Finish (x, sums of three colours), a stretch at a time, short, to stay in the
/// nearest cache. The last vector is as far back as it must.
template <unsigned kSide, class Step>
void ForEachSumOf(const ConvolutionForm& form, const ConvolutionLines& lines, const Step& step) {
    constexpr std::size_t kPixels = 256;
    const FactorSquare<kSide> square(form);
    float sums[kColors][kPixels];
    for (std::size_t first = 0, end; first < lines.count; first = end) {
        end = first + kPixels < lines.count ? first + kPixels : lines.count;
        if (end - first < kVecPixels) first -= kVecPixels;
        for (unsigned color = 0; color < kColors; ++color)
            SumsOfColor<kSide>(square, lines, color * lines.planeStride)
                .Sum(first, (end - first + kVecPixels - 1) / kVecPixels, sums[color]);
        for (std::size_t next = first; next < end; next += kVecPixels) {
            const std::size_t x = next + kVecPixels <= end ? next : end - kVecPixels;
            const std::size_t at = x - first;
            const Floats found[kColors] = {LoadFloats(sums[0] + at), LoadFloats(sums[1] + at),
                                           LoadFloats(sums[2] + at)};
            step.Finish(x, found);
        }
    }
}

template <class Step>
void ForEachSum(const ConvolutionForm& form, const ConvolutionLines& lines, const Step& step) {
    static_assert(kMaxConvolutionSide == 5);
    form.side == 3 ? ForEachSumOf<3>(form, lines, step) : ForEachSumOf<5>(form, lines, step);
}

/// Whole numbers, exact in floats.
struct WideStep {
    const MergedResults results;
    const Floats scale;

    void Finish(std::size_t x, const Floats (&sums)[kColors]) const {
        Vec levels[kColors];
        for (unsigned color = 0; color < kColors; ++color)
            levels[color] = Truncated32(MultiplyFloats(sums[color], scale));
        results.Store(x, levels);
    }
};

void Wide(const ConvolutionForm& form, const ConvolutionLines& lines) {
    if (lines.count < kVecPixels) return Plain(form, lines);
    ForEachSum(form, lines, WideStep{{form, lines}, SplatFloats(form.floats.scale)});
}

/// Numbers in units of 2^-bits. A sum that is less than `margin` above a step may belong below it.
struct FractionStep {
    const MergedResults results;
    const Definition definition;
    const Vec fraction, margin;
    const unsigned bits;

    void Finish(std::size_t x, const Floats (&sums)[kColors]) const {
        Vec levels[kColors], above[kColors], least = fraction;
        for (unsigned color = 0; color < kColors; ++color) {
            const Vec value = Nearest32(sums[color]);
            above[color] = And(value, fraction);
            least = MinSigned16(least, above[color]);
            levels[color] = ShiftRightSigned32(value, bits);
        }
        if (IsAnyGreater32(margin, least)) {  // (not a loop, which would take all levels through memory)
            if (IsAnyGreater32(margin, above[0])) levels[0] = definition.Find(x, 0);
            if (IsAnyGreater32(margin, above[1])) levels[1] = definition.Find(x, 1);
            if (IsAnyGreater32(margin, above[2])) levels[2] = definition.Find(x, 2);
        }
        results.Store(x, levels);
    }
};

void Fraction(const ConvolutionForm& form, const ConvolutionLines& lines) {
    if (lines.count < kVecPixels) return Plain(form, lines);
    const FloatForm& floats = form.floats;
    const Vec fraction = Splat32((1u << floats.bits) - 1), margin = Splat32(floats.margin);
    ForEachSum(form, lines, FractionStep{{form, lines}, {form, lines}, fraction, margin, floats.bits});
}

/// Numbers that say nothing in floats.
void ByDefinition(const ConvolutionForm& form, const ConvolutionLines& lines) {
    if (lines.count < kVecPixels) return Plain(form, lines);
    const Definition definition(form, lines);
    const MergedResults results(form, lines);
    for (std::size_t next = 0; next < lines.count; next += kVecPixels) {
        const std::size_t x = next + kVecPixels <= lines.count ? next : lines.count - kVecPixels;
        const Vec levels[kColors] = {definition.Find(x, 0), definition.Find(x, 1), definition.Find(x, 2)};
        results.Store(x, levels);
    }
}

#endif

}  // namespace
}  // namespace zpixf

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

/// The sums of three colours in floats.
struct FloatSums {
    struct Factor {
        const float* at;
        float factor;
    };
    Factor factors[kMaxTaps];
    const Factor* end;
    std::size_t stride;
    Floats start;

    FloatSums(const ConvolutionForm& form, const ConvolutionLines& lines)
        : end(factors + form.numTaps), stride(lines.planeStride), start(SplatFloats(form.floats.start)) {
        for (unsigned tap = 0; tap < form.numTaps; ++tap)
            factors[tap] = {LevelsAt(form.taps[tap], lines), form.floats.factors[tap]};
    }
    FloatSums(const FloatSums&) = delete;
    FloatSums& operator=(const FloatSums&) = delete;

    template <unsigned kVectors>
    void Sum(std::size_t x, Floats (&sums)[kVectors][kColors]) const {
        for (auto& colors : sums)
            for (Floats& sum : colors) sum = start;
        for (const Factor* tap = factors; tap < end; ++tap) {
            const Floats factor = SplatFloats(tap->factor);
            const float* const from = tap->at + x;
            for (unsigned i = 0; i < kVectors; ++i)
                for (unsigned color = 0; color < kColors; ++color)
                    sums[i][color] =
                        AddProduct(sums[i][color], LoadFloats(from + i * kVecPixels + color * stride), factor);
        }
    }
};

/// What Plain gives, by the same steps in the same order.
class Definition {
public:
    Definition(const ConvolutionForm& newForm, const ConvolutionLines& newLines) : form(newForm), lines(newLines) {}

    /// A vector of pixels.
    void Find(std::size_t x, Vec (&levels)[kColors]) const {
        constexpr std::size_t kHalf = kVecPixels / 2;
        Doubles sums[2 * kColors];
        for (Doubles& sum : sums) sum = SplatDoubles(0);
        for (unsigned tap = 0; tap < form.numTaps; ++tap) {
            const Doubles factor = SplatDoubles(form.factors[tap]);
            const float* const from = LevelsAt(form.taps[tap], lines) + x;
            for (unsigned i = 0; i < 2 * kColors; ++i) {
                const Doubles level = LoadAsDoubles(from + i / 2 * lines.planeStride + i % 2 * kHalf);
                sums[i] = AddDoubles(sums[i], MultiplyDoubles(factor, level));
            }
        }
        for (unsigned color = 0; color < kColors; ++color)
            levels[color] = Truncated32(Clamped(sums[2 * color]), Clamped(sums[2 * color + 1]));
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

/// Has `step` find the sums of the vectors of a line, many at once, and finish them: Finish (x, sums). The last vector
/// is as far back as it must.
template <class Step>
void ForEachSum(const ConvolutionForm& form, const ConvolutionLines& lines, const Step& step) {
    const FloatSums sums(form, lines);
    const auto find = [&]<unsigned kVectors>(std::size_t x, Floats(&found)[kVectors][kColors]) {
        sums.Sum(x, found);
        // (As a loop this would pass the sums through memory.)
        step.Finish(x, found[0]);
        if constexpr (kVectors > 1) step.Finish(x + kVecPixels, found[1]);
        if constexpr (kVectors > 2) step.Finish(x + 2 * kVecPixels, found[2]);
    };
    constexpr unsigned kAtOnce = 3;  // as many as there are registers for sums, and for the addresses of levels
    Floats many[kAtOnce][kColors], one[1][kColors];
    std::size_t x = 0;
    for (; x + kAtOnce * kVecPixels <= lines.count; x += kAtOnce * kVecPixels) find(x, many);
    for (; x + kVecPixels <= lines.count; x += kVecPixels) find(x, one);
    if (x < lines.count) find(lines.count - kVecPixels, one);
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
        Vec levels[kColors], least = fraction;
        for (unsigned color = 0; color < kColors; ++color) {
            const Vec value = Nearest32(sums[color]);
            least = MinSigned16(least, And(value, fraction));
            levels[color] = ShiftRightSigned32(value, bits);
        }
        if (IsAnyGreater32(margin, least)) definition.Find(x, levels);
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
        Vec levels[kColors];
        definition.Find(x, levels);
        results.Store(x, levels);
    }
}

#endif

}  // namespace
}  // namespace zpixf

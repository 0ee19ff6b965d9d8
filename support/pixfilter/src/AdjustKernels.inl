// Kernels of the filters of colour alone; the including file defines the table of its level. Nothing here calls the
// standard library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include "AdjustKernels.h"
#include "PixelVector.inl"

namespace zpixf {
namespace {

constexpr std::uint32_t kLumaBlue = 114, kLumaGreen = 587, kLumaRed = 299, kLumaOne = 1000;

std::uint32_t LumaSum(const std::uint8_t* pixel) {
    return kLumaBlue * pixel[0] + kLumaGreen * pixel[1] + kLumaRed * pixel[2];
}

void MapLevelsOneByOne(const LevelForm& form, std::uint8_t* pixels, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x, pixels += 4)
        for (unsigned channel = 0; channel < 3; ++channel) pixels[channel] = ApplyLevelForm(form, pixels[channel]);
}

/// What luma adds to each channel of a pixel, in units of 1 / kSaturationOne, with the half that rounding wants. Cut
/// off to a whole number it is still exact: what it is added to is whole.
std::int32_t LumaShare(std::uint32_t sum, std::uint32_t rest) {
    const std::uint64_t scaled = std::uint64_t{sum} * rest + std::uint64_t{kLumaOne} * (kSaturationOne / 2);
    return static_cast<std::int32_t>(scaled / kLumaOne);
}

void SaturateOneByOne(int amount, std::uint8_t* pixels, std::size_t count) {
    const auto rest = static_cast<std::uint32_t>(kSaturationOne - amount);
    for (std::size_t x = 0; x < count; ++x, pixels += 4) {
        const std::int32_t share = LumaShare(LumaSum(pixels), rest);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::int32_t value = (amount * pixels[channel] + share) >> kSaturationBits;
            pixels[channel] = static_cast<std::uint8_t>(value < 0 ? 0 : value < 255 ? value : 255);
        }
    }
}

void DesaturateOneByOne(std::uint8_t* pixels, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x, pixels += 4) {
        const auto luma = static_cast<std::uint8_t>((LumaSum(pixels) + kLumaOne / 2) / kLumaOne);
        pixels[0] = pixels[1] = pixels[2] = luma;
    }
}

#if defined(ZPIXF_HAS_VECTORS)

/// A 16-bit number for the colours and another for alpha.
Vec SplatPixel16(std::uint32_t color, std::uint32_t alpha) {
    return Splat64(std::uint64_t{color} * 0x100010001u | std::uint64_t{alpha} << 48);
}

/// Alpha goes through the same arithmetic with a form that changes nothing.
struct LevelVectors {
    Vec ceiling, low, factor, raise, lower;
    unsigned shift;

    explicit LevelVectors(const LevelForm& form)
        : ceiling(Splat32(0xFF000000u | form.ceiling * 0x10101u)),
          low(Splat8(form.low)),
          factor(SplatPixel16(form.factor, form.shift < 8 ? 256u << form.shift : 65535u)),
          raise(SplatPixel16(form.raise, form.shift < 8 ? 0 : 1)),
          lower(SplatPixel16(form.lower, 0)),
          shift(form.shift) {}

    Vec Half(Vec scaled) const {
        const Vec raised = AddSaturated16(MultiplyHigh16(scaled, factor), raise);
        return ShiftRight16(SubtractSaturated16(raised, lower), shift);
    }
    Vec Apply(Vec pixels) const {
        const Vec capped = Min8(pixels, ceiling);
        return PackToBytes(Half(InterleaveLow8(low, capped)), Half(InterleaveHigh8(low, capped)));
    }
};

void MapLevels(const LevelForm& form, std::uint8_t* pixels, std::size_t count) {
    const LevelVectors vectors(form);
    std::size_t x = 0;
    for (; x + kVecPixels <= count; x += kVecPixels) Store(pixels + 4 * x, vectors.Apply(Load(pixels + 4 * x)));
    MapLevelsOneByOne(form, pixels + 4 * x, count - x);
}

/// Pixels with their channels apart, each in 16 bits.
struct SplitPixels {
    Vec blueRed, greenAlpha;

    explicit SplitPixels(Vec pixels)
        : blueRed(And(pixels, Splat32(0x00FF00FFu))), greenAlpha(ShiftRight16(pixels, 8)) {}

    /// Per pixel, in 32 bits.
    Vec LumaSums() const {
        return Add32(MultiplyAdd16(blueRed, Splat32(kLumaRed << 16 | kLumaBlue)),
                     MultiplyAdd16(greenAlpha, Splat32(kLumaGreen)));
    }
};

/// LumaShare of every pixel: (sum * rest / 8 + ...) / 125, the quotient by a multiplication. It is exact for dividends
/// below 2^31; here they are below 2^30.
struct LumaShares {
    static constexpr std::uint64_t kReciprocal = ((std::uint64_t{1} << 38) + 124) / 125;
    Vec rest, half = Splat64(std::uint64_t{kLumaOne} * (kSaturationOne / 2)), reciprocal = Splat64(kReciprocal);

    explicit LumaShares(int amount) : rest(Splat64(static_cast<std::uint64_t>(kSaturationOne - amount))) {}

    Vec TimesReciprocal(Vec sums) const {
        return MultiplyEven32(ShiftRight64(Add64(MultiplyEven32(sums, rest), half), 3), reciprocal);
    }
    Vec Of(Vec sums) const {
        const Vec even = ShiftRight64(TimesReciprocal(sums), 38);
        const Vec odd = ShiftRight64(TimesReciprocal(ShiftRight64(sums, 32)), 38);
        return Or(even, ShiftLeft64(odd, 32));
    }
};

void Saturate(int amount, std::uint8_t* pixels, std::size_t count) {
    const LumaShares shares(amount);
    const std::uint32_t factor = static_cast<std::uint32_t>(amount) & 0xFFFF;
    const Vec lowFactor = Splat32(factor), highFactor = Splat32(factor << 16);
    std::size_t x = 0;
    for (; x + kVecPixels <= count; x += kVecPixels) {
        const Vec old = Load(pixels + 4 * x);
        const SplitPixels split(old);
        const Vec share = shares.Of(split.LumaSums());
        const auto channel = [&](Vec channels, Vec which) {
            return ShiftRightSigned32(Add32(MultiplyAdd16(channels, which), share), kSaturationBits);
        };
        const Vec blueRed = PackSigned32(channel(split.blueRed, lowFactor), channel(split.blueRed, highFactor));
        const Vec greenAlpha = PackSigned32(channel(split.greenAlpha, lowFactor), ShiftRight32(old, 24));
        const Vec blueGreen = InterleaveLow16(blueRed, greenAlpha), redAlpha = InterleaveHigh16(blueRed, greenAlpha);
        Store(pixels + 4 * x, PackToBytes(InterleaveLow32(blueGreen, redAlpha), InterleaveHigh32(blueGreen, redAlpha)));
    }
    SaturateOneByOne(amount, pixels + 4 * x, count - x);
}

void Desaturate(std::uint8_t* pixels, std::size_t count) {
    // n / 125 is n * 33555 >> 22 for every n below 2^15.
    const Vec reciprocal = Splat32(33555), half = Splat32(kLumaOne / 2);
    std::size_t x = 0;
    for (; x + kVecPixels <= count; x += kVecPixels) {
        const Vec old = Load(pixels + 4 * x);
        const Vec eighth = ShiftRight32(Add32(SplitPixels(old).LumaSums(), half), 3);
        const Vec luma = ShiftRight16(MultiplyHigh16(eighth, reciprocal), 6);
        Store(pixels + 4 * x, Or(SpreadLowByte(luma), And(old, AlphaBytes())));
    }
    DesaturateOneByOne(pixels + 4 * x, count - x);
}

constexpr AdjustKernels kKernels = {&MapLevels, &Saturate, &Desaturate};

#else

constexpr AdjustKernels kKernels = {&MapLevelsOneByOne, &SaturateOneByOne, &DesaturateOneByOne};

#endif

}  // namespace
}  // namespace zpixf

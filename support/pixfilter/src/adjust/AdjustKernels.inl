// Kernels of the filters of colour alone; the including file defines the table of its level. Nothing here calls the
// standard library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>

#include "adjust/AdjustKernels.h"
#include "simd/Vectors.inl"

namespace zpixf {
namespace {

using namespace simd;

constexpr std::uint32_t kLumaBlue = 114, kLumaGreen = 587, kLumaRed = 299, kLumaOne = 1000;

/// What luma adds to each channel of a pixel is its share: the sum of the weighed colours times rest / kLumaOne, where
/// rest is kSaturationOne - amount. Here it is the upper half of a product of 64 bits: of the sum times 16 and
/// `factor`, which is rest / kLumaOne * 2^28, rounded up. That makes a share too large by less than 1 / kLumaOne, and
/// no share that is not whole lies nearer to the next whole number: results do not change.
struct ShareFactor {
    static constexpr unsigned kSumScale = 16;
    static_assert(std::uint64_t{kSumScale} * 255 * kLumaOne < (std::uint64_t{1} << 32) / kLumaOne);

    std::uint32_t factor;
    int times;  ///< 2^32, which the factor has too: 0 to 2

    explicit ShareFactor(unsigned rest) {
        const std::uint64_t whole = ((std::uint64_t{rest} << 28) + kLumaOne - 1) / kLumaOne;
        factor = static_cast<std::uint32_t>(whole);
        times = static_cast<int>(whole >> 32);
    }
};

#if defined(SIMD_HAS_VECTORS)

/// Makes fewer pixels than a vector has what `change.Of` makes of a vector of them.
template <class Change>
void ChangeFew(const Change& change, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    std::uint8_t few[kVecBytes] = {};
    std::memcpy(few, from, 4 * count);
    Store(few, change.Of(Load(few)));
    std::memcpy(to, few, 4 * count);
}

/// The same of as many whole vectors as there are; returns how many pixels that were.
template <bool kPastCaches, class Change>
std::size_t ChangeVectors(const Change& change, const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    constexpr std::size_t kFetchedAhead = 8192;
    const auto store = [](std::uint8_t* place, Vec v) { kPastCaches ? StorePastCaches(place, v) : Store(place, v); };
    std::size_t x = 0;
    for (; x + 2 * kVecPixels <= count; x += 2 * kVecPixels, from += 2 * kVecBytes, to += 2 * kVecBytes) {
        if constexpr (kPastCaches) {
            FetchAhead(from + kFetchedAhead);
            if constexpr (2 * kVecBytes > 64) FetchAhead(from + kFetchedAhead + 64);
        }
        const Vec first = change.Of(Load(from)), second = change.Of(Load(from + kVecBytes));
        store(to, first);
        store(to + kVecBytes, second);
    }
    for (; x + kVecPixels <= count; x += kVecPixels, from += kVecBytes, to += kVecBytes)
        store(to, change.Of(Load(from)));
    return x;
}

/// Makes all pixels what `change.Of` makes of a vector of them.
template <class Change>
void ChangeAll(const Change change, const AdjustedPixels& pixels) {
    const auto [from, to, count, pastCaches] = pixels;
    // (Pixels at odd addresses never come to lie at those that vectors past the caches need.)
    const std::size_t beyond = reinterpret_cast<std::uintptr_t>(to) % kVecBytes;
    std::size_t x = 0;
    if (pastCaches && beyond % 4 == 0 && count >= 2 * kVecPixels) {
        if (beyond != 0) ChangeFew(change, from, to, x = (kVecBytes - beyond) / 4);
        x += ChangeVectors<true>(change, from + 4 * x, to + 4 * x, count - x);
        FinishStores();
    }
    x += ChangeVectors<false>(change, from + 4 * x, to + 4 * x, count - x);
    if (x < count) ChangeFew(change, from + 4 * x, to + 4 * x, count - x);
}

/// Changes nothing.
struct Unchanged {
    Vec Of(Vec pixels) const { return pixels; }
};

/// A 16-bit number for the colours and another for alpha.
Vec SplatPixel16(std::uint32_t color, std::uint32_t alpha) {
    return Splat64(std::uint64_t{color} * 0x100010001u | std::uint64_t{alpha} << 48);
}

/// Alpha goes through the same arithmetic with a form that changes nothing.
struct LevelVectors {
    Vec factor, raise, lower;
    explicit LevelVectors(const LevelForm& form)
        : factor(SplatPixel16(form.factor, form.shift < 8 ? 256u << form.shift : 65535u)),
          raise(SplatPixel16(form.raise, form.shift < 8 ? 0 : 1)),
          lower(SplatPixel16(form.lower, 0)) {}
};

/// Any form.
class AnyLevels {
public:
    explicit AnyLevels(const LevelForm& form)
        : vectors(form),
          ceiling(Splat32(0xFF000000u | form.ceiling * 0x10101u)),
          low(Splat8(form.low)),
          shift(form.shift) {}

    Vec Of(Vec pixels) const {
        const Vec capped = Min8(pixels, ceiling);
        return PackToBytes(Half(InterleaveLow8(low, capped)), Half(InterleaveHigh8(low, capped)));
    }

private:
    Vec Half(Vec scaled) const {
        const Vec raised = AddSaturated16(MultiplyHigh16(scaled, vectors.factor), vectors.raise);
        return ShiftRight16(SubtractSaturated16(raised, vectors.lower), shift);
    }
    const LevelVectors vectors;
    const Vec ceiling, low;
    const unsigned shift;
};

/// Forms of slopes above 1, which only lower.
template <int kShift>
class SteepLevels {
public:
    static_assert(kShift < 8);
    static bool Suits(const LevelForm& form) { return form.ceiling == 255 && form.raise == 0 && form.shift == kShift; }
    explicit SteepLevels(const LevelForm& form) : vectors(form), low(Splat8(form.low)) {}

    Vec Of(Vec pixels) const {
        return PackToBytes(Half(InterleaveLow8(low, pixels)), Half(InterleaveHigh8(low, pixels)));
    }

private:
    Vec Half(Vec scaled) const {
        return ShiftRight16<kShift>(SubtractSaturated16(MultiplyHigh16(scaled, vectors.factor), vectors.lower));
    }
    const LevelVectors vectors;
    const Vec low;
};

/// Forms of slopes up to 1, which only raise, and whose results are upper bytes: no channel has to change its place.
class FlatLevels {
public:
    static bool Suits(const LevelForm& form) {
        return form.ceiling == 255 && form.low == 0 && form.lower == 0 && form.shift == 8;
    }
    explicit FlatLevels(const LevelForm& form)
        : evenFactor(Splat16(form.factor)),
          evenRaise(Splat16(form.raise)),
          oddFactor(Splat32(form.factor | 0xFFFF0000u)),
          oddRaise(Splat32(form.raise | 0x00010000u)) {}

    Vec Of(Vec pixels) const {
        const Vec even = AddSaturated16(MultiplyHigh16(ShiftLeft16<8>(pixels), evenFactor), evenRaise);
        const Vec odd = AddSaturated16(MultiplyHigh16(And(pixels, oddBytes), oddFactor), oddRaise);
        return Blend(ShiftRight16<8>(even), odd, oddBytes);
    }

private:
    const Vec evenFactor, evenRaise;
    const Vec oddFactor, oddRaise;  // of green and alpha
    const Vec oddBytes = Splat16(0xFF00);
};

/// Always true, for those who try.
template <class Levels>
bool MapLevelsBy(const LevelForm& form, const AdjustedPixels& pixels) {
    ChangeAll(Levels(form), pixels);
    return true;
}

template <int... kShifts>
bool MapSteepLevels(const LevelForm& form, const AdjustedPixels& pixels) {
    return ((SteepLevels<kShifts>::Suits(form) && MapLevelsBy<SteepLevels<kShifts>>(form, pixels)) || ...);
}

void MapLevels(const LevelForm& form, const AdjustedPixels& pixels) {
    if (FlatLevels::Suits(form))
        MapLevelsBy<FlatLevels>(form, pixels);
    else if (!MapSteepLevels<0, 1, 2, 3, 4, 5, 6, 7>(form, pixels))
        MapLevelsBy<AnyLevels>(form, pixels);
}

#if defined(SIMD_HAS_SHUFFLES)

/// Colours whose alpha is 0 with that of other pixels.
Vec WithAlphaOf(Vec pixels, Vec colors) { return Blend(colors, pixels, AlphaBytes()); }

/// Weights of blue, green and red as products of what two steps multiply by: first bytes, then the sums of two. Green
/// has two places, for alpha has no weight.
struct LumaWeights {
    unsigned blue, green, red, moreGreen;  // up to 127
    unsigned blueGreen, redGreen;          // up to 32767

    constexpr std::int64_t Blue() const { return std::int64_t{blue} * blueGreen; }
    constexpr std::int64_t Green() const {
        return std::int64_t{green} * blueGreen + std::int64_t{moreGreen} * redGreen;
    }
    constexpr std::int64_t Red() const { return std::int64_t{red} * redGreen; }

    /// Per pixel, in 32 bits.
    Vec SumsOf(Vec pixels) const {
        const Vec bytes = Splat32(blue | green << 8 | red << 16 | moreGreen << 24);
        const Vec pairs = Splat32(blueGreen | redGreen << 16);
        const Vec colors = Shuffle8(pixels, 0x0506'0504'0102'0100, 0x0D0E'0D0C'090A'0908);
        return MultiplyAdd16(MultiplyAdd8(colors, bytes), pairs);
    }
};

Vec Lumas(Vec pixels) {
    // As many bits as there is place for. Then it is no matter that the weights are rounded: of no colour is the
    // luma too low, or too high by as much as 1 / kLumaOne.
    constexpr LumaWeights kWeights = {50, 75, 46, 64, 9563, 27263};
    constexpr int kBits = 22;
    constexpr std::int64_t kOne = 1 << kBits, kMargin = 2000;
    static_assert(255 * (kWeights.blue + kWeights.green) <= 32767 &&
                  255 * (kWeights.red + kWeights.moreGreen) <= 32767);
    constexpr auto error = [](std::int64_t weight, std::int64_t thousandths) {
        const std::int64_t difference = 255 * (weight * kLumaOne - thousandths * kOne);
        return difference < 0 ? -difference : difference;
    };
    constexpr std::int64_t kError =
        error(kWeights.Blue(), kLumaBlue) + error(kWeights.Green(), kLumaGreen) + error(kWeights.Red(), kLumaRed);
    static_assert(kMargin * kLumaOne >= kError && kMargin * kLumaOne + kError < kOne);
    return ShiftRight32<kBits>(Add32(kWeights.SumsOf(pixels), Splat32(kOne / 2 + kMargin)));
}

/// In quarters of the plain loop's units: results are upper halves of 32 bits. The amount must be below kSaturationOne.
template <int kTimes>
class Saturated {
public:
    Saturated(int amount, const ShareFactor& share)
        : twiceAmount(Splat16(2 * amount)), shareFactor(Splat64(share.factor)) {}

    Vec Of(Vec pixels) const {
        const Vec shares = SharesOf(pixels);
        const Vec blue = ShiftRight32<16>(Channel<0>(pixels, shares)), red = Channel<2>(pixels, shares);
        const Vec green = ShiftRight32<16>(Channel<1>(pixels, shares));
        const Vec bytes = PackToBytes(Alternate16(blue, red), green);
        return WithAlphaOf(pixels, Shuffle8(bytes, 0x8005'0C04'8001'0800, 0x8007'0E06'8003'0A02));
    }

private:
    /// Of pixels 0, 2, 1 and 3 of each four, with the half that rounding wants.
    Vec SharesOf(Vec pixels) const {
        constexpr int kScale = 4 * ShareFactor::kSumScale;
        constexpr LumaWeights kWeights = {114, 2, 23, 45, kScale, 13 * kScale};
        static_assert(kWeights.Blue() == kLumaBlue * kScale && kWeights.Green() == kLumaGreen * kScale &&
                      kWeights.Red() == kLumaRed * kScale);
        const Vec sums = kWeights.SumsOf(pixels), oddSums = ShiftRight64<32>(sums);
        const Vec shares = OddLanes32(MultiplyEven32(sums, shareFactor), MultiplyEven32(oddSums, shareFactor));
        Vec rounded = Add32(shares, Splat32(4 * (kSaturationOne / 2)));
        for (int i = 0; i < kTimes; ++i) rounded = Add32(rounded, EvenThenOdd32(sums));
        return rounded;
    }
    template <int kChannel>
    Vec Channel(Vec pixels, Vec shares) const {
        constexpr std::uint64_t kNext = 0x0001'0001'0001'0001;
        const Vec twice =
            Shuffle8(pixels, 0x8008'8008'8000'8000 + kChannel * kNext, 0x800C'800C'8004'8004 + kChannel * kNext);
        return Add32(MultiplyAdd16(twice, twiceAmount), shares);
    }
    const Vec twiceAmount, shareFactor;
};

#else

Vec WithAlphaOf(Vec pixels, Vec colors) { return Or(colors, And(pixels, AlphaBytes())); }

/// Pixels with their channels apart, each in 16 bits.
struct SplitPixels {
    Vec blueRed, greenAlpha;

    explicit SplitPixels(Vec pixels)
        : blueRed(And(pixels, Splat32(0x00FF00FFu))), greenAlpha(ShiftRight16<8>(pixels)) {}

    /// Per pixel, in 32 bits.
    template <unsigned kScale>
    Vec LumaSums() const {
        return Add32(MultiplyAdd16(blueRed, Splat32(kLumaRed * kScale << 16 | kLumaBlue * kScale)),
                     MultiplyAdd16(greenAlpha, Splat32(kLumaGreen * kScale)));
    }
};

Vec Lumas(Vec pixels) {
    // n / 125 is n * 33555 >> 22 for every n below 2^15.
    const Vec eighths = ShiftRight32<3>(Add32(SplitPixels(pixels).LumaSums<1>(), Splat32(kLumaOne / 2)));
    return ShiftRight16<6>(MultiplyHigh16(eighths, Splat32(33555)));
}

template <int kTimes>
class Saturated {
public:
    Saturated(int amount, const ShareFactor& share)
        : lowAmount(Splat32(static_cast<std::uint32_t>(amount) & 0xFFFF)),
          highAmount(Splat32(static_cast<std::uint32_t>(amount) << 16)),
          shareFactor(Splat64(share.factor)) {}

    Vec Of(Vec pixels) const {
        const SplitPixels split(pixels);
        const Vec shares = SharesOf(split.LumaSums<ShareFactor::kSumScale>());
        const auto channel = [&](Vec channels, Vec amount) {
            return ShiftRightSigned32<kSaturationBits>(Add32(MultiplyAdd16(channels, amount), shares));
        };
        const Vec blueRed = PackSigned32(channel(split.blueRed, lowAmount), channel(split.blueRed, highAmount));
        const Vec greenAlpha = PackSigned32(channel(split.greenAlpha, lowAmount), ShiftRight32<24>(pixels));
        const Vec blueGreen = InterleaveLow16(blueRed, greenAlpha), redAlpha = InterleaveHigh16(blueRed, greenAlpha);
        return PackToBytes(InterleaveLow32(blueGreen, redAlpha), InterleaveHigh32(blueGreen, redAlpha));
    }

private:
    /// With the half that rounding wants.
    Vec SharesOf(Vec sums) const {
        const Vec even = ShiftRight64<32>(MultiplyEven32(sums, shareFactor));
        const Vec odd = MultiplyEven32(ShiftRight64<32>(sums), shareFactor);
        Vec shares = Blend(even, odd, Splat64(0xFFFFFFFF00000000u));
        for (int i = 0; i < kTimes; ++i) shares = Add32(shares, sums);
        return Add32(shares, Splat32(kSaturationOne / 2));
    }
    const Vec lowAmount, highAmount, shareFactor;
};

#endif

void Saturate(int amount, const AdjustedPixels& pixels) {
    if (amount == kSaturationOne) return ChangeAll(Unchanged(), pixels);
    const ShareFactor share(static_cast<unsigned>(kSaturationOne - amount));
    switch (share.times) {
        case 0: return ChangeAll(Saturated<0>(amount, share), pixels);
        case 1: return ChangeAll(Saturated<1>(amount, share), pixels);
        default: return ChangeAll(Saturated<2>(amount, share), pixels);
    }
}

struct Desaturated {
    Vec Of(Vec pixels) const { return WithAlphaOf(pixels, SpreadLowByte(Lumas(pixels))); }
};

void Desaturate(const AdjustedPixels& pixels) { ChangeAll(Desaturated(), pixels); }

#else

std::uint32_t LumaSum(const std::uint8_t* pixel) {
    return kLumaBlue * pixel[0] + kLumaGreen * pixel[1] + kLumaRed * pixel[2];
}

/// Makes each pixel what `change(from, to)` makes of its colours.
template <class Change>
void ChangeAll(const AdjustedPixels& pixels, const Change& change) {
    for (std::size_t i = 0; i < 4 * pixels.count; i += 4) {
        pixels.to[i + 3] = pixels.from[i + 3];
        change(pixels.from + i, pixels.to + i);
    }
}

void MapLevels(const LevelForm& form, const AdjustedPixels& pixels) {
    ChangeAll(pixels, [&](const std::uint8_t* from, std::uint8_t* to) {
        for (unsigned channel = 0; channel < 3; ++channel) to[channel] = ApplyLevelForm(form, from[channel]);
    });
}

/// What luma adds to each channel of a pixel, in units of 1 / kSaturationOne, with the half that rounding wants. Cut
/// off to a whole number it is still exact: what it is added to is whole.
std::int32_t LumaShare(std::uint32_t sum, std::uint32_t rest) {
    const std::uint64_t scaled = std::uint64_t{sum} * rest + std::uint64_t{kLumaOne} * (kSaturationOne / 2);
    return static_cast<std::int32_t>(scaled / kLumaOne);
}

void Saturate(int amount, const AdjustedPixels& pixels) {
    const auto rest = static_cast<std::uint32_t>(kSaturationOne - amount);
    ChangeAll(pixels, [&](const std::uint8_t* from, std::uint8_t* to) {
        const std::int32_t share = LumaShare(LumaSum(from), rest);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::int32_t value = (amount * from[channel] + share) >> kSaturationBits;
            to[channel] = static_cast<std::uint8_t>(value < 0 ? 0 : value < 255 ? value : 255);
        }
    });
}

void Desaturate(const AdjustedPixels& pixels) {
    ChangeAll(pixels, [](const std::uint8_t* from, std::uint8_t* to) {
        to[0] = to[1] = to[2] = static_cast<std::uint8_t>((LumaSum(from) + kLumaOne / 2) / kLumaOne);
    });
}

#endif

constexpr AdjustKernels kKernels = {&MapLevels, &Saturate, &Desaturate};

}  // namespace
}  // namespace zpixf

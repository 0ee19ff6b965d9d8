// Vectors of SIMD_PLAIN_BYTES bytes in plain words, as Vectors.inl has them.
#include <cstring>

namespace simd {
namespace {

struct Vec {
    std::uint8_t bytes[SIMD_PLAIN_BYTES];
};

/// A vector as lanes of one size, and back.
template <class Lane>
struct Lanes {
    static constexpr std::size_t kCount = SIMD_PLAIN_BYTES / sizeof(Lane), kInHalf = 16 / sizeof(Lane);
    Lane at[kCount];

    Lanes() = default;
    explicit Lanes(Vec v) { std::memcpy(at, v.bytes, sizeof at); }
    Vec ToVec() const {
        Vec v;
        std::memcpy(v.bytes, at, sizeof at);
        return v;
    }
};

template <class Lane, class Operation>
Vec Each(Vec a, Vec b, Operation operation) {
    const Lanes<Lane> x(a), y(b);
    Lanes<Lane> result;
    for (std::size_t i = 0; i < result.kCount; ++i) result.at[i] = static_cast<Lane>(operation(x.at[i], y.at[i]));
    return result.ToVec();
}
template <class Lane, class Operation>
Vec Each(Vec a, Operation operation) {
    return Each<Lane>(a, a, [&](Lane x, Lane) { return operation(x); });
}
template <class Lane>
Vec Splat(Lane value) {
    return Each<Lane>(Vec{}, [&](Lane) { return value; });
}

/// Lanes made of neighbours: of lanes 2 n and 2 n + 1 of both.
template <class Wide, class Lane, class Other, class Operation>
Vec EachPair(Vec a, Vec b, Operation operation) {
    const Lanes<Lane> x(a);
    const Lanes<Other> y(b);
    Lanes<Wide> result;
    for (std::size_t i = 0; i < result.kCount; ++i)
        result.at[i] =
            static_cast<Wide>(operation(x.at[2 * i], y.at[2 * i]) + operation(x.at[2 * i + 1], y.at[2 * i + 1]));
    return result.ToVec();
}

template <class Lane>
Vec Interleave(Vec a, Vec b, std::size_t from) {
    using All = Lanes<Lane>;
    const All x(a), y(b);
    All result;
    for (std::size_t i = 0; i < All::kCount; ++i) {
        const std::size_t place = i / All::kInHalf * All::kInHalf + from * All::kInHalf / 2 + i % All::kInHalf / 2;
        result.at[i] = i % 2 == 0 ? x.at[place] : y.at[place];
    }
    return result.ToVec();
}

/// In each half the lanes of `a`, then those of `b`, clamped to half their size.
template <class Wide, class Narrow>
Vec Pack(Vec a, Vec b, Wide least, Wide most) {
    const Lanes<Wide> x(a), y(b);
    Lanes<Narrow> result;
    constexpr std::size_t kInHalf = Lanes<Wide>::kInHalf;
    for (std::size_t i = 0; i < result.kCount; ++i) {
        const std::size_t place = i / (2 * kInHalf) * kInHalf + i % kInHalf;
        const Wide value = i % (2 * kInHalf) < kInHalf ? x.at[place] : y.at[place];
        result.at[i] = static_cast<Narrow>(value < least ? least : value > most ? most : value);
    }
    return result.ToVec();
}

inline Vec Load(const void* from) {
    Vec v;
    std::memcpy(v.bytes, from, sizeof v);
    return v;
}
inline void Store(void* to, Vec v) { std::memcpy(to, v.bytes, sizeof v); }
inline void StorePastCaches(void* to, Vec v) { Store(to, v); }
inline void FinishStores() {}
inline void FetchAhead(const void*) {}
inline Vec Zero() { return {}; }
inline Vec Splat8(int value) { return Splat(static_cast<std::uint8_t>(value)); }
inline Vec Splat16(int value) { return Splat(static_cast<std::uint16_t>(value)); }
inline Vec Splat32(std::uint32_t value) { return Splat(value); }
inline Vec Splat64(std::uint64_t value) { return Splat(value); }
inline Vec Splat128(std::uint64_t low, std::uint64_t high) {
    Lanes<std::uint64_t> result;
    for (std::size_t i = 0; i < result.kCount; ++i) result.at[i] = i % 2 == 0 ? low : high;
    return result.ToVec();
}

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S16 = std::int16_t;
using S32 = std::int32_t;

inline Vec And(Vec a, Vec b) {
    return Each<U64>(a, b, [](U64 x, U64 y) { return x & y; });
}
inline Vec AndNot(Vec without, Vec a) {
    return Each<U64>(without, a, [](U64 x, U64 y) { return ~x & y; });
}
inline Vec Or(Vec a, Vec b) {
    return Each<U64>(a, b, [](U64 x, U64 y) { return x | y; });
}
inline Vec Min8(Vec a, Vec b) {
    return Each<U8>(a, b, [](U8 x, U8 y) { return x < y ? x : y; });
}
inline Vec Max8(Vec a, Vec b) {
    return Each<U8>(a, b, [](U8 x, U8 y) { return x < y ? y : x; });
}
inline Vec MinSigned16(Vec a, Vec b) {
    return Each<S16>(a, b, [](S16 x, S16 y) { return x < y ? x : y; });
}
inline Vec Blend(Vec a, Vec b, Vec fromB) { return Or(AndNot(fromB, a), And(fromB, b)); }

inline Vec Add16(Vec a, Vec b) {
    return Each<U16>(a, b, [](U16 x, U16 y) { return x + y; });
}
inline Vec AddSaturated16(Vec a, Vec b) {
    return Each<U16>(a, b, [](int x, int y) { return x + y > 0xFFFF ? 0xFFFF : x + y; });
}
inline Vec SubtractSaturated16(Vec a, Vec b) {
    return Each<U16>(a, b, [](int x, int y) { return x < y ? 0 : x - y; });
}
inline Vec Multiply16(Vec a, Vec b) {
    return Each<U16>(a, b, [](U32 x, U32 y) { return x * y; });
}
inline Vec MultiplyHigh16(Vec a, Vec b) {
    return Each<U16>(a, b, [](U32 x, U32 y) { return x * y >> 16; });
}
inline Vec MultiplyAdd16(Vec a, Vec b) {
    return EachPair<U32, S16, S16>(a, b, [](S32 x, S32 y) { return static_cast<U32>(x * y); });
}
inline Vec MultiplyAdd8(Vec a, Vec b) {
    return EachPair<S16, U8, std::int8_t>(a, b, [](S32 x, S32 y) { return x * y; });
}
inline Vec MultiplyRounded16(Vec a, Vec b) {
    return Each<S16>(a, b, [](S32 x, S32 y) { return ((x * y >> 14) + 1) >> 1; });
}
inline Vec MultiplyEven32(Vec a, Vec b) {
    return Each<U64>(a, b, [](U64 x, U64 y) { return (x & 0xFFFFFFFF) * (y & 0xFFFFFFFF); });
}
inline Vec Add32(Vec a, Vec b) {
    return Each<U32>(a, b, [](U32 x, U32 y) { return x + y; });
}
inline bool IsAnyGreater32(Vec a, Vec b) {
    const Lanes<S32> x(a), y(b);
    for (std::size_t i = 0; i < x.kCount; ++i)
        if (x.at[i] > y.at[i]) return true;
    return false;
}
constexpr U32 MaskBitOf(std::size_t pixel) { return U32{0x80} >> pixel % 8 << pixel / 8 * 8; }
template <int kFirst>
unsigned MaskBitsOfSigns(Vec a) {
    const Lanes<S32> lanes(a);
    unsigned bits = 0;
    for (std::size_t i = 0; i < lanes.kCount; ++i) bits |= lanes.at[i] < 0 ? MaskBitOf(kFirst + i) : 0;
    return bits;
}
template <int kFirst>
Vec LanesOfMaskBits(Vec bits) {
    const Lanes<U32> from(bits);
    Lanes<U32> lanes;
    for (std::size_t i = 0; i < lanes.kCount; ++i)
        lanes.at[i] = (from.at[i] & MaskBitOf(kFirst + i)) != 0 ? 0xFFFFFFFF : 0;
    return lanes.ToVec();
}
inline bool AreAllOpaque(Vec pixels) {
    for (std::size_t i = 3; i < sizeof pixels; i += 4)
        if (pixels.bytes[i] != 0xFF) return false;
    return true;
}

inline Vec ShiftRight16(Vec a, unsigned by) {
    return Each<U16>(a, [=](U32 x) { return x >> by; });
}
inline Vec ShiftRight32(Vec a, unsigned by) {
    return Each<U32>(a, [=](U32 x) { return x >> by; });
}
inline Vec ShiftRightSigned32(Vec a, unsigned by) {
    return Each<S32>(a, [=](S32 x) { return x >> by; });
}
template <int kBy>
Vec ShiftLeft16(Vec a) {
    return Each<U16>(a, [](U32 x) { return x << kBy; });
}
template <int kBy>
Vec ShiftRight16(Vec a) {
    return ShiftRight16(a, kBy);
}
template <int kBy>
Vec ShiftRight32(Vec a) {
    return ShiftRight32(a, kBy);
}
template <int kBy>
Vec ShiftRightSigned32(Vec a) {
    return ShiftRightSigned32(a, kBy);
}
template <int kBy>
Vec ShiftRight64(Vec a) {
    return Each<U64>(a, [](U64 x) { return x >> kBy; });
}

inline Vec InterleaveLow8(Vec a, Vec b) { return Interleave<U8>(a, b, 0); }
inline Vec InterleaveHigh8(Vec a, Vec b) { return Interleave<U8>(a, b, 1); }
inline Vec InterleaveLow16(Vec a, Vec b) { return Interleave<U16>(a, b, 0); }
inline Vec InterleaveHigh16(Vec a, Vec b) { return Interleave<U16>(a, b, 1); }
inline Vec InterleaveLow32(Vec a, Vec b) { return Interleave<U32>(a, b, 0); }
inline Vec InterleaveHigh32(Vec a, Vec b) { return Interleave<U32>(a, b, 1); }
inline Vec PackSigned32(Vec a, Vec b) { return Pack<S32, S16>(a, b, -32768, 32767); }
inline Vec PackToBytes(Vec a, Vec b) { return Pack<S16, U8>(a, b, 0, 255); }

/// Of two vectors side by side: the 16 bytes that both have by turns, from `first` of each on.
inline Vec ByTurns(Vec a, Vec b, std::size_t first) {
    Vec result;
    for (std::size_t to = 0; to < sizeof result; to += 32, first += 16) {
        std::memcpy(result.bytes + to, a.bytes + first, 16);
        if (to + 16 < sizeof result) std::memcpy(result.bytes + to + 16, b.bytes + first, 16);
    }
    return result;
}
inline Vec FirstInOrder(Vec low, Vec high) { return ByTurns(low, high, 0); }
inline Vec SecondInOrder(Vec low, Vec high) { return sizeof low == 16 ? high : ByTurns(low, high, sizeof low / 2); }
inline Vec PackToBytesInOrder(Vec first, Vec second) {
    const Lanes<U64> packed(PackToBytes(first, second));
    Lanes<U64> result;
    for (std::size_t i = 0; i < result.kCount / 2; ++i) {
        result.at[i] = packed.at[2 * i];
        result.at[i + result.kCount / 2] = packed.at[2 * i + 1];
    }
    return result.ToVec();
}

inline Vec Shuffle8(Vec a, std::uint64_t first, std::uint64_t second) {
    Vec result;
    for (std::size_t i = 0; i < sizeof result; ++i) {
        const std::uint64_t numbers = i % 16 < 8 ? first : second;
        const auto number = static_cast<U8>(numbers >> (i % 8 * 8));
        result.bytes[i] = number >= 0x80 ? U8{0} : a.bytes[i / 16 * 16 + number % 16];
    }
    return result;
}
inline Vec OddLanes32(Vec a, Vec b) {
    const Lanes<U32> x(a), y(b);
    Lanes<U32> result;
    for (std::size_t i = 0; i < result.kCount; i += 4) {
        result.at[i] = x.at[i + 1];
        result.at[i + 1] = x.at[i + 3];
        result.at[i + 2] = y.at[i + 1];
        result.at[i + 3] = y.at[i + 3];
    }
    return result.ToVec();
}
inline Vec EvenThenOdd32(Vec a) { return Shuffle8(a, 0x0B0A'0908'0302'0100, 0x0F0E'0D0C'0706'0504); }
inline Vec Alternate16(Vec a, Vec b) { return Blend(a, b, Splat32(0xFFFF0000u)); }
inline Vec SpreadLowByte(Vec a) {
    return Each<U32>(a, [](U32 x) { return x * 0x010101u; });
}

struct PairFactors {
    Vec both;
    void Set(int even, int odd) { both = Splat16((even & 0xFF) | (odd & 0xFF) << 8); }
    Vec SumOfProducts(Vec pairs) const { return MultiplyAdd8(pairs, both); }
};

template <int kPixels>
Vec Shifted(Vec a, Vec b) {
    Vec result;
    std::memcpy(result.bytes, a.bytes + 4 * kPixels, sizeof a - 4 * kPixels);
    std::memcpy(result.bytes + sizeof a - 4 * kPixels, b.bytes, 4 * kPixels);
    return result;
}

struct Floats {
    static constexpr std::size_t kCount = SIMD_PLAIN_BYTES / 4;
    float at[kCount];
};
struct Doubles {
    static constexpr std::size_t kCount = SIMD_PLAIN_BYTES / 8;
    double at[kCount];
};

template <class Numbers, class Operation>
Numbers EachNumber(Operation operation) {
    Numbers result;
    for (std::size_t i = 0; i < Numbers::kCount; ++i) result.at[i] = operation(i);
    return result;
}

inline Floats LoadFloats(const float* from) {
    return EachNumber<Floats>([=](std::size_t i) { return from[i]; });
}
inline void StoreFloats(float* to, Floats v) { std::memcpy(to, v.at, sizeof v.at); }
inline Floats SplatFloats(float value) {
    return EachNumber<Floats>([=](std::size_t) { return value; });
}
inline Floats AddFloats(Floats a, Floats b) {
    return EachNumber<Floats>([&](std::size_t i) { return a.at[i] + b.at[i]; });
}
inline Floats MultiplyFloats(Floats a, Floats b) {
    return EachNumber<Floats>([&](std::size_t i) { return a.at[i] * b.at[i]; });
}
inline Floats AddProduct(Floats sum, Floats a, Floats b) {
    const Floats product = MultiplyFloats(a, b);
    return EachNumber<Floats>([&](std::size_t i) { return sum.at[i] + product.at[i]; });
}
template <std::size_t kFloats>
Floats ShiftedFloats(Floats a, Floats b) {
    return EachNumber<Floats>([&](std::size_t i) {
        return i + kFloats < Floats::kCount ? a.at[i + kFloats] : b.at[i + kFloats - Floats::kCount];
    });
}
inline Floats ToFloats(Vec a) {
    const Lanes<S32> lanes(a);
    return EachNumber<Floats>([&](std::size_t i) { return static_cast<float>(lanes.at[i]); });
}
template <class Numbers, class Operation>
Vec ToLanes(const Numbers& numbers, Operation operation) {
    Lanes<S32> lanes;
    for (std::size_t i = 0; i < Numbers::kCount; ++i) lanes.at[i] = operation(numbers.at[i]);
    return lanes.ToVec();
}
/// Halves to even numbers, as a sum with 1.5 * 2^52 has them.
inline Vec Nearest32(Floats a) {
    return ToLanes(a, [](float value) {
        constexpr double kOnlyWhole = 6755399441055744.0;
        const double sum = double{value} + kOnlyWhole;
        return static_cast<S32>(sum - kOnlyWhole);
    });
}
inline Vec Truncated32(Floats a) {
    return ToLanes(a, [](float value) { return static_cast<S32>(value); });
}
inline Floats Reciprocals(Floats a) {
    return EachNumber<Floats>([&](std::size_t i) { return 1 / a.at[i]; });
}
inline Floats LastOfFour(Floats a) {
    return EachNumber<Floats>([&](std::size_t i) { return a.at[i | 3]; });
}
inline Floats WithLastOfFour(Floats a, Floats last) {
    return EachNumber<Floats>([&](std::size_t i) { return i % 4 == 3 ? last.at[i] : a.at[i]; });
}
inline bool IsAnyZero(Floats a) {
    for (const float value : a.at)
        if (value == 0) return true;
    return false;
}
inline Floats WhereZero(Floats tested, Floats a, Floats otherwise) {
    return EachNumber<Floats>([&](std::size_t i) { return tested.at[i] == 0 ? a.at[i] : otherwise.at[i]; });
}

inline Doubles LoadAsDoubles(const float* from) {
    return EachNumber<Doubles>([=](std::size_t i) { return double{from[i]}; });
}
inline Doubles SplatDoubles(double value) {
    return EachNumber<Doubles>([=](std::size_t) { return value; });
}
inline Doubles AddDoubles(Doubles a, Doubles b) {
    return EachNumber<Doubles>([&](std::size_t i) { return a.at[i] + b.at[i]; });
}
inline Doubles MultiplyDoubles(Doubles a, Doubles b) {
    return EachNumber<Doubles>([&](std::size_t i) { return a.at[i] * b.at[i]; });
}
inline Doubles DivideDoubles(Doubles a, Doubles b) {
    return EachNumber<Doubles>([&](std::size_t i) { return a.at[i] / b.at[i]; });
}
inline Doubles MinDoubles(Doubles a, Doubles b) {
    return EachNumber<Doubles>([&](std::size_t i) { return a.at[i] < b.at[i] ? a.at[i] : b.at[i]; });
}
inline Doubles MaxDoubles(Doubles a, Doubles b) {
    return EachNumber<Doubles>([&](std::size_t i) { return a.at[i] > b.at[i] ? a.at[i] : b.at[i]; });
}
inline Vec Truncated32(Doubles low, Doubles high) {
    Lanes<S32> lanes;
    for (std::size_t i = 0; i < Doubles::kCount; ++i) {
        lanes.at[i] = static_cast<S32>(low.at[i]);
        lanes.at[i + Doubles::kCount] = static_cast<S32>(high.at[i]);
    }
    return lanes.ToVec();
}
template <std::size_t kStep>
void StoreFoursAsDoubles(double* to, Vec high, Vec low) {
    const Lanes<S32> x(high), y(low);
    for (std::size_t i = 0; i < x.kCount; ++i) to[i / 4 * kStep + i % 4] = 256.0 * x.at[i] + y.at[i];
}
template <std::size_t kStep>
void StoreFoursAsDoubles(double* to, Vec a) {
    StoreFoursAsDoubles<kStep>(to, Zero(), a);
}

inline Vec MergeChannels(Vec blue, Vec green, Vec red, Vec alpha) {
    const Vec byChannel = PackToBytes(PackSigned32(blue, green), PackSigned32(red, alpha));
    return Shuffle8(byChannel, 0x0D09'0501'0C08'0400, 0x0F0B'0703'0E0A'0602);
}

}  // namespace
}  // namespace simd

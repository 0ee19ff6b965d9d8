// Every function of the vectors of one level; the including file defines the table of its level.
#include <cstring>

#include "Words.h"
#include "simd/Vectors.inl"

namespace simd_tests {
namespace {

#if defined(SIMD_HAS_VECTORS)

using namespace simd;

class Results {
public:
    explicit Results(std::uint8_t* results) : begin(results), next(results) {}
    void Add(Vec v) { next += Put(v); }
    void Add(bool value) { *next++ = value ? 1 : 0; }
    void Add(double value) {
        std::memcpy(next, &value, sizeof value);
        next += sizeof value;
    }
    void Add(Floats v) {
        StoreFloats(reinterpret_cast<float*>(next), v);
        next += kVecBytes;
    }
    template <class... Some>
    void AddAll(const Some&... some) {
        (Add(some), ...);
    }
    std::size_t Bytes() const { return static_cast<std::size_t>(next - begin); }

private:
    std::size_t Put(Vec v) {
        Store(next, v);
        return kVecBytes;
    }
    std::uint8_t *begin, *next;
};

std::size_t Compute(const std::uint8_t* input, std::uint8_t* bytes) {
    const Vec a = Load(input), b = Load(input + kVecBytes);
    Results results(bytes);
    results.AddAll(Zero(), Splat8(200), Splat16(51234), Splat32(0x89ABCDEF), Splat64(0x0123456789ABCDEF),
                   Splat128(0x0123456789ABCDEF, 0xFEDCBA9876543210), AlphaBytes());
    results.AddAll(And(a, b), Or(a, b), AndNot(a, b), Min8(a, b), Max8(a, b), MinSigned16(a, b),
                   Blend(a, b, Splat32(0xFF00FF00u)), Add16(a, b), AddSaturated16(a, b), SubtractSaturated16(a, b),
                   Multiply16(a, b), MultiplyHigh16(a, b), MultiplyAdd16(a, b), MultiplyEven32(a, b), Add32(a, b));
    for (unsigned by = 0; by < 16; by += 5)
        results.AddAll(ShiftRight16(a, by), ShiftRight32(a, by), ShiftRightSigned32(a, by));
    results.AddAll(ShiftLeft16<8>(a), ShiftRight16<3>(a), ShiftRight32<16>(a), ShiftRightSigned32<14>(a),
                   ShiftRight64<32>(a));
    results.AddAll(InterleaveLow8(a, b), InterleaveHigh8(a, b), InterleaveLow16(a, b), InterleaveHigh16(a, b),
                   InterleaveLow32(a, b), InterleaveHigh32(a, b), PackSigned32(a, b), PackToBytes(a, b),
                   FirstInOrder(a, b), SecondInOrder(a, b), PackToBytesInOrder(a, b), Shifted<1>(a, b),
                   Shifted<2>(a, b), Shifted<kVecPixels - 2>(a, b), Shifted<kVecPixels - 1>(a, b),
                   SpreadLowByte(And(a, Splat32(0xFF))), MergeChannels(a, b, b, a));
    constexpr int kFirst = kVecPixels < 8 ? 8 - kVecPixels : 0;
    results.AddAll(Splat32(MaskBitsOfSigns<0>(a)), Splat32(MaskBitsOfSigns<kFirst>(a)), LanesOfMaskBits<0>(a),
                   LanesOfMaskBits<kFirst>(a));
    results.Add(IsAnyGreater32(a, b));
    results.Add(IsAnyGreater32(a, a));
    PairFactors factors;
    factors.Set(-37, 61);
    results.Add(factors.SumOfProducts(a));

    // Whole numbers below 2^24 have no roundings that could tell.
    const Floats x = ToFloats(ShiftRightSigned32<20>(a)), y = ToFloats(ShiftRightSigned32<20>(b));
    results.AddAll(ShiftedFloats<1>(x, y), ShiftedFloats<2>(x, y), ShiftedFloats<kVecPixels - 1>(x, y));
    results.AddAll(x, SplatFloats(2.5F), AddFloats(x, y), MultiplyFloats(x, y), AddProduct(y, x, SplatFloats(3.0F)));
    const Floats halves = MultiplyFloats(x, SplatFloats(0.5F));
    results.AddAll(LastOfFour(x), WithLastOfFour(x, y), WhereZero(halves, x, y));
    results.Add(IsAnyZero(x));
    results.Add(Reciprocals(SplatFloats(64)));  // of powers of two they are exact at every level
    results.Add(Nearest32(halves));
    results.Add(Truncated32(halves));
    alignas(kMostBytes) std::uint8_t past[kMostBytes];
    StorePastCaches(past, a);
    FinishStores();
    results.Add(Load(past));
    float numbers[kMostBytes / 4];
    StoreFloats(numbers, x);
    const Floats loaded = LoadFloats(numbers);
    results.Add(loaded);
    const Doubles low = LoadAsDoubles(numbers), high = LoadAsDoubles(numbers + kVecBytes / 8), third = SplatDoubles(3);
    results.Add(Truncated32(AddDoubles(low, third), MultiplyDoubles(high, third)));
    results.Add(Truncated32(DivideDoubles(low, third), MinDoubles(high, third)));
    results.Add(Truncated32(MaxDoubles(low, third), high));
    return results.Bytes();
}

std::size_t ComputeShuffles([[maybe_unused]] const std::uint8_t* input, [[maybe_unused]] std::uint8_t* bytes) {
#if defined(SIMD_HAS_SHUFFLES)
    const Vec a = Load(input), b = Load(input + kVecBytes);
    Results results(bytes);
    results.AddAll(MultiplyAdd8(a, And(b, Splat8(0x3F))), Shuffle8(a, 0x0F80'0102'0304'8007, 0x0008'090A'800C'0D80),
                   MultiplyRounded16(a, And(b, Splat16(0x7FFF))), OddLanes32(a, b), EvenThenOdd32(a),
                   Alternate16(a, b));
    double wide[2 * kVecBytes / 4] = {};
    StoreFoursAsDoubles<8>(wide, a);
    StoreFoursAsDoubles<8>(wide + 4, a, b);
    for (const double value : wide) results.Add(value);
    results.Add(AreAllOpaque(Or(a, AlphaBytes())));
    results.Add(AreAllOpaque(Or(a, Splat32(0xFE000000u))));
    return results.Bytes();
#else
    return 0;
#endif
}

constexpr Words kWords = {kVecBytes, &Compute, &ComputeShuffles};

#else

constexpr Words kWords = {0, nullptr, nullptr};

#endif

}  // namespace
}  // namespace simd_tests

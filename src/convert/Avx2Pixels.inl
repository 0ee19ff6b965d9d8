// The formats in AVX2 intrinsics: a block's 32 pixels are 1 vector of levels, 2 of words, or 4 of colours.
#include <immintrin.h>

namespace zbm {
namespace {

using Vector = __m256i;

struct Levels {
    Vector v;
};
struct Words {
    Vector v[2];
};
struct Colors {
    Vector v[4];
};

ZBM_INLINE Vector Load(const void* from) { return _mm256_loadu_si256(static_cast<const Vector*>(from)); }
ZBM_INLINE __m128i LoadHalf(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
/// 16 bytes in both halves.
ZBM_INLINE Vector LoadTwice(const void* from) { return _mm256_broadcastsi128_si256(LoadHalf(from)); }
/// 4 bytes in all eighths.
ZBM_INLINE Vector LoadEightTimes(const void* from) {
    int bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return _mm256_set1_epi32(bytes);
}
ZBM_INLINE Vector LoadHalves(const void* low, const void* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(low)), LoadHalf(high), 1);
}

/// Where results go.
struct ToCache {
    static constexpr bool kIsOffered = true, kIsCached = true;
    ZBM_INLINE void operator()(uint8_t* dst, Vector v) const { _mm256_storeu_si256(reinterpret_cast<Vector*>(dst), v); }
    ZBM_INLINE void operator()(uint8_t* dst, __m128i v) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), v); }
};
struct PastCache {
    static constexpr bool kIsOffered = true, kIsCached = false;
    ZBM_INLINE void operator()(uint8_t* dst, Vector v) const { _mm256_stream_si256(reinterpret_cast<Vector*>(dst), v); }
};

template <class Out>
ZBM_INLINE void StoreWords(Out out, uint8_t* dst, const Words& words) {
    out(dst, words.v[0]);
    out(dst + 32, words.v[1]);
}
template <class Out>
ZBM_INLINE void StoreColors(Out out, uint8_t* dst, const Colors& colors) {
    for (int i = 0; i < 4; ++i) out(dst + 32 * i, colors.v[i]);
}
ZBM_INLINE Colors LoadColors(const uint8_t* src) { return {Load(src), Load(src + 32), Load(src + 64), Load(src + 96)}; }

/// Packing takes turns between the halves of its operands; this puts quarters in their order again.
ZBM_INLINE Vector InOrder(Vector packed) { return _mm256_permute4x64_epi64(packed, 0xD8); }
/// The same after packing numbers of 32 bits to bytes.
ZBM_INLINE Vector EighthsInOrder(Vector packed) {
    return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}
ZBM_INLINE Vector Bytes(uint32_t fourBytes) { return _mm256_set1_epi32(static_cast<int>(fourBytes)); }

ZBM_INLINE Words WordsOfLow(const Colors& numbers) {
    return {InOrder(_mm256_packus_epi32(numbers.v[0], numbers.v[1])),
            InOrder(_mm256_packus_epi32(numbers.v[2], numbers.v[3]))};
}
ZBM_INLINE Words HighWords(const Colors& numbers) {
    Colors high;
    for (int i = 0; i < 4; ++i) high.v[i] = _mm256_srli_epi32(numbers.v[i], 16);
    return WordsOfLow(high);
}
ZBM_INLINE Colors HighWords(const Words& words) {
    const Vector zero = _mm256_setzero_si256();
    const Vector a = InOrder(words.v[0]), b = InOrder(words.v[1]);
    return {_mm256_unpacklo_epi16(zero, a), _mm256_unpackhi_epi16(zero, a), _mm256_unpacklo_epi16(zero, b),
            _mm256_unpackhi_epi16(zero, b)};
}

/// Each level four times, of 16 levels that stand in both halves of a vector.
ZBM_INLINE Vector FirstEightFourfold(Vector twice) {
    return _mm256_shuffle_epi8(twice, _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5,
                                                       5, 5, 6, 6, 6, 6, 7, 7, 7, 7));
}
ZBM_INLINE Vector LastEightFourfold(Vector twice) {
    return _mm256_shuffle_epi8(twice, _mm256_setr_epi8(8, 8, 8, 8, 9, 9, 9, 9, 10, 10, 10, 10, 11, 11, 11, 11, 12, 12,
                                                       12, 12, 13, 13, 13, 13, 14, 14, 14, 14, 15, 15, 15, 15));
}
ZBM_INLINE Colors Fourfold(Vector firstTwice, Vector lastTwice) {
    return {FirstEightFourfold(firstTwice), LastEightFourfold(firstTwice), FirstEightFourfold(lastTwice),
            LastEightFourfold(lastTwice)};
}
ZBM_INLINE Colors Fourfold(const Levels& levels) {
    return Fourfold(_mm256_permute2x128_si256(levels.v, levels.v, 0x00),
                    _mm256_permute2x128_si256(levels.v, levels.v, 0x11));
}
/// Each level twice.
ZBM_INLINE Words Twofold(const Levels& levels) {
    const Vector v = InOrder(levels.v);
    return {_mm256_unpacklo_epi8(v, v), _mm256_unpackhi_epi8(v, v)};
}
ZBM_INLINE Colors Opaque(Colors colors) {
    for (Vector& v : colors.v) v = _mm256_or_si256(v, Bytes(kOpaque));
    return colors;
}

/// 32 bits to bytes of 0 or 255.
ZBM_INLINE Levels MasksOfBits(const uint8_t* src) {
    const Vector spread =
        _mm256_shuffle_epi8(LoadEightTimes(src), _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2,
                                                                  2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3));
    const Vector bits = _mm256_set1_epi64x(0x0102040810204080);
    return {_mm256_cmpeq_epi8(_mm256_and_si256(spread, bits), bits)};
}
ZBM_INLINE Levels ExpandNibbles(const uint8_t* src) {
    const Vector bytes = _mm256_cvtepu8_epi16(LoadHalf(src));
    const Vector both = _mm256_or_si256(_mm256_srli_epi16(bytes, 4), _mm256_slli_epi16(bytes, 8));
    return {_mm256_and_si256(both, Bytes(0x0F0F0F0F))};
}
/// The upper bit of each byte.
ZBM_INLINE void StoreUpperBits(uint8_t* dst, Vector bytes) {
    const Vector reversed =
        _mm256_shuffle_epi8(bytes, _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3,
                                                    2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
    const int bits = _mm256_movemask_epi8(reversed);
    std::memcpy(dst, &bits, sizeof bits);
}
template <class Out>
ZBM_INLINE void StoreNibbles(Out out, uint8_t* dst, Vector nibbles) {
    const Vector pairs = _mm256_maddubs_epi16(nibbles, _mm256_set1_epi16(0x0110));
    out(dst, _mm256_castsi256_si128(InOrder(_mm256_packus_epi16(pairs, pairs))));
}

/// A third of the way to BGR_24: 6 numbers of 4 bytes, each half having its 3 in front.
ZBM_INLINE Vector WithoutAlpha(Vector colors) {
    return _mm256_shuffle_epi8(colors, _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2,
                                                        4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
}
ZBM_INLINE Colors Swapped(Colors colors) {
    const Vector order = _mm256_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15, 2, 1, 0, 3, 6, 5, 4, 7,
                                          10, 9, 8, 11, 14, 13, 12, 15);
    for (Vector& v : colors.v) v = _mm256_shuffle_epi8(v, order);
    return colors;
}

// ---------------------------------------------------------------------------------------------------- Luminance ----
// S = 8 H + L, where H = 14 B + 73 G + 37 R and L = 2 B + 3 G + 3 R have small weights and fit 16 bits. So what depends
// on S / 8 alone is reckoned on 16 bits: 17000 and 1000 are multiples of 8.

ZBM_INLINE Vector Weigh(Vector pairs, int first, int second) {
    return _mm256_maddubs_epi16(pairs, _mm256_set1_epi16(static_cast<short>(first | second << 8)));
}
/// 16 pixels as pairs of channels: the first 8 pixels in the even words, the last 8 in the odd.
struct ChannelPairs {
    Vector blueGreen, redAlpha;
};
/// Of 4 bytes a pixel. Loads 2 bytes off take the place of shifts.
ZBM_INLINE ChannelPairs LoadPairs(const uint8_t* src) {
    return {_mm256_blend_epi16(Load(src), Load(src + 30), 0xAA),
            _mm256_blend_epi16(Load(src + 2), Load(src + 32), 0xAA)};
}
ZBM_INLINE ChannelPairs PairsOf(Vector first, Vector last) {
    return {_mm256_blend_epi16(first, _mm256_slli_epi32(last, 16), 0xAA),
            _mm256_blend_epi16(_mm256_srli_epi32(first, 16), last, 0xAA)};
}
/// From pairs of red with green, and of blue with alpha. What takes alpha's place has no weight.
ZBM_INLINE ChannelPairs Swapped(ChannelPairs rgba) {
    const Vector isGreen = _mm256_set1_epi16(static_cast<short>(0xFF00));
    return {_mm256_blendv_epi8(rgba.redAlpha, rgba.blueGreen, isGreen), rgba.blueGreen};
}

struct BlockPairs {
    ChannelPairs first, last;
};
template <ColorFormat Src>
ZBM_INLINE BlockPairs LoadBlockPairs(const uint8_t* src) {
    if constexpr (Src == shr::BGRA_32) {
        return {LoadPairs(src), LoadPairs(src + 64)};
    } else if constexpr (Src == shr::RGBA_32) {
        return {Swapped(LoadPairs(src)), Swapped(LoadPairs(src + 64))};
    } else {
        const Colors colors = Pixels<Src>::Load(src);
        return {PairsOf(colors.v[0], colors.v[1]), PairsOf(colors.v[2], colors.v[3])};
    }
}

/// (S + roundUp) / 8 of 16 pixels.
ZBM_INLINE Vector LuminanceEighths(const ChannelPairs& pairs, int roundUp) {
    const Vector high = _mm256_add_epi16(Weigh(pairs.blueGreen, 14, 73), Weigh(pairs.redAlpha, 37, 0));
    Vector low = _mm256_add_epi16(Weigh(pairs.blueGreen, 2, 3), Weigh(pairs.redAlpha, 3, 0));
    if (roundUp != 0) low = _mm256_add_epi16(low, _mm256_set1_epi16(static_cast<short>(roundUp)));
    return _mm256_add_epi16(high, _mm256_srli_epi16(low, 3));
}
/// Bytes of what LuminanceEighths gave for the first and the last 16 pixels, in their order.
ZBM_INLINE Vector BytesInOrder(Vector first, Vector last) {
    const Vector fours = _mm256_shuffle_epi8(
        _mm256_packus_epi16(first, last), _mm256_setr_epi8(0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15, 0, 2,
                                                           4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15));
    return EighthsInOrder(fours);
}
/// x * factor >> (16 + shift).
ZBM_INLINE Vector MultiplyShift(Vector x, int factor, int shift) {
    return _mm256_srli_epi16(_mm256_mulhi_epu16(x, _mm256_set1_epi16(static_cast<short>(factor))), shift);
}
ZBM_INLINE Vector LuminanceQuotients(const BlockPairs& pairs, int factor, int shift) {
    return BytesInOrder(MultiplyShift(LuminanceEighths(pairs.first, 0), factor, shift),
                        MultiplyShift(LuminanceEighths(pairs.last, 0), factor, shift));
}

#if defined(__AVX512VNNI__)

/// Of each pixel's bytes and those of `weights`, which are signed.
ZBM_INLINE __m512i DotProducts(__m512i pixels, int weights) {
    return _mm512_dpbusd_epi32(_mm512_setzero_si512(), pixels, _mm512_set1_epi32(weights));
}
/// S / 8 * factor >> (16 + shift) of a block of pixels.
template <ColorFormat Src>
ZBM_INLINE Vector LuminanceBytes(const uint8_t* src, int factor, int shift) {
    constexpr bool isRedFirst = Src == shr::RGBA_32;
    if constexpr (Src == shr::BGRA_32 || isRedFirst) {
        constexpr int highs = isRedFirst ? 37 | 73 << 8 | 14 << 16 : 14 | 73 << 8 | 37 << 16;
        constexpr int lows = isRedFirst ? 3 | 3 << 8 | 2 << 16 : 2 | 3 << 8 | 3 << 16;
        const __m512i first = _mm512_loadu_si512(src), last = _mm512_loadu_si512(src + 64);
        const __m512i high = _mm512_packus_epi32(DotProducts(first, highs), DotProducts(last, highs));
        const __m512i low = _mm512_packus_epi32(DotProducts(first, lows), DotProducts(last, lows));
        const __m512i eighths = _mm512_add_epi16(high, _mm512_srli_epi16(low, 3));
        const __m512i products = _mm512_mulhi_epu16(eighths, _mm512_set1_epi16(static_cast<short>(factor)));
        const __m512i quotients = _mm512_srli_epi16(products, static_cast<unsigned>(shift));
        // (The plain form leaves GCC with a variable that it finds uninitialised.)
        const Vector fours = _mm512_maskz_cvtepi16_epi8(0xFFFFFFFF, quotients);
        return _mm256_permutevar8x32_epi32(fours, _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7));
    } else {
        return LuminanceQuotients(LoadBlockPairs<Src>(src), factor, shift);
    }
}

#else

template <ColorFormat Src>
ZBM_INLINE Vector LuminanceBytes(const uint8_t* src, int factor, int shift) {
    return LuminanceQuotients(LoadBlockPairs<Src>(src), factor, shift);
}

#endif

/// S of 8 pixels, in 32 bits.
ZBM_INLINE Vector Luminance(Vector colors) {
    const Vector high = _mm256_maddubs_epi16(colors, Bytes(14 | 73 << 8 | 37 << 16));
    const Vector low = _mm256_maddubs_epi16(colors, Bytes(2 | 3 << 8 | 3 << 16));
    return _mm256_add_epi32(_mm256_madd_epi16(high, _mm256_set1_epi16(8)),
                            _mm256_madd_epi16(low, _mm256_set1_epi16(1)));
}
/// x * factor >> 32.
ZBM_INLINE Vector UpperProduct(Vector x, uint32_t factor) {
    const Vector factors = Bytes(factor);
    const Vector even = _mm256_mul_epu32(x, factors), odd = _mm256_mul_epu32(_mm256_srli_epi64(x, 32), factors);
    return _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xAA);
}
/// numerator / denominator for UpperProduct, rounded up.
constexpr uint32_t Fraction(uint64_t numerator, uint64_t denominator) {
    return static_cast<uint32_t>(((numerator << 32) + denominator - 1) / denominator);
}

// ------------------------------------------------------------------------------------------------------- Formats ----

template <>
struct Pixels<shr::INDEXED_1> {
    ZBM_INLINE static Levels LoadIndices(const uint8_t* src) {
        return {_mm256_and_si256(MasksOfBits(src).v, Bytes(0x01010101))};
    }
    ZBM_INLINE static Levels MapToLevels(const uint8_t* src, const IndexMap& map) {
        return {_mm256_blendv_epi8(_mm256_set1_epi8(static_cast<char>(map.bytes[0])),
                                   _mm256_set1_epi8(static_cast<char>(map.bytes[1])), MasksOfBits(src).v)};
    }
    ZBM_INLINE static Words MapToWords(const uint8_t* src, const IndexMap& map) {
        const Vector entries = LoadEightTimes(map.bytes);
        const Vector zero = _mm256_blend_epi16(entries, _mm256_slli_epi32(entries, 16), 0xAA);
        const Vector one = _mm256_blend_epi16(_mm256_srli_epi32(entries, 16), entries, 0xAA);
        Words words = Twofold(MasksOfBits(src));
        for (Vector& v : words.v) v = _mm256_blendv_epi8(zero, one, v);
        return words;
    }
    ZBM_INLINE static Colors MapToColors(const uint8_t* src, const IndexMap& map) {
        const Vector zero = LoadEightTimes(map.bytes), one = LoadEightTimes(map.bytes + 4);
        const Vector bits = LoadEightTimes(src);
        Vector bit = _mm256_setr_epi32(0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01);
        Colors colors;
        for (Vector& v : colors.v) {
            v = _mm256_blendv_epi8(zero, one, _mm256_cmpeq_epi32(_mm256_and_si256(bits, bit), bit));
            bit = _mm256_slli_epi32(bit, 8);
        }
        return colors;
    }
};

template <>
struct Pixels<shr::INDEXED_4> {
    ZBM_INLINE static Levels LoadIndices(const uint8_t* src) { return ExpandNibbles(src); }
    template <class Out>
    ZBM_INLINE static void StoreIndices(Out out, uint8_t* dst, const Levels& indices) {
        StoreNibbles(out, dst, indices.v);
    }
    ZBM_INLINE static Levels MapToLevels(const uint8_t* src, const IndexMap& map) {
        return {_mm256_shuffle_epi8(LoadTwice(map.bytes), LoadIndices(src).v)};
    }
    ZBM_INLINE static Words MapToWords(const uint8_t* src, const IndexMap& map) {
        const Vector bytesApart = _mm256_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15, 0, 2, 4, 6, 8,
                                                   10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15);
        const Vector first = _mm256_shuffle_epi8(LoadTwice(map.bytes), bytesApart);
        const Vector last = _mm256_shuffle_epi8(LoadTwice(map.bytes + 16), bytesApart);
        const Vector indices = InOrder(LoadIndices(src).v);
        const Vector low = _mm256_shuffle_epi8(_mm256_unpacklo_epi64(first, last), indices);
        const Vector high = _mm256_shuffle_epi8(_mm256_unpackhi_epi64(first, last), indices);
        return {_mm256_unpacklo_epi8(low, high), _mm256_unpackhi_epi8(low, high)};
    }
    ZBM_INLINE static Colors MapToColors(const uint8_t* src, const IndexMap& map) {
        const Vector first = Load(map.bytes), last = Load(map.bytes + 32);
        const Vector shifts = _mm256_setr_epi32(4, 0, 12, 8, 20, 16, 28, 24);
        Colors colors;
        for (int i = 0; i < 4; ++i) {
            const Vector index = _mm256_srlv_epi32(LoadEightTimes(src + 4 * i), shifts);  // in the lower 4 bits
            const __m256 isLast = _mm256_castsi256_ps(_mm256_slli_epi32(index, 28));
            colors.v[i] = _mm256_castps_si256(
                _mm256_blendv_ps(_mm256_castsi256_ps(_mm256_permutevar8x32_epi32(first, index)),
                                 _mm256_castsi256_ps(_mm256_permutevar8x32_epi32(last, index)), isLast));
        }
        return colors;
    }
};

template <>
struct Pixels<shr::INDEXED_8> {
    ZBM_INLINE static Levels LoadIndices(const uint8_t* src) { return {Load(src)}; }
    template <class Out>
    ZBM_INLINE static void StoreIndices(Out out, uint8_t* dst, const Levels& indices) {
        out(dst, indices.v);
    }
    /// 16 tables of 16 entries each: cheaper than a load an index.
    ZBM_INLINE static Levels MapToLevels(const uint8_t* src, const IndexMap& map) {
        const Vector indices = Load(src);
        const Vector upper = _mm256_and_si256(_mm256_srli_epi16(indices, 4), Bytes(0x0F0F0F0F));
        const Vector lower = _mm256_and_si256(indices, Bytes(0x0F0F0F0F));
        Vector levels = _mm256_setzero_si256();
        for (int i = 0; i < 16; ++i) {
            const Vector isHere = _mm256_cmpeq_epi8(upper, _mm256_set1_epi8(static_cast<char>(i)));
            const Vector found = _mm256_shuffle_epi8(LoadTwice(map.bytes + 16 * i), lower);
            levels = _mm256_or_si256(levels, _mm256_and_si256(isHere, found));
        }
        return {levels};
    }
    ZBM_INLINE static Words MapToWords(const uint8_t* src, const IndexMap& map) {
        return {SixteenWords(src, map), SixteenWords(src + 16, map)};
    }
    /// A third faster than by gathering.
    ZBM_INLINE static Colors MapToColors(const uint8_t* src, const IndexMap& map) {
        return {EightColors(src, map), EightColors(src + 8, map), EightColors(src + 16, map),
                EightColors(src + 24, map)};
    }

private:
    template <class Entry>
    ZBM_INLINE static Entry EntryAt(const IndexMap& map, uint8_t index) {
        Entry entry;
        std::memcpy(&entry, map.bytes + index * sizeof entry, sizeof entry);
        return entry;
    }
    ZBM_INLINE static Vector SixteenWords(const uint8_t* src, const IndexMap& map) {
        const auto at = [&](int i) { return EntryAt<short>(map, src[i]); };
        return _mm256_setr_epi16(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7), at(8), at(9), at(10), at(11),
                                 at(12), at(13), at(14), at(15));
    }
    ZBM_INLINE static Vector EightColors(const uint8_t* src, const IndexMap& map) {
        const auto at = [&](int i) { return EntryAt<int>(map, src[i]); };
        return _mm256_setr_epi32(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7));
    }
};

template <>
struct Pixels<shr::GRAYSCALE_1> {
    ZBM_INLINE static Levels LoadLevels(const uint8_t* src) { return MasksOfBits(src); }
    ZBM_INLINE static Colors LoadGreys(const uint8_t* src) {
        const Vector bits = LoadEightTimes(src);
        Vector bit = _mm256_setr_epi32(0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01);
        Colors greys;
        for (Vector& v : greys.v) {
            v = _mm256_cmpeq_epi32(_mm256_and_si256(bits, bit), bit);
            bit = _mm256_slli_epi32(bit, 8);
        }
        return Opaque(greys);
    }
    template <class Out>
    ZBM_INLINE static void StoreLevels(Out, uint8_t* dst, const Levels& levels) {
        StoreUpperBits(dst, levels.v);
    }
    /// S >= 127500 is (S + 4) / 8 > 15937.
    template <ColorFormat Src, class Out>
    ZBM_INLINE static void StoreLuminance(Out, uint8_t* dst, const uint8_t* src) {
        const BlockPairs pairs = LoadBlockPairs<Src>(src);
        const Vector limit = _mm256_set1_epi16(kHalfWhite / 8);
        const Vector first = _mm256_cmpgt_epi16(LuminanceEighths(pairs.first, 4), limit);
        const Vector last = _mm256_cmpgt_epi16(LuminanceEighths(pairs.last, 4), limit);
        StoreUpperBits(dst, BytesInOrder(_mm256_srli_epi16(first, 8), _mm256_srli_epi16(last, 8)));
    }
};
template <>
struct Pixels<shr::GRAYSCALE_4> {
    ZBM_INLINE static Levels LoadLevels(const uint8_t* src) {
        const Vector nibbles = ExpandNibbles(src).v;
        return {_mm256_or_si256(nibbles, _mm256_slli_epi16(nibbles, 4))};
    }
    ZBM_INLINE static Colors LoadGreys(const uint8_t* src) { return Opaque(Fourfold(LoadLevels(src))); }
    template <class Out>
    ZBM_INLINE static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        StoreNibbles(out, dst, _mm256_and_si256(_mm256_srli_epi16(levels.v, 4), Bytes(0x0F0F0F0F)));
    }
    /// S / 17000: (S / 8) / 2125.
    template <ColorFormat Src, class Out>
    ZBM_INLINE static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        StoreNibbles(out, dst, LuminanceBytes<Src>(src, 63162, 11));
    }
};
template <>
struct Pixels<shr::GRAYSCALE_8> {
    ZBM_INLINE static Levels LoadLevels(const uint8_t* src) { return {Load(src)}; }
    ZBM_INLINE static Colors LoadGreys(const uint8_t* src) {
        return Opaque(Fourfold(LoadTwice(src), LoadTwice(src + 16)));
    }
    template <class Out>
    ZBM_INLINE static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        out(dst, levels.v);
    }
    /// S / 1000: (S / 8) / 125.
    template <ColorFormat Src, class Out>
    ZBM_INLINE static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        out(dst, LuminanceBytes<Src>(src, 33555, 6));
    }
};
template <>
struct Pixels<shr::GRAYSCALE_16> {
    ZBM_INLINE static Words Load(const uint8_t* src) { return {zbm::Load(src), zbm::Load(src + 32)}; }
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, const Words& words) {
        StoreWords(out, dst, words);
    }
    ZBM_INLINE static Levels LoadLevels(const uint8_t* src) {
        const Words words = Load(src);
        return {InOrder(_mm256_packus_epi16(_mm256_srli_epi16(words.v[0], 8), _mm256_srli_epi16(words.v[1], 8)))};
    }
    ZBM_INLINE static Colors LoadGreys(const uint8_t* src) { return Opaque(Fourfold(LoadLevels(src))); }
    template <class Out>
    ZBM_INLINE static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        StoreWords(out, dst, Twofold(levels));
    }
    /// S * 65535 / 255000: S * 257 / 1000.
    template <ColorFormat Src, class Out>
    ZBM_INLINE static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        Colors colors = Pixels<Src>::Load(src);
        for (Vector& v : colors.v) v = UpperProduct(Luminance(v), Fraction(257, 1000));
        StoreWords(out, dst, WordsOfLow(colors));
    }
};
template <>
struct Pixels<shr::GRAYSCALE_32> {
    ZBM_INLINE static Colors Load(const uint8_t* src) { return LoadColors(src); }
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, const Colors& numbers) {
        StoreColors(out, dst, numbers);
    }
    ZBM_INLINE static Levels LoadLevels(const uint8_t* src) {
        Colors top = Load(src);
        for (Vector& v : top.v) v = _mm256_srli_epi32(v, 24);
        return {EighthsInOrder(
            _mm256_packus_epi16(_mm256_packus_epi32(top.v[0], top.v[1]), _mm256_packus_epi32(top.v[2], top.v[3])))};
    }
    ZBM_INLINE static Colors LoadGreys(const uint8_t* src) {
        Colors colors = Load(src);
        const Vector top = _mm256_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15, 3, 3, 3, 3, 7, 7, 7,
                                            7, 11, 11, 11, 11, 15, 15, 15, 15);
        for (Vector& v : colors.v) v = _mm256_shuffle_epi8(v, top);
        return Opaque(colors);
    }
    template <class Out>
    ZBM_INLINE static void StoreLevels(Out out, uint8_t* dst, const Levels& levels) {
        StoreColors(out, dst, Fourfold(levels));
    }
    /// S * 4294967295 / 255000: S * 16843009 / 1000, which is S * 16843 + S * 9 / 1000.
    template <ColorFormat Src, class Out>
    ZBM_INLINE static void StoreLuminance(Out out, uint8_t* dst, const uint8_t* src) {
        Colors colors = Pixels<Src>::Load(src);
        for (Vector& v : colors.v) {
            const Vector luminance = Luminance(v);
            v = _mm256_add_epi32(_mm256_mullo_epi32(luminance, _mm256_set1_epi32(16843)),
                                 UpperProduct(luminance, Fraction(9, 1000)));
        }
        StoreColors(out, dst, colors);
    }
};

template <>
struct Pixels<shr::BGR_24> {
    /// Each half of a vector takes 12 of 16 bytes. The last 16 of a block end with it, and so begin 4 bytes early.
    ZBM_INLINE static Colors Load(const uint8_t* src) {
        const Vector order = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0, 1, 2, -1, 3, 4,
                                              5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
        const Vector lateOrder = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 4, 5, 6, -1, 7,
                                                  8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
        return Opaque({_mm256_shuffle_epi8(LoadHalves(src, src + 12), order),
                       _mm256_shuffle_epi8(LoadHalves(src + 24, src + 36), order),
                       _mm256_shuffle_epi8(LoadHalves(src + 48, src + 60), order),
                       _mm256_shuffle_epi8(LoadHalves(src + 72, src + 80), lateOrder)});
    }
    /// Of each vector 6 numbers of 4 bytes are left; they are turned to where they lie in the 3 vectors that go out.
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, const Colors& colors) {
        const Vector a = Turned(colors.v[0], _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0));
        const Vector b = Turned(colors.v[1], _mm256_setr_epi32(2, 4, 5, 6, 0, 0, 0, 1));
        const Vector c = Turned(colors.v[2], _mm256_setr_epi32(5, 6, 0, 0, 0, 1, 2, 4));
        const Vector d = Turned(colors.v[3], _mm256_setr_epi32(0, 0, 0, 1, 2, 4, 5, 6));
        out(dst, _mm256_blend_epi32(a, b, 0xC0));
        out(dst + 32, _mm256_blend_epi32(b, c, 0xF0));
        out(dst + 64, _mm256_blend_epi32(c, d, 0xFC));
    }

private:
    ZBM_INLINE static Vector Turned(Vector colors, Vector order) {
        return _mm256_permutevar8x32_epi32(WithoutAlpha(colors), order);
    }
};
template <>
struct Pixels<shr::BGRA_32> {
    ZBM_INLINE static Colors Load(const uint8_t* src) { return LoadColors(src); }
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, const Colors& colors) {
        StoreColors(out, dst, colors);
    }
};
template <>
struct Pixels<shr::RGBA_32> {
    ZBM_INLINE static Colors Load(const uint8_t* src) { return Swapped(LoadColors(src)); }
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, const Colors& colors) {
        StoreColors(out, dst, Swapped(colors));
    }
};
template <>
struct Pixels<shr::BGRX_32> {
    ZBM_INLINE static Colors Load(const uint8_t* src) { return Opaque(LoadColors(src)); }
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, Colors colors) {
        for (Vector& v : colors.v) v = _mm256_and_si256(v, Bytes(kColorBits));
        StoreColors(out, dst, colors);
    }
};

}  // namespace
}  // namespace zbm

#if defined(__AVX512BW__)
#include "convert/Avx512Premultiplied.inl"
#endif

namespace zbm {
namespace {

// Channels are reckoned on in 16 bits: blue and red in one vector, green and alpha in another.
template <>
struct Pixels<shr::PBGRA_32> {
    ZBM_INLINE static Colors Load(const uint8_t* src) {
        Colors colors = LoadColors(src);
        if (IsOpaque(colors)) return colors;
#if defined(__AVX512BW__)
        return InWideVectors(colors, WideUnpremultiplied);
#else
        for (Vector& v : colors.v) v = Unpremultiplied(v);
        return colors;
#endif
    }
    template <class Out>
    ZBM_INLINE static void Store(Out out, uint8_t* dst, Colors colors) {
#if defined(__AVX512BW__)
        StoreColors(out, dst, InWideVectors(colors, WidePremultiplied));
#else
        for (Vector& v : colors.v) v = Premultiplied(v);
        StoreColors(out, dst, colors);
#endif
    }

private:
    /// Most of most pictures is.
    ZBM_INLINE static bool IsOpaque(const Colors& colors) {
        const Vector all =
            _mm256_and_si256(_mm256_and_si256(colors.v[0], colors.v[1]), _mm256_and_si256(colors.v[2], colors.v[3]));
        return _mm256_testc_si256(all, Bytes(kOpaque)) != 0;
    }
    ZBM_INLINE static Vector Joined(Vector blueRed, Vector greenAlpha) {
        return _mm256_or_si256(blueRed, _mm256_slli_epi16(greenAlpha, 8));
    }

    /// (c A + 127) / 255 is t * 257 >> 16, t being c A + 128. Alpha is multiplied by 255.
    ZBM_INLINE static Vector Premultiplied(Vector colors) {
        const Vector alphas =
            _mm256_shuffle_epi8(colors, _mm256_setr_epi8(3, -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1, 3,
                                                         -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1));
        const Vector blueRed = _mm256_and_si256(colors, Bytes(0x00FF00FF));
        const Vector greenAlpha = _mm256_srli_epi16(colors, 8);
        return Joined(Share(blueRed, alphas), Share(greenAlpha, _mm256_blend_epi16(alphas, Bytes(0x00FF00FF), 0xAA)));
    }
    ZBM_INLINE static Vector Share(Vector channels, Vector alphas) {
        const Vector t = _mm256_add_epi16(_mm256_mullo_epi16(channels, alphas), _mm256_set1_epi16(128));
        return _mm256_mulhi_epu16(t, _mm256_set1_epi16(257));
    }

    /// c * 255 / A is c * M >> 16 for any M from 255 * 65536 / A to 256 / A more; the division gives one such for every
    /// A (a test tries them all). Of M = 65536 W + F the product's lower byte is that of c W + (c F >> 16). By W = 1
    /// and F = 0 a channel stays as it is: alpha does, and by an M of 257 * 65536, which is larger than any other and
    /// takes the place of infinity, so do the colours where alpha is 0.
    ZBM_INLINE static Vector Unpremultiplied(Vector colors) {
        const __m256 alphas = _mm256_cvtepi32_ps(_mm256_srli_epi32(colors, 24));
        const __m256 quotients = _mm256_div_ps(_mm256_set1_ps(255 * 65536 + 128), alphas);
        const Vector factors = _mm256_cvtps_epi32(_mm256_min_ps(quotients, _mm256_set1_ps(257 * 65536)));
        const Vector fractions = _mm256_shuffle_epi8(factors, TwiceAWord(0));
        const Vector wholes = _mm256_shuffle_epi8(factors, TwiceAWord(2));
        const Vector blueRed = Product(_mm256_and_si256(colors, Bytes(0x00FF00FF)), wholes, fractions);
        // Green and alpha stay in the upper bytes of words, where what lies below them does no harm.
        const Vector greenAlpha =
            Product(_mm256_and_si256(colors, Bytes(0xFF00FF00)), _mm256_blend_epi16(wholes, Bytes(0x00010001), 0xAA),
                    _mm256_blend_epi16(fractions, _mm256_setzero_si256(), 0xAA));
        return _mm256_blendv_epi8(blueRed, greenAlpha, Bytes(0xFF00FF00));
    }
    ZBM_INLINE static Vector Product(Vector channels, Vector wholes, Vector fractions) {
        return _mm256_add_epi16(_mm256_mullo_epi16(channels, wholes), _mm256_mulhi_epu16(channels, fractions));
    }
    /// The order of bytes that repeats the word at byte `first` of each pixel.
    ZBM_INLINE static Vector TwiceAWord(int first) {
        const int word = first | (first + 1) << 8;
        const Vector inPixel = _mm256_set1_epi32(word | word << 16);
        return _mm256_add_epi8(
            inPixel, _mm256_setr_epi32(0, 0x04040404, 0x08080808, 0x0C0C0C0C, 0, 0x04040404, 0x08080808, 0x0C0C0C0C));
    }
};

}  // namespace
}  // namespace zbm

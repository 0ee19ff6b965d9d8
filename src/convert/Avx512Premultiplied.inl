// The arithmetic of premultiplied pixels on vectors of 64 bytes; see Pixels<PBGRA_32> in Avx2Pixels.inl, whose it is.
namespace zbm {
namespace {

using Wide = __m512i;

constexpr __mmask32 kUpperWords = 0xAAAAAAAA;
constexpr __mmask64 kUpperBytes = 0xAAAAAAAAAAAAAAAA;

/// What `change` makes of colours, two vectors at a time.
template <class Change>
ZBM_INLINE Colors InWideVectors(const Colors& colors, Change change) {
    Colors changed;
    for (int i = 0; i < 4; i += 2) {
        const Wide both =
            change(_mm512_maskz_inserti64x4(0xFF, _mm512_castsi256_si512(colors.v[i]), colors.v[i + 1], 1));
        changed.v[i] = _mm512_maskz_extracti64x4_epi64(0xF, both, 0);
        changed.v[i + 1] = _mm512_maskz_extracti64x4_epi64(0xF, both, 1);
    }
    return changed;
}

/// The order of bytes that repeats bytes `low` and `high` of each pixel; 0x80 for none.
ZBM_INLINE Wide TwiceInPixel(int low, int high) {
    const int step = (low < 0x80 ? 4 : 0) | (high < 0x80 ? 0x400 : 0), twice = low | high << 8;
    const auto inPixel = [&](int pixel) {
        return static_cast<int>(static_cast<unsigned>(twice + step * pixel) * 0x10001);
    };
    return _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_setr_epi32(inPixel(0), inPixel(1), inPixel(2), inPixel(3)));
}

ZBM_INLINE Wide WideShare(Wide channels, Wide alphas) {
    const Wide t = _mm512_add_epi16(_mm512_mullo_epi16(channels, alphas), _mm512_set1_epi16(128));
    return _mm512_mulhi_epu16(t, _mm512_set1_epi16(257));
}

ZBM_INLINE Wide WidePremultiplied(Wide colors) {
    const Wide alphas = _mm512_shuffle_epi8(colors, TwiceInPixel(3, 0x80)), low = _mm512_set1_epi32(0x00FF00FF);
    const Wide blueRed = WideShare(_mm512_and_si512(colors, low), alphas);
    const Wide greenAlpha = WideShare(_mm512_srli_epi16(colors, 8), _mm512_mask_blend_epi16(kUpperWords, alphas, low));
    return _mm512_or_si512(blueRed, _mm512_slli_epi16(greenAlpha, 8));
}

ZBM_INLINE Wide WideProduct(Wide channels, Wide wholes, Wide fractions) {
    return _mm512_add_epi16(_mm512_mullo_epi16(channels, wholes), _mm512_mulhi_epu16(channels, fractions));
}

/// (A reciprocal and a step of Newton's are off by a few parts in 2^27, where parts in 2^17 are right.)
ZBM_INLINE Wide WideUnpremultiplied(Wide colors) {
    const __m512 alphas = _mm512_maskz_cvtepi32_ps(0xFFFF, _mm512_maskz_srli_epi32(0xFFFF, colors, 24));
    const __m512 nearly = _mm512_maskz_rcp14_ps(0xFFFF, alphas);
    const __m512 reciprocals = _mm512_mul_ps(nearly, _mm512_fnmadd_ps(alphas, nearly, _mm512_set1_ps(2)));
    const __m512 quotients = _mm512_mul_ps(reciprocals, _mm512_set1_ps(255 * 65536 + 128));
    // Where alpha is 0 the quotient is no number, and the other operand is taken.
    const __m512 limited = _mm512_maskz_min_ps(0xFFFF, quotients, _mm512_set1_ps(257 * 65536));
    const Wide factors = _mm512_maskz_cvtps_epi32(0xFFFF, limited);
    const Wide fractions = _mm512_shuffle_epi8(factors, TwiceInPixel(0, 1));
    const Wide wholes = _mm512_shuffle_epi8(factors, TwiceInPixel(2, 3));
    const Wide blueRed = WideProduct(_mm512_and_si512(colors, _mm512_set1_epi32(0x00FF00FF)), wholes, fractions);
    const Wide greenAlpha = WideProduct(_mm512_and_si512(colors, _mm512_set1_epi32(static_cast<int>(0xFF00FF00))),
                                        _mm512_mask_blend_epi16(kUpperWords, wholes, _mm512_set1_epi16(1)),
                                        _mm512_maskz_mov_epi16(~kUpperWords, fractions));
    return _mm512_mask_blend_epi8(kUpperBytes, blueRed, greenAlpha);
}

}  // namespace
}  // namespace zbm

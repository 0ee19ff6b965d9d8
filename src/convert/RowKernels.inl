// Kernels of the converter: which value a pair of formats meets in, and the table of all pairs.
//
// The formats themselves are described once a level, in PlainPixels.inl or Avx2Pixels.inl: how a block of 32 pixels is
// read into one of three values and written back from it,
//     Levels   32 bytes: grey levels of 8 bits, or indices,
//     Words    32 numbers of 16 bits: grey levels,
//     Colors   32 numbers of 32 bits: pixels of BGRA_32, or any others of that size.
//
// Everything has internal linkage and nothing of the standard library is called, so no copy compiled for a wide level
// can stand in for another.
#include <cstring>
#include <utility>

#include "convert/RowKernels.h"
#include "cpu/PackIndices.inl"

#if defined(__GNUC__)
#define ZBM_INLINE [[gnu::always_inline]] inline  // values of a block are to stay in registers
#else
#define ZBM_INLINE inline
#endif

namespace zbm {
namespace {

using shr::ColorFormat;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr uint32_t kOpaque = 0xFF000000;
constexpr uint32_t kColorBits = 0x00FFFFFF;

// Luminance is S = 299 R + 587 G + 114 B, 0 .. 255000. Each constant below gives the floor of a quotient, as the upper
// part of a product, for all values of S; a test tries them all.
constexpr int kRedWeight = 299, kGreenWeight = 587, kBlueWeight = 114;
constexpr uint32_t kWhite = 255000, kHalfWhite = kWhite / 2;

/// How a format is read and written at this level.
template <ColorFormat>
struct Pixels;

}  // namespace
}  // namespace zbm

#if defined(__AVX2__)
#include "convert/Avx2Pixels.inl"
#else
#include "convert/PlainPixels.inl"
#endif

namespace zbm {
namespace {

// For the compiler alone: code that runs would bring what is called here, with weak linkage.
constexpr bool IsGrey(ColorFormat format) { return shr::TraitsOf(format).IsGrey(); }
constexpr bool IsIndexed(ColorFormat format) { return shr::TraitsOf(format).IsIndexed(); }
constexpr bool IsColor(ColorFormat format) { return shr::TraitsOf(format).IsColor(); }
constexpr bool HasAlpha(ColorFormat format) { return shr::TraitsOf(format).hasAlphaChannel; }
constexpr int BitsPerPixel(ColorFormat format) { return shr::TraitsOf(format).bitsPerPixel; }

struct Pair {
    ColorFormat dst, src;
};

/// The grey format of an index's width, and back.
constexpr ColorFormat GreyLike(ColorFormat indexed) {
    return shr::FormatOf(shr::FormatKind::grey, BitsPerPixel(indexed));
}
constexpr ColorFormat IndexedLike(ColorFormat grey) {
    return shr::FormatOf(shr::FormatKind::indexed, BitsPerPixel(grey));
}

/// Indices into a wider table stay as they are; grey levels narrow to the width of the index.
constexpr Pair PairOfIndices(Pair pair) {
    if (IsIndexed(pair.src)) return pair;
    const bool isWider = BitsPerPixel(pair.dst) > BitsPerPixel(pair.src);
    return isWider ? Pair{pair.dst, IndexedLike(pair.src)} : Pair{GreyLike(pair.dst), pair.src};
}

/// Pairs that give the same bytes share a kernel: this one's. Where its formats are equal, that copies.
constexpr Pair SharedPair(Pair pair) {
    const auto [dst, src] = pair;
    if (IsIndexed(dst)) return PairOfIndices(pair);
    if (IsIndexed(src)) return {IsColor(dst) && dst != shr::BGR_24 ? shr::GRAYSCALE_32 : dst, src};
    if (IsGrey(src) && dst == shr::RGBA_32) return {shr::BGRA_32, src};
    if (IsColor(src) && IsGrey(dst) && src == shr::BGRX_32) return {dst, shr::BGRA_32};
    if (!HasAlpha(src) && dst == shr::PBGRA_32) return {shr::BGRA_32, src};
    return pair;
}

constexpr bool IsConverted(Pair pair) {
    if (!shr::IsColorFormat(pair.dst) || !shr::IsColorFormat(pair.src)) return false;
    if (!IsIndexed(pair.dst)) return true;
    return IsGrey(pair.src) || (IsIndexed(pair.src) && pair.src <= pair.dst);  // the others are quantized
}

template <ColorFormat Dst, ColorFormat Src, class Out>
ZBM_INLINE void ConvertBlock(Out out, uint8_t* __restrict dst, const uint8_t* __restrict src, const IndexMap* map) {
    using shr::GRAYSCALE_16, shr::GRAYSCALE_32;
    using To = Pixels<Dst>;
    using From = Pixels<Src>;
    if constexpr (IsIndexed(Dst)) {
        To::StoreIndices(out, dst, From::LoadIndices(src));
    } else if constexpr (IsIndexed(Src) && Dst == GRAYSCALE_16) {
        To::Store(out, dst, From::MapToWords(src, *map));
    } else if constexpr (IsIndexed(Src) && (Dst == GRAYSCALE_32 || IsColor(Dst))) {
        To::Store(out, dst, From::MapToColors(src, *map));
    } else if constexpr (IsIndexed(Src)) {
        To::StoreLevels(out, dst, From::MapToLevels(src, *map));
    } else if constexpr ((Dst == GRAYSCALE_32 && Src == GRAYSCALE_16) || (Dst == GRAYSCALE_16 && Src == GRAYSCALE_32)) {
        To::Store(out, dst, HighWords(From::Load(src)));
    } else if constexpr (IsGrey(Dst) && IsGrey(Src)) {
        To::StoreLevels(out, dst, From::LoadLevels(src));
    } else if constexpr (IsGrey(Dst)) {
        To::template StoreLuminance<Src>(out, dst, src);
    } else if constexpr (IsGrey(Src)) {
        To::Store(out, dst, From::LoadGreys(src));
    } else {
        To::Store(out, dst, From::Load(src));
    }
}

template <ColorFormat Dst, ColorFormat Src, class Out>
void ConvertBlocks(uint8_t* __restrict dst, const uint8_t* __restrict src, size_t blocks,
                   const IndexMap* __restrict map) {
    if constexpr (Dst == Src) {
        std::memcpy(dst, src, blocks * BlockBytes(BitsPerPixel(Dst)));
    } else {
        for (size_t i = 0; i < blocks; ++i)
            ConvertBlock<Dst, Src>(Out(), dst + i * BlockBytes(BitsPerPixel(Dst)),
                                   src + i * BlockBytes(BitsPerPixel(Src)), map);
    }
}

template <size_t Dst, size_t Src, class Out>
constexpr BlockKernel* KernelOf() {
    constexpr Pair kPair{static_cast<ColorFormat>(Dst), static_cast<ColorFormat>(Src)};
    if constexpr (IsConverted(kPair)) {
        constexpr Pair kShared = SharedPair(kPair);
        // Rows of packed pixels are too small to be worth it.
        if constexpr (Out::kIsOffered && (Out::kIsCached || BitsPerPixel(kPair.dst) >= 8))
            return &ConvertBlocks<kShared.dst, kShared.src, Out>;
    }
    return nullptr;
}

template <class Out, size_t Dst, size_t... Src>
constexpr void FillRow(BlockKernel* (&row)[shr::kColorFormats], std::index_sequence<Src...>) {
    ((row[Src] = KernelOf<Dst, Src, Out>()), ...);
}
template <class Out, size_t... Dst>
constexpr void FillTable(BlockKernel* (&table)[shr::kColorFormats][shr::kColorFormats], std::index_sequence<Dst...>) {
    (FillRow<Out, Dst>(table[Dst], std::make_index_sequence<shr::kColorFormats>()), ...);
}
constexpr RowKernels MakeKernels() {
    RowKernels kernels{};
    FillTable<ToCache>(kernels.convert, std::make_index_sequence<shr::kColorFormats>());
    FillTable<PastCache>(kernels.stream, std::make_index_sequence<shr::kColorFormats>());
    return kernels;
}
constexpr RowKernels kKernels = MakeKernels();

}  // namespace
}  // namespace zbm

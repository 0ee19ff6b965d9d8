// Vectors as the kernels on pixels use them: one kernel is compiled for each instruction-set level, and thin functions
// stand for what the level has. Internal to each file that includes it; nothing here has weak linkage.
//
//     level      Vec       by
//     base       16 bytes  SSE2, which every 64-bit x86 has; elsewhere there are none, and kernels have plain loops
//     avx2       32 bytes  AVX2
//     avx512     64 bytes  AVX-512 (F, BW, DQ)
//
// SIMD_NO_VECTORS, for a test, leaves them out. SIMD_ALWAYS, of kernels that have no plain loops, makes plain words of
// 16 bytes where there would be none. SIMD_PLAIN_BYTES, for a test, makes plain words of them, as wide as it
// says: what a wide level computes can so be judged where no processor has it.
//
// Where there are vectors SIMD_HAS_VECTORS is defined; SIMD_HAS_SHUFFLES too where bytes can be moved about at will,
// which SSE2 cannot. Wide vectors are so many halves of 16 bytes, and what moves bytes does so within each, so that a
// kernel is the same for all widths; the exceptions say so.
//
//   Load, Store                          from and to memory at any address
//   StorePastCaches                      to a multiple of kVecBytes; others see it after FinishStores
//   FetchAhead                           has a line of the caches fetched that is soon loaded; any address will do
//   Zero, Splat8, Splat16, Splat32, Splat64, Splat128
//   And, Or, AndNot(without, a)
//   Min8, Max8, MinSigned16
//   Blend(a, b, fromB)                   bytes of b where fromB is all ones, of a where it is 0
//   Add16, Multiply16, Add32             modulo their size
//   AddSaturated16, SubtractSaturated16  unsigned
//   MultiplyHigh16                       the upper halves of unsigned products
//   MultiplyAdd16                        sums of two products of neighbours, signed, in 32 bits
//   MultiplyEven32                       products of the even lanes, unsigned, in 64 bits
//   IsAnyGreater32                       whether a lane of a is greater than that of b, signed
//   MaskBitsOfSigns<n>(a), LanesOfMaskBits<n>(bits)  of the 32-bit lanes of pixels n and on, a bit of a mask each, and
//                                        lanes of all ones where such a bit is set; `bits` are in every lane. Each
//                                        eight pixels are a byte, its highest bit the first of them
//   ShiftRight16, ShiftRight32, ShiftRightSigned32 (a, by), ShiftLeft16<by>, ShiftRight16<by>, ...: a constant saves
//                                        half of the work
//   InterleaveLow8, InterleaveHigh8, ... lanes of a and b by turns, of the lower or upper halves
//   PackSigned32                         to 16 bits, signed, clamped: those of a, then those of b
//   PackToBytes                          from 16 bits, signed, clamped to bytes
//   FirstInOrder, SecondInOrder          what InterleaveLow and InterleaveHigh gave, in the order of memory
//   PackToBytesInOrder                   packs two such again
//   Shifted<n>(a, b)                     the pixels of a, in the order of memory, without the first n, and then the
//                                        first n of b
//   SpreadLowByte                        each 32-bit lane's low byte in its three lower bytes; the others must be 0
//   PairFactors                          two signed factors for the bytes of a pair; sums of both products must lie
//                                        within 16 bits, signed
//   MergeChannels                        pixels of channels of 32 bits, signed, each clamped to a byte
//
// With shuffles:
//   MultiplyAdd8(a, b)                   sums of products of pairs: bytes of a times signed ones of b; they must lie
//                                        within 16 bits, signed
//   Shuffle8(a, first, second)           the bytes that have these numbers, the lowest first; 0 for 0x80
//   MultiplyRounded16                    products, signed, in whole parts of 2^15, to nearest
//   AreAllOpaque                         whether all pixels are
//   StoreFoursAsDoubles<step>(to, a)     each four lanes of 32 bits, `step` doubles behind those before
//   StoreFoursAsDoubles<step>(to, high, low)  of high * 256 + low, below 2^53
//   OddLanes32(a, b)                     the odd lanes of a, then those of b
//   EvenThenOdd32                        the even lanes, then the odd ones
//   Alternate16(a, b)                    even lanes of a and odd ones of b
//
// Floats and Doubles, as wide as a Vec. Floats are multiplied and added in one step or in two, as the level has it:
// only for sums whose rounding does not tell.
//   LoadFloats, StoreFloats, SplatFloats, AddFloats, MultiplyFloats, AddProduct, ToFloats
//   ShiftedFloats<n>(a, b)               as Shifted
//   Nearest32, Truncated32               to whole numbers
//   Reciprocals                          to some 22 bits
//   LastOfFour, WithLastOfFour(a, last)  the last of each four in all their places; the last ones of another
//   IsAnyZero, WhereZero(tested, a, otherwise)
//   LoadAsDoubles                        from half as many floats
//   SplatDoubles, AddDoubles, MultiplyDoubles, DivideDoubles, MinDoubles, MaxDoubles
//   Truncated32(low, high)               of both halves of a Vec
#include <cstddef>
#include <cstdint>

namespace simd {}

#if defined(SIMD_ALWAYS) && !defined(SIMD_PLAIN_BYTES) && \
    (defined(SIMD_NO_VECTORS) || !(defined(__SSE2__) || defined(_M_X64)))
#define SIMD_PLAIN_BYTES 16
#endif

#if defined(SIMD_PLAIN_BYTES)
#define SIMD_HAS_VECTORS
#define SIMD_HAS_SHUFFLES
#include "simd/VectorsPlain.inl"
#elif defined(SIMD_NO_VECTORS)
#elif defined(__AVX512BW__) && defined(__AVX512DQ__)
#define SIMD_HAS_VECTORS
#define SIMD_HAS_SHUFFLES
#include "simd/VectorsAvx512.inl"
#elif defined(__AVX2__)
#define SIMD_HAS_VECTORS
#define SIMD_HAS_SHUFFLES
#include "simd/VectorsAvx2.inl"
#elif defined(__SSE2__) || defined(_M_X64)
#define SIMD_HAS_VECTORS
#include "simd/VectorsSse2.inl"
#endif

#if defined(SIMD_HAS_VECTORS)

namespace simd {
namespace {

constexpr std::size_t kVecBytes = sizeof(Vec);
constexpr std::size_t kVecPixels = kVecBytes / 4;

/// The alpha byte of every pixel.
inline Vec AlphaBytes() { return Splat32(0xFF000000u); }

}  // namespace
}  // namespace simd

#endif

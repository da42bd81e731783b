// The block classifiers behind LcByteMasks, as inline functions, so that the
// manifest reader can build its skimming loop around each of them. Each
// looks for the first N initials of an LcInitials (N a constant, so that the
// comparisons unroll) and sets only those N masks of Initial. Those
// that need more than the baseline instruction set carry a target
// attribute: a caller must check the processor first and reach them through
// a function of the same target (or one marked flatten).
#ifndef TOOL_LCBYTEMASKKERNELS_H
#define TOOL_LCBYTEMASKKERNELS_H

#include "tool/LcByteMasks.h"

#include <cstring>

#if defined(__GNUC__) && defined(__x86_64__)
#define LC_MASKS_X86 1
#include <immintrin.h>
#endif

namespace lcmasks {

/// Eight bytes at a time in a 64-bit word.
struct Portable {
  static constexpr std::uint64_t Ones = 0x0101010101010101u;
  static constexpr std::uint64_t Low7 = 0x7F7F7F7F7F7F7F7Fu;
  static constexpr std::uint64_t High = 0x8080808080808080u;

  /// Bit 7 of every byte of Word that equals the byte Spread repeats.
  static std::uint64_t EqualBytes(std::uint64_t Word, std::uint64_t Spread) {
    std::uint64_t Diff = Word ^ Spread;
    // Bit 7 of (Diff & Low7) + Low7 is set when the low seven bits are not
    // all zero; no carry leaves a byte.
    return ~(((Diff & Low7) + Low7) | Diff) & High;
  }

  /// Gathers bit 7 of each byte of HighBits (the only bits set) into 8
  /// bits, byte I giving bit I. The multiplier's partial products never
  /// overlap, so no carry reaches the top byte.
  static std::uint64_t Gather(std::uint64_t HighBits) {
    return ((HighBits >> 7) * 0x0102040810204080u) >> 56;
  }

  template <std::size_t N>
  static void Classify(const char *Block, const LcInitials &Initials,
                       LcByteMasks &Masks) {
    std::uint64_t Newline = 0, Return = 0, Equals = 0;
    std::uint64_t Initial[LcInitials::MaxCount] = {};
    for (std::size_t Word = 0; Word < LcMaskBlockSize / 8; ++Word) {
      std::uint64_t Bytes;
      std::memcpy(&Bytes, Block + Word * 8, 8);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
      Bytes = __builtin_bswap64(Bytes);
#endif
      auto Shift = static_cast<unsigned>(Word * 8);
      Newline |= Gather(EqualBytes(Bytes, Ones * '\n')) << Shift;
      Return |= Gather(EqualBytes(Bytes, Ones * '\r')) << Shift;
      Equals |= Gather(EqualBytes(Bytes, Ones * '=')) << Shift;
      std::uint64_t Folded = Bytes | Ones * 0x20;
      for (std::size_t K = 0; K < N; ++K)
        Initial[K] |= Gather(EqualBytes(Folded, Ones * Initials.Folded[K]))
                      << Shift;
    }
    Masks.Newline = Newline;
    Masks.Return = Return;
    Masks.Equals = Equals;
    for (std::size_t K = 0; K < N; ++K)
      Masks.Initial[K] = Initial[K];
  }
};

#ifdef LC_MASKS_X86

/// SSE2, which every x86-64 processor has: four pieces of 16 bytes.
struct Sse2 {
  static std::uint64_t Bits(__m128i Bytes, __m128i Spread, unsigned Shift) {
    return static_cast<std::uint64_t>(static_cast<unsigned>(
               _mm_movemask_epi8(_mm_cmpeq_epi8(Bytes, Spread))))
           << Shift;
  }

  template <std::size_t N>
  static void Classify(const char *Block, const LcInitials &Initials,
                       LcByteMasks &Masks) {
    std::uint64_t Newline = 0, Return = 0, Equals = 0;
    std::uint64_t Initial[LcInitials::MaxCount] = {};
    const __m128i Case = _mm_set1_epi8(0x20);
    for (unsigned Part = 0; Part < 4; ++Part) {
      __m128i Bytes = _mm_loadu_si128(
          reinterpret_cast<const __m128i *>(Block + Part * 16));
      unsigned Shift = Part * 16;
      Newline |= Bits(Bytes, _mm_set1_epi8('\n'), Shift);
      Return |= Bits(Bytes, _mm_set1_epi8('\r'), Shift);
      Equals |= Bits(Bytes, _mm_set1_epi8('='), Shift);
      __m128i Folded = _mm_or_si128(Bytes, Case);
      for (std::size_t K = 0; K < N; ++K)
        Initial[K] |= Bits(
            Folded, _mm_set1_epi8(static_cast<char>(Initials.Folded[K])),
            Shift);
    }
    Masks.Newline = Newline;
    Masks.Return = Return;
    Masks.Equals = Equals;
    for (std::size_t K = 0; K < N; ++K)
      Masks.Initial[K] = Initial[K];
  }
};

/// AVX2: two pieces of 32 bytes.
struct Avx2 {
  __attribute__((target("avx2"))) static std::uint64_t
  Bits(__m256i Low, __m256i High, char Byte) {
    __m256i Spread = _mm256_set1_epi8(Byte);
    auto LowBits = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(Low, Spread)));
    auto HighBits = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(High, Spread)));
    return static_cast<std::uint64_t>(LowBits) |
           static_cast<std::uint64_t>(HighBits) << 32;
  }

  template <std::size_t N>
  __attribute__((target("avx2"))) static void
  Classify(const char *Block, const LcInitials &Initials, LcByteMasks &Masks) {
    __m256i Low = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(Block));
    __m256i High =
        _mm256_loadu_si256(reinterpret_cast<const __m256i *>(Block + 32));
    Masks.Newline = Bits(Low, High, '\n');
    Masks.Return = Bits(Low, High, '\r');
    Masks.Equals = Bits(Low, High, '=');
    const __m256i Case = _mm256_set1_epi8(0x20);
    __m256i FoldedLow = _mm256_or_si256(Low, Case);
    __m256i FoldedHigh = _mm256_or_si256(High, Case);
    for (std::size_t K = 0; K < N; ++K)
      Masks.Initial[K] =
          Bits(FoldedLow, FoldedHigh, static_cast<char>(Initials.Folded[K]));
  }
};

/// AVX-512 (byte and word instructions): the whole block at once, compared
/// straight into mask registers.
struct Avx512 {
  template <std::size_t N>
  __attribute__((target("avx512bw"))) static void
  Classify(const char *Block, const LcInitials &Initials, LcByteMasks &Masks) {
    __m512i Bytes = _mm512_loadu_si512(Block);
    Masks.Newline = _mm512_cmpeq_epi8_mask(Bytes, _mm512_set1_epi8('\n'));
    Masks.Return = _mm512_cmpeq_epi8_mask(Bytes, _mm512_set1_epi8('\r'));
    Masks.Equals = _mm512_cmpeq_epi8_mask(Bytes, _mm512_set1_epi8('='));
    __m512i Folded = _mm512_or_si512(Bytes, _mm512_set1_epi8(0x20));
    for (std::size_t K = 0; K < N; ++K)
      Masks.Initial[K] = _mm512_cmpeq_epi8_mask(
          Folded, _mm512_set1_epi8(static_cast<char>(Initials.Folded[K])));
  }
};

#endif

} // namespace lcmasks

#endif

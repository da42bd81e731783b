// Classification of manifest text 64 bytes at a time: bit masks of the line
// feeds, carriage returns, "=" signs and chosen key initials of a block, made
// with the widest vector instructions the processor offers.
#ifndef TOOL_LCBYTEMASKS_H
#define TOOL_LCBYTEMASKS_H

#include <cstddef>
#include <cstdint>
#include <vector>

/// Number of bytes one classification covers; bit I of a mask stands for
/// byte I.
constexpr std::size_t LcMaskBlockSize = 64;

/// The key initials a classification looks for. A byte matches initial K when
/// it equals Folded[K] once bit 5 (the ASCII case bit) is set in it, so an
/// initial stands for both cases of a letter.
struct LcInitials {
  static constexpr std::size_t MaxCount = 4;
  std::size_t Count = 0;
  /// Each with bit 5 set.
  unsigned char Folded[MaxCount] = {};
};

/// What a classification found in one block.
struct LcByteMasks {
  std::uint64_t Newline = 0;
  std::uint64_t Return = 0;
  std::uint64_t Equals = 0;
  /// Initial[K] for K < LcInitials::Count: the bytes that match initial K.
  std::uint64_t Initial[LcInitials::MaxCount] = {};
};

/// The ways of classifying a block, by the instructions they use.
enum class LcMaskKind {
  /// Eight bytes at a time in 64-bit words; runs anywhere.
  Portable,
  Sse2,
  Avx2,
  Avx512
};

/// Every kind this processor can run, the portable one first, the one
/// LcBestMaskKind picks last.
std::vector<LcMaskKind> LcMaskKindsForThisMachine();
/// The fastest kind this processor can run.
LcMaskKind LcBestMaskKind();
/// "portable", "sse2", "avx2" or "avx512".
const char *LcMaskKindName(LcMaskKind Kind);

/// Classifies the LcMaskBlockSize bytes at Block, all of which must be
/// readable, the way Kind does (which this processor must be able to run).
void LcClassifyBlock(LcMaskKind Kind, const char *Block,
                     const LcInitials &Initials, LcByteMasks &Masks);

#endif

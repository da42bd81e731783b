// Tests of the block classification: every kind this processor runs gives
// the masks a plain byte loop gives, for every byte value in every position
// and every number of initials.
#include "tool/LcByteMasks.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

/// The masks worked out byte by byte.
LcByteMasks Expected(const char *Block, const LcInitials &Initials) {
  LcByteMasks Masks;
  for (std::size_t I = 0; I < LcMaskBlockSize; ++I) {
    auto Byte = static_cast<unsigned char>(Block[I]);
    std::uint64_t Bit = std::uint64_t(1) << I;
    if (Byte == '\n')
      Masks.Newline |= Bit;
    if (Byte == '\r')
      Masks.Return |= Bit;
    if (Byte == '=')
      Masks.Equals |= Bit;
    for (std::size_t K = 0; K < Initials.Count; ++K)
      if ((Byte | 0x20) == Initials.Folded[K])
        Masks.Initial[K] |= Bit;
  }
  return Masks;
}

void ExpectSame(const LcByteMasks &Seen, const LcByteMasks &Wanted,
                const LcInitials &Initials, const std::string &Where) {
  EXPECT_EQ(Seen.Newline, Wanted.Newline) << Where;
  EXPECT_EQ(Seen.Return, Wanted.Return) << Where;
  EXPECT_EQ(Seen.Equals, Wanted.Equals) << Where;
  for (std::size_t K = 0; K < Initials.Count; ++K)
    EXPECT_EQ(Seen.Initial[K], Wanted.Initial[K]) << Where << ", initial " << K;
}

LcInitials MakeInitials(std::initializer_list<unsigned char> Folded) {
  LcInitials Initials;
  for (unsigned char F : Folded)
    Initials.Folded[Initials.Count++] = F;
  return Initials;
}

TEST(ByteMasks, PortableAndBaselineKindsAreAlwaysThere) {
  std::vector<LcMaskKind> Kinds = LcMaskKindsForThisMachine();
  ASSERT_FALSE(Kinds.empty());
  EXPECT_EQ(Kinds.front(), LcMaskKind::Portable);
  EXPECT_EQ(LcBestMaskKind(), Kinds.back());
  EXPECT_STREQ(LcMaskKindName(LcMaskKind::Portable), "portable");
  EXPECT_STREQ(LcMaskKindName(LcMaskKind::Sse2), "sse2");
  EXPECT_STREQ(LcMaskKindName(LcMaskKind::Avx2), "avx2");
  EXPECT_STREQ(LcMaskKindName(LcMaskKind::Avx512), "avx512");
}

TEST(ByteMasks, KindsAreThoseTheProcessorReportsItself) {
  // The program asks the C library; the compiler's own query asks the
  // processor. Both must name the same kinds.
  std::vector<LcMaskKind> Wanted{LcMaskKind::Portable};
#if defined(__GNUC__) && defined(__x86_64__)
  Wanted.push_back(LcMaskKind::Sse2);
  bool Bmi = __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
  if (Bmi && __builtin_cpu_supports("avx2"))
    Wanted.push_back(LcMaskKind::Avx2);
  if (Bmi && __builtin_cpu_supports("avx512bw"))
    Wanted.push_back(LcMaskKind::Avx512);
#endif
  EXPECT_EQ(LcMaskKindsForThisMachine(), Wanted);
}

TEST(ByteMasks, EveryByteInEveryPosition) {
  // The block holds one byte value at one place among bytes that match
  // nothing, then the same value everywhere.
  const LcInitials Initials = MakeInitials({'c', 'v', '`', 0xE0});
  for (LcMaskKind Kind : LcMaskKindsForThisMachine())
    for (unsigned Value = 0; Value < 256; ++Value) {
      for (std::size_t At = 0; At < LcMaskBlockSize; ++At) {
        std::string Block(LcMaskBlockSize, 'y');
        Block[At] = static_cast<char>(Value);
        LcByteMasks Seen;
        LcClassifyBlock(Kind, Block.data(), Initials, Seen);
        ExpectSame(Seen, Expected(Block.data(), Initials), Initials,
                   std::string(LcMaskKindName(Kind)) + ", byte " +
                       std::to_string(Value) + " at " + std::to_string(At));
        if (HasFailure())
          return;
      }
      std::string Block(LcMaskBlockSize, static_cast<char>(Value));
      LcByteMasks Seen;
      LcClassifyBlock(Kind, Block.data(), Initials, Seen);
      ExpectSame(Seen, Expected(Block.data(), Initials), Initials,
                 std::string(LcMaskKindName(Kind)) + ", all bytes " +
                     std::to_string(Value));
    }
}

TEST(ByteMasks, RandomBlocksWithEachNumberOfInitials) {
  std::mt19937 Random(5);
  const char Alphabet[] = "\n\r=cCvVpPgGdD\x80\xFF\x00 x";
  const LcInitials Sets[] = {
      MakeInitials({}), MakeInitials({'c'}), MakeInitials({'c', 'v'}),
      MakeInitials({'c', 'v', 'p'}), MakeInitials({'c', 'p', 'd', 'v'})};
  for (int Round = 0; Round < 2000; ++Round) {
    std::string Buffer(LcMaskBlockSize + 1, ' ');
    for (char &C : Buffer)
      C = Alphabet[std::uniform_int_distribution<std::size_t>(
          0, sizeof Alphabet - 2)(Random)];
    // Unaligned as well as aligned.
    const char *Block = Buffer.data() + Round % 2;
    for (const LcInitials &Initials : Sets)
      for (LcMaskKind Kind : LcMaskKindsForThisMachine()) {
        LcByteMasks Seen;
        LcClassifyBlock(Kind, Block, Initials, Seen);
        ExpectSame(Seen, Expected(Block, Initials), Initials,
                   std::string(LcMaskKindName(Kind)) + ", round " +
                       std::to_string(Round) + ", " +
                       std::to_string(Initials.Count) + " initials");
        if (HasFailure())
          return;
      }
  }
}

} // namespace

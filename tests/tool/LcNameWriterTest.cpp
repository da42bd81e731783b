// Tests of the name writer: every name reaches the sink whole and in order,
// followed by "\n", whatever its length; pieces stay below the writer's piece
// size, but for a name too long for one, which goes by itself.
#include "tool/LcPassOutput.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// A sink that keeps every piece; it fails from piece FailFrom on.
struct RecordingSink {
  std::vector<std::string> Pieces;
  std::size_t FailFrom = static_cast<std::size_t>(-1);

  static bool Write(void *Context, const char *Data, std::size_t Size) {
    auto &Self = *static_cast<RecordingSink *>(Context);
    if (Self.Pieces.size() >= Self.FailFrom)
      return false;
    Self.Pieces.emplace_back(Data, Size);
    return true;
  }
  LcNameSink Sink() { return LcNameSink{&RecordingSink::Write, this}; }
  std::string All() const {
    std::string Text;
    for (const std::string &Piece : Pieces)
      Text += Piece;
    return Text;
  }
};

/// A name of Size bytes that tells its length and place apart.
std::string NameOf(std::size_t Size, std::size_t Index) {
  std::string Name(Size, 'a');
  for (std::size_t I = 0; I < Size; ++I)
    Name[I] = static_cast<char>('a' + (I * 7 + Index) % 26);
  return Name;
}

TEST(NameWriter, NamesOfEveryShortLengthArriveWhole) {
  RecordingSink Out;
  std::string Expected;
  {
    LcNameWriter Writer(Out.Sink());
    for (std::size_t Size = 0; Size <= 80; ++Size) {
      std::string Name = NameOf(Size, Size);
      ASSERT_TRUE(Writer.Add(Name));
      Expected += Name + "\n";
    }
    EXPECT_TRUE(Out.Pieces.empty());
    ASSERT_TRUE(Writer.Flush());
  }
  ASSERT_EQ(Out.Pieces.size(), 1u);
  EXPECT_EQ(Out.Pieces[0], Expected);
}

TEST(NameWriter, PiecesFillUpToTheirSizeAndKeepTheOrder) {
  RecordingSink Out;
  std::string Expected;
  LcNameWriter Writer(Out.Sink());
  // Names of 1 to 40 bytes, over several pieces.
  for (std::size_t I = 0; Expected.size() < 5 * LcNameWriter::ChunkSize; ++I) {
    std::string Name = NameOf(1 + I % 40, I);
    ASSERT_TRUE(Writer.Add(Name));
    Expected += Name + "\n";
  }
  ASSERT_TRUE(Writer.Flush());
  EXPECT_EQ(Out.All(), Expected);
  ASSERT_GE(Out.Pieces.size(), 5u);
  for (const std::string &Piece : Out.Pieces) {
    EXPECT_LT(Piece.size(), LcNameWriter::ChunkSize);
    EXPECT_EQ(Piece.back(), '\n');
  }
  // A piece is handed over only when the next name does not fit in it.
  for (std::size_t I = 0; I + 1 < Out.Pieces.size(); ++I)
    EXPECT_GT(Out.Pieces[I].size(), LcNameWriter::ChunkSize - 42) << I;
}

TEST(NameWriter, ANameTooLongForAPieceGoesByItself) {
  RecordingSink Out;
  LcNameWriter Writer(Out.Sink());
  const std::string Long(LcNameWriter::ChunkSize, 'L');
  ASSERT_TRUE(Writer.Add("before"));
  ASSERT_TRUE(Writer.Add(Long));
  ASSERT_TRUE(Writer.Add("after"));
  ASSERT_TRUE(Writer.Flush());
  EXPECT_EQ(Out.Pieces, (std::vector<std::string>{"before\n", Long, "\n",
                                                  "after\n"}));
}

TEST(NameWriter, AFailedWriteIsAnswered) {
  RecordingSink Out;
  Out.FailFrom = 1;
  LcNameWriter Writer(Out.Sink());
  std::size_t Added = 0;
  bool Good = true;
  while (Good && Added < 10 * LcNameWriter::ChunkSize) {
    Good = Writer.Add(NameOf(20, Added));
    ++Added;
  }
  EXPECT_FALSE(Good);
  ASSERT_EQ(Out.Pieces.size(), 1u);
  EXPECT_FALSE(Writer.Flush());
}

} // namespace

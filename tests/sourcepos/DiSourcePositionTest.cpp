// Tests of source positions: ordering, text form, the line sequence and its
// builder, and ranges.
#include "sourcepos/DiSourcePosition.h"

#include "tests/support/FailureScope.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using testsupport::InternalFailure;
using testsupport::ThrowingFailureScope;

const DiSourcePosition &None = DiSourcePosition::sNone;
const DiSourcePosition &End = DiSourcePosition::sEnd;

/// A sequence of one file "name" with 5 lines.
class OneFileSequence {
public:
  OneFileSequence() {
    OgSourceLineSequence::Builder Build(Seq);
    Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile("name")));
    Build.EndFile(5);
  }
  DiSourcePosition At(std::uint32_t Line, std::uint32_t Column) const {
    return DiSourcePosition(Base + Line - 1, Column, &Seq);
  }

  OgSourceLineSequence Seq;
  std::uint32_t Base = 0;
};

//===----------------------------------------------------------------------===//
// Ordering
//===----------------------------------------------------------------------===//

TEST(DiSourcePositionOrderTest, Table) {
  OneFileSequence S;
  const DiSourcePosition L1C1 = S.At(1, 1);
  const DiSourcePosition L1C5 = S.At(1, 5);
  const DiSourcePosition L2C0 = S.At(2, 0);
  const DiSourcePosition L5C9 = S.At(5, 9);
  struct Case {
    const char *Name;
    const DiSourcePosition &A;
    const DiSourcePosition &B;
    bool Before;
  };
  const Case Cases[] = {
      {"sNone < sEnd", None, End, true},
      {"sEnd < sNone", End, None, false},
      {"sNone < sNone", None, None, false},
      {"sEnd < sEnd", End, End, false},
      {"sNone < real", None, L1C1, true},
      {"real < sNone", L1C1, None, false},
      {"real < sEnd", L5C9, End, true},
      {"sEnd < real", End, L1C1, false},
      {"same line, smaller column", L1C1, L1C5, true},
      {"same line, larger column", L1C5, L1C1, false},
      {"same place", L1C5, L1C5, false},
      {"earlier line, larger column", L1C5, L2C0, true},
      {"later line, smaller column", L2C0, L1C5, false},
      {"first and last", L1C1, L5C9, true},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(C.A < C.B, C.Before) << C.Name;
}

TEST(DiSourcePositionOrderTest, ReservedPositionsNeedNoSequence) {
  ThrowingFailureScope Scope;
  EXPECT_EQ(None.Sequence(), nullptr);
  EXPECT_EQ(End.Sequence(), nullptr);
  OneFileSequence S;
  OneFileSequence Other;
  EXPECT_TRUE(None < S.At(1, 1));
  EXPECT_TRUE(None < Other.At(1, 1));
  EXPECT_TRUE(S.At(3, 1) < End);
  EXPECT_TRUE(Other.At(3, 1) < End);
}

TEST(DiSourcePositionOrderTest, DifferentSequencesAreAnInternalFailure) {
  ThrowingFailureScope Scope;
  OneFileSequence First;
  OneFileSequence Second;
  try {
    (void)(First.At(1, 1) < Second.At(2, 1));
    FAIL() << "no internal failure";
  } catch (const InternalFailure &Failure) {
    EXPECT_STREQ(Failure.what(), "Comparison of source positions from "
                                 "different source line sequences.");
  }
  EXPECT_THROW((void)(Second.At(1, 1) < First.At(1, 1)), InternalFailure);
}

TEST(DiSourcePositionOrderTest, EqualityComparesAllThreeFields) {
  OneFileSequence S;
  OneFileSequence Other;
  EXPECT_EQ(S.At(2, 3), S.At(2, 3));
  EXPECT_NE(S.At(2, 3), S.At(2, 4));
  EXPECT_NE(S.At(2, 3), S.At(3, 3));
  EXPECT_NE(S.At(2, 3), Other.At(2, 3));
  EXPECT_NE(None, End);
  EXPECT_EQ(None, DiSourcePosition::sNone);
  EXPECT_TRUE(None.IsNone());
  EXPECT_FALSE(None.IsEnd());
  EXPECT_TRUE(End.IsEnd());
  EXPECT_FALSE(S.At(1, 1).IsNone());
  EXPECT_FALSE(S.At(1, 1).IsEnd());
}

//===----------------------------------------------------------------------===//
// Text form
//===----------------------------------------------------------------------===//

TEST(DiSourcePositionTextTest, ReservedPositions) {
  for (bool ShowFile : {false, true}) {
    EXPECT_EQ(None.Text(ShowFile), "sNone");
    EXPECT_EQ(End.Text(ShowFile), "sEnd");
  }
}

TEST(DiSourcePositionTextTest, EmptySequenceIsAtEndOfSource) {
  OgSourceLineSequence Empty;
  const DiSourcePosition Pos(0, 0, &Empty);
  EXPECT_TRUE(Pos.IsAtEndOfSource());
  EXPECT_EQ(Pos.Text(false), "at end of source");
  EXPECT_EQ(Pos.Text(true), "at end of source");
  EXPECT_EQ(Pos.File(), nullptr);
  EXPECT_EQ(Pos.Line(), 0u);
}

TEST(DiSourcePositionTextTest, LineAndColumnWithAndWithoutFile) {
  OneFileSequence S;
  EXPECT_EQ(S.At(3, 5).Text(true), "name\\3:5");
  EXPECT_EQ(S.At(3, 5).Text(false), "3:5");
  EXPECT_EQ(S.At(1, 0).Text(true), "name\\1:0");
  EXPECT_EQ(DiSourcePosition(5, 1, &S.Seq).Text(true), "at end of source");
}

//===----------------------------------------------------------------------===//
// Sequence and builder
//===----------------------------------------------------------------------===//

TEST(OgSourceLineSequenceTest, TwoFilesOneAfterTheOther) {
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  GeRcPtr<DiFile> A(new DiFile("a.xcl", 1, 2, 3));
  GeRcPtr<DiFile> B(new DiFile("dir/b.xcl"));
  EXPECT_EQ(Build.BeginFile(A), 0u);
  Build.EndFile(3);
  EXPECT_EQ(Build.BeginFile(B), 3u);
  Build.EndFile(2);

  struct Case {
    std::uint32_t Index;
    const DiFile *File;
    std::uint32_t Line;
    bool AtEnd;
  };
  const Case Cases[] = {
      {0, A.get(), 1, false},          {1, A.get(), 2, false},
      {2, A.get(), 3, false},          {3, B.get(), 1, false},
      {4, B.get(), 2, false},          {5, nullptr, 0, true},
      {6, nullptr, 0, true},           {100, nullptr, 0, true},
      {0xFFFFFFF0u, nullptr, 0, true},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(Seq.File(C.Index), C.File) << C.Index;
    EXPECT_EQ(Seq.LineNumber(C.Index), C.Line) << C.Index;
    EXPECT_EQ(Seq.IsAtEnd(C.Index), C.AtEnd) << C.Index;
    const DiSourcePosition Pos(C.Index, 7, &Seq);
    EXPECT_EQ(Pos.IsAtEndOfSource(), C.AtEnd) << C.Index;
    EXPECT_EQ(Pos.File(), C.File) << C.Index;
    EXPECT_EQ(Pos.Line(), C.Line) << C.Index;
  }
  EXPECT_EQ(DiSourcePosition(4, 2, &Seq).Text(true), "dir/b.xcl\\2:2");
  EXPECT_EQ(A->Value(0), 1u);
  EXPECT_EQ(A->Value(1), 2u);
  EXPECT_EQ(A->Value(2), 3u);
  EXPECT_EQ(B->Path(), "dir/b.xcl");
  EXPECT_EQ(B->Name(), "dir/b.xcl");
}

TEST(OgSourceLineSequenceTest, EmptyFileStillTakesOneIndex) {
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  GeRcPtr<DiFile> Empty(new DiFile("empty"));
  GeRcPtr<DiFile> Next(new DiFile("next"));
  EXPECT_EQ(Build.BeginFile(Empty), 0u);
  Build.EndFile(0);
  EXPECT_EQ(Build.BeginFile(Next), 1u);
  Build.EndFile(1);
  EXPECT_EQ(Seq.File(0), Empty.get());
  EXPECT_EQ(Seq.LineNumber(0), 1u);
  EXPECT_EQ(Seq.File(1), Next.get());
  EXPECT_TRUE(Seq.IsAtEnd(2));
}

TEST(OgSourceLineSequenceTest, FileOpenWithoutEndCoversLaterIndexes) {
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  GeRcPtr<DiFile> A(new DiFile("a"));
  Build.BeginFile(A);
  EXPECT_FALSE(Seq.IsAtEnd(0));
  EXPECT_EQ(Seq.LineNumber(41), 42u);
}

TEST(OgSourceLineSequenceTest, ClearStartsAfresh) {
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  GeRcPtr<DiFile> A(new DiFile("a"));
  Build.BeginFile(A);
  Build.SetLineText(1, "second");
  Build.EndFile(5);
  Seq.Clear();
  std::string Text = "untouched";
  EXPECT_EQ(Seq.File(0), nullptr);
  EXPECT_TRUE(Seq.IsAtEnd(0));
  EXPECT_EQ(Seq.LineNumber(1), 0u);
  EXPECT_FALSE(Seq.LineText(1, Text));
  EXPECT_EQ(Text, "untouched");
  EXPECT_EQ(A->UseCount(), 1u);

  GeRcPtr<DiFile> B(new DiFile("b"));
  EXPECT_EQ(Build.BeginFile(B), 0u);
  Build.EndFile(2);
  EXPECT_EQ(Seq.File(1), B.get());
  EXPECT_EQ(Seq.LineNumber(1), 2u);
  EXPECT_TRUE(Seq.IsAtEnd(2));
}

TEST(OgSourceLineSequenceTest, LineTexts) {
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  const std::uint32_t Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile("a")));
  Build.SetLineText(Base + 2, "third");
  Build.SetLineText(Base + 0, "first");
  Build.SetLineText(Base + 2, "third, again");
  Build.EndFile(3);
  std::string Text = "untouched";
  EXPECT_TRUE(Seq.LineText(Base + 0, Text));
  EXPECT_EQ(Text, "first");
  EXPECT_TRUE(Seq.LineText(Base + 2, Text));
  EXPECT_EQ(Text, "third, again");
  Text = "untouched";
  EXPECT_FALSE(Seq.LineText(Base + 1, Text));
  EXPECT_FALSE(Seq.LineText(Base + 3, Text));
  EXPECT_EQ(Text, "untouched");
}

TEST(OgSourceLineSequenceTest, FileOutlivesSequenceWhileShared) {
  GeRcPtr<DiFile> Kept;
  {
    OgSourceLineSequence Seq;
    OgSourceLineSequence::Builder Build(Seq);
    Kept = GeRcPtr<DiFile>(new DiFile("kept"));
    Build.BeginFile(Kept);
    Build.EndFile(1);
    EXPECT_EQ(Kept->UseCount(), 2u);
  }
  EXPECT_EQ(Kept->UseCount(), 1u);
  EXPECT_EQ(Kept->Name(), "kept");
}

//===----------------------------------------------------------------------===//
// Ranges
//===----------------------------------------------------------------------===//

TEST(DiSourceRangeTest, Contains) {
  OneFileSequence S;
  OneFileSequence Other;
  const DiSourceRange Range(S.At(2, 3), S.At(4, 1));
  struct Case {
    const char *Name;
    DiSourcePosition Pos;
    bool Inside;
  };
  const Case Cases[] = {
      {"start", S.At(2, 3), true},
      {"end", S.At(4, 1), true},
      {"middle", S.At(3, 100), true},
      {"start line, before start column", S.At(2, 2), false},
      {"end line, after end column", S.At(4, 2), false},
      {"earlier line", S.At(1, 5), false},
      {"later line", S.At(5, 0), false},
      {"other sequence", Other.At(3, 1), false},
      {"sNone", None, false},
      {"sEnd", End, false},
  };
  ThrowingFailureScope Scope;
  for (const Case &C : Cases)
    EXPECT_EQ(Range.Contains(C.Pos), C.Inside) << C.Name;

  const DiSourceRange Single(S.At(2, 3));
  EXPECT_TRUE(Single.Contains(S.At(2, 3)));
  EXPECT_FALSE(Single.Contains(S.At(2, 4)));

  const DiSourceRange Empty;
  EXPECT_TRUE(Empty.Start.IsNone());
  EXPECT_FALSE(Empty.Contains(S.At(1, 1)));
  EXPECT_FALSE(Empty.Contains(None));
}

} // namespace

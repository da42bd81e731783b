// Tests of the checks manifest reader: record splitting, line ends, dropped
// lines, the last-record rule, stream errors and memory exhaustion, and block
// reading compared with plain line-by-line reading at every block size and
// split point.
#include "tool/LcManifestReader.h"
#include "tool/LcSelection.h"

#include "console/MsConsole.h"
#include "console/MsConsoleConcrete.h"
#include "general/GeDisk.h"
#include "tests/support/GeFakeDisk.h"
#include "tests/support/LcReferenceReader.h"
#include "tests/tool/LcToolTestSupport.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cctype>
#include <functional>
#include <initializer_list>
#include <random>
#include <sstream>
#include <streambuf>
#include <utility>
#include <vector>

namespace {

/// Opens the manifest file Path on the real disk; a failure would go to a
/// console of the test's own.
void OpenFile(LcManifestReader &Reader, const std::string &Path) {
  static lctest::TestConsole Console;
  Reader.Open(Console, GeDefaultDisk(), Path);
}

using lctest::Pair;
using lctest::Record;
using lctest::Records;

Record Copy(const LcRecord &R) {
  Record Result;
  for (const LcAttribute &A : R)
    Result.emplace_back(std::string(A.Key()), std::string(A.Value()));
  return Result;
}

/// The records a pass sees: open, then use the current record and advance
/// until at end.
Records ReadAll(std::istream &In) {
  Records Seen;
  LcManifestReader Reader;
  Reader.Open(In);
  while (!Reader.AtEnd()) {
    Seen.push_back(Copy(Reader.Current()));
    Reader.Advance();
  }
  Reader.Close();
  return Seen;
}

Records ReadAll(const std::string &Text) {
  std::istringstream In(Text);
  return ReadAll(In);
}

struct ReaderCase {
  const char *Name;
  std::string Text;
  Records Expected;
};

std::ostream &operator<<(std::ostream &Out, const ReaderCase &C) {
  return Out << C.Name;
}

const ReaderCase ReaderCases[] = {
    // An empty input still hands one empty record to the pass.
    {"EmptyFile", "", {{}}},
    {"OnlyEmptyLines", "\n\n\n", {{}}},
    {"OneRecordNoFinalNewline", "a=1", {{{"a", "1"}}}},
    {"OneRecordNoEmptyLine", "a=1\nb=2\n", {{{"a", "1"}, {"b", "2"}}}},
    {"OneRecordWithEmptyLine", "a=1\n\n", {{{"a", "1"}}}},
    {"LastRecordWithoutEmptyLineSkipped", "a=1\n\nb=2\n", {{{"a", "1"}}}},
    {"LastRecordWithoutFinalNewlineSkipped", "a=1\n\nb=2", {{{"a", "1"}}}},
    {"LastRecordWithEmptyLine", "a=1\n\nb=2\n\n", {{{"a", "1"}}, {{"b", "2"}}}},
    {"ThreeOfThreeRecordsNeedTheEmptyLine",
     "a=1\n\nb=2\n\nc=3\n",
     {{{"a", "1"}}, {{"b", "2"}}}},
    {"ThreeOfThreeRecordsWithEmptyLine",
     "a=1\n\nb=2\n\nc=3\n\n",
     {{{"a", "1"}}, {{"b", "2"}}, {{"c", "3"}}}},
    {"ThreeEmptyLinesBetweenRecords",
     "a=1\n\n\n\nb=2\n\n",
     {{{"a", "1"}}, {{"b", "2"}}}},
    {"LeadingEmptyLines", "\n\n\na=1\n\nb=2\n\n", {{{"a", "1"}}, {{"b", "2"}}}},
    {"TrailingEmptyLines", "a=1\n\nb=2\n\n\n\n", {{{"a", "1"}}, {{"b", "2"}}}},
    {"CrLfLineEnds",
     "a=1\r\nvisible=no\r\n\r\nb=2\r\n\r\n",
     {{{"a", "1"}, {"visible", "no"}}, {{"b", "2"}}}},
    {"CrLfLastRecordWithoutEmptyLineSkipped",
     "a=1\r\n\r\nb=2\r\n",
     {{{"a", "1"}}}},
    {"CrLfOneRecord", "a=1\r\nb=2\r\n", {{{"a", "1"}, {"b", "2"}}}},
    {"MixedLineEnds",
     "a=1\r\nb=2\n\r\nc=3\n\n",
     {{{"a", "1"}, {"b", "2"}}, {{"c", "3"}}}},
    {"CarriageReturnRemovedOnce", "a=1\r\r\n\n", {{{"a", "1\r"}}}},
    {"CarriageReturnInsideLineKept", "a=1\rb=2\n\n", {{{"a", "1\rb=2"}}}},
    // "\r\r" loses one "\r": the line is not empty and, lacking "=", is
    // dropped without ending the record.
    {"DoubleCarriageReturnLineDoesNotEndRecord",
     "a=1\n\r\r\nb=2\n\n",
     {{{"a", "1"}, {"b", "2"}}}},
    {"LineWithoutEqualsDropped", "; note\nk=v\nplain line\n\n", {{{"k", "v"}}}},
    {"EmptyKeyOrValueDropped", "checkname=\n=x\n=\nk=v\n\n", {{{"k", "v"}}}},
    {"FurtherEqualsBelongToValue",
     "checkname=a=b\nk==\n\n",
     {{{"checkname", "a=b"}, {"k", "="}}}},
    {"BlanksKept", " checkname=y \n\n", {{{" checkname", "y "}}}},
    {"DuplicateKeysKeptInOrder",
     "group=b\ngroup=a\ngroup=b\n\n",
     {{{"group", "b"}, {"group", "a"}, {"group", "b"}}}},
    // An empty line while no pair is held is skipped, so dropped lines do
    // not make a record of their own.
    {"DroppedLinesMakeNoRecord", "junk\n\na=1\n\n", {{{"a", "1"}}}},
    {"OnlyDroppedLines", "junk\n\n", {{}}},
    {"BytesAbove127", "k\xE9=v\xFF\x80\n\n", {{{"k\xE9", "v\xFF\x80"}}}},
    {"NulBytesKept",
     std::string("k\0=v\0\n\n", 7),
     {{{std::string("k\0", 2), std::string("v\0", 2)}}}},
    {"ByteOrderMarkBecomesPartOfFirstKey",
     "\xEF\xBB\xBF"
     "checkname=A\nb=2\n\n",
     {{{"\xEF\xBB\xBF"
        "checkname",
        "A"},
       {"b", "2"}}}},
};

class ManifestReaderTable : public ::testing::TestWithParam<ReaderCase> {};

TEST_P(ManifestReaderTable, ReadsRecords) {
  EXPECT_EQ(ReadAll(GetParam().Text), GetParam().Expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ManifestReaderTable,
                         ::testing::ValuesIn(ReaderCases),
                         [](const ::testing::TestParamInfo<ReaderCase> &Info) {
                           return std::string(Info.param.Name);
                         });

TEST(ManifestReader, CrLfReadsLikeLf) {
  std::string Lf = "\n\nchecksname=x\nvisible=no\ngroup=g\n\n\n"
                   "checkname=y\n=z\nnoequals\n\nlast=1\n";
  std::string CrLf;
  for (char C : Lf) {
    if (C == '\n')
      CrLf += '\r';
    CrLf += C;
  }
  EXPECT_EQ(ReadAll(CrLf), ReadAll(Lf));
  EXPECT_EQ(ReadAll(Lf).size(), 2u);
}

TEST(ManifestReader, AdvanceAndAtEnd) {
  std::istringstream In("a=1\n\nb=2\n\nc=3\n");
  LcManifestReader Reader;
  EXPECT_TRUE(Reader.AtEnd()) << "a reader that was never opened is at end";
  Reader.Open(In);
  EXPECT_FALSE(Reader.AtEnd());
  EXPECT_EQ(Copy(Reader.Current()), (Record{{"a", "1"}}));
  EXPECT_TRUE(Reader.Advance());
  EXPECT_EQ(Copy(Reader.Current()), (Record{{"b", "2"}}));
  EXPECT_FALSE(Reader.Advance());
  EXPECT_TRUE(Reader.AtEnd());
  EXPECT_FALSE(Reader.Advance());
  EXPECT_TRUE(Reader.AtEnd());
}

TEST(ManifestReader, OpenLeavesAtEndFalseEvenOnEmptyInput) {
  std::istringstream In("");
  LcManifestReader Reader;
  Reader.Open(In);
  EXPECT_FALSE(Reader.AtEnd());
  EXPECT_TRUE(Reader.Current().empty());
  EXPECT_FALSE(Reader.Advance());
  EXPECT_TRUE(Reader.AtEnd());
}

TEST(ManifestReader, CloseRestoresExceptionMaskOfBorrowedStream) {
  std::istringstream In("a=1\n\n");
  In.exceptions(std::ios_base::goodbit);
  {
    LcManifestReader Reader;
    Reader.Open(In);
    EXPECT_EQ(In.exceptions(), std::ios_base::badbit);
    Reader.Close();
    EXPECT_TRUE(Reader.AtEnd());
  }
  EXPECT_EQ(In.exceptions(), std::ios_base::goodbit);
}

TEST(ManifestReader, ReopenStartsAgain) {
  std::istringstream First("a=1\n\nb=2\n\n");
  std::istringstream Second("c=3\n");
  LcManifestReader Reader;
  Reader.Open(First);
  EXPECT_TRUE(Reader.Advance());
  Reader.Open(Second);
  EXPECT_FALSE(Reader.AtEnd());
  EXPECT_EQ(Copy(Reader.Current()), (Record{{"c", "3"}}));
}

/// A stream buffer that hands out Text and then, instead of reporting the end
/// of input, throws the exception made by Thrower.
template <class Exception> class ThrowingBuf : public std::streambuf {
public:
  explicit ThrowingBuf(std::string Bytes) : Text(std::move(Bytes)) {
    setg(Text.data(), Text.data(), Text.data() + Text.size());
  }

protected:
  int_type underflow() override { throw Exception(); }

private:
  std::string Text;
};

struct IoFailure : std::ios_base::failure {
  IoFailure() : std::ios_base::failure("read error") {}
};

TEST(ManifestReader, ReadErrorEndsInputLikeEndOfFile) {
  ThrowingBuf<IoFailure> Buf("a=1\n\nb=2\n\nc=3\n");
  std::istream In(&Buf);
  EXPECT_EQ(ReadAll(In), (Records{{{"a", "1"}}, {{"b", "2"}}}));
  EXPECT_TRUE(In.bad());
}

TEST(ManifestReader, ReadErrorAfterEmptyLineKeepsLastRecord) {
  ThrowingBuf<IoFailure> Buf("a=1\n\nb=2\n\n");
  std::istream In(&Buf);
  EXPECT_EQ(ReadAll(In), (Records{{{"a", "1"}}, {{"b", "2"}}}));
}

TEST(ManifestReader, BadAllocInFirstRecordPropagates) {
  ThrowingBuf<std::bad_alloc> Buf("a=1\nb=2");
  std::istream In(&Buf);
  LcManifestReader Reader;
  EXPECT_THROW(Reader.Open(In), std::bad_alloc);
}

TEST(ManifestReader, BadAllocInLaterRecordPropagates) {
  ThrowingBuf<std::bad_alloc> Buf("a=1\n\nb=2\n\nc=");
  std::istream In(&Buf);
  LcManifestReader Reader;
  Reader.Open(In);
  EXPECT_TRUE(Reader.Advance());
  EXPECT_THROW(Reader.Advance(), std::bad_alloc);
}

TEST(ManifestReader, ConsoleBadAllocPropagates) {
  ThrowingBuf<MsConsole::BadAlloc> Buf("a=1\n\nb=2\n\n");
  std::istream In(&Buf);
  LcManifestReader Reader;
  Reader.Open(In);
  EXPECT_TRUE(Reader.Advance());
  EXPECT_THROW(Reader.Advance(), MsConsole::BadAlloc);
}

TEST(ManifestReader, ReadsFile) {
  lctest::TempDir Dir;
  std::string Path = Dir.Path("m.txt");
  lctest::WriteFile(Path, "checkname=A\r\nvisible=no\r\n\r\ncheckname=B\n\n"
                          "checkname=C\n");
  Records Seen;
  LcManifestReader Reader;
  OpenFile(Reader, Path);
  while (!Reader.AtEnd()) {
    Seen.push_back(Copy(Reader.Current()));
    Reader.Advance();
  }
  Reader.Close();
  EXPECT_EQ(Seen, (Records{{{"checkname", "A"}, {"visible", "no"}},
                           {{"checkname", "B"}}}));
}

TEST(ManifestReader, ReadsFileLargerThanItsBuffer) {
  lctest::TempDir Dir;
  std::string Path = Dir.Path("big.txt");
  std::string Text;
  Records Expected;
  const std::string LongValue(1000, 'v');
  for (int I = 0; I < 1200; ++I) {
    std::string Name = "check-" + std::to_string(I);
    Text += "checkname=" + Name + "\r\ndescription=" + LongValue + "\r\n\r\n";
    Expected.push_back({{"checkname", Name}, {"description", LongValue}});
  }
  ASSERT_GT(Text.size(), 4 * LcManifestReader::DefaultBlockSize);
  lctest::WriteFile(Path, Text);
  Records Seen;
  LcManifestReader Reader;
  OpenFile(Reader, Path);
  while (!Reader.AtEnd()) {
    Seen.push_back(Copy(Reader.Current()));
    Reader.Advance();
  }
  EXPECT_EQ(Seen, Expected);
}

class ManifestReaderOpenFailure : public ::testing::Test {
protected:
  void ExpectOpenFailure(const std::string &Path) {
    std::size_t Before = Console.Messages().size();
    LcManifestReader Reader;
    EXPECT_THROW(Reader.Open(Console, Disk, Path), MsConsoleException);
    EXPECT_TRUE(Reader.AtEnd());
    ASSERT_EQ(Console.Messages().size(), Before + 1);
    const MsConsoleConcrete::Released &M = Console.Messages().back();
    EXPECT_EQ(Console.TagText(M.Tag), "Lc002");
    EXPECT_EQ(M.Lvl, MsConsole::ErrorFixed);
    EXPECT_EQ(M.Text, "could not open file \"" + Path + "\"");
  }
  lctest::TempDir Dir;
  lctest::TestConsole Console;
  GeRealDisk Disk;
};

TEST_F(ManifestReaderOpenFailure, MissingFile) {
  ExpectOpenFailure(Dir.Path("missing.txt"));
}

TEST_F(ManifestReaderOpenFailure, Directory) {
  ExpectOpenFailure(Dir.Path(""));
}

TEST_F(ManifestReaderOpenFailure, DirectoryWithoutTrailingSlash) {
  std::string Path = Dir.Path("sub");
  std::filesystem::create_directory(Path);
  ExpectOpenFailure(Path);
}

// Block reading against line-by-line reading.

/// The line-by-line reference, keeping every attribute.
using GetlineReader = lctest::ReferenceReader<>;

Record Copy(const Record &R) { return R; }

/// What a pass saw: the records, whether memory ran out, and the state the
/// stream was left in.
struct Outcome {
  Records Seen;
  bool OutOfMemory = false;
  std::ios_base::iostate State = std::ios_base::goodbit;

  bool operator==(const Outcome &Other) const {
    return Seen == Other.Seen && OutOfMemory == Other.OutOfMemory &&
           State == Other.State;
  }
};

void PrintTo(const Outcome &O, std::ostream *Out) {
  *Out << ::testing::PrintToString(O.Seen)
       << (O.OutOfMemory ? " out of memory" : "") << " state " << O.State;
}

template <class Reader> Outcome Pass(Reader &R, std::istream &In) {
  Outcome Result;
  try {
    R.Open(In);
    while (!R.AtEnd()) {
      Result.Seen.push_back(Copy(R.Current()));
      R.Advance();
    }
  } catch (const std::bad_alloc &) {
    Result.OutOfMemory = true;
  }
  R.Close();
  Result.State = In.rdstate();
  return Result;
}

/// How the input is handed to a reader: in pieces of these sizes, failing
/// from byte FailAt on.
struct Feed {
  std::vector<std::size_t> Pieces;
  std::size_t FailAt = lctest::PieceBuf::NoFailure;
  bool OutOfMemory = false;
};

Outcome BlockPass(const std::string &Text, std::size_t BlockSize,
                  const Feed &How) {
  lctest::PieceBuf Buf(Text, How.Pieces, How.FailAt, How.OutOfMemory);
  std::istream In(&Buf);
  LcManifestReader Reader(BlockSize);
  return Pass(Reader, In);
}

Outcome GetlinePass(const std::string &Text, const Feed &How) {
  lctest::PieceBuf Buf(Text, How.Pieces, How.FailAt, How.OutOfMemory);
  std::istream In(&Buf);
  GetlineReader Reader;
  return Pass(Reader, In);
}

const std::size_t BlockSizes[] = {
    1, 2, 3, 4, 5, 7, 8, 16, 64, LcManifestReader::DefaultBlockSize};

TEST(ManifestBlockReading, TableCasesAtEveryBlockAndPieceSize) {
  for (const ReaderCase &C : ReaderCases) {
    Outcome Expected = GetlinePass(C.Text, Feed{});
    ASSERT_EQ(Expected.Seen, C.Expected) << C.Name;
    for (std::size_t BlockSize : BlockSizes)
      for (std::size_t Piece = 1; Piece <= C.Text.size() + 1; ++Piece)
        ASSERT_EQ(BlockPass(C.Text, BlockSize, Feed{{Piece}}), Expected)
            << C.Name << ", block " << BlockSize << ", pieces of " << Piece;
  }
}

TEST(ManifestBlockReading, StreamStateAtEndOfInput) {
  std::istringstream In("a=1\n\nb=2\n\n");
  LcManifestReader Reader;
  EXPECT_EQ(Pass(Reader, In).State,
            std::ios_base::eofbit | std::ios_base::failbit);
  lctest::PieceBuf Buf("a=1\n\nb=2", {3}, 7);
  std::istream Failing(&Buf);
  EXPECT_EQ(Pass(Reader, Failing).State, std::ios_base::badbit);
}

/// Random manifest text built from pieces that make every rule of the
/// format likely: line ends of both kinds, lone carriage returns, "=" in
/// every position, empty and dropped lines, long values.
std::string RandomManifest(std::mt19937 &Random) {
  static const char *const Tokens[] = {
      "\n", "\n",    "\r\n",    "\r",          "=",    "==",
      "a",  "k=v\n", "k=v\r\n", "checkname=X", "\n\n", "\r\n\r\n",
      " ",  "=x\n",  "x=\n",    "group=g\n",   "\xEF", "\0"};
  constexpr std::size_t TokenCount = sizeof Tokens / sizeof Tokens[0];
  std::string Text;
  std::size_t Count = std::uniform_int_distribution<std::size_t>(0, 60)(Random);
  for (std::size_t I = 0; I < Count; ++I) {
    std::size_t Pick =
        std::uniform_int_distribution<std::size_t>(0, TokenCount)(Random);
    if (Pick == TokenCount) {
      // A long attribute line, longer than the small blocks.
      Text +=
          "title=" +
          std::string(
              std::uniform_int_distribution<std::size_t>(1, 300)(Random), 'v') +
          "\n";
    } else if (Tokens[Pick][0] == '\0') {
      Text += '\0';
    } else {
      Text += Tokens[Pick];
    }
  }
  return Text;
}

std::vector<std::size_t> RandomPieces(std::mt19937 &Random) {
  std::vector<std::size_t> Pieces(
      std::uniform_int_distribution<std::size_t>(1, 5)(Random));
  for (std::size_t &Size : Pieces)
    Size = std::uniform_int_distribution<std::size_t>(1, 40)(Random);
  return Pieces;
}

TEST(ManifestBlockReading, MatchesLineByLineReadingOnRandomManifests) {
  std::mt19937 Random(20240611);
  for (int Round = 0; Round < 400; ++Round) {
    std::string Text = RandomManifest(Random);
    Outcome Expected = GetlinePass(Text, Feed{});
    for (std::size_t BlockSize : BlockSizes)
      for (int Feeding = 0; Feeding < 3; ++Feeding) {
        Feed How{RandomPieces(Random)};
        ASSERT_EQ(BlockPass(Text, BlockSize, How), Expected)
            << "round " << Round << ", block " << BlockSize << ", text "
            << ::testing::PrintToString(Text);
      }
  }
}

TEST(ManifestBlockReading, ReadErrorAndMemoryExhaustionAtEveryPosition) {
  const std::string Texts[] = {
      "a=1",
      "a=1\nb=2\n",
      "a=1\r\n\r\nb=2\r\n\r\nc=3\r\n",
      "\n\na=1\n\n\nb=" + std::string(40, 'v') + "\n\nc=3\n\n",
      "junk\n\na=1\n\r\r\nb=2\n\n",
  };
  std::mt19937 Random(7);
  for (const std::string &Text : Texts)
    for (std::size_t FailAt = 0; FailAt <= Text.size(); ++FailAt)
      for (bool OutOfMemory : {false, true}) {
        Feed How{RandomPieces(Random), FailAt, OutOfMemory};
        Outcome Expected = GetlinePass(Text, How);
        for (std::size_t BlockSize : {std::size_t(1), std::size_t(3),
                                      LcManifestReader::DefaultBlockSize})
          ASSERT_EQ(BlockPass(Text, BlockSize, How), Expected)
              << ::testing::PrintToString(Text) << " failing at " << FailAt
              << (OutOfMemory ? " out of memory" : " read error") << ", block "
              << BlockSize;
      }
}

TEST(ManifestBlockReading, ReadErrorDropsTheLineItInterrupts) {
  // At the end of the input a last line without "\n" counts; a read error
  // in the middle of that line loses it.
  EXPECT_EQ(BlockPass("a=1\nb=2", 4, Feed{}).Seen,
            (Records{{{"a", "1"}, {"b", "2"}}}));
  EXPECT_EQ(BlockPass("a=1\nb=2", 4, Feed{{}, 6}).Seen,
            (Records{{{"a", "1"}}}));
  // The pass reads on after the first record and finds the stream failed.
  EXPECT_EQ(BlockPass("a=1\nb=2", 4, Feed{{}, 6}).State,
            std::ios_base::badbit | std::ios_base::failbit);
}

TEST(ManifestBlockReading, LinesAndRecordsLongerThanManyBlocks) {
  const std::string Long(100000, 'v');
  std::string Text = "checkname=A\r\ndescription=" + Long + "\r\n";
  Record Big = {{"checkname", "A"}, {"description", Long}};
  for (int I = 0; I < 1000; ++I) {
    Text += "k" + std::to_string(I) + "=" + std::to_string(I) + "\r\n";
    Big.emplace_back("k" + std::to_string(I), std::to_string(I));
  }
  Text += "\r\nnext=1\n\n";
  const Records Expected = {Big, {{"next", "1"}}};
  for (std::size_t BlockSize :
       {std::size_t(1), std::size_t(16), LcManifestReader::DefaultBlockSize})
    for (std::size_t Piece : {1, 7, 4096, 1 << 20}) {
      if (Piece == 1 && BlockSize != 16)
        continue;
      EXPECT_EQ(BlockPass(Text, BlockSize, Feed{{Piece}}).Seen, Expected)
          << "block " << BlockSize << ", pieces of " << Piece;
    }
}

TEST(ManifestBlockReading, BlockSizeZeroActsAsOne) {
  EXPECT_EQ(BlockPass("a=1\n\nb=2\n\n", 0, Feed{{2}}).Seen,
            (Records{{{"a", "1"}}, {{"b", "2"}}}));
}

TEST(ManifestBlockReading, StreamThatIsNotGoodYieldsOneEmptyRecord) {
  for (std::ios_base::iostate State :
       {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
    std::istringstream Block("a=1\n\nb=2\n\n");
    std::istringstream Getline("a=1\n\nb=2\n\n");
    Block.setstate(State);
    Getline.setstate(State);
    LcManifestReader Reader;
    GetlineReader Reference;
    Outcome Seen = Pass(Reader, Block);
    EXPECT_EQ(Seen, Pass(Reference, Getline));
    EXPECT_EQ(Seen.Seen, (Records{{}}));
  }
}

TEST(ManifestBlockReading, AttributesStayValidWhileTheRecordIsCurrent) {
  // With a tiny block, the buffer is moved and grown while a record is read;
  // the views of the finished record must still show its lines.
  std::string Text;
  for (int I = 0; I < 50; ++I)
    Text +=
        "key" + std::to_string(I) + "=" + std::string(I % 9 + 1, 'v') + "\n";
  Text += "\nlast=1\n\n";
  lctest::PieceBuf Buf(Text, {5, 3, 11});
  std::istream In(&Buf);
  LcManifestReader Reader(2);
  Reader.Open(In);
  const LcRecord &First = Reader.Current();
  ASSERT_EQ(First.size(), 50u);
  for (int I = 0; I < 50; ++I) {
    EXPECT_EQ(First[static_cast<std::size_t>(I)].Key(),
              "key" + std::to_string(I));
    EXPECT_EQ(First[static_cast<std::size_t>(I)].Value(),
              std::string(I % 9 + 1, 'v'));
  }
  EXPECT_TRUE(Reader.Advance());
  EXPECT_EQ(Copy(Reader.Current()), (Record{{"last", "1"}}));
  EXPECT_FALSE(Reader.Advance());
}

TEST(ManifestBlockReading, ReadsFileWithTinyBlocks) {
  lctest::TempDir Dir;
  std::string Path = Dir.Path("m.txt");
  std::string Text =
      "checkname=A\r\nvisible=no\r\n\r\ncheckname=" + std::string(300000, 'B') +
      "\n\ncheckname=C\n";
  lctest::WriteFile(Path, Text);
  std::istringstream Same(Text);
  GetlineReader Reference;
  Records Expected = Pass(Reference, Same).Seen;
  ASSERT_EQ(Expected.size(), 2u);
  for (std::size_t BlockSize :
       {std::size_t(1), std::size_t(5), LcManifestReader::DefaultBlockSize}) {
    Records Seen;
    LcManifestReader Reader(BlockSize);
    OpenFile(Reader, Path);
    while (!Reader.AtEnd()) {
      Seen.push_back(Copy(Reader.Current()));
      Reader.Advance();
    }
    Reader.Close();
    EXPECT_EQ(Seen, Expected) << "block " << BlockSize;
  }
}

// Skimming with a key filter against line-by-line reading with the same
// filter.

/// The bytes B for which Pick(B) holds.
template <class Predicate> std::bitset<256> Bytes(Predicate Pick) {
  std::bitset<256> Set;
  for (unsigned B = 0; B < 256; ++B)
    Set[B] = Pick(static_cast<unsigned char>(B));
  return Set;
}

std::bitset<256> Letter(char C) {
  return Bytes([C](unsigned char B) {
    return B == static_cast<unsigned char>(std::tolower(C)) ||
           B == static_cast<unsigned char>(std::toupper(C));
  });
}

std::bitset<256> Only(std::initializer_list<unsigned char> List) {
  std::bitset<256> Set;
  for (unsigned char B : List)
    Set[B] = true;
  return Set;
}

struct FilterCase {
  const char *Name;
  LcKeyFilter Filter;
};

/// The filter each selection mode reads with, as the selector makes it.
LcKeyFilter ModeFilter(LcSelectionMode Mode) {
  static const std::vector<std::string> Values = {"p"};
  return LcRecordSelector(Mode, Values).KeyFilter();
}

std::vector<FilterCase> FilterCases() {
  std::vector<FilterCase> Cases;
  Cases.push_back({"AllChecks", ModeFilter(LcSelectionMode::AllChecks)});
  Cases.push_back(
      {"DefaultChecks", ModeFilter(LcSelectionMode::DefaultChecksOfPackages)});
  Cases.push_back({"Groups", ModeFilter(LcSelectionMode::ChecksOfGroups)});
  LcKeyFilter OneLetter;
  OneLetter.Keep(1, Letter('a') | Only({'k'}));
  Cases.push_back({"OneLetterKeys", OneLetter});
  LcKeyFilter AnyInitial;
  AnyInitial.Keep(9, Bytes([](unsigned char B) { return B != 'x'; }));
  Cases.push_back({"ManyInitials", AnyInitial});
  LcKeyFilter FourLengths;
  FourLengths.Keep(5, Letter('g'));
  FourLengths.Keep(7, Letter('p') | Letter('d') | Letter('v'));
  FourLengths.Keep(9, Letter('c'));
  FourLengths.Keep(1, Only({'x', 'k'}));
  Cases.push_back({"FourLengthsManyInitials", FourLengths});
  LcKeyFilter FiveLengths = FourLengths;
  FiveLengths.Keep(2, Letter('b'));
  Cases.push_back({"FiveLengths", FiveLengths});
  LcKeyFilter Long;
  Long.Keep(63, Letter('z'));
  Long.Keep(6, Only({'t'}));
  Cases.push_back({"LongestSkimmedKey", Long});
  LcKeyFilter TooLong;
  TooLong.Keep(64, Letter('z'));
  TooLong.Keep(9, Letter('c'));
  Cases.push_back({"KeyLongerThanABlock", TooLong});
  LcKeyFilter ControlInitials;
  ControlInitials.Keep(1, Only({'\n', '\r', '=', '-', '\0'}));
  ControlInitials.Keep(9, Only({0xE3, 0xC3}));
  Cases.push_back({"ControlAndHighInitials", ControlInitials});
  LcKeyFilter Nothing;
  Nothing.Keep(0, Bytes([](unsigned char) { return true; }));
  Cases.push_back({"KeepsNothing", Nothing});
  LcKeyFilter NoInitials;
  NoInitials.Keep(9, std::bitset<256>());
  Cases.push_back({"NoInitials", NoInitials});
  return Cases;
}

Outcome SkimPass(const std::string &Text, std::size_t BlockSize,
                 const Feed &How, const LcKeyFilter &Filter,
                 LcMaskKind Kind) {
  lctest::PieceBuf Buf(Text, How.Pieces, How.FailAt, How.OutOfMemory);
  std::istream In(&Buf);
  LcManifestReader Reader(BlockSize, Kind);
  Reader.SetKeyFilter(Filter);
  return Pass(Reader, In);
}

Outcome FilteredGetlinePass(const std::string &Text, const Feed &How,
                            const LcKeyFilter &Filter) {
  lctest::PieceBuf Buf(Text, How.Pieces, How.FailAt, How.OutOfMemory);
  std::istream In(&Buf);
  lctest::ReferenceReader<std::function<bool(const std::string &)>> Reader(
      [&Filter](const std::string &Key) { return Filter.Keeps(Key); });
  return Pass(Reader, In);
}

/// Random manifest text for skimming: keys of the filters' lengths in both
/// cases, keys one byte off, "=" and line ends in every position, lines
/// longer than one or two blocks.
std::string RandomSkimManifest(std::mt19937 &Random) {
  static const char *const Tokens[] = {
      "\n",          "\n",          "\r\n",         "\r",
      "\n\n",        "\r\n\r\n",    "\n\r\n",       "=",
      "checkname=",  "CheckName=A", "checkname=B\n", "checknam=C\n",
      "visible=no\n", "VISIBLE=No\r\n", "visible=\n", "visibles=no\n",
      "package=p\n", "default=on\n", "Group=g\n",   "group=\r\n",
      "a=1\n",       "A=",          "k=v\r\n",      "x=y",
      "b=",          "bb=2\n",      "t=",           "tt=",
      " ",           "c",           "v",            "\xE3=\n",
      "\xC3heckname=h\n"};
  constexpr std::size_t TokenCount = sizeof Tokens / sizeof Tokens[0];
  std::string Text;
  std::size_t Count =
      std::uniform_int_distribution<std::size_t>(0, 80)(Random);
  for (std::size_t I = 0; I < Count; ++I) {
    std::size_t Pick =
        std::uniform_int_distribution<std::size_t>(0, TokenCount + 2)(Random);
    if (Pick == TokenCount) {
      // Filler that pushes the next line across one or more blocks.
      Text += std::string(
          std::uniform_int_distribution<std::size_t>(1, 150)(Random), 'y');
    } else if (Pick == TokenCount + 1) {
      Text += std::string(63, 'z') + "=long\n";
    } else if (Pick == TokenCount + 2) {
      Text += '\0';
    } else {
      Text += Tokens[Pick];
    }
  }
  return Text;
}

struct KeepCase {
  const char *Filter;
  std::string Key;
  bool Kept;
};

/// The filters KeepCases name.
LcKeyFilter NamedFilter(const std::string &Name) {
  static const std::vector<std::string> None;
  LcKeyFilter Filter;
  if (Name == "some") {
    Filter.Keep(3, Letter('a'));
    Filter.Keep(3, Only({'b'}));
    Filter.Keep(1, Only({'='}));
    Filter.Keep(70, Only({'l'}));
  } else if (Name == "nothing") {
    Filter.Keep(0, Letter('a'));
  } else if (Name == "all-checks") {
    Filter = LcRecordSelector(LcSelectionMode::AllChecks, None).KeyFilter();
  } else if (Name == "default-checks") {
    Filter = LcRecordSelector(LcSelectionMode::DefaultChecksOfPackages, None)
                 .KeyFilter();
  } else if (Name == "groups") {
    Filter = LcRecordSelector(LcSelectionMode::ChecksOfGroups, None).KeyFilter();
  } else if (Name == "packages") {
    Filter =
        LcRecordSelector(LcSelectionMode::ChecksOfPackages, None).KeyFilter();
  }
  return Filter;
}

const KeepCase KeepCases[] = {
    {"every", "anything", true},
    {"some", "abc", true},
    {"some", "Abc", true},
    {"some", "bxx", true},
    {"some", "Bxx", false},
    {"some", "ab", false},
    {"some", "abcd", false},
    {"some", "=", true},
    {"some", "", false},
    {"some", "l" + std::string(69, 'x'), true},
    {"some", "L" + std::string(69, 'x'), false},
    {"some", "l" + std::string(70, 'x'), false},
    {"nothing", "a", false},
    // What the selection rules read in each mode, without regard to case.
    {"all-checks", "checkname", true},
    {"all-checks", "CheckName", true},
    {"all-checks", "visible", true},
    {"all-checks", "package", false},
    {"all-checks", "group", false},
    {"all-checks", "default", false},
    {"all-checks", "title", false},
    {"default-checks", "PACKAGE", true},
    {"default-checks", "default", true},
    {"default-checks", "visible", true},
    {"default-checks", "group", false},
    {"groups", "Group", true},
    {"groups", "package", false},
    {"packages", "package", true},
    {"packages", "default", false},
};

TEST(ManifestSkimming, KeyFilterKeeps) {
  for (const KeepCase &C : KeepCases) {
    LcKeyFilter Filter = NamedFilter(C.Filter);
    EXPECT_EQ(Filter.KeepsAll(), std::string(C.Filter) == "every")
        << C.Filter;
    EXPECT_EQ(Filter.Keeps(C.Key), C.Kept) << C.Filter << ": " << C.Key;
  }
}

TEST(ManifestSkimming, TableCasesAtEveryBlockAndPieceSize) {
  for (const FilterCase &F : FilterCases())
    for (const ReaderCase &C : ReaderCases) {
      Outcome Expected = FilteredGetlinePass(C.Text, Feed{}, F.Filter);
      for (LcMaskKind Kind : LcMaskKindsForThisMachine())
        for (std::size_t BlockSize :
             {std::size_t(1), std::size_t(3), std::size_t(16),
              LcManifestReader::DefaultBlockSize})
          for (std::size_t Piece = 1; Piece <= C.Text.size() + 1; ++Piece)
            ASSERT_EQ(SkimPass(C.Text, BlockSize, Feed{{Piece}}, F.Filter,
                               Kind),
                      Expected)
                << F.Name << ", " << C.Name << ", "
                << LcMaskKindName(Kind) << ", block " << BlockSize
                << ", pieces of " << Piece;
    }
}

TEST(ManifestSkimming, MatchesLineByLineReadingOnRandomManifests) {
  std::mt19937 Random(20250117);
  std::vector<FilterCase> Filters = FilterCases();
  for (int Round = 0; Round < 200; ++Round) {
    std::string Text = RandomSkimManifest(Random);
    for (const FilterCase &F : Filters) {
      Outcome Expected = FilteredGetlinePass(Text, Feed{}, F.Filter);
      for (LcMaskKind Kind : LcMaskKindsForThisMachine())
        for (std::size_t BlockSize :
             {std::size_t(1), std::size_t(7), std::size_t(64),
              std::size_t(200), LcManifestReader::DefaultBlockSize}) {
          Feed How{RandomPieces(Random)};
          ASSERT_EQ(SkimPass(Text, BlockSize, How, F.Filter, Kind), Expected)
              << "round " << Round << ", " << F.Name << ", "
              << LcMaskKindName(Kind) << ", block " << BlockSize << ", text "
              << ::testing::PrintToString(Text);
        }
    }
  }
}

TEST(ManifestSkimming, WholeInputAtOnce) {
  // Handed over in one piece, the text is skimmed across many blocks in a
  // row, and the last line meets the end of the input.
  std::mt19937 Random(99);
  std::vector<FilterCase> Filters = FilterCases();
  for (int Round = 0; Round < 100; ++Round) {
    std::string Text;
    for (int Part = 0; Part < 10; ++Part)
      Text += RandomSkimManifest(Random);
    for (const FilterCase &F : Filters) {
      Outcome Expected = FilteredGetlinePass(Text, Feed{}, F.Filter);
      for (LcMaskKind Kind : LcMaskKindsForThisMachine())
        ASSERT_EQ(SkimPass(Text, LcManifestReader::DefaultBlockSize, Feed{},
                           F.Filter, Kind),
                  Expected)
            << "round " << Round << ", " << F.Name << ", "
            << LcMaskKindName(Kind) << ", text "
            << ::testing::PrintToString(Text);
    }
  }
}

TEST(ManifestSkimming, ReadErrorAndMemoryExhaustionAtEveryPosition) {
  const std::string Texts[] = {
      "checkname=A\nvisible=no\n\ncheckname=B\nVisible=yes\n\ncheckname=C",
      "checkname=A\r\n\r\ncheckname=B\r\nvisible=no\r\n\r\ncheckname=C\r\n",
      "junk\n\ncheckname=" + std::string(70, 'n') + "\ntitle=" +
          std::string(140, 't') + "\nvisible=no\n\n",
  };
  LcKeyFilter Filter = ModeFilter(LcSelectionMode::AllChecks);
  std::mt19937 Random(11);
  for (const std::string &Text : Texts)
    for (std::size_t FailAt = 0; FailAt <= Text.size(); ++FailAt)
      for (bool OutOfMemory : {false, true}) {
        Feed How{RandomPieces(Random), FailAt, OutOfMemory};
        Outcome Expected = FilteredGetlinePass(Text, How, Filter);
        for (LcMaskKind Kind : LcMaskKindsForThisMachine())
          for (std::size_t BlockSize :
               {std::size_t(1), std::size_t(3), std::size_t(100),
                LcManifestReader::DefaultBlockSize})
            ASSERT_EQ(SkimPass(Text, BlockSize, How, Filter, Kind), Expected)
                << ::testing::PrintToString(Text) << " failing at " << FailAt
                << (OutOfMemory ? " out of memory" : " read error") << ", "
                << LcMaskKindName(Kind) << ", block " << BlockSize;
      }
}

TEST(ManifestSkimming, RecordOfDroppedAttributesKeepsItsPlace) {
  // "owner" is not kept, yet it makes the first record non-empty, so the
  // empty line after it ends that record and "checkname=A", not followed by
  // an empty line, is the last record and is not used.
  LcKeyFilter Filter = ModeFilter(LcSelectionMode::AllChecks);
  for (LcMaskKind Kind : LcMaskKindsForThisMachine()) {
    EXPECT_EQ(SkimPass("owner=x\n\ncheckname=A\n", 64, Feed{}, Filter, Kind)
                  .Seen,
              (Records{{}}))
        << LcMaskKindName(Kind);
    EXPECT_EQ(SkimPass("owner=x\n\ncheckname=A\n\n", 64, Feed{}, Filter, Kind)
                  .Seen,
              (Records{{}, {{"checkname", "A"}}}))
        << LcMaskKindName(Kind);
  }
}

TEST(ManifestSkimming, ReadsFileWithFilter) {
  lctest::TempDir Dir;
  std::string Path = Dir.Path("m.txt");
  std::string Text;
  Records Expected;
  for (int I = 0; I < 20000; ++I) {
    std::string Name = "check-" + std::to_string(I);
    bool Hidden = I % 7 == 3;
    Text += "checkname=" + Name + "\npackage=p\ntitle=" +
            std::string(static_cast<std::size_t>(I % 97), 't') +
            (Hidden ? "\nVisible=no" : "") + (I % 2 ? "\r\n\r\n" : "\n\n");
    Record R = {{"checkname", Name}};
    if (Hidden)
      R.emplace_back("Visible", "no");
    Expected.push_back(R);
  }
  ASSERT_GT(Text.size(), 4 * LcManifestReader::DefaultBlockSize);
  lctest::WriteFile(Path, Text);
  for (LcMaskKind Kind : LcMaskKindsForThisMachine()) {
    Records Seen;
    LcManifestReader Reader(LcManifestReader::DefaultBlockSize, Kind);
    Reader.SetKeyFilter(ModeFilter(LcSelectionMode::AllChecks));
    OpenFile(Reader, Path);
    while (!Reader.AtEnd()) {
      Seen.push_back(Copy(Reader.Current()));
      Reader.Advance();
    }
    EXPECT_EQ(Seen, Expected) << LcMaskKindName(Kind);
  }
}

// The open path on an in-memory disk: what is read, what is reported, and
// that the reader gives back every handle it opened.
class ManifestReaderOnDisk : public ::testing::Test {
protected:
  /// Expects Reader.Open of Path to report Lc002 and throw.
  void ExpectOpenFailure(const std::string &Path) {
    LcManifestReader Reader;
    EXPECT_THROW(Reader.Open(Console, Disk, Path), MsConsoleException);
    EXPECT_TRUE(Reader.AtEnd());
    ASSERT_EQ(Console.Messages().size(), 1u);
    EXPECT_EQ(Console.Messages()[0].Text,
              "could not open file \"" + Path + "\"");
    EXPECT_EQ(Disk.OpenHandles(), 0u);
  }
  GeFakeDisk Disk;
  lctest::TestConsole Console;
};

TEST_F(ManifestReaderOnDisk, ReadsTheFileAndClosesIt) {
  Disk.AddFile("m.txt", "checkname=A\r\nvisible=no\r\n\r\ncheckname=B\n\n");
  LcManifestReader Reader(3);
  Reader.Open(Console, Disk, "m.txt");
  EXPECT_EQ(Disk.OpenHandles(), 1u);
  ASSERT_FALSE(Reader.AtEnd());
  EXPECT_EQ(Copy(Reader.Current()),
            (Record{{"checkname", "A"}, {"visible", "no"}}));
  EXPECT_TRUE(Reader.Advance());
  EXPECT_EQ(Copy(Reader.Current()), (Record{{"checkname", "B"}}));
  EXPECT_FALSE(Reader.Advance());
  EXPECT_TRUE(Reader.AtEnd());
  Reader.Close();
  EXPECT_EQ(Disk.OpenHandles(), 0u);
  EXPECT_TRUE(Console.Messages().empty());
}

TEST_F(ManifestReaderOnDisk, ReadsInSmallPiecesUntilTheRampUpInputIsRead) {
  // Records of about 1 KiB, some 3 MiB in all: the reads cross the end of
  // the ramp-up in the middle of a record.
  std::string Text;
  Records Expected;
  const std::string LongValue(1000, 'v');
  for (int I = 0; Text.size() < 3 * LcManifestReader::RampUpInput; ++I) {
    std::string Name = "check-" + std::to_string(I);
    Text += "checkname=" + Name + "\ndescription=" + LongValue + "\n\n";
    Expected.push_back({{"checkname", Name}, {"description", LongValue}});
  }
  Disk.AddFile("m.txt", Text);
  LcManifestReader Reader;
  Reader.Open(Console, Disk, "m.txt");
  Records Seen;
  while (!Reader.AtEnd()) {
    Seen.push_back(Copy(Reader.Current()));
    Reader.Advance();
  }
  EXPECT_EQ(Seen, Expected);
  // A file hands over all that is asked of it, up to its end.
  const std::vector<std::size_t> &Sizes = Disk.ReadSizes();
  ASSERT_FALSE(Sizes.empty());
  EXPECT_EQ(Sizes.front(), LcManifestReader::RampUpReadSize);
  std::size_t Read = 0;
  std::size_t Larger = 0;
  for (std::size_t Size : Sizes) {
    if (Read < LcManifestReader::RampUpInput)
      EXPECT_LE(Size, LcManifestReader::RampUpReadSize) << "after " << Read;
    else if (Size > LcManifestReader::RampUpReadSize)
      ++Larger;
    Read += std::min(Size, Text.size() - Read);
  }
  EXPECT_EQ(Read, Text.size());
  // The rest comes in reads of nearly a whole buffer.
  EXPECT_GE(Larger, (Text.size() - LcManifestReader::RampUpInput) /
                        LcManifestReader::DefaultBlockSize);
}

TEST_F(ManifestReaderOnDisk, ReadsThroughALink) {
  Disk.AddFolder("conf");
  Disk.AddFile("conf/m.txt", "checkname=A\n\n");
  Disk.AddLink("m.txt", "conf/m.txt");
  LcManifestReader Reader;
  Reader.Open(Console, Disk, "m.txt");
  ASSERT_FALSE(Reader.AtEnd());
  EXPECT_EQ(Copy(Reader.Current()), (Record{{"checkname", "A"}}));
}

TEST_F(ManifestReaderOnDisk, OpenRefusedIsReported) {
  Disk.AddFile("m.txt", "checkname=A\n\n");
  Disk.FailOpen("m.txt", EACCES);
  ExpectOpenFailure("m.txt");
}

TEST_F(ManifestReaderOnDisk, MissingFileIsReported) {
  ExpectOpenFailure("none.txt");
}

TEST_F(ManifestReaderOnDisk, FolderIsReportedAndClosed) {
  Disk.AddFolder("conf");
  ExpectOpenFailure("conf");
}

} // namespace

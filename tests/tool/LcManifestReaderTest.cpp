// Tests of the checks manifest reader: record splitting, line ends, dropped
// lines, the last-record rule, stream errors and memory exhaustion.
#include "tool/LcManifestReader.h"

#include "console/MsConsole.h"
#include "console/MsConsoleConcrete.h"
#include "tests/tool/LcToolTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>
#include <utility>
#include <vector>

namespace {

using Pair = std::pair<std::string, std::string>;
using Record = std::vector<Pair>;
using Records = std::vector<Record>;

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
  Reader.Open(Path);
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
  for (int I = 0; I < 500; ++I) {
    std::string Name = "check-" + std::to_string(I);
    Text += "checkname=" + Name + "\r\ndescription=" + LongValue + "\r\n\r\n";
    Expected.push_back({{"checkname", Name}, {"description", LongValue}});
  }
  ASSERT_GT(Text.size(),
            4 * static_cast<std::size_t>(LcManifestReader::BufferSize));
  lctest::WriteFile(Path, Text);
  Records Seen;
  LcManifestReader Reader;
  Reader.Open(Path);
  while (!Reader.AtEnd()) {
    Seen.push_back(Copy(Reader.Current()));
    Reader.Advance();
  }
  EXPECT_EQ(Seen, Expected);
}

class ManifestReaderOpenFailure : public ::testing::Test {
protected:
  void ExpectOpenFailure(const std::string &Path) {
    MsConsoleConcrete &Console = lctest::Console();
    std::size_t Before = Console.Messages().size();
    LcManifestReader Reader;
    EXPECT_THROW(Reader.Open(Path), MsConsoleException);
    EXPECT_TRUE(Reader.AtEnd());
    ASSERT_EQ(Console.Messages().size(), Before + 1);
    const MsConsoleConcrete::Released &M = Console.Messages().back();
    EXPECT_EQ(Console.TagText(M.Tag), "Lc002");
    EXPECT_EQ(M.Lvl, MsConsole::ErrorFixed);
    EXPECT_EQ(M.Text, "could not open file \"" + Path + "\"");
  }
  lctest::TempDir Dir;
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

} // namespace

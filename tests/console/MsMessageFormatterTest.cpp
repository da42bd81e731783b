// Tests of the message formatter: the layouts by kind, source lines with a
// caret, positions and the text forms of positions.
#include "console/MsMessageFormatter.h"

#include "console/MsConsoleConcrete.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

using namespace mstest;

namespace {

std::unique_ptr<MsMessageContentInterface> Plain(const std::string &Text) {
  return std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Text});
}

/// Formats one message with the console's formatter.
struct FormatFixture {
  FormatFixture() : Console(Err, Out) {}
  std::string Format(int Kind, const MsTag &Tag, const DiSourceRange &Range,
                     const std::string &Text) {
    MsMessage M(Kind, Tag, Range, Plain(Text));
    std::ostringstream Result;
    Console.GetFormatter().Format(Result, M, Console);
    return Result.str();
  }
  std::ostringstream Err, Out;
  MsConsoleConcrete Console;
};

const MsTag Ms4("Ms", 4);

TEST(MsMessageFormatterTest, DiagnosticWithoutPosition) {
  FormatFixture F;
  EXPECT_EQ(F.Format(MsMessage::KindErrorFixed, MsTag("Ms", 7), DiSourceRange(),
                     "could not open file \"x.txt\""),
            "Error[Ms007]: could not open file \"x.txt\"\n");
  EXPECT_EQ(
      F.Format(MsMessage::KindFatalError, MsTag("Ms", 8), DiSourceRange(), "t"),
      "Fatal error[Ms008]: t\n");
  EXPECT_EQ(F.Format(MsMessage::KindCommandLineError, MsTag("Ms", 1),
                     DiSourceRange(), "t"),
            "Command line error: t\n");
  EXPECT_EQ(
      F.Format(MsMessage::KindError, MsTag("Ms", 1), DiSourceRange(), "t"),
      "Error[Ms001]: t\n");
  EXPECT_EQ(
      F.Format(MsMessage::KindWarning, MsTag("Ms", 1), DiSourceRange(), "t"),
      "Warning[Ms001]: t\n");
  EXPECT_EQ(
      F.Format(MsMessage::KindRemark, MsTag("Ms", 1), DiSourceRange(), "t"),
      "Remark[Ms001]: t\n");
  // Without a tag there are no brackets.
  EXPECT_EQ(F.Format(MsMessage::KindWarning, MsTag(), DiSourceRange(), "t"),
            "Warning: t\n");
}

TEST(MsMessageFormatterTest, DiagnosticWithPositionAndSourceLine) {
  FormatFixture F;
  OneFile File("dir/x.c", {"int a;", "\tint\tb = c;"});
  // Column 6 of line 2 is the "b" after two tabs.
  EXPECT_EQ(F.Format(MsMessage::KindWarning, Ms4, DiSourceRange(File.At(2, 6)),
                     "problem"),
            "\n"
            "  \tint\tb = c;\n"
            "  \t   \t^\n"
            "\"dir/x.c\",2  Warning[Ms004]: problem\n");
  EXPECT_EQ(F.Format(MsMessage::KindErrorFixed, Ms4,
                     DiSourceRange(File.At(1, 1)), "p"),
            "\n  int a;\n  ^\n\"dir/x.c\",1  Error[Ms004]: p\n");
}

TEST(MsMessageFormatterTest, CaretPastTheLineStopsAfterIt) {
  FormatFixture F;
  OneFile File("x.c", {"ab"});
  EXPECT_EQ(F.Format(MsMessage::KindWarning, Ms4,
                     DiSourceRange(File.At(1, 4000000000u)), "p"),
            "\n  ab\n    ^\n\"x.c\",1  Warning[Ms004]: p\n");
  EXPECT_EQ(
      F.Format(MsMessage::KindWarning, Ms4, DiSourceRange(File.At(1, 0)), "p"),
      "\n  ab\n  ^\n\"x.c\",1  Warning[Ms004]: p\n");
}

TEST(MsMessageFormatterTest, PositionWithoutKeptLineText) {
  FormatFixture F;
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  std::uint32_t Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile("y.xcl")));
  Build.EndFile(4);
  EXPECT_EQ(F.Format(MsMessage::KindWarning, Ms4,
                     DiSourceRange(DiSourcePosition(Base + 2, 5, &Seq)), "p"),
            "\n\"y.xcl\",3  Warning[Ms004]: p\n");
}

TEST(MsMessageFormatterTest, AtEndOfSource) {
  FormatFixture F;
  OneFile File;
  EXPECT_EQ(F.Format(MsMessage::KindErrorFixed, Ms4,
                     DiSourceRange(DiSourcePosition::sEnd), "p"),
            "At end of source  Error[Ms004]: p\n");
  EXPECT_EQ(F.Format(MsMessage::KindErrorFixed, Ms4,
                     DiSourceRange(File.AtEnd()), "p"),
            "At end of source  Error[Ms004]: p\n");
  OgSourceLineSequence Empty;
  EXPECT_EQ(F.Format(MsMessage::KindWarning, Ms4,
                     DiSourceRange(DiSourcePosition(0, 1, &Empty)), "p"),
            "At end of source  Warning[Ms004]: p\n");
}

TEST(MsMessageFormatterTest, CommandLineErrorLayouts) {
  FormatFixture F;
  OneFile File("cmd.xcl", {"--a \"b"});
  EXPECT_EQ(F.Format(MsMessage::KindCommandLineError, MsTag(), DiSourceRange(),
                     "Missing option: --x"),
            "Command line error: Missing option: --x\n");
  EXPECT_EQ(F.Format(MsMessage::KindCommandLineError, MsTag(),
                     DiSourceRange(File.At(1, 5)),
                     "Missing closing quote in command file"),
            "\n  --a \"b\n      ^\n"
            "\"cmd.xcl\",1  Command line error: Missing closing quote in "
            "command file\n");
}

TEST(MsMessageFormatterTest, ContentThatStartsANewLineDropsTheHeadingBlank) {
  /// Content laid out by someone else: a fixed text, and the start column
  /// it was given.
  class Fixed : public MsMessageContentInterface {
  public:
    Fixed(std::string Body, std::uint32_t &Seen)
        : Text_(std::move(Body)), Column(Seen) {}
    void Write(std::ostream &Out, std::uint32_t StartColumn, std::uint16_t,
               std::uint32_t) const override {
      Column = StartColumn;
      Out << Text_;
    }
    void WriteUnwrapped(std::ostream &Out) const override { Out << Text_; }
    std::string Text() const override { return Text_; }

  private:
    std::string Text_;
    std::uint32_t &Column;
  };
  FormatFixture F;
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  const std::uint32_t Base =
      Build.BeginFile(GeRcPtr<DiFile>(new DiFile("deep/opts.xcl")));
  Build.EndFile(3);
  const DiSourceRange At(DiSourcePosition(Base + 1, 1, &Seq));
  struct Case {
    int Kind;
    MsTag Tag;
    DiSourceRange Where;
    const char *Body;
    const char *Expected;
    std::uint32_t Column;
  };
  const Case Cases[] = {
      {MsMessage::KindCommandLineError, MsTag(), At, "\n          text",
       "\n\"deep/opts.xcl\",2  Command line error:\n          text\n", 39},
      {MsMessage::KindWarning, Ms4, At, "\n          text",
       "\n\"deep/opts.xcl\",2  Warning[Ms004]:\n          text\n", 35},
      {MsMessage::KindErrorFixed, Ms4, DiSourceRange(), "\n          t",
       "Error[Ms004]:\n          t\n", 14},
      {MsMessage::KindInternalError, MsTag(), DiSourceRange(), "\nx",
       "Internal error:\nx\n", 16},
      // Content that stays on the heading's line keeps the blank.
      {MsMessage::KindWarning, Ms4, DiSourceRange(), "fits",
       "Warning[Ms004]: fits\n", 16},
      {MsMessage::KindWarning, Ms4, DiSourceRange(), "two\n          lines",
       "Warning[Ms004]: two\n          lines\n", 16},
      {MsMessage::KindWarning, Ms4, DiSourceRange(), "", "Warning[Ms004]: \n",
       16},
  };
  for (const Case &C : Cases) {
    std::uint32_t Column = 0;
    MsMessage M(C.Kind, C.Tag, C.Where,
                std::make_unique<Fixed>(C.Body, Column));
    std::ostringstream Result;
    F.Console.GetFormatter().Format(Result, M, F.Console);
    EXPECT_EQ(Result.str(), C.Expected) << C.Body;
    EXPECT_EQ(Column, C.Column) << C.Expected;
  }
}

TEST(MsMessageFormatterTest, InternalErrorAbortAndOutOfMemory) {
  FormatFixture F;
  OneFile File("f", {"x"});
  EXPECT_EQ(
      F.Format(MsMessage::KindInternalError, MsTag(), DiSourceRange(), "what"),
      "Internal error: what\n");
  EXPECT_EQ(F.Format(MsMessage::KindInternalError, MsTag("Ms", 1),
                     DiSourceRange(File.At(1, 1)), "what"),
            "\"f\",1  Internal error: what\n");
  MsMessage Abort(MsMessage::KindAbort, MsTag(), DiSourceRange(), nullptr);
  std::ostringstream A;
  F.Console.GetFormatter().Format(A, Abort, F.Console);
  EXPECT_EQ(A.str(), "Fatal error detected, aborting.\n");
  EXPECT_EQ(
      F.Format(MsMessage::KindOutOfMemory, MsTag(), DiSourceRange(), "ignored"),
      "Out of memory\n");
}

TEST(MsMessageFormatterTest, KindsWithoutHumanForm) {
  FormatFixture F;
  for (int Kind : {8, 10, 11, 12, 13, 14})
    EXPECT_EQ(F.Format(Kind, MsTag(), DiSourceRange(), "t"), "") << Kind;
}

TEST(MsMessageFormatterTest, ContentEndingInLineFeedGetsNoEmptyLine) {
  FormatFixture F;
  EXPECT_EQ(F.Format(MsMessage::KindFatalError, MsTag("Ms", 8), DiSourceRange(),
                     "Error limit reached\n"),
            "Fatal error[Ms008]: Error limit reached\n");
}

TEST(MsMessageFormatterTest, WidthSetting) {
  MsMessageFormatter Default;
  EXPECT_EQ(Default.Width(), 79);
  EXPECT_EQ(Default.EffectiveWidth(), 79);
  MsMessageFormatter NoWrap(-1);
  EXPECT_EQ(NoWrap.EffectiveWidth(), 65535);
  NoWrap.SetWidth(40);
  EXPECT_EQ(NoWrap.Width(), 40);
}

TEST(MsMessageFormatterTest, LevelWords) {
  struct Case {
    int Kind;
    const char *Word;
  } Cases[] = {{2, "Fatal error"}, {3, "Command line error"},
               {4, "Error"},       {5, "Error"},
               {6, "Warning"},     {7, "Remark"},
               {0, nullptr},       {1, nullptr},
               {8, nullptr},       {9, nullptr},
               {13, nullptr}};
  for (const Case &C : Cases) {
    MsMessage M(C.Kind, MsTag(), DiSourceRange(), nullptr);
    const char *Word =
        MsMessageFormatterDoDiagnosticNoSourceVisitor::LevelWordOf(M);
    if (C.Word)
      EXPECT_STREQ(Word, C.Word) << C.Kind;
    else
      EXPECT_EQ(Word, nullptr) << C.Kind;
  }
}

TEST(MsMessageFormatterTest, WriteContentUnwrapped) {
  MsMessageFormatter Formatter;
  std::string Long(200, 'w');
  MsMessage M(MsMessage::KindWarning, MsTag(), DiSourceRange(),
              Plain(Long + " end"));
  std::ostringstream Out;
  Formatter.WriteContentUnwrapped(Out, M);
  EXPECT_EQ(Out.str(), Long + " end");
}

//===----------------------------------------------------------------------===//
// Position forms
//===----------------------------------------------------------------------===//

TEST(MsMessageFormatterPositionTest, PlainAndVerbose) {
  OneFile File("a b.c", {"1", "2", "3"});
  DiSourceRange R(File.At(3, 2));
  EXPECT_EQ(MsMessageFormatter::PlainPositionText(R), "\"a b.c\", line 3");
  EXPECT_EQ(MsMessageFormatter::VerbosePositionText(R),
            "at line 3 of \"a b.c\"");
  EXPECT_EQ(MsMessageFormatter::PlainPositionText(DiSourceRange()), "");
  EXPECT_EQ(MsMessageFormatter::VerbosePositionText(DiSourceRange()), "");
  DiSourceRange End(DiSourcePosition::sEnd);
  EXPECT_EQ(MsMessageFormatter::PlainPositionText(End), "at end of source");
  EXPECT_EQ(MsMessageFormatter::VerbosePositionText(End), "at end of source");
}

TEST(MsMessageFormatterPositionTest, TaggedForm) {
  OneFile File("f.c", {"1", "2", "3"});
  EXPECT_EQ(MsMessageFormatter::TaggedPositionOpen(
                DiSourceRange(File.At(2, 5), File.At(3, 9))),
            "\x01<SRCREF file=\"f.c\" line=2 col=5 endline=3 endcol=9\x01>");
  // A range whose end equals its start has neither endline nor endcol.
  EXPECT_EQ(MsMessageFormatter::TaggedPositionOpen(
                DiSourceRange(File.At(2, 5), File.At(2, 5))),
            "\x01<SRCREF file=\"f.c\" line=2 col=5\x01>");
  EXPECT_EQ(MsMessageFormatter::TaggedPositionOpen(
                DiSourceRange(File.At(2, 5), File.At(2, 7))),
            "\x01<SRCREF file=\"f.c\" line=2 col=5 endcol=7\x01>");
  EXPECT_EQ(MsMessageFormatter::TaggedPositionOpen(
                DiSourceRange(File.At(1, 5), File.At(3, 5))),
            "\x01<SRCREF file=\"f.c\" line=1 col=5 endline=3\x01>");
  EXPECT_EQ(MsMessageFormatter::TaggedPositionClose(), "\x01</SRCREF\x01>");
}

TEST(MsMessageFormatterPositionTest, WriteSourcePosition) {
  MsMessageFormatter Formatter;
  OneFile File("q.c", {"1", "2"});
  std::ostringstream Out;
  Formatter.WriteSourcePosition(Out, File.At(2, 1));
  Formatter.WriteSourcePosition(Out, DiSourcePosition::sEnd);
  EXPECT_EQ(Out.str(), "\"q.c\",2  At end of source  ");
}

} // namespace

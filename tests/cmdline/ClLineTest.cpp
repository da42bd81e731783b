// Tests of the walk over the argument tokens and of command-file expansion.
#include "cmdline/ClLine.h"
#include "cmdline/ClCommandFile.h"
#include "cmdline/ClParser.h"
#include "tests/support/ClTestSupport.h"
#include "tests/support/FailureScope.h"
#include "tests/support/GeTextEncodingSupport.h"
#include "tests/support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

using MapFileArg = cltest::MemoryFileArg;

/// A map-backed command-file option that appends ".xcl" to names without a
/// dot.
class XclFileArg : public MapFileArg {
public:
  std::string FileName(const std::string &Parameter) const override {
    if (Parameter.find('.') == std::string::npos)
      return Parameter + ".xcl";
    return Parameter;
  }
};

/// A small tree in the shape of a tool's: output once, check gathered, a
/// flag, and the command-file option.
struct LineTree {
  explicit LineTree(ClCommandFileArg &FileArg) {
    Root.Add(std::make_unique<ClOnce>(Output));
    Root.Add(std::make_unique<ClOnce>(All));
    Check = &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(CheckArg));
    Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(FileArg));
  }

  std::vector<std::string> Checks() const {
    std::vector<std::string> Texts;
    for (const ClValue &V : Check->Values())
      Texts.push_back(V.Text);
    return Texts;
  }

  ClStringArg Output{'o', "output", "file", "Override output file"};
  ClFlagArg All{0, "all", "Generate all checks"};
  ClStringSetArg CheckArg{0, "check", "chk,chk,...", "Generate check(s)", ','};
  ClMultiVal<ClStringSetArg> *Check = nullptr;
  ClAny Root;
};

std::vector<std::string> Texts(const std::vector<ClToken> &Tokens) {
  std::vector<std::string> Result;
  for (const ClToken &T : Tokens)
    Result.push_back(T.Text);
  return Result;
}

/// The error of type Error that Walk throws, or nothing (and a test
/// failure) when it throws none.
template <typename Error, typename Action>
std::optional<Error> ErrorOf(Action &&Walk) {
  try {
    Walk();
    ADD_FAILURE() << "no error";
  } catch (const Error &E) {
    return E;
  }
  return std::nullopt;
}

// Argument vectors
// ---------------------------------------------------------------

TEST(ClLineArguments, ArgumentVectorSkipsTheProgramName) {
  const char *Argv[] = {"prog", "-o", nullptr, "x"};
  ClLine Line(4, Argv);
  ASSERT_EQ(Line.Arguments().size(), 3u);
  EXPECT_EQ(Line.Arguments()[0].Text, "-o");
  EXPECT_EQ(Line.Arguments()[0].Place.ArgIndex, 1);
  EXPECT_EQ(Line.Arguments()[1].Text, "");
  EXPECT_EQ(Line.Arguments()[2].Place.ArgIndex, 3);
  EXPECT_TRUE(Line.Arguments()[2].Place.Position.IsNone());
  EXPECT_TRUE(ClLine(0, nullptr).Arguments().empty());
  EXPECT_TRUE(ClLine(5, nullptr).Arguments().empty());
  EXPECT_TRUE(ClLine(1, Argv).Arguments().empty());
  EXPECT_TRUE(ClLine(-3, Argv).Arguments().empty());
}

// The walk
// -------------------------------------------------------------------------

TEST(ClLineWalk, LoneDashIsPositional) {
  MapFileArg Files;
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"-", "a", "-"}).Walk(T.Root);
  EXPECT_EQ(Texts(R.Positional), (Strings{"-", "a", "-"}));
  EXPECT_EQ(R.Positional[2].Place.ArgIndex, 3);
}

TEST(ClLineWalk, OptionsAndPositionalsInOrder) {
  MapFileArg Files;
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"src.c", "--output", "sel.txt", "--all",
                                  "--check=A,B", "other.c"})
                       .Walk(T.Root);
  EXPECT_EQ(Texts(R.Positional), (Strings{"src.c", "other.c"}));
  EXPECT_EQ(T.Output.Value(), "sel.txt");
  EXPECT_TRUE(T.All.Value());
  EXPECT_EQ(T.Checks(), (Strings{"A", "B"}));
  EXPECT_TRUE(R.Deprecated.empty());
  EXPECT_TRUE(R.Recorded.empty());
}

TEST(ClLineWalk, SeparateParameterMissingAtTheEnd) {
  MapFileArg Files;
  LineTree T(Files);
  const auto E = ErrorOf<ClArgParser::ParseError>([&] {
    ClLine(Strings{"a", "-o"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_STREQ(E->what(), "Option requires a separate parameter: -o");
  EXPECT_EQ(E->Place().ArgIndex, 2);
}

TEST(ClLineWalk, ParameterWithInitialDashIsRefused) {
  MapFileArg Files;
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::ParaBeginsWithMinusError>([&] {
    ClLine(Strings{"-o", "-x"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->Message(), ClLineMessage::ParaBeginsWithMinus);
  EXPECT_EQ(E->FillIns(), (Strings{"-o", "-x"}));
  EXPECT_EQ(E->Option().Text, "-o");
  EXPECT_EQ(E->Parameter().Text, "-x");
  EXPECT_EQ(E->Parameter().Place.ArgIndex, 2);
  EXPECT_EQ(E->Place().ArgIndex, 1);
}

TEST(ClLineWalk, SeparateParameterTable) {
  struct Case {
    const char *Para;
    bool Ok;
    const char *Value;
  };
  const Case Cases[] = {
      {"---x", true, "-x"}, {"-", true, "-"},   {"---", true, "-"},
      {"", true, ""},       {"x-", true, "x-"}, {"----x", true, "--x"},
      {"-x", false, ""},    {"--", false, ""},  {"--x", false, ""},
      {"-o", false, ""},
  };
  for (const Case &C : Cases) {
    MapFileArg Files;
    LineTree T(Files);
    ClLine Line(Strings{"--output", C.Para});
    if (C.Ok) {
      EXPECT_NO_THROW(Line.Walk(T.Root)) << C.Para;
      EXPECT_EQ(T.Output.Value(), C.Value) << C.Para;
    } else {
      EXPECT_THROW(Line.Walk(T.Root), ClLine::ParaBeginsWithMinusError)
          << C.Para;
    }
  }
}

TEST(ClLineWalk, UnknownOptionsAreReportedTogetherAfterTheWalk) {
  MapFileArg Files;
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::UnmatchedError>([&] {
    ClLine(Strings{"-q", "a", "--output=x", "--outputs", "--", "---", "-"})
        .Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(Texts(E->Arguments()), (Strings{"-q", "--outputs", "--", "---"}));
  EXPECT_EQ(E->Arguments()[1].Place.ArgIndex, 4);
  EXPECT_EQ(E->Message(), ClLineMessage::UnexpectedArguments);
  EXPECT_EQ(E->FillIns(), (Strings{"-q", "--outputs", "--", "---"}));
  EXPECT_STREQ(E->what(), "command-line message 2 \"-q\" \"--outputs\" "
                          "\"--\" \"---\"");
  EXPECT_TRUE(E->Place().IsNone());
}

TEST(ClLineWalk, UnknownOptionsComeBeforeOccurrenceChecks) {
  ClAny Root;
  ClStringArg Must(0, "must", "x", "Mandatory");
  Root.Add(std::make_unique<ClOnce>(Must, true));
  EXPECT_THROW(ClLine(Strings{"-q"}).Walk(Root), ClLine::UnmatchedError);
  EXPECT_THROW(ClLine(Strings{"q"}).Walk(Root), ClArgParser::ParseError);
}

TEST(ClLineWalk, AcceptedUnknownOptionsArePositional) {
  MapFileArg Files;
  LineTree T(Files);
  ClWalkSettings Settings;
  Settings.AcceptUnknownOptions = true;
  ClWalkResult R =
      ClLine(Strings{"-q", "a", "--all", "--x=1", "-"}).Walk(T.Root, Settings);
  EXPECT_EQ(Texts(R.Positional), (Strings{"-q", "a", "--x=1", "-"}));
  EXPECT_TRUE(T.All.Value());
}

TEST(ClLineWalk, DeprecatedAndRecordedTokens) {
  ClAny Root;
  ClFlagArg Old(0, "old", "Old");
  Old.SetDeprecated();
  ClStringArg Out('o', "output", "file", "Output");
  ClStringArg Marked(0, "marked", "v", "Marked");
  Marked.SetSecondMark();
  MapFileArg Files;
  Files.Files["c"] = "--old";
  Root.Add(std::make_unique<ClOnce>(Old));
  Root.Add(std::make_unique<ClOnce>(Out));
  Root.Add(std::make_unique<ClMulti>(Marked));
  Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(Files));
  const Strings Args{"--old", "src", "-o", "x", "--marked", "v", "-f", "c"};

  ClWalkResult Plain = ClLine(Args).Walk(Root);
  EXPECT_EQ(Texts(Plain.Deprecated), (Strings{"--old", "--old"}));
  EXPECT_TRUE(Plain.Recorded.empty());
  EXPECT_TRUE(Plain.SecondRecorded.empty());
  EXPECT_EQ(Texts(Plain.Positional), (Strings{"src"}));

  ClAny Root2;
  ClFlagArg Old2(0, "old", "Old");
  ClStringArg Out2('o', "output", "file", "Output");
  ClStringArg Marked2(0, "marked", "v", "Marked");
  Marked2.SetSecondMark();
  Root2.Add(std::make_unique<ClOnce>(Old2));
  Root2.Add(std::make_unique<ClOnce>(Out2));
  Root2.Add(std::make_unique<ClMulti>(Marked2));
  Root2.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(Files));
  ClWalkSettings Settings;
  Settings.RecordOptions = true;
  Settings.NotRecorded = &Files;
  ClWalkResult Rec = ClLine(Args).Walk(Root2, Settings);
  EXPECT_TRUE(Rec.Deprecated.empty());
  EXPECT_EQ(Texts(Rec.Recorded), (Strings{"--old", "-o", "x", "--old"}));
  EXPECT_EQ(Texts(Rec.SecondRecorded), (Strings{"--marked", "v"}));
}

TEST(ClLineWalk, RecordedSeparateParameterKeepsItsTripleDash) {
  ClAny Root;
  ClStringArg Out('o', "output", "file", "Output");
  Root.Add(std::make_unique<ClOnce>(Out));
  ClWalkSettings Settings;
  Settings.RecordOptions = true;
  ClWalkResult R = ClLine(Strings{"-o", "---x"}).Walk(Root, Settings);
  EXPECT_EQ(Texts(R.Recorded), (Strings{"-o", "---x"}));
  EXPECT_EQ(Out.Value(), "-x");
}

TEST(ClLineWalk, UnknownMatchKindIsAnInternalFailure) {
  class Broken : public ClAny {
  public:
    ClMatch Match(const ClToken &, const ClToken *) override {
      ClMatch M;
      M.Kind = static_cast<ClArgPara>(7);
      return M;
    }
  } Root;
  testsupport::ThrowingFailureScope Failures;
  try {
    ClLine(Strings{"x"}).Walk(Root);
    ADD_FAILURE() << "no failure";
  } catch (const testsupport::InternalFailure &Failure) {
    EXPECT_EQ(std::string(Failure.what()), "Unknown ClArgPara");
  }
}

// Help and the first error
// ---------------------------------------------------------

ClWalkSettings WithHelp() {
  ClWalkSettings Settings;
  Settings.HelpToken = "--help";
  return Settings;
}

TEST(ClLineWalk, HelpTokenStopsTheWalkWhereAnOptionMayStand) {
  MapFileArg Files;
  Files.Files["h"] = "--check=a\n--help\n--check=b";
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"src", "-f", "h", "-f", "missing"})
                       .Walk(T.Root, WithHelp());
  EXPECT_TRUE(R.HelpRequested);
  EXPECT_EQ(Texts(R.Positional), (Strings{"src"}));
  // The walk stopped at the help token: the later file was not opened and no
  // occurrence was checked.
  EXPECT_EQ(Files.Opened, 1);
  EXPECT_TRUE(T.Check->Values().empty());
}

TEST(ClLineWalk, HelpWinsOverEveryOtherErrorOfTheLine) {
  MapFileArg Files;
  Files.Files["q"] = "--all \"open";
  Files.Files["self"] = "-f self";
  Files.Files["h"] = "--help";
  const std::vector<Strings> Lines = {
      {"--bogus", "--help"},
      {"--help", "--bogus"},
      {"-o", "-x", "--help"},
      {"--help", "-o"},
      {"-f", "missing", "--help"},
      {"-f", "q", "--help"},
      {"-f", "self", "--help"},
      {"--all=1", "--help"},
      {"-o", "a", "-o", "b", "--help"},
      {"-o", "-x", "-f", "h"},
      {"--bogus", "-f", "h"},
  };
  for (const Strings &Line : Lines) {
    LineTree T(Files);
    ClWalkResult R;
    EXPECT_NO_THROW(R = ClLine(Line).Walk(T.Root, WithHelp())) << Line[0];
    EXPECT_TRUE(R.HelpRequested) << Line[0] << ' ' << Line[1];
  }
}

TEST(ClLineWalk, HelpTokenAsASeparateParameterIsThatParameter) {
  MapFileArg Files;
  Files.Files["p"] = "-o\n--help";
  for (const Strings &Line : {Strings{"-o", "--help"}, Strings{"-f", "p"}}) {
    LineTree T(Files);
    try {
      ClLine(Line).Walk(T.Root, WithHelp());
      ADD_FAILURE() << Line[1] << ": no error";
    } catch (const ClLine::ParaBeginsWithMinusError &E) {
      EXPECT_EQ(E.Parameter().Text, "--help");
    }
  }
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"-o", "---help"}).Walk(T.Root, WithHelp());
  EXPECT_FALSE(R.HelpRequested);
  EXPECT_EQ(T.Output.Value(), "-help");
}

TEST(ClLineWalk, HelpTokenIsMatchedWhole) {
  MapFileArg Files;
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::UnmatchedError>([&] {
    ClLine(Strings{"--help=1", "--helps", "-help"}).Walk(T.Root, WithHelp());
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(Texts(E->Arguments()), (Strings{"--help=1", "--helps", "-help"}));
  // Without a help token "--help" is an unknown option like any other.
  LineTree Plain(Files);
  EXPECT_THROW(ClLine(Strings{"--help"}).Walk(Plain.Root),
               ClLine::UnmatchedError);
}

TEST(ClLineWalk, FirstErrorIsRaisedAfterTheRestWasWalked) {
  MapFileArg Files;
  Files.Files["a"] = "--check=x";
  {
    LineTree T(Files);
    EXPECT_THROW(ClLine(Strings{"-o", "-x", "--bogus", "-o"}).Walk(T.Root),
                 ClLine::ParaBeginsWithMinusError);
  }
  {
    LineTree T(Files);
    EXPECT_THROW(
        ClLine(Strings{"--bogus", "-f", "nope", "-o", "-x"}).Walk(T.Root),
        ClLine::CommandFileNotFound);
  }
  {
    // The files after the error are still read (a help token may be in
    // them), but no occurrence is checked.
    Files.Opened = 0;
    LineTree T(Files);
    EXPECT_THROW(ClLine(Strings{"-o", "-x", "-f", "a"}).Walk(T.Root),
                 ClLine::ParaBeginsWithMinusError);
    EXPECT_EQ(Files.Opened, 1);
    EXPECT_TRUE(T.Check->Values().empty());
  }
}

// Command files
// --------------------------------------------------------------------

TEST(ClLineCommandFile, TokensReplaceTheOptionInPlace) {
  MapFileArg Files;
  Files.Files["a.xcl"] = "--check=b\n  -o out.txt src2\n";
  LineTree T(Files);
  ClWalkResult R =
      ClLine(Strings{"--check=a", "src1", "-f", "a.xcl", "--check=c", "src3"})
          .Walk(T.Root);
  EXPECT_EQ(T.Checks(), (Strings{"a", "b", "c"}));
  EXPECT_EQ(T.Output.Value(), "out.txt");
  EXPECT_EQ(Texts(R.Positional), (Strings{"src1", "src2", "src3"}));
  const ClPlace &Place = R.Positional[1].Place;
  EXPECT_EQ(Place.ArgIndex, -1);
  ASSERT_NE(Place.Position.File(), nullptr);
  EXPECT_EQ(Place.Position.File()->Name(), "a.xcl");
  EXPECT_EQ(Place.Position.Line(), 2u);
  EXPECT_EQ(Place.Position.Column(), 14u);
  EXPECT_EQ(Place.Position.Sequence(), &ClCommandFileLines());
  EXPECT_EQ(Place.Position.Text(true), "a.xcl\\2:14");
  const ClValue &Second = T.Check->Values()[1];
  EXPECT_EQ(Second.Place.Position.Line(), 1u);
  EXPECT_EQ(Second.Place.Position.Column(), 1u);
}

TEST(ClLineCommandFile, ShortOptionWithAttachedName) {
  MapFileArg Files;
  Files.Files["a"] = "--all";
  LineTree T(Files);
  ClLine(Strings{"-fa"}).Walk(T.Root);
  EXPECT_TRUE(T.All.Value());
}

TEST(ClLineCommandFile, NestedFilesExpandInPlace) {
  MapFileArg Files;
  Files.Files["a"] = "--check=a1 -f b --check=a2";
  Files.Files["b"] = "--check=b1 -f c";
  Files.Files["c"] = "--check=c1";
  LineTree T(Files);
  ClLine(Strings{"--check=0", "-f", "a", "--check=9"}).Walk(T.Root);
  EXPECT_EQ(T.Checks(), (Strings{"0", "a1", "b1", "c1", "a2", "9"}));
}

TEST(ClLineCommandFile, FileNamingItselfIsRecursion) {
  MapFileArg Files;
  Files.Files["a"] = "--all\n  -f a";
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileRecursionError>([&] {
    ClLine(Strings{"-f", "a"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->FileName(), "a");
  EXPECT_EQ(E->Message(), ClLineMessage::CommandFileRecursion);
  EXPECT_EQ(E->FillIns(), Strings{"a"});
  EXPECT_EQ(E->Place().Position.Line(), 2u);
  EXPECT_EQ(E->Place().Position.Column(), 3u);
}

TEST(ClLineCommandFile, CycleThroughTwoFilesIsRecursion) {
  MapFileArg Files;
  Files.Files["a"] = "-f b";
  Files.Files["b"] = "--check=x -f a";
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileRecursionError>([&] {
    ClLine(Strings{"-f", "a"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->FileName(), "a");
  EXPECT_EQ(E->Place().Position.File()->Name(), "b");
}

TEST(ClLineCommandFile, RecursionIsFoundByTheMappedName) {
  XclFileArg Files;
  Files.Files["a.xcl"] = "-f a.xcl";
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileRecursionError>([&] {
    ClLine(Strings{"-f", "a"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->FileName(), "a.xcl");
}

TEST(ClLineCommandFile, RecursionIsFoundByIdentityAndNamedAsRequested) {
  MapFileArg Files;
  Files.Files["a"] = "--check=x\n -f ./a";
  Files.Aliases["./a"] = "a";
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileRecursionError>([&] {
    ClLine(Strings{"-f", "a"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->FileName(), "./a");
  EXPECT_EQ(E->Message(), ClLineMessage::CommandFileRecursion);
  EXPECT_EQ(E->FillIns(), Strings{"./a"});
  EXPECT_EQ(E->Place().Position.Line(), 2u);
  EXPECT_EQ(E->Place().Position.Column(), 2u);
  // Found before the second spelling is opened.
  EXPECT_EQ(Files.Opened, 1);
}

TEST(ClLineCommandFile, EachFileIsAnnouncedOnceUnderItsFirstName) {
  MapFileArg Files;
  Files.Files["a"] = "--check=x";
  Files.Files["./a"] = "--check=y";
  Files.Files["b"] = "-f a";
  Files.Files["e"] = "";
  Files.Aliases["./a"] = "a";
  LineTree T(Files);
  ClLine(Strings{"-f", "b", "-f", "./a", "-f", "a", "-f", "e", "-f", "b"})
      .Walk(T.Root);
  EXPECT_EQ(T.Checks(), (Strings{"x", "y", "x", "x"}));
  EXPECT_EQ(Files.Announced, (Strings{"b", "a", "e"}));
}

TEST(ClLineCommandFile, UnreadableFilesAreNotAnnounced) {
  MapFileArg Files;
  Files.Files["bad16"] = std::string("\xFF\xFE-", 3);
  LineTree T(Files);
  EXPECT_THROW(ClLine(Strings{"-f", "nope", "-f", "bad16"}).Walk(T.Root),
               ClLine::CommandFileNotFound);
  EXPECT_TRUE(Files.Announced.empty());
}

TEST(ClLineCommandFile, Utf16FileIsWalkedLikeItsUtf8Text) {
  MapFileArg Files;
  const std::string Text = "--check=\xC3\xA4\n  -o \"\xE2\x82\xAC x\" src";
  for (GeTextEncoding::Encoding E : GeTextEncoding::AllEncodings) {
    Files.Files["u"] = GeTextEncoding::Encode(Text, E);
    LineTree T(Files);
    ClWalkResult R = ClLine(Strings{"-f", "u"}).Walk(T.Root);
    const char *Name = GeTextEncoding::Name(E);
    EXPECT_EQ(T.Checks(), (Strings{"\xC3\xA4"})) << Name;
    EXPECT_EQ(T.Output.Value(), "\xE2\x82\xAC x") << Name;
    ASSERT_EQ(Texts(R.Positional), (Strings{"src"})) << Name;
    EXPECT_EQ(R.Positional[0].Place.Position.Line(), 2u) << Name;
    EXPECT_EQ(R.Positional[0].Place.Position.Column(), 12u) << Name;
  }
}

TEST(ClLineCommandFile, MalformedUtf16IsPlacedAtTheOption) {
  MapFileArg Files;
  Files.Files["odd"] = std::string("\xFE\xFF\0-\0", 5);
  Files.Files["outer"] = "\n --all -f odd";
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileNotFound>([&] {
    ClLine(Strings{"-f", "outer"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->Message(), ClLineMessage::CommandFileNotFound);
  EXPECT_EQ(E->FillIns(), Strings{"odd"});
  EXPECT_EQ(E->Place().Position.Text(true), "outer\\2:8");
}

TEST(ClLineCommandFile, SameFileTwiceOneAfterTheOtherIsAllowed) {
  MapFileArg Files;
  Files.Files["a"] = "--check=x";
  Files.Files["b"] = "-f a -f a";
  LineTree T(Files);
  ClLine(Strings{"-f", "a", "-f", "a", "-f", "b"}).Walk(T.Root);
  EXPECT_EQ(T.Checks(), (Strings{"x", "x", "x", "x"}));
  EXPECT_EQ(Files.Opened, 5);
}

TEST(ClLineCommandFile, FileNamedAgainAfterItsLastTokenIsNotNested) {
  // The option at the end of a takes its name from the command line, after
  // all of a has been walked.
  MapFileArg Files;
  Files.Files["a"] = "--check=x -f";
  LineTree T(Files);
  const auto E = ErrorOf<ClArgParser::ParseError>([&] {
    ClLine(Strings{"-f", "a", "a"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_STREQ(E->what(), "Option requires a separate parameter: -f");
  EXPECT_EQ(Files.Opened, 2);
}

TEST(ClLineCommandFile, OptionAtTheEndOfAFileTakesTheNextTypedArgument) {
  MapFileArg Files;
  Files.Files["a"] = "--check=x -o";
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"-f", "a", "out.txt", "src"}).Walk(T.Root);
  EXPECT_EQ(T.Output.Value(), "out.txt");
  EXPECT_EQ(Texts(R.Positional), (Strings{"src"}));
}

TEST(ClLineCommandFile, MissingFile) {
  MapFileArg Files;
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileNotFound>([&] {
    ClLine(Strings{"x", "-f", "nope"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->FileName(), "nope");
  EXPECT_EQ(E->Message(), ClLineMessage::CommandFileNotFound);
  EXPECT_EQ(E->FillIns(), Strings{"nope"});
  EXPECT_STREQ(E->what(), "command-line message 7 \"nope\"");
  EXPECT_EQ(E->Place().ArgIndex, 2);
}

TEST(ClLineCommandFile, EmptyFilesAddNothing) {
  MapFileArg Files;
  Files.Files["e"] = "";
  Files.Files["c"] = " /* x */ \n// y\n\t\r\n\"\" ";
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"-f", "e", "a", "-f", "c", "b"}).Walk(T.Root);
  EXPECT_EQ(Texts(R.Positional), (Strings{"a", "b"}));
}

TEST(ClLineCommandFile, ErrorsInsideAFileCarryFilePositions) {
  MapFileArg Files;
  Files.Files["q"] = "--all\n x \"abc\n\ndef";
  Files.Files["s"] = "--all /* never\n closed";
  Files.Files["m"] = "-o\n-x";
  Files.Files["u"] = "\n  --unknown";
  {
    LineTree T(Files);
    try {
      ClLine(Strings{"-f", "q"}).Walk(T.Root);
      FAIL() << "no error";
    } catch (const ClLine::UnmatchedQuoteError &E) {
      EXPECT_EQ(E.Message(), ClLineMessage::UnmatchedQuote);
      EXPECT_TRUE(E.FillIns().empty());
      EXPECT_EQ(E.FileName(), "q");
      EXPECT_EQ(E.Place().Position.File()->Name(), "q");
      EXPECT_EQ(E.Place().Position.Line(), 2u);
      EXPECT_EQ(E.Place().Position.Column(), 4u);
    }
    EXPECT_FALSE(T.All.Value());
  }
  {
    LineTree T(Files);
    try {
      ClLine(Strings{"-f", "s"}).Walk(T.Root);
      FAIL() << "no error";
    } catch (const ClLine::UnmatchedSlashStarError &E) {
      EXPECT_EQ(E.Message(), ClLineMessage::UnmatchedSlashStar);
      EXPECT_TRUE(E.FillIns().empty());
      EXPECT_EQ(E.Place().Position.Line(), 1u);
      EXPECT_EQ(E.Place().Position.Column(), 7u);
    }
  }
  {
    LineTree T(Files);
    try {
      ClLine(Strings{"-f", "m"}).Walk(T.Root);
      FAIL() << "no error";
    } catch (const ClLine::ParaBeginsWithMinusError &E) {
      EXPECT_EQ(E.Place().Position.Line(), 1u);
      EXPECT_EQ(E.Parameter().Place.Position.Line(), 2u);
    }
  }
  {
    LineTree T(Files);
    try {
      ClLine(Strings{"-f", "u"}).Walk(T.Root);
      FAIL() << "no error";
    } catch (const ClLine::UnmatchedError &E) {
      ASSERT_EQ(E.Arguments().size(), 1u);
      EXPECT_EQ(E.Arguments()[0].Place.Position.Text(true), "u\\2:3");
    }
  }
}

TEST(ClLineCommandFile, LongChainOfDistinctFilesIsNotRecursion) {
  // Every file names the next one, so no name repeats; the last one selects
  // a check.
  class ChainArg : public MapFileArg {
  public:
    std::unique_ptr<std::istream> Open(const std::string &Name) const override {
      ++Opened;
      const int Index = std::stoi(Name);
      return std::make_unique<std::istringstream>(
          Index == Last ? "--check=end" : "-f " + std::to_string(Index + 1));
    }
    int Last = 10000;
  } Files;
  LineTree T(Files);
  ClWalkResult R = ClLine(Strings{"-f", "0", "--check=after"}).Walk(T.Root);
  EXPECT_EQ(T.Checks(), (Strings{"end", "after"}));
  EXPECT_EQ(Files.Opened, 10001);
  EXPECT_TRUE(R.Positional.empty());
  const ClValue &End = T.Check->Values()[0];
  ASSERT_NE(End.Place.Position.File(), nullptr);
  EXPECT_EQ(End.Place.Position.File()->Name(), "10000");
}

TEST(ClLineCommandFile, CycleAtTheEndOfALongChainIsFound) {
  class ChainArg : public MapFileArg {
  public:
    std::unique_ptr<std::istream> Open(const std::string &Name) const override {
      const int Index = std::stoi(Name);
      return std::make_unique<std::istringstream>(
          "-f " + std::to_string(Index == 5000 ? 17 : Index + 1));
    }
  } Files;
  LineTree T(Files);
  const auto E = ErrorOf<ClLine::CommandFileRecursionError>([&] {
    ClLine(Strings{"-f", "0"}).Walk(T.Root);
  });
  ASSERT_TRUE(E);
  EXPECT_EQ(E->FileName(), "17");
  EXPECT_EQ(E->Place().Position.File()->Name(), "5000");
}

/// A folder of files for the disk-based opener, removed afterwards.
class DiskFolder : public testsupport::TempDir {
public:
  void Write(const std::string &Name, const std::string &Text) const {
    testsupport::WriteFile(Path(Name), Text);
  }
};

/// The disk-based opener, remembering what it announced.
class DiskFileArg : public ClCommandFileArg {
public:
  DiskFileArg()
      : ClCommandFileArg('f', "", "file",
                         "Read command line options from file") {}
  void Announce(const std::string &Name) const override {
    Announced.push_back(Name);
  }
  mutable Strings Announced;
};

TEST(ClLineCommandFile, OneFileUnderAnotherSpellingIsRecursion) {
  DiskFolder Dir;
  std::filesystem::create_directory(Dir.Path("sub"));
  Dir.Write("x", "--check=a");
  std::filesystem::create_symlink("x", Dir.Path("link"));
  std::filesystem::create_hard_link(Dir.Path("x"), Dir.Path("hard"));
  const Strings Spellings = {Dir.Path("x"),        Dir.Path("./x"),
                             Dir.Path("sub/../x"), Dir.Path("link"),
                             Dir.Path("hard"),     Dir.Path("sub/../link")};
  for (const std::string &Spelling : Spellings) {
    Dir.Write("x", "--check=a\n-f " + Spelling);
    DiskFileArg Files;
    LineTree T(Files);
    try {
      ClLine(Strings{"-f", Dir.Path("link")}).Walk(T.Root);
      ADD_FAILURE() << Spelling << ": no error";
    } catch (const ClLine::CommandFileRecursionError &E) {
      EXPECT_EQ(E.FileName(), Spelling);
      EXPECT_EQ(E.Place().Position.File()->Name(), Dir.Path("link"));
      EXPECT_EQ(E.Place().Position.Line(), 2u);
    }
  }
}

TEST(ClLineCommandFile, DistinctFilesWithTheSameTextAreNotRecursion) {
  DiskFolder Dir;
  Dir.Write("y", "--check=y");
  Dir.Write("copy", "--check=y");
  std::filesystem::create_symlink("y", Dir.Path("ly"));
  Dir.Write("x", "-f " + Dir.Path("copy") + " -f " + Dir.Path("ly"));
  DiskFileArg Files;
  LineTree T(Files);
  ClLine(
      Strings{"-f", Dir.Path("x"), "-f", Dir.Path("y"), "-f", Dir.Path("./y")})
      .Walk(T.Root);
  EXPECT_EQ(T.Checks(), (Strings{"y", "y", "y", "y"}));
  // y, ly and ./y are one file, announced under its first name.
  EXPECT_EQ(Files.Announced,
            (Strings{Dir.Path("x"), Dir.Path("copy"), Dir.Path("ly")}));
}

TEST(ClLineCommandFile, BaseOpenerReadsBytesFromDisk) {
  DiskFolder Dir;
  const std::string Name = Dir.Path("walk.xcl");
  Dir.Write("walk.xcl", "--check=a\r\n\"--check=b c\"\r\n");
  ClCommandFileArg FileArg('f', "", "file",
                           "Read command line options from file");
  ClAny Root;
  ClStringSetArg Check(0, "check", "chk,chk,...", "Generate check(s)", ',');
  auto &Checks = Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(Check));
  Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(FileArg));
  ClLine(Strings{"-f", Name}).Walk(Root);
  ASSERT_EQ(Checks.Values().size(), 2u);
  EXPECT_EQ(Checks.Values()[0].Text, "a");
  EXPECT_EQ(Checks.Values()[1].Text, "b c");
  EXPECT_EQ(Checks.Values()[1].Place.Position.Line(), 2u);
}

} // namespace

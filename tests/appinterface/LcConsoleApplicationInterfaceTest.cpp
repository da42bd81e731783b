// Tests of the standard application interface, on its own and installed on
// a console: the human form of diagnostics, wrapped and unwrapped.
#include "appinterface/LcConsoleApplicationInterface.h"

#include "appinterface/SuMessages.h"
#include "console/MsConsoleConcrete.h"
#include "console/MsMessageFormatter.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

/// A console writing to string streams, with the standard application
/// interface installed and the "Su" and "Tt" tables registered.
struct InterfaceFixture {
  InterfaceFixture() : Console(Err, Out), App(Console) {
    Console.SetApplicationInterface(&App);
    SuRegisterMessages(Console);
    RegisterTt(Console);
  }
  std::ostringstream Err, Out;
  MsConsoleConcrete Console;
  LcConsoleApplicationInterface App;
};

TEST(LcConsoleApplicationInterfaceTest, MakeContent) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  LcConsoleApplicationInterface App(Console);
  EXPECT_EQ(&App.Console(), &Console);
  EXPECT_FALSE(App.ShowsGivenName());
  EXPECT_EQ(App.MakeContent("a %sq", MsFillIns{"b"})->Text(), "a \"b\"");
  MsFillIns Pre{"rest"};
  Pre.Preformatted = true;
  EXPECT_EQ(App.MakeContent("50% done %s: ", Pre)->Text(), "50% done %s: rest");
  EXPECT_EQ(App.MakeTextContent("100% %s %p")->Text(), "100% %s %p");
  EXPECT_FALSE(App.IsSuppressed(MsTag("Ms", 1), DiSourcePosition::sNone));
  App.NotifyError();
}

TEST(LcConsoleApplicationInterfaceTest, PositionsTaggedWhileTheConsoleHasAnIdeHandler) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  LcConsoleApplicationInterface App(Console);
  OneFile File("f.c", {"1", "2"});
  MsFillIns FillIns;
  FillIns.Positions.push_back(DiSourceRange(File.At(2, 3)));
  EXPECT_EQ(App.MakeContent("at %p", FillIns)->Text(), "at \"f.c\", line 2");
  RecordingHandler Ide;
  Console.SetIdeHandler(&Ide);
  EXPECT_EQ(App.MakeContent("at %p", FillIns)->Text(),
            "at \x01<SRCREF file=\"f.c\" line=2 col=3\x01>\"f.c\", line "
            "2\x01</SRCREF\x01>");
  EXPECT_EQ(App.MakeContent("%pv", FillIns)->Text(),
            "\x01<SRCREF file=\"f.c\" line=2 col=3\x01>at line 2 of "
            "\"f.c\"\x01</SRCREF\x01>");
  Console.SetIdeHandler(nullptr);
  EXPECT_EQ(App.MakeContent("at %p", FillIns)->Text(), "at \"f.c\", line 2");
}

TEST(LcConsoleApplicationInterfaceTest, PreformattedNeedsExactlyOneString) {
  ThrowingFailureScope Scope;
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  LcConsoleApplicationInterface App(Console);
  MsFillIns None;
  None.Preformatted = true;
  EXPECT_THROW(App.MakeContent("text", None)->Text(), InternalFailure);
}

TEST(LcConsoleApplicationInterfaceTest, ShowGivenNameAndTranslator) {
  struct Upper : LcFileNameTranslator {
    bool Accepts(const std::string &) const override { return true; }
    std::string Translate(const std::string &N) const override {
      return "T" + N;
    }
  } Translator;
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  LcConsoleApplicationInterface App(Console, true);
  EXPECT_TRUE(App.ShowsGivenName());
  App.SetFileNameTranslator(&Translator);
  EXPECT_EQ(App.MakeContent("%su", MsFillIns{"x"})->Text(), "\"Tx\" (x)");
  App.SetFileNameTranslator(nullptr);
  EXPECT_EQ(App.MakeContent("%su", MsFillIns{"x"})->Text(), "\"x\"");
}

TEST(LcConsoleApplicationInterfaceTest, SourceLineWithCaret) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  LcConsoleApplicationInterface App(Console);
  OneFile File("f.c", {"\tx\ty = 1;"});
  std::ostringstream Line;
  App.WriteSourceLine(File.At(1, 5), Line);
  EXPECT_EQ(Line.str(), "  \tx\ty = 1;\n  \t \t ^\n");
  std::ostringstream Nothing;
  App.WriteSourceLine(DiSourcePosition::sNone, Nothing);
  App.WriteSourceLine(DiSourcePosition::sEnd, Nothing);
  EXPECT_EQ(Nothing.str(), "");
}

//===----------------------------------------------------------------------===//
// Installed on a console
//===----------------------------------------------------------------------===//

TEST(LcConsoleApplicationInterfaceTest, DiagnosticWithoutPosition) {
  InterfaceFixture F;
  F.Console.Start();
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "x.txt");
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "100%s %d.txt");
  EXPECT_EQ(F.Err.str(), "Error[Tt002]: fixed error \"x.txt\"\n"
                         "Error[Tt002]: fixed error \"100%s %d.txt\"\n");
}

TEST(LcConsoleApplicationInterfaceTest, WrappedAtWidth79) {
  InterfaceFixture F;
  F.Console.Start();
  F.Console.Report(SuTag(SuMsgCommandFileRecursion),
                   MsConsole::CommandLineError,
                   "commands/project/settings/release.xcl");
  EXPECT_EQ(
      F.Err.str(),
      "Command line error: Command file recursion. A request to "
      "process\n"
      "          \"commands/project/settings/release.xcl\" was found while "
      "already\n"
      "          processing that file\n");
}

TEST(LcConsoleApplicationInterfaceTest, TextAfterALongPositionStartsBelowIt) {
  InterfaceFixture F;
  F.Console.Start();
  const std::string Deep = "a/deep/folder/of/command/files/that/nobody/would/"
                           "type/by/hand/opts.xcl";
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  const std::uint32_t Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile(Deep)));
  Build.EndFile(3);
  const DiSourceRange At(DiSourcePosition(Base + 1, 1, &Seq));
  F.Console.Report(SuTag(SuMsgCommandFileRecursion),
                   MsConsole::CommandLineError, At, MsFillIns{"opts.xcl"});
  F.Console.Report(SuTag(SuMsgDeprecatedOption), MsConsole::Warning, At,
                   MsFillIns{"--old"});
  const std::string Expected =
      "\n\"" + Deep +
      "\",2  Command line error:\n"
      "          Command file recursion. A request to process \"opts.xcl\" was "
      "found\n"
      "          while already processing that file\n"
      "\n\"" +
      Deep +
      "\",2  Warning[Su013]:\n"
      "          The use of this option is deprecated: --old\n";
  EXPECT_EQ(F.Err.str(), Expected);
}

TEST(LcConsoleApplicationInterfaceTest, NoLineEndsWithABlank) {
  // Headings of every length before texts of every length.
  InterfaceFixture F;
  F.Console.SetErrorLimit(0);
  F.Console.Start();
  for (std::size_t NameLength = 1; NameLength < 120; NameLength += 3) {
    OgSourceLineSequence Seq;
    OgSourceLineSequence::Builder Build(Seq);
    const std::uint32_t Base = Build.BeginFile(
        GeRcPtr<DiFile>(new DiFile(std::string(NameLength, 'n'))));
    Build.EndFile(1);
    const DiSourceRange At(DiSourcePosition(Base, 1, &Seq));
    for (std::size_t WordLength = 1; WordLength < 90; WordLength += 11)
      F.Console.Report(SuTag(SuMsgCommandFileNotFound),
                       MsConsole::CommandLineError, At,
                       MsFillIns{std::string(WordLength, 'w')});
  }
  const std::string Err = F.Err.str();
  EXPECT_EQ(Err.find(" \n"), std::string::npos) << Err;
  std::istringstream Lines(Err);
  std::size_t Count = 0;
  for (std::string Line; std::getline(Lines, Line);)
    Count += Line.compare(0, 10, "          ") == 0;
  EXPECT_GT(Count, 100u);
}

TEST(LcConsoleApplicationInterfaceTest, NoWrapKeepsOneLine) {
  InterfaceFixture F;
  F.Console.GetFormatter().SetWidth(-1);
  F.Console.Start();
  std::string Long;
  while (Long.size() < 200)
    Long += "word ";
  F.Console.Report(SuTag(SuMsgDeprecatedOption), MsConsole::Warning, Long);
  std::string Expected =
      "Warning[Su013]: The use of this option is deprecated: " + Long + "\n";
  EXPECT_EQ(F.Err.str(), Expected);
  EXPECT_EQ(F.Err.str().find('\n'), F.Err.str().size() - 1);
}

TEST(LcConsoleApplicationInterfaceTest, LongWordCutAtWidth79) {
  InterfaceFixture F;
  F.Console.Start();
  std::string Path(150, 'p');
  F.Console.Report(SuTag(SuMsgCommandFileNotFound), MsConsole::CommandLineError,
                   Path);
  EXPECT_EQ(F.Err.str(), "Command line error: Unable to open the command file\n"
                         "          \"" +
                             Path.substr(0, 68) + "\n          " +
                             Path.substr(68, 69) + "\n          " +
                             Path.substr(137) + "\"\n");
}

TEST(LcConsoleApplicationInterfaceTest, NoLinePassesColumn79) {
  InterfaceFixture F;
  F.Console.SetErrorLimit(0);
  F.Console.Start();
  OneFile File("some/rather/long/directory/name/commands.xcl",
               {"--one --two", "--three"});
  std::string Text;
  for (int Round = 0; Round < 60; ++Round) {
    Text += std::string(static_cast<std::size_t>(Round % 13), 'x') + " ab ";
    F.Console.Report(SuTag(SuMsgDeprecatedOption), MsConsole::Warning,
                     DiSourceRange(File.At(2, 3)), MsFillIns{Text});
    F.Console.Report(SuTag(SuMsgCommandFileNotFound),
                     MsConsole::CommandLineError, Text);
  }
  std::istringstream Lines(F.Err.str());
  std::string Line;
  int Count = 0;
  while (std::getline(Lines, Line)) {
    ++Count;
    EXPECT_LE(Line.size(), 79u) << Line;
  }
  EXPECT_GT(Count, 500);
}

TEST(LcConsoleApplicationInterfaceTest, DiagnosticWithPosition) {
  InterfaceFixture F;
  F.Console.Start();
  OneFile File("cmd.xcl", {"-x", "-a \"unclosed"});
  F.Console.Report(SuTag(SuMsgUnmatchedQuote), MsConsole::CommandLineError,
                   DiSourceRange(File.At(2, 4)), MsFillIns());
  F.Console.Report(SuTag(SuMsgUnmatchedSlashStar), MsConsole::CommandLineError,
                   DiSourceRange(File.AtEnd()), MsFillIns());
  EXPECT_EQ(F.Err.str(),
            "\n"
            "  -a \"unclosed\n"
            "     ^\n"
            "\"cmd.xcl\",2  Command line error: Missing closing quote in "
            "command file\n"
            "At end of source  Command line error: Comment unclosed at end of "
            "command file\n");
}

TEST(LcConsoleApplicationInterfaceTest, InternalMessagesShowWithoutMarker) {
  InterfaceFixture F;
  F.Console.Start();
  OneFile File("f.xcl", {"a", "b", "c"});
  F.Console.Report(SuTag(SuMsgInFile), MsConsole::CommandLineError, "f.xcl");
  MsFillIns FillIns{"defined"};
  FillIns.Add(File.At(3, 1));
  F.Console.Report(SuTag(SuMsgInternalPosition), MsConsole::CommandLineError,
                   DiSourceRange(), FillIns);
  EXPECT_EQ(F.Err.str(), "Command line error: in \"f.xcl\":\n"
                         "Command line error: defined \"f.xcl\", line 3\n");
}

TEST(LcConsoleApplicationInterfaceTest, ConsoleOutputKeepsTextAsItStands) {
  InterfaceFixture F;
  F.Console.Start();
  F.Console.OutputStream() << "  indented  %s 100%\n";
  F.Console.AnnounceFile("a  b.txt");
  EXPECT_EQ(F.Out.str(), "  indented  %s 100%\n");
}

TEST(LcConsoleApplicationInterfaceTest, OutOfMemoryPreparedOnInstall) {
  InterfaceFixture F;
  RecordingHandler H;
  F.Console.AddHandler(H);
  F.Console.ReportOutOfMemory();
  EXPECT_EQ(F.Err.str(), "Out of memory\n");
  ASSERT_EQ(H.Messages.size(), 1u);
  EXPECT_EQ(H.Messages[0].Text, "Out of memory");
}

TEST(LcConsoleApplicationInterfaceTest, FillInDefectFailsAtReport) {
  ThrowingFailureScope Scope;
  InterfaceFixture F;
  try {
    F.Console.Report(SuTag(SuMsgUnmatchedQuote), MsConsole::CommandLineError,
                     "unused");
    FAIL() << "no failure";
  } catch (const InternalFailure &E) {
    EXPECT_EQ(std::string(E.what()),
              "LcConsoleApplicationInterface: Provided diagnostic fill-in was "
              "not used: s1 (\"unused\")");
  }
}

TEST(LcConsoleApplicationInterfaceDeathTest, FatalTextReport) {
  EXPECT_EXIT(
      {
        MsConsoleConcrete Console;
        LcConsoleApplicationInterface App(Console);
        Console.SetApplicationInterface(&App);
        Console.ReportFatalText("chksel ", "SubSystem inserted into the "
                                           "console too late");
      },
      testing::ExitedWithCode(1),
      "^Fatal error\\[Ms008\\]: \\[chksel \\]: SubSystem inserted into the "
      "console too late\nFatal error detected, aborting\\.\n$");
}

TEST(LcConsoleApplicationInterfaceDeathTest, FatalTextWithEmptyMessage) {
  EXPECT_EXIT(
      {
        MsConsoleConcrete Console;
        LcConsoleApplicationInterface App(Console);
        Console.SetApplicationInterface(&App);
        Console.ReportFatalText("chksel ", "");
      },
      testing::ExitedWithCode(1),
      "^Fatal error\\[Ms008\\]: \\[chksel \\]: \n"
      "Fatal error detected, aborting\\.\n$");
}

} // namespace

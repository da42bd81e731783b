// Tests of the console's options: their declaration and order, and how their
// values reach the console (flags first, then the diag options in order).
#include "console/MsSubSystem.h"

#include "cmdline/ClLine.h"
#include "console/MsConsoleConcrete.h"
#include "console/MsMessageFormatter.h"
#include "tests/support/MsConsoleTestSupport.h"
#include "tests/support/OutputCapture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

/// Parses Arguments with the console's options and applies them to a
/// console with the "Tt" table, which is then started.
struct OptionsFixture {
  explicit OptionsFixture(const std::vector<std::string> &Arguments)
      : Console(Err, Out) {
    RegisterTt(Console);
    Options.DeclareOptions(Root);
    ClLine(Arguments).Walk(Root);
    Options.Apply(Console, Stdout);
    Console.Start();
  }
  std::ostringstream Err, Out, Stdout;
  MsConsoleConcrete Console;
  MsSubSystem Options;
  ClAny Root;
};

TEST(MsSubSystemTest, OptionsInTheirOrder) {
  MsSubSystem Options;
  ClAny Root;
  Options.DeclareOptions(Root);
  std::vector<const ClArg *> Collected;
  Root.CollectOptions(Collected);
  struct Expected {
    const char *Name;
    const char *Hint;
    const char *Description;
  } Table[] = {
      {"--silent", "", "Silent operation"},
      {"--no_warnings", "", "Disable generation of warnings"},
      {"--remarks", "", "Enable generation of remarks"},
      {"--warnings_are_errors", "", "All warnings are errors"},
      {"--warnings_affect_exit_code", "", "Warnings affect exit code"},
      {"--diag_suppress", "tag,tag,...",
       "Suppress the list of tags as diagnostics"},
      {"--diag_remark", "tag,tag,...",
       "Treat the list of tags as remark diagnostics"},
      {"--diag_warning", "tag,tag,...",
       "Treat the list of tags as warning diagnostics"},
      {"--diag_error", "tag,tag,...",
       "Treat the list of tags as error diagnostics"},
      {"--only_stdout", "", "Use stdout only (no console output on stderr)"},
      {"--no_wrap_diagnostics", "",
       "Don't wrap long lines in diagnostic messages"},
      {"--error_limit", "limit", "Stop after this many errors (0 = no limit)"},
      {"--dependencies", "[i|m|n][s] file|directory|+",
       "List file dependencies\n"
       "   i     Include filename only (default)\n"
       "   m     Makefile style (multiple rules)\n"
       "   n     Makefile style (one rule)\n"
       "   s     Suppress system files\n"
       "(+: output same as -o, only with .d extension)"},
  };
  ASSERT_EQ(Collected.size(), sizeof Table / sizeof Table[0]);
  for (std::size_t I = 0; I < Collected.size(); ++I) {
    EXPECT_EQ(Collected[I]->DisplayName(), Table[I].Name) << I;
    EXPECT_EQ(Collected[I]->Hint(), Table[I].Hint) << I;
    EXPECT_EQ(Collected[I]->Description(), Table[I].Description) << I;
  }
  EXPECT_EQ(Options.ErrorLimitOption().LowerBound(), 0);
  EXPECT_EQ(Options.ErrorLimitOption().UpperBound(), 2147483647);
}

TEST(MsSubSystemTest, NothingGivenChangesNothing) {
  OptionsFixture F({});
  EXPECT_EQ(F.Console.ErrorLimit(), 100u);
  EXPECT_EQ(F.Console.GetFormatter().Width(), 79);
  EXPECT_EQ(&F.Console.ErrorStream(), &F.Err);
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.Report(Tt(5), MsConsole::Remark, "r");
  F.Console.WriteLine("info");
  EXPECT_EQ(F.Err.str(), "Warning[Tt004]: a warning \"w\"\n");
  EXPECT_EQ(F.Out.str(), "info\n");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 0);
}

TEST(MsSubSystemTest, FlagsReachTheConsole) {
  OptionsFixture F({"--silent", "--remarks", "--warnings_affect_exit_code",
                    "--only_stdout", "--no_wrap_diagnostics",
                    "--error_limit=0"});
  EXPECT_EQ(F.Console.ErrorLimit(), 0u);
  EXPECT_EQ(F.Console.GetFormatter().Width(), -1);
  EXPECT_EQ(&F.Console.ErrorStream(), &F.Stdout);
  F.Console.WriteLine("dropped when silent");
  F.Console.Report(Tt(5), MsConsole::Remark, "r");
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  EXPECT_EQ(F.Out.str(), "");
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Stdout.str(), "Remark[Tt005]: a remark \"r\"\n"
                            "Warning[Tt004]: a warning \"w\"\n");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 1);
}

TEST(MsSubSystemTest, OutputOptionsApplyAfterAFailedWalk) {
  struct Case {
    std::vector<std::string> Arguments;
    bool OnlyStdout;
    bool NoWrap;
  };
  const Case Cases[] = {
      {{"--only_stdout", "--bogus"}, true, false},
      {{"--bogus", "--no_wrap_diagnostics", "--output"}, false, true},
      {{"--error_limit=x", "--only_stdout", "--no_wrap_diagnostics"},
       true,
       true},
      {{"--only_stdout=yes", "--no_wrap_diagnostics=", "--bogus"}, false, true},
      {{"--silent", "--remarks", "--error_limit=3", "--bogus"}, false, false},
  };
  for (const Case &C : Cases) {
    std::ostringstream Err, Out, Stdout;
    MsConsoleConcrete Console(Err, Out);
    MsSubSystem Options;
    ClAny Root;
    Options.DeclareOptions(Root);
    EXPECT_ANY_THROW(ClLine(C.Arguments).Walk(Root));
    Options.ApplyOutputOptions(Console, Stdout);
    EXPECT_EQ(&Console.ErrorStream(), C.OnlyStdout ? &Stdout : &Err)
        << C.Arguments[0];
    EXPECT_EQ(Console.GetFormatter().Width(), C.NoWrap ? -1 : 79)
        << C.Arguments[0];
    // Nothing else was applied.
    EXPECT_EQ(Console.ErrorLimit(), 100u);
  }
}

TEST(MsSubSystemTest, ErrorLimitValue) {
  OptionsFixture F({"--error_limit", "2"});
  EXPECT_EQ(F.Console.ErrorLimit(), 2u);
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "1");
  EXPECT_THROW(F.Console.Report(Tt(2), MsConsole::ErrorFixed, "2"),
               MsConsoleException);
}

TEST(MsSubSystemTest, ErrorLimitOutOfRangeIsACommandLineError) {
  MsSubSystem Options;
  ClAny Root;
  Options.DeclareOptions(Root);
  try {
    ClLine(std::vector<std::string>{"--error_limit=-1"}).Walk(Root);
    FAIL() << "accepted";
  } catch (const ClParser::ParseError &E) {
    EXPECT_EQ(E.Text(),
              "Expected a decimal integer greater than or equal to 0: '-1'");
  }
}

TEST(MsSubSystemTest, UnknownTagGivesMs001) {
  OptionsFixture F({"--diag_warning=Ms999"});
  EXPECT_EQ(F.Err.str(),
            "Warning[Ms001]: diagnostic tag \"Ms999\" does not exist\n");
  EXPECT_EQ(F.Console.WarningCount(), 1u);
}

TEST(MsSubSystemTest, FixedTagGivesMs002AndKeepsItsLevel) {
  OptionsFixture F({"--diag_suppress=Tt002"});
  EXPECT_EQ(F.Err.str(), "Warning[Ms002]: diagnostic tag \"Tt002\" can not "
                         "have its level changed\n");
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "x");
  EXPECT_EQ(F.Console.ErrorCount(), 1u);
}

TEST(MsSubSystemTest, EachMemberOfEachOptionIsApplied) {
  OptionsFixture F({"--diag_warning=Tt003,,Zz1,Tt006,", "--diag_remark",
                    "Tt004", "--remarks"});
  EXPECT_EQ(F.Err.str(),
            "Warning[Ms001]: diagnostic tag \"Zz1\" does not exist\n");
  EXPECT_EQ(F.Console.TagLevel(Tt(3), MsConsole::Error), MsConsole::Warning);
  EXPECT_EQ(F.Console.TagLevel(Tt(6), MsConsole::Error), MsConsole::Warning);
  EXPECT_EQ(F.Console.TagLevel(Tt(4), MsConsole::Error), MsConsole::Remark);
}

TEST(MsSubSystemTest, DiagOptionsApplyInCommandLineOrder) {
  OptionsFixture Last({"--diag_error=Tt004", "--diag_suppress=Tt004"});
  EXPECT_EQ(Last.Console.TagLevel(Tt(4), MsConsole::Warning),
            MsConsole::Suppressed);
  OptionsFixture First({"--diag_suppress=Tt004", "--diag_error=Tt004"});
  EXPECT_EQ(First.Console.TagLevel(Tt(4), MsConsole::Warning),
            MsConsole::Error);
}

TEST(MsSubSystemTest, FlagsApplyBeforeDiagOptions) {
  // Typed after the diag option, warnings_are_errors still turns its Ms001
  // into an error.
  OptionsFixture Errors({"--diag_warning=Ms999", "--warnings_are_errors"});
  EXPECT_EQ(Errors.Err.str(),
            "Error[Ms001]: diagnostic tag \"Ms999\" does not exist\n");
  EXPECT_EQ(Errors.Console.ErrorCount(), 1u);
  OptionsFixture Quiet({"--diag_error=Ms998", "--no_warnings"});
  EXPECT_EQ(Quiet.Err.str(), "");
  EXPECT_EQ(Quiet.Console.WarningCount(), 0u);
}

TEST(MsSubSystemTest, NoWarningsWithWarningsAreErrors) {
  OptionsFixture F({"--no_warnings", "--warnings_are_errors", "--remarks"});
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.Report(Tt(5), MsConsole::Remark, "r");
  EXPECT_EQ(F.Err.str(), "Error[Tt004]: a warning \"w\"\n");
}

TEST(MsSubSystemTest, DiagOptionsChangeTheOwnMessages) {
  OptionsFixture F({"--diag_suppress=Ms001", "--diag_warning=Ms997"});
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Console.WarningCount(), 0u);
}

TEST(MsSubSystemTest, ApplyDiagnosticLevelWithPosition) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  Console.Start();
  OneFile File("opts.xcl", {"--diag_error=Xy001"});
  MsApplyDiagnosticLevel(Console, MsConsole::Error, "Xy001", File.At(1, 1));
  EXPECT_EQ(Err.str(), "\n  --diag_error=Xy001\n  ^\n"
                       "\"opts.xcl\",1  Warning[Ms001]: diagnostic tag "
                       "\"Xy001\" does not exist\n");
}

//===----------------------------------------------------------------------===//
// Dependency lists
//===----------------------------------------------------------------------===//

/// Parses Arguments with the console's options and applies them to a
/// console whose main output is MainOutput.
struct DependFixture {
  DependFixture(const std::vector<std::string> &Arguments,
                const std::string &MainOutput)
      : Console(Err, Out) {
    Options.DeclareOptions(Root);
    ClLine(Arguments).Walk(Root);
    Console.SetMainOutputName(MainOutput);
  }
  std::ostringstream Err, Out, Stdout;
  MsConsoleConcrete Console;
  MsSubSystem Options;
  ClAny Root;
};

TEST(MsSubSystemTest, OneListPerDependenciesOption) {
  ScratchDir Dir;
  const std::string Main = Dir.Path("sel.txt");
  std::filesystem::create_directory(Dir.Path("deps"));
  DependFixture F({"--dependencies=m", Dir.Path("a.d"), "--dependencies",
                   Dir.Path("b.d"), "--dependencies=ns", "+",
                   "--dependencies=mi", Dir.Path("deps")},
                  Main);
  F.Options.Apply(F.Console, F.Stdout);
  EXPECT_EQ(TempFilesIn(Dir.Root()).size(), 3u);
  EXPECT_EQ(TempFilesIn(Dir.Path("deps")).size(), 1u);
  F.Console.AnnounceFile("cmd.xcl");
  F.Console.Start();
  F.Console.AnnounceFile("sys.h", true);
  F.Console.AnnounceFile("m $.txt");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 0);
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(Slurp(Dir.Path("a.d")), Main + ": cmd.xcl\n" + Main + ": sys.h\n" +
                                        Main + ": m\\ $$.txt\n");
  EXPECT_EQ(Slurp(Dir.Path("b.d")), "cmd.xcl\nsys.h\nm $.txt\n");
  EXPECT_EQ(Slurp(Dir.Path("sel.d")),
            Main + ":  \\\n  cmd.xcl \\\n  m\\ $$.txt\n");
  EXPECT_EQ(Slurp(Dir.Path("deps/sel.d")), "cmd.xcl\nsys.h\nm $.txt\n");
  EXPECT_EQ(NamesIn(Dir.Root()),
            (std::set<std::string>{"a.d", "b.d", "deps", "sel.d"}));
  EXPECT_EQ(NamesIn(Dir.Path("deps")), std::set<std::string>{"sel.d"});
}

TEST(MsSubSystemTest, PlusForStandardOutputIsAnIllegalPath) {
  ScratchDir Dir;
  DependFixture F({"--dependencies", Dir.Path("ok.d"), "--dependencies=m", "+",
                   "--dependencies=m", Dir.Root()},
                  "-");
  EXPECT_THROW(F.Options.Apply(F.Console, F.Stdout), MsConsoleException);
  F.Console.Start();
  EXPECT_EQ(F.Err.str(), "Error[Ms006]: illegal path \"+\"\n"
                         "Error[Ms006]: illegal path \"" +
                             Dir.Root() + "\"\n");
  // The list that could be opened is dropped as well.
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
}

TEST(MsSubSystemTest, UnopenableListStopsTheRun) {
  ScratchDir Dir;
  const std::string Path = Dir.Path("no/deps.d");
  DependFixture F({"--dependencies=m", Path}, "sel.txt");
  EXPECT_THROW(F.Options.Apply(F.Console, F.Stdout), MsConsoleException);
  F.Console.Start();
  EXPECT_EQ(F.Err.str(),
            "Error[Ms003]: could not open file \"" + Path + "\" for writing\n");
  EXPECT_EQ(F.Console.ErrorCount(), 1u);
}

TEST(MsSubSystemTest, ListOverTheMainInputOrOutputIsAnIllegalPath) {
  ScratchDir Dir;
  Spit(Dir.Path("m.txt"), "manifest");
  Spit(Dir.Path("sel.txt"), "selection");
  std::filesystem::create_symlink("m.txt", Dir.Path("soft.txt"));
  struct Case {
    std::string Destination;
    std::string MainOutput;
    std::string Refused;
  };
  const Case Cases[] = {
      {Dir.Path("m.txt"), Dir.Path("sel.txt"), Dir.Path("m.txt")},
      {Dir.Path("soft.txt"), Dir.Path("sel.txt"), Dir.Path("soft.txt")},
      {Dir.Root() + "/./sel.txt", Dir.Path("sel.txt"),
       Dir.Root() + "/./sel.txt"},
      // "+" is the main output's name with ".d": here the output itself.
      {"+", Dir.Path("new.d"), Dir.Path("new.d")},
  };
  for (const Case &C : Cases) {
    DependFixture F({"--dependencies=m", C.Destination}, C.MainOutput);
    F.Console.SetMainInputName(Dir.Path("m.txt"));
    EXPECT_THROW(F.Options.Apply(F.Console, F.Stdout), MsConsoleException);
    F.Console.Start();
    EXPECT_EQ(F.Err.str(),
              "Error[Ms006]: illegal path \"" + C.Refused + "\"\n");
    EXPECT_EQ(Slurp(Dir.Path("m.txt")), "manifest");
    EXPECT_EQ(Slurp(Dir.Path("sel.txt")), "selection");
    EXPECT_EQ(NamesIn(Dir.Root()),
              (std::set<std::string>{"m.txt", "sel.txt", "soft.txt"}));
  }
}

TEST(MsSubSystemTest, ListOnStandardOutputBesidesTheMainOutput) {
  DependFixture F({"--dependencies=m", "-"}, "-");
  testsupport::StreamCapture Captured(std::cout);
  F.Options.Apply(F.Console, F.Stdout);
  F.Console.Start();
  F.Console.AnnounceFile("m.txt");
  EXPECT_EQ(Captured.Text(), "");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 0);
  EXPECT_EQ(Captured.Text(), "-: m.txt\n");
  EXPECT_EQ(F.Err.str(), "");
}

TEST(MsSubSystemTest, IllegalDependencyFlagIsACommandLineError) {
  MsSubSystem Options;
  ClAny Root;
  Options.DeclareOptions(Root);
  try {
    ClLine(std::vector<std::string>{"--dependencies=mk", "x.d"}).Walk(Root);
    FAIL() << "accepted";
  } catch (const ClArgParser::ParseError &E) {
    EXPECT_EQ(E.Text(), "illegal flag: k");
  }
}

} // namespace

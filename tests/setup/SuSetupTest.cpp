// Tests of the setup run: the order of the setup chain, the run result, the
// post-setup queries, the command-file option's naming and the helpers of the
// dump options. A setup run uses the process-wide console, so every test that
// runs one does so in a child process of its own (a death test).
#include "setup/SuSetup.h"
#include "setup/SuCommandFileArg.h"
#include "setup/SuDumps.h"

#include "cmdline/ClHelp.h"
#include "console/MsConsoleConcrete.h"
#include "general/GeInternalFailure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

/// Writes Text to standard error and ends the child with status 1.
void PrintAndExit(const std::string &Text) {
  std::cerr << "internal failure: " << Text << std::endl;
  std::_Exit(1);
}

/// Records its name when its turn in the chain comes and once the parse is
/// done, and can ask for a post-setup state.
class RecordingSystem : public SuTargetSetupSystem {
public:
  RecordingSystem(std::string SystemName, std::string &Target)
      : Name(std::move(SystemName)), Log(Target) {}

  void Setup(SuTargetSetup &Setup, SuContinuation &Next) override {
    Log += "setup " + Name + "; ";
    Next.Continue();
    Log += "after " + Name + "; ";
    if (AskParserState)
      Setup.PostSetupState().GetParserState();
    if (AskLinkerState)
      Setup.PostSetupState().GetLinkerState();
  }

  bool AskParserState = false;
  bool AskLinkerState = false;

private:
  std::string Name;
  std::string &Log;
};

class RecordingOptions : public SuToolOptions {
public:
  explicit RecordingOptions(std::string &Target) : Log(Target) {}
  void Setup(SuTargetSetup &Setup, SuContinuation &Next) override {
    Log += "options; ";
    SuToolOptions::Setup(Setup, Next);
  }
  void TakeOver() override { Log += "take over; "; }

private:
  std::string &Log;
};

/// Runs a setup run over Arguments (program name first) and writes the log
/// and the result to standard error. With Visit, the run hands the option
/// table to a visitor that logs the names of its options.
[[noreturn]] void RunAndReport(std::vector<std::string> Arguments,
                               bool AskParser = false, bool AskLinker = false,
                               bool Visit = false) {
  GeSetInternalFailureHandler(&PrintAndExit);
  std::string Log;
  RecordingSystem First("first", Log);
  RecordingSystem Second("second", Log);
  Second.AskParserState = AskParser;
  Second.AskLinkerState = AskLinker;
  RecordingOptions Options(Log);
  std::vector<char *> Argv;
  for (std::string &Argument : Arguments)
    Argv.push_back(Argument.data());
  Argv.push_back(nullptr);
  SuRunConfiguration Config;
  Config.Usage = "<NoSignOn>usage\n";
  if (Visit)
    Config.OptionTableVisitor = [&Log](const ClParser &Root) {
      Log += "visit";
      for (const ClArg *Arg : ClHelpOptions(Root))
        Log += " " + Arg->DisplayName();
      Log += "; ";
    };
  MsConsoleConcrete Console;
  SuRunResult Result =
      SuSetupRun(Console, static_cast<int>(Arguments.size()), Argv.data(),
                 Options, {&First, &Second}, Config);
  std::cerr << Log << "proceed " << int(Result.Proceed) << " failed "
            << int(Result.Failed) << " program " << SuProgramPath()
            << std::endl;
  std::_Exit(0);
}

TEST(SuSetupRunTest, SystemsRunInOrderAndParseLast) {
  EXPECT_EXIT(RunAndReport({"prog"}), ::testing::ExitedWithCode(0),
              "^setup first; setup second; options; after second; after "
              "first; take over; proceed 1 failed 0 program prog\n$");
}

TEST(SuSetupRunTest, CommandLineErrorStopsBeforeTheTakeOver) {
  EXPECT_EXIT(RunAndReport({"prog", "--nope"}), ::testing::ExitedWithCode(0),
              "Command line error: Unexpected command line arguments: --nope\n"
              "setup first; setup second; options; proceed 0 failed 1 "
              "program prog\n$");
}

TEST(SuSetupRunTest, HelpEndsTheRunWithSuccess) {
  EXPECT_EXIT(RunAndReport({"prog", "--help"}), ::testing::ExitedWithCode(0),
              "setup first; setup second; options; proceed 0 failed 0 "
              "program prog\n$");
}

/// Handed to a visitor, the option table is not read against the command
/// line: the unknown option is not reported, and the tool does not go on.
TEST(SuSetupRunTest, OptionTableVisitorInsteadOfTheParse) {
  EXPECT_EXIT(
      RunAndReport({"prog", "--nope"}, false, false, true),
      ::testing::ExitedWithCode(0),
      "^setup first; setup second; options; visit --dependencies "
      "--diagnostics_tables --diag_error --diag_remark --diag_suppress "
      "--diag_warning --error_limit --no_warnings --no_wrap_diagnostics "
      "--only_stdout --remarks --silent --warnings_affect_exit_code "
      "--warnings_are_errors; proceed 0 failed 0 program prog\n$");
}

TEST(SuSetupRunTest, ParserStateIsAnInternalFailureInThisTool) {
  EXPECT_EXIT(RunAndReport({"prog"}, true), ::testing::ExitedWithCode(1),
              "^internal failure: SuPostSetupState::GetParserState called in "
              "a tool with no parser\n$");
}

TEST(SuSetupRunTest, LinkerStateIsAnInternalFailureInThisTool) {
  EXPECT_EXIT(RunAndReport({"prog"}, false, true), ::testing::ExitedWithCode(1),
              "^internal failure: SuPostSetupState::GetLinkerState called in "
              "a non-linker tool\n$");
}

/// A setup system that sets a third banner line and adds a deprecated
/// option "--old" and an option with the second mark, "--extra".
class ThirdLineSystem : public SuTargetSetupSystem {
public:
  void Setup(SuTargetSetup &Setup, SuContinuation &Next) override {
    Setup.SetBanner(SuBannerInputs{"Tool", "", "", "1.0", "(c) Maker"});
    Setup.SetThirdBannerLine("third line");
    Old.SetDeprecated();
    Extra.SetSecondMark();
    Setup.Parser().Add(std::make_unique<ClOnce>(Old));
    Setup.Parser().Add(std::make_unique<ClMulti>(Extra));
    Next.Continue();
    std::cerr << "kind " << Setup.ToolKind() << " sources "
              << Setup.AcceptsSourceFiles() << " source state "
              << (Setup.PostSetupState().GetSourceState() != nullptr)
              << " target state "
              << (Setup.PostSetupState().GetTargetState() != nullptr) << "; ";
  }

private:
  ClFlagArg Old{0, "old", "A deprecated switch"};
  ClStringArg Extra{0, "extra", "x", "A word for the first line only"};
};

/// Runs a setup run of a tool of kind 1 (mfc and distribute_mfc) that
/// takes source files, with standard output captured, and writes the
/// captured text and the result to standard error.
[[noreturn]] void RunKindOne(std::vector<std::string> Arguments,
                             std::string Usage = "<NoSignOn>usage\n") {
  GeSetInternalFailureHandler(&PrintAndExit);
  std::ostringstream Captured;
  std::streambuf *Saved = std::cout.rdbuf(Captured.rdbuf());
  ThirdLineSystem System;
  SuToolOptions Options;
  std::vector<char *> Argv;
  for (std::string &Argument : Arguments)
    Argv.push_back(Argument.data());
  Argv.push_back(nullptr);
  SuRunConfiguration Config;
  Config.ToolKind = 1;
  Config.AcceptsSourceFiles = 1;
  MsConsoleConcrete Console;
  Config.CommandFileArg = new SuCommandFileArg(Console);
  Config.Usage = Usage;
  SuRunResult Result =
      SuSetupRun(Console, static_cast<int>(Arguments.size()), Argv.data(),
                 Options, {&System}, Config);
  std::cout.flush();
  std::cout.rdbuf(Saved);
  std::cerr << "[" << Captured.str() << "] proceed " << int(Result.Proceed)
            << " failed " << int(Result.Failed) << std::endl;
  std::_Exit(0);
}

TEST(SuSetupRunTest, KindOneToolTakesSourceFiles) {
  EXPECT_EXIT(RunKindOne({"prog", "--mfc", "a.c", "b.c"}),
              ::testing::ExitedWithCode(0),
              "^kind 1 sources 1 source state 0 target state 0; \\[\\] "
              "proceed 1 failed 0\n$");
}

TEST(SuSetupRunTest, DistributeMfcWritesOneLinePerSourceFile) {
  EXPECT_EXIT(
      RunKindOne({"prog", "--mfc", "a.c", "--distribute_mfc=-", "b c.c"}),
      ::testing::ExitedWithCode(0),
      "^kind 1 sources 1 source state 0 target state 0; "
      "\\[--mfc a.c\n--mfc \"b c.c\"\n\\] proceed 0 failed 0\n$");
}

TEST(SuSetupRunTest, DistributeMfcPutsSecondMarkedWordsOnTheFirstLine) {
  EXPECT_EXIT(RunKindOne({"prog", "--extra=1", "a.c", "--distribute_mfc=-",
                          "--mfc", "b.c"}),
              ::testing::ExitedWithCode(0),
              "\\[--mfc a.c --extra=1\n--mfc b.c\n\\] proceed 0 failed 0\n$");
}

TEST(SuSetupRunTest, DeprecatedOptionIsAWarning) {
  EXPECT_EXIT(RunKindOne({"prog", "--old", "a.c"}),
              ::testing::ExitedWithCode(0),
              "^kind 1 sources 1 source state 0 target state 0; "
              "Warning\\[Su013\\]: The use of this option is deprecated: "
              "--old\n\\[\\] proceed 1 failed 0\n$");
}

TEST(SuSetupRunTest, DistributeMfcIntoAFolderUsesTheDefaultName) {
  const std::string Folder = ::testing::TempDir() + "distribute-" +
                             std::to_string(::getpid());
  std::filesystem::create_directory(Folder);
  EXPECT_EXIT(RunKindOne({"prog", "x.c", "--distribute_mfc", Folder}),
              ::testing::ExitedWithCode(0), "\\[\\] proceed 0 failed 0\n$");
  std::ifstream In(Folder + "/separate_commands.txt");
  const std::string Text((std::istreambuf_iterator<char>(In)),
                         std::istreambuf_iterator<char>());
  EXPECT_EQ(Text, " x.c\n");
  std::filesystem::remove_all(Folder);
}

TEST(SuSetupRunTest, HelpShowsTheThirdBannerLine) {
  EXPECT_EXIT(RunKindOne({"prog", "--help"}), ::testing::ExitedWithCode(0),
              "^\\[\n[^\n]*Tool V1.0\n[^\n]*\nthird line\n\nusage\n");
}

/// Text as a regular expression that matches exactly that text.
std::string Literal(const std::string &Text) {
  std::string Pattern;
  for (char C : Text) {
    if (std::strchr("\\.^$|()[]{}*+?", C))
      Pattern += '\\';
    Pattern += C;
  }
  return Pattern;
}

TEST(SuSetupRunTest, WalkErrorsAreCommandLineErrors) {
  const std::string Folder = ::testing::TempDir();
  const std::string Unclosed = Folder + "unclosed-" +
                               std::to_string(::getpid()) + ".xcl";
  {
    std::ofstream Out(Unclosed);
    Out << "--mfc /* open";
  }
  const struct {
    std::vector<std::string> Args;
    std::string Err;
  } Cases[] = {
      {{"prog", "--distribute_mfc", "-x"},
       "Command line error: The parameter to the command line option "
       "\"--distribute_mfc\" was \"-x\", which has an initial \"-\". If that "
       "is desired, use an initial \"---\" instead\n"},
      {{"prog", "-f", Unclosed},
       "\n\"" + Unclosed +
           "\",1  Command line error: Comment unclosed at end of command "
           "file\n"},
  };
  for (const auto &Case : Cases) {
    EXPECT_EXIT(RunKindOne(Case.Args), ::testing::ExitedWithCode(0),
                "^" + Literal(Case.Err) + "\\[\\] proceed 0 failed 1\n$")
        << Case.Args.back();
  }
  std::filesystem::remove(Unclosed);
}

TEST(SuCommandFileArgTest, NameWithoutExtensionGetsXcl) {
  MsConsoleConcrete Console;
  SuCommandFileArg Arg(Console);
  EXPECT_EQ(Arg.FileName("opts"), "opts.xcl");
  EXPECT_EQ(Arg.FileName("dir.d/opts"), "dir.d/opts.xcl");
  EXPECT_EQ(Arg.FileName("opts.txt"), "opts.txt");
  EXPECT_EQ(Arg.FileName("opts.xcl"), "opts.xcl");
  EXPECT_EQ(Arg.ShortName(), 'f');
  EXPECT_EQ(Arg.Hint(), "file");
  EXPECT_EQ(Arg.Description(), "Read command line options from file");
}

TEST(SuCommandFileArgTest, DirectoryAndMissingFileDoNotOpen) {
  MsConsoleConcrete Console;
  SuCommandFileArg Arg(Console);
  EXPECT_EQ(Arg.Open(::testing::TempDir()), nullptr);
  EXPECT_EQ(Arg.Open(::testing::TempDir() + "no-such-file.xcl"), nullptr);
}

TEST(SuOutputFileNameTest, FileOrDirectory) {
  std::string Dir = ::testing::TempDir();
  EXPECT_EQ(SuOutputFileName("tables", "diagnostics_tables", ".txt"),
            "tables.txt");
  EXPECT_EQ(SuOutputFileName("tables.lst", "diagnostics_tables", ".txt"),
            "tables.lst");
  EXPECT_EQ(
      std::filesystem::path(SuOutputFileName(Dir, "diagnostics_tables", ".txt"))
          .filename()
          .string(),
      "diagnostics_tables.txt");
  EXPECT_TRUE(std::filesystem::equivalent(
      std::filesystem::path(SuOutputFileName(Dir, "diagnostics_tables", ".txt"))
          .parent_path(),
      Dir));
}

TEST(SuCommandLineWriterTest, BareAndQuotedWords) {
  struct Case {
    const char *Word;
    bool Bare;
  } Cases[] = {
      {"--mfc", true},
      {"a/b\\c.d=e:f_g", true},
      {"with blank", false},
      {"semi;colon", false},
      {"", false},
      {"quote\"d", false},
      {"\xC3\xA4umlaut", false},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(SuIsBareWord(C.Word), C.Bare) << C.Word;
}

TEST(SuCommandLineWriterTest, OneLinePerSourceFile) {
  std::ostringstream Out;
  SuWriteCommandLine(Out, {"--opt=1", "-x", "two words"}, "src/a.c",
                     {"--extra"});
  SuWriteCommandLine(Out, {"--opt=1"}, "b \"q\".c", {});
  EXPECT_EQ(Out.str(), "--opt=1 -x \"two words\" src/a.c --extra\n"
                       "--opt=1 \"b \\\"q\\\".c\"\n");
}

} // namespace

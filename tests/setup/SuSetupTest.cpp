// Tests of the setup run: the order of the setup chain, the run result, the
// post-setup queries, the command-file option's naming and the helpers of the
// dump options. Every setup run works on a console of the test's own.
#include "setup/SuSetup.h"
#include "setup/SuCommandFileArg.h"
#include "setup/SuDumps.h"

#include "cmdline/ClHelp.h"
#include "console/MsConsoleConcrete.h"
#include "general/GeInternalFailure.h"
#include "tests/support/FailureScope.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// Makes internal failures throw for the length of a test.
class SuSetupRunTest : public ::testing::Test {
protected:
  testsupport::ThrowingFailureScope Failures;
};

/// An argument vector over Arguments, null-terminated.
std::vector<char *> VectorOf(std::vector<std::string> &Arguments) {
  std::vector<char *> Argv;
  for (std::string &Argument : Arguments)
    Argv.push_back(Argument.data());
  Argv.push_back(nullptr);
  return Argv;
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

/// Runs a setup run over Arguments (program name first) on a console of its
/// own, and answers what the console printed on its error stream, the log
/// and the result. With Visit, the run hands the option table to a visitor
/// that logs the names of its options. An internal failure answers its text.
std::string RunAndReport(std::vector<std::string> Arguments,
                         bool AskParser = false, bool AskLinker = false,
                         bool Visit = false) {
  std::string Log;
  RecordingSystem First("first", Log);
  RecordingSystem Second("second", Log);
  Second.AskParserState = AskParser;
  Second.AskLinkerState = AskLinker;
  RecordingOptions Options(Log);
  std::vector<char *> Argv = VectorOf(Arguments);
  SuRunConfiguration Config;
  Config.Usage = "<NoSignOn>usage\n";
  if (Visit)
    Config.OptionTableVisitor = [&Log](const ClParser &Root) {
      Log += "visit";
      for (const ClArg *Arg : ClHelpOptions(Root))
        Log += " " + Arg->DisplayName();
      Log += "; ";
    };
  // The console's own output and std::cout end in the same text.
  testsupport::StreamCapture Stdout(std::cout);
  std::ostringstream Err;
  MsConsoleConcrete Console(Err, Stdout.Sink());
  try {
    SuRunResult Result =
        SuSetupRun(Console, static_cast<int>(Arguments.size()), Argv.data(),
                   Options, {&First, &Second}, Config);
    return Err.str() + Log + "proceed " + std::to_string(Result.Proceed) +
           " failed " + std::to_string(Result.Failed) + " program " +
           SuProgramPath();
  } catch (const testsupport::InternalFailure &Failure) {
    return std::string("internal failure: ") + Failure.what();
  }
}

TEST_F(SuSetupRunTest, SystemsRunInOrderAndParseLast) {
  EXPECT_EQ(RunAndReport({"prog"}),
            "setup first; setup second; options; after second; after "
            "first; take over; proceed 1 failed 0 program prog");
}

TEST_F(SuSetupRunTest, CommandLineErrorStopsBeforeTheTakeOver) {
  EXPECT_EQ(RunAndReport({"prog", "--nope"}),
            "Command line error: Unexpected command line arguments: --nope\n"
            "setup first; setup second; options; proceed 0 failed 1 "
            "program prog");
}

TEST_F(SuSetupRunTest, HelpEndsTheRunWithSuccess) {
  EXPECT_EQ(RunAndReport({"prog", "--help"}),
            "setup first; setup second; options; proceed 0 failed 0 "
            "program prog");
}

/// Handed to a visitor, the option table is not read against the command
/// line: the unknown option is not reported, and the tool does not go on.
TEST_F(SuSetupRunTest, OptionTableVisitorInsteadOfTheParse) {
  EXPECT_EQ(RunAndReport({"prog", "--nope"}, false, false, true),
            "setup first; setup second; options; visit --dependencies "
            "--diagnostics_tables --diag_error --diag_remark --diag_suppress "
            "--diag_warning --error_limit --no_warnings --no_wrap_diagnostics "
            "--only_stdout --remarks --silent --warnings_affect_exit_code "
            "--warnings_are_errors; proceed 0 failed 0 program prog");
}

TEST_F(SuSetupRunTest, ParserStateIsAnInternalFailureInThisTool) {
  EXPECT_EQ(RunAndReport({"prog"}, true),
            "internal failure: SuPostSetupState::GetParserState called in a "
            "tool with no parser");
}

TEST_F(SuSetupRunTest, LinkerStateIsAnInternalFailureInThisTool) {
  EXPECT_EQ(RunAndReport({"prog"}, false, true),
            "internal failure: SuPostSetupState::GetLinkerState called in a "
            "non-linker tool");
}

/// A setup system that sets a third banner line and adds a deprecated
/// option "--old" and an option with the second mark, "--extra". Logs what
/// the setup tells it once the parse is done.
class ThirdLineSystem : public SuTargetSetupSystem {
public:
  explicit ThirdLineSystem(std::string &Target) : Log(Target) {}

  void Setup(SuTargetSetup &Setup, SuContinuation &Next) override {
    Setup.SetBanner(SuBannerInputs{"Tool", "", "", "1.0", "(c) Maker"});
    Setup.SetThirdBannerLine("third line");
    Old.SetDeprecated();
    Extra.SetSecondMark();
    Setup.Parser().Add(std::make_unique<ClOnce>(Old));
    Setup.Parser().Add(std::make_unique<ClMulti>(Extra));
    Next.Continue();
    Log += "kind " + std::to_string(Setup.ToolKind()) + " sources " +
           std::to_string(Setup.AcceptsSourceFiles()) + " source state " +
           std::to_string(Setup.PostSetupState().GetSourceState() != nullptr) +
           " target state " +
           std::to_string(Setup.PostSetupState().GetTargetState() != nullptr) +
           "; ";
  }

private:
  std::string &Log;
  ClFlagArg Old{0, "old", "A deprecated switch"};
  ClStringArg Extra{0, "extra", "x", "A word for the first line only"};
};

/// Runs a setup run of a tool of kind 1 (mfc and distribute_mfc) that
/// takes source files, on a console of its own, and answers the system's
/// log, what the console printed on its error stream, the standard output
/// in brackets and the result.
std::string RunKindOne(std::vector<std::string> Arguments,
                       std::string Usage = "<NoSignOn>usage\n") {
  std::string Log;
  ThirdLineSystem System(Log);
  SuToolOptions Options;
  std::vector<char *> Argv = VectorOf(Arguments);
  // The console's own output and std::cout end in the same text.
  testsupport::StreamCapture Stdout(std::cout);
  std::ostringstream Err;
  MsConsoleConcrete Console(Err, Stdout.Sink());
  SuRunConfiguration Config;
  Config.ToolKind = 1;
  Config.AcceptsSourceFiles = 1;
  Config.CommandFileArg = new SuCommandFileArg(Console);
  Config.Usage = Usage;
  SuRunResult Result =
      SuSetupRun(Console, static_cast<int>(Arguments.size()), Argv.data(),
                 Options, {&System}, Config);
  return Log + Err.str() + "[" + Stdout.Text() + "] proceed " +
         std::to_string(Result.Proceed) + " failed " +
         std::to_string(Result.Failed);
}

TEST_F(SuSetupRunTest, KindOneToolTakesSourceFiles) {
  EXPECT_EQ(RunKindOne({"prog", "--mfc", "a.c", "b.c"}),
            "kind 1 sources 1 source state 0 target state 0; [] "
            "proceed 1 failed 0");
}

TEST_F(SuSetupRunTest, DistributeMfcWritesOneLinePerSourceFile) {
  EXPECT_EQ(
      RunKindOne({"prog", "--mfc", "a.c", "--distribute_mfc=-", "b c.c"}),
      "kind 1 sources 1 source state 0 target state 0; "
      "[--mfc a.c\n--mfc \"b c.c\"\n] proceed 0 failed 0");
}

TEST_F(SuSetupRunTest, DistributeMfcPutsSecondMarkedWordsOnTheFirstLine) {
  EXPECT_EQ(RunKindOne({"prog", "--extra=1", "a.c", "--distribute_mfc=-",
                        "--mfc", "b.c"}),
            "kind 1 sources 1 source state 0 target state 0; "
            "[--mfc a.c --extra=1\n--mfc b.c\n] proceed 0 failed 0");
}

TEST_F(SuSetupRunTest, DeprecatedOptionIsAWarning) {
  EXPECT_EQ(RunKindOne({"prog", "--old", "a.c"}),
            "kind 1 sources 1 source state 0 target state 0; "
            "Warning[Su013]: The use of this option is deprecated: "
            "--old\n[] proceed 1 failed 0");
}

TEST_F(SuSetupRunTest, DistributeMfcIntoAFolderUsesTheDefaultName) {
  testsupport::TempDir Folder;
  EXPECT_EQ(
      RunKindOne({"prog", "x.c", "--distribute_mfc", Folder.Root().string()}),
      "kind 1 sources 1 source state 0 target state 0; [] proceed 0 "
      "failed 0");
  EXPECT_EQ(testsupport::ReadFileOr(Folder.Path("separate_commands.txt"), ""),
            " x.c\n");
}

TEST_F(SuSetupRunTest, HelpShowsTheThirdBannerLine) {
  const std::string Printed = RunKindOne({"prog", "--help"});
  const SuBanner Lines(SuBannerInputs{"Tool", "", "", "1.0", "(c) Maker"});
  const std::string Banner = "[\n" + Lines.TitleLine() + "\n" +
                             Lines.CopyrightLine() +
                             "\nthird line\n\nusage\nAvailable command line "
                             "options:\n";
  EXPECT_EQ(Printed.compare(0, Banner.size(), Banner), 0) << Printed;
}

TEST_F(SuSetupRunTest, WalkErrorsAreCommandLineErrors) {
  testsupport::TempDir Folder;
  const std::string Unclosed = Folder.Path("unclosed.xcl");
  testsupport::WriteFile(Unclosed, "--mfc /* open");
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
  for (const auto &Case : Cases)
    EXPECT_EQ(RunKindOne(Case.Args), Case.Err + "[] proceed 0 failed 1")
        << Case.Args.back();
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
  testsupport::TempDir Folder;
  EXPECT_EQ(Arg.Open(Folder.Root().string()), nullptr);
  EXPECT_EQ(Arg.Open(Folder.Path("no-such-file.xcl")), nullptr);
}

TEST(SuOutputFileNameTest, FileOrDirectory) {
  testsupport::TempDir Folder;
  const std::string Dir = Folder.Root().string();
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

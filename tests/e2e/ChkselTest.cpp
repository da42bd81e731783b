// End-to-end tests of chksel: the built program run in temporary folders,
// with exact standard output, standard error, exit status and files.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace e2e;

namespace {

const char GroupedManifest[] = "checkname=Alpha\n"
                               "package=P\n"
                               "group=G1\n"
                               "default=on\n"
                               "\n"
                               "checkname=Beta\n"
                               "package=P\n"
                               "group=G1\n"
                               "group=G2\n"
                               "default=off\n"
                               "\n"
                               "checkname=Gamma\n"
                               "package=Q\n"
                               "group=G2\n"
                               "default=on\n"
                               "\n"
                               "checkname=Hidden\n"
                               "package=P\n"
                               "visible=no\n"
                               "\n";

class ChkselTest : public FolderTest {
protected:
  void SetUp() override { Write("m.txt", GroupedManifest); }
};

TEST_F(ChkselTest, NoArgumentsWritesNothingAndSucceeds) {
  RunResult R = RunHere({});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "");
  EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
}

TEST_F(ChkselTest, AllChecksToTheDefaultOutputFile) {
  RunResult R = RunHere({"--manifest=m.txt", "--all"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("ruvex_sel_checks.txt"), "Alpha\nBeta\nGamma\n");
}

TEST_F(ChkselTest, DashWritesToStandardOutput) {
  RunResult R = RunHere({"--manifest", "m.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "Alpha\nBeta\nGamma\n");
  EXPECT_EQ(R.Err, "");
}

TEST_F(ChkselTest, PassesRunInTheirFixedOrder) {
  RunResult R =
      RunHere({"--package=q", "--group=G2", "--check=gamma,alpha", "--all",
               "--default=P", "--manifest=m.txt", "--output=out.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("out.txt"), "Alpha\nBeta\nGamma\n" // all
                             "Alpha\nGamma\n"       // check
                             "Alpha\nBeta\n"        // default P
                             "Beta\nGamma\n"        // group G2
                             "Gamma\n");            // package q
}

TEST_F(ChkselTest, CheckGivenTwiceGathersAllNames) {
  RunResult R = RunHere({"--manifest=m.txt", "--check=Gamma,beta", "--check",
                         "alpha", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "Alpha\nBeta\nGamma\n");
}

TEST_F(ChkselTest, DefaultAndPackageOfTheSamePackageBothRun) {
  RunResult R =
      RunHere({"--manifest=m.txt", "--default=Q", "--package=Q", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "Gamma\nGamma\n");
}

TEST_F(ChkselTest, MissingManifestIsReportedAndLeavesAnEmptyOutput) {
  RunResult R = RunHere({"--manifest=nope.txt", "--all", "--check=a"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Error[Lc002]: could not open file \"nope.txt\"\n");
  EXPECT_EQ(Read("ruvex_sel_checks.txt"), "");
}

TEST_F(ChkselTest, DirectoryAsManifestIsReported) {
  std::filesystem::create_directory(Dir.Path("d"));
  RunResult R = RunHere({"--manifest=d", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Lc002]: could not open file \"d\"\n");
}

TEST_F(ChkselTest, UnwritableOutputIsReported) {
  RunResult R =
      RunHere({"--manifest=m.txt", "--all", "--output=no/such/dir/x.txt"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Lc002]: could not open file \"no/such/dir/x.txt\"\n");
}

TEST_F(ChkselTest, FullDeviceIsAWriteError) {
  RunResult R = RunHere(
      {"--manifest=m.txt", "--all", "--check=alpha", "--output=/dev/full"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Ms004]: problem writing to file \"/dev/full\"\n");
}

TEST_F(ChkselTest, PercentInAPathIsPrintedAsItStands) {
  RunResult R = RunHere({"--manifest=%s%sq%p%%.txt", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Lc002]: could not open file \"%s%sq%p%%.txt\"\n");
}

TEST_F(ChkselTest, RelativeManifestIsTakenFromTheCurrentDirectory) {
  std::filesystem::create_directory(Dir.Path("sub"));
  WriteFile(Dir.Path("sub/m.txt"), "checkname=Sub\n");
  RunOptions Options;
  Options.Cwd = Dir.Path("sub");
  RunResult R = RunChksel({"--manifest=m.txt", "--all", "--output=-"}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "Sub\n");
}

TEST_F(ChkselTest, OutputGivenTwiceWithDifferentValuesIsRefused) {
  RunResult R = RunHere({"--all", "--output=a", "--output=b"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Command line error: Option --output does not match "
                   "previous occurrence\n");
  EXPECT_FALSE(Exists(Dir.Path("a")));
}

TEST_F(ChkselTest, OutputGivenTwiceWithTheSameValueIsAccepted) {
  RunResult R =
      RunHere({"--manifest=m.txt", "--all", "--output=a", "--output", "a"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(Read("a"), "Alpha\nBeta\nGamma\n");
}

TEST_F(ChkselTest, UnknownOptionsAreReportedTogether) {
  RunResult R = RunHere({"--bogus", "--all", "-z"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(
      R.Err,
      "Command line error: Unexpected command line arguments: --bogus -z\n");
}

TEST_F(ChkselTest, PositionalArgumentIsRefused) {
  RunResult R = RunHere({"--all", "source.c"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(
      R.Err,
      "Command line error: Unexpected command line arguments: source.c\n");
  EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
}

TEST_F(ChkselTest, ParameterWithInitialDashNeedsThreeDashes) {
  RunResult R = RunHere({"--manifest=m.txt", "--output", "-x", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err,
            "Command line error: The parameter to the command line option "
            "\"--output\" was\n"
            "          \"-x\", which has an initial \"-\". If that is desired, "
            "use an initial\n"
            "          \"---\" instead\n");

  RunResult Dashes = RunHere({"--manifest=m.txt", "--output", "---x", "--all"});
  EXPECT_EQ(Dashes.Status, 0);
  EXPECT_EQ(Read("-x"), "Alpha\nBeta\nGamma\n");
}

TEST_F(ChkselTest, SeparateParameterMissingAtTheEnd) {
  RunResult R = RunHere({"--all", "--output"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Command line error: Option requires a separate "
                   "parameter: --output\n");
}

TEST_F(ChkselTest, FlagWithAParameterIsRefused) {
  RunResult R = RunHere({"--all=yes"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Command line error: Illegal characters\n");
}

TEST_F(ChkselTest, ErrorLimitOutOfRangeIsRefused) {
  RunResult R = RunHere({"--error_limit=-1"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Command line error: Expected a decimal integer greater "
                   "than or equal to 0: '-1'\n");
}

TEST_F(ChkselTest, UnknownDiagnosticTagIsAWarning) {
  RunResult R = RunHere({"--diag_warning=Ms999", "--manifest=m.txt",
                         "--check=beta", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "Beta\n");
  EXPECT_EQ(R.Err, "Warning[Ms001]: diagnostic tag \"Ms999\" does not exist\n");
}

TEST_F(ChkselTest, WarningsAffectExitCode) {
  RunResult R =
      RunHere({"--diag_warning=Ms999", "--warnings_affect_exit_code"});
  EXPECT_EQ(R.Status, 1);
  EXPECT_EQ(R.Err, "Warning[Ms001]: diagnostic tag \"Ms999\" does not exist\n");
}

TEST_F(ChkselTest, FixedTagCannotBeSuppressed) {
  RunResult R = RunHere({"--diag_suppress=Lc002", "--manifest=nope", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Warning[Ms002]: diagnostic tag \"Lc002\" can not have its "
                   "level changed\n"
                   "Error[Lc002]: could not open file \"nope\"\n");
}

TEST_F(ChkselTest, OnlyStdoutMovesDiagnosticsToStandardOutput) {
  RunResult R = RunHere({"--only_stdout", "--manifest=nope", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "Error[Lc002]: could not open file \"nope\"\n");
  EXPECT_EQ(R.Err, "");
}

TEST_F(ChkselTest, HelpPrintsBannerUsageAndOptionsAndDoesNoWork) {
  RunOptions Options = Here();
  Options.Env["ZOR_INTERNAL__USE_FAKE_SIGNON"] = "";
  RunResult R = RunChksel({"--all", "--help", "--bogus"}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
  EXPECT_EQ(R.Out,
            "\n"
            "ZOR Ruvex Check Selector V?.??\n"
            "Copyright this year and every year Zoraxis Software AB.\n"
            "\n"
            "Usage:          chksel [options]\n"
            "\n"
            "Default output is <current directory>/ruvex_sel_checks.txt\n"
            "\n"
            "Available command line options:\n"
            "--all           Generate all checks\n"
            "--check chk,chk,... \n"
            "                Generate check(s)\n"
            "--default pkg,pkg,... \n"
            "                Generate all default checks for the specified "
            "package(s)\n"
            "--dependencies=[i|m|n][s] file|directory|+ \n"
            "                List file dependencies\n"
            "                   i     Include filename only (default)\n"
            "                   m     Makefile style (multiple rules)\n"
            "                   n     Makefile style (one rule)\n"
            "                   s     Suppress system files\n"
            "                (+: output same as -o, only with .d extension)\n"
            "--diagnostics_tables file|directory \n"
            "                Dump diagnostic message tables to file\n"
            "--diag_error tag,tag,... \n"
            "                Treat the list of tags as error diagnostics\n"
            "--diag_remark tag,tag,... \n"
            "                Treat the list of tags as remark diagnostics\n"
            "--diag_suppress tag,tag,... \n"
            "                Suppress the list of tags as diagnostics\n"
            "--diag_warning tag,tag,... \n"
            "                Treat the list of tags as warning diagnostics\n"
            "--error_limit limit \n"
            "                Stop after this many errors (0 = no limit)\n"
            "--group grp,grp,... \n"
            "                Generate all checks for the specified group(s)\n"
            "--manifest file Override manifest file\n"
            "--no_warnings   Disable generation of warnings\n"
            "--no_wrap_diagnostics \n"
            "                Don't wrap long lines in diagnostic messages\n"
            "--only_stdout   Use stdout only (no console output on stderr)\n"
            "--output file   Override output file\n"
            "--package pkg,pkg,... \n"
            "                Generate all checks for the specified package(s)\n"
            "--remarks       Enable generation of remarks\n"
            "--silent        Silent operation\n"
            "--warnings_affect_exit_code \n"
            "                Warnings affect exit code\n"
            "--warnings_are_errors \n"
            "                All warnings are errors\n"
            "-f file         Read command line options from file\n");
}

TEST_F(ChkselTest, HelpWithoutFakeSignOnShowsTheVersion) {
  RunResult R = RunHere({"--help"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out.substr(0, 79),
            "\nZOR Ruvex Check Selector V1.1.3.53\n"
            "Copyright 2014 - 2015 Zoraxis Software AB.\n");
}

TEST_F(ChkselTest, DiagnosticsTablesDumpListsEveryTag) {
  RunResult R = RunHere({"--diagnostics_tables", "tables", "--all"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "");
  EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
  std::string Tables = Read("tables.txt");
  EXPECT_EQ(Tables.substr(0, 55), "Lc001:  internal error\n"
                                  "Lc002:  could not open file %sq\n");
  EXPECT_NE(Tables.find("Ms001:  diagnostic tag %sq does not exist\n"),
            std::string::npos);
  EXPECT_EQ(Tables.find("Ms008"), std::string::npos);
  EXPECT_NE(Tables.find("Su013:  The use of this option is deprecated: %s\n"),
            std::string::npos);
}

TEST_F(ChkselTest, DiagnosticsTablesIntoADirectory) {
  std::filesystem::create_directory(Dir.Path("out"));
  RunResult R = RunHere({"--diagnostics_tables=out"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_TRUE(Exists(Dir.Path("out/diagnostics_tables.txt")));
}

// --- Command files ------------------------------------------------------

TEST_F(ChkselTest, CommandFileGetsItsDefaultExtension) {
  WriteFile(Dir.Path("opts.xcl"),
            "// the selection\n--manifest=m.txt /* all */ --all\n"
            "\"--output=-\"\n");
  RunResult R = RunHere({"-f", "opts"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Alpha\nBeta\nGamma\n");
}

TEST_F(ChkselTest, CommandFileWithNonAsciiName) {
  WriteFile(Dir.Path("wähl-€.xcl"), "--manifest m.txt --check=beta");
  RunResult R = RunHere({"-fwähl-€.xcl", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Beta\n");
}

TEST_F(ChkselTest, LongMessagesAreWrappedAtColumn79) {
  RunResult R = RunHere({"-f", "nonesuch_with_a_rather_long_name_so_that_the_"
                               "message_wraps_around_column79"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Command line error: Unable to open the command file\n"
                   "          \"nonesuch_with_a_rather_long_name_so_that_the_"
                   "message_wraps_around_co\n"
                   "          lumn79.xcl\"\n");
}

TEST_F(ChkselTest, NoWrapKeepsALongMessageOnOneLine) {
  std::string Long =
      "a_manifest_whose_name_is_long_enough_to_wrap_the_message.txt";
  RunResult Wrapped = RunHere({"--manifest=" + Long, "--all"});
  EXPECT_EQ(Wrapped.Status, 2);
  EXPECT_EQ(Wrapped.Err, "Error[Lc002]: could not open file\n"
                         "          \"" +
                             Long + "\"\n");

  RunResult R =
      RunHere({"--no_wrap_diagnostics", "--manifest=" + Long, "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Lc002]: could not open file \"" + Long + "\"\n");
}

TEST_F(ChkselTest, MissingCommandFile) {
  RunResult R = RunHere({"-f", "none.txt"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Command line error: Unable to open the command file "
                   "\"none.txt\"\n");
}

TEST_F(ChkselTest, CommandFileRecursion) {
  WriteFile(Dir.Path("a.xcl"), "-f b");
  WriteFile(Dir.Path("b.xcl"), "--all -f a.xcl");
  RunResult R = RunHere({"-f", "a"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "\n\"b.xcl\",1  Command line error: Command file "
                   "recursion. A request to process\n"
                   "          \"a.xcl\" was found while already processing "
                   "that file\n");
}

TEST_F(ChkselTest, UnclosedQuoteInCommandFile) {
  WriteFile(Dir.Path("q.xcl"), "--all\n  \"--output=x\n\n");
  RunResult R = RunHere({"-f", "q"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "\n\"q.xcl\",2  Command line error: Missing closing quote "
                   "in command file\n");
}

TEST_F(ChkselTest, ErrorInsideACommandFileShowsItsLine) {
  WriteFile(Dir.Path("e.xcl"), "--all\n--output=a\n\n  --output=b\n");
  RunResult R = RunHere({"-f", "e"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "\n\"e.xcl\",4  Command line error: Option --output does "
                   "not match previous\n"
                   "          occurrence\n");
}

// --- The default manifest path -----------------------------------------

class DefaultManifestTest : public ::testing::Test {
protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    fs::create_directories(Tree.Path("bin"));
    fs::create_directories(Tree.Path("config/ruvex"));
    fs::create_directories(Tree.Path("elsewhere"));
    fs::copy_file(ChkselPath(), Tree.Path("bin/chksel"));
    WriteFile(Tree.Path("config/ruvex/ruvex_checks.txt"),
              "checkname=FromTree\n");
  }
  TempDir Tree;
};

TEST_F(DefaultManifestTest, FoundBesideTheProgramFolder) {
  RunOptions Options;
  Options.Cwd = Tree.Path("elsewhere");
  RunResult R =
      e2e::Run(Tree.Path("bin/chksel"), {"--all", "--output=-"}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "FromTree\n");
}

TEST_F(DefaultManifestTest, RelativeProgramPathIsUsedAsItStands) {
  RunOptions Options;
  Options.Cwd = Tree.Root().string();
  Options.Argv0 = "bin/chksel";
  RunResult R =
      e2e::Run(Tree.Path("bin/chksel"), {"--all", "--output=-"}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "FromTree\n");
}

TEST_F(DefaultManifestTest, BareProgramNameLooksBesideTheCurrentDirectory) {
  RunOptions Options;
  Options.Argv0 = "chksel";
  Options.Cwd = Tree.Path("bin");
  RunResult Found =
      e2e::Run(Tree.Path("bin/chksel"), {"--all", "--output=-"}, Options);
  EXPECT_EQ(Found.Status, 0);
  EXPECT_EQ(Found.Out, "FromTree\n");

  Options.Cwd = Tree.Path("elsewhere/..");
  RunResult Missing =
      e2e::Run(Tree.Path("bin/chksel"), {"--all", "--output=-"}, Options);
  EXPECT_EQ(Missing.Status, 2);
  EXPECT_EQ(Missing.Err, "Error[Lc002]: could not open file "
                         "\"../config/ruvex/ruvex_checks.txt\"\n");
}

TEST(BundledManifest, BuildTreeHasTheSampleBesideBin) {
  std::filesystem::path Bin = std::filesystem::path(ChkselPath()).parent_path();
  RunOptions Options;
  Options.Cwd = Bin.string();
  RunResult R = RunChksel({"--all", "--output=-"}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_GT(R.Out.size(), 1000u);
}

} // namespace

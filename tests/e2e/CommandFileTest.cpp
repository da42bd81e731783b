// End-to-end tests of command files and the command line as users meet them:
// files written by other editors (byte-order marks, UTF-16), long chains of
// nested files, one file reached under several names, help asked for inside
// a file, the console options that govern command-line errors, and messages
// about files in deep folders.
#include "E2eSupport.h"

#include "tests/support/GeTextEncodingSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

using namespace e2e;
using GeTextEncoding::AllEncodings;
using GeTextEncoding::Encode;
using GeTextEncoding::Encoding;
namespace fs = std::filesystem;

namespace {

const char NonAsciiManifest[] = "checkname=Alpha\n"
                                "package=P\n"
                                "\n"
                                "checkname=Beta\n"
                                "package=P\n"
                                "\n"
                                "checkname=\xC3\x84rger\n"
                                "package=Q\n"
                                "\n";

class CommandFileTest : public FolderTest {
protected:
  void SetUp() override { Write("m.txt", NonAsciiManifest); }

  /// Writes c0.xcl .. c<Count - 1>.xcl, each but the last naming the next;
  /// the last one holds Last.
  void WriteChain(int Count, const std::string &Last) {
    for (int I = 0; I + 1 < Count; ++I)
      Write("c" + std::to_string(I) + ".xcl",
            "// link " + std::to_string(I) + "\n-f c" + std::to_string(I + 1));
    Write("c" + std::to_string(Count - 1) + ".xcl", Last);
  }
};

//===----------------------------------------------------------------------===//
// Byte-order marks and UTF-16
//===----------------------------------------------------------------------===//

TEST_F(CommandFileTest, EveryEncodingRunsLikePlainUtf8) {
  struct Case {
    std::string Text;
    int Status;
    std::string Out;
    std::string Err;
  };
  const Case Cases[] = {
      {"// options \xE2\x80\x94 saved by an editor\r\n"
       "--manifest=m.txt\r\n"
       "--check=beta,\"\xC3\x84rger\" /* \xC3\xA9 */\r\n"
       "\"--output=-\"\r\n",
       0, "Beta\n\xC3\x84rger\n", ""},
      // Positions of errors are those of the UTF-8 text.
      {"--manifest=m.txt --all\n"
       "\"--output=a b\"\n"
       "\n"
       "  /* \xE2\x82\xAC */ --output=c\n",
       2, "",
       "\n\"opts.xcl\",4  Command line error: Option --output does not match "
       "previous\n"
       "          occurrence\n"},
  };
  for (const Case &C : Cases) {
    for (Encoding E : AllEncodings) {
      const char *Name = GeTextEncoding::Name(E);
      Write("opts.xcl", Encode(C.Text, E));
      RunResult R = RunHere({"-f", "opts"});
      EXPECT_EQ(R.Status, C.Status) << Name;
      EXPECT_EQ(R.Out, C.Out) << Name;
      EXPECT_EQ(R.Err, C.Err) << Name;
      EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt"))) << Name;
    }
  }
}

TEST_F(CommandFileTest, MalformedUtf16CannotBeOpened) {
  const std::string Cases[] = {
      std::string("\xFF\xFE-\0-\0a\0l\0l\0\n", 13),       // odd byte count
      std::string("\xFE\xFF\0-\0-\0a\0l\0l\xD8\x3D", 14), // lone high half
      std::string("\xFF\xFE-\0-\0\x1E\xDD"
                  "a\0l\0l\0",
                  14), // lone low half
  };
  for (const std::string &Bytes : Cases) {
    Write("bad.xcl", Bytes);
    RunResult R = RunHere({"--manifest=m.txt", "-f", "bad"});
    EXPECT_EQ(R.Status, 2);
    EXPECT_EQ(R.Out, "");
    EXPECT_EQ(R.Err, "Command line error: Unable to open the command file "
                     "\"bad.xcl\"\n");
    EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
  }
}

TEST_F(CommandFileTest, MarkInTheManifestStaysPartOfTheFirstKey) {
  Write("bom.txt", std::string("\xEF\xBB\xBF") + NonAsciiManifest);
  RunResult R = RunHere({"--manifest=bom.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  // The first record has no "checkname" key.
  EXPECT_EQ(R.Out, "Beta\n\xC3\x84rger\n");
}

//===----------------------------------------------------------------------===//
// Long chains
//===----------------------------------------------------------------------===//

TEST_F(CommandFileTest, ChainOfTenThousandFiles) {
  const int Count = 10000;
  WriteChain(Count, "--manifest=m.txt --check=beta --output=-");

  const auto Start = std::chrono::steady_clock::now();
  RunResult R = RunHere({"-f", "c0", "--dependencies", "deps.txt"});
  const auto Took = std::chrono::steady_clock::now() - Start;
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Beta\n");
  std::string Expected;
  for (int I = 0; I < Count; ++I)
    Expected += "c" + std::to_string(I) + ".xcl\n";
  Expected += "m.txt\n";
  EXPECT_EQ(Read("deps.txt"), Expected);
  EXPECT_LT(Took, std::chrono::seconds(20));

  // The files are closed as they are read: 10,000 files get through a limit
  // of 32 open descriptors.
  RunOptions Options = Here();
  RunResult Limited = e2e::Run(
      "/bin/sh", {"-c", "ulimit -n 32 && exec \"$0\" -f c0", ChkselPath()},
      Options);
  EXPECT_EQ(Limited.Status, 0);
  EXPECT_EQ(Limited.Err, "");
  EXPECT_EQ(Limited.Out, "Beta\n");
}

TEST_F(CommandFileTest, CycleAtTheEndOfALongChain) {
  WriteChain(3000, "--all\n -f ./c1234.xcl");
  RunResult R = RunHere({"--manifest=m.txt", "-f", "c0"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "\n\"c2999.xcl\",2  Command line error: Command file "
                   "recursion. A request to process\n"
                   "          \"./c1234.xcl\" was found while already "
                   "processing that file\n");
}

//===----------------------------------------------------------------------===//
// One file under several names
//===----------------------------------------------------------------------===//

TEST_F(CommandFileTest, FileNamingItselfUnderAnotherSpellingIsACycle) {
  fs::create_directory(Dir.Path("sub"));
  fs::create_symlink("x.xcl", Dir.Path("link.xcl"));
  struct Case {
    std::string Spelling;
    std::string Shown;
  };
  const Case Cases[] = {
      {"./x", "./x.xcl"},
      {"sub/../x.xcl", "sub/../x.xcl"},
      {Dir.Path("x"), Dir.Path("x.xcl")},
      {"link", "link.xcl"},
      {"hard", "hard.xcl"},
  };
  for (const Case &C : Cases) {
    fs::remove(Dir.Path("hard.xcl"));
    Write("x.xcl", "--manifest=m.txt --all\n  -f " + C.Spelling + "\n");
    fs::create_hard_link(Dir.Path("x.xcl"), Dir.Path("hard.xcl"));
    RunResult R = RunHere({"--no_wrap_diagnostics", "-f", "x"});
    EXPECT_EQ(R.Status, 2) << C.Spelling;
    EXPECT_EQ(R.Out, "") << C.Spelling;
    // The request as it was made, placed where it was made.
    EXPECT_EQ(R.Err, "\n\"x.xcl\",2  Command line error: Command file "
                     "recursion. A request to process \"" +
                         C.Shown +
                         "\" was found while already processing that file\n")
        << C.Spelling;
    EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
  }
}

TEST_F(CommandFileTest, OneFileUnderSeveralNamesIsListedOnce) {
  Write("x.xcl", "--check=alpha");
  fs::create_symlink("x.xcl", Dir.Path("link.xcl"));
  fs::create_hard_link(Dir.Path("x.xcl"), Dir.Path("hard.xcl"));
  RunResult R =
      RunHere({"--manifest=m.txt", "--output=-", "-f", "x", "-f", "./x.xcl",
               "-f", "link", "-f", "hard", "--dependencies", "deps.txt"});
  // Not nested, so not a cycle.
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Alpha\n");
  EXPECT_EQ(Read("deps.txt"), "x.xcl\nm.txt\n");

  // The IDE hears of the file once.
  RunResult Ide = RunHere({"--IDE3", "--manifest=m.txt", "--output=-", "-f",
                           "x", "-f", "link", "-f", "./hard.xcl"});
  EXPECT_EQ(Ide.Status, 0);
  EXPECT_EQ(Ide.Out, "$$TOOL_BEGIN $$VERSION \"3\" $$DEP_BEGIN $$FILEPATH "
                     "\"x.xcl\" $$TOOL_END \n"
                     "$$TOOL_BEGIN $$VERSION \"3\" $$DEP_BEGIN $$FILEPATH "
                     "\"m.txt\" $$TOOL_END \n"
                     "Alpha\n $$TOOL_EXIT");
}

//===----------------------------------------------------------------------===//
// Help
//===----------------------------------------------------------------------===//

TEST_F(CommandFileTest, HelpInsideACommandFile) {
  const RunResult Typed = RunHere({"--help"});
  ASSERT_EQ(Typed.Status, 0);
  ASSERT_NE(Typed.Out.find("Available command line options:\n--all "),
            std::string::npos)
      << Typed.Out;
  // Help is not an entry of its own listing.
  EXPECT_EQ(Typed.Out.find("--help"), std::string::npos);

  Write("opts.xcl", "--manifest=m.txt\n--all\n// more\n--help\n--bogus\n");
  const std::vector<std::vector<std::string>> Lines = {
      {"-f", "opts"},
      {"--output", "-x", "-f", "opts"},
      {"--bogus", "-fopts", "--all=1"},
      {"-f", "missing", "-f", "opts"},
  };
  for (const std::vector<std::string> &Line : Lines) {
    RunResult R = RunHere(Line);
    EXPECT_EQ(R.Status, 0) << Line[1];
    EXPECT_EQ(R.Err, "") << Line[1];
    EXPECT_EQ(R.Out, Typed.Out) << Line[1];
    EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
  }
}

TEST_F(CommandFileTest, HelpAsTheParameterOfAnOptionIsThatParameter) {
  RunResult R = RunHere({"--manifest", "--help"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Command line error: The parameter to the command line "
                   "option \"--manifest\" was\n"
                   "          \"--help\", which has an initial \"-\". If "
                   "that is desired, use an\n"
                   "          initial \"---\" instead\n");

  Write("opts.xcl", "--all\n--output\n--help\n");
  RunResult InFile = RunHere({"-f", "opts"});
  EXPECT_EQ(InFile.Status, 2);
  EXPECT_EQ(InFile.Out, "");
  EXPECT_EQ(InFile.Err, "\n\"opts.xcl\",2  Command line error: The parameter "
                        "to the command line option\n"
                        "          \"--output\" was \"--help\", which has an "
                        "initial \"-\". If that is\n"
                        "          desired, use an initial \"---\" instead\n");
}

//===----------------------------------------------------------------------===//
// Console options and command-line errors
//===----------------------------------------------------------------------===//

TEST_F(CommandFileTest, OnlyStdoutTakesTheCommandLineErrorsAlong) {
  Write("quiet.xcl", "--only_stdout\n");
  const std::vector<std::vector<std::string>> Lines = {
      {"--only_stdout", "--bogus"},
      {"--bogus", "--only_stdout"},
      {"-f", "quiet", "--bogus"},
  };
  for (const std::vector<std::string> &Line : Lines) {
    RunResult R = RunHere(Line);
    EXPECT_EQ(R.Status, 2);
    EXPECT_EQ(R.Err, "");
    EXPECT_EQ(R.Out, "Command line error: Unexpected command line arguments: "
                     "--bogus\n");
  }
  RunResult Dash = RunHere({"--only_stdout", "--output", "-x"});
  EXPECT_EQ(Dash.Status, 2);
  EXPECT_EQ(Dash.Err, "");
  EXPECT_EQ(Dash.Out, "Command line error: The parameter to the command line "
                      "option \"--output\" was\n"
                      "          \"-x\", which has an initial \"-\". If that "
                      "is desired, use an initial\n"
                      "          \"---\" instead\n");
  RunResult Missing = RunHere({"-f", "none", "--only_stdout"});
  EXPECT_EQ(Missing.Status, 2);
  EXPECT_EQ(Missing.Err, "");
  EXPECT_EQ(Missing.Out, "Command line error: Unable to open the command file "
                         "\"none.xcl\"\n");
  // A malformed flag is not the option.
  RunResult Malformed = RunHere({"--only_stdout=yes"});
  EXPECT_EQ(Malformed.Status, 2);
  EXPECT_EQ(Malformed.Out, "");
  EXPECT_EQ(Malformed.Err, "Command line error: Illegal characters\n");
}

TEST_F(CommandFileTest, NoWrapKeepsACommandLineErrorOnOneLine) {
  const std::string Long = "--" + std::string(150, 'o');
  RunResult Wrapped = RunHere({Long});
  EXPECT_EQ(Wrapped.Status, 2);
  EXPECT_EQ(Wrapped.Err,
            "Command line error: Unexpected command line arguments:\n"
            "          " +
                Long.substr(0, 69) + "\n          " + Long.substr(69, 69) +
                "\n          " + Long.substr(138) + "\n");

  for (const std::vector<std::string> &Line :
       {std::vector<std::string>{"--no_wrap_diagnostics", Long},
        std::vector<std::string>{Long, "--no_wrap_diagnostics"}}) {
    RunResult R = RunHere(Line);
    EXPECT_EQ(R.Status, 2);
    EXPECT_EQ(R.Out, "");
    EXPECT_EQ(R.Err, "Command line error: Unexpected command line arguments: " +
                         Long + "\n");
  }
}

TEST_F(CommandFileTest, OtherConsoleOptionsDoNotChangeCommandLineErrors) {
  // error_limit, diag and warning options take effect only after a parse
  // that succeeded: the error is shown although its own tag is suppressed,
  // and the limit of one error does not stop the run a second time.
  RunResult R = RunHere({"--error_limit=1", "--diag_suppress=Su002",
                         "--warnings_are_errors", "--silent", "--bogus", "-z"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err,
            "Command line error: Unexpected command line arguments: --bogus "
            "-z\n");
}

//===----------------------------------------------------------------------===//
// Deep folders
//===----------------------------------------------------------------------===//

TEST_F(CommandFileTest, FileInADeepFolderPutsTheTextOnTheNextLine) {
  const std::string Folder = "project_settings/build_configurations/"
                             "static_analysis/selections";
  fs::create_directories(Dir.Path(Folder));
  Write(Folder + "/release.xcl", "--all\n--output=a --output=b\n");
  const std::string Shown = Folder + "/release.xcl";
  RunResult R = RunHere({"-f", Folder + "/release"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "\n\"" + Shown +
                       "\",2  Command line error:\n"
                       "          Option --output does not match previous "
                       "occurrence\n");

  RunResult NoWrap =
      RunHere({"--no_wrap_diagnostics", "-f", Folder + "/release"});
  EXPECT_EQ(NoWrap.Status, 2);
  EXPECT_EQ(NoWrap.Err, "\n\"" + Shown +
                            "\",2  Command line error: Option --output does "
                            "not match previous occurrence\n");
}

} // namespace

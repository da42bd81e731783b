// End-to-end tests of the generated bash completion: a real bash sources the
// script, gets COMP_LINE, COMP_POINT, COMP_WORDS and COMP_CWORD as readline
// would set them, calls the completion function and prints the candidates.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

/// The manifest the tool in the test folder reads by default. The third
/// record hides its check, so neither its name nor its package or group are
/// offered.
const char BundledManifest[] = "checkname=MEM-leak\n"
                               "package=core\n"
                               "group=memory\n"
                               "default=on\n"
                               "\n"
                               "checkname=MEM-loop\n"
                               "package=core\n"
                               "group=memory\n"
                               "group=threads\n"
                               "\n"
                               "checkname=Hidden-one\n"
                               "package=secret\n"
                               "group=hidden\n"
                               "visible=no\n"
                               "\n"
                               "checkname=STY-brace\n"
                               "package=style\n"
                               "group=layout\n"
                               "\n";

/// A manifest named on the command line, with "\r\n" line ends.
const char OtherManifest[] = "checkname=Other-check\r\n"
                             "package=extra\r\n"
                             "group=misc\r\n"
                             "\r\n";

/// One completion request: the command line up to the cursor, and the words
/// readline cuts it into (it cuts at blanks and at the characters of
/// COMP_WORDBREAKS, "=" and ":" among them, which become words of their own).
struct Request {
  const char *Name;
  std::string Line;
  std::vector<std::string> Words;
  std::vector<std::string> Expected;
};

std::ostream &operator<<(std::ostream &Out, const Request &R) {
  return Out << R.Name;
}

/// A test folder with a tool folder "my tools$" that holds bin/chksel (a link
/// to the built program) and config/ruvex/ruvex_checks.txt, a manifest of
/// its own, command files and ordinary files.
class CompletionTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(Exists(Script)) << Script;
    Bash = FindProgram("bash");
    ASSERT_FALSE(Bash.empty()) << "bash is needed";
    Tool = Dir.Path("my tools$");
    fs::create_directories(Tool + "/bin");
    fs::create_directories(Tool + "/config/ruvex");
    fs::create_symlink(ChkselPath(), Tool + "/bin/chksel");
    WriteFile(Tool + "/config/ruvex/ruvex_checks.txt", BundledManifest);
    fs::create_directories(Dir.Path("work/sets"));
    WriteFile(Dir.Path("work/other.txt"), OtherManifest);
    WriteFile(Dir.Path("work/release.xcl"), "--all\n");
    WriteFile(Dir.Path("work/my rules.xcl"), "--all\n");
    WriteFile(Dir.Path("work/readme.txt"), "");
    WriteFile(Dir.Path("work/x:y.txt"), "");
  }

  /// The candidates of the completion function for Line cut into Words,
  /// run in the folder work (or Cwd), sorted.
  std::vector<std::string> Complete(const std::string &Line,
                                    const std::vector<std::string> &Words,
                                    const std::string &Cwd = "work",
                                    const std::string &Path = "/usr/bin:/bin") {
    // The script, the line and the words reach bash as arguments and in
    // the environment, so that nothing needs quoting.
    const char Program[] = "source \"$CHKSEL_COMPLETION\" || exit 9\n"
                           "COMP_LINE=$LINE\n"
                           "COMP_POINT=${#LINE}\n"
                           "COMP_WORDS=(\"$@\")\n"
                           "COMP_CWORD=$(($# - 1))\n"
                           "_chksel || exit 8\n"
                           "printf '%s\\n' \"${COMPREPLY[@]}\"\n";
    std::vector<std::string> Args = {"--norc", "--noprofile", "-c", Program,
                                     "bash"};
    Args.insert(Args.end(), Words.begin(), Words.end());
    RunOptions Options;
    Options.Cwd = Dir.Path(Cwd);
    Options.Env["PATH"] = Path;
    Options.Env["HOME"] = Dir.Path("work");
    Options.Env["CHKSEL_COMPLETION"] = Script;
    Options.Env["LINE"] = Line;
    RunResult R = e2e::Run(Bash, Args, Options);
    EXPECT_EQ(R.Status, 0) << R.Err;
    EXPECT_EQ(R.Err, "");
    std::vector<std::string> Candidates;
    for (const std::string &Candidate : SplitLines(R.Out))
      if (!Candidate.empty())
        Candidates.push_back(Candidate);
    std::sort(Candidates.begin(), Candidates.end());
    return Candidates;
  }

  /// The program in the tool folder as typed at a prompt: its blank and
  /// dollar sign escaped with backslashes, which readline leaves in the
  /// word.
  std::string TypedProgram() const {
    std::string Typed;
    for (char Ch : Tool + "/bin/chksel") {
      if (Ch == ' ' || Ch == '$')
        Typed += '\\';
      Typed += Ch;
    }
    return Typed;
  }

  std::vector<std::string> Sorted(std::vector<std::string> Words) {
    std::sort(Words.begin(), Words.end());
    return Words;
  }

  TempDir Dir;
  std::string Script = BuildPath("completion/chksel");
  std::string Bash;
  std::string Tool;
};

//===----------------------------------------------------------------------===//
// Values, with the program started by its path (the tool folder's manifest)
//===----------------------------------------------------------------------===//

class CompletionValueTest : public CompletionTest,
                            public ::testing::WithParamInterface<Request> {};

TEST_P(CompletionValueTest, Candidates) {
  const Request &R = GetParam();
  const std::string Program = TypedProgram();
  std::vector<std::string> Words = R.Words;
  Words.insert(Words.begin(), Program);
  EXPECT_EQ(Complete(Program + " " + R.Line, Words), Sorted(R.Expected));
}

const Request ValueRequests[] = {
    {"CheckNamesAfterEquals",
     "--check=",
     {"--check", "="},
     {"=MEM-leak", "=MEM-loop", "=STY-brace"}},
    {"CheckNamesByPrefix",
     "--check=MEM-l",
     {"--check", "=", "MEM-l"},
     {"MEM-leak", "MEM-loop"}},
    {"CheckNamesWithoutRegardToCase",
     "--check=mem-lo",
     {"--check", "=", "mem-lo"},
     {"MEM-loop"}},
    {"CheckNamesAfterAComma",
     "--check=MEM-leak,S",
     {"--check", "=", "MEM-leak,S"},
     {"MEM-leak,STY-brace"}},
    {"CheckNamesInTheNextArgument",
     "--check MEM-le",
     {"--check", "MEM-le"},
     {"MEM-leak"}},
    {"CheckNamesAfterHash",
     "--check#STY",
     {"--check#STY"},
     {"--check#STY-brace"}},
    {"HiddenCheckNotOffered", "--check=H", {"--check", "=", "H"}, {}},
    {"Groups",
     "--group=",
     {"--group", "="},
     {"=memory", "=threads", "=layout"}},
    {"Packages", "--package=", {"--package", "="}, {"=core", "=style"}},
    {"DefaultTakesPackages", "--default=s", {"--default", "=", "s"}, {"style"}},
    {"ManifestOnTheCommandLine",
     "--manifest=other.txt --check=",
     {"--manifest", "=", "other.txt", "--check", "="},
     {"=Other-check"}},
    {"ManifestInTheNextArgument",
     "--manifest other.txt --group=",
     {"--manifest", "other.txt", "--group", "="},
     {"=misc"}},
    {"ManifestInTheHomeFolder",
     "--manifest ~/other.txt --package=",
     {"--manifest", "~/other.txt", "--package", "="},
     {"=extra"}},
    {"MissingManifestOffersNothing",
     "--manifest=nope.txt --check=",
     {"--manifest", "=", "nope.txt", "--check", "="},
     {}},
    {"Tags",
     "--diag_suppress=Lc00",
     {"--diag_suppress", "=", "Lc00"},
     {"Lc001", "Lc002"}},
    {"TagsAfterAComma",
     "--diag_error=Lc001,Su00",
     {"--diag_error", "=", "Lc001,Su00"},
     {"Lc001,Su001", "Lc001,Su002", "Lc001,Su006", "Lc001,Su007", "Lc001,Su008",
      "Lc001,Su009"}},
    {"NumberHasNoCandidates", "--error_limit=", {"--error_limit", "="}, {}},
    {"Files",
     "--output=re",
     {"--output", "=", "re"},
     {"readme.txt", "release.xcl"}},
    {"FilesInTheNextArgument",
     "--manifest o",
     {"--manifest", "o"},
     {"other.txt"}},
    {"FileWithABlank",
     "--output=my\\ r",
     {"--output", "=", "my\\ r"},
     {"my rules.xcl"}},
    {"FileWithAColon", "--output=x:", {"--output", "=", "x", ":"}, {":y.txt"}},
    {"CommandFilesAndFolders",
     "-f ",
     {"-f", ""},
     {"my rules.xcl", "release.xcl", "sets"}},
    {"CommandFileAttached", "-fre", {"-fre"}, {"-frelease.xcl"}},
    {"DependencyFlags",
     "--dependencies=",
     {"--dependencies", "="},
     {"=i", "=m", "=n", "=s", "=is", "=ms", "=ns"}},
    {"DependencyFlagsByPrefix",
     "--dependencies=m",
     {"--dependencies", "=", "m"},
     {"m", "ms"}},
    {"DependencyDestination",
     "--dependencies=m ",
     {"--dependencies", "=", "m", ""},
     {"+", "my rules.xcl", "other.txt", "readme.txt", "release.xcl", "sets",
      "x:y.txt"}},
    {"DependencyDestinationWithoutFlags",
     "--dependencies r",
     {"--dependencies", "r"},
     {"readme.txt", "release.xcl"}},
    {"OptionAfterADependencyList",
     "--dependencies=m d.d --al",
     {"--dependencies", "=", "m", "d.d", "--al"},
     {"--all"}},
    {"NoArgumentsBesideOptions", "rel", {"rel"}, {}},
};

INSTANTIATE_TEST_SUITE_P(Values, CompletionValueTest,
                         ::testing::ValuesIn(ValueRequests),
                         [](const auto &Info) { return Info.param.Name; });

//===----------------------------------------------------------------------===//
// Option names
//===----------------------------------------------------------------------===//

/// The option words of the option list --help prints, with "=" after the
/// long names that take a value.
std::vector<std::string> HelpOptionWords() {
  RunResult Help = RunChksel({"--help"});
  std::vector<std::string> Words;
  for (const std::string &Line : SplitLines(Help.Out)) {
    if (Line.empty() || Line[0] != '-')
      continue;
    const std::size_t End = Line.find_first_of(" =");
    std::string Word = Line.substr(0, End);
    const bool TakesValue =
        End != std::string::npos &&
        (Line[End] == '=' || (End + 1 < Line.size() && Line[End + 1] != ' '));
    if (Word.compare(0, 2, "--") == 0 && TakesValue)
      Word += '=';
    Words.push_back(Word);
  }
  return Words;
}

TEST_F(CompletionTest, EveryOptionOfHelp) {
  const std::vector<std::string> Expected = Sorted(HelpOptionWords());
  ASSERT_GE(Expected.size(), 20u);
  EXPECT_EQ(Complete("chksel -", {"chksel", "-"}), Expected);
  EXPECT_EQ(Complete("chksel ", {"chksel", ""}), Expected);
}

TEST_F(CompletionTest, OptionNamesByPrefix) {
  EXPECT_EQ(Complete("chksel --ch", {"chksel", "--ch"}),
            std::vector<std::string>{"--check="});
  EXPECT_EQ(Complete("chksel --diag_", {"chksel", "--diag_"}),
            Sorted({"--diag_error=", "--diag_remark=", "--diag_suppress=",
                    "--diag_warning="}));
  EXPECT_EQ(Complete("chksel --no", {"chksel", "--no"}),
            Sorted({"--no_warnings", "--no_wrap_diagnostics"}));
  EXPECT_EQ(Complete("chksel -f", {"chksel", "-f"}),
            std::vector<std::string>{"-f"});
}

/// A bash whose COMP_WORDBREAKS lacks "=" leaves "--check=MEM" one word;
/// the candidates are then whole words too.
TEST_F(CompletionTest, WordNotCutAtEquals) {
  const std::string Program = TypedProgram();
  EXPECT_EQ(Complete(Program + " --check=MEM-le", {Program, "--check=MEM-le"}),
            std::vector<std::string>{"--check=MEM-leak"});
}

//===----------------------------------------------------------------------===//
// Which manifest a bare program name reads
//===----------------------------------------------------------------------===//

/// Through the launcher the install writes, a bare name reads the manifest
/// installed beside the program the launcher starts.
TEST_F(CompletionTest, BareNameThroughTheLauncher) {
  fs::create_directories(Dir.Path("launchers"));
  RunResult Written = e2e::Run(
      CMakeProgram(), {"-DPROGRAM=" + Tool + "/bin/chksel",
                       "-DLAUNCHER=" + Dir.Path("launchers/chksel"), "-P",
                       SourcePath("packaging/WriteLauncher.cmake")});
  ASSERT_EQ(Written.Status, 0) << Written.Err;
  fs::permissions(Dir.Path("launchers/chksel"), fs::perms::owner_all);
  EXPECT_EQ(Complete("chksel --check=S", {"chksel", "--check", "=", "S"},
                     "work", Dir.Path("launchers") + ":/usr/bin:/bin"),
            std::vector<std::string>{"STY-brace"});
}

/// A program started by a bare name looks for ../config/ruvex/ relative to
/// the current folder, and so does its completion.
TEST_F(CompletionTest, BareNameOfTheProgramReadsRelativeToTheCurrentFolder) {
  fs::create_directories(Dir.Path("work/config/ruvex"));
  fs::create_directories(Dir.Path("work/inner"));
  WriteFile(Dir.Path("work/config/ruvex/ruvex_checks.txt"), OtherManifest);
  EXPECT_EQ(Complete("chksel --check=", {"chksel", "--check", "="},
                     "work/inner", Tool + "/bin:/usr/bin:/bin"),
            std::vector<std::string>{"=Other-check"});
  EXPECT_EQ(Complete("chksel --check=", {"chksel", "--check", "="}, "work",
                     Tool + "/bin:/usr/bin:/bin"),
            std::vector<std::string>{});
}

} // namespace

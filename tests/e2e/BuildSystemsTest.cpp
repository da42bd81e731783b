// End-to-end tests of the build-system recipes in examples/: GNU make, ninja,
// and CMake with the Ninja and the Unix Makefiles generators run the built
// chksel as a build step and read back its dependency list. The first build
// runs chksel, a second does nothing, and touching the manifest or the
// command file runs it again, also when their names hold a blank and a
// dollar sign.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

enum class Driver { Make, Ninja, CMakeNinja, CMakeMakefiles };

struct BuildCase {
  const char *Name;
  Driver With;
  /// Whether the tool folder and the command file have a blank and a dollar
  /// sign in their names.
  bool OddNames;
};

std::ostream &operator<<(std::ostream &Out, const BuildCase &C) {
  return Out << C.Name;
}

/// Text with every character of Special preceded by Escape, and every Escape
/// doubled.
std::string Escaped(const std::string &Text, char Escape,
                    const std::string &Special) {
  std::string Result;
  for (char Ch : Text) {
    if (Ch == Escape || Special.find(Ch) != std::string::npos)
      Result += Escape;
    Result += Ch;
  }
  return Result;
}

/// Text as a value given to make on its command line: a dollar sign is
/// written twice.
std::string MakeValue(const std::string &Text) {
  std::string Result;
  for (char Ch : Text)
    Result += Ch == '$' ? std::string("$$") : std::string(1, Ch);
  return Result;
}

/// The lines "Name = ..." of a ninja file replaced by "Name = Value".
std::string SetNinjaVariable(const std::string &File, const std::string &Name,
                             const std::string &Value) {
  const std::string Start = "\n" + Name + " = ";
  const std::size_t At = File.find(Start);
  if (At == std::string::npos)
    throw std::runtime_error("no variable " + Name + " in build.ninja");
  const std::size_t End = File.find('\n', At + 1);
  return File.substr(0, At) + Start + Value + File.substr(End);
}

/// A project folder with a copy of examples/, a tool folder holding
/// bin/chksel (a link to the built program) and its manifest, and a command
/// file.
class BuildSystemsTest : public ::testing::TestWithParam<BuildCase> {
protected:
  void SetUp() override {
    const BuildCase &C = GetParam();
    Tool = Dir.Path(C.OddNames ? "my tools$" : "tools");
    Project = Dir.Path("project");
    fs::create_directories(Tool + "/bin");
    fs::create_directories(Tool + "/config/ruvex");
    fs::create_directories(Project);
    fs::create_symlink(ChkselPath(), Tool + "/bin/chksel");
    Manifest = Tool + "/config/ruvex/ruvex_checks.txt";
    fs::copy_file(SourcePath("config/ruvex/ruvex_checks.txt"), Manifest);
    for (const char *Name :
         {"Makefile", "build.ninja", "CMakeLists.txt", "release.xcl"})
      fs::copy_file(SourcePath(std::string("examples/") + Name),
                    Project + "/" + Name);
    SelectionName = C.OddNames ? "my sel$.xcl" : "release.xcl";
    Selection = Project + "/" + SelectionName;
    if (C.OddNames)
      fs::copy_file(Project + "/release.xcl", Selection);

    RunOptions Options;
    Options.Cwd = Project;
    RunResult Direct = e2e::Run(Tool + "/bin/chksel",
                                {"-f", SelectionName, "--output=-"}, Options);
    ASSERT_EQ(Direct.Status, 0) << Direct.Err;
    Expected = Direct.Out;
    ASSERT_FALSE(Expected.empty());

    switch (C.With) {
    case Driver::Make:
      ASSERT_FALSE(FindProgram("make").empty()) << "GNU make is needed";
      Output = Project + "/checks.txt";
      break;
    case Driver::Ninja: {
      ASSERT_FALSE(FindProgram("ninja").empty()) << "ninja is needed";
      Output = Project + "/checks.txt";
      std::string File = ReadFile(Project + "/build.ninja");
      File = SetNinjaVariable(File, "chksel",
                              Escaped(Tool + "/bin/chksel", '$', " :"));
      File = SetNinjaVariable(File, "selection",
                              Escaped(SelectionName, '$', " :"));
      WriteFile(Project + "/build.ninja", File);
      break;
    }
    case Driver::CMakeNinja:
    case Driver::CMakeMakefiles: {
      ASSERT_FALSE(
          FindProgram(C.With == Driver::CMakeNinja ? "ninja" : "make").empty());
      Output = Project + "/build/checks.txt";
      RunResult Configured = RunInProject(
          CMakeProgram(),
          {"-S", Project, "-B", Project + "/build", "-G",
           C.With == Driver::CMakeNinja ? "Ninja" : "Unix Makefiles",
           "-DCHKSEL_EXECUTABLE=" + Tool + "/bin/chksel",
           "-DCHKSEL_SELECTION=" + Selection});
      ASSERT_EQ(Configured.Status, 0) << Configured.Out << Configured.Err;
      break;
    }
    }
  }

  /// Runs Program in the project folder, without the settings of a make that
  /// may be running these tests.
  RunResult RunInProject(const std::string &Program,
                         const std::vector<std::string> &Args) {
    RunOptions Options;
    Options.Cwd = Project;
    Options.Env["MAKEFLAGS"] = "";
    Options.Env["MFLAGS"] = "";
    Options.Env["MAKELEVEL"] = "";
    return e2e::Run(Program, Args, Options);
  }

  /// One build with the case's build tool.
  RunResult Build() {
    switch (GetParam().With) {
    case Driver::Make:
      return RunInProject(FindProgram("make"),
                          {"CHKSEL=" + MakeValue(Tool + "/bin/chksel"),
                           "SELECTION=" + MakeValue(SelectionName)});
    case Driver::Ninja:
      return RunInProject(FindProgram("ninja"), {});
    case Driver::CMakeNinja:
    case Driver::CMakeMakefiles:
      return RunInProject(CMakeProgram(), {"--build", Project + "/build"});
    }
    return RunResult();
  }

  /// Builds, and answers whether the build ran chksel: whether it wrote the
  /// output again. The output then holds the selection.
  bool BuildRanChksel() {
    const long long Before = Exists(Output) ? ModifiedNs(Output) : -1;
    RunResult R = Build();
    EXPECT_EQ(R.Status, 0) << R.Out << R.Err;
    EXPECT_TRUE(Exists(Output));
    if (!Exists(Output))
      return false;
    EXPECT_EQ(ReadFile(Output), Expected);
    const bool Ran = ModifiedNs(Output) != Before;
    const Driver D = GetParam().With;
    if (!Ran && (D == Driver::Ninja || D == Driver::CMakeNinja)) {
      EXPECT_NE(R.Out.find("ninja: no work to do."), std::string::npos)
          << R.Out;
    }
    return Ran;
  }

  TempDir Dir;
  std::string Tool;
  std::string Project;
  std::string Manifest;
  std::string SelectionName;
  std::string Selection;
  std::string Output;
  std::string Expected;
};

TEST_P(BuildSystemsTest, RunsChkselWhenAnInputChanges) {
  EXPECT_TRUE(BuildRanChksel()) << "first build";
  EXPECT_FALSE(BuildRanChksel()) << "second build";

  TouchAfter(Manifest, Output);
  EXPECT_TRUE(BuildRanChksel()) << "after touching the manifest";
  EXPECT_FALSE(BuildRanChksel()) << "build after that";

  TouchAfter(Selection, Output);
  EXPECT_TRUE(BuildRanChksel()) << "after touching the command file";
  EXPECT_FALSE(BuildRanChksel()) << "build after that";
}

const BuildCase BuildCases[] = {
    {"GnuMake", Driver::Make, false},
    {"GnuMakeOddNames", Driver::Make, true},
    {"Ninja", Driver::Ninja, false},
    {"NinjaOddNames", Driver::Ninja, true},
    {"CMakeNinja", Driver::CMakeNinja, false},
    {"CMakeNinjaOddNames", Driver::CMakeNinja, true},
    {"CMakeMakefiles", Driver::CMakeMakefiles, false},
    {"CMakeMakefilesOddNames", Driver::CMakeMakefiles, true},
};

INSTANTIATE_TEST_SUITE_P(Examples, BuildSystemsTest,
                         ::testing::ValuesIn(BuildCases),
                         [](const auto &Info) { return Info.param.Name; });

/// A run of chksel that fails leaves behind the output it created; the
/// makefile names .DELETE_ON_ERROR, so make removes it.
class MakeFailureTest : public BuildSystemsTest {};

TEST_P(MakeFailureTest, FailedRunLeavesNoOutput) {
  ASSERT_TRUE(BuildRanChksel());
  WriteFile(Selection, "--manifest=nope.txt --all\n");
  TouchAfter(Selection, Output);
  RunResult R = Build();
  EXPECT_NE(R.Status, 0);
  EXPECT_NE(R.Err.find("Error[Lc002]: could not open file \"nope.txt\"\n"),
            std::string::npos)
      << R.Err;
  EXPECT_NE(R.Err.find("Deleting file 'checks.txt'"), std::string::npos)
      << R.Err;
  EXPECT_FALSE(Exists(Output));
}

const BuildCase MakeCases[] = {{"GnuMake", Driver::Make, false},
                               {"GnuMakeOddNames", Driver::Make, true}};

INSTANTIATE_TEST_SUITE_P(Examples, MakeFailureTest,
                         ::testing::ValuesIn(MakeCases),
                         [](const auto &Info) { return Info.param.Name; });

} // namespace

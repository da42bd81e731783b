// End-to-end tests of the Debian package that `cpack -G DEB` builds (the
// test e2e_package_build runs it first): its name, control fields and
// contents, the program run from the unpacked package, and lintian.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

std::string TrimEnd(std::string Text) {
  while (!Text.empty() && (Text.back() == '\n' || Text.back() == ' '))
    Text.pop_back();
  return Text;
}

class PackageTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_FALSE(FindProgram("dpkg-deb").empty()) << "dpkg-deb is needed";
    RunResult Arch = e2e::Run(FindProgram("dpkg"), {"--print-architecture"});
    ASSERT_EQ(Arch.Status, 0);
    Deb = std::string(CHKSEL_PACKAGE_DIR) + "/chksel_" + CHKSEL_VERSION + "_" +
          TrimEnd(Arch.Out) + ".deb";
    ASSERT_TRUE(Exists(Deb)) << Deb;
  }

  RunResult DpkgDeb(const std::vector<std::string> &Args) {
    std::vector<std::string> All = Args;
    All.push_back(Deb);
    return e2e::Run(FindProgram("dpkg-deb"), All);
  }

  /// The control fields, the first line of each.
  std::map<std::string, std::string> Fields() {
    RunResult R = DpkgDeb({"-f"});
    EXPECT_EQ(R.Status, 0) << R.Err;
    std::map<std::string, std::string> Result;
    for (const std::string &Line : SplitLines(R.Out)) {
      const std::size_t Colon = Line.find(": ");
      if (!Line.empty() && Line[0] != ' ' && Colon != std::string::npos)
        Result[Line.substr(0, Colon)] = Line.substr(Colon + 2);
    }
    return Result;
  }

  /// Unpacks the package into a folder of Dir and answers that folder.
  std::string Unpack() {
    const std::string Root = Dir.Path("root");
    std::vector<std::string> Args = {"-x", Deb, Root};
    RunResult R = e2e::Run(FindProgram("dpkg-deb"), Args);
    EXPECT_EQ(R.Status, 0) << R.Err;
    return Root;
  }

  /// Whether the program in the package asks for a dynamic loader.
  bool IsDynamic(const std::string &Program) {
    RunResult R = e2e::Run(FindProgram("readelf"), {"-l", Program});
    EXPECT_EQ(R.Status, 0) << R.Err;
    return R.Out.find("INTERP") != std::string::npos;
  }

  TempDir Dir;
  std::string Deb;
};

TEST_F(PackageTest, ControlFields) {
  std::map<std::string, std::string> F = Fields();
  EXPECT_EQ(F["Package"], "chksel");
  EXPECT_EQ(F["Version"], CHKSEL_VERSION);
  EXPECT_EQ(F["Section"], "devel");
  EXPECT_EQ(F["Priority"], "optional");
  EXPECT_EQ(F["Maintainer"], CHKSEL_MAINTAINER);
  EXPECT_EQ(F["Description"],
            "select Ruvex static-analysis checks from the checks manifest");
  EXPECT_FALSE(F["Installed-Size"].empty());
}

/// dpkg-shlibdeps works out Depends from the program: the C library for a
/// dynamic program, nothing for a static one.
TEST_F(PackageTest, DependsFollowsTheProgram) {
  std::map<std::string, std::string> F = Fields();
  const std::string Root = Unpack();
  if (IsDynamic(Root + "/opt/ruvex/bin/chksel")) {
    EXPECT_EQ(F["Depends"].rfind("libc6 (>= ", 0), 0u) << F["Depends"];
  } else {
    EXPECT_EQ(F.count("Depends"), 0u) << F["Depends"];
  }
}

TEST_F(PackageTest, Contents) {
  RunResult R = DpkgDeb({"-c"});
  ASSERT_EQ(R.Status, 0) << R.Err;
  std::map<std::string, std::string> Files;
  std::set<std::string> Folders;
  for (const std::string &Line : SplitLines(R.Out)) {
    std::stringstream Words(Line);
    std::string Mode, Owner, Size, Date, Time, Path;
    Words >> Mode >> Owner >> Size >> Date >> Time >> Path;
    EXPECT_EQ(Owner, "root/root") << Line;
    if (Mode[0] == 'd') {
      EXPECT_EQ(Mode, "drwxr-xr-x") << Line;
      Folders.insert(Path);
    } else {
      Files[Path] = Mode;
    }
  }
  const std::map<std::string, std::string> Expected = {
      {"./opt/ruvex/bin/chksel", "-rwxr-xr-x"},
      {"./opt/ruvex/config/ruvex/ruvex_checks.txt", "-rw-r--r--"},
      {"./usr/bin/chksel", "-rwxr-xr-x"},
      {"./usr/share/bash-completion/completions/chksel", "-rw-r--r--"},
      {"./usr/share/doc/chksel/changelog.gz", "-rw-r--r--"},
      {"./usr/share/doc/chksel/copyright", "-rw-r--r--"},
      {"./usr/share/lintian/overrides/chksel", "-rw-r--r--"},
      {"./usr/share/man/man1/chksel.1.gz", "-rw-r--r--"}};
  EXPECT_EQ(Files, Expected);
  for (const auto &File : Files)
    for (fs::path Up = fs::path(File.first).parent_path(); Up != ".";
         Up = Up.parent_path())
      EXPECT_EQ(Folders.count(Up.string() + "/"), 1u) << Up;
}

TEST_F(PackageTest, UnpackedProgramFindsTheBundledManifest) {
  const std::string Root = Unpack();
  RunResult Expected = RunChksel({"--all", "--output=-"});
  ASSERT_EQ(Expected.Status, 0);
  RunOptions Options;
  Options.Cwd = Dir.Root().string();
  RunResult R = e2e::Run(Root + "/opt/ruvex/bin/chksel",
                         {"--all", "--output=-"}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, Expected.Out);
  EXPECT_EQ(ReadFile(Root + "/opt/ruvex/config/ruvex/ruvex_checks.txt"),
            ReadFile(SourcePath("config/ruvex/ruvex_checks.txt")));
}

TEST_F(PackageTest, LauncherStartsTheProgramInOpt) {
  const std::string Root = Unpack();
  EXPECT_EQ(ReadFile(Root + "/usr/bin/chksel"),
            "#!/bin/sh\n"
            "# Starts chksel by its full path, so that it finds the checks "
            "manifest\n"
            "# installed with it.\n"
            "exec '/opt/ruvex/bin/chksel' \"$@\"\n");
}

TEST_F(PackageTest, ManualPageAndCompletionAreTheGeneratedOnes) {
  const std::string Root = Unpack();
  RunResult Man = e2e::Run(FindProgram("gzip"),
                           {"-dc", Root + "/usr/share/man/man1/chksel.1.gz"});
  EXPECT_EQ(Man.Status, 0);
  EXPECT_EQ(Man.Out, ReadFile(BuildPath("man/chksel.1")));
  EXPECT_EQ(ReadFile(Root + "/usr/share/bash-completion/completions/chksel"),
            ReadFile(BuildPath("completion/chksel")));
}

TEST_F(PackageTest, LintianReportsNoError) {
  const std::string Lintian = FindProgram("lintian");
  ASSERT_FALSE(Lintian.empty()) << "lintian is needed";
  RunResult R = e2e::Run(Lintian, {"--info", Deb});
  std::vector<std::string> Errors;
  for (const std::string &Line : SplitLines(R.Out))
    if (Line.rfind("E: ", 0) == 0 || Line.rfind("W: ", 0) == 0)
      Errors.push_back(Line);
  EXPECT_EQ(Errors, std::vector<std::string>()) << R.Out << R.Err;
  EXPECT_EQ(R.Status, 0) << R.Out << R.Err;
}

} // namespace

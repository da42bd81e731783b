// End-to-end tests of `cmake --install`: the layout under the prefix, the
// installed program finding its manifest, and the launcher.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

/// The files under Root, as paths relative to it.
std::set<std::string> FilesUnder(const std::string &Root) {
  std::set<std::string> Files;
  for (const auto &Entry : fs::recursive_directory_iterator(Root))
    if (!Entry.is_directory())
      Files.insert(fs::relative(Entry.path(), Root).string());
  return Files;
}

bool IsExecutable(const std::string &Path) {
  return (fs::status(Path).permissions() & fs::perms::owner_exec) !=
         fs::perms::none;
}

class InstallTest : public ::testing::Test {
protected:
  /// Runs cmake --install on the build tree with Args; Destdir is the
  /// staging folder (empty: none).
  RunResult Install(const std::vector<std::string> &Args,
                    const std::string &Destdir = "") {
    std::vector<std::string> All = {"--install", BuildPath("")};
    All.insert(All.end(), Args.begin(), Args.end());
    RunOptions Options;
    Options.Env["DESTDIR"] = Destdir;
    return e2e::Run(CMakeProgram(), All, Options);
  }

  /// What the built program prints for --all --output=-.
  std::string AllChecks() {
    RunResult R = RunChksel({"--all", "--output=-"});
    EXPECT_EQ(R.Status, 0) << R.Err;
    return R.Out;
  }

  RunResult Shell(const std::string &Command, const std::string &Path) {
    RunOptions Options;
    Options.Cwd = Dir.Path("elsewhere");
    Options.Env["PATH"] = Path + ":/usr/bin:/bin";
    return e2e::Run("/bin/sh", {"-c", Command}, Options);
  }

  void SetUp() override { fs::create_directories(Dir.Path("elsewhere")); }

  /// The folder the launcher goes to under Root for Prefix: a relative
  /// launcher folder is taken under the prefix.
  static std::string LauncherFolder(const std::string &Root,
                                    const std::string &Prefix) {
    const fs::path Folder(CHKSEL_LAUNCHER_DIR);
    return Root + (Folder.is_absolute() ? Folder.string()
                                        : Prefix + "/" + Folder.string());
  }

  TempDir Dir;
};

TEST_F(InstallTest, LayoutUnderThePrefix) {
  const std::string Prefix = "/opt/pre fix$";
  RunResult R = Install({"--prefix", Prefix}, Dir.Path("root"));
  ASSERT_EQ(R.Status, 0) << R.Out << R.Err;
  const std::string Root = Dir.Path("root") + Prefix;
  std::set<std::string> Expected = {
      "bin/chksel", "config/ruvex/ruvex_checks.txt", "share/man/man1/chksel.1",
      "share/bash-completion/completions/chksel"};
  EXPECT_EQ(FilesUnder(Dir.Path("root")), [&] {
    std::set<std::string> UnderRoot;
    for (const std::string &File : Expected)
      UnderRoot.insert(fs::path(Prefix).relative_path().string() + "/" + File);
    if (CHKSEL_INSTALL_LAUNCHER)
      UnderRoot.insert(
          fs::relative(LauncherFolder(Dir.Path("root"), Prefix) + "/chksel",
                       Dir.Path("root"))
              .string());
    return UnderRoot;
  }());
  EXPECT_TRUE(IsExecutable(Root + "/bin/chksel"));
  EXPECT_EQ(ReadFile(Root + "/config/ruvex/ruvex_checks.txt"),
            ReadFile(SourcePath("config/ruvex/ruvex_checks.txt")));
  EXPECT_EQ(ReadFile(Root + "/share/man/man1/chksel.1"),
            ReadFile(BuildPath("man/chksel.1")));
  EXPECT_EQ(ReadFile(Root + "/share/bash-completion/completions/chksel"),
            ReadFile(BuildPath("completion/chksel")));
}

TEST_F(InstallTest, InstalledProgramFindsItsManifestByItsFullPath) {
  const std::string Prefix = Dir.Path("pre fix$");
  RunResult R = Install({"--prefix", Prefix, "--component", "program"});
  ASSERT_EQ(R.Status, 0) << R.Out << R.Err;
  RunOptions Options;
  Options.Cwd = Dir.Path("elsewhere");
  RunResult Run =
      e2e::Run(Prefix + "/bin/chksel", {"--all", "--output=-"}, Options);
  EXPECT_EQ(Run.Status, 0);
  EXPECT_EQ(Run.Err, "");
  EXPECT_EQ(Run.Out, AllChecks());
}

/// Started by a bare name found on PATH, the program looks for its manifest
/// relative to the current folder.
TEST_F(InstallTest, BareNameOnPathLooksInTheCurrentFolder) {
  const std::string Prefix = Dir.Path("prefix");
  ASSERT_EQ(Install({"--prefix", Prefix, "--component", "program"}).Status, 0);
  RunResult Run = Shell("chksel --all --output=-", Prefix + "/bin");
  EXPECT_EQ(Run.Status, 2);
  EXPECT_EQ(Run.Out, "");
  EXPECT_EQ(Run.Err, "Error[Lc002]: could not open file "
                     "\"../config/ruvex/ruvex_checks.txt\"\n");
}

TEST_F(InstallTest, LauncherStartsTheProgramByItsFullPath) {
  const std::string Prefix = Dir.Path("pre fix$");
  ASSERT_EQ(Install({"--prefix", Prefix, "--component", "program"}).Status, 0);
  RunResult R = Install({"--prefix", Prefix, "--component", "launcher"},
                        Dir.Path("root"));
  ASSERT_EQ(R.Status, 0) << R.Out << R.Err;
  const std::string Folder = LauncherFolder(Dir.Path("root"), Prefix);
  const std::string Launcher = Folder + "/chksel";
  EXPECT_EQ(
      FilesUnder(Dir.Path("root")),
      std::set<std::string>{fs::relative(Launcher, Dir.Path("root")).string()});
  EXPECT_EQ(ReadFile(Launcher),
            "#!/bin/sh\n"
            "# Starts chksel by its full path, so that it finds the checks "
            "manifest\n"
            "# installed with it.\n"
            "exec '" +
                Prefix + "/bin/chksel' \"$@\"\n");
  EXPECT_TRUE(IsExecutable(Launcher));

  RunResult Run = Shell("chksel --all --output=-", Folder);
  EXPECT_EQ(Run.Status, 0);
  EXPECT_EQ(Run.Err, "");
  EXPECT_EQ(Run.Out, AllChecks());
}

} // namespace

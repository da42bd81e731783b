// End-to-end tests of dependency lists: what chksel writes for
// --dependencies, and how GNU make reads it.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

class DependenciesTest : public FolderTest {
protected:
  void SetUp() override { Write("m.txt", TwoCheckManifest); }

  RunResult Make(std::vector<std::string> Args) {
    RunOptions Options = Here();
    // Not the settings of a make that may be running these tests.
    Options.Env["MAKEFLAGS"] = "";
    Options.Env["MFLAGS"] = "";
    Options.Env["MAKELEVEL"] = "";
    return e2e::Run(MakeProgram, Args, Options);
  }
  /// Sets the modification time of Name to Seconds from now.
  void SetTime(const std::string &Name, int Seconds) {
    fs::last_write_time(Dir.Path(Name), fs::file_time_type::clock::now() +
                                            std::chrono::seconds(Seconds));
  }

  std::string MakeProgram = FindProgram("make");
};

//===----------------------------------------------------------------------===//
// What the lists hold
//===----------------------------------------------------------------------===//

TEST_F(DependenciesTest, PlainListOfTheCommandFileAndTheManifest) {
  WriteFile(Dir.Path("opts.xcl"), "--manifest=m.txt --all");
  RunResult R = RunHere({"-f", "opts", "--dependencies", "deps.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(Read("deps.txt"), "opts.xcl\nm.txt\n");
  EXPECT_EQ(Read("ruvex_sel_checks.txt"), "Alpha\nBeta\n");
}

TEST_F(DependenciesTest, ManifestListedOnceForSeveralPasses) {
  RunResult R = RunHere({"--manifest=m.txt", "--all", "--check=beta",
                         "--package=Q", "--dependencies=m", "deps.d"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("deps.d"), "ruvex_sel_checks.txt: m.txt\n");
}

TEST_F(DependenciesTest, OneRuleStyle) {
  WriteFile(Dir.Path("a.xcl"), "--manifest=m.txt -f b.xcl");
  WriteFile(Dir.Path("b.xcl"), "--all");
  RunResult R =
      RunHere({"-fa", "--output=sel.txt", "--dependencies=n", "sel.d"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("sel.d"), "sel.txt:  \\\n"
                           "  a.xcl \\\n"
                           "  b.xcl \\\n"
                           "  m.txt\n");
}

TEST_F(DependenciesTest, OneRuleStyleWithNothingRead) {
  RunResult R = RunHere({"--dependencies=n", "sel.d"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(Read("sel.d"), "\n");
}

TEST_F(DependenciesTest, SeveralListsAtOnce) {
  fs::create_directory(Dir.Path("deps"));
  RunResult R = RunHere({"--manifest=m.txt", "--all", "--output=sel.txt",
                         "--dependencies=m", "+", "--dependencies=ns", "deps",
                         "--dependencies", "plain.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("sel.d"), "sel.txt: m.txt\n");
  EXPECT_EQ(Read("deps/sel.d"), "sel.txt:  \\\n  m.txt\n");
  EXPECT_EQ(Read("plain.txt"), "m.txt\n");
  EXPECT_EQ(Names(), (std::set<std::string>{"deps", "m.txt", "plain.txt",
                                            "sel.d", "sel.txt"}));
  EXPECT_EQ(Names("deps"), std::set<std::string>{"sel.d"});
}

TEST_F(DependenciesTest, PlusNamesTheDefaultOutput) {
  RunResult R = RunHere({"--manifest=m.txt", "--all", "--dependencies=m", "+"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(Read("ruvex_sel_checks.d"), "ruvex_sel_checks.txt: m.txt\n");
}

TEST_F(DependenciesTest, StandardOutputIsTheTargetMinus) {
  RunResult R = RunHere({"--manifest=m.txt", "--check=alpha", "--output=-",
                         "--dependencies=m", "deps.d"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "Alpha\n");
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("deps.d"), "-: m.txt\n");
}

TEST_F(DependenciesTest, PlusWithStandardOutputIsAnIllegalPath) {
  RunResult R = RunHere(
      {"--manifest=m.txt", "--all", "--output=-", "--dependencies=m", "+"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Error[Ms006]: illegal path \"+\"\n");
  EXPECT_EQ(Names(), std::set<std::string>{"m.txt"});
}

TEST_F(DependenciesTest, IllegalFlag) {
  RunResult R =
      RunHere({"--manifest=m.txt", "--all", "--dependencies=mq", "deps.d"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Command line error: illegal flag: q\n");
  EXPECT_EQ(Names(), std::set<std::string>{"m.txt"});
}

TEST_F(DependenciesTest, MissingDestination) {
  RunResult R = RunHere({"--manifest=m.txt", "--all", "--dependencies=m"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_NE(R.Err.find("--dependencies"), std::string::npos) << R.Err;
  EXPECT_EQ(Names(), std::set<std::string>{"m.txt"});
}

TEST_F(DependenciesTest, UnopenableListStopsBeforeTheWork) {
  RunResult R =
      RunHere({"--manifest=m.txt", "--all", "--dependencies=m", "no/deps.d"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err,
            "Error[Ms003]: could not open file \"no/deps.d\" for writing\n");
  EXPECT_EQ(Names(), std::set<std::string>{"m.txt"});
}

TEST_F(DependenciesTest, FailedRunKeepsTheOldList) {
  WriteFile(Dir.Path("deps.d"), "sel.txt: old.txt\n");
  RunResult R = RunHere({"--manifest=nope.txt", "--all", "--output=sel.txt",
                         "--dependencies=m", "deps.d"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Lc002]: could not open file \"nope.txt\"\n");
  EXPECT_EQ(Read("deps.d"), "sel.txt: old.txt\n");
  EXPECT_EQ(Names(), (std::set<std::string>{"deps.d", "m.txt", "sel.txt"}));
}

TEST_F(DependenciesTest, HelpAndDumpsWriteNoList) {
  RunResult Help = RunHere({"--help", "--dependencies", "deps.d"});
  EXPECT_EQ(Help.Status, 0);
  RunResult Dump =
      RunHere({"--diagnostics_tables=t.txt", "--dependencies", "deps.d"});
  EXPECT_EQ(Dump.Status, 0);
  EXPECT_EQ(Dump.Err, "");
  EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "t.txt"}));
}

//===----------------------------------------------------------------------===//
// With GNU make
//===----------------------------------------------------------------------===//

/// A Makefile that includes the list sel.d and rebuilds sel.txt with chksel
/// writing the list in the style Flags.
class MakeTest : public DependenciesTest {
protected:
  void Prepare(const std::string &Letters) {
    Flags = Letters;
    ASSERT_FALSE(MakeProgram.empty()) << "GNU make is needed for this test";
    WriteFile(Dir.Path("opts.xcl"), "--manifest=m.txt --all\n");
    WriteFile(Dir.Path("Makefile"),
              "-include sel.d\n"
              "sel.txt: ; " +
                  ChkselPath() + " -f opts --output=sel.txt --dependencies=" +
                  Flags + " sel.d\n");
    RunResult Built = Make({"sel.txt"});
    ASSERT_EQ(Built.Status, 0) << Built.Err;
    ASSERT_EQ(Read("sel.txt"), "Alpha\nBeta\n");
    SetTime("m.txt", -1000);
    SetTime("opts.xcl", -1000);
    SetTime("Makefile", -1000);
    SetTime("sel.d", -800);
    SetTime("sel.txt", -800);
  }
  bool UpToDate() {
    RunResult R = Make({"-q", "sel.txt"});
    EXPECT_TRUE(R.Status == 0 || R.Status == 1) << R.Status << R.Err;
    return R.Status == 0;
  }
  void CheckRebuilds() {
    EXPECT_TRUE(UpToDate());
    RunResult DryRun = Make({"-n", "sel.txt"});
    EXPECT_EQ(DryRun.Out, "make: 'sel.txt' is up to date.\n");

    SetTime("m.txt", -500);
    EXPECT_FALSE(UpToDate());
    DryRun = Make({"-n", "sel.txt"});
    EXPECT_EQ(DryRun.Out, ChkselPath() +
                              " -f opts --output=sel.txt "
                              "--dependencies=" +
                              Flags + " sel.d\n");
    SetTime("m.txt", -1000);
    EXPECT_TRUE(UpToDate());

    SetTime("opts.xcl", -500);
    EXPECT_FALSE(UpToDate());
    RunResult Built = Make({"sel.txt"});
    EXPECT_EQ(Built.Status, 0) << Built.Err;
    EXPECT_TRUE(UpToDate());
  }
  std::string Flags;
};

TEST_F(MakeTest, MultipleRulesStyle) {
  Prepare("m");
  EXPECT_EQ(Read("sel.d"), "sel.txt: opts.xcl\nsel.txt: m.txt\n");
  CheckRebuilds();
}

TEST_F(MakeTest, OneRuleStyle) {
  Prepare("n");
  EXPECT_EQ(Read("sel.d"), "sel.txt:  \\\n  opts.xcl \\\n  m.txt\n");
  CheckRebuilds();
}

/// Names with a blank and a dollar sign reach make intact: the rule prints
/// the prerequisites make saw, and touching a file by its true name makes
/// the target out of date.
class MakeNamesTest : public DependenciesTest {
protected:
  void Check(const std::string &Flags) {
    ASSERT_FALSE(MakeProgram.empty()) << "GNU make is needed for this test";
    WriteFile(Dir.Path("my m$x.txt"), TwoCheckManifest);
    WriteFile(Dir.Path("my opts$.xcl"), "--manifest \"my m$x.txt\" --all\n");
    RunResult R = RunHere({"-f", "my opts$.xcl", "--output=sel.txt",
                           "--dependencies=" + Flags, "sel.d"});
    ASSERT_EQ(R.Status, 0) << R.Err;
    WriteFile(Dir.Path("Makefile"),
              "-include sel.d\n"
              "sel.txt: ; @printf '%s\\n' '$^' > prereqs.txt\n");
    SetTime("my m$x.txt", -1000);
    SetTime("my opts$.xcl", -1000);
    SetTime("Makefile", -1000);
    SetTime("sel.d", -800);
    SetTime("sel.txt", -800);
    EXPECT_EQ(Make({"-q", "sel.txt"}).Status, 0);
    SetTime("my m$x.txt", -500);
    EXPECT_EQ(Make({"-q", "sel.txt"}).Status, 1);
    RunResult Built = Make({"sel.txt"});
    EXPECT_EQ(Built.Status, 0) << Built.Err;
    EXPECT_EQ(Read("prereqs.txt"), "my opts$.xcl my m$x.txt\n");
  }
};

TEST_F(MakeNamesTest, MultipleRulesStyle) {
  Check("m");
  EXPECT_EQ(Read("sel.d"), "sel.txt: my\\ opts$$.xcl\n"
                           "sel.txt: my\\ m$$x.txt\n");
}

TEST_F(MakeNamesTest, OneRuleStyle) {
  Check("n");
  EXPECT_EQ(Read("sel.d"), "sel.txt:  \\\n"
                           "  my\\ opts$$.xcl \\\n"
                           "  my\\ m$$x.txt\n");
}

TEST_F(DependenciesTest, PlainStyleKeepsNamesAsTheyAre) {
  WriteFile(Dir.Path("my m$x.txt"), TwoCheckManifest);
  RunResult R =
      RunHere({"--manifest=my m$x.txt", "--all", "--dependencies", "deps.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(Read("deps.txt"), "my m$x.txt\n");
}

} // namespace

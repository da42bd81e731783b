// End-to-end tests of what chksel does so that no output loses data: links
// written through, one rename per replacement, signals, outputs that are the
// manifest, "-" for standard output, failures of standard output, closed
// standard descriptors and manifests that can be read only once.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

/// A manifest of Records records, about 70 bytes each, all in package P and
/// group G; the all-checks pass writes about 32 bytes per record.
std::string BigManifest(int Records) {
  std::string Text;
  Text.reserve(static_cast<std::size_t>(Records) * 72);
  char Line[80];
  for (int I = 0; I < Records; ++I) {
    std::snprintf(Line, sizeof Line,
                  "checkname=CHECK-%07d-with-a-long-name\npackage=P\ngroup=G\n"
                  "\n",
                  I);
    Text += Line;
  }
  return Text;
}

/// What the all-checks pass writes for BigManifest(Records).
std::string BigSelection(int Records) {
  std::string Text;
  char Line[48];
  for (int I = 0; I < Records; ++I) {
    std::snprintf(Line, sizeof Line, "CHECK-%07d-with-a-long-name\n", I);
    Text += Line;
  }
  return Text;
}

std::string LinkText(const std::string &Path) {
  std::error_code Error;
  fs::path Text = fs::read_symlink(Path, Error);
  return Error ? "<no link>" : Text.string();
}

class SafeOutputTest : public FolderTest {
protected:
  void SetUp() override { Write("m.txt", TwoCheckManifest); }

  /// Runs Script with /bin/sh in the test folder; "$0" is chksel and "$@"
  /// are Args.
  RunResult Shell(const std::string &Script,
                  const std::vector<std::string> &Args,
                  RunOptions Options = RunOptions()) {
    Options.Cwd = Dir.Root().string();
    std::vector<std::string> ShellArgs = {"-c", Script, ChkselPath()};
    ShellArgs.insert(ShellArgs.end(), Args.begin(), Args.end());
    return e2e::Run("/bin/sh", ShellArgs, Options);
  }
  bool HasTempFile(const std::string &Folder) {
    return !TempFilesIn((Dir.Root() / Folder).string()).empty();
  }
};

//===----------------------------------------------------------------------===//
// Symbolic links are written through
//===----------------------------------------------------------------------===//

TEST_F(SafeOutputTest, ListThroughALinkIntoAnotherFolder) {
  fs::create_directory(Dir.Path("real"));
  WriteFile(Dir.Path("real/dep.d"), "old\n");
  fs::create_symlink("real/dep.d", Dir.Path("lnk.d"));
  RunResult R = RunHere({"--manifest=m.txt", "--all", "--output=sel.txt",
                         "--dependencies=m", "lnk.d"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(LinkText(Dir.Path("lnk.d")), "real/dep.d");
  EXPECT_EQ(Read("real/dep.d"), "sel.txt: m.txt\n");
  EXPECT_EQ(Names(),
            (std::set<std::string>{"lnk.d", "m.txt", "real", "sel.txt"}));
  EXPECT_EQ(Names("real"), std::set<std::string>{"dep.d"});
}

TEST_F(SafeOutputTest, TablesThroughADanglingLink) {
  fs::create_directory(Dir.Path("out"));
  fs::create_symlink("out/tables.txt", Dir.Path("t.txt"));
  RunResult R = RunHere({"--diagnostics_tables=t.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(LinkText(Dir.Path("t.txt")), "out/tables.txt");
  EXPECT_EQ(Read("out/tables.txt"), DumpedTables());
  EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "out", "t.txt"}));
  EXPECT_EQ(Names("out"), std::set<std::string>{"tables.txt"});
}

TEST_F(SafeOutputTest, LinkToStandardOutput) {
  // What /dev/stdout is: a link to /proc/self/fd/1. Standard output in a
  // file gets the list by a rename onto that file, a pipe gets it written
  // in place; the link stays in both.
  fs::create_symlink("/proc/self/fd/1", Dir.Path("so"));
  for (const char *Script : {"exec \"$0\" \"$@\"", "\"$0\" \"$@\" | cat"}) {
    RunResult R = Shell(Script, {"--manifest=m.txt", "--all",
                                 "--output=sel.txt", "--dependencies=m", "so"});
    EXPECT_EQ(R.Status, 0) << Script;
    EXPECT_EQ(R.Err, "");
    EXPECT_EQ(R.Out, "sel.txt: m.txt\n");
    EXPECT_EQ(LinkText(Dir.Path("so")), "/proc/self/fd/1");
    EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "sel.txt", "so"}));
  }
}

//===----------------------------------------------------------------------===//
// One rename replaces the old list
//===----------------------------------------------------------------------===//

TEST_F(SafeOutputTest, SixConcurrentRunsWriteOneCompleteList) {
  WriteFile(Dir.Path("deps.d"), "old\n");
  // Watches the list while the runs replace it: it must never be missing.
  std::atomic<bool> Done{false};
  std::atomic<long> Missing{0};
  std::atomic<long> Looks{0};
  const std::string List = Dir.Path("deps.d");
  std::thread Watcher([&] {
    while (!Done) {
      struct stat Info;
      if (::lstat(List.c_str(), &Info) != 0)
        ++Missing;
      ++Looks;
    }
  });
  std::vector<Process> Runs;
  std::set<std::string> Expected;
  for (int I = 0; I < 6; ++I) {
    const std::string Output = "sel" + std::to_string(I) + ".txt";
    Expected.insert(Output + ": m.txt\n");
    Runs.push_back(Start(ChkselPath(),
                         {"--manifest=m.txt", "--all", "--output=" + Output,
                          "--dependencies=m", "deps.d"},
                         Here()));
  }
  for (Process &Run : Runs) {
    RunResult R = Run.Wait(60);
    EXPECT_EQ(R.Status, 0);
    EXPECT_EQ(R.Err, "");
  }
  Done = true;
  Watcher.join();
  EXPECT_EQ(Missing, 0) << "of " << Looks << " looks";
  EXPECT_EQ(Expected.count(Read("deps.d")), 1u) << Read("deps.d");
  EXPECT_EQ(Names(), (std::set<std::string>{"deps.d", "m.txt", "sel0.txt",
                                            "sel1.txt", "sel2.txt", "sel3.txt",
                                            "sel4.txt", "sel5.txt"}));
}

//===----------------------------------------------------------------------===//
// Signals and the file-size limit
//===----------------------------------------------------------------------===//

/// A run writing its selection into the FIFO out.fifo, whose reader (the
/// test) does not read: once the pipe is full the run is blocked in a write,
/// with its dependency list deps/sel.d open as a temporary file.
class BlockedRunTest : public SafeOutputTest {
protected:
  void SetUp() override {
    SafeOutputTest::SetUp();
    WriteFile(Dir.Path("big.txt"), BigManifest(Records));
    fs::create_directory(Dir.Path("deps"));
    ASSERT_EQ(::mkfifo(Dir.Path("out.fifo").c_str(), 0600), 0);
    // Opened first, without waiting for a writer, so that the run's open
    // succeeds and its writes fill the pipe.
    Reader = ::open(Dir.Path("out.fifo").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(Reader, 0);
  }
  void TearDown() override {
    if (Reader >= 0)
      ::close(Reader);
  }

  static std::vector<std::string> Args() {
    return {"--manifest=big.txt", "--all", "--output=out.fifo",
            "--dependencies=m", "deps/sel.d"};
  }
  /// Waits until Run is blocked with the temporary list in place.
  bool Blocked(const Process &Run) {
    return WaitFor([&] { return HasTempFile("deps") && Run.State() == 'S'; });
  }
  /// Reads out.fifo to its end.
  std::string Drain() {
    int Flags = ::fcntl(Reader, F_GETFL);
    ::fcntl(Reader, F_SETFL, Flags & ~O_NONBLOCK);
    std::string Text;
    char Block[65536];
    for (;;) {
      ssize_t Got = ::read(Reader, Block, sizeof Block);
      if (Got < 0 && errno == EINTR)
        continue;
      if (Got <= 0)
        break;
      Text.append(Block, static_cast<std::size_t>(Got));
    }
    return Text;
  }

  static constexpr int Records = 20000;
  int Reader = -1;
};

TEST_F(BlockedRunTest, TerminatingSignalsLeaveNoTemporaryFile) {
  for (int Number : {SIGTERM, SIGINT, SIGHUP}) {
    Process Run = Start(ChkselPath(), Args(), Here());
    ASSERT_TRUE(Blocked(Run)) << "signal " << Number;
    Run.Signal(Number);
    RunResult R = Run.Wait(30);
    EXPECT_FALSE(Run.TimedOut());
    // Ended by the signal itself, which a shell shows as 128 + its number.
    EXPECT_EQ(R.Signal, Number);
    EXPECT_EQ(R.Status, 128 + Number);
    EXPECT_EQ(R.Err, "");
    EXPECT_TRUE(Names("deps").empty()) << "signal " << Number;
    EXPECT_EQ(Names(),
              (std::set<std::string>{"big.txt", "deps", "m.txt", "out.fifo"}));
    // What the run wrote before it ended; the next run starts afresh.
    Drain();
    ::close(Reader);
    Reader = ::open(Dir.Path("out.fifo").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(Reader, 0);
  }
}

TEST_F(BlockedRunTest, TerminatedRunKeepsTheOldList) {
  WriteFile(Dir.Path("deps/sel.d"), "old\n");
  Process Run = Start(ChkselPath(), Args(), Here());
  ASSERT_TRUE(Blocked(Run));
  Run.Signal(SIGTERM);
  RunResult R = Run.Wait(30);
  EXPECT_EQ(R.Signal, SIGTERM);
  EXPECT_EQ(Names("deps"), std::set<std::string>{"sel.d"});
  EXPECT_EQ(Read("deps/sel.d"), "old\n");
}

TEST_F(BlockedRunTest, IgnoredHangupLetsTheRunFinish) {
  // As under nohup: an ignored SIGHUP stays ignored.
  std::vector<std::string> ShellArgs = {"-c", "trap '' HUP; exec \"$0\" \"$@\"",
                                        ChkselPath()};
  for (const std::string &Arg : Args())
    ShellArgs.push_back(Arg);
  Process Run = Start("/bin/sh", ShellArgs, Here());
  ASSERT_TRUE(Blocked(Run));
  Run.Signal(SIGHUP);
  const std::string Selection = Drain();
  RunResult R = Run.Wait(60);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Selection, BigSelection(Records));
  EXPECT_EQ(Read("deps/sel.d"), "out.fifo: big.txt\n");
  EXPECT_EQ(Names("deps"), std::set<std::string>{"sel.d"});
}

/// Runs "$0" "$@" with a file-size limit of 0 and SIGXFSZ at its default
/// action. Its standard output and error reach the test through a pipe,
/// which the limit does not bind; its exit status is written to status.txt.
const char NoFileGrowth[] =
    "{ (ulimit -f 0; exec \"$0\" \"$@\"); echo $? > status.txt; } 2>&1 | cat";

TEST_F(SafeOutputTest, FileSizeLimitFailsTheTablesAndKeepsTheOldOnes) {
  WriteFile(Dir.Path("t.txt"), "old\n");
  RunResult R = Shell(NoFileGrowth, {"--diagnostics_tables=t.txt"});
  EXPECT_EQ(Read("status.txt"), "2\n");
  EXPECT_EQ(R.Out, "Error[Ms005]: problem closing file \"t.txt\"\n");
  EXPECT_EQ(Read("t.txt"), "old\n");
  EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "status.txt", "t.txt"}));
}

TEST_F(SafeOutputTest, FileSizeLimitFailsTheSelectionAndKeepsTheOldList) {
  WriteFile(Dir.Path("deps.d"), "old\n");
  RunResult R =
      Shell(NoFileGrowth, {"--manifest=m.txt", "--all", "--output=sel.txt",
                           "--dependencies=m", "deps.d"});
  EXPECT_EQ(Read("status.txt"), "2\n");
  EXPECT_EQ(R.Out, "Error[Ms004]: problem writing to file \"sel.txt\"\n");
  EXPECT_EQ(Read("deps.d"), "old\n");
  EXPECT_EQ(Read("sel.txt"), "");
  EXPECT_EQ(Names(), (std::set<std::string>{"deps.d", "m.txt", "sel.txt",
                                            "status.txt"}));
}

//===----------------------------------------------------------------------===//
// The manifest is never written over
//===----------------------------------------------------------------------===//

class SameFileTest : public SafeOutputTest {
protected:
  void SetUp() override {
    SafeOutputTest::SetUp();
    fs::create_directory(Dir.Path("sub"));
    fs::create_hard_link(Dir.Path("m.txt"), Dir.Path("hard.txt"));
    fs::create_symlink("m.txt", Dir.Path("soft.txt"));
  }
  void ExpectUntouched() {
    EXPECT_EQ(Read("m.txt"), TwoCheckManifest);
    EXPECT_EQ(Names(),
              (std::set<std::string>{"hard.txt", "m.txt", "soft.txt", "sub"}));
    EXPECT_TRUE(Names("sub").empty());
  }
};

TEST_F(SameFileTest, OutputThatIsTheManifestIsRefused) {
  for (const char *Output :
       {"m.txt", "./m.txt", "sub/../m.txt", "hard.txt", "soft.txt"}) {
    RunResult R = RunHere({"--manifest=m.txt", "--all", "--check=beta",
                           std::string("--output=") + Output});
    EXPECT_EQ(R.Status, 2) << Output;
    EXPECT_EQ(R.Out, "");
    EXPECT_EQ(R.Err,
              std::string("Error[Ms006]: illegal path \"") + Output + "\"\n");
    ExpectUntouched();
  }
}

TEST_F(SameFileTest, OutputOnTheManifestOpensNoList) {
  // A list in a missing folder would be Ms003; a FIFO nobody reads would
  // block the open. Neither is reached.
  ASSERT_EQ(::mkfifo(Dir.Path("sub/list.fifo").c_str(), 0600), 0);
  for (const char *List : {"nowhere/sel.d", "sub/list.fifo"}) {
    Process Run = Start(ChkselPath(),
                        {"--manifest=m.txt", "--all", "--output=soft.txt",
                         "--dependencies=m", List},
                        Here());
    RunResult R = Run.Wait(30);
    EXPECT_FALSE(Run.TimedOut()) << List;
    EXPECT_EQ(R.Status, 2) << List;
    EXPECT_EQ(R.Out, "");
    EXPECT_EQ(R.Err, "Error[Ms006]: illegal path \"soft.txt\"\n");
    EXPECT_EQ(Read("m.txt"), TwoCheckManifest);
    EXPECT_EQ(Names(),
              (std::set<std::string>{"hard.txt", "m.txt", "soft.txt", "sub"}));
    EXPECT_EQ(Names("sub"), std::set<std::string>{"list.fifo"});
  }
}

TEST_F(SameFileTest, ManifestSpeltAnotherWay) {
  RunResult R =
      RunHere({"--manifest=./sub/../soft.txt", "--all", "--output=hard.txt"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Ms006]: illegal path \"hard.txt\"\n");
  ExpectUntouched();
}

TEST_F(SameFileTest, StandardOutputAppendedToTheManifestIsRefused) {
  RunResult R = Shell("exec \"$0\" \"$@\" >> m.txt",
                      {"--manifest=m.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Ms006]: illegal path \"-\"\n");
  ExpectUntouched();
}

TEST_F(SameFileTest, ListOnTheManifestOrTheOutputIsRefused) {
  fs::create_directory(Dir.Path("lists"));
  WriteFile(Dir.Path("lists/sel.d"), TwoCheckManifest);
  WriteFile(Dir.Path("sel.txt"), "old\n");
  struct Case {
    std::vector<std::string> Args;
    std::string Refused;
  };
  const Case Cases[] = {
      {{"--manifest=m.txt", "--output=sel.txt", "--dependencies=m", "m.txt"},
       "m.txt"},
      {{"--manifest=m.txt", "--output=sel.txt", "--dependencies", "soft.txt"},
       "soft.txt"},
      {{"--manifest=m.txt", "--output=sel.txt", "--dependencies=n",
        "./sel.txt"},
       "./sel.txt"},
      // "+" and a folder name the list after the output.
      {{"--manifest=m.txt", "--output=new.d", "--dependencies=m", "+"},
       "new.d"},
      {{"--manifest=lists/sel.d", "--output=sel.txt", "--dependencies=m",
        "lists"},
       "lists/sel.d"},
  };
  for (const Case &C : Cases) {
    std::vector<std::string> Args = C.Args;
    Args.push_back("--all");
    RunResult R = RunHere(Args);
    EXPECT_EQ(R.Status, 2) << C.Refused;
    EXPECT_EQ(R.Out, "");
    EXPECT_EQ(R.Err, "Error[Ms006]: illegal path \"" + C.Refused + "\"\n");
    EXPECT_EQ(Read("m.txt"), TwoCheckManifest);
    EXPECT_EQ(Read("lists/sel.d"), TwoCheckManifest);
    EXPECT_EQ(Read("sel.txt"), "old\n");
    EXPECT_EQ(Names(), (std::set<std::string>{"hard.txt", "lists", "m.txt",
                                              "sel.txt", "soft.txt", "sub"}));
    EXPECT_EQ(Names("lists"), std::set<std::string>{"sel.d"});
  }
}

TEST_F(SafeOutputTest, DevicesAreNotRefused) {
  RunResult R =
      RunHere({"--manifest=/dev/null", "--all", "--output=/dev/null"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
}

//===----------------------------------------------------------------------===//
// "-" is standard output
//===----------------------------------------------------------------------===//

TEST_F(SafeOutputTest, TablesOnStandardOutput) {
  RunResult R = RunHere({"--diagnostics_tables=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, DumpedTables());
  EXPECT_EQ(Names(), std::set<std::string>{"m.txt"});
}

TEST_F(SafeOutputTest, ListOnStandardOutput) {
  RunResult R = RunHere({"--manifest=m.txt", "--check=alpha",
                         "--output=sel.txt", "--dependencies=m", "-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "sel.txt: m.txt\n");
  EXPECT_EQ(Read("sel.txt"), "Alpha\n");
  EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "sel.txt"}));
}

TEST_F(SafeOutputTest, SelectionThenListOnStandardOutput) {
  // The command file is listed before the selection runs; the list still
  // comes after it.
  WriteFile(Dir.Path("opts.xcl"), "--manifest=m.txt");
  RunResult R = RunHere({"-f", "opts", "--all", "--check=beta", "--output=-",
                         "--dependencies=m", "-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Alpha\nBeta\nBeta\n-: opts.xcl\n-: m.txt\n");
  EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "opts.xcl"}));
}

//===----------------------------------------------------------------------===//
// Failures of standard output
//===----------------------------------------------------------------------===//

TEST_F(SafeOutputTest, StandardOutputOnAFullDevice) {
  struct stat Info;
  if (::stat("/dev/full", &Info) != 0 || !S_ISCHR(Info.st_mode))
    GTEST_SKIP() << "no /dev/full";
  const std::vector<std::vector<std::string>> Cases = {
      {"--help"},
      {"--manifest=m.txt", "--all", "--output=-"},
      {"--diagnostics_tables=-"},
      {"--manifest=m.txt", "--all", "--output=sel.txt", "--dependencies=m",
       "-"},
  };
  for (const auto &Args : Cases) {
    RunResult R = Shell("exec \"$0\" \"$@\" > /dev/full", Args);
    EXPECT_EQ(R.Status, 2) << Args[0];
    EXPECT_EQ(R.Err, "Error[Ms004]: problem writing to file \"-\"\n");
  }
  EXPECT_EQ(Read("sel.txt"), "Alpha\nBeta\n");
}

class LongSelectionTest : public SafeOutputTest {
protected:
  void SetUp() override {
    SafeOutputTest::SetUp();
    WriteFile(Dir.Path("big.txt"), BigManifest(Records));
  }
  /// About 6.4 MB of selection.
  static constexpr int Records = 200000;
};

TEST_F(LongSelectionTest, ClosedPipeWithSigpipeIgnoredIsAWriteFailure) {
  RunResult R = Shell("trap '' PIPE; "
                      "{ \"$0\" \"$@\"; echo $? > status.txt; } | head -c 100 "
                      "> /dev/null",
                      {"--manifest=big.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "Error[Ms004]: problem writing to file \"-\"\n");
  EXPECT_EQ(Read("status.txt"), "2\n");
}

TEST_F(LongSelectionTest, ClosedPipeEndsTheRunThroughSigpipe) {
  RunResult R = Shell("{ \"$0\" \"$@\"; echo $? > status.txt; } | head -c 100 "
                      "> /dev/null",
                      {"--manifest=big.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("status.txt"), std::to_string(128 + SIGPIPE) + "\n");
}

TEST_F(LongSelectionTest, SmallFileSystemFillsUpPartway) {
  // A file system of 1 MB for standard output: mounting one needs root.
  if (::geteuid() != 0)
    GTEST_SKIP() << "mounting a 1 MB tmpfs needs root";
  fs::create_directory(Dir.Path("small"));
  if (::mount("tmpfs", Dir.Path("small").c_str(), "tmpfs", 0, "size=1m") != 0)
    GTEST_SKIP() << "cannot mount a tmpfs: " << std::strerror(errno);
  struct Unmount {
    std::string Path;
    ~Unmount() { ::umount2(Path.c_str(), MNT_DETACH); }
  } Mounted{Dir.Path("small")};
  RunResult R = Shell("exec \"$0\" \"$@\" > small/s.txt",
                      {"--manifest=big.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "Error[Ms004]: problem writing to file \"-\"\n");
  const std::string Written = Read("small/s.txt");
  const std::string Full = BigSelection(Records);
  EXPECT_LT(Written.size(), Full.size());
  EXPECT_EQ(Full.compare(0, Written.size(), Written), 0);
}

//===----------------------------------------------------------------------===//
// Closed standard descriptors
//===----------------------------------------------------------------------===//

TEST_F(SafeOutputTest, DiagnosticsNeverGoIntoTheOutputFile) {
  RunOptions Options = Here();
  Options.Closed = {2};
  RunResult R = RunChksel(
      {"--manifest=nope.txt", "--check=alpha", "--output=sel.txt"}, Options);
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("sel.txt"), "");
}

TEST_F(SafeOutputTest, OutputFileHoldsOnlyCheckNames) {
  RunOptions Options = Here();
  Options.Closed = {0, 1, 2};
  RunResult R = RunChksel({"--manifest=m.txt", "--all", "--check=beta",
                           "--output=sel.txt", "--dependencies=m", "-"},
                          Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(Read("sel.txt"), "Alpha\nBeta\nBeta\n");
  EXPECT_EQ(Names(), (std::set<std::string>{"m.txt", "sel.txt"}));
}

//===----------------------------------------------------------------------===//
// Manifests that can be read only once
//===----------------------------------------------------------------------===//

TEST_F(SafeOutputTest, FifoManifestIsReadByEveryPass) {
  const std::vector<std::string> Passes = {"--all", "--check=beta",
                                           "--package=p", "--output=-"};
  std::vector<std::string> FromFile = {"--manifest=m.txt"};
  FromFile.insert(FromFile.end(), Passes.begin(), Passes.end());
  RunResult Regular = RunHere(FromFile);
  ASSERT_EQ(Regular.Out, "Alpha\nBeta\nBeta\nAlpha\n");

  ASSERT_EQ(::mkfifo(Dir.Path("man.fifo").c_str(), 0600), 0);
  Process Writer = Start("/bin/sh", {"-c", "cat m.txt > man.fifo"}, Here());
  std::vector<std::string> FromFifo = {"--manifest=man.fifo"};
  FromFifo.insert(FromFifo.end(), Passes.begin(), Passes.end());
  Process Run = Start(ChkselPath(), FromFifo, Here());
  RunResult R = Run.Wait(30);
  EXPECT_FALSE(Run.TimedOut());
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, Regular.Out);
  EXPECT_EQ(Writer.Wait(30).Status, 0);
}

TEST_F(SafeOutputTest, PipedStandardInputIsReadByEveryPass) {
  RunResult R =
      Shell("cat m.txt | \"$0\" \"$@\"",
            {"--manifest=/dev/stdin", "--all", "--check=beta", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Alpha\nBeta\nBeta\n");
}

TEST_F(SafeOutputTest, LongPipedManifestGivesTheRegularFileResult) {
  WriteFile(Dir.Path("big.txt"), BigManifest(50000));
  const std::string Named = "CHECK-0000007-with-a-long-name";
  const std::vector<std::string> Passes = {"--all", "--check=" + Named,
                                           "--group=g", "--output=-"};
  std::vector<std::string> FromFile = {"--manifest=big.txt"};
  FromFile.insert(FromFile.end(), Passes.begin(), Passes.end());
  RunResult Regular = RunHere(FromFile);
  ASSERT_EQ(Regular.Status, 0);
  ASSERT_EQ(Regular.Out,
            BigSelection(50000) + Named + "\n" + BigSelection(50000));

  std::vector<std::string> FromPipe = {"--manifest=/dev/stdin"};
  FromPipe.insert(FromPipe.end(), Passes.begin(), Passes.end());
  RunResult R = Shell("cat big.txt | \"$0\" \"$@\"", FromPipe);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_TRUE(R.Out == Regular.Out) << "outputs differ";
}

} // namespace

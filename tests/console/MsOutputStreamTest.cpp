// Tests of output files: temporary names, the Temp, Volatile and Console
// kinds, their failures and what they leave behind.
#include "console/MsOutputStream.h"

#include "console/MsConsoleConcrete.h"
#include "console/MsMessages.h"
#include "console/MsTempFileRegistry.h"
#include "tests/support/GeFakeDisk.h"
#include "tests/support/MsConsoleTestSupport.h"
#include "tests/support/OutputCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace mstest;

namespace {

using Kind = MsOutputStream::Kind;
using Mode = MsOutputStream::Mode;

/// A started console writing to string streams, with a recording handler.
struct Fixture {
  Fixture() : Console(Err, Out) {
    Console.AddHandler(Seen);
    Console.Start();
  }
  /// The paths of the "output file written" messages.
  std::vector<std::string> Written() const {
    std::vector<std::string> Paths;
    for (const auto &M : Seen.Messages)
      if (M.Kind == MsMessage::KindOutputFile)
        Paths.push_back(M.Text);
    return Paths;
  }
  std::ostringstream Err, Out;
  MsConsoleConcrete Console;
  RecordingHandler Seen;
};

std::string Expected(const char *Tag, const char *Text,
                     const std::string &Path) {
  return std::string("Error[") + Tag + "]: " + Text + " \"" + Path + "\"" +
         (std::string(Tag) == "Ms003" ? " for writing" : "") + "\n";
}

/// The first Count temporary names that a generator seeded with Seed draws.
std::vector<std::string> NamesOfSeed(std::uint32_t Seed, int Count) {
  static const char Chars[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  std::mt19937 Engine(Seed);
  std::vector<std::string> Names;
  for (int N = 0; N < Count; ++N) {
    std::string Name;
    for (int I = 0; I < 8; ++I)
      Name += Chars[Engine() % 62];
    Names.push_back(Name + ".tmp");
  }
  return Names;
}

//===----------------------------------------------------------------------===//
// Temporary names
//===----------------------------------------------------------------------===//

TEST(MsOutputStreamNameTest, EightCharactersOfTheSeededGenerator) {
  ScratchDir Dir;
  MsOutputStream::SeedGenerator(12345);
  std::vector<std::string> Names = NamesOfSeed(12345, 2);
  EXPECT_EQ(MsOutputStream::TempFilePath(Dir.Root()), Dir.Path(Names[0]));
  EXPECT_EQ(MsOutputStream::TempFilePath(Dir.Root()), Dir.Path(Names[1]));
}

TEST(MsOutputStreamNameTest, GoldenNamesOfSeedOne) {
  // MT19937 seeded with 1 starts 1791095845, ...; each output modulo 62
  // picks one character.
  MsOutputStream::SeedGenerator(1);
  EXPECT_EQ(MsOutputStream::TempFilePath(""), "pZIOlNVD.tmp");
  EXPECT_EQ(MsOutputStream::TempFilePath("some/folder"),
            "some/folder/r4CxqFRi.tmp");
}

TEST(MsOutputStreamNameTest, AnExistingNameIsDrawnAgain) {
  ScratchDir Dir;
  std::vector<std::string> Names = NamesOfSeed(77, 3);
  Spit(Dir.Path(Names[0]), "taken");
  Spit(Dir.Path(Names[1]), "taken too");
  MsOutputStream::SeedGenerator(77);
  EXPECT_EQ(MsOutputStream::TempFilePath(Dir.Root()), Dir.Path(Names[2]));
}

TEST(MsOutputStreamNameTest, UnseededNamesHaveTheShape) {
  ScratchDir Dir;
  for (int I = 0; I < 20; ++I) {
    std::string Path = MsOutputStream::TempFilePath(Dir.Root());
    EXPECT_EQ(Path.substr(0, Dir.Root().size() + 1), Dir.Root() + "/");
    EXPECT_TRUE(IsTempName(Path.substr(Dir.Root().size() + 1))) << Path;
  }
}

//===----------------------------------------------------------------------===//
// Temp files
//===----------------------------------------------------------------------===//

TEST(MsOutputStreamTempTest, WritesThroughATemporaryFileInTheTargetFolder) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("out.txt");
  MsOutputStream::SeedGenerator(4242);
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target);
  ASSERT_TRUE(File);
  EXPECT_EQ(File->Path(), Target);
  // Open: only the temporary file exists, with the name the generator drew.
  EXPECT_EQ(NamesIn(Dir.Root()),
            std::set<std::string>{NamesOfSeed(4242, 1)[0]});
  File->Stream() << "line one\nline two\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(Slurp(Target), "line one\nline two\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
  EXPECT_EQ(F.Written(), std::vector<std::string>{Target});
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Console.ErrorCount(), 0u);
}

TEST(MsOutputStreamTempTest, ReplacesAnExistingTarget) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("out.txt");
  Spit(Target, "old contents\n");
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target, Mode::Binary);
  ASSERT_TRUE(File);
  File->Stream() << "new\r\n";
  File->Stream().flush();
  EXPECT_EQ(Slurp(Target), "old contents\n");
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(Slurp(Target), "new\r\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
}

TEST(MsOutputStreamTempTest, TargetInTheCurrentFolder) {
  ScratchDir Dir;
  Fixture F;
  std::filesystem::path Previous = std::filesystem::current_path();
  std::filesystem::current_path(Dir.Root());
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, "here.txt");
  ASSERT_TRUE(File);
  EXPECT_EQ(TempFilesIn(Dir.Root()).size(), 1u);
  File->Stream() << "x";
  EXPECT_TRUE(File->Close());
  std::filesystem::current_path(Previous);
  EXPECT_EQ(Slurp(Dir.Path("here.txt")), "x");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"here.txt"});
}

TEST(MsOutputStreamTempTest, FailedStreamGivesMs004AndKeepsTheOldTarget) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("out.txt");
  Spit(Target, "old\n");
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target);
  ASSERT_TRUE(File);
  File->Stream() << "partial";
  File->Stream().setstate(std::ios_base::badbit);
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected("Ms004", "problem writing to file", Target));
  ASSERT_EQ(F.Console.Messages().size(), 1u);
  EXPECT_EQ(F.Console.Messages()[0].Lvl, MsConsole::ErrorFixed);
  EXPECT_EQ(F.Console.ErrorCount(), 1u);
  EXPECT_EQ(Slurp(Target), "old\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
  EXPECT_TRUE(F.Written().empty());
}

/// An in-memory disk with the folder "d" holding "out.txt", and a started
/// console.
struct DiskFixture : Fixture {
  DiskFixture() {
    Disk.AddFolder("d");
    Disk.AddFile(Target, "old\n");
  }
  /// The names on the disk besides the folder.
  std::vector<std::string> Files() const {
    std::vector<std::string> Names = Disk.Names();
    Names.erase(std::find(Names.begin(), Names.end(), "d"));
    return Names;
  }
  std::unique_ptr<MsOutputStream::OutFile> Open(Kind K) {
    return MsOutputStream::Open(Console, Disk, K, Target);
  }
  const std::string Target = "d/out.txt";
  GeFakeDisk Disk;
};

/// How the disk fails a file: the failure planned, what is written, the
/// report expected, and what the target holds afterwards (absent: "-").
struct DiskFailureCase {
  const char *Name;
  Kind K;
  void (*Plan)(GeFakeDisk &Disk);
  std::size_t Size;
  const char *Tag;
  const char *Text;
  const char *TargetAfter;
};

const DiskFailureCase DiskFailureCases[] = {
    {"temp write midway", Kind::Temp,
     [](GeFakeDisk &D) { D.FailWrite(1, ENOSPC); }, 100000, "Ms004",
     "problem writing to file", "old\n"},
    {"temp flush", Kind::Temp, [](GeFakeDisk &D) { D.FailWrite(1, ENOSPC); },
     100, "Ms005", "problem closing file", "old\n"},
    {"temp close", Kind::Temp, [](GeFakeDisk &D) { D.FailClose(EIO); }, 100,
     "Ms005", "problem closing file", "old\n"},
    {"temp rename", Kind::Temp, [](GeFakeDisk &D) { D.FailRename(EXDEV); },
     100, "Ms005", "problem closing file", "old\n"},
    {"volatile write midway", Kind::Volatile,
     [](GeFakeDisk &D) { D.FailWrite(2, EFBIG); }, 100000, "Ms004",
     "problem writing to file", "-"},
    {"volatile flush", Kind::Volatile,
     [](GeFakeDisk &D) { D.FailWrite(1, ENOSPC); }, 100, "Ms005",
     "problem closing file", "-"},
    {"volatile close", Kind::Volatile, [](GeFakeDisk &D) { D.FailClose(EIO); },
     100, "Ms005", "problem closing file", "-"},
};

TEST(MsOutputStreamDiskFailureTest, EachFailureIsReportedAndLeavesNoHalfFile) {
  for (const DiskFailureCase &C : DiskFailureCases) {
    SCOPED_TRACE(C.Name);
    DiskFixture F;
    auto File = F.Open(C.K);
    ASSERT_TRUE(File);
    C.Plan(F.Disk);
    File->Stream() << std::string(C.Size, 'x');
    EXPECT_FALSE(File->Close());
    EXPECT_EQ(F.Err.str(), Expected(C.Tag, C.Text, F.Target));
    EXPECT_EQ(F.Console.ErrorCount(), 1u);
    EXPECT_TRUE(F.Written().empty());
    EXPECT_EQ(F.Disk.OpenHandles(), 0u);
    if (std::string(C.TargetAfter) == "-") {
      EXPECT_TRUE(F.Files().empty());
    } else {
      EXPECT_EQ(F.Files(), std::vector<std::string>{F.Target});
      EXPECT_EQ(F.Disk.Contents(F.Target), C.TargetAfter);
    }
  }
}

TEST(MsOutputStreamDiskFailureTest, AFailedWriteIsNotTriedAgainAtTheClose) {
  DiskFixture F;
  auto File = F.Open(Kind::Temp);
  ASSERT_TRUE(File);
  F.Disk.FailWrite(1, ENOSPC);
  File->Stream() << std::string(100000, 'x');
  const unsigned Writes = F.Disk.WriteCalls();
  EXPECT_TRUE(File->Stream().bad());
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Disk.WriteCalls(), Writes);
}

TEST(MsOutputStreamDiskFailureTest, SuccessRenamesTheTemporaryFileOntoTarget) {
  DiskFixture F;
  auto File = F.Open(Kind::Temp);
  ASSERT_TRUE(File);
  std::vector<std::string> WhileOpen = F.Files();
  ASSERT_EQ(WhileOpen.size(), 2u);
  EXPECT_EQ(F.Disk.Contents(F.Target), "old\n");
  File->Stream() << "new\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(F.Files(), std::vector<std::string>{F.Target});
  EXPECT_EQ(F.Disk.Contents(F.Target), "new\n");
  EXPECT_EQ(F.Written(), std::vector<std::string>{F.Target});
  EXPECT_EQ(F.Disk.OpenHandles(), 0u);
}

TEST(MsOutputStreamTempTest, MissingTemporaryFileGivesMs005AndKeepsTheTarget) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("out.txt");
  Spit(Target, "old\n");
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target);
  ASSERT_TRUE(File);
  File->Stream() << "new\n";
  std::set<std::string> Temps = TempFilesIn(Dir.Root());
  ASSERT_EQ(Temps.size(), 1u);
  std::filesystem::remove(Dir.Path(*Temps.begin()));
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected("Ms005", "problem closing file", Target));
  EXPECT_EQ(Slurp(Target), "old\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
}

TEST(MsOutputStreamTempTest, AbandonedFileLeavesNothingBehind) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("out.txt");
  Spit(Target, "old\n");
  try {
    auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target);
    ASSERT_TRUE(File);
    File->Stream() << "half";
    EXPECT_EQ(TempFilesIn(Dir.Root()).size(), 1u);
    throw std::runtime_error("the writer failed");
  } catch (const std::runtime_error &) {
  }
  EXPECT_EQ(Slurp(Target), "old\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
  EXPECT_EQ(F.Err.str(), "");
}

TEST(MsOutputStreamTempTest, ErrorLimitReachedWhileClosingLeavesNothing) {
  ScratchDir Dir;
  Fixture F;
  F.Console.SetErrorLimit(1);
  const std::string Target = Dir.Path("out.txt");
  Spit(Target, "old\n");
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target);
  ASSERT_TRUE(File);
  File->Stream().setstate(std::ios_base::failbit);
  EXPECT_THROW(File->Close(), MsConsoleException);
  EXPECT_EQ(Slurp(Target), "old\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
  // A second close does nothing more.
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Console.ErrorCount(), 2u);
}

TEST(MsOutputStreamTempTest, SecondCloseRepeatsTheAnswerOnly) {
  ScratchDir Dir;
  Fixture F;
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("a"));
  ASSERT_TRUE(File);
  File->Stream() << "a";
  EXPECT_TRUE(File->Close());
  EXPECT_TRUE(File->Close());
  File->Stream() << "more";
  EXPECT_TRUE(File->Stream().fail());
  EXPECT_EQ(F.Written().size(), 1u);
  EXPECT_EQ(Slurp(Dir.Path("a")), "a");
}

TEST(MsOutputStreamTempTest, TwoWritersWithTheSameSeedDoNotCollide) {
  ScratchDir Dir;
  Fixture F;
  MsOutputStream::SeedGenerator(99);
  auto First = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("a.txt"));
  MsOutputStream::SeedGenerator(99);
  auto Second = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("b.txt"));
  ASSERT_TRUE(First);
  ASSERT_TRUE(Second);
  std::vector<std::string> Names = NamesOfSeed(99, 2);
  EXPECT_EQ(TempFilesIn(Dir.Root()),
            (std::set<std::string>{Names[0], Names[1]}));
  First->Stream() << "first\n";
  Second->Stream() << "second\n";
  EXPECT_TRUE(Second->Close());
  EXPECT_TRUE(First->Close());
  EXPECT_EQ(Slurp(Dir.Path("a.txt")), "first\n");
  EXPECT_EQ(Slurp(Dir.Path("b.txt")), "second\n");
  EXPECT_EQ(NamesIn(Dir.Root()), (std::set<std::string>{"a.txt", "b.txt"}));
}

TEST(MsOutputStreamTempTest, AForeignFileWithTheNextNameIsLeftAlone) {
  ScratchDir Dir;
  Fixture F;
  std::vector<std::string> Names = NamesOfSeed(5, 2);
  Spit(Dir.Path(Names[0]), "not ours");
  MsOutputStream::SeedGenerator(5);
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("t.txt"));
  ASSERT_TRUE(File);
  EXPECT_EQ(TempFilesIn(Dir.Root()),
            (std::set<std::string>{Names[0], Names[1]}));
  File->Stream() << "ours";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(Slurp(Dir.Path(Names[0])), "not ours");
  EXPECT_EQ(Slurp(Dir.Path("t.txt")), "ours");
  EXPECT_EQ(NamesIn(Dir.Root()), (std::set<std::string>{Names[0], "t.txt"}));
}

TEST(MsOutputStreamTempTest, MissingFolderGivesMs003) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("nofolder/out.txt");
  EXPECT_FALSE(MsOutputStream::Open(F.Console, Kind::Temp, Target));
  EXPECT_EQ(F.Err.str(), Expected("Ms003", "could not open file", Target));
  EXPECT_EQ(F.Console.ErrorCount(), 1u);
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
}

TEST(MsOutputStreamTempTest, FolderUnderARegularFileGivesMs003) {
  ScratchDir Dir;
  Fixture F;
  Spit(Dir.Path("plain"), "a file");
  const std::string Target = Dir.Path("plain/out.txt");
  EXPECT_FALSE(MsOutputStream::Open(F.Console, Kind::Temp, Target));
  EXPECT_EQ(F.Err.str(), Expected("Ms003", "could not open file", Target));
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"plain"});
}

TEST(MsOutputStreamTempTest, UnwritableFolderGivesMs003AndKeepsTheTarget) {
  for (Kind K : {Kind::Temp, Kind::Volatile}) {
    DiskFixture F;
    F.Disk.FailCreateIn("d", EACCES);
    EXPECT_FALSE(F.Open(K));
    EXPECT_EQ(F.Err.str(), Expected("Ms003", "could not open file", F.Target));
    EXPECT_EQ(F.Disk.OpenHandles(), 0u);
    if (K == Kind::Temp) {
      EXPECT_EQ(F.Files(), std::vector<std::string>{F.Target});
      EXPECT_EQ(F.Disk.Contents(F.Target), "old\n");
    }
  }
}

TEST(MsOutputStreamTempTest, RefusedDeviceGivesMs003) {
  DiskFixture F;
  F.Disk.AddDevice("d/dev");
  F.Disk.FailOpen("d/dev", EACCES);
  EXPECT_FALSE(MsOutputStream::Open(F.Console, F.Disk, Kind::Temp, "d/dev"));
  EXPECT_EQ(F.Err.str(), Expected("Ms003", "could not open file", "d/dev"));
}

TEST(MsOutputStreamTempTest, EmptyPathAndFolderGiveMs006) {
  ScratchDir Dir;
  Fixture F;
  EXPECT_FALSE(MsOutputStream::Open(F.Console, Kind::Temp, ""));
  EXPECT_FALSE(MsOutputStream::Open(F.Console, Kind::Volatile, Dir.Root()));
  EXPECT_EQ(F.Err.str(), "Error[Ms006]: illegal path \"\"\n"
                         "Error[Ms006]: illegal path \"" +
                             Dir.Root() + "\"\n");
  EXPECT_EQ(F.Console.ErrorCount(), 2u);
  EXPECT_TRUE(std::filesystem::is_directory(Dir.Root()));
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
}

//===----------------------------------------------------------------------===//
// Symbolic links: written through, never replaced
//===----------------------------------------------------------------------===//

std::string LinkText(const std::string &Path) {
  std::error_code Error;
  std::filesystem::path Text = std::filesystem::read_symlink(Path, Error);
  return Error ? "<no link>" : Text.string();
}

TEST(MsOutputStreamLinkTest, FollowLinks) {
  ScratchDir Dir;
  namespace fs = std::filesystem;
  fs::create_directory(Dir.Path("sub"));
  Spit(Dir.Path("plain"), "x");
  fs::create_symlink("plain", Dir.Path("one"));
  fs::create_symlink("sub/two", Dir.Path("chain"));
  fs::create_symlink("../final", Dir.Path("sub/two"));
  fs::create_symlink(Dir.Path("plain"), Dir.Path("absolute"));
  fs::create_symlink("nothing/here", Dir.Path("dangling"));
  fs::create_symlink("loop2", Dir.Path("loop1"));
  fs::create_symlink("loop1", Dir.Path("loop2"));
  struct Case {
    std::string Path;
    std::string Expected;
  };
  const Case Cases[] = {
      {Dir.Path("plain"), Dir.Path("plain")},
      {Dir.Path("missing"), Dir.Path("missing")},
      {Dir.Path("one"), Dir.Path("plain")},
      {Dir.Path("chain"), Dir.Path("sub/../final")},
      {Dir.Path("absolute"), Dir.Path("plain")},
      {Dir.Path("dangling"), Dir.Path("nothing/here")},
      {Dir.Path("loop1"), ""},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(MsOutputStream::FollowLinks(C.Path), C.Expected) << C.Path;
}

TEST(MsOutputStreamLinkTest, RelativeLinkInTheCurrentFolder) {
  ScratchDir Dir;
  std::filesystem::create_symlink("target.txt", Dir.Path("lnk"));
  std::filesystem::path Previous = std::filesystem::current_path();
  std::filesystem::current_path(Dir.Root());
  const std::string Followed = MsOutputStream::FollowLinks("lnk");
  std::filesystem::current_path(Previous);
  EXPECT_EQ(Followed, "target.txt");
}

/// A folder with real/dep.d ("old\n") and the link lnk.d -> real/dep.d, and
/// a Temp file opened on the link.
struct LinkedList {
  LinkedList() {
    std::filesystem::create_directory(Dir.Path("real"));
    Spit(Dir.Path("real/dep.d"), "old\n");
    std::filesystem::create_symlink("real/dep.d", Dir.Path("lnk.d"));
    File = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("lnk.d"));
  }
  ScratchDir Dir;
  Fixture F;
  std::unique_ptr<MsOutputStream::OutFile> File;
};

TEST(MsOutputStreamLinkTest, TempFileWritesThroughALink) {
  LinkedList L;
  ASSERT_TRUE(L.File);
  // The temporary file is next to the file the link leads to.
  EXPECT_EQ(TempFilesIn(L.Dir.Path("real")).size(), 1u);
  EXPECT_EQ(NamesIn(L.Dir.Root()), (std::set<std::string>{"lnk.d", "real"}));
  L.File->Stream() << "new\n";
  EXPECT_TRUE(L.File->Close());
  EXPECT_EQ(LinkText(L.Dir.Path("lnk.d")), "real/dep.d");
  EXPECT_EQ(Slurp(L.Dir.Path("real/dep.d")), "new\n");
  EXPECT_EQ(NamesIn(L.Dir.Path("real")), std::set<std::string>{"dep.d"});
  EXPECT_EQ(L.F.Written(), std::vector<std::string>{L.Dir.Path("lnk.d")});
  EXPECT_EQ(L.F.Err.str(), "");
}

TEST(MsOutputStreamLinkTest, DanglingLinkGetsItsFile) {
  ScratchDir Dir;
  Fixture F;
  std::filesystem::create_directory(Dir.Path("real"));
  std::filesystem::create_symlink(Dir.Path("real/new.d"), Dir.Path("lnk.d"));
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("lnk.d"));
  ASSERT_TRUE(File);
  File->Stream() << "list\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(LinkText(Dir.Path("lnk.d")), Dir.Path("real/new.d"));
  EXPECT_EQ(Slurp(Dir.Path("real/new.d")), "list\n");
  EXPECT_EQ(NamesIn(Dir.Path("real")), std::set<std::string>{"new.d"});
}

TEST(MsOutputStreamLinkTest, FailureKeepsLinkAndFile) {
  LinkedList L;
  ASSERT_TRUE(L.File);
  L.File->Stream() << "half";
  L.File->Stream().setstate(std::ios_base::badbit);
  EXPECT_FALSE(L.File->Close());
  EXPECT_EQ(L.F.Err.str(),
            Expected("Ms004", "problem writing to file", L.Dir.Path("lnk.d")));
  EXPECT_EQ(LinkText(L.Dir.Path("lnk.d")), "real/dep.d");
  EXPECT_EQ(Slurp(L.Dir.Path("real/dep.d")), "old\n");
  EXPECT_EQ(NamesIn(L.Dir.Path("real")), std::set<std::string>{"dep.d"});
}

TEST(MsOutputStreamLinkTest, LinkToADeviceIsWrittenInPlace) {
  if (!IsCharacterDevice("/dev/null"))
    GTEST_SKIP() << "no /dev/null";
  ScratchDir Dir;
  Fixture F;
  std::filesystem::create_symlink("/dev/null", Dir.Path("null"));
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("null"));
  ASSERT_TRUE(File);
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"null"});
  File->Stream() << "gone\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(LinkText(Dir.Path("null")), "/dev/null");
  EXPECT_TRUE(IsCharacterDevice("/dev/null"));
}

/// A file Name in Dir holding "old\n", open for reading, and the path of
/// its descriptor under /proc/self/fd.
struct OpenDescriptor {
  OpenDescriptor(const ScratchDir &Dir, const std::string &Name) {
    Spit(Dir.Path(Name), "old\n");
    Handle = ::open(Dir.Path(Name).c_str(), O_RDONLY);
    Proc = "/proc/self/fd/" + std::to_string(Handle);
  }
  ~OpenDescriptor() {
    if (Handle >= 0)
      ::close(Handle);
  }
  int Handle;
  std::string Proc;
};

TEST(MsOutputStreamLinkTest, LinkThroughAnOpenDescriptor) {
  // /proc/self/fd/N leads by name to the file's path: the file there is
  // replaced, and the links stay.
  ScratchDir Dir;
  Fixture F;
  OpenDescriptor Open(Dir, "open.txt");
  ASSERT_GE(Open.Handle, 0);
  std::filesystem::create_symlink(Open.Proc, Dir.Path("fd"));
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("fd"));
  ASSERT_TRUE(File);
  File->Stream() << "new\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(LinkText(Dir.Path("fd")), Open.Proc);
  EXPECT_EQ(Slurp(Dir.Path("open.txt")), "new\n");
  EXPECT_EQ(NamesIn(Dir.Root()), (std::set<std::string>{"fd", "open.txt"}));
}

TEST(MsOutputStreamLinkTest, DeletedFileBehindADescriptorIsWrittenInPlace) {
  // The text of /proc/self/fd/N names no file any more ("... (deleted)"):
  // the file the system reaches is written where it is.
  ScratchDir Dir;
  Fixture F;
  OpenDescriptor Open(Dir, "gone.txt");
  ASSERT_GE(Open.Handle, 0);
  ::unlink(Dir.Path("gone.txt").c_str());
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Open.Proc);
  ASSERT_TRUE(File);
  File->Stream() << "new\n";
  EXPECT_TRUE(File->Close());
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
  char Bytes[16] = {};
  EXPECT_EQ(::pread(Open.Handle, Bytes, sizeof Bytes, 0), 4);
  EXPECT_EQ(std::string(Bytes), "new\n");
}

TEST(MsOutputStreamLinkTest, LoopOfLinksGivesMs003) {
  ScratchDir Dir;
  Fixture F;
  std::filesystem::create_symlink("b", Dir.Path("a"));
  std::filesystem::create_symlink("a", Dir.Path("b"));
  EXPECT_FALSE(MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("a")));
  EXPECT_EQ(F.Err.str(),
            Expected("Ms003", "could not open file", Dir.Path("a")));
  EXPECT_EQ(NamesIn(Dir.Root()), (std::set<std::string>{"a", "b"}));
}

TEST(MsOutputStreamTempTest, FailedRenameGivesMs005AndKeepsWhatIsThere) {
  // The target became a folder that is not empty: rename(2) refuses it.
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("out.txt");
  auto File = MsOutputStream::Open(F.Console, Kind::Temp, Target);
  ASSERT_TRUE(File);
  File->Stream() << "new\n";
  std::filesystem::create_directory(Target);
  Spit(Dir.Path("out.txt/inside"), "kept");
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected("Ms005", "problem closing file", Target));
  EXPECT_EQ(Slurp(Dir.Path("out.txt/inside")), "kept");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
}

//===----------------------------------------------------------------------===//
// Same file
//===----------------------------------------------------------------------===//

TEST(MsOutputStreamSameFileTest, Spellings) {
  ScratchDir Dir;
  namespace fs = std::filesystem;
  fs::create_directory(Dir.Path("sub"));
  Spit(Dir.Path("m.txt"), "manifest");
  Spit(Dir.Path("other.txt"), "manifest");
  fs::create_hard_link(Dir.Path("m.txt"), Dir.Path("hard.txt"));
  fs::create_symlink("m.txt", Dir.Path("soft.txt"));
  fs::create_symlink("sub/new.d", Dir.Path("dangling"));
  struct Case {
    std::string A;
    std::string B;
    bool Same;
  };
  const std::string M = Dir.Path("m.txt");
  const Case Cases[] = {
      {M, M, true},
      {M, Dir.Root() + "/./m.txt", true},
      {M, Dir.Path("sub/../m.txt"), true},
      {M, Dir.Path("hard.txt"), true},
      {M, Dir.Path("soft.txt"), true},
      {M, Dir.Path("other.txt"), false},
      {M, Dir.Path("missing.txt"), false},
      // Names that do not exist yet: the same folder and last component.
      {Dir.Path("new.d"), Dir.Path("sub/../new.d"), true},
      {Dir.Path("dangling"), Dir.Path("sub/new.d"), true},
      {Dir.Path("new.d"), Dir.Path("sub/new.d"), false},
      {Dir.Path("no/folder/x"), Dir.Path("no/folder/x"), false},
      {"", "", false},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(MsOutputStream::SameFile(C.A, C.B), C.Same)
        << C.A << " vs " << C.B;
}

//===----------------------------------------------------------------------===//
// Signals: the files that still have to go are listed
//===----------------------------------------------------------------------===//

TEST(MsOutputStreamSignalTest, OpenFilesAreListedUntilClosedOrAbandoned) {
  ScratchDir Dir;
  Fixture F;
  const std::size_t Before = MsTempFileRegistry::Size();
  auto Temp = MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("t.txt"));
  auto Volatile =
      MsOutputStream::Open(F.Console, Kind::Volatile, Dir.Path("v.txt"));
  ASSERT_TRUE(Temp);
  ASSERT_TRUE(Volatile);
  EXPECT_EQ(MsTempFileRegistry::Size(), Before + 2);
  EXPECT_TRUE(Temp->Close());
  EXPECT_EQ(MsTempFileRegistry::Size(), Before + 1);
  Volatile.reset();
  EXPECT_EQ(MsTempFileRegistry::Size(), Before);
  auto Device = MsOutputStream::Open(F.Console, Kind::Temp, "/dev/null");
  ASSERT_TRUE(Device);
  EXPECT_EQ(MsTempFileRegistry::Size(), Before);
}

/// In a child process: opens a Temp file for Dir/out.txt and a Volatile
/// file Dir/v.txt, writes to both and raises Number (ignored first when
/// Ignore is set), then closes both. Answers the child's wait status.
int RaiseWhileWriting(const ScratchDir &Dir, int Number, bool Ignore) {
  pid_t Child = ::fork();
  if (Child < 0)
    return -1;
  if (Child == 0) {
    // Ignored from the start, as under nohup; otherwise the action stays
    // what the process has (the handler, once any file was listed).
    if (Ignore)
      std::signal(Number, SIG_IGN);
    Fixture F;
    auto Temp =
        MsOutputStream::Open(F.Console, Kind::Temp, Dir.Path("out.txt"));
    auto Volatile =
        MsOutputStream::Open(F.Console, Kind::Volatile, Dir.Path("v.txt"));
    if (!Temp || !Volatile)
      ::_exit(11);
    Temp->Stream() << "half" << std::flush;
    Volatile->Stream() << "half" << std::flush;
    ::raise(Number);
    ::_exit(Temp->Close() && Volatile->Close() ? 0 : 12);
  }
  int Status = 0;
  if (::waitpid(Child, &Status, 0) != Child)
    return -1;
  return Status;
}

TEST(MsOutputStreamSignalTest, TerminatingSignalsRemoveTheFilesAndEndTheRun) {
  for (int Number : {SIGINT, SIGTERM, SIGHUP}) {
    ScratchDir Dir;
    Spit(Dir.Path("out.txt"), "old\n");
    const int Status = RaiseWhileWriting(Dir, Number, false);
    ASSERT_TRUE(WIFSIGNALED(Status)) << Number << " status " << Status;
    EXPECT_EQ(WTERMSIG(Status), Number);
    EXPECT_EQ(Slurp(Dir.Path("out.txt")), "old\n");
    EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"out.txt"});
  }
}

TEST(MsOutputStreamSignalTest, IgnoredSignalStaysIgnored) {
  ScratchDir Dir;
  const int Status = RaiseWhileWriting(Dir, SIGHUP, true);
  ASSERT_TRUE(WIFEXITED(Status)) << Status;
  EXPECT_EQ(WEXITSTATUS(Status), 0);
  EXPECT_EQ(Slurp(Dir.Path("out.txt")), "half");
  EXPECT_EQ(Slurp(Dir.Path("v.txt")), "half");
}

//===----------------------------------------------------------------------===//
// Devices: written in place, never removed or replaced
//===----------------------------------------------------------------------===//

/// Writes Size bytes to the device "d/full" of a disk on which the first
/// write fails, as with a full device, through a file of kind K; expects
/// the report Tag, Text and the device kept, with no other file made.
void ExpectFullDevice(Kind K, std::size_t Size, const char *Tag,
                      const char *Text) {
  DiskFixture F;
  F.Disk.AddDevice("d/full");
  auto File = MsOutputStream::Open(F.Console, F.Disk, K, "d/full");
  ASSERT_TRUE(File);
  EXPECT_EQ(F.Files(), (std::vector<std::string>{"d/full", F.Target}));
  F.Disk.FailWrite(1, ENOSPC);
  File->Stream() << std::string(Size, 'z');
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected(Tag, Text, "d/full"));
  EXPECT_EQ(F.Files(), (std::vector<std::string>{"d/full", F.Target}));
  GeFileStatus Status;
  ASSERT_EQ(F.Disk.Stat("d/full", Status), 0);
  EXPECT_EQ(Status.Type, GeFileStatus::Kind::Other);
}

TEST(MsOutputStreamDeviceTest, FullDeviceGivesMs005AndStaysADevice) {
  ExpectFullDevice(Kind::Temp, 13, "Ms005", "problem closing file");
}

TEST(MsOutputStreamDeviceTest, FullDeviceGivesMs004ForALongText) {
  ExpectFullDevice(Kind::Temp, 100000, "Ms004", "problem writing to file");
}

TEST(MsOutputStreamDeviceTest, VolatileFullDeviceIsNotRemoved) {
  ExpectFullDevice(Kind::Volatile, 1, "Ms005", "problem closing file");
}

TEST(MsOutputStreamDeviceTest, DeviceIsWrittenInPlace) {
  for (Kind K : {Kind::Temp, Kind::Volatile}) {
    DiskFixture F;
    F.Disk.AddDevice("d/dev");
    F.Disk.AddLink("d/link", "dev");
    auto File = MsOutputStream::Open(F.Console, F.Disk, K, "d/link");
    ASSERT_TRUE(File);
    File->Stream() << "text\n";
    EXPECT_TRUE(File->Close());
    EXPECT_EQ(F.Disk.Contents("d/dev"), "text\n");
    EXPECT_EQ(F.Files(),
              (std::vector<std::string>{"d/dev", "d/link", F.Target}));
    EXPECT_EQ(F.Err.str(), "");
  }
}

TEST(MsOutputStreamDeviceTest, NullDeviceIsWrittenAndKept) {
  if (!IsCharacterDevice("/dev/null"))
    GTEST_SKIP() << "no /dev/null";
  Fixture F;
  for (Kind K : {Kind::Temp, Kind::Volatile}) {
    auto File = MsOutputStream::Open(F.Console, K, "/dev/null");
    ASSERT_TRUE(File);
    File->Stream() << "gone\n";
    EXPECT_TRUE(File->Close());
    EXPECT_TRUE(IsCharacterDevice("/dev/null"));
  }
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Written(), (std::vector<std::string>{"/dev/null", "/dev/null"}));
}

//===----------------------------------------------------------------------===//
// Volatile files
//===----------------------------------------------------------------------===//

TEST(MsOutputStreamVolatileTest, WritesTheTargetInPlace) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("v.txt");
  Spit(Target, "old contents\n");
  auto File = MsOutputStream::Open(F.Console, Kind::Volatile, Target);
  ASSERT_TRUE(File);
  EXPECT_EQ(Slurp(Target), "");
  File->Stream() << "new\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(Slurp(Target), "new\n");
  EXPECT_EQ(NamesIn(Dir.Root()), std::set<std::string>{"v.txt"});
  EXPECT_EQ(F.Written(), std::vector<std::string>{Target});
}

TEST(MsOutputStreamVolatileTest, FailedStreamGivesMs004AndRemovesTheTarget) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("v.txt");
  Spit(Target, "old\n");
  auto File = MsOutputStream::Open(F.Console, Kind::Volatile, Target);
  ASSERT_TRUE(File);
  File->Stream() << "half";
  File->Stream().setstate(std::ios_base::badbit);
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected("Ms004", "problem writing to file", Target));
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
  EXPECT_TRUE(F.Written().empty());
}

TEST(MsOutputStreamVolatileTest, AbandonedFileIsRemoved) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("v.txt");
  {
    auto File = MsOutputStream::Open(F.Console, Kind::Volatile, Target);
    ASSERT_TRUE(File);
    File->Stream() << "half";
  }
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
  EXPECT_EQ(F.Err.str(), "");
}

TEST(MsOutputStreamVolatileTest, MissingFolderGivesMs003) {
  ScratchDir Dir;
  Fixture F;
  const std::string Target = Dir.Path("no/v.txt");
  EXPECT_FALSE(MsOutputStream::Open(F.Console, Kind::Volatile, Target));
  EXPECT_EQ(F.Err.str(), Expected("Ms003", "could not open file", Target));
}

//===----------------------------------------------------------------------===//
// The console
//===----------------------------------------------------------------------===//

TEST(MsOutputStreamConsoleTest, WritesToStandardOutput) {
  Fixture F;
  testsupport::StreamCapture Captured(std::cout);
  auto File = MsOutputStream::Open(F.Console, Kind::Console, "-");
  ASSERT_TRUE(File);
  EXPECT_EQ(File->Path(), "-");
  File->Stream() << "to the console\n";
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(Captured.Text(), "to the console\n");
  EXPECT_TRUE(F.Written().empty());
  EXPECT_EQ(F.Err.str(), "");
}

TEST(MsOutputStreamConsoleTest, TextReachesStandardOutputAtTheClose) {
  Fixture F;
  testsupport::StreamCapture Captured(std::cout);
  auto File = MsOutputStream::Open(F.Console, Kind::Console, "-");
  ASSERT_TRUE(File);
  File->Stream() << "list\n";
  std::cout << "before\n";
  EXPECT_EQ(Captured.Text(), "before\n");
  EXPECT_TRUE(File->Close());
  EXPECT_EQ(Captured.Text(), "before\nlist\n");
}

TEST(MsOutputStreamConsoleTest, AbandonedFileWritesNothing) {
  Fixture F;
  testsupport::StreamCapture Captured(std::cout);
  {
    auto File = MsOutputStream::Open(F.Console, Kind::Console, "-");
    ASSERT_TRUE(File);
    File->Stream() << "never\n";
  }
  EXPECT_EQ(Captured.Text(), "");
  EXPECT_EQ(F.Err.str(), "");
}

TEST(MsOutputStreamConsoleTest, MinusIsStandardOutputForEveryKind) {
  ScratchDir Dir;
  std::filesystem::path Previous = std::filesystem::current_path();
  std::filesystem::current_path(Dir.Root());
  Fixture F;
  testsupport::StreamCapture Captured(std::cout);
  for (Kind K : {Kind::Temp, Kind::Volatile}) {
    auto File = MsOutputStream::Open(F.Console, K, "-", Mode::Binary);
    if (File) {
      EXPECT_EQ(File->Path(), "-");
      File->Stream() << "out\n";
      EXPECT_TRUE(File->Close());
    }
    EXPECT_TRUE(File);
  }
  std::filesystem::current_path(Previous);
  EXPECT_EQ(Captured.Text(), "out\nout\n");
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
  EXPECT_TRUE(F.Written().empty());
}

TEST(MsOutputStreamConsoleTest, RefusedWriteGivesMs004) {
  Fixture F;
  // A string buffer that takes nothing once 3 characters are in.
  struct Refusing : std::stringbuf {
    std::streamsize xsputn(const char *Text, std::streamsize Count) override {
      const std::streamsize Room =
          3 - static_cast<std::streamsize>(str().size());
      return std::stringbuf::xsputn(
          Text, std::min(Count, std::max<std::streamsize>(Room, 0)));
    }
  } Target;
  testsupport::StreamRedirect Stdout(std::cout, Target);
  auto File = MsOutputStream::Open(F.Console, Kind::Console, "-");
  ASSERT_TRUE(File);
  File->Stream() << "too long\n";
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected("Ms004", "problem writing to file", "-"));
}

TEST(MsOutputStreamConsoleTest, FailedStreamGivesMs004) {
  Fixture F;
  testsupport::StreamCapture Captured(std::cout);
  auto File = MsOutputStream::Open(F.Console, Kind::Console, "-");
  ASSERT_TRUE(File);
  File->Stream().setstate(std::ios_base::badbit);
  EXPECT_FALSE(File->Close());
  EXPECT_EQ(F.Err.str(), Expected("Ms004", "problem writing to file", "-"));
  // The failure stayed with the file.
  EXPECT_TRUE(std::cout.good());
}

TEST(MsOutputStreamConsoleTest, BinaryModeIsAnInternalFailure) {
  ThrowingFailureScope Scope;
  Fixture F;
  try {
    MsOutputStream::Open(F.Console, Kind::Console, "-", Mode::Binary);
    FAIL() << "opened";
  } catch (const InternalFailure &E) {
    EXPECT_STREQ(E.what(), "MsOutputStream: console opened in non-text mode");
  }
}

} // namespace

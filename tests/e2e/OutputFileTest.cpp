// End-to-end tests of the framework's output files, through the
// diagnostics_tables dump: success, replacement, failures and what they
// leave behind.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sys/stat.h>

using namespace e2e;
namespace fs = std::filesystem;

namespace {

bool IsCharacterDevice(const std::string &Path) {
  struct stat Info;
  return ::stat(Path.c_str(), &Info) == 0 && S_ISCHR(Info.st_mode);
}

class OutputFileTest : public FolderTest {
protected:
  std::string Tables() { return DumpedTables(); }
};

TEST_F(OutputFileTest, DumpIntoANewFile) {
  RunResult R = RunHere({"--diagnostics_tables=t.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "");
  std::string Text = Read("t.txt");
  EXPECT_NE(Text.find("Ms003:  could not open file %sq for writing\n"
                      "Ms004:  problem writing to file %sq\n"
                      "Ms005:  problem closing file %sq\n"
                      "Ms006:  illegal path %sq\n"),
            std::string::npos)
      << Text;
  EXPECT_EQ(Names(), std::set<std::string>{"t.txt"});
}

TEST_F(OutputFileTest, DumpIntoAFolder) {
  fs::create_directory(Dir.Path("out"));
  RunResult R = RunHere({"--diagnostics_tables", "out"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("out/diagnostics_tables.txt"), Tables());
  EXPECT_EQ(Names("out"), std::set<std::string>{"diagnostics_tables.txt"});
}

TEST_F(OutputFileTest, DumpReplacesAnExistingFile) {
  WriteFile(Dir.Path("t.txt"), std::string(5000, 'o'));
  RunResult R = RunHere({"--diagnostics_tables=t.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(Read("t.txt"), Tables());
  EXPECT_EQ(Names(), std::set<std::string>{"t.txt"});
}

TEST_F(OutputFileTest, DumpIntoAMissingFolder) {
  RunResult R = RunHere({"--diagnostics_tables=nofolder/t.txt"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Error[Ms003]: could not open file \"nofolder/t.txt\" for "
                   "writing\n");
  EXPECT_TRUE(Names().empty());
}

TEST_F(OutputFileTest, DumpUnderARegularFile) {
  WriteFile(Dir.Path("plain"), "a file\n");
  RunResult R = RunHere({"--diagnostics_tables=plain/t.txt"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err,
            "Error[Ms003]: could not open file \"plain/t.txt\" for writing\n");
  EXPECT_EQ(Read("plain"), "a file\n");
  EXPECT_EQ(Names(), std::set<std::string>{"plain"});
}

TEST_F(OutputFileTest, DumpIntoAFullDevice) {
  // A device is written in place: no temporary file in /dev, and the
  // device is never replaced. The tables fit into the stream's buffer, so
  // the failure shows when the file is closed.
  if (!IsCharacterDevice("/dev/full"))
    GTEST_SKIP() << "no /dev/full";
  std::set<std::string> Before = TempFilesIn("/dev");
  RunResult R = RunHere({"--diagnostics_tables=/dev/full"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Error[Ms005]: problem closing file \"/dev/full\"\n");
  EXPECT_TRUE(IsCharacterDevice("/dev/full"));
  EXPECT_FALSE(Exists("/dev/full.txt"));
  EXPECT_EQ(TempFilesIn("/dev"), Before);
}

TEST_F(OutputFileTest, DumpIntoTheNullDevice) {
  if (!IsCharacterDevice("/dev/null"))
    GTEST_SKIP() << "no /dev/null";
  RunResult R = RunHere({"--diagnostics_tables=/dev/null"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_TRUE(IsCharacterDevice("/dev/null"));
  EXPECT_FALSE(Exists("/dev/null.txt"));
}

TEST_F(OutputFileTest, WriteFailureMidwayKeepsTheOldFile) {
  // A file size limit of one block (512 bytes for sh) stops the writing of
  // the tables partway; SIGXFSZ is ignored so that write() fails instead.
  WriteFile(Dir.Path("t.txt"), "old tables\n");
  RunOptions Options = Here();
  RunResult R = e2e::Run("/bin/sh",
                         {"-c", "trap '' XFSZ; ulimit -f 1; exec \"$0\" \"$@\"",
                          ChkselPath(), "--diagnostics_tables=t.txt"},
                         Options);
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Error[Ms005]: problem closing file \"t.txt\"\n");
  EXPECT_EQ(Read("t.txt"), "old tables\n");
  EXPECT_EQ(Names(), std::set<std::string>{"t.txt"});
}

TEST_F(OutputFileTest, UnwritableFolderKeepsTheOldFile) {
  fs::create_directory(Dir.Path("ro"));
  WriteFile(Dir.Path("ro/t.txt"), "old\n");
  // Readable and searchable by everyone (the run may drop to "nobody"),
  // writable by no one.
  fs::permissions(Dir.Root(), fs::perms(0755));
  fs::permissions(Dir.Path("ro"), fs::perms(0555));
  RunOptions Options = Here();
  Options.Unprivileged = true;
  RunResult R = RunChksel({"--diagnostics_tables=ro/t.txt"}, Options);
  fs::permissions(Dir.Path("ro"), fs::perms(0700));
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err,
            "Error[Ms003]: could not open file \"ro/t.txt\" for writing\n");
  EXPECT_EQ(Read("ro/t.txt"), "old\n");
  EXPECT_EQ(Names("ro"), std::set<std::string>{"t.txt"});
}

} // namespace

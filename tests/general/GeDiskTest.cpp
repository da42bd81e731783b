// Tests of the file-system seam: the real disk's answers on a scratch
// folder, and the output stream over a disk's file.
#include "general/GeDisk.h"

#include "tests/support/GeFakeDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace {

/// A fresh folder, removed with its contents on destruction.
class Scratch {
public:
  Scratch() {
    std::string Pattern =
        (std::filesystem::temp_directory_path() / "chksel-disk-XXXXXX").string();
    if (!::mkdtemp(Pattern.data()))
      std::abort();
    Root = Pattern;
  }
  ~Scratch() { std::filesystem::remove_all(Root); }
  std::string Path(const std::string &Name) const { return Root + "/" + Name; }

private:
  std::string Root;
};

std::string Slurp(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(In), {});
}

TEST(GeRealDisk, AnswersKindsAndLinks) {
  Scratch Dir;
  GeRealDisk Disk;
  std::ofstream(Dir.Path("f")) << "x";
  std::filesystem::create_directory(Dir.Path("sub"));
  std::filesystem::create_symlink("f", Dir.Path("l"));
  GeFileStatus File, Folder, Link, Followed;
  ASSERT_EQ(Disk.Stat(Dir.Path("f"), File), 0);
  EXPECT_EQ(File.Type, GeFileStatus::Kind::Regular);
  ASSERT_EQ(Disk.Stat(Dir.Path("sub"), Folder), 0);
  EXPECT_EQ(Folder.Type, GeFileStatus::Kind::Directory);
  ASSERT_EQ(Disk.LStat(Dir.Path("l"), Link), 0);
  EXPECT_EQ(Link.Type, GeFileStatus::Kind::Link);
  ASSERT_EQ(Disk.Stat(Dir.Path("l"), Followed), 0);
  EXPECT_EQ(Followed.Type, GeFileStatus::Kind::Regular);
  EXPECT_EQ(Followed.Inode, File.Inode);
  EXPECT_EQ(Followed.Device, File.Device);
  std::string Text;
  ASSERT_EQ(Disk.ReadLink(Dir.Path("l"), Text), 0);
  EXPECT_EQ(Text, "f");
  EXPECT_EQ(Disk.ReadLink(Dir.Path("f"), Text), EINVAL);
  EXPECT_EQ(Disk.Stat(Dir.Path("none"), File), ENOENT);
  GeFileStatus Device;
  if (Disk.Stat("/dev/null", Device) == 0) {
    EXPECT_EQ(Device.Type, GeFileStatus::Kind::Other);
  }
}

TEST(GeRealDisk, OpensWritesReadsRenamesAndRemoves) {
  Scratch Dir;
  GeRealDisk Disk;
  const std::string A = Dir.Path("a"), B = Dir.Path("b");
  int Handle = -1;
  ASSERT_EQ(Disk.OpenWrite(A, GeWriteMode::CreateExclusive, Handle), 0);
  EXPECT_EQ(Disk.Write(Handle, "one\n", 4), 0);
  EXPECT_EQ(Disk.Close(Handle), 0);
  int Again = -1;
  EXPECT_EQ(Disk.OpenWrite(A, GeWriteMode::CreateExclusive, Again), EEXIST);
  ASSERT_EQ(Disk.OpenWrite(A, GeWriteMode::Append, Handle), 0);
  EXPECT_EQ(Disk.Write(Handle, "two\n", 4), 0);
  EXPECT_EQ(Disk.Close(Handle), 0);
  EXPECT_EQ(Slurp(A), "one\ntwo\n");
  ASSERT_EQ(Disk.OpenRead(A, Handle), 0);
  char Buffer[16];
  std::size_t Got = 0;
  ASSERT_EQ(Disk.Read(Handle, Buffer, 5, Got), 0);
  EXPECT_EQ(std::string(Buffer, Got), "one\nt");
  ASSERT_EQ(Disk.Read(Handle, Buffer, sizeof Buffer, Got), 0);
  EXPECT_EQ(std::string(Buffer, Got), "wo\n");
  ASSERT_EQ(Disk.Read(Handle, Buffer, sizeof Buffer, Got), 0);
  EXPECT_EQ(Got, 0u);
  EXPECT_EQ(Disk.Close(Handle), 0);
  ASSERT_EQ(Disk.OpenWrite(A, GeWriteMode::Truncate, Handle), 0);
  EXPECT_EQ(Disk.Close(Handle), 0);
  EXPECT_EQ(Slurp(A), "");
  EXPECT_EQ(Disk.Rename(A, B), 0);
  EXPECT_EQ(Disk.Rename(A, B), ENOENT);
  EXPECT_EQ(Disk.Remove(B), 0);
  EXPECT_EQ(Disk.Remove(B), ENOENT);
  EXPECT_EQ(Disk.OpenRead(A, Handle), ENOENT);
  EXPECT_EQ(Disk.OpenWrite(Dir.Path("no/x"), GeWriteMode::Truncate, Handle),
            ENOENT);
}

TEST(GeDiskOutStream, WritesInBlocksOfTheLibraryFileBufferSize) {
  GeFakeDisk Disk;
  int Handle = -1;
  ASSERT_EQ(Disk.OpenWrite("f", GeWriteMode::Truncate, Handle), 0);
  GeDiskOutStream Out(Disk, Handle);
  Out << std::string(BUFSIZ - 1, 'a');
  EXPECT_EQ(Disk.WriteCalls(), 0u);
  Out << 'b';
  EXPECT_EQ(Disk.WriteCalls(), 1u);
  EXPECT_EQ(Disk.Contents("f"), std::string(BUFSIZ - 1, 'a') + "b");
  Out << "tail";
  Out.flush();
  EXPECT_TRUE(Out.good());
  Out.Close();
  EXPECT_FALSE(Out.fail());
  EXPECT_EQ(Disk.Contents("f").size(), static_cast<std::size_t>(BUFSIZ) + 4);
  EXPECT_EQ(Disk.OpenHandles(), 0u);
  Out << "after";
  EXPECT_TRUE(Out.bad());
}

TEST(GeDiskOutStream, FailuresSetTheStreamState) {
  struct Case {
    const char *Name;
    void (*Plan)(GeFakeDisk &);
    std::size_t Size;
    bool BadBeforeFlush;
    bool BadAfterFlush;
    bool FailAfterClose;
  } Cases[] = {
      {"write while writing", [](GeFakeDisk &D) { D.FailWrite(1); }, 100000,
       true, true, true},
      {"write at the flush", [](GeFakeDisk &D) { D.FailWrite(1); }, 10, false,
       true, true},
      {"close", [](GeFakeDisk &D) { D.FailClose(); }, 10, false, false, true},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    GeFakeDisk Disk;
    int Handle = -1;
    ASSERT_EQ(Disk.OpenWrite("f", GeWriteMode::Truncate, Handle), 0);
    GeDiskOutStream Out(Disk, Handle);
    C.Plan(Disk);
    Out << std::string(C.Size, 'x');
    EXPECT_EQ(Out.bad(), C.BadBeforeFlush);
    Out.flush();
    EXPECT_EQ(Out.bad(), C.BadAfterFlush);
    Out.Close();
    EXPECT_EQ(Out.fail(), C.FailAfterClose);
    EXPECT_EQ(Disk.OpenHandles(), 0u);
  }
}

} // namespace

// The checks manifest as the selection passes read it.
#include "tool/LcManifestSource.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "general/GeDisk.h"
#include "tool/LcManifestReader.h"
#include "tool/LcMessages.h"

#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr std::size_t CopyBlockSize = 64 * 1024;
} // namespace

LcManifestSource::LcManifestSource(MsConsole &TheConsole,
                                   GeDiskInterface &TheDisk,
                                   std::string ManifestPath, bool ReadOnce)
    : Console(TheConsole), Disk(TheDisk), Path(std::move(ManifestPath)),
      Once(ReadOnce) {}

LcManifestSource::~LcManifestSource() {
  Stream.reset();
  if (Copy >= 0)
    ::close(Copy);
}

void LcManifestSource::Open(LcManifestReader &Reader) {
  if (!Once) {
    Reader.Open(Console, Disk, Path);
    return;
  }
  if (Copy < 0)
    MakeCopy();
  if (::lseek(Copy, 0, SEEK_SET) != 0)
    Fail(MsMsgWriteProblem);
  Stream = std::make_unique<CopyStream>(
      boost::iostreams::file_descriptor_source(
          Copy, boost::iostreams::never_close_handle),
      LcManifestReader::DefaultBlockSize);
  Reader.Open(*Stream);
}

void LcManifestSource::MakeCopy() {
  int In = -1;
  GeFileStatus Info;
  if (Disk.OpenRead(Path, In) != 0) {
    LcReport(Console, LcMsgCouldNotOpen, Path);
    throw MsConsoleException();
  }
  // Closes the manifest whichever way the copy ends.
  struct Closer {
    GeDiskInterface &Disk;
    int Handle;
    ~Closer() { Disk.Close(Handle); }
  } InGuard{Disk, In};
  if (Disk.StatHandle(In, Info) != 0 ||
      Info.Type == GeFileStatus::Kind::Directory) {
    LcReport(Console, LcMsgCouldNotOpen, Path);
    throw MsConsoleException();
  }
  Copy = MakeAnonymousFile();
  if (Copy < 0)
    Fail(MsMsgCannotWrite);
  // The copy is a file of the system's memory, not one of the disk's: it is
  // written with the real disk's calls on its descriptor.
  GeDiskInterface &Memory = GeDefaultDisk();
  std::unique_ptr<char[]> Block(new char[CopyBlockSize]);
  for (;;) {
    std::size_t Read = 0;
    // A read error ends the input, as it does when the file is read
    // directly.
    if (Disk.Read(In, Block.get(), CopyBlockSize, Read) != 0 || Read == 0)
      break;
    if (Memory.Write(Copy, Block.get(), Read) != 0)
      Fail(MsMsgWriteProblem);
  }
}

int LcManifestSource::MakeAnonymousFile() {
  CopyName = "memfd:chksel-manifest";
  const int Memory = ::memfd_create("chksel-manifest", MFD_CLOEXEC);
  if (Memory >= 0)
    return Memory;
  const char *TmpDir = std::getenv("TMPDIR");
  for (const char *Folder : {TmpDir, "/tmp"}) {
    if (!Folder || !*Folder)
      continue;
    CopyName = Folder;
    const int Unnamed =
        ::open(Folder, O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (Unnamed >= 0)
      return Unnamed;
  }
  return -1;
}

void LcManifestSource::Fail(MsMessageNumber Number) {
  Console.Report(MsMakeTag(Number), MsConsole::ErrorFixed, CopyName);
  throw MsConsoleException();
}

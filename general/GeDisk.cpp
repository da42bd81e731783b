// The file-system seam: the real disk and the streams over a disk's files.
#include "general/GeDisk.h"

#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

GeDiskInterface::~GeDiskInterface() = default;

namespace {

GeFileStatus StatusOf(const struct stat &Info) {
  GeFileStatus Status;
  if (S_ISREG(Info.st_mode))
    Status.Type = GeFileStatus::Kind::Regular;
  else if (S_ISDIR(Info.st_mode))
    Status.Type = GeFileStatus::Kind::Directory;
  else if (S_ISLNK(Info.st_mode))
    Status.Type = GeFileStatus::Kind::Link;
  else
    Status.Type = GeFileStatus::Kind::Other;
  Status.Device = static_cast<std::uint64_t>(Info.st_dev);
  Status.Inode = static_cast<std::uint64_t>(Info.st_ino);
  return Status;
}

/// 0, or errno after a call that answered Result.
int Outcome(int Result) { return Result == 0 ? 0 : errno; }

} // namespace

int GeRealDisk::Stat(const std::string &Path, GeFileStatus &Status) {
  struct stat Info;
  if (::stat(Path.c_str(), &Info) != 0)
    return errno;
  Status = StatusOf(Info);
  return 0;
}

int GeRealDisk::LStat(const std::string &Path, GeFileStatus &Status) {
  struct stat Info;
  if (::lstat(Path.c_str(), &Info) != 0)
    return errno;
  Status = StatusOf(Info);
  return 0;
}

int GeRealDisk::StatHandle(int Handle, GeFileStatus &Status) {
  struct stat Info;
  if (::fstat(Handle, &Info) != 0)
    return errno;
  Status = StatusOf(Info);
  return 0;
}

int GeRealDisk::ReadLink(const std::string &Path, std::string &Text) {
  std::vector<char> Buffer(256);
  for (;;) {
    const ssize_t Size = ::readlink(Path.c_str(), Buffer.data(), Buffer.size());
    if (Size < 0)
      return errno;
    // A text that fills the buffer may have been cut short.
    if (static_cast<std::size_t>(Size) < Buffer.size()) {
      Text.assign(Buffer.data(), static_cast<std::size_t>(Size));
      return 0;
    }
    Buffer.resize(Buffer.size() * 2);
  }
}

int GeRealDisk::OpenRead(const std::string &Path, int &Handle) {
  const int Opened = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
  if (Opened < 0)
    return errno;
  Handle = Opened;
  return 0;
}

int GeRealDisk::OpenWrite(const std::string &Path, GeWriteMode Mode,
                          int &Handle) {
  int Flags = O_WRONLY | O_CREAT | O_CLOEXEC;
  switch (Mode) {
  case GeWriteMode::Truncate:
    Flags |= O_TRUNC;
    break;
  case GeWriteMode::Append:
    Flags |= O_APPEND;
    break;
  case GeWriteMode::CreateExclusive:
    Flags |= O_EXCL;
    break;
  }
  const int Opened = ::open(Path.c_str(), Flags, 0666);
  if (Opened < 0)
    return errno;
  Handle = Opened;
  return 0;
}

int GeRealDisk::Read(int Handle, char *Data, std::size_t Size,
                     std::size_t &Got) {
  for (;;) {
    const ssize_t Result = ::read(Handle, Data, Size);
    if (Result >= 0) {
      Got = static_cast<std::size_t>(Result);
      return 0;
    }
    if (errno != EINTR)
      return errno;
  }
}

int GeRealDisk::Write(int Handle, const char *Data, std::size_t Size) {
  while (Size > 0) {
    const ssize_t Written = ::write(Handle, Data, Size);
    if (Written < 0) {
      if (errno == EINTR)
        continue;
      return errno;
    }
    Data += Written;
    Size -= static_cast<std::size_t>(Written);
  }
  return 0;
}

int GeRealDisk::Close(int Handle) { return Outcome(::close(Handle)); }

int GeRealDisk::Rename(const std::string &From, const std::string &To) {
  return Outcome(::rename(From.c_str(), To.c_str()));
}

int GeRealDisk::Remove(const std::string &Path) {
  return Outcome(::unlink(Path.c_str()));
}

GeDiskInterface &GeDefaultDisk() {
  // Never destroyed: files abandoned by exit-time handlers still close and
  // remove theirs through it after the static objects are gone.
  static GeRealDisk &Disk = *new GeRealDisk();
  return Disk;
}

namespace {
/// The buffer of a file stream of the C++ library holds BUFSIZ bytes, one of
/// which it keeps for the character that overflows it.
constexpr std::size_t WriteBufferSize = BUFSIZ;
} // namespace

GeDiskWriteBuf::GeDiskWriteBuf(GeDiskInterface &TheDisk, int FileHandle)
    : Disk(TheDisk), Handle(FileHandle), Buffer(new char[WriteBufferSize]) {
  setp(Buffer.get(), Buffer.get() + WriteBufferSize - 1);
}

GeDiskWriteBuf::~GeDiskWriteBuf() {
  if (Handle >= 0)
    Disk.Close(std::exchange(Handle, -1));
}

bool GeDiskWriteBuf::WriteOut() {
  if (Failure != 0)
    return false;
  const auto Size = static_cast<std::size_t>(pptr() - pbase());
  if (Size != 0)
    Failure = Disk.Write(Handle, pbase(), Size);
  setp(Buffer.get(), Buffer.get() + WriteBufferSize - 1);
  return Failure == 0;
}

GeDiskWriteBuf::int_type GeDiskWriteBuf::overflow(int_type Ch) {
  if (Handle < 0)
    return traits_type::eof();
  if (!traits_type::eq_int_type(Ch, traits_type::eof())) {
    // The put area leaves room for this one character.
    *pptr() = traits_type::to_char_type(Ch);
    pbump(1);
  }
  if (!WriteOut())
    return traits_type::eof();
  return traits_type::not_eof(Ch);
}

int GeDiskWriteBuf::sync() {
  if (Handle < 0)
    return -1;
  return WriteOut() ? 0 : -1;
}

int GeDiskWriteBuf::Close() {
  if (Handle < 0)
    return EBADF;
  WriteOut();
  // Nothing more is taken in: every later write overflows and fails.
  setp(nullptr, nullptr);
  const int Closed = Disk.Close(std::exchange(Handle, -1));
  return Failure != 0 ? Failure : Closed;
}

GeDiskOutStream::GeDiskOutStream(GeDiskInterface &Disk, int Handle)
    : std::ostream(nullptr), Buf(Disk, Handle) {
  rdbuf(&Buf);
}

void GeDiskOutStream::Close() {
  if (Buf.Close() != 0)
    setstate(std::ios_base::failbit);
}

// An in-memory disk for tests.
#include "tests/support/GeFakeDisk.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {
/// The folder part of Path, "." for a bare name.
std::string FolderOf(const std::string &Path) {
  const std::size_t Slash = Path.rfind('/');
  if (Slash == std::string::npos)
    return ".";
  return Slash == 0 ? "/" : Path.substr(0, Slash);
}
} // namespace

GeFakeDisk::Node &GeFakeDisk::Add(const std::string &Path,
                                  GeFileStatus::Kind Type) {
  Node &File = Files[Path];
  File = Node();
  File.Type = Type;
  File.Inode = NextInode++;
  return File;
}

void GeFakeDisk::AddFile(const std::string &Path,
                         const std::string &Contents) {
  Add(Path, GeFileStatus::Kind::Regular).Contents = Contents;
}

void GeFakeDisk::AddFolder(const std::string &Path) {
  Add(Path, GeFileStatus::Kind::Directory);
}

void GeFakeDisk::AddDevice(const std::string &Path,
                           const std::string &Contents) {
  Add(Path, GeFileStatus::Kind::Other).Contents = Contents;
}

void GeFakeDisk::AddLink(const std::string &Path, const std::string &Text) {
  Add(Path, GeFileStatus::Kind::Link).LinkText = Text;
}

bool GeFakeDisk::Exists(const std::string &Path) const {
  return Files.count(Path) != 0;
}

std::string GeFakeDisk::Contents(const std::string &Path) const {
  auto Found = Files.find(Path);
  return Found == Files.end() ? std::string() : Found->second.Contents;
}

std::vector<std::string> GeFakeDisk::Names() const {
  std::vector<std::string> All;
  for (const auto &Entry : Files)
    All.push_back(Entry.first);
  return All;
}

void GeFakeDisk::FailWrite(unsigned N, int Error) {
  FailingWrite = Writes + N;
  WriteError = Error;
}

void GeFakeDisk::FailOpen(const std::string &Path, int Error) {
  FailingOpens[Path] = Error;
}

void GeFakeDisk::FailCreateIn(const std::string &Folder, int Error) {
  FailingFolders[Folder] = Error;
}

void GeFakeDisk::FailRename(int Error) { RenameError = Error; }

void GeFakeDisk::FailClose(int Error) { CloseError = Error; }

std::string GeFakeDisk::Resolve(const std::string &Path, int &Error) const {
  std::string Current = Path;
  for (int Links = 0; Links <= 40; ++Links) {
    auto Found = Files.find(Current);
    if (Found == Files.end() || Found->second.Type != GeFileStatus::Kind::Link)
      return Current;
    const std::string &Text = Found->second.LinkText;
    if (!Text.empty() && Text[0] == '/')
      Current = Text;
    else if (Current.find('/') == std::string::npos)
      Current = Text;
    else
      Current = FolderOf(Current) + "/" + Text;
  }
  Error = ELOOP;
  return std::string();
}

GeFileStatus GeFakeDisk::StatusOf(const Node &File) {
  GeFileStatus Status;
  Status.Type = File.Type;
  Status.Device = 1;
  Status.Inode = File.Inode;
  return Status;
}

int GeFakeDisk::LStat(const std::string &Path, GeFileStatus &Status) {
  if (Path == ".") {
    Status = GeFileStatus{GeFileStatus::Kind::Directory, 1, 0};
    return 0;
  }
  auto Found = Files.find(Path);
  if (Found == Files.end())
    return ENOENT;
  Status = StatusOf(Found->second);
  return 0;
}

int GeFakeDisk::Stat(const std::string &Path, GeFileStatus &Status) {
  int Error = 0;
  const std::string Reached = Resolve(Path, Error);
  if (Error != 0)
    return Error;
  return LStat(Reached, Status);
}

int GeFakeDisk::StatHandle(int Handle, GeFileStatus &Status) {
  auto Open = Handles.find(Handle);
  if (Open == Handles.end())
    return EBADF;
  auto Found = Files.find(Open->second.Path);
  if (Found == Files.end()) {
    // Removed while open: the file lives on without a name.
    Status = GeFileStatus{GeFileStatus::Kind::Regular, 1, 0};
    return 0;
  }
  Status = StatusOf(Found->second);
  return 0;
}

int GeFakeDisk::ReadLink(const std::string &Path, std::string &Text) {
  auto Found = Files.find(Path);
  if (Found == Files.end())
    return ENOENT;
  if (Found->second.Type != GeFileStatus::Kind::Link)
    return EINVAL;
  Text = Found->second.LinkText;
  return 0;
}

int GeFakeDisk::OpenRead(const std::string &Path, int &Handle) {
  auto Failing = FailingOpens.find(Path);
  if (Failing != FailingOpens.end())
    return Failing->second;
  int Error = 0;
  const std::string Reached = Resolve(Path, Error);
  if (Error != 0)
    return Error;
  if (Reached != "." && Files.count(Reached) == 0)
    return ENOENT;
  Handle = NextHandle++;
  Handles[Handle] = OpenFile{Reached, false, false, 0};
  return 0;
}

int GeFakeDisk::OpenWrite(const std::string &Path, GeWriteMode Mode,
                          int &Handle) {
  auto Failing = FailingOpens.find(Path);
  if (Failing != FailingOpens.end())
    return Failing->second;
  if (Mode == GeWriteMode::CreateExclusive && Exists(Path))
    return EEXIST;
  int Error = 0;
  const std::string Reached = Resolve(Path, Error);
  if (Error != 0)
    return Error;
  if (Reached == ".")
    return EISDIR;
  auto Found = Files.find(Reached);
  if (Found == Files.end()) {
    const std::string Folder = FolderOf(Reached);
    if (Folder != "." && Folder != "/" && Files.count(Folder) == 0)
      return ENOENT;
    auto Refusing = FailingFolders.find(Folder);
    if (Refusing != FailingFolders.end())
      return Refusing->second;
    Add(Reached, GeFileStatus::Kind::Regular);
  } else if (Found->second.Type == GeFileStatus::Kind::Directory) {
    return EISDIR;
  } else if (Mode == GeWriteMode::Truncate &&
             Found->second.Type == GeFileStatus::Kind::Regular) {
    Found->second.Contents.clear();
  }
  Handle = NextHandle++;
  Handles[Handle] =
      OpenFile{Reached, true, Mode == GeWriteMode::Append, 0};
  return 0;
}

int GeFakeDisk::Read(int Handle, char *Data, std::size_t Size,
                     std::size_t &Got) {
  ReadRequests.push_back(Size);
  auto Open = Handles.find(Handle);
  if (Open == Handles.end() || Open->second.Writing)
    return EBADF;
  auto Found = Files.find(Open->second.Path);
  if (Found != Files.end() &&
      Found->second.Type == GeFileStatus::Kind::Directory)
    return EISDIR;
  if (Found != Files.end() && Found->second.Type == GeFileStatus::Kind::Other) {
    std::string &Fed = Found->second.Contents;
    Got = std::min(Size, Fed.size());
    std::memcpy(Data, Fed.data(), Got);
    Fed.erase(0, Got);
    return 0;
  }
  const std::string Text =
      Found == Files.end() ? std::string() : Found->second.Contents;
  const std::size_t At = std::min(Open->second.Position, Text.size());
  Got = std::min(Size, Text.size() - At);
  std::memcpy(Data, Text.data() + At, Got);
  Open->second.Position = At + Got;
  return 0;
}

int GeFakeDisk::Write(int Handle, const char *Data, std::size_t Size) {
  ++Writes;
  if (Writes == FailingWrite)
    return WriteError;
  auto Open = Handles.find(Handle);
  if (Open == Handles.end() || !Open->second.Writing)
    return EBADF;
  auto Found = Files.find(Open->second.Path);
  // A file removed while open takes the bytes and keeps them nowhere.
  if (Found == Files.end())
    return 0;
  std::string &Text = Found->second.Contents;
  if (Open->second.Appending || Found->second.Type != GeFileStatus::Kind::Regular)
    Open->second.Position = Text.size();
  Text.replace(std::min(Open->second.Position, Text.size()), Size, Data,
               Size);
  Open->second.Position += Size;
  return 0;
}

int GeFakeDisk::Close(int Handle) {
  if (Handles.erase(Handle) == 0)
    return EBADF;
  return CloseError;
}

int GeFakeDisk::Rename(const std::string &From, const std::string &To) {
  if (RenameError != 0)
    return std::exchange(RenameError, 0);
  auto Found = Files.find(From);
  if (Found == Files.end())
    return ENOENT;
  Node Moved = Found->second;
  Files.erase(Found);
  Files[To] = Moved;
  // Handles open on the old name now reach the file under the new one.
  for (auto &Open : Handles)
    if (Open.second.Path == From)
      Open.second.Path = To;
  return 0;
}

int GeFakeDisk::Remove(const std::string &Path) {
  auto Found = Files.find(Path);
  if (Found == Files.end())
    return ENOENT;
  if (Found->second.Type == GeFileStatus::Kind::Directory)
    return EISDIR;
  Files.erase(Found);
  return 0;
}

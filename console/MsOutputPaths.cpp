// What output paths name: devices, chains of symbolic links, and whether
// two paths name the same file.
#include "console/MsOutputStream.h"

#include <boost/filesystem/path.hpp>

#include <cerrno>

namespace fs = boost::filesystem;

bool MsOutputStream::IsSpecialFile(const std::string &Path,
                                   GeDiskInterface &Disk) {
  GeFileStatus Status;
  return Disk.Stat(Path, Status) == 0 &&
         Status.Type != GeFileStatus::Kind::Regular &&
         Status.Type != GeFileStatus::Kind::Directory;
}

std::string MsOutputStream::FollowLinks(const std::string &Path,
                                        GeDiskInterface &Disk) {
  // The limit the system itself applies to a chain of links.
  constexpr int MaxLinks = 40;
  fs::path Current(Path);
  for (int Links = 0; Links <= MaxLinks; ++Links) {
    GeFileStatus Status;
    if (Disk.LStat(Current.string(), Status) != 0 ||
        Status.Type != GeFileStatus::Kind::Link)
      return Current.string();
    std::string LinkText;
    if (Disk.ReadLink(Current.string(), LinkText) != 0)
      return Current.string();
    const fs::path Text(LinkText);
    Current = Text.is_absolute() ? Text : Current.parent_path() / Text;
  }
  return std::string();
}

namespace {

/// What a path names, for telling whether two paths name the same file.
struct FileIdentity {
  std::uint64_t Device = 0;
  std::uint64_t Inode = 0;
  /// Empty for an existing file; else the last component of the name, the
  /// device and inode being those of its folder.
  std::string Name;

  bool operator==(const FileIdentity &Other) const {
    return Device == Other.Device && Inode == Other.Inode && Name == Other.Name;
  }
};

bool Identify(GeDiskInterface &Disk, const std::string &Path,
              FileIdentity &Identity) {
  if (Path.empty())
    return false;
  GeFileStatus Info;
  const int Error = Disk.Stat(Path, Info);
  if (Error == 0) {
    Identity = FileIdentity{Info.Device, Info.Inode, std::string()};
    return true;
  }
  if (Error != ENOENT)
    return false;
  const fs::path Followed(MsOutputStream::FollowLinks(Path, Disk));
  if (Followed.empty())
    return false;
  std::string Folder = Followed.parent_path().string();
  if (Folder.empty())
    Folder = ".";
  if (Disk.Stat(Folder, Info) != 0 ||
      Info.Type != GeFileStatus::Kind::Directory)
    return false;
  Identity =
      FileIdentity{Info.Device, Info.Inode, Followed.filename().string()};
  return true;
}

} // namespace

bool MsOutputStream::SameFile(const std::string &A, const std::string &B,
                              GeDiskInterface &Disk) {
  FileIdentity First, Second;
  return Identify(Disk, A, First) && Identify(Disk, B, Second) &&
         First == Second;
}

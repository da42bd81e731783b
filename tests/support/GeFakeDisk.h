// An in-memory disk for tests: files in a map, and failures planned ahead so
// that every error path of code that writes files can be taken in-process.
#ifndef TESTS_SUPPORT_GEFAKEDISK_H
#define TESTS_SUPPORT_GEFAKEDISK_H

#include "general/GeDisk.h"

#include <cerrno>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A disk that keeps its files in memory. Names are compared as they are
/// spelt (no folder of the real disk is looked at): "." is always a folder,
/// other folders exist once AddFolder made them. A link's text is followed
/// like the system does, a relative text from the link's folder. Failures
/// are planned with the Fail* operations and strike deterministically: the
/// Nth write, every open of one name, the next rename, every close. Handles
/// count up from 3; a handle left open is visible through OpenHandles().
class GeFakeDisk : public GeDiskInterface {
public:
  /// Files and their kinds.
  void AddFile(const std::string &Path, const std::string &Contents);
  void AddFolder(const std::string &Path);
  /// A device: it exists, is neither a file nor a folder, and reads as
  /// Contents, which reading uses up, as with a pipe: a second open reads
  /// only what the first left. It keeps what is written to it and is never
  /// removed by writing it.
  void AddDevice(const std::string &Path, const std::string &Contents = "");
  void AddLink(const std::string &Path, const std::string &Text);

  /// Whether anything (a dangling link too) has the name Path.
  bool Exists(const std::string &Path) const;
  /// The contents of the file or device Path; empty when there is none.
  std::string Contents(const std::string &Path) const;
  /// Every name on the disk, in order.
  std::vector<std::string> Names() const;
  std::size_t OpenHandles() const { return Handles.size(); }
  /// How many Write calls the disk has seen.
  unsigned WriteCalls() const { return Writes; }
  /// The Size of every Read call the disk has seen, in order.
  const std::vector<std::size_t> &ReadSizes() const { return ReadRequests; }

  /// The Nth Write call from now (1: the next) fails with Error, writing
  /// nothing.
  void FailWrite(unsigned N, int Error = ENOSPC);
  /// Every OpenRead and OpenWrite of Path fails with Error.
  void FailOpen(const std::string &Path, int Error = EACCES);
  /// Every OpenWrite that would create a file in Folder fails with Error,
  /// as in a folder the user may not write.
  void FailCreateIn(const std::string &Folder, int Error = EACCES);
  /// The next Rename fails with Error, changing nothing.
  void FailRename(int Error = EXDEV);
  /// Every Close fails with Error (the handle is gone all the same).
  void FailClose(int Error = EIO);

  int Stat(const std::string &Path, GeFileStatus &Status) override;
  int LStat(const std::string &Path, GeFileStatus &Status) override;
  int StatHandle(int Handle, GeFileStatus &Status) override;
  int ReadLink(const std::string &Path, std::string &Text) override;
  int OpenRead(const std::string &Path, int &Handle) override;
  int OpenWrite(const std::string &Path, GeWriteMode Mode,
                int &Handle) override;
  int Read(int Handle, char *Data, std::size_t Size,
           std::size_t &Got) override;
  int Write(int Handle, const char *Data, std::size_t Size) override;
  int Close(int Handle) override;
  int Rename(const std::string &From, const std::string &To) override;
  int Remove(const std::string &Path) override;

private:
  struct Node {
    GeFileStatus::Kind Type = GeFileStatus::Kind::Regular;
    std::string Contents;
    std::string LinkText;
    std::uint64_t Inode = 0;
  };
  struct OpenFile {
    std::string Path;
    bool Writing = false;
    bool Appending = false;
    std::size_t Position = 0;
  };

  Node &Add(const std::string &Path, GeFileStatus::Kind Type);
  /// The name Path leads to once its links are followed; sets Error to
  /// ELOOP after 40 links.
  std::string Resolve(const std::string &Path, int &Error) const;
  static GeFileStatus StatusOf(const Node &File);

  std::map<std::string, Node> Files;
  std::map<int, OpenFile> Handles;
  int NextHandle = 3;
  std::uint64_t NextInode = 1;
  unsigned Writes = 0;
  std::vector<std::size_t> ReadRequests;
  unsigned FailingWrite = 0;
  int WriteError = 0;
  std::map<std::string, int> FailingOpens;
  std::map<std::string, int> FailingFolders;
  int RenameError = 0;
  int CloseError = 0;
};

#endif

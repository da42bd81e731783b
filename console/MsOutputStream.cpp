// Output files: temporary-then-rename files, volatile files and the console.
// What a path names (links, devices, the same file) is in MsOutputPaths.cpp.
#include "console/MsOutputStream.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "console/MsTempFileRegistry.h"
#include "general/GeInternalFailure.h"

#include <boost/filesystem/path.hpp>

#include <cerrno>
#include <chrono>
#include <iostream>
#include <new>
#include <random>
#include <sstream>
#include <stdexcept>

#include <unistd.h>

namespace fs = boost::filesystem;

MsOutputStream::OutFile::~OutFile() = default;

namespace {

constexpr char NameCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                  "abcdefghijklmnopqrstuvwxyz"
                                  "0123456789";
constexpr unsigned NameCharacterCount = sizeof NameCharacters - 1;
constexpr int NameLength = 8;
constexpr char TempExtension[] = ".tmp";

/// The process-wide generator of temporary names, seeded on first use.
std::mt19937 &Generator() {
  static std::mt19937 Engine([] {
    auto Now = std::chrono::system_clock::now().time_since_epoch().count();
    return static_cast<std::mt19937::result_type>(Now) ^
           static_cast<std::mt19937::result_type>(::getpid());
  }());
  return Engine;
}

/// Whether anything, even a dangling link, has the name Path.
bool NameExists(GeDiskInterface &Disk, const std::string &Path) {
  GeFileStatus Status;
  return Disk.LStat(Path, Status) == 0;
}

/// Owns a file name: removes the file when destroyed while it still owns it.
/// While it owns the name, the name is listed in MsTempFileRegistry, so that
/// a signal that ends the process removes the file too.
class RemoveGuard {
public:
  RemoveGuard() = default;
  /// Takes over FilePath, which the caller has just made on Disk; call it
  /// inside a MsTempFileRegistry::SignalBlock together with the making of
  /// the file. When the registry cannot list the name, the file is removed
  /// and the exception passed on.
  RemoveGuard(GeDiskInterface &FileDisk, std::string FilePath)
      : Disk(&FileDisk), Path(std::move(FilePath)) {
    try {
      MsTempFileRegistry::Add(Path);
    } catch (...) {
      Disk->Remove(Path);
      throw;
    }
    Owning = true;
  }
  RemoveGuard(RemoveGuard &&Other) noexcept
      : Disk(Other.Disk), Path(std::move(Other.Path)), Owning(Other.Owning) {
    Other.Owning = false;
  }
  RemoveGuard &operator=(RemoveGuard &&Other) noexcept {
    if (this != &Other) {
      RemoveNow();
      Disk = Other.Disk;
      Path = std::move(Other.Path);
      Owning = Other.Owning;
      Other.Owning = false;
    }
    return *this;
  }
  RemoveGuard(const RemoveGuard &) = delete;
  RemoveGuard &operator=(const RemoveGuard &) = delete;
  ~RemoveGuard() { RemoveNow(); }

  const std::string &FilePath() const { return Path; }
  /// Gives up the ownership: the file stays.
  void Release() {
    if (!Owning)
      return;
    Owning = false;
    MsTempFileRegistry::Remove(Path);
  }

private:
  void RemoveNow() noexcept {
    if (!Owning)
      return;
    Owning = false;
    MsTempFileRegistry::SignalBlock Block;
    Disk->Remove(Path);
    MsTempFileRegistry::Remove(Path);
  }

  GeDiskInterface *Disk = nullptr;
  std::string Path;
  bool Owning = false;
};

/// What the kinds share: the console, the target path and the report of a
/// failure.
class FileBase : public MsOutputStream::OutFile {
public:
  FileBase(MsConsole &TheConsole, std::string Target)
      : Console(TheConsole), TargetPath(std::move(Target)) {}
  const std::string &Path() const override { return TargetPath; }

protected:
  void Report(MsMessageNumber Number) {
    Console.Report(MsMakeTag(Number), MsConsole::ErrorFixed, TargetPath);
  }

  /// Runs Steps (which answers whether the file was written) once; the
  /// answer of later calls is the first one's. Anything Steps throws but
  /// MsConsoleException and std::bad_alloc is reported as Ms005.
  template <class F> bool CloseOnce(F Steps) {
    if (Closed)
      return Written;
    Closed = true;
    try {
      Written = Steps();
    } catch (const MsConsoleException &) {
      throw;
    } catch (const std::bad_alloc &) {
      throw;
    } catch (const std::exception &) {
      Written = false;
      Report(MsMsgCloseProblem);
    }
    return Written;
  }

  MsConsole &Console;
  std::string TargetPath;
  bool Closed = false;
  bool Written = false;
};

/// A file of the Temp or Volatile kind: a stream on a file opened on the
/// disk, and the guard of the file that has to go after a failure (none for
/// a target written in place). Text and binary mode write the same bytes on
/// this system.
class DiskFile : public FileBase {
public:
  DiskFile(MsConsole &TheConsole, GeDiskInterface &FileDisk,
           const std::string &Target)
      : FileBase(TheConsole, Target), Disk(FileDisk) {}

  std::ostream &Stream() override { return *Out; }

  bool Close() override {
    return CloseOnce([this] {
      // Taken over, so that the file goes whatever happens below: the stream
      // is closed first, then the guard removes the file unless it was
      // released.
      RemoveGuard Owned(std::move(Guard));
      if (!FinishStream())
        return false;
      if (!Keep(Owned)) {
        Report(MsMsgCloseProblem);
        return false;
      }
      Console.NotifyOutputFileWritten(TargetPath);
      return true;
    });
  }

protected:
  /// Opens Path for writing, truncated; throws "open failed" when it cannot
  /// be opened.
  void OpenStream(const std::string &Path) {
    int Handle = -1;
    if (Disk.OpenWrite(Path, GeWriteMode::Truncate, Handle) != 0)
      throw std::runtime_error("open failed");
    Adopt(Handle);
  }

  /// Makes the stream on Handle, which it closes if that fails.
  void Adopt(int Handle) {
    try {
      Out = std::make_unique<GeDiskOutStream>(Disk, Handle);
    } catch (...) {
      Disk.Close(Handle);
      throw;
    }
  }

  /// Makes the file that was written well the target; Owned is the guard
  /// taken over from Guard. Answers false when that fails.
  virtual bool Keep(RemoveGuard &Owned) = 0;

  GeDiskInterface &Disk;
  RemoveGuard Guard;
  std::unique_ptr<GeDiskOutStream> Out;

private:
  /// Checks, flushes and closes the stream: a stream that failed while
  /// writing is reported as Ms004, a failed flush or close as Ms005. Answers
  /// whether all went well.
  bool FinishStream() {
    if (Out->fail()) {
      Report(MsMsgWriteProblem);
      Out->Close();
      return false;
    }
    Out->flush();
    if (!Out->good()) {
      Report(MsMsgCloseProblem);
      Out->Close();
      return false;
    }
    Out->Close();
    if (Out->fail()) {
      Report(MsMsgCloseProblem);
      return false;
    }
    return true;
  }
};

/// Writes into a temporary file next to the file the target leads to and
/// renames it onto that file on success. A special target (a device) is
/// written in place.
class TempFile : public DiskFile {
public:
  TempFile(MsConsole &TheConsole, GeDiskInterface &FileDisk,
           const std::string &Target)
      : DiskFile(TheConsole, FileDisk, Target) {
    if (WrittenInPlace(Target)) {
      OpenStream(Target);
    } else {
      Adopt(CreateTemporary());
    }
  }

private:
  /// Whether Target is written in place; if not, sets Destination to the
  /// file that the temporary file replaces. Throws "open failed" for a loop
  /// of links.
  bool WrittenInPlace(const std::string &Target) {
    GeFileStatus Seen;
    const bool Exists = Disk.Stat(Target, Seen) == 0;
    if (Exists && Seen.Type != GeFileStatus::Kind::Regular)
      return true;
    Destination = MsOutputStream::FollowLinks(Target, Disk);
    if (Destination.empty())
      throw std::runtime_error("open failed");
    if (!Exists)
      return false;
    // Following the links by name must reach the file the system reached;
    // a link whose text is no path (/proc/self/fd/1 of a deleted file) does
    // not, and the file is then written in place.
    GeFileStatus Reached;
    return Disk.LStat(Destination, Reached) != 0 ||
           Reached.Type != GeFileStatus::Kind::Regular ||
           Reached.Device != Seen.Device || Reached.Inode != Seen.Inode;
  }

  /// Creates a new empty temporary file next to Destination, under a name
  /// that no file had, sets Guard to it and answers its open handle. No
  /// signal falls between the creation and the listing of the name.
  int CreateTemporary() {
    const std::string Folder = fs::path(Destination).parent_path().string();
    for (;;) {
      std::string Candidate = MsOutputStream::TempFilePath(Folder, Disk);
      MsTempFileRegistry::SignalBlock Block;
      int Handle = -1;
      const int Error =
          Disk.OpenWrite(Candidate, GeWriteMode::CreateExclusive, Handle);
      if (Error == 0) {
        try {
          Guard = RemoveGuard(Disk, std::move(Candidate));
        } catch (...) {
          Disk.Close(Handle);
          throw;
        }
        return Handle;
      }
      // Someone took the name between the check and the creation.
      if (Error != EEXIST)
        throw std::runtime_error("open failed");
    }
  }

  /// Renames the temporary file onto the destination in one step, so that
  /// the destination is never missing; a failed rename leaves it as it was.
  /// Releases the guard on success. A target written in place has nothing
  /// to rename.
  bool Keep(RemoveGuard &Temporary) override {
    if (Temporary.FilePath().empty())
      return true;
    MsTempFileRegistry::SignalBlock Block;
    if (Disk.Rename(Temporary.FilePath(), Destination) != 0)
      return false;
    Temporary.Release();
    return true;
  }

  std::string Destination;
};

/// Writes the target in place, after removing the old one; removes it again
/// when writing fails. A special target (a device) is neither removed
/// before nor after.
class VolatileFile : public DiskFile {
public:
  VolatileFile(MsConsole &TheConsole, GeDiskInterface &FileDisk,
               const std::string &Target)
      : DiskFile(TheConsole, FileDisk, Target) {
    if (MsOutputStream::IsSpecialFile(Target, Disk)) {
      OpenStream(Target);
      return;
    }
    MsTempFileRegistry::SignalBlock Block;
    Disk.Remove(Target);
    OpenStream(Target);
    Guard = RemoveGuard(Disk, Target);
  }

private:
  bool Keep(RemoveGuard &Target) override {
    Target.Release();
    return true;
  }
};

/// Gathers the text in memory and writes it to standard output when it is
/// closed, so that it comes after whatever the run writes there meanwhile,
/// and a file given up without Close writes nothing. A failure is seen by
/// this file alone.
class ConsoleFile : public FileBase {
public:
  ConsoleFile(MsConsole &TheConsole, const std::string &Name)
      : FileBase(TheConsole, Name), Destination(std::cout.rdbuf()) {}

  std::ostream &Stream() override { return Text; }

  bool Close() override {
    return CloseOnce([this] {
      const bool Gathered = !Text.fail();
      const std::string Bytes = Text.str();
      Text.str(std::string());
      Text.setstate(std::ios_base::badbit);
      if (!Gathered || !WriteAll(Bytes)) {
        Report(MsMsgWriteProblem);
        return false;
      }
      return true;
    });
  }

private:
  /// Hands Bytes to standard output and flushes it; answers whether every
  /// byte got there.
  bool WriteAll(const std::string &Bytes) {
    if (!Destination)
      return false;
    const auto Size = static_cast<std::streamsize>(Bytes.size());
    return Destination->sputn(Bytes.data(), Size) == Size &&
           Destination->pubsync() == 0;
  }

  std::streambuf *Destination;
  std::ostringstream Text;
};

} // namespace

std::unique_ptr<MsOutputStream::OutFile>
MsOutputStream::Open(MsConsole &Console, Kind K, const std::string &Path,
                     Mode M) {
  return Open(Console, Console.Disk(), K, Path, M);
}

std::unique_ptr<MsOutputStream::OutFile>
MsOutputStream::Open(MsConsole &Console, GeDiskInterface &Disk, Kind K,
                     const std::string &Path, Mode M) {
  if (K == Kind::Console) {
    if (M != Mode::Text)
      GeInternalFailure("MsOutputStream: console opened in non-text mode");
    return std::make_unique<ConsoleFile>(Console, Path);
  }
  if (Path == "-")
    return std::make_unique<ConsoleFile>(Console, Path);
  GeFileStatus Status;
  if (Path.empty() || (Disk.Stat(Path, Status) == 0 &&
                       Status.Type == GeFileStatus::Kind::Directory)) {
    Console.Report(MsMakeTag(MsMsgIllegalPath), MsConsole::ErrorFixed, Path);
    return nullptr;
  }
  try {
    if (K == Kind::Temp)
      return std::make_unique<TempFile>(Console, Disk, Path);
    return std::make_unique<VolatileFile>(Console, Disk, Path);
  } catch (const std::runtime_error &) {
    Console.Report(MsMakeTag(MsMsgCannotWrite), MsConsole::ErrorFixed, Path);
    return nullptr;
  }
}

std::string MsOutputStream::TempFilePath(const std::string &Folder,
                                         GeDiskInterface &Disk) {
  std::mt19937 &Engine = Generator();
  const fs::path Base(Folder);
  for (;;) {
    std::string Name(NameLength, ' ');
    for (char &Ch : Name)
      Ch = NameCharacters[Engine() % NameCharacterCount];
    Name += TempExtension;
    std::string Candidate = Folder.empty() ? Name : (Base / Name).string();
    if (!NameExists(Disk, Candidate))
      return Candidate;
  }
}

void MsOutputStream::SeedGenerator(std::uint32_t Seed) {
  Generator().seed(Seed);
}

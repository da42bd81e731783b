// Output files: temporary-then-rename files, volatile files and the console.
#include "console/MsOutputStream.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "console/MsTempFileRegistry.h"
#include "general/GeInternalFailure.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <new>
#include <random>
#include <sstream>
#include <stdexcept>

#include <sys/stat.h>
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

std::ios_base::openmode OpenMode(MsOutputStream::Mode M) {
  std::ios_base::openmode Flags = std::ios_base::out | std::ios_base::trunc;
  if (M == MsOutputStream::Mode::Binary)
    Flags |= std::ios_base::binary;
  return Flags;
}

/// Whether anything, even a dangling link, has the name Path.
bool NameExists(const std::string &Path) {
  boost::system::error_code Error;
  return fs::exists(fs::symlink_status(Path, Error));
}

/// Owns a file name: removes the file when destroyed while it still owns it.
/// While it owns the name, the name is listed in MsTempFileRegistry, so that
/// a signal that ends the process removes the file too.
class RemoveGuard {
public:
  RemoveGuard() = default;
  /// Takes over FilePath, which the caller has just made; call it inside a
  /// MsTempFileRegistry::SignalBlock together with the making of the file.
  /// When the registry cannot list the name, the file is removed and the
  /// exception passed on.
  explicit RemoveGuard(std::string FilePath) : Path(std::move(FilePath)) {
    try {
      MsTempFileRegistry::Add(Path);
    } catch (...) {
      ::unlink(Path.c_str());
      throw;
    }
    Owning = true;
  }
  RemoveGuard(RemoveGuard &&Other) noexcept
      : Path(std::move(Other.Path)), Owning(Other.Owning) {
    Other.Owning = false;
  }
  RemoveGuard &operator=(RemoveGuard &&Other) noexcept {
    if (this != &Other) {
      RemoveNow();
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
    ::unlink(Path.c_str());
    MsTempFileRegistry::Remove(Path);
  }

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

  /// Checks, flushes and closes Taken: a stream that failed while writing
  /// is reported as Ms004, a failed flush or close as Ms005. Answers whether
  /// all went well.
  bool FinishStream(std::ofstream &Taken) {
    if (Taken.fail()) {
      Report(MsMsgWriteProblem);
      Taken.close();
      return false;
    }
    Taken.flush();
    if (!Taken.good()) {
      Report(MsMsgCloseProblem);
      return false;
    }
    Taken.close();
    if (Taken.fail()) {
      Report(MsMsgCloseProblem);
      return false;
    }
    return true;
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

/// Writes into a temporary file next to the file the target leads to and
/// renames it onto that file on success. A special target (a device) is
/// written in place.
class TempFile : public FileBase {
public:
  TempFile(MsConsole &TheConsole, const std::string &Target,
           MsOutputStream::Mode M)
      : FileBase(TheConsole, Target) {
    if (WrittenInPlace(Target, Destination)) {
      Out.open(Target, OpenMode(M));
    } else {
      Guard = CreateTemporary(Destination);
      Out.open(Guard.FilePath(), OpenMode(M));
    }
    if (!Out.good())
      throw std::runtime_error("open failed");
  }

  std::ostream &Stream() override { return Out; }

  bool Close() override {
    return CloseOnce([this] {
      // Taken over, so that the temporary file goes whatever happens below:
      // the stream is closed first, then the guard removes the file unless
      // it was released.
      RemoveGuard Temporary(std::move(Guard));
      std::ofstream Taken(std::move(Out));
      if (!FinishStream(Taken))
        return false;
      if (!Temporary.FilePath().empty() && !Replace(Temporary)) {
        Report(MsMsgCloseProblem);
        return false;
      }
      Console.NotifyOutputFileWritten(TargetPath);
      return true;
    });
  }

private:
  /// Whether Target is written in place; if not, sets Destination to the
  /// file that the temporary file replaces. Throws "open failed" for a loop
  /// of links.
  static bool WrittenInPlace(const std::string &Target,
                             std::string &Destination) {
    struct stat Seen;
    const bool Exists = ::stat(Target.c_str(), &Seen) == 0;
    if (Exists && !S_ISREG(Seen.st_mode))
      return true;
    Destination = MsOutputStream::FollowLinks(Target);
    if (Destination.empty())
      throw std::runtime_error("open failed");
    if (!Exists)
      return false;
    // Following the links by name must reach the file the system reached;
    // a link whose text is no path (/proc/self/fd/1 of a deleted file) does
    // not, and the file is then written in place.
    struct stat Reached;
    return ::lstat(Destination.c_str(), &Reached) != 0 ||
           !S_ISREG(Reached.st_mode) || Reached.st_dev != Seen.st_dev ||
           Reached.st_ino != Seen.st_ino;
  }

  /// Creates a new empty temporary file next to Destination, under a name
  /// that no file had, and answers its guard. No signal falls between the
  /// creation and the listing of the name.
  static RemoveGuard CreateTemporary(const std::string &Destination) {
    const std::string Folder = fs::path(Destination).parent_path().string();
    for (;;) {
      std::string Candidate = MsOutputStream::TempFilePath(Folder);
      MsTempFileRegistry::SignalBlock Block;
      int Handle = ::open(Candidate.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (Handle >= 0) {
        ::close(Handle);
        return RemoveGuard(std::move(Candidate));
      }
      // Someone took the name between the check and the creation.
      if (errno != EEXIST)
        throw std::runtime_error("open failed");
    }
  }

  /// Renames the temporary file onto the destination in one step, so that
  /// the destination is never missing; a failed rename leaves it as it was.
  /// Releases the guard on success.
  bool Replace(RemoveGuard &Temporary) {
    MsTempFileRegistry::SignalBlock Block;
    if (::rename(Temporary.FilePath().c_str(), Destination.c_str()) != 0)
      return false;
    Temporary.Release();
    return true;
  }

  RemoveGuard Guard;
  std::string Destination;
  std::ofstream Out;
};

/// Writes the target in place, after removing the old one; removes it again
/// when writing fails. A special target (a device) is neither removed
/// before nor after.
class VolatileFile : public FileBase {
public:
  VolatileFile(MsConsole &TheConsole, const std::string &Target,
               MsOutputStream::Mode M)
      : FileBase(TheConsole, Target) {
    if (MsOutputStream::IsSpecialFile(Target)) {
      Out.open(Target, OpenMode(M));
    } else {
      MsTempFileRegistry::SignalBlock Block;
      ::unlink(Target.c_str());
      Out.open(Target, OpenMode(M));
      if (Out.is_open())
        Guard = RemoveGuard(Target);
    }
    if (!Out.good())
      throw std::runtime_error("open failed");
  }

  std::ostream &Stream() override { return Out; }

  bool Close() override {
    return CloseOnce([this] {
      RemoveGuard Target(std::move(Guard));
      std::ofstream Taken(std::move(Out));
      if (!FinishStream(Taken))
        return false;
      Target.Release();
      Console.NotifyOutputFileWritten(TargetPath);
      return true;
    });
  }

private:
  RemoveGuard Guard;
  std::ofstream Out;
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
  if (K == Kind::Console) {
    if (M != Mode::Text)
      GeInternalFailure("MsOutputStream: console opened in non-text mode");
    return std::make_unique<ConsoleFile>(Console, Path);
  }
  if (Path == "-")
    return std::make_unique<ConsoleFile>(Console, Path);
  boost::system::error_code Error;
  if (Path.empty() || fs::is_directory(Path, Error)) {
    Console.Report(MsMakeTag(MsMsgIllegalPath), MsConsole::ErrorFixed, Path);
    return nullptr;
  }
  try {
    if (K == Kind::Temp)
      return std::make_unique<TempFile>(Console, Path, M);
    return std::make_unique<VolatileFile>(Console, Path, M);
  } catch (const std::runtime_error &) {
    Console.Report(MsMakeTag(MsMsgCannotWrite), MsConsole::ErrorFixed, Path);
    return nullptr;
  }
}

bool MsOutputStream::IsSpecialFile(const std::string &Path) {
  boost::system::error_code Error;
  fs::file_status Status = fs::status(Path, Error);
  return !Error && fs::exists(Status) && !fs::is_regular_file(Status) &&
         !fs::is_directory(Status);
}

std::string MsOutputStream::FollowLinks(const std::string &Path) {
  // The limit the system itself applies to a chain of links.
  constexpr int MaxLinks = 40;
  fs::path Current(Path);
  for (int Links = 0; Links <= MaxLinks; ++Links) {
    struct stat Info;
    if (::lstat(Current.c_str(), &Info) != 0 || !S_ISLNK(Info.st_mode))
      return Current.string();
    boost::system::error_code Error;
    fs::path Text = fs::read_symlink(Current, Error);
    if (Error)
      return Current.string();
    Current = Text.is_absolute() ? Text : Current.parent_path() / Text;
  }
  return std::string();
}

namespace {

/// What a path names, for telling whether two paths name the same file.
struct FileIdentity {
  dev_t Device = 0;
  ino_t Inode = 0;
  /// Empty for an existing file; else the last component of the name, the
  /// device and inode being those of its folder.
  std::string Name;

  bool operator==(const FileIdentity &Other) const {
    return Device == Other.Device && Inode == Other.Inode && Name == Other.Name;
  }
};

bool Identify(const std::string &Path, FileIdentity &Identity) {
  if (Path.empty())
    return false;
  struct stat Info;
  if (::stat(Path.c_str(), &Info) == 0) {
    Identity = FileIdentity{Info.st_dev, Info.st_ino, std::string()};
    return true;
  }
  if (errno != ENOENT)
    return false;
  const fs::path Followed(MsOutputStream::FollowLinks(Path));
  if (Followed.empty())
    return false;
  std::string Folder = Followed.parent_path().string();
  if (Folder.empty())
    Folder = ".";
  if (::stat(Folder.c_str(), &Info) != 0 || !S_ISDIR(Info.st_mode))
    return false;
  Identity =
      FileIdentity{Info.st_dev, Info.st_ino, Followed.filename().string()};
  return true;
}

} // namespace

bool MsOutputStream::SameFile(const std::string &A, const std::string &B) {
  FileIdentity First, Second;
  return Identify(A, First) && Identify(B, Second) && First == Second;
}

std::string MsOutputStream::TempFilePath(const std::string &Folder) {
  std::mt19937 &Engine = Generator();
  const fs::path Base(Folder);
  for (;;) {
    std::string Name(NameLength, ' ');
    for (char &Ch : Name)
      Ch = NameCharacters[Engine() % NameCharacterCount];
    Name += TempExtension;
    std::string Candidate = Folder.empty() ? Name : (Base / Name).string();
    if (!NameExists(Candidate))
      return Candidate;
  }
}

void MsOutputStream::SeedGenerator(std::uint32_t Seed) {
  Generator().seed(Seed);
}

// Output files: temporary-then-rename files, volatile files and the console.
#include "console/MsOutputStream.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
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
class RemoveGuard {
public:
  RemoveGuard() = default;
  explicit RemoveGuard(std::string FilePath)
      : Path(std::move(FilePath)), Owning(true) {}
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
  void Release() { Owning = false; }

private:
  void RemoveNow() noexcept {
    if (!Owning)
      return;
    Owning = false;
    boost::system::error_code Error;
    fs::remove(Path, Error);
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

/// Writes into a temporary file in the target's folder and renames it onto
/// the target on success. A special target (a device) is written in place.
class TempFile : public FileBase {
public:
  TempFile(MsConsole &TheConsole, const std::string &Target,
           MsOutputStream::Mode M)
      : FileBase(TheConsole, Target) {
    if (MsOutputStream::IsSpecialFile(Target)) {
      Out.open(Target, OpenMode(M));
    } else {
      Guard = RemoveGuard(CreateTemporary(Target));
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
      if (!Temporary.FilePath().empty() && !Replace(Temporary.FilePath())) {
        Report(MsMsgCloseProblem);
        return false;
      }
      Temporary.Release();
      Console.NotifyOutputFileWritten(TargetPath);
      return true;
    });
  }

private:
  /// Creates a new empty temporary file next to Target, under a name that
  /// no file had, and answers its path.
  static std::string CreateTemporary(const std::string &Target) {
    const std::string Folder = fs::path(Target).parent_path().string();
    for (;;) {
      std::string Candidate = MsOutputStream::TempFilePath(Folder);
      int Handle = ::open(Candidate.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (Handle >= 0) {
        ::close(Handle);
        return Candidate;
      }
      // Someone took the name between the check and the creation.
      if (errno != EEXIST)
        throw std::runtime_error("open failed");
    }
  }

  /// Removes the old target and renames Temporary onto it. The rename is
  /// not tried when the target is still there or the temporary file is
  /// gone; a temporary file that is gone already keeps the old target from
  /// being removed.
  bool Replace(const std::string &Temporary) {
    if (!NameExists(Temporary))
      return false;
    boost::system::error_code Error;
    fs::remove(TargetPath, Error);
    if (NameExists(TargetPath) || !NameExists(Temporary))
      return false;
    fs::rename(Temporary, TargetPath, Error);
    return !Error;
  }

  RemoveGuard Guard;
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
    if (!MsOutputStream::IsSpecialFile(Target)) {
      boost::system::error_code Error;
      fs::remove(Target, Error);
      Guard = RemoveGuard(Target);
    }
    Out.open(Target, OpenMode(M));
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

/// Writes to standard output through a stream of its own, so that a failure
/// is seen by this file alone.
class ConsoleFile : public FileBase {
public:
  ConsoleFile(MsConsole &TheConsole, const std::string &Name)
      : FileBase(TheConsole, Name), Out(std::cout.rdbuf()) {}

  std::ostream &Stream() override { return Out; }

  bool Close() override {
    return CloseOnce([this] {
      if (Out.fail()) {
        Report(MsMsgWriteProblem);
        return false;
      }
      Out.flush();
      if (!Out.good()) {
        Report(MsMsgCloseProblem);
        return false;
      }
      Out.rdbuf(nullptr);
      return true;
    });
  }

private:
  std::ostream Out;
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

// Shared helpers of the tool's tests: temporary folders, whole-file reads and
// writes, standard-output capture and the process-wide console.
#ifndef TESTS_TOOL_LCTOOLTESTSUPPORT_H
#define TESTS_TOOL_LCTOOLTESTSUPPORT_H

#include "console/MsConsoleConcrete.h"
#include "tool/LcMessages.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace lctest {

/// A fresh folder under the system's temporary folder, removed with
/// everything in it on destruction.
class TempDir {
public:
  TempDir() {
    std::string Pattern =
        (std::filesystem::temp_directory_path() / "chksel-tool-XXXXXX")
            .string();
    if (!mkdtemp(Pattern.data()))
      throw std::runtime_error("mkdtemp failed");
    Root = Pattern;
  }
  ~TempDir() {
    std::error_code Ignored;
    std::filesystem::remove_all(Root, Ignored);
  }
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;

  /// The path of Name inside the folder.
  std::string Path(const std::string &Name) const {
    return (Root / Name).string();
  }

private:
  std::filesystem::path Root;
};

inline void WriteFile(const std::string &Path, const std::string &Bytes) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  if (!Out)
    throw std::runtime_error("cannot write " + Path);
}

inline std::string ReadFile(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  if (!In)
    throw std::runtime_error("cannot read " + Path);
  return std::string(std::istreambuf_iterator<char>(In),
                     std::istreambuf_iterator<char>());
}

inline bool FileExists(const std::string &Path) {
  return std::filesystem::exists(Path);
}

/// Redirects file descriptor 1 into a file from construction until Finish,
/// which restores it and answers the bytes written meanwhile. Nothing is
/// flushed on the way back, so output still buffered in the program is not
/// captured.
class StdoutCapture {
public:
  explicit StdoutCapture(std::string CapturePath)
      : Path(std::move(CapturePath)) {
    std::fflush(stdout);
    Saved = dup(1);
    int Fd = open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (Saved < 0 || Fd < 0 || dup2(Fd, 1) < 0)
      throw std::runtime_error("cannot redirect standard output");
    close(Fd);
  }
  ~StdoutCapture() { Restore(); }
  StdoutCapture(const StdoutCapture &) = delete;
  StdoutCapture &operator=(const StdoutCapture &) = delete;

  std::string Finish() {
    Restore();
    return ReadFile(Path);
  }

private:
  void Restore() {
    if (Saved >= 0) {
      dup2(Saved, 1);
      close(Saved);
      Saved = -1;
    }
  }
  std::string Path;
  int Saved = -1;
};

/// The process-wide console with the "Lc" table registered once. Its
/// diagnostics go to a string stream, so that the test output stays clean.
inline MsConsoleConcrete &Console() {
  static std::ostringstream Diagnostics;
  static MsConsoleConcrete &Concrete = []() -> MsConsoleConcrete & {
    auto &C = dynamic_cast<MsConsoleConcrete &>(MsGetConsole());
    C.SetErrorStream(Diagnostics);
    LcRegisterMessages(C);
    return C;
  }();
  return Concrete;
}

} // namespace lctest

#endif

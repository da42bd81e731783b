// Shared helpers of the tool's tests: temporary folders, whole-file reads and
// writes, standard-output capture, a console of the test's own and a stream
// buffer that hands out its text in pieces.
#ifndef TESTS_TOOL_LCTOOLTESTSUPPORT_H
#define TESTS_TOOL_LCTOOLTESTSUPPORT_H

#include "console/MsConsoleConcrete.h"
#include "tool/LcMessages.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

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

/// A console of the test's own with the "Lc" table registered. Its
/// diagnostics go to a string stream, so that the test output stays clean.
class TestConsole : public MsConsoleConcrete {
public:
  TestConsole() {
    SetErrorStream(Diagnostics);
    LcRegisterMessages(*this);
  }

private:
  std::ostringstream Diagnostics;
};

/// The read error of a stream device.
struct ReadError : std::ios_base::failure {
  ReadError() : std::ios_base::failure("read error") {}
};

/// Hands out Text in pieces, one piece per underflow, the piece sizes taken
/// in turn from PieceSizes (a size 0 counts as 1). From byte FailAt on,
/// instead of handing out more bytes or reporting the end of the input,
/// underflow throws: ReadError, or std::bad_alloc when OutOfMemory is set.
class PieceBuf : public std::streambuf {
public:
  static constexpr std::size_t NoFailure = std::string::npos;

  PieceBuf(std::string Bytes, std::vector<std::size_t> PieceSizes,
           std::size_t FailurePosition = NoFailure,
           bool FailOutOfMemory = false)
      : Text(std::move(Bytes)), Pieces(std::move(PieceSizes)),
        FailAt(FailurePosition), OutOfMemory(FailOutOfMemory) {
    if (Pieces.empty())
      Pieces.push_back(Text.size());
  }

protected:
  int_type underflow() override {
    if (gptr() != egptr())
      return traits_type::to_int_type(*gptr());
    if (Handed >= FailAt) {
      if (OutOfMemory)
        throw std::bad_alloc();
      throw ReadError();
    }
    if (Handed == Text.size())
      return traits_type::eof();
    std::size_t Size = std::max<std::size_t>(Pieces[Turn++ % Pieces.size()], 1);
    Size = std::min({Size, Text.size() - Handed, FailAt - Handed});
    char *Begin = &Text[Handed];
    setg(Begin, Begin, Begin + Size);
    Handed += Size;
    return traits_type::to_int_type(*Begin);
  }

private:
  std::string Text;
  std::vector<std::size_t> Pieces;
  std::size_t FailAt;
  bool OutOfMemory;
  std::size_t Handed = 0;
  std::size_t Turn = 0;
};

} // namespace lctest

#endif

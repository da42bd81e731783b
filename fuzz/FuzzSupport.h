// Helpers shared by the fuzz harnesses: the failure check, a scratch folder,
// cutting an input into pieces, making fuzzed names safe to use as file
// names, and capturing what the code under test writes to the standard
// streams.
#ifndef FUZZ_FUZZSUPPORT_H
#define FUZZ_FUZZSUPPORT_H

#include "tests/support/OutputCapture.h"
#include "tests/support/TestFiles.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace fuzz {

/// Ends the run with a crash that the fuzzer records, when a promise fails.
inline void Require(bool Condition) {
  if (!Condition)
    std::abort();
}

/// A scratch folder for the whole process, removed with its contents when
/// the process ends normally.
inline const testsupport::TempDir &ScratchFolder() {
  static const testsupport::TempDir Dir;
  return Dir;
}

/// The bytes of Data from Offset on, cut at every NUL byte. There is always
/// at least one piece.
inline std::vector<std::string> Pieces(const std::uint8_t *Data,
                                       std::size_t Size,
                                       std::size_t Offset = 0) {
  std::vector<std::string> Result(1);
  for (std::size_t I = Offset; I < Size; ++I) {
    if (Data[I] == 0)
      Result.emplace_back();
    else
      Result.back() += static_cast<char>(Data[I]);
  }
  return Result;
}

/// Splits an input into its first byte, which the harness reads as its
/// settings, and the bytes after it; false for an empty input.
inline bool SplitSettings(const std::uint8_t *Data, std::size_t Size,
                          std::uint8_t &Settings, std::string &Rest) {
  if (Size == 0)
    return false;
  Settings = Data[0];
  Rest.assign(reinterpret_cast<const char *>(Data) + 1, Size - 1);
  return true;
}

/// Text with every "/" turned into "_" and no ".." left, so that a fuzzed
/// name can only ever name something inside the current folder.
inline std::string Confined(std::string Text) {
  for (char &C : Text)
    if (C == '/')
      C = '_';
  for (std::size_t At = Text.find(".."); At != std::string::npos;
       At = Text.find("..", At))
    Text[At + 1] = '_';
  return Text;
}

using testsupport::StdStreamCapture;

} // namespace fuzz

#endif

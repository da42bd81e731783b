// The output of one selection pass: the selected-checks file or standard
// output, and the gathering of names into large writes.
#ifndef TOOL_LCPASSOUTPUT_H
#define TOOL_LCPASSOUTPUT_H

#include "tool/CoutSink.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

class GeDiskInterface;
class MsConsole;

/// Where a pass writes its pieces of names: Write(Context, Data, Size)
/// writes them all and answers false once the output has failed.
struct LcNameSink {
  bool (*Write)(void *Context, const char *Data, std::size_t Size);
  void *Context;
};

/// Gathers the selected names of a pass, each followed by "\n", in a buffer
/// of its own and hands them to a sink in pieces of about 64 KiB; a name too
/// long for a piece goes to the sink by itself.
class LcNameWriter {
public:
  /// The size of the pieces.
  static constexpr std::size_t ChunkSize = 64 * 1024;

  explicit LcNameWriter(LcNameSink Target);

  /// Adds Name and "\n"; answers false once the output has failed.
  bool Add(std::string_view Name) {
    // Called for every name selected, so the common case, a name that fits
    // in the piece being gathered, is done where the call is.
    if (Used + Name.size() >= ChunkSize)
      return AddToFullPiece(Name);
    CopyName(Chunk.get() + Used, Name.data(), Name.size());
    Chunk[Used + Name.size()] = '\n';
    Used += Name.size() + 1;
    return true;
  }
  /// Writes what has been gathered; answers false once the output has
  /// failed.
  bool Flush();

private:
  bool AddToFullPiece(std::string_view Name);
  /// Copies Size bytes; names are short, so those of 8 to 32 bytes are
  /// copied in two overlapping moves rather than through a call.
  static void CopyName(char *To, const char *From, std::size_t Size) {
    if (Size >= 16 && Size <= 32) {
      char Head[16], Tail[16];
      std::memcpy(Head, From, 16);
      std::memcpy(Tail, From + Size - 16, 16);
      std::memcpy(To, Head, 16);
      std::memcpy(To + Size - 16, Tail, 16);
    } else if (Size >= 8 && Size < 16) {
      char Head[8], Tail[8];
      std::memcpy(Head, From, 8);
      std::memcpy(Tail, From + Size - 8, 8);
      std::memcpy(To, Head, 8);
      std::memcpy(To + Size - 8, Tail, 8);
    } else {
      std::memcpy(To, From, Size);
    }
  }

  LcNameSink Sink;
  std::unique_ptr<char[]> Chunk;
  std::size_t Used = 0;
  /// Whether every write so far succeeded.
  bool Good = true;
};

/// The output of one pass, held for the length of the pass: for "-" the
/// program's own sink on standard output, written through std::cout so that
/// it follows whatever the program wrote there before; otherwise the output
/// file, opened on the disk it is given. The names come in pieces from an
/// LcNameWriter, so neither needs a stream buffer of its own. Every write is
/// checked to the last byte. Borrows the console and the disk.
class LcPassOutput {
public:
  /// Opens OutputPath: truncated unless Append, which the caller sets for
  /// every pass after the first to open the output. Reports Lc002 and throws
  /// MsConsoleException on failure.
  LcPassOutput(MsConsole &Console, GeDiskInterface &Disk,
               const std::string &OutputPath, bool Append);
  ~LcPassOutput();
  LcPassOutput(const LcPassOutput &) = delete;
  LcPassOutput &operator=(const LcPassOutput &) = delete;

  LcNameSink Sink() { return LcNameSink{&LcPassOutput::Write, this}; }

  /// Flushes and closes the output; reports Ms004 and throws
  /// MsConsoleException when a write, the flush or the close failed.
  void Finish();

private:
  static bool Write(void *Context, const char *Data, std::size_t Size);

  MsConsole &Console;
  GeDiskInterface &Disk;
  std::string Path;
  /// The output file's handle on Disk; -1 for standard output.
  int File = -1;
  CoutSink Standard;
  bool Good = true;
};

#endif

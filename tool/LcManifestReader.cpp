// The checks manifest reader: records of key=value lines, read one at a time.
#include "tool/LcManifestReader.h"

#include "console/MsConsole.h"
#include "tool/LcMessages.h"

#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/stream.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <streambuf>
#include <string>

#include <sys/stat.h>

class LcManifestReader::FileStream
    : public boost::iostreams::stream<
          boost::iostreams::file_descriptor_source> {};

LcManifestReader::LcManifestReader(std::size_t InitialBlockSize)
    : BlockSize(std::max<std::size_t>(InitialBlockSize, 1)) {}

LcManifestReader::~LcManifestReader() {
  try {
    Close();
  } catch (const std::ios_base::failure &) {
    // Restoring the caller's exception mask fired on a stream that has
    // already ended; nothing is left to report.
  }
}

namespace {
bool IsDirectory(int Handle) {
  struct stat Status;
  return fstat(Handle, &Status) == 0 && S_ISDIR(Status.st_mode);
}
} // namespace

void LcManifestReader::Open(const std::string &Path) {
  Close();
  auto Stream = std::make_unique<FileStream>();
  bool Opened = false;
  try {
    boost::iostreams::file_descriptor_source Source(
        Path, std::ios_base::in | std::ios_base::binary);
    // A directory opens for reading but cannot be read as a manifest.
    if (!IsDirectory(Source.handle())) {
      Stream->open(Source, BufferSize);
      Opened = Stream->is_open();
    }
  } catch (const std::ios_base::failure &) {
    Opened = false;
  }
  if (!Opened) {
    LcReport(LcMsgCouldNotOpen, Path);
    throw MsConsoleException();
  }
  File = std::move(Stream);
  Start(*File);
}

void LcManifestReader::Open(std::istream &Stream) {
  Close();
  Start(Stream);
}

void LcManifestReader::Start(std::istream &Stream) {
  In = &Stream;
  SavedExceptions = Stream.exceptions();
  // Setting a mask throws at once when the state already matches it; a bad
  // stream simply yields nothing.
  if (!Stream.bad())
    Stream.exceptions(std::ios_base::badbit);
  if (!Buffer) {
    Buffer.reset(new char[BlockSize]);
    Capacity = BlockSize;
  }
  Next = Scanned = Filled = 0;
  InputEnded = ReadFailed = false;
  AtEndFlag = false;
  if (!Stream.good())
    EndInput(std::ios_base::failbit);
  ReadRecord();
}

bool LcManifestReader::Advance() {
  if (AtEndFlag)
    return false;
  if (!ReadRecord()) {
    AtEndFlag = true;
    return false;
  }
  return true;
}

void LcManifestReader::Close() {
  std::istream *Borrowed = File ? nullptr : In;
  In = nullptr;
  File.reset();
  AtEndFlag = true;
  InputEnded = true;
  if (Borrowed)
    Borrowed->exceptions(SavedExceptions);
}

void LcManifestReader::EndInput(std::ios_base::iostate State) {
  InputEnded = true;
  try {
    In->setstate(State);
  } catch (const std::ios_base::failure &) {
    // The stream's exception mask asked for this; the state is set anyway.
  }
}

void LcManifestReader::EndOfFile() {
  // A last line without "\n" is still handed out; the read after it fails.
  EndInput(Next == Filled ? std::ios_base::eofbit | std::ios_base::failbit
                          : std::ios_base::eofbit);
}

void LcManifestReader::MakeRoom() {
  // Everything before the current record, or before the line being read
  // when the record has no attribute yet, has been handed out.
  std::size_t Keep = Next;
  if (Record.Used != 0)
    Keep = static_cast<std::size_t>(Record.Slots[0].Line - Buffer.get());
  if (Keep != 0) {
    std::memmove(Buffer.get(), Buffer.get() + Keep, Filled - Keep);
    for (std::size_t I = 0; I < Record.Used; ++I)
      Record.Slots[I].Line -= Keep;
    Next -= Keep;
    Scanned -= Keep;
    Filled -= Keep;
  }
  if (Filled < Capacity)
    return;
  // The record fills the whole buffer: double it.
  if (Capacity > std::numeric_limits<std::size_t>::max() / 2)
    throw std::bad_alloc();
  std::size_t Larger = Capacity * 2;
  std::unique_ptr<char[]> Grown(new char[Larger]);
  std::memcpy(Grown.get(), Buffer.get(), Filled);
  for (std::size_t I = 0; I < Record.Used; ++I) {
    LcAttribute &Slot = Record.Slots[I];
    Slot.Line = Grown.get() + (Slot.Line - Buffer.get());
  }
  Buffer = std::move(Grown);
  Capacity = Larger;
}

bool LcManifestReader::Refill() {
  if (InputEnded) {
    // Reading on from a stream that is no longer good fails.
    EndInput(std::ios_base::failbit);
    return false;
  }
  MakeRoom();
  using Traits = std::streambuf::traits_type;
  std::streambuf *Source = In->rdbuf();
  std::streamsize Got = 0;
  try {
    // Only what the stream buffer holds is taken at once, so that a read
    // error of the device never swallows input that was read before it.
    std::streamsize Available = Source->in_avail();
    if (Available <= 0) {
      if (Traits::eq_int_type(Source->sgetc(), Traits::eof())) {
        EndOfFile();
        return false;
      }
      Available = std::max<std::streamsize>(Source->in_avail(), 1);
    }
    std::streamsize Room = static_cast<std::streamsize>(Capacity - Filled);
    Got = Source->sgetn(Buffer.get() + Filled, std::min(Available, Room));
  } catch (const std::ios_base::failure &) {
    // A read error: the input ends here, without the line it interrupted.
    ReadFailed = true;
    EndInput(std::ios_base::badbit);
    return false;
  }
  if (Got <= 0) {
    EndOfFile();
    return false;
  }
  Filled += static_cast<std::size_t>(Got);
  return true;
}

/// Hands out the line that ends at the "\n" found at Newline.
inline void LcManifestReader::TakeLine(const void *Newline, const char *&Line,
                                       std::size_t &Size) {
  const char *Base = Buffer.get();
  std::size_t End =
      static_cast<std::size_t>(static_cast<const char *>(Newline) - Base);
  Line = Base + Next;
  Size = End - Next;
  Next = Scanned = End + 1;
}

inline bool LcManifestReader::NextLine(const char *&Line, std::size_t &Size) {
  if (Scanned < Filled) {
    if (const void *Newline =
            std::memchr(Buffer.get() + Scanned, '\n', Filled - Scanned)) {
      TakeLine(Newline, Line, Size);
      return true;
    }
    Scanned = Filled;
  }
  return NextLineAfterRefill(Line, Size);
}

bool LcManifestReader::NextLineAfterRefill(const char *&Line,
                                           std::size_t &Size) {
  while (Refill()) {
    if (const void *Newline =
            std::memchr(Buffer.get() + Scanned, '\n', Filled - Scanned)) {
      TakeLine(Newline, Line, Size);
      return true;
    }
    Scanned = Filled;
  }
  // The input has ended: what is left is a last line without "\n", unless a
  // read error cut it short.
  Line = Buffer.get() + Next;
  Size = Filled - Next;
  bool Last = Size != 0 && !ReadFailed;
  Next = Scanned = Filled;
  return Last;
}

bool LcManifestReader::ReadRecord() {
  try {
    return ScanRecord();
  } catch (...) {
    // As with any extraction from a stream, an exception leaves it bad.
    EndInput(std::ios_base::badbit);
    throw;
  }
}

bool LcManifestReader::ScanRecord() {
  Record.Used = 0;
  const char *Line;
  std::size_t Size;
  while (NextLine(Line, Size)) {
    if (Size != 0 && Line[Size - 1] == '\r')
      --Size;
    if (Size == 0) {
      if (Record.Used != 0)
        return true;
      continue;
    }
    // Keys are short: a plain loop finds the "=" sooner than a call would.
    std::size_t EqAt = 0;
    while (EqAt != Size && Line[EqAt] != '=')
      ++EqAt;
    if (EqAt == 0 || EqAt + 1 >= Size)
      continue;
    if (Record.Slots.size() == Record.Used)
      Record.Slots.emplace_back();
    LcAttribute &Slot = Record.Slots[Record.Used++];
    Slot.Line = Line;
    Slot.Eq = EqAt;
    Slot.Size = Size;
  }
  return false;
}

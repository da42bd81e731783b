// The checks manifest reader: records of key=value lines, read one at a time.
#include "tool/LcManifestReader.h"

#include "console/MsConsole.h"
#include "general/GeDisk.h"
#include "tool/LcMessages.h"

#include <boost/iostreams/categories.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <streambuf>
#include <string>

/// The manifest file the reader opened: a Boost.Iostreams source on a file
/// opened on a disk, read straight into the reader's buffer without a stream
/// buffer in between. Like a file descriptor source, read answers -1 at the
/// end of the file and throws std::ios_base::failure on a read error. Owns
/// the handle; borrows the disk.
class LcManifestReader::FileSource {
public:
  using char_type = char;
  using category = boost::iostreams::source_tag;

  FileSource(GeDiskInterface &FileDisk, int FileHandle)
      : Disk(FileDisk), Handle(FileHandle) {}
  ~FileSource() { Disk.Close(Handle); }
  FileSource(const FileSource &) = delete;
  FileSource &operator=(const FileSource &) = delete;

  std::streamsize read(char *Into, std::streamsize Wanted) {
    std::size_t Got = 0;
    if (Disk.Read(Handle, Into, static_cast<std::size_t>(Wanted), Got) != 0)
      throw std::ios_base::failure("failed reading");
    return Got == 0 ? -1 : static_cast<std::streamsize>(Got);
  }

  /// Whether the file is a folder, which opens for reading but cannot be
  /// read as a manifest.
  bool IsDirectory() const {
    GeFileStatus Status;
    return Disk.StatHandle(Handle, Status) == 0 &&
           Status.Type == GeFileStatus::Kind::Directory;
  }

private:
  GeDiskInterface &Disk;
  int Handle;
};

LcManifestReader::LcManifestReader(std::size_t InitialBlockSize,
                                   LcMaskKind Masks)
    : BlockSize(std::max<std::size_t>(InitialBlockSize, 1)), MaskKind(Masks) {}

LcManifestReader::~LcManifestReader() {
  try {
    Close();
  } catch (const std::ios_base::failure &) {
    // Restoring the caller's exception mask fired on a stream that has
    // already ended; nothing is left to report.
  }
}

void LcManifestReader::Open(MsConsole &Console, GeDiskInterface &Disk,
                            const std::string &Path) {
  Close();
  std::unique_ptr<FileSource> Source;
  int Handle = -1;
  if (Disk.OpenRead(Path, Handle) == 0) {
    Source = std::make_unique<FileSource>(Disk, Handle);
    if (Source->IsDirectory())
      Source.reset();
  }
  if (!Source) {
    LcReport(Console, LcMsgCouldNotOpen, Path);
    throw MsConsoleException();
  }
  File = std::move(Source);
  Start(nullptr);
}

void LcManifestReader::Open(std::istream &Stream) {
  Close();
  Start(&Stream);
}

void LcManifestReader::Start(std::istream *Stream) {
  In = Stream;
  if (Stream) {
    SavedExceptions = Stream->exceptions();
    // Setting a mask throws at once when the state already matches it; a bad
    // stream simply yields nothing.
    if (!Stream->bad())
      Stream->exceptions(std::ios_base::badbit);
  }
  if (!Buffer) {
    Buffer.reset(new char[BlockSize + LcMaskBlockSize]);
    Capacity = BlockSize;
  }
  Next = Scanned = Filled = RegionEnd = 0;
  Consumed = 0;
  InputEnded = ReadFailed = false;
  Block.Valid = false;
  AtEndFlag = false;
  if (Stream && !Stream->good())
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
  std::istream *Borrowed = In;
  In = nullptr;
  File.reset();
  AtEndFlag = true;
  InputEnded = true;
  if (Borrowed)
    Borrowed->exceptions(SavedExceptions);
}

void LcManifestReader::EndInput(std::ios_base::iostate State) {
  InputEnded = true;
  if (!In)
    return;
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
  Block.Valid = false;
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
    RegionEnd -= std::min(RegionEnd, Keep);
  }
  if (Filled < Capacity)
    return;
  // The record fills the whole buffer: double it.
  if (Capacity >
      (std::numeric_limits<std::size_t>::max() - LcMaskBlockSize) / 2)
    throw std::bad_alloc();
  std::size_t Larger = Capacity * 2;
  std::unique_ptr<char[]> Grown(new char[Larger + LcMaskBlockSize]);
  std::memcpy(Grown.get(), Buffer.get(), Filled);
  for (std::size_t I = 0; I < Record.Used; ++I) {
    LcAttribute &Slot = Record.Slots[I];
    Slot.Line = Grown.get() + (Slot.Line - Buffer.get());
  }
  Buffer = std::move(Grown);
  Capacity = Larger;
}

std::size_t LcManifestReader::ReadSome(char *Into, std::size_t Room) {
  auto Wanted = static_cast<std::streamsize>(std::min<std::size_t>(
      Room,
      static_cast<std::size_t>(std::numeric_limits<std::streamsize>::max())));
  if (File) {
    std::streamsize Got = File->read(Into, Wanted);
    return Got > 0 ? static_cast<std::size_t>(Got) : 0;
  }
  using Traits = std::streambuf::traits_type;
  std::streambuf *Source = In->rdbuf();
  // Only what the stream buffer holds is taken at once, so that a read error
  // of the device never swallows input that was read before it.
  std::streamsize Available = Source->in_avail();
  if (Available <= 0) {
    if (Traits::eq_int_type(Source->sgetc(), Traits::eof()))
      return 0;
    Available = std::max<std::streamsize>(Source->in_avail(), 1);
  }
  std::streamsize Got = Source->sgetn(Into, std::min(Available, Wanted));
  return Got > 0 ? static_cast<std::size_t>(Got) : 0;
}

bool LcManifestReader::Refill() {
  if (InputEnded) {
    // Reading on from a stream that is no longer good fails.
    EndInput(std::ios_base::failbit);
    return false;
  }
  MakeRoom();
  std::size_t Got = 0;
  try {
    std::size_t Room = Capacity - Filled;
    if (Consumed < RampUpInput)
      Room = std::min(Room, RampUpReadSize);
    Got = ReadSome(Buffer.get() + Filled, Room);
  } catch (const std::ios_base::failure &) {
    // A read error: the input ends here, without the line it interrupted.
    ReadFailed = true;
    EndInput(std::ios_base::badbit);
    return false;
  }
  if (Got == 0) {
    EndOfFile();
    return false;
  }
  if (const void *Last = memrchr(Buffer.get() + Filled, '\n', Got))
    RegionEnd = static_cast<std::size_t>(static_cast<const char *>(Last) -
                                         Buffer.get()) +
                1;
  Filled += Got;
  Consumed += Got;
  // A block classified near the end of the input reads up to a block past
  // it; those bytes count for nothing, but are given a value.
  std::memset(Buffer.get() + Filled, 0, LcMaskBlockSize);
  return true;
}

/// Hands out the line that ends at the "\n" found at NewlineAt.
inline void LcManifestReader::TakeLine(const void *NewlineAt,
                                       const char *&Line, std::size_t &Size) {
  const char *Base = Buffer.get();
  std::size_t End =
      static_cast<std::size_t>(static_cast<const char *>(NewlineAt) - Base);
  Line = Base + Next;
  Size = End - Next;
  Next = Scanned = End + 1;
}

inline bool LcManifestReader::NextLine(const char *&Line, std::size_t &Size) {
  if (Scanned < Filled) {
    if (const void *NewlineAt =
            std::memchr(Buffer.get() + Scanned, '\n', Filled - Scanned)) {
      TakeLine(NewlineAt, Line, Size);
      return true;
    }
    Scanned = Filled;
  }
  return NextLineAfterRefill(Line, Size);
}

bool LcManifestReader::NextLineAfterRefill(const char *&Line,
                                           std::size_t &Size) {
  while (Refill()) {
    if (const void *NewlineAt =
            std::memchr(Buffer.get() + Scanned, '\n', Filled - Scanned)) {
      TakeLine(NewlineAt, Line, Size);
      return true;
    }
    Scanned = Filled;
  }
  return TakeLastLine(Line, Size);
}

bool LcManifestReader::TakeLastLine(const char *&Line, std::size_t &Size) {
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
    Record.Used = 0;
    Holding = false;
    if (!Skims)
      return ScanRecord();
    // Most records end within the lines read already.
    return SkimRegion(*this) || SkimRecord();
  } catch (...) {
    // As with any extraction from a stream, an exception leaves it bad.
    EndInput(std::ios_base::badbit);
    throw;
  }
}

void LcManifestReader::GrowSlots() {
  // Records rarely hold more than a handful of attributes: the first slots
  // come at once, and more double them.
  Record.Room = std::max<std::size_t>(Record.Room * 2, 16);
  Record.Slots.resize(Record.Room);
}

/// Applies the record rules to one line (without its "\n"); answers true
/// when it is the empty line that ends the record.
inline bool LcManifestReader::HandleLine(const char *Line, std::size_t Size) {
  if (Size != 0 && Line[Size - 1] == '\r')
    --Size;
  if (Size == 0)
    return Holding;
  // Keys are short: a plain loop finds the "=" sooner than a call would.
  std::size_t EqAt = 0;
  while (EqAt != Size && Line[EqAt] != '=')
    ++EqAt;
  if (EqAt == 0 || EqAt + 1 >= Size)
    return false;
  Holding = true;
  if (Filter.Keeps(std::string_view(Line, EqAt)))
    Store(Line, EqAt, Size);
  return false;
}

bool LcManifestReader::ScanRecord() {
  const char *Line;
  std::size_t Size;
  while (NextLine(Line, Size))
    if (HandleLine(Line, Size))
      return true;
  return false;
}

bool LcManifestReader::SkimRecord() {
  // Every whole line read has been used; the bytes after them hold no "\n".
  for (;;) {
    Scanned = Filled;
    if (!Refill())
      break;
    if (SkimRegion(*this))
      return true;
  }
  const char *Line;
  std::size_t Size;
  if (!TakeLastLine(Line, Size))
    return false;
  if (HandleLine(Line, Size))
    return true;
  // Like line-by-line reading, try the next line, which fails.
  Refill();
  return false;
}


// The checks manifest reader: records of key=value lines, read one at a time.
#include "tool/LcManifestReader.h"

#include "console/MsConsole.h"
#include "tool/LcByteMaskKernels.h"
#include "tool/LcMessages.h"

#include "general/GeDisk.h"

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

void LcKeyFilter::Keep(std::size_t Length, const std::bitset<256> &Initials) {
  All = false;
  // No key is empty, so a length of 0 keeps nothing.
  if (Length == 0)
    return;
  if (Length < ShortKeys) {
    Short[Length] |= Initials;
    return;
  }
  for (auto &Known : Long)
    if (Known.first == Length) {
      Known.second |= Initials;
      return;
    }
  Long.emplace_back(Length, Initials);
}

bool LcKeyFilter::KeepsLong(std::string_view Key) const {
  for (const auto &Known : Long)
    if (Known.first == Key.size())
      return Known.second[static_cast<unsigned char>(Key[0])];
  return false;
}

namespace {
inline unsigned LowestBit(std::uint64_t Mask) {
  return static_cast<unsigned>(__builtin_ctzll(Mask));
}

inline unsigned LeadingZeros(std::uint64_t Mask) {
  return static_cast<unsigned>(__builtin_clzll(Mask));
}

/// The offset of the first Byte in [From, To) of Base; To when there is none.
inline std::size_t Find(const char *Base, std::size_t From, std::size_t To,
                        char Byte) {
  if (From >= To)
    return To;
  const void *At = std::memchr(Base + From, Byte, To - From);
  return At ? static_cast<std::size_t>(static_cast<const char *>(At) - Base)
            : To;
}
} // namespace

/// The skimming loop built around each kind of masks and each number of
/// probes. Each is flattened, so that the classification and the bit work
/// around it become one loop in the instruction set of its kind.
struct LcManifestReader::Skimmers {
  template <std::size_t N>
  __attribute__((flatten)) static bool Portable(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Portable, N>();
  }
#ifdef LC_MASKS_X86
  template <std::size_t N>
  __attribute__((flatten)) static bool Sse2(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Sse2, N>();
  }
  template <std::size_t N>
  __attribute__((target("avx2,bmi,bmi2"), flatten)) static bool
  Avx2(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Avx2, N>();
  }
  template <std::size_t N>
  __attribute__((target("avx512bw,bmi,bmi2"), flatten)) static bool
  Avx512(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Avx512, N>();
  }
#endif

  using Function = bool (*)(LcManifestReader &);
  template <std::size_t N> static Function For(LcMaskKind Kind) {
    switch (Kind) {
#ifdef LC_MASKS_X86
    case LcMaskKind::Sse2:
      return &Sse2<N>;
    case LcMaskKind::Avx2:
      return &Avx2<N>;
    case LcMaskKind::Avx512:
      return &Avx512<N>;
#endif
    default:
      return &Portable<N>;
    }
  }
  /// The loop for Kind and Probes probes (1 to MaxProbes).
  static Function For(LcMaskKind Kind, std::size_t Probes) {
    static_assert(MaxProbes == 4, "one loop per number of probes");
    switch (Probes) {
    case 1:
      return For<1>(Kind);
    case 2:
      return For<2>(Kind);
    case 3:
      return For<3>(Kind);
    default:
      return For<4>(Kind);
    }
  }
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

void LcManifestReader::SetKeyFilter(const LcKeyFilter &NewFilter) {
  Filter = NewFilter;
  Skims = false;
  Block.Valid = false;
  // Skimming carries the line starts of one block into the next, so it
  // handles keys shorter than a block.
  static_assert(LcKeyFilter::ShortKeys <= LcMaskBlockSize,
                "skimming carries line starts one block on");
  if (Filter.All || !Filter.Long.empty())
    return;
  // One probe per key length. A length kept for one initial (both cases of
  // a letter count as one) is probed for it: the masks match initials
  // regardless of bit 5, and each candidate line is then tested exactly. A
  // length kept for several initials is probed for any initial: one probe
  // costs more over every block than the few candidates it lets through
  // whose key the filter then turns down.
  std::size_t Count = 0;
  for (unsigned Length = 1; Length < LcKeyFilter::ShortKeys; ++Length) {
    const std::bitset<256> &Kept = Filter.Short[Length];
    if (Kept.none())
      continue;
    if (Count == MaxProbes)
      return;
    int Folded = -1;
    bool Several = false;
    for (unsigned Byte = 0; Byte < 256 && !Several; ++Byte) {
      if (!Kept[Byte])
        continue;
      int ByteFolded = static_cast<int>(Byte | 0x20);
      Several = Folded >= 0 && Folded != ByteFolded;
      Folded = ByteFolded;
    }
    if (Several) {
      Probes[Count] = SkimProbe{Length, ~std::uint64_t(0)};
      Initials.Folded[Count++] = 0x20;
    } else {
      Probes[Count] = SkimProbe{Length, 0};
      Initials.Folded[Count++] = static_cast<unsigned char>(Folded);
    }
  }
  // A filter that keeps nothing is left to the line-by-line reading.
  if (Count == 0)
    return;
  Initials.Count = Count;
  SkimRegion = Skimmers::For(MaskKind, Count);
  Skims = true;
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
    Got = ReadSome(Buffer.get() + Filled, Capacity - Filled);
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

inline void LcManifestReader::Store(const char *Line, std::size_t Eq,
                                    std::size_t Size) {
  if (Record.Used == Record.Room)
    GrowSlots();
  LcAttribute &Slot = Record.Slots[Record.Used++];
  Slot.Line = Line;
  Slot.Eq = Eq;
  Slot.Size = Size;
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

template <class Kernel, std::size_t N> bool LcManifestReader::SkimWith() {
  SkimBlock &B = Block;
  const char *Base = Buffer.get();
  const std::size_t End = RegionEnd;
  // Pos: the events before it have been handled. While no valid line is
  // held it is the start of the line to look at.
  std::size_t Pos = Next;
  if (Pos < End &&
      (!B.Valid || Pos < B.At || Pos - B.At >= 2 * LcMaskBlockSize))
    MaskBlock<Kernel, N>(B, Pos, true);
  for (;;) {
    if (Pos >= End) {
      Next = End;
      return false;
    }
    std::size_t BlockEnd = B.At + LcMaskBlockSize;
    if (Pos >= BlockEnd) {
      if (Pos - BlockEnd < LcMaskBlockSize)
        MaskBlock<Kernel, N>(B, BlockEnd, false);
      else
        MaskBlock<Kernel, N>(B, Pos, true);
      continue;
    }
    auto Rel = static_cast<unsigned>(Pos - B.At);
    if (!Holding) {
      // Every line counts until one is valid: find its "\n" and first "=".
      std::size_t LineEnd, EqAt;
      std::uint64_t Eqs = B.Equals >> Rel;
      if (std::uint64_t Ahead = B.Newline >> Rel) {
        LineEnd = Pos + LowestBit(Ahead);
        Eqs &= (Ahead & (~Ahead + 1)) - 1;
        EqAt = Eqs ? Pos + LowestBit(Eqs) : LineEnd;
      } else {
        // The line runs on into the next block (the region ends with a
        // "\n"), or further still.
        MaskBlock<Kernel, N>(B, BlockEnd, false);
        std::uint64_t NextEqs = B.Equals;
        if (B.Newline != 0) {
          LineEnd = BlockEnd + LowestBit(B.Newline);
          NextEqs &= (B.Newline & (~B.Newline + 1)) - 1;
        } else {
          LineEnd = Find(Base, BlockEnd + LcMaskBlockSize, End, '\n');
        }
        if (Eqs)
          EqAt = Pos + LowestBit(Eqs);
        else if (NextEqs)
          EqAt = BlockEnd + LowestBit(NextEqs);
        else
          EqAt = Find(Base, BlockEnd + LcMaskBlockSize, LineEnd, '=');
      }
      std::size_t Size = LineEnd - Pos;
      if (Size != 0 && Base[LineEnd - 1] == '\r')
        --Size;
      if (EqAt != Pos && EqAt + 1 < Pos + Size) {
        Holding = true;
        if (Filter.Keeps(std::string_view(Base + Pos, EqAt - Pos)))
          Store(Base + Pos, EqAt - Pos, Size);
      }
      Pos = LineEnd + 1;
      continue;
    }
    // A valid line is held: only the empty line that ends the record and
    // the lines the filter may keep matter, block after block.
    std::uint64_t Pending = B.Events & (~std::uint64_t(0) << Rel);
    bool Beyond = false;
    for (;;) {
      while (Pending != 0) {
        unsigned Bit = LowestBit(Pending);
        Pending &= Pending - 1;
        if (B.Newline >> Bit & 1) {
          Next = B.At + Bit + 1;
          Holding = false;
              return true;
        }
        if (std::size_t After = TakeCandidate<Kernel, N>(B, Bit)) {
          // The line ran past the block, and the blocks have moved on.
          Pos = After;
          Beyond = Pos - B.At >= LcMaskBlockSize;
          if (Beyond)
            break;
          Pending = B.Events & (~std::uint64_t(0) << (Pos - B.At));
        }
      }
      if (Beyond)
        break;
      std::size_t Following = B.At + LcMaskBlockSize;
      if (Following >= End) {
        Next = End;
          return false;
      }
      MaskBlock<Kernel, N>(B, Following, false);
      Pending = B.Events;
    }
  }
}

template <class Kernel, std::size_t N>
inline void LcManifestReader::MaskBlock(SkimBlock &B, std::size_t At,
                                        bool Fresh) const {
  constexpr std::uint64_t Top = std::uint64_t(1) << 63;
  if (Fresh) {
    // At starts a line: the byte before it, if any, is a "\n".
    B.PrevNewline = Top;
    B.PrevEquals = 0;
    for (std::size_t K = 0; K < N; ++K)
      B.PrevStarts[K] = 0;
  } else {
    B.PrevNewline = B.Newline;
    B.PrevEquals = B.Equals;
  }
  LcByteMasks Masks;
  Kernel::template Classify<N>(Buffer.get() + At, Initials, Masks);
  std::uint64_t Newline = Masks.Newline;
  std::uint64_t Equals = Masks.Equals;
  if (RegionEnd - At < LcMaskBlockSize) {
    // Bytes past the whole lines read are left out.
    std::uint64_t Valid = (std::uint64_t(1) << (RegionEnd - At)) - 1;
    Newline &= Valid;
    Equals &= Valid;
  }
  std::uint64_t Starts = Newline << 1 | B.PrevNewline >> 63;
  // A line is empty when the byte before its "\n" is a "\n", or a "\r" with
  // a "\n" before it (one "\r" is dropped from a line end). Lines of one
  // byte are rare, so the byte between two "\n" one byte apart is looked at
  // directly rather than classified in every block. It lies in this block or
  // is the last byte of the one before (a fresh block has no "\n" two bytes
  // before it).
  std::uint64_t Empty = Newline & Starts;
  for (std::uint64_t Gaps =
           Newline & (Newline << 2 | B.PrevNewline >> 62) & ~Starts;
       Gaps != 0; Gaps &= Gaps - 1) {
    unsigned Bit = LowestBit(Gaps);
    if (Buffer[At + Bit - 1] == '\r')
      Empty |= std::uint64_t(1) << Bit;
  }
  // A candidate is an "=" a probe's key length after the start of a line
  // that begins with the probe's initial.
  std::uint64_t Candidates = 0;
  for (std::size_t K = 0; K < N; ++K) {
    std::uint64_t ProbeStarts = Starts & (Masks.Initial[K] | Probes[K].Any);
    unsigned Length = Probes[K].Length;
    Candidates |= ProbeStarts << Length | B.PrevStarts[K] >> (64 - Length);
    B.PrevStarts[K] = ProbeStarts;
  }
  B.Events = Empty | (Candidates & Equals);
  B.Newline = Newline;
  B.Equals = Equals;
  B.At = At;
  B.Valid = true;
}

template <class Kernel, std::size_t N>
inline std::size_t LcManifestReader::TakeCandidate(SkimBlock &B,
                                                   unsigned Bit) {
  std::size_t EqAt = B.At + Bit;
  std::uint64_t Below = (std::uint64_t(1) << Bit) - 1;
  // The line starts after the last "\n" before the "="; no "=" may come
  // between them.
  std::size_t LineStart;
  if (std::uint64_t NewlinesBelow = B.Newline & Below) {
    unsigned StartBit = 64 - LeadingZeros(NewlinesBelow);
    LineStart = B.At + StartBit;
    if ((B.Equals & Below) >> StartBit != 0)
      return 0;
  } else {
    // A candidate's line starts less than a block before its "=", so the
    // block before holds that "\n".
    if (B.PrevNewline == 0)
      return 0;
    unsigned Back = LeadingZeros(B.PrevNewline);
    LineStart = B.At - Back;
    if ((B.Equals & Below) != 0 ||
        (Back != 0 && B.PrevEquals >> (64 - Back) != 0))
      return 0;
  }
  const char *Base = Buffer.get();
  std::size_t KeySize = EqAt - LineStart;
  if (!Filter.Keeps(std::string_view(Base + LineStart, KeySize)))
    return 0;
  std::size_t LineEnd;
  std::size_t After = 0;
  if (std::uint64_t Ahead = B.Newline >> Bit) {
    LineEnd = EqAt + LowestBit(Ahead);
  } else {
    // The line runs on into the next block (the region ends with a "\n"),
    // or further still. Nothing after the "=" in this block is an event.
    std::size_t BlockEnd = B.At + LcMaskBlockSize;
    MaskBlock<Kernel, N>(B, BlockEnd, false);
    LineEnd = B.Newline != 0
                  ? BlockEnd + LowestBit(B.Newline)
                  : Find(Base, BlockEnd + LcMaskBlockSize, RegionEnd, '\n');
    After = LineEnd + 1;
  }
  std::size_t Size = LineEnd - LineStart;
  if (Base[LineEnd - 1] == '\r')
    --Size;
  if (KeySize + 1 < Size)
    Store(Base + LineStart, KeySize, Size);
  return After;
}

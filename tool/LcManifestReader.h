// The checks manifest reader: records of key=value lines, read one at a time.
#ifndef TOOL_LCMANIFESTREADER_H
#define TOOL_LCMANIFESTREADER_H

#include "tool/LcByteMasks.h"
#include "tool/LcKeyFilter.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class GeDiskInterface;
class MsConsole;

/// One attribute of a manifest record: a line of the form key=value, split at
/// its first "=". The key and the value are views into the reader's block
/// buffer and stay valid until the reader reads the next record.
class LcAttribute {
public:
  std::string_view Key() const { return std::string_view(Line, Eq); }
  std::string_view Value() const {
    return std::string_view(Line + Eq + 1, Size - Eq - 1);
  }

private:
  friend class LcManifestReader;
  /// The line without its line end; Line[Eq] is its first "=".
  const char *Line = nullptr;
  std::size_t Eq = 0;
  std::size_t Size = 0;
};

/// One manifest record: its attributes in file order, duplicate keys kept.
/// The attributes point into the reader's buffer; the slots are reused for
/// the next record, so reading does not allocate once the record with the
/// most attributes has been seen.
class LcRecord {
public:
  using const_iterator = std::vector<LcAttribute>::const_iterator;

  std::size_t size() const { return Used; }
  bool empty() const { return Used == 0; }
  const LcAttribute &operator[](std::size_t Index) const {
    return Slots[Index];
  }
  const_iterator begin() const { return Slots.begin(); }
  const_iterator end() const {
    return Slots.begin() + static_cast<std::ptrdiff_t>(Used);
  }

private:
  friend class LcManifestReader;
  /// Slots[0, Used) hold the record; later slots, up to Room, are spare
  /// storage.
  std::vector<LcAttribute> Slots;
  std::size_t Used = 0;
  std::size_t Room = 0;
};

/// Reads a checks manifest record by record. A record is a run of non-empty
/// lines ended by one or more empty lines; "\n" and "\r\n" line ends are
/// accepted; lines without "=", with an empty key or with an empty value are
/// dropped. Bytes are taken as they stand (no byte-order mark handling).
///
/// A pass is: Open, then while !AtEnd() use Current() and Advance(), then
/// Close. Open reads the first record and leaves AtEnd() false; Advance sets
/// AtEnd() when the record it read was ended by the end of the input. So a
/// record after the first one counts only when an empty line follows it,
/// while a file holding a single record is read in full.
///
/// The input is read in blocks into a buffer of the reader (a file straight
/// from its descriptor, a stream from its buffer through rdbuf()->sgetn),
/// where records are kept as views: nothing of a line is copied. The buffer
/// holds at least the current record and the line being read; it starts at
/// the block size given to the constructor and doubles whenever one record
/// does not fit, so a line of any length can be read as long as memory lasts.
/// Running out of memory (std::bad_alloc, or whatever the new-handler throws)
/// reaches the caller; a read error (std::ios_base::failure) ends the input,
/// the line it interrupted being lost, like the end of the file. A borrowed
/// stream is left in the state line-by-line extraction would leave it in: eof
/// at the end of the input, fail once a line could not be read, bad after a
/// read error or when an exception leaves the reader. The reader reads ahead
/// of the records it has handed out, so a borrowed stream closed before its
/// end has been consumed further than the records seen.
///
/// With a key filter (SetKeyFilter) the reader skims: once a record holds a
/// valid line, it looks only at the lines whose key can pass the filter and
/// at empty lines, found through bit masks of whole 64-byte blocks
/// (LcByteMasks), and passes every other line by without a loop over its
/// bytes.
///
/// The input, the buffer and the record rules are in LcManifestReader.cpp;
/// the skimming loops, one per kind of masks, in LcManifestSkimmer.cpp.
///
/// The reader owns the file it opens; a stream handed to it is borrowed and
/// must outlive the reader or its Close. While reading, the stream's
/// exception mask is badbit; Close restores it. A stream that is not good
/// when it is handed over yields no lines.
class LcManifestReader {
public:
  /// Initial size of the reader's own buffer.
  static constexpr std::size_t DefaultBlockSize = 256 * 1024;
  /// Until RampUpInput bytes have been read since Open, a read asks for at
  /// most RampUpReadSize bytes, so that a short manifest touches only the
  /// start of the buffer: a page of memory touched for the first time costs
  /// about as much as reading a page of the manifest.
  static constexpr std::size_t RampUpInput = 1024 * 1024;
  static constexpr std::size_t RampUpReadSize = 64 * 1024;

  /// BlockSize (at least 1) is the initial size of the reader's buffer and
  /// thereby the most it asks of the input at once. Skimming classifies the
  /// text the way Masks does, which this processor must be able to run.
  explicit LcManifestReader(std::size_t BlockSize = DefaultBlockSize,
                            LcMaskKind Masks = LcBestMaskKind());
  ~LcManifestReader();
  LcManifestReader(const LcManifestReader &) = delete;
  LcManifestReader &operator=(const LcManifestReader &) = delete;

  /// The attributes the records read from now on keep.
  void SetKeyFilter(const LcKeyFilter &Filter);

  /// Opens the manifest file Path on Disk for reading and reads its first
  /// record. When the file cannot be opened, or names a directory, reports
  /// Lc002 with Path to Console and throws MsConsoleException. The reader
  /// borrows Disk until Close.
  void Open(MsConsole &Console, GeDiskInterface &Disk, const std::string &Path);
  /// Reads from Stream and reads its first record.
  void Open(std::istream &Stream);

  bool AtEnd() const { return AtEndFlag; }
  /// The record read last.
  const LcRecord &Current() const { return Record; }
  /// Reads the next record unless at end; answers false and sets AtEnd() when
  /// that record was ended by the end of the input.
  bool Advance();
  /// Releases the input and sets AtEnd(). Also done by the destructor.
  void Close();

private:
  class FileSource;
  struct Skimmers;
  struct SkimBlock;
  friend struct Skimmers;

  void Start(std::istream *Stream);
  bool ReadRecord();
  bool ScanRecord();
  bool SkimRecord();
  bool HandleLine(const char *Line, std::size_t Size);
  bool NextLine(const char *&Line, std::size_t &Size);
  void TakeLine(const void *NewlineAt, const char *&Line, std::size_t &Size);
  bool NextLineAfterRefill(const char *&Line, std::size_t &Size);
  bool TakeLastLine(const char *&Line, std::size_t &Size);
  void Store(const char *Line, std::size_t Eq, std::size_t Size);
  void GrowSlots();
  template <class Kernel, std::size_t N> bool SkimWith();
  template <class Kernel, std::size_t N>
  void MaskBlock(SkimBlock &B, std::size_t At, bool Fresh) const;
  template <class Kernel, std::size_t N>
  std::size_t TakeCandidate(SkimBlock &B, unsigned Bit);
  bool Refill();
  std::size_t ReadSome(char *Into, std::size_t Room);
  void MakeRoom();
  void EndInput(std::ios_base::iostate State);
  void EndOfFile();

  std::unique_ptr<FileSource> File;
  std::istream *In = nullptr;
  std::ios_base::iostate SavedExceptions = std::ios_base::goodbit;
  bool AtEndFlag = true;
  LcRecord Record;
  /// Whether a valid line has been read into the record, kept or not.
  bool Holding = false;

  /// The buffer: [0, Filled) holds input read; lines before Next have been
  /// handed out; [Next, Scanned) is known to hold no "\n"; RegionEnd is just
  /// past the last "\n" read, so [Next, RegionEnd) holds whole lines. Past
  /// Capacity lie LcMaskBlockSize more bytes, so that a block may be
  /// classified wherever it starts before Filled.
  std::size_t BlockSize;
  std::unique_ptr<char[]> Buffer;
  std::size_t Capacity = 0;
  std::size_t Next = 0;
  std::size_t Scanned = 0;
  std::size_t Filled = 0;
  std::size_t RegionEnd = 0;
  /// Set once the input has reported its end or a read error.
  bool InputEnded = false;
  /// Set after a read error: the line it interrupted is dropped.
  bool ReadFailed = false;
  /// How much input has been read since Open.
  std::size_t Consumed = 0;

  /// The key filter and what skimming makes of it.
  LcKeyFilter Filter;
  /// Whether the reader skims (a filter is set that it can skim for).
  bool Skims = false;
  /// Skims the whole lines from Next on; answers true at the empty line that
  /// ends a held record (Next just past it), false when they are used up
  /// (Next = RegionEnd).
  bool (*SkimRegion)(LcManifestReader &Reader) = nullptr;
  LcMaskKind MaskKind;
  /// A probe finds the lines whose key is Length bytes long and begins with
  /// initial K (its index) of Initials, or with any byte when Any is all
  /// ones.
  struct SkimProbe {
    unsigned Length = 0;
    std::uint64_t Any = 0;
  };
  static constexpr std::size_t MaxProbes = LcInitials::MaxCount;
  SkimProbe Probes[MaxProbes];
  LcInitials Initials;

  /// The block being skimmed, valid while Valid is set: it starts at At;
  /// Events holds its empty lines (their "\n") and candidate "=" signs;
  /// Newline and Equals are its masks, PrevNewline and PrevEquals those of
  /// the block before it; PrevStarts carries what the next block needs.
  struct SkimBlock {
    // Each mask sits apart from its predecessor, so that copying one to the
    // other is never merged into one wide move, which reloading the single
    // fields could not forward from.
    std::uint64_t Newline = 0;
    std::uint64_t Events = 0;
    std::uint64_t PrevNewline = 0;
    std::uint64_t Equals = 0;
    std::size_t At = 0;
    std::uint64_t PrevEquals = 0;
    bool Valid = false;
    std::uint64_t PrevStarts[MaxProbes] = {};
  };
  SkimBlock Block;
};

/// Appends the attribute Line[0, Size), split at Line[Eq], to the record.
inline void LcManifestReader::Store(const char *Line, std::size_t Eq,
                                    std::size_t Size) {
  if (Record.Used == Record.Room)
    GrowSlots();
  LcAttribute &Slot = Record.Slots[Record.Used++];
  Slot.Line = Line;
  Slot.Eq = Eq;
  Slot.Size = Size;
}

#endif

// The checks manifest reader: records of key=value lines, read one at a time.
#ifndef TOOL_LCMANIFESTREADER_H
#define TOOL_LCMANIFESTREADER_H

#include <cstddef>
#include <ios>
#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// One attribute of a manifest record: a line of the form key=value, split at
/// its first "=". The key and the value are views into the stored line and
/// stay valid until the reader reads the next record.
class LcAttribute {
public:
  std::string_view Key() const { return std::string_view(Line).substr(0, Eq); }
  std::string_view Value() const {
    return std::string_view(Line).substr(Eq + 1);
  }

private:
  friend class LcManifestReader;
  std::string Line;
  std::size_t Eq = 0;
};

/// One manifest record: its attributes in file order, duplicate keys kept.
/// The record owns the storage of its lines; the reader reuses that storage
/// for the next record, so reading does not allocate once the longest record
/// has been seen.
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
  /// Slots[0, Used) hold the record; later slots are spare storage.
  std::vector<LcAttribute> Slots;
  std::size_t Used = 0;
};

/// Reads a checks manifest record by record. A record is a run of non-empty
/// lines ended by one or more empty lines; "\n" and "\r\n" line ends are
/// accepted; lines without "=", with an empty key or with an empty value are
/// dropped. Bytes are taken as they stand (no byte-order mark handling).
///
/// A pass is: Open, then while !AtEnd() use Current() and Advance(), then
/// Close. Open reads the first record and leaves AtEnd() false; Advance sets
/// AtEnd() when the record it read was ended by a failed read. So a record
/// after the first one counts only when an empty line follows it, while a
/// file holding a single record is read in full.
///
/// The reader owns the stream it opens on a file; a stream handed to it is
/// borrowed and must outlive the reader or its Close. While reading, the
/// stream's exception mask is badbit, so that an exception thrown inside the
/// stream (std::bad_alloc among them) reaches the caller instead of being
/// turned into a silent end of input; only std::ios_base::failure, the
/// stream's own read error, ends the input. Close restores the mask.
class LcManifestReader {
public:
  /// Size of the buffer of a stream the reader opens on a file.
  static constexpr std::streamsize BufferSize = 64 * 1024;

  LcManifestReader();
  ~LcManifestReader();
  LcManifestReader(const LcManifestReader &) = delete;
  LcManifestReader &operator=(const LcManifestReader &) = delete;

  /// Opens the manifest file Path for reading in binary mode and reads its
  /// first record. When the file cannot be opened, or names a directory,
  /// reports Lc002 with Path and throws MsConsoleException.
  void Open(const std::string &Path);
  /// Reads from Stream and reads its first record.
  void Open(std::istream &Stream);

  bool AtEnd() const { return AtEndFlag; }
  /// The record read last.
  const LcRecord &Current() const { return Record; }
  /// Reads the next record unless at end; answers false and sets AtEnd() when
  /// the stream is then failed or bad.
  bool Advance();
  /// Releases the stream and sets AtEnd(). Also done by the destructor.
  void Close();

private:
  class FileStream;

  void Start(std::istream &Stream);
  void ReadRecord();
  bool ReadLine(std::string &Line);

  std::unique_ptr<FileStream> File;
  std::istream *In = nullptr;
  std::ios_base::iostate SavedExceptions = std::ios_base::goodbit;
  bool AtEndFlag = true;
  LcRecord Record;
};

#endif

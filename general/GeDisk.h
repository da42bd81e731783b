// The file-system seam: the few operations on files that output files and
// the check selection perform, behind one interface, so that a test can put
// an in-memory disk with planned failures in place of the real one.
#ifndef GENERAL_GEDISK_H
#define GENERAL_GEDISK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

/// What a look at a name (Stat, LStat, StatHandle) tells of the file.
struct GeFileStatus {
  enum class Kind { Regular, Directory, Link, Other };
  Kind Type = Kind::Other;
  std::uint64_t Device = 0;
  std::uint64_t Inode = 0;
};

/// How OpenWrite opens a file: created or truncated, created or appended
/// to, or created only when no file of that name exists (EEXIST otherwise).
enum class GeWriteMode { Truncate, Append, CreateExclusive };

/// The operations on files that the output files and the check selection
/// need, as the system calls they stand for. Every operation answers 0 on
/// success or the errno value of the failure (never -1), so that callers
/// keep their own error paths and messages. A handle from OpenRead or
/// OpenWrite belongs to the caller until it hands it to Close. Paths are
/// taken as they stand; a relative path is relative to the current folder.
class GeDiskInterface {
public:
  virtual ~GeDiskInterface();
  /// stat(2): links are followed.
  virtual int Stat(const std::string &Path, GeFileStatus &Status) = 0;
  /// lstat(2): a link is answered as a link.
  virtual int LStat(const std::string &Path, GeFileStatus &Status) = 0;
  /// fstat(2) of an open handle.
  virtual int StatHandle(int Handle, GeFileStatus &Status) = 0;
  /// readlink(2): Text becomes the text of the link Path.
  virtual int ReadLink(const std::string &Path, std::string &Text) = 0;
  /// Opens Path for reading.
  virtual int OpenRead(const std::string &Path, int &Handle) = 0;
  /// Opens Path for writing as Mode says; a file it creates gets the
  /// permissions 0666 less the umask.
  virtual int OpenWrite(const std::string &Path, GeWriteMode Mode,
                        int &Handle) = 0;
  /// Reads at most Size bytes into Data; Got is 0 at the end of the file.
  /// An interrupted read is tried again.
  virtual int Read(int Handle, char *Data, std::size_t Size,
                   std::size_t &Got) = 0;
  /// Writes all Size bytes of Data, through short writes and interruptions.
  virtual int Write(int Handle, const char *Data, std::size_t Size) = 0;
  /// Closes Handle; it is gone even when the close fails.
  virtual int Close(int Handle) = 0;
  /// rename(2): replaces To in one step.
  virtual int Rename(const std::string &From, const std::string &To) = 0;
  /// unlink(2).
  virtual int Remove(const std::string &Path) = 0;
};

/// The disk of the system: each operation is the system call it names. It
/// holds no state, so one instance serves the whole process.
class GeRealDisk : public GeDiskInterface {
public:
  int Stat(const std::string &Path, GeFileStatus &Status) override;
  int LStat(const std::string &Path, GeFileStatus &Status) override;
  int StatHandle(int Handle, GeFileStatus &Status) override;
  int ReadLink(const std::string &Path, std::string &Text) override;
  int OpenRead(const std::string &Path, int &Handle) override;
  int OpenWrite(const std::string &Path, GeWriteMode Mode,
                int &Handle) override;
  int Read(int Handle, char *Data, std::size_t Size,
           std::size_t &Got) override;
  int Write(int Handle, const char *Data, std::size_t Size) override;
  int Close(int Handle) override;
  int Rename(const std::string &From, const std::string &To) override;
  int Remove(const std::string &Path) override;
};

/// The one stateless real disk that code reaching no other disk uses.
GeDiskInterface &GeDefaultDisk();

/// A stream buffer that writes a file opened on a disk, in blocks of the
/// size a file stream of the C++ library uses, so that a write failure shows
/// at the same point as it would there: while writing once a block is full,
/// else at the flush. Borrows the disk; owns the handle and closes it in
/// Close or, unchecked, in the destructor.
class GeDiskWriteBuf : public std::streambuf {
public:
  GeDiskWriteBuf(GeDiskInterface &Disk, int Handle);
  ~GeDiskWriteBuf() override;
  GeDiskWriteBuf(const GeDiskWriteBuf &) = delete;
  GeDiskWriteBuf &operator=(const GeDiskWriteBuf &) = delete;

  /// Writes what is buffered and closes the handle; answers 0 or the errno
  /// value of the first failure (a write, else the close).
  int Close();
  bool IsOpen() const { return Handle >= 0; }

protected:
  int_type overflow(int_type Ch) override;
  int sync() override;

private:
  bool WriteOut();

  GeDiskInterface &Disk;
  int Handle;
  std::unique_ptr<char[]> Buffer;
  /// The errno value of the first failed write, 0 while none failed.
  int Failure = 0;
};

/// An output stream on a file opened on a disk (see GeDiskWriteBuf).
class GeDiskOutStream : public std::ostream {
public:
  GeDiskOutStream(GeDiskInterface &Disk, int Handle);
  /// Flushes and closes the file; sets failbit when either fails.
  void Close();
  bool IsOpen() const { return Buf.IsOpen(); }

private:
  GeDiskWriteBuf Buf;
};

#endif

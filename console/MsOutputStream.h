// Output files of the framework: written so that a failure never leaves a
// half-written target behind, with every failure reported to the console.
#ifndef CONSOLE_MSOUTPUTSTREAM_H
#define CONSOLE_MSOUTPUTSTREAM_H

#include "general/GeDisk.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

class MsConsole;

/// Opens output files. Three kinds exist:
///
/// - Temp: the text goes into a temporary file (eight random characters and
///   ".tmp") in the folder of the file the target leads to once symbolic
///   links are followed; Close flushes and closes it and renames it onto
///   that file with one rename(2), so the target is never missing and a link
///   stays a link. After a failure the target keeps its old contents and the
///   temporary file is gone.
/// - Volatile: the old target is removed and the target is written in place;
///   after a failure it is removed, so it does not exist.
/// - Console: the text goes to standard output (the buffer std::cout has at
///   the time of opening) when the file is closed; only text mode is
///   possible. A console file abandoned without Close writes nothing.
///
/// The path "-" means standard output for every kind. A target that exists
/// and, links followed, is neither a regular file nor a folder (a device
/// such as /dev/null or /dev/full, a pipe, a socket) is written in place by
/// the Temp and Volatile kinds: it has no contents to keep, and it is never
/// removed or replaced. So is a regular file that a link leads to only
/// through a link whose text names no path (such as /proc/self/fd/1 for a
/// file that was deleted).
///
/// While a temporary file, or a volatile target, may still have to go, its
/// path is listed in MsTempFileRegistry, so that SIGINT, SIGTERM and SIGHUP
/// remove it before they end the process.
///
/// Failures are diagnostics of the "Ms" table at level 2 without position:
/// Ms003 the file cannot be opened, Ms004 the stream failed while it was
/// written (for standard output: any failure to write it), Ms005 the flush,
/// close or rename failed (or anything else threw while closing), Ms006 the
/// path is not usable (empty, or an existing folder). A successful close of
/// a Temp or Volatile file tells the console that the target was written
/// (NotifyOutputFileWritten).
class MsOutputStream {
public:
  enum class Kind { Temp, Volatile, Console };
  enum class Mode { Text, Binary };

  /// One open output file. Owns its stream and, for the Temp and Volatile
  /// kinds, the file that would have to go after a failure: destroying an
  /// OutFile that was not closed abandons it (the temporary file, or the
  /// volatile target, is removed), so an exception while writing leaves
  /// nothing half-written behind.
  class OutFile {
  public:
    virtual ~OutFile();
    /// The stream to write to. After Close it writes nowhere.
    virtual std::ostream &Stream() = 0;
    /// Ends the file as described for its kind and reports a failure to the
    /// console; answers whether the target was written. A second call
    /// answers the first call's result and does nothing else. Rethrows
    /// MsConsoleException and std::bad_alloc raised meanwhile, after the
    /// cleanup.
    virtual bool Close() = 0;
    /// The target path as it was given to Open.
    virtual const std::string &Path() const = 0;
  };

  /// Opens Path on Disk as an output file of kind K. For the Temp and
  /// Volatile kinds reports Ms006 (empty path, existing folder) or Ms003 (the
  /// file cannot be opened) to Console and answers null; "-" opens a Console
  /// file instead. For the Console kind Path only names the output in
  /// messages; Mode::Binary is the internal failure "MsOutputStream: console
  /// opened in non-text mode". Text and binary mode write the same bytes.
  /// The file borrows Disk, which must outlive it.
  static std::unique_ptr<OutFile> Open(MsConsole &Console,
                                       GeDiskInterface &Disk, Kind K,
                                       const std::string &Path,
                                       Mode M = Mode::Text);
  /// The same on the console's own disk (MsConsole::Disk).
  static std::unique_ptr<OutFile> Open(MsConsole &Console, Kind K,
                                       const std::string &Path,
                                       Mode M = Mode::Text);

  // The questions below look at Disk, by default the real disk of the
  // process: they open nothing.

  /// Whether Path names an existing file that is neither a regular file
  /// nor a folder (a device, a pipe), which the Temp and Volatile kinds
  /// write in place. Links are followed.
  static bool IsSpecialFile(const std::string &Path,
                            GeDiskInterface &Disk = GeDefaultDisk());

  /// The path of the file Path leads to when its chain of symbolic links is
  /// followed by name: each link is replaced by its text, a relative text
  /// being taken from the link's folder. Path itself when it is no link; the
  /// last path of the chain when that does not exist (a dangling link).
  /// Empty after 40 links (a loop). Links in folder names are left alone:
  /// they lead to the same folder either way.
  static std::string FollowLinks(const std::string &Path,
                                 GeDiskInterface &Disk = GeDefaultDisk());

  /// Whether A and B name the same file, however they are spelt: the same
  /// device and inode for files that exist (links followed, so a hard link
  /// and a symbolic link count as the file itself); for a name that does not
  /// exist yet, the same folder and the same last component once links are
  /// followed. False when either cannot be looked at.
  static bool SameFile(const std::string &A, const std::string &B,
                       GeDiskInterface &Disk = GeDefaultDisk());

  /// A path in Folder (the current folder when empty) for a new temporary
  /// file: eight characters from A-Z, a-z, 0-9, each the next output of the
  /// process-wide MT19937 generator modulo 62, then ".tmp"; drawn again
  /// while a file of that name exists. The file is not created.
  static std::string TempFilePath(const std::string &Folder,
                                  GeDiskInterface &Disk = GeDefaultDisk());

  /// Seeds the process-wide generator with Seed. Without a call it is
  /// seeded once, on first use, from the current time XOR the process id.
  static void SeedGenerator(std::uint32_t Seed);
};

#endif

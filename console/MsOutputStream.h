// Output files of the framework: written so that a failure never leaves a
// half-written target behind, with every failure reported to the console.
#ifndef CONSOLE_MSOUTPUTSTREAM_H
#define CONSOLE_MSOUTPUTSTREAM_H

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

class MsConsole;

/// Opens output files. Three kinds exist:
///
/// - Temp: the text goes into a temporary file in the target's folder (eight
///   random characters and ".tmp"); Close flushes and closes it, removes the
///   old target and renames the temporary file onto it. After a failure the
///   target keeps its old contents and the temporary file is gone.
/// - Volatile: the old target is removed and the target is written in place;
///   after a failure it is removed, so it does not exist.
/// - Console: the text goes to standard output (the stream std::cout writes
///   to at the time of opening); only text mode is possible.
///
/// A target that exists and is neither a regular file nor a folder (a
/// device such as /dev/null or /dev/full, a pipe) is written in place by
/// the Temp and Volatile kinds: it has no contents to keep, and it is never
/// removed or replaced.
///
/// Failures are diagnostics of the "Ms" table at level 2 without position:
/// Ms003 the file cannot be opened, Ms004 the stream failed while it was
/// written, Ms005 the flush, close or rename failed (or anything else threw
/// while closing), Ms006 the path is not usable (empty, or an existing
/// folder). A successful close tells the console that the target was written
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

  /// Opens Path as an output file of kind K. For the Temp and Volatile kinds
  /// reports Ms006 (empty path, existing folder) or Ms003 (the file cannot be
  /// opened) to Console and answers null. For the Console kind Path only
  /// names the output in messages; Mode::Binary is the internal failure
  /// "MsOutputStream: console opened in non-text mode".
  static std::unique_ptr<OutFile> Open(MsConsole &Console, Kind K,
                                       const std::string &Path,
                                       Mode M = Mode::Text);

  /// Whether Path names an existing file that is neither a regular file
  /// nor a folder (a device, a pipe), which the Temp and Volatile kinds
  /// write in place. Links are followed.
  static bool IsSpecialFile(const std::string &Path);

  /// A path in Folder (the current folder when empty) for a new temporary
  /// file: eight characters from A-Z, a-z, 0-9, each the next output of the
  /// process-wide MT19937 generator modulo 62, then ".tmp"; drawn again
  /// while a file of that name exists. The file is not created.
  static std::string TempFilePath(const std::string &Folder);

  /// Seeds the process-wide generator with Seed. Without a call it is
  /// seeded once, on first use, from the current time XOR the process id.
  static void SeedGenerator(std::uint32_t Seed);
};

#endif

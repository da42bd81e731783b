// The checks manifest as the selection passes read it: opened again for
// each pass, or read once and copied when it can be read only once.
#ifndef TOOL_LCMANIFESTSOURCE_H
#define TOOL_LCMANIFESTSOURCE_H

#include "console/MsMessages.h"

#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/stream.hpp>

#include <memory>
#include <string>

class GeDiskInterface;
class LcManifestReader;
class MsConsole;

/// The manifest as the passes read it. Each pass opens the file again on the
/// disk, unless it can be read only once (a pipe, a FIFO, a terminal) and
/// more than one pass reads it: then the first pass copies it into an
/// anonymous file, in blocks, and every pass reads the copy from its start.
/// The copy is a memory file (memfd_create), or when the system has none an
/// unnamed file (O_TMPFILE) in $TMPDIR or /tmp; it has no name, so nothing is
/// left behind, whatever ends the run. Borrows the console and the disk.
class LcManifestSource {
public:
  LcManifestSource(MsConsole &Console, GeDiskInterface &Disk,
                   std::string ManifestPath, bool ReadOnce);
  ~LcManifestSource();
  LcManifestSource(const LcManifestSource &) = delete;
  LcManifestSource &operator=(const LcManifestSource &) = delete;

  /// Opens Reader on the manifest. A manifest that cannot be opened is
  /// reported as Lc002; a copy that cannot be made or written, as Ms003 or
  /// Ms004 with the copy's name; both throw MsConsoleException.
  void Open(LcManifestReader &Reader);

private:
  using CopyStream =
      boost::iostreams::stream<boost::iostreams::file_descriptor_source>;

  void MakeCopy();
  int MakeAnonymousFile();
  [[noreturn]] void Fail(MsMessageNumber Number);

  MsConsole &Console;
  GeDiskInterface &Disk;
  std::string Path;
  bool Once;
  /// The descriptor of the copy, -1 until it is made.
  int Copy = -1;
  std::string CopyName;
  /// The stream of the current pass over the copy; the reader borrows it.
  std::unique_ptr<CopyStream> Stream;
};

#endif

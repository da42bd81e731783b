// The files an interrupted run must not leave behind: the temporary files of
// output files, removed by the handler of SIGINT, SIGTERM and SIGHUP before
// the signal ends the process.
#ifndef CONSOLE_MSTEMPFILEREGISTRY_H
#define CONSOLE_MSTEMPFILEREGISTRY_H

#include <boost/core/noncopyable.hpp>

#include <csignal>
#include <cstddef>
#include <string>

/// A process-wide list of file paths that are removed with unlink(2) when
/// SIGINT, SIGTERM or SIGHUP arrives; the handler then restores the signal's
/// default action and raises it again, so that the process ends as it would
/// have without the handler (a shell sees 128 + the signal number).
///
/// The handler only reads the list and calls unlink, sigaction, sigprocmask
/// and raise, all async-signal-safe. Add and Remove change the list, and may
/// allocate, only while the three signals are blocked, so the handler never
/// sees a list that is being changed. The entries are the registry's own
/// copies of the paths; the registry lives until the process ends.
///
/// InstallHandlers leaves a signal whose action is "ignore" as it is (a run
/// started under nohup keeps ignoring SIGHUP) and does not touch any other
/// signal. Single-threaded use only, like the rest of the framework.
class MsTempFileRegistry {
public:
  /// Installs the handler for SIGINT, SIGTERM and SIGHUP, unless a signal is
  /// ignored. Later calls do nothing. Add calls it, so the handler is in
  /// place before the first file is listed.
  static void InstallHandlers();

  /// Adds Path to the files the handler removes. Throws what the allocation
  /// of the entry throws, with the list unchanged.
  static void Add(const std::string &Path);
  /// Takes the entry for Path (the latest one, when it was added more than
  /// once) out of the list. Unknown paths are ignored.
  static void Remove(const std::string &Path);

  /// The number of entries in the list.
  static std::size_t Size();

  /// Blocks SIGINT, SIGTERM and SIGHUP for its lifetime, so that a file can
  /// be made, or renamed, and its entry added or removed, as one step that no
  /// signal falls between. Scopes nest; a signal that arrived meanwhile is
  /// delivered when the outermost scope ends.
  class SignalBlock : boost::noncopyable {
  public:
    SignalBlock();
    ~SignalBlock();

  private:
    sigset_t Saved;
  };
};

#endif

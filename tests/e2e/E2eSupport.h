// Running the built chksel as a child process in a folder of its own, with
// its standard output, standard error and exit status captured. The file
// helpers of the shared test support are brought in under the names the
// end-to-end tests use.
#ifndef TESTS_E2E_E2ESUPPORT_H
#define TESTS_E2E_E2ESUPPORT_H

#include "tests/support/TestFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace e2e {

using testsupport::Exists;
using testsupport::IsTempName;
using testsupport::NamesIn;
using testsupport::ReadFile;
using testsupport::TempDir;
using testsupport::TempFilesIn;
using testsupport::WriteFile;

/// What one run of a program produced.
struct RunResult {
  /// The exit status, or 128 + the signal number when a signal ended it.
  int Status = -1;
  /// The number of the signal that ended it; 0 when it exited.
  int Signal = 0;
  std::string Out;
  std::string Err;
};

/// How to start the program.
struct RunOptions {
  /// The working directory (the current one when empty).
  std::string Cwd;
  /// argv[0]; the program path when empty.
  std::string Argv0;
  /// Variables set in the child's environment. ZOR_INTERNAL__USE_FAKE_SIGNON
  /// is removed from the inherited environment unless it is set here.
  std::map<std::string, std::string> Env;
  /// Standard input (empty: /dev/null).
  std::string Stdin;
  /// Limit of the address space in bytes (0: none).
  unsigned long long AddressSpaceLimit = 0;
  /// Run as the unprivileged user "nobody" (65534) when started as root, so
  /// that file permissions apply.
  bool Unprivileged = false;
  /// Descriptors closed in the child before it starts (0, 1 or 2 among
  /// them: the child then starts without them).
  std::vector<int> Closed;
};

/// A program started by Start and not yet waited for. The child starts with
/// the default action for SIGINT, SIGTERM, SIGHUP, SIGPIPE and SIGXFSZ and
/// no signal blocked, whatever the test runner set up. Destroying a process
/// that was not waited for kills it and waits for it.
class Process {
public:
  Process(const Process &) = delete;
  Process &operator=(const Process &) = delete;
  Process(Process &&Other) noexcept;
  ~Process();

  int Pid() const { return Child; }
  /// Sends Signal to the child.
  void Signal(int Number) const;
  /// The state letter of the child in /proc/<pid>/stat ('S' sleeping, 'R'
  /// running, ...); 0 when it cannot be read.
  char State() const;
  /// Waits for the child to end, at most Seconds; a child still running
  /// then is killed with SIGKILL and TimedOut is set. Answers what it wrote.
  RunResult Wait(double Seconds = 60);
  bool TimedOut() const { return Killed; }

private:
  friend Process Start(const std::string &, const std::vector<std::string> &,
                       const RunOptions &);
  Process();

  std::unique_ptr<TempDir> Capture;
  int Child = -1;
  bool Killed = false;
};

/// Starts Program with Args without waiting for it.
Process Start(const std::string &Program, const std::vector<std::string> &Args,
              const RunOptions &Options = RunOptions());

/// Runs Program with Args and waits for it.
RunResult Run(const std::string &Program, const std::vector<std::string> &Args,
              const RunOptions &Options = RunOptions());

/// Runs the built chksel.
RunResult RunChksel(const std::vector<std::string> &Args,
                    const RunOptions &Options = RunOptions());

/// Waits until Condition() holds, checking every few milliseconds, at most
/// Seconds; answers whether it held.
bool WaitFor(const std::function<bool()> &Condition, double Seconds = 30);

/// The path of the built chksel.
std::string ChkselPath();

/// The lines of Text, without their line feeds.
std::vector<std::string> SplitLines(const std::string &Text);

/// The full path of the program Name found on PATH, empty when there is none.
std::string FindProgram(const std::string &Name);

/// Relative inside the source tree, and inside the build tree.
std::string SourcePath(const std::string &Relative);
std::string BuildPath(const std::string &Relative);
/// The cmake and cpack programs the build tree was configured with.
std::string CMakeProgram();
std::string CPackProgram();

/// The modification time of Path in nanoseconds.
long long ModifiedNs(const std::string &Path);
/// Sets the modification time of Path to the file system's current time, so
/// that Path is newer than Reference and older than any file written after
/// the call returns, even on coarse file clocks.
void TouchAfter(const std::string &Path, const std::string &Reference);

/// A test in a temporary folder of its own, in which chksel runs.
class FolderTest : public ::testing::Test {
protected:
  /// Options that run a program in the folder.
  RunOptions Here() const;
  /// Runs chksel in the folder.
  RunResult RunHere(const std::vector<std::string> &Args) const;
  std::string Read(const std::string &Name) const;
  void Write(const std::string &Name, const std::string &Bytes) const;
  /// Every name in Folder, a path relative to the folder.
  std::set<std::string> Names(const std::string &Folder = "") const;

  TempDir Dir;
};

/// A manifest of two checks: Alpha in package P, Beta in package Q.
extern const char TwoCheckManifest[];

/// The diagnostic message tables, as a dump into a file of a fresh folder
/// writes them.
std::string DumpedTables();

} // namespace e2e

#endif

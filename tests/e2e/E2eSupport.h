// Running the built chksel as a child process in a folder of its own, with
// its standard output, standard error and exit status captured.
#ifndef TESTS_E2E_E2ESUPPORT_H
#define TESTS_E2E_E2ESUPPORT_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace e2e {

/// A fresh temporary folder, removed with its contents on destruction.
class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;

  const std::filesystem::path &Root() const { return Dir; }
  /// The path of Name inside the folder.
  std::string Path(const std::string &Name) const;

private:
  std::filesystem::path Dir;
};

/// What one run of a program produced.
struct RunResult {
  /// The exit status, or 128 + the signal number when a signal ended it.
  int Status = -1;
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
};

/// Runs Program with Args and waits for it.
RunResult Run(const std::string &Program, const std::vector<std::string> &Args,
              const RunOptions &Options = RunOptions());

/// Runs the built chksel.
RunResult RunChksel(const std::vector<std::string> &Args,
                    const RunOptions &Options = RunOptions());

/// The path of the built chksel.
std::string ChkselPath();

std::string ReadFile(const std::string &Path);
void WriteFile(const std::string &Path, const std::string &Bytes);
bool Exists(const std::string &Path);
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
/// Sets the modification time of Path to the current time, after waiting
/// until the clock is clearly past the modification time of Reference, so
/// that Path is newer than Reference even on coarse file clocks.
void TouchAfter(const std::string &Path, const std::string &Reference);

} // namespace e2e

#endif

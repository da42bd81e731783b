// Files for the tests: a temporary folder that cleans up after itself,
// reading and writing whole files, and listing what a folder holds.
#ifndef TESTS_SUPPORT_TESTFILES_H
#define TESTS_SUPPORT_TESTFILES_H

#include <filesystem>
#include <set>
#include <string>

namespace testsupport {

/// A fresh folder under the system's temporary folder, created by the
/// constructor and removed with everything in it by the destructor, even
/// when a test took the write permission away from it.
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

/// The bytes of the file Path; throws std::runtime_error when it cannot be
/// read.
std::string ReadFile(const std::string &Path);
/// The bytes of the file Path, or IfMissing when it cannot be opened.
std::string ReadFileOr(const std::string &Path, const std::string &IfMissing);
/// Writes Bytes to Path, replacing what was there; throws
/// std::runtime_error when the write fails.
void WriteFile(const std::string &Path, const std::string &Bytes);
bool Exists(const std::string &Path);
bool IsCharacterDevice(const std::string &Path);

/// Every name in Folder (none when it cannot be read).
std::set<std::string> NamesIn(const std::string &Folder);
/// Whether Name has the shape of the temporary file of an output file:
/// eight letters or digits and ".tmp".
bool IsTempName(const std::string &Name);
/// The names in Folder that have the shape of a temporary file.
std::set<std::string> TempFilesIn(const std::string &Folder);

} // namespace testsupport

#endif

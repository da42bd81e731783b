// Shared support of the output-file and dependency-list tests: a scratch
// folder, reading and writing whole files, and the temporary files in a
// folder.
#ifndef TESTS_CONSOLE_MSFILETESTSUPPORT_H
#define TESTS_CONSOLE_MSFILETESTSUPPORT_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>

namespace mstest {

/// A fresh folder under the system's temporary folder, removed with its
/// contents on destruction.
class ScratchDir {
public:
  ScratchDir() {
    std::string Pattern =
        (std::filesystem::temp_directory_path() / "msfile-XXXXXX").string();
    if (!::mkdtemp(Pattern.data()))
      throw std::runtime_error("mkdtemp failed");
    Dir = Pattern;
  }
  ~ScratchDir() {
    std::error_code Error;
    // A test may have taken the write permission away.
    std::filesystem::permissions(Dir, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, Error);
    std::filesystem::remove_all(Dir, Error);
  }
  ScratchDir(const ScratchDir &) = delete;
  ScratchDir &operator=(const ScratchDir &) = delete;

  std::string Path(const std::string &Name) const {
    return (Dir / Name).string();
  }
  std::string Root() const { return Dir.string(); }

private:
  std::filesystem::path Dir;
};

inline std::string Slurp(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  if (!In)
    return "<missing>";
  return std::string(std::istreambuf_iterator<char>(In),
                     std::istreambuf_iterator<char>());
}

inline void Spit(const std::string &Path, const std::string &Bytes) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out << Bytes;
}

inline bool IsTempName(const std::string &Name) {
  if (Name.size() != 12 || Name.compare(8, 4, ".tmp") != 0)
    return false;
  for (std::size_t I = 0; I < 8; ++I) {
    char C = Name[I];
    if (!((C >= 'A' && C <= 'Z') || (C >= 'a' && C <= 'z') ||
          (C >= '0' && C <= '9')))
      return false;
  }
  return true;
}

/// The names of the temporary files (eight letters or digits and ".tmp") in
/// Folder.
inline std::set<std::string> TempFilesIn(const std::string &Folder) {
  std::set<std::string> Names;
  std::error_code Error;
  for (const auto &Entry : std::filesystem::directory_iterator(Folder, Error)) {
    std::string Name = Entry.path().filename().string();
    if (IsTempName(Name))
      Names.insert(Name);
  }
  return Names;
}

/// Every name in Folder.
inline std::set<std::string> NamesIn(const std::string &Folder) {
  std::set<std::string> Names;
  std::error_code Error;
  for (const auto &Entry : std::filesystem::directory_iterator(Folder, Error))
    Names.insert(Entry.path().filename().string());
  return Names;
}

inline bool IsCharacterDevice(const std::string &Path) {
  struct stat Info;
  return ::stat(Path.c_str(), &Info) == 0 && S_ISCHR(Info.st_mode);
}

} // namespace mstest

#endif

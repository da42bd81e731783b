// Files for the tests.
#include "tests/support/TestFiles.h"

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>

namespace testsupport {

TempDir::TempDir() {
  std::string Pattern =
      (std::filesystem::temp_directory_path() / "chksel-test-XXXXXX").string();
  if (!::mkdtemp(Pattern.data()))
    throw std::runtime_error("mkdtemp failed");
  Dir = Pattern;
}

TempDir::~TempDir() {
  std::error_code Ignored;
  std::filesystem::permissions(Dir, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, Ignored);
  std::filesystem::remove_all(Dir, Ignored);
}

std::string TempDir::Path(const std::string &Name) const {
  return (Dir / Name).string();
}

std::string ReadFile(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  if (!In)
    throw std::runtime_error("cannot read " + Path);
  return std::string(std::istreambuf_iterator<char>(In),
                     std::istreambuf_iterator<char>());
}

std::string ReadFileOr(const std::string &Path, const std::string &IfMissing) {
  std::ifstream In(Path, std::ios::binary);
  if (!In)
    return IfMissing;
  return std::string(std::istreambuf_iterator<char>(In),
                     std::istreambuf_iterator<char>());
}

void WriteFile(const std::string &Path, const std::string &Bytes) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  if (!Out)
    throw std::runtime_error("cannot write " + Path);
}

bool Exists(const std::string &Path) {
  std::error_code Ignored;
  return std::filesystem::exists(Path, Ignored);
}

bool IsCharacterDevice(const std::string &Path) {
  struct stat Info;
  return ::stat(Path.c_str(), &Info) == 0 && S_ISCHR(Info.st_mode);
}

std::set<std::string> NamesIn(const std::string &Folder) {
  std::set<std::string> Names;
  std::error_code Error;
  for (const auto &Entry : std::filesystem::directory_iterator(Folder, Error))
    Names.insert(Entry.path().filename().string());
  return Names;
}

bool IsTempName(const std::string &Name) {
  if (Name.size() != 12 || Name.compare(8, 4, ".tmp") != 0)
    return false;
  for (std::size_t I = 0; I < 8; ++I)
    if (!std::isalnum(static_cast<unsigned char>(Name[I])))
      return false;
  return true;
}

std::set<std::string> TempFilesIn(const std::string &Folder) {
  std::set<std::string> Names;
  for (const std::string &Name : NamesIn(Folder))
    if (IsTempName(Name))
      Names.insert(Name);
  return Names;
}

} // namespace testsupport

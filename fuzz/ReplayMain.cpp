// Runs a fuzz harness over saved inputs without the fuzzer, so that the
// harnesses build with any compiler and every committed corpus entry is a
// test of the normal build.
//
// Usage: <harness> PATH...   Each PATH is a file, or a folder whose files
// are run in name order. Fails when a path names nothing to run; a harness
// that finds a defect ends the process itself.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size);

int main(int Argc, char **Argv) {
  namespace fs = std::filesystem;
  // Paths are made absolute first: a harness may change the current folder.
  std::vector<fs::path> Inputs;
  for (int I = 1; I < Argc; ++I) {
    std::error_code Error;
    const fs::path Path = fs::absolute(Argv[I], Error);
    std::vector<fs::path> Found;
    if (fs::is_directory(Path, Error)) {
      for (const fs::directory_entry &Entry : fs::directory_iterator(Path, Error))
        if (Entry.is_regular_file(Error))
          Found.push_back(Entry.path());
      std::sort(Found.begin(), Found.end());
    } else if (fs::is_regular_file(Path, Error)) {
      Found.push_back(Path);
    }
    if (Found.empty()) {
      std::cerr << Argv[I] << ": no inputs\n";
      return 1;
    }
    Inputs.insert(Inputs.end(), Found.begin(), Found.end());
  }
  if (Inputs.empty()) {
    std::cerr << "usage: " << (Argc > 0 ? Argv[0] : "replay") << " PATH...\n";
    return 2;
  }
  for (const fs::path &Input : Inputs) {
    std::ifstream In(Input, std::ios::binary);
    if (!In) {
      std::cerr << Input.string() << ": cannot read\n";
      return 1;
    }
    const std::string Bytes((std::istreambuf_iterator<char>(In)),
                            std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(Bytes.data()),
                           Bytes.size());
  }
  std::cout << Inputs.size() << " inputs replayed\n";
  return 0;
}

// Writes a generated checks manifest: chksel_genmanifest <records> <file>.
#include "bench/BenchManifestGenerator.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

int main(int argc, char **argv) {
  if (argc != 3) {
    std::cerr << "usage: chksel_genmanifest <records> <file>\n";
    return 2;
  }
  char *End = nullptr;
  unsigned long long Records = std::strtoull(argv[1], &End, 10);
  if (*argv[1] == '\0' || *End != '\0') {
    std::cerr << "chksel_genmanifest: not a record count: " << argv[1] << '\n';
    return 2;
  }
  try {
    BenchWriteManifestFile(argv[2], Records);
  } catch (const std::exception &E) {
    std::cerr << "chksel_genmanifest: " << E.what() << '\n';
    return 1;
  }
  return 0;
}

// A Boost.Iostreams sink on the program's standard output.
#include "tool/CoutSink.h"

#include <iostream>

std::streamsize CoutSink::write(const char *Data, std::streamsize Size) {
  std::cout.write(Data, Size);
  if (!std::cout)
    throw std::ios_base::failure("standard output: write failed");
  return Size;
}

bool CoutSink::flush() {
  std::cout.flush();
  if (!std::cout)
    throw std::ios_base::failure("standard output: flush failed");
  return true;
}

// Progress reports written as lines to standard output.
#include "console/MsWorkingProgress.h"

#include <iostream>

MsWorkingProgress::~MsWorkingProgress() = default;

void MsWorkingProgressConcrete::Start(std::int32_t Count,
                                      const std::string &Text) {
  std::cout << "Starting progress " << Text << " length " << Count << '\n';
}

void MsWorkingProgressConcrete::Progress(std::int32_t Count,
                                         const std::string &Text) {
  std::cout << "Progressing " << Text << " length " << Count << '\n';
}

void MsWorkingProgressConcrete::End(const std::string &Status) {
  std::cout << "Ending progress with status " << Status << '\n';
}

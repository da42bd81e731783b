// What the run function does to the process before anything else.
#include "setup/SuProcessStart.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Whether Descriptor is open.
bool IsOpen(int Descriptor) {
  return ::fcntl(Descriptor, F_GETFD) != -1 || errno != EBADF;
}

} // namespace

void SuPrepareProcess() {
  for (int Descriptor = 0; Descriptor <= 2; ++Descriptor) {
    if (IsOpen(Descriptor))
      continue;
    // The lowest free number is Descriptor itself, the lower ones being
    // open by now.
    int Opened = ::open("/dev/null", Descriptor == 0 ? O_RDONLY : O_WRONLY);
    if (Opened >= 0 && Opened != Descriptor) {
      ::dup2(Opened, Descriptor);
      ::close(Opened);
    }
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

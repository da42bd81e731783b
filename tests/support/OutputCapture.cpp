// Capturing what the code under test writes.
#include "tests/support/OutputCapture.h"

#include "tests/support/TestFiles.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace testsupport {

StreamRedirect::StreamRedirect(std::ostream &Redirected, std::streambuf &Target)
    : Stream(Redirected), Saved(Redirected.rdbuf(&Target)) {}

StreamRedirect::~StreamRedirect() {
  Stream.rdbuf(Saved);
  Stream.clear();
}

StreamCapture::StreamCapture(std::ostream &Captured)
    : Redirect(Captured, *Buffer.rdbuf()) {}

StdStreamCapture::StdStreamCapture() : Out(std::cout), Err(std::cerr) {}

DescriptorCapture::DescriptorCapture(int Fd, std::string CapturePath)
    : Target(Fd), Path(std::move(CapturePath)) {
  std::fflush(Fd == 2 ? stderr : stdout);
  Saved = ::dup(Target);
  int File = ::open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (Saved < 0 || File < 0 || ::dup2(File, Target) < 0)
    throw std::runtime_error("cannot redirect file descriptor " +
                             std::to_string(Target));
  ::close(File);
}

DescriptorCapture::~DescriptorCapture() { Restore(); }

std::string DescriptorCapture::Finish() {
  Restore();
  return ReadFile(Path);
}

void DescriptorCapture::Restore() {
  if (Saved >= 0) {
    ::dup2(Saved, Target);
    ::close(Saved);
    Saved = -1;
  }
}

} // namespace testsupport

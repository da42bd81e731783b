// Capturing what the code under test writes: into a string, by swapping the
// buffer of a C++ stream, or into a file, by redirecting a file descriptor.
#ifndef TESTS_SUPPORT_OUTPUTCAPTURE_H
#define TESTS_SUPPORT_OUTPUTCAPTURE_H

#include <ostream>
#include <sstream>
#include <string>

namespace testsupport {

/// Sends what is written to Stream into a string while it lives, and gives
/// the stream its buffer back and clears its state on destruction.
class StreamCapture {
public:
  explicit StreamCapture(std::ostream &Captured);
  ~StreamCapture();
  StreamCapture(const StreamCapture &) = delete;
  StreamCapture &operator=(const StreamCapture &) = delete;

  std::string Text() const { return Buffer.str(); }

private:
  std::ostream &Stream;
  std::ostringstream Buffer;
  std::streambuf *Saved;
};

/// Sends std::cout and std::cerr into strings while it lives.
class StdStreamCapture {
public:
  StdStreamCapture();

  std::string OutText() const { return Out.Text(); }
  std::string ErrText() const { return Err.Text(); }

private:
  StreamCapture Out;
  StreamCapture Err;
};

/// Redirects the file descriptor Fd (1 or 2) into the file CapturePath from
/// construction until Finish, which restores it and answers the bytes
/// written meanwhile. Nothing is flushed on the way back, so output still
/// buffered in the program is not captured.
class DescriptorCapture {
public:
  DescriptorCapture(int Fd, std::string CapturePath);
  ~DescriptorCapture();
  DescriptorCapture(const DescriptorCapture &) = delete;
  DescriptorCapture &operator=(const DescriptorCapture &) = delete;

  std::string Finish();

private:
  void Restore();

  int Target;
  std::string Path;
  int Saved = -1;
};

} // namespace testsupport

#endif

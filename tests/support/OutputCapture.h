// Capturing what the code under test writes: into a string, by swapping the
// buffer of a C++ stream, or into a file, by redirecting a file descriptor.
#ifndef TESTS_SUPPORT_OUTPUTCAPTURE_H
#define TESTS_SUPPORT_OUTPUTCAPTURE_H

#include <ostream>
#include <sstream>
#include <string>

namespace testsupport {

/// Points Stream at the buffer Target while it lives, and gives the stream
/// its own buffer back and clears its state on destruction. Target belongs
/// to the caller and outlives the redirection; it is how a test puts a
/// buffer of its own (one that refuses or records writes) under a stream.
class StreamRedirect {
public:
  StreamRedirect(std::ostream &Redirected, std::streambuf &Target);
  ~StreamRedirect();
  StreamRedirect(const StreamRedirect &) = delete;
  StreamRedirect &operator=(const StreamRedirect &) = delete;

private:
  std::ostream &Stream;
  std::streambuf *Saved;
};

/// Sends what is written to Stream into a string while it lives, and gives
/// the stream its buffer back and clears its state on destruction.
class StreamCapture {
public:
  explicit StreamCapture(std::ostream &Captured);

  std::string Text() const { return Buffer.str(); }
  /// The string stream the text collects in, for code under test that is
  /// handed a stream of its own besides writing to the captured one.
  std::ostream &Sink() { return Buffer; }

private:
  std::ostringstream Buffer;
  StreamRedirect Redirect;
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

// Tests of the progress lines.
#include "console/MsWorkingProgress.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace {

/// Sends standard output into a string stream for one scope.
class CoutCapture {
public:
  CoutCapture() : Saved(std::cout.rdbuf(Captured.rdbuf())) {}
  ~CoutCapture() { std::cout.rdbuf(Saved); }
  CoutCapture(const CoutCapture &) = delete;
  CoutCapture &operator=(const CoutCapture &) = delete;
  std::string Text() const { return Captured.str(); }

private:
  std::ostringstream Captured;
  std::streambuf *Saved;
};

TEST(MsWorkingProgressTest, Lines) {
  CoutCapture Capture;
  MsWorkingProgressConcrete Progress;
  MsWorkingProgress &P = Progress;
  P.Start(12, "reading");
  P.Progress(-3, "step");
  P.Start(0, "");
  P.End("done");
  P.End("");
  EXPECT_EQ(Capture.Text(), "Starting progress reading length 12\n"
                            "Progressing step length -3\n"
                            "Starting progress  length 0\n"
                            "Ending progress with status done\n"
                            "Ending progress with status \n");
}

} // namespace

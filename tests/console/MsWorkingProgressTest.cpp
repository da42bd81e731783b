// Tests of the progress lines.
#include "console/MsWorkingProgress.h"

#include "tests/support/OutputCapture.h"

#include <gtest/gtest.h>

#include <iostream>

namespace {

/// Sends standard output into a string for one scope.
class CoutCapture : public testsupport::StreamCapture {
public:
  CoutCapture() : StreamCapture(std::cout) {}
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

// Shared helpers of the tool's tests: a console of the test's own with the
// tool's table registered, and the general test support under the names the
// tool's tests use.
#ifndef TESTS_TOOL_LCTOOLTESTSUPPORT_H
#define TESTS_TOOL_LCTOOLTESTSUPPORT_H

#include "console/MsConsoleConcrete.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/PieceBuf.h"
#include "tests/support/TestFiles.h"
#include "tool/LcMessages.h"

#include <sstream>

namespace lctest {

using testsupport::PieceBuf;
using testsupport::ReadError;
using testsupport::ReadFile;
using testsupport::TempDir;
using testsupport::WriteFile;
inline bool FileExists(const std::string &Path) {
  return testsupport::Exists(Path);
}

/// Redirects file descriptor 1 into a file; see DescriptorCapture.
class StdoutCapture : public testsupport::DescriptorCapture {
public:
  explicit StdoutCapture(std::string CapturePath)
      : DescriptorCapture(1, std::move(CapturePath)) {}
};

/// A console of the test's own with the "Lc" table registered. Its
/// diagnostics go to a string stream, so that the test output stays clean.
class TestConsole : public MsConsoleConcrete {
public:
  TestConsole() {
    SetErrorStream(Diagnostics);
    LcRegisterMessages(*this);
  }

private:
  std::ostringstream Diagnostics;
};

} // namespace lctest

#endif

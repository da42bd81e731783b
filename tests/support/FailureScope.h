// Fault injection for the tests: a scope in which the program's
// internal-failure routine throws instead of ending the process, so that a
// test can see that a defect was detected and what was reported.
#ifndef TESTS_SUPPORT_FAILURESCOPE_H
#define TESTS_SUPPORT_FAILURESCOPE_H

#include "general/GeInternalFailure.h"

#include <stdexcept>
#include <string>

namespace testsupport {

/// What the throwing internal-failure handler throws; what() is the report.
struct InternalFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline void ThrowingHandler(const std::string &Text) {
  throw InternalFailure(Text);
}

/// Installs Handler as the internal-failure handler for one scope and puts
/// the previous one back at its end.
class FailureHandlerScope {
public:
  explicit FailureHandlerScope(GeInternalFailureHandler Handler)
      : Previous(GeSetInternalFailureHandler(Handler)) {}
  ~FailureHandlerScope() { GeSetInternalFailureHandler(Previous); }
  FailureHandlerScope(const FailureHandlerScope &) = delete;
  FailureHandlerScope &operator=(const FailureHandlerScope &) = delete;

private:
  GeInternalFailureHandler Previous;
};

/// Makes the internal-failure routine throw InternalFailure for one scope.
class ThrowingFailureScope : public FailureHandlerScope {
public:
  ThrowingFailureScope() : FailureHandlerScope(&ThrowingHandler) {}
};

} // namespace testsupport

#endif

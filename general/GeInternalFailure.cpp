// The process-wide internal-failure handler and its default.
#include "general/GeInternalFailure.h"

#include <cstdio>
#include <cstdlib>

namespace {

void DefaultHandler(const std::string &Text) {
  std::fprintf(stderr, "Internal error: %s\n", Text.c_str());
  std::fflush(stderr);
}

GeInternalFailureHandler CurrentHandler = &DefaultHandler;

} // namespace

GeInternalFailureHandler
GeSetInternalFailureHandler(GeInternalFailureHandler Handler) {
  GeInternalFailureHandler Previous = CurrentHandler;
  CurrentHandler = Handler ? Handler : &DefaultHandler;
  return Previous;
}

void GeInternalFailure(const std::string &Text) {
  CurrentHandler(Text);
  std::exit(1);
}

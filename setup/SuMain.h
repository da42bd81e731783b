// The base of a tool's main object.
#ifndef SETUP_SUMAIN_H
#define SETUP_SUMAIN_H

#include <cstdint>

/// A tool's main object. The tool derives its main class from SuMain,
/// constructs it on the stack of main() and hands it to SuRun, which calls
/// Run once inside its guards. The framework never owns or deletes it.
class SuMain {
public:
  /// Does the tool's work with the process's arguments (after the framework
  /// has removed an IDE switch) and answers the exit status.
  virtual std::int32_t Run(int Argc, char **Argv) = 0;

protected:
  SuMain() = default;
  SuMain(const SuMain &) = default;
  SuMain &operator=(const SuMain &) = default;
  ~SuMain() = default;
};

#endif

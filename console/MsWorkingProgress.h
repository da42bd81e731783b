// Progress reports of long-running steps.
#ifndef CONSOLE_MSWORKINGPROGRESS_H
#define CONSOLE_MSWORKINGPROGRESS_H

#include <cstdint>
#include <string>

/// Receives the start, the progress and the end of a long-running step.
class MsWorkingProgress {
public:
  virtual ~MsWorkingProgress();
  virtual void Start(std::int32_t Count, const std::string &Text) = 0;
  virtual void Progress(std::int32_t Count, const std::string &Text) = 0;
  virtual void End(const std::string &Status) = 0;
};

/// Writes one line per event to standard output: "Starting progress <text>
/// length <count>", "Progressing <text> length <count>", "Ending progress
/// with status <status>". Holds no state.
class MsWorkingProgressConcrete : public MsWorkingProgress {
public:
  void Start(std::int32_t Count, const std::string &Text) override;
  void Progress(std::int32_t Count, const std::string &Text) override;
  void End(const std::string &Status) override;
};

#endif

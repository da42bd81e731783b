// The run function when a report object cannot be made: nothing is reported
// and the status is 3. This test replaces the global operator new (so that
// allocation can be made to fail on request), which is why it is a program of
// its own.
#include "setup/SuRun.h"

#include "console/MsConsoleConcrete.h"
#include "general/GeInternalFailure.h"
#include "tests/support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

class ThrowingMain : public SuMain {
public:
  explicit ThrowingMain(bool ThrowStandard) : Standard(ThrowStandard) {}
  std::int32_t Run(int, char **) override {
    std::runtime_error Error("boom");
    testsupport::StartFailingAllocations(
        0, testsupport::AllocationFailureMode::ThrowBadAlloc);
    if (Standard)
      throw Error;
    throw 42;
  }

private:
  bool Standard;
};

int ReportCount = 0;

void CountReport(const std::string &) {
  ++ReportCount;
  throw std::logic_error("report handler");
}

int RunFailing(bool Standard) {
  std::string Program = "prog";
  char *Argv[] = {Program.data(), nullptr};
  ThrowingMain Main(Standard);
  MsConsoleConcrete Console;
  const int Status = SuRun(1, Argv, Main, Console);
  testsupport::StopFailingAllocations();
  return Status;
}

class SuReportSlotTest : public ::testing::Test {
protected:
  void SetUp() override {
    ReportCount = 0;
    Previous = GeSetInternalFailureHandler(&CountReport);
  }
  void TearDown() override {
    testsupport::StopFailingAllocations();
    GeSetInternalFailureHandler(Previous);
  }
  GeInternalFailureHandler Previous = nullptr;
};

TEST_F(SuReportSlotTest, NoStdExceptionReportWithoutMemory) {
  EXPECT_EQ(RunFailing(true), 3);
  EXPECT_EQ(ReportCount, 0);
}

TEST_F(SuReportSlotTest, NoUnexpectedExceptionReportWithoutMemory) {
  EXPECT_EQ(RunFailing(false), 3);
  EXPECT_EQ(ReportCount, 0);
}

TEST_F(SuReportSlotTest, WithMemoryTheSameFailuresAreReported) {
  std::string Program = "prog";
  char *Argv[] = {Program.data(), nullptr};
  struct Thrower : SuMain {
    std::int32_t Run(int, char **) override {
      throw std::runtime_error("boom");
    }
  } Main;
  MsConsoleConcrete Console;
  EXPECT_EQ(SuRun(1, Argv, Main, Console), 3);
  EXPECT_EQ(ReportCount, 1);
}

} // namespace

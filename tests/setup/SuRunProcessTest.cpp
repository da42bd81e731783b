// Whole-process behaviour of the run function: fault_probe is run as a child
// process for each failure kind, and its report line and exit status are
// checked.
#include "tests/support/TestFiles.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define PROBE_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PROBE_TEST_ASAN 1
#endif
#endif

extern char **environ;

namespace {

/// What the console writes for memory exhaustion, on standard error.
const std::string OutOfMemoryOutput = "Out of memory\n";

struct ProbeResult {
  int ExitStatus = -1; ///< -1 when the child did not exit normally
  int Signal = 0;      ///< the signal that ended the child, if any
  std::string Out;
  std::string Err;
};

/// The child's environment: ours, with the sanitizers told to leave the fault
/// signals to the program and fake sign-on mode removed.
std::vector<std::string> ChildEnvironment() {
  std::vector<std::string> Env;
  for (char **Entry = environ; *Entry; ++Entry) {
    const std::string Text = *Entry;
    if (Text.rfind("ASAN_OPTIONS=", 0) == 0 ||
        Text.rfind("UBSAN_OPTIONS=", 0) == 0)
      continue;
    Env.push_back(Text);
  }
  Env.push_back("ASAN_OPTIONS=handle_segv=0:handle_sigbus=0:handle_sigfpe=0:"
                "handle_sigill=0:handle_abort=0:allow_user_segv_handler=1:"
                "detect_stack_use_after_return=0:use_sigaltstack=0:"
                "detect_leaks=0:allocator_may_return_null=1");
  Env.push_back("UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1");
  return Env;
}

ProbeResult RunProgram(const std::string &ProgramPath,
                       const std::string &Action) {
  const testsupport::TempDir Folder;
  const std::string OutPath = Folder.Path("probe.out");
  const std::string ErrPath = Folder.Path("probe.err");

  std::vector<std::string> Env = ChildEnvironment();
  std::vector<char *> EnvPointers;
  for (std::string &Text : Env)
    EnvPointers.push_back(Text.data());
  EnvPointers.push_back(nullptr);
  std::string Program = ProgramPath;
  std::string Argument = Action;
  char *Args[] = {Program.data(), Argument.data(), nullptr};

  ProbeResult Result;
  const pid_t Child = ::fork();
  if (Child == 0) {
    const int Out = ::open(OutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int Err = ::open(ErrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (Out < 0 || Err < 0)
      ::_exit(120);
    ::dup2(Out, STDOUT_FILENO);
    ::dup2(Err, STDERR_FILENO);
    ::execve(Args[0], Args, EnvPointers.data());
    ::_exit(121);
  }
  if (Child < 0)
    return Result;
  int Status = 0;
  while (::waitpid(Child, &Status, 0) < 0) {
  }
  if (WIFEXITED(Status))
    Result.ExitStatus = WEXITSTATUS(Status);
  else if (WIFSIGNALED(Status))
    Result.Signal = WTERMSIG(Status);
  Result.Out = testsupport::ReadFileOr(OutPath, "");
  Result.Err = testsupport::ReadFileOr(ErrPath, "");
  return Result;
}

/// Runs fault_probe, whose reports are single lines on standard output.
ProbeResult RunProbe(const std::string &Action) {
  return RunProgram(FAULT_PROBE_PATH, Action);
}

/// Runs the probe that reports through chksel's own handler and console.
ProbeResult RunToolProbe(const std::string &Action) {
  return RunProgram(FAULT_PROBE_TOOL_PATH, Action);
}

/// The standard output expected from a report of Text: one line.
std::string ReportLine(const std::string &Text) {
  return "internal failure: " + Text + "\n";
}

/// A nonzero instruction address as the hexadecimal writer writes it.
const char InstructionAddress[] = "0x[1-9A-F][0-9A-F]*";

void ExpectReportMatches(const ProbeResult &Result,
                         const std::string &Pattern) {
  EXPECT_TRUE(std::regex_match(Result.Out, std::regex(Pattern)))
      << "standard output: " << Result.Out
      << "\nstandard error: " << Result.Err;
  EXPECT_EQ(Result.ExitStatus, 1) << "signal " << Result.Signal;
}

TEST(SuRunProcessTest, NormalReturnsGiveTheirStatus) {
  ProbeResult Zero = RunProbe("return-0");
  EXPECT_EQ(Zero.ExitStatus, 0);
  EXPECT_EQ(Zero.Out, "");
  ProbeResult Five = RunProbe("return-5");
  EXPECT_EQ(Five.ExitStatus, 5);
  EXPECT_EQ(Five.Out, "");
}

TEST(SuRunProcessTest, NullReadIsAnAccessViolationReadingAddressZero) {
  ExpectReportMatches(RunProbe("read-null"),
                      "internal failure: Access violation \\(0xC0000005\\) "
                      "at " +
                          std::string(InstructionAddress) +
                          " \\(reading from address 0x0\\)\n");
}

TEST(SuRunProcessTest, WriteToReadOnlyPageIsAnAccessViolationWriting) {
  ProbeResult Result = RunProbe("write-readonly");
  std::smatch Match;
  ASSERT_TRUE(std::regex_match(
      Result.Out, Match,
      std::regex("page (0x[0-9A-F]+)\n"
                 "internal failure: Access violation \\(0xC0000005\\) at " +
                 std::string(InstructionAddress) +
                 " \\(writing to address (0x[0-9A-F]+)\\)\n")))
      << Result.Out << Result.Err;
  EXPECT_EQ(Match[1].str(), Match[2].str());
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunProcessTest, IntegerDivisionByZero) {
  ExpectReportMatches(
      RunProbe("divide-by-zero"),
      "internal failure: Int divide by zero \\(0xC0000094\\) at " +
          std::string(InstructionAddress) + "\n");
}

TEST(SuRunProcessTest, EndlessRecursionIsAStackOverflow) {
  ExpectReportMatches(RunProbe("stack-overflow"),
                      "internal failure: Stack overflow \\(0xC00000FD\\) at " +
                          std::string(InstructionAddress) + "\n");
}

TEST(SuRunProcessTest, TrapInstructionIsAnIllegalInstruction) {
  ExpectReportMatches(
      RunProbe("illegal-instruction"),
      "internal failure: Illegal instruction \\(0xC000001D\\) at " +
          std::string(InstructionAddress) + "\n");
}

#if defined(__x86_64__) || defined(__i386__)
TEST(SuRunProcessTest, BreakpointInstructionIsABreakpoint) {
  ExpectReportMatches(RunProbe("breakpoint"),
                      "internal failure: Breakpoint \\(0x80000003\\) at " +
                          std::string(InstructionAddress) + "\n");
}
#endif

TEST(SuRunProcessTest, ThrownIntegerIsAnUnexpectedException) {
  ProbeResult Result = RunProbe("throw-int");
  EXPECT_EQ(Result.Out, ReportLine("Unexpected exception"));
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunProcessTest, EmptyDescriptionKeepsTheTrailingBlank) {
  ProbeResult Result = RunProbe("throw-empty");
  EXPECT_EQ(Result.Out, ReportLine("Unexpected exception: "));
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunProcessTest, StandardExceptionReportsItsDescription) {
  ProbeResult Result = RunProbe("throw-runtime-error");
  EXPECT_EQ(Result.Out, ReportLine("Unexpected exception: boom"));
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunProcessTest, ConsoleExceptionGivesTwoWithoutReport) {
  ProbeResult Result = RunProbe("throw-console-exception");
  EXPECT_EQ(Result.Out, "");
  EXPECT_EQ(Result.ExitStatus, 2);
}

TEST(SuRunProcessTest, BadAllocGivesTheOutOfMemoryMessageAndThree) {
  ProbeResult Result = RunProbe("throw-bad-alloc");
  EXPECT_EQ(Result.Out, "");
  EXPECT_EQ(Result.Err, OutOfMemoryOutput);
  EXPECT_EQ(Result.ExitStatus, 3);
}

#ifndef PROBE_TEST_ASAN
// The AddressSanitizer's operator new reports an impossible allocation itself
// instead of calling the new-handler, so this runs only without it.
TEST(SuRunProcessTest, FailedAllocationGoesThroughTheNewHandler) {
  ProbeResult Result = RunProbe("allocate-too-much");
  EXPECT_EQ(Result.Out, "");
  EXPECT_EQ(Result.Err, OutOfMemoryOutput);
  EXPECT_EQ(Result.ExitStatus, 3);
}
#endif

TEST(SuRunProcessTest, FaultWhileReportingEndsWithStatusOne) {
  ProbeResult Result = RunProbe("fault-while-reporting");
  EXPECT_EQ(Result.Out, "");
  EXPECT_EQ(Result.Err,
            "Unexpected signal 11 while no exception guard is active\n");
  EXPECT_EQ(Result.ExitStatus, 1) << "signal " << Result.Signal;
}

} // namespace

// --- The same failures as chksel reports them --------------------------

TEST(SuRunToolReportTest, ThrownIntegerIsAnUnexpectedException) {
  ProbeResult Result = RunToolProbe("throw-int");
  EXPECT_EQ(Result.Out, "");
  EXPECT_EQ(Result.Err, "Fatal error[Ms008]: [chksel ]: Unexpected exception\n"
                        "Fatal error detected, aborting.\n");
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunToolReportTest, EmptyDescriptionKeepsTheTrailingBlank) {
  ProbeResult Result = RunToolProbe("throw-empty");
  EXPECT_EQ(Result.Err,
            "Fatal error[Ms008]: [chksel ]: Unexpected exception: \n"
            "Fatal error detected, aborting.\n");
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunToolReportTest, StandardExceptionWithItsDescription) {
  ProbeResult Result = RunToolProbe("throw-runtime-error");
  EXPECT_EQ(Result.Err,
            "Fatal error[Ms008]: [chksel ]: Unexpected exception: boom\n"
            "Fatal error detected, aborting.\n");
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunToolReportTest, NullReadIsReportedAndWrapped) {
  ProbeResult Result = RunToolProbe("read-null");
  EXPECT_TRUE(std::regex_match(
      Result.Err,
      std::regex("Fatal error\\[Ms008\\]: \\[chksel \\]: Access violation "
                 "\\(0xC0000005\\) at " +
                 std::string(InstructionAddress) +
                 "\n          \\(reading from address 0x0\\)\n"
                 "Fatal error detected, aborting.\n")))
      << Result.Err;
  EXPECT_EQ(Result.ExitStatus, 1);
}

TEST(SuRunToolReportTest, MemoryExhaustionGivesThree) {
  ProbeResult Result = RunToolProbe("throw-bad-alloc");
  EXPECT_EQ(Result.Out, "");
  EXPECT_EQ(Result.Err, OutOfMemoryOutput);
  EXPECT_EQ(Result.ExitStatus, 3);
}

// The run function inside one process: statuses, the report slot, the IDE
// installer hook, the new-handler and the line-buffered standard output.
#include "setup/SuRun.h"

#include "console/MsConsoleConcrete.h"
#include "ideagent/WtInstall.h"
#include "general/GeInternalFailure.h"
#include "general/GeStreamAdaptors.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <cstring>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// A main object whose run is a test's function.
class FunctionMain : public SuMain {
public:
  explicit FunctionMain(std::function<std::int32_t(int, char **)> Function)
      : Body(std::move(Function)) {}
  std::int32_t Run(int Argc, char **Argv) override {
    ++Calls;
    return Body(Argc, Argv);
  }
  int Calls = 0;

private:
  std::function<std::int32_t(int, char **)> Body;
};

/// An argument vector the run function may change in place.
class Arguments {
public:
  Arguments(std::initializer_list<const char *> Texts) {
    for (const char *Text : Texts)
      Storage.emplace_back(Text);
    for (std::string &Text : Storage)
      Pointers.push_back(Text.data());
    Pointers.push_back(nullptr);
  }
  int Count() const { return static_cast<int>(Storage.size()); }
  char **Vector() { return Pointers.data(); }

private:
  std::vector<std::string> Storage;
  std::vector<char *> Pointers;
};

/// Runs Body as the main object's run, on Console when given, else on a
/// console of the run's own.
int RunMain(std::function<std::int32_t(int, char **)> Body,
            std::initializer_list<const char *> Texts = {"prog"},
            MsConsole *Console = nullptr) {
  Arguments Args(Texts);
  FunctionMain Main(std::move(Body));
  MsConsoleConcrete Own;
  return SuRun(Args.Count(), Args.Vector(), Main, Console ? *Console : Own);
}

std::vector<std::string> Reported;

void RecordAndThrow(const std::string &Text) {
  Reported.push_back(Text);
  throw std::logic_error("report handler");
}

/// Makes the internal-failure exit record its text and throw instead of
/// ending the process; the run function swallows that throw.
class SuRunTest : public ::testing::Test {
protected:
  void SetUp() override {
    Reported.clear();
    Previous = GeSetInternalFailureHandler(&RecordAndThrow);
    Installer = SuSetIdeAgentInstaller(nullptr);
  }
  void TearDown() override {
    GeSetInternalFailureHandler(Previous);
    SuSetIdeAgentInstaller(Installer);
  }
  GeInternalFailureHandler Previous = nullptr;
  SuIdeAgentInstaller Installer = nullptr;
};

TEST_F(SuRunTest, StatusIsTheMainObjectsResult) {
  EXPECT_EQ(RunMain([](int, char **) { return 0; }), 0);
  EXPECT_EQ(RunMain([](int, char **) { return 5; }), 5);
  EXPECT_EQ(RunMain([](int, char **) { return -7; }), -7);
  EXPECT_TRUE(Reported.empty());
}

TEST_F(SuRunTest, MainObjectSeesTheArguments) {
  std::vector<std::string> Seen;
  RunMain(
      [&](int Argc, char **Argv) {
        for (int I = 0; I < Argc; ++I)
          Seen.emplace_back(Argv[I]);
        EXPECT_EQ(Argv[Argc], nullptr);
        return 0;
      },
      {"prog", "--check=A", "x"});
  EXPECT_EQ(Seen, (std::vector<std::string>{"prog", "--check=A", "x"}));
}

TEST_F(SuRunTest, ConsoleExceptionGivesTwo) {
  EXPECT_EQ(
      RunMain([](int, char **) -> std::int32_t { throw MsConsoleException(); }),
      2);
  EXPECT_TRUE(Reported.empty());
}

TEST_F(SuRunTest, ThrownIntegerReportsUnexpectedException) {
  // The report's throw is swallowed, so the guards' status comes back.
  EXPECT_EQ(RunMain([](int, char **) -> std::int32_t { throw 42; }), 3);
  EXPECT_EQ(Reported, std::vector<std::string>{"Unexpected exception"});
}

TEST_F(SuRunTest, StandardExceptionReportsItsDescription) {
  EXPECT_EQ(RunMain([](int, char **) -> std::int32_t {
              throw std::runtime_error("boom");
            }),
            3);
  EXPECT_EQ(Reported, std::vector<std::string>{"Unexpected exception: boom"});
}

TEST_F(SuRunTest, EmptyDescriptionKeepsTheTrailingBlank) {
  struct Empty : std::exception {
    const char *what() const noexcept override { return ""; }
  };
  EXPECT_EQ(RunMain([](int, char **) -> std::int32_t { throw Empty(); }), 3);
  EXPECT_EQ(Reported, std::vector<std::string>{"Unexpected exception: "});
}

TEST_F(SuRunTest, ProcessorFaultIsReportedByItsCode) {
  EXPECT_EQ(RunMain([](int, char **) {
              raise(SIGTRAP);
              return 0;
            }),
            3);
  ASSERT_EQ(Reported.size(), 1u);
  EXPECT_EQ(Reported[0].rfind("Breakpoint (0x80000003) at 0x", 0), 0u)
      << Reported[0];
}

TEST_F(SuRunTest, BadAllocGivesTheOutOfMemoryMessageAndThree) {
  std::ostringstream Errors;
  std::ostringstream Out;
  MsConsoleConcrete Console(Errors, Out);
  const int Status = RunMain(
      [](int, char **) -> std::int32_t { throw MsConsole::BadAlloc(); },
      {"prog"}, &Console);
  EXPECT_EQ(Status, 3);
  EXPECT_EQ(Errors.str(), "Out of memory\n");
  EXPECT_EQ(Out.str(), "");
  EXPECT_TRUE(Reported.empty());
}

TEST_F(SuRunTest, NewHandlerThrowsBadAlloc) {
  RunMain([](int, char **) { return 0; });
  std::new_handler Handler = std::get_new_handler();
  ASSERT_NE(Handler, nullptr);
  EXPECT_THROW(Handler(), MsConsole::BadAlloc);
}

TEST_F(SuRunTest, StandardOutputIsLineBufferedOncePerProcess) {
  RunMain([](int, char **) { return 0; });
  EXPECT_NE(dynamic_cast<GeLineBufStdout *>(std::cout.rdbuf()), nullptr);
  EXPECT_EQ(GeLineBufStdout::LiveInstances(), 1);
  RunMain([](int, char **) { return 0; });
  EXPECT_EQ(GeLineBufStdout::LiveInstances(), 1);
}

std::vector<std::string> Offered;

MsConsole *OfferedConsole = nullptr;

bool TakeIde2(const std::string &First, MsConsole &Console) {
  Offered.push_back(First);
  OfferedConsole = &Console;
  return First == "--IDE2";
}

std::vector<std::string>
SeenArguments(std::initializer_list<const char *> Texts) {
  std::vector<std::string> Seen;
  RunMain(
      [&](int Argc, char **Argv) {
        for (int I = 0; I < Argc; ++I)
          Seen.emplace_back(Argv[I]);
        EXPECT_EQ(Argv[Argc], nullptr);
        return 0;
      },
      Texts);
  return Seen;
}

TEST_F(SuRunTest, TakenFirstArgumentIsRemoved) {
  Offered.clear();
  SuSetIdeAgentInstaller(&TakeIde2);
  EXPECT_EQ(SeenArguments({"prog", "--IDE2", "a", "b"}),
            (std::vector<std::string>{"prog", "a", "b"}));
  EXPECT_EQ(SeenArguments({"prog", "--IDE2"}),
            (std::vector<std::string>{"prog"}));
  EXPECT_EQ(Offered, (std::vector<std::string>{"--IDE2", "--IDE2"}));
}

TEST_F(SuRunTest, OnlyTheFirstArgumentIsOffered) {
  Offered.clear();
  SuSetIdeAgentInstaller(&TakeIde2);
  EXPECT_EQ(SeenArguments({"prog", "a", "--IDE2"}),
            (std::vector<std::string>{"prog", "a", "--IDE2"}));
  EXPECT_EQ(Offered, std::vector<std::string>{"a"});
}

TEST_F(SuRunTest, NoArgumentsMeansNoOffer) {
  Offered.clear();
  SuSetIdeAgentInstaller(&TakeIde2);
  EXPECT_EQ(SeenArguments({"prog"}), std::vector<std::string>{"prog"});
  EXPECT_TRUE(Offered.empty());
}

TEST_F(SuRunTest, WithoutInstallerNothingIsRemoved) {
  EXPECT_EQ(SuSetIdeAgentInstaller(nullptr), nullptr);
  EXPECT_EQ(SeenArguments({"prog", "--IDE2"}),
            (std::vector<std::string>{"prog", "--IDE2"}));
}

TEST_F(SuRunTest, InstallerExchangeAnswersThePrevious) {
  EXPECT_EQ(SuSetIdeAgentInstaller(&TakeIde2), nullptr);
  EXPECT_EQ(SuSetIdeAgentInstaller(nullptr), &TakeIde2);
}

TEST_F(SuRunTest, TheInstallerIsTheIdeAgentsUnlessReplaced) {
  // SetUp took the run function's own installer out.
  EXPECT_EQ(Installer, &WtInstallConsoleAgent);
}

TEST_F(SuRunTest, TheInstallerIsHandedTheRunsConsole) {
  Offered.clear();
  OfferedConsole = nullptr;
  SuSetIdeAgentInstaller(&TakeIde2);
  MsConsoleConcrete Console;
  RunMain([](int, char **) { return 0; }, {"prog", "--IDE2"}, &Console);
  EXPECT_EQ(Offered, std::vector<std::string>{"--IDE2"});
  EXPECT_EQ(OfferedConsole, &Console);
}

TEST_F(SuRunTest, FaultHandlersAreGoneAfterTheRun) {
  struct sigaction Before;
  sigaction(SIGSEGV, nullptr, &Before);
  RunMain([](int, char **) { return 0; });
  struct sigaction After;
  sigaction(SIGSEGV, nullptr, &After);
  EXPECT_EQ(reinterpret_cast<void *>(Before.sa_sigaction),
            reinterpret_cast<void *>(After.sa_sigaction));
  EXPECT_EQ(Before.sa_flags & SA_SIGINFO, After.sa_flags & SA_SIGINFO);
}

} // namespace

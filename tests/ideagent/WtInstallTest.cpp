// The agent installer: the three IDE switches (whole argument, case
// sensitive), what an installation sets up, and the refusal of a second one.
#include "ideagent/WtInstall.h"

#include "console/MsConsoleConcrete.h"
#include "ideagent/MsWorkbenchHandler.h"
#include "tests/support/MsConsoleTestSupport.h"
#include "tests/support/OutputCapture.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace {

/// A console of its own with standard output captured; removes whatever the
/// test installed.
class WtInstallTest : public ::testing::Test {
protected:
  WtInstallTest() : Console(Err, Out) { mstest::RegisterTt(Console); }
  void TearDown() override { WtUninstallConsoleAgent(Console); }

  const WtConsoleAgentExe *InstalledAgent() const {
    MsWorkbenchHandler *Handler = WtInstalledWorkbenchHandler();
    return Handler ? dynamic_cast<const WtConsoleAgentExe *>(&Handler->Agent())
                   : nullptr;
  }

  std::ostringstream Err;
  std::ostringstream Out;
  MsConsoleConcrete Console;
  testsupport::StreamCapture Captured{std::cout};
};

TEST_F(WtInstallTest, TheThreeSwitches) {
  struct Case {
    const char *Argument;
    std::uint32_t Level;
  } Cases[] = {{"--IDE", 1}, {"--IDE2", 2}, {"--IDE3", 3}};
  for (const Case &C : Cases) {
    ASSERT_TRUE(WtInstallConsoleAgent(C.Argument, Console)) << C.Argument;
    const WtConsoleAgentExe *Agent = InstalledAgent();
    ASSERT_NE(Agent, nullptr) << C.Argument;
    EXPECT_EQ(Agent->Level(), C.Level) << C.Argument;
    EXPECT_EQ(WtConsoleAgent::Current(), Agent);
    EXPECT_TRUE(Console.HasIdeHandler());
    WtUninstallConsoleAgent(Console);
    EXPECT_EQ(WtInstalledWorkbenchHandler(), nullptr);
    EXPECT_FALSE(Console.HasIdeHandler());
  }
}

TEST_F(WtInstallTest, OtherArgumentsAreRefused) {
  const char *Refused[] = {"--ide",   "--Ide",   "--ide2",  "--IDE1", "--IDE4",
                           "--IDE0",  "--IDE23", "-IDE",    "IDE",    "--IDE ",
                           " --IDE",  "--IDE2x", "--IDE=2", "---IDE", "",
                           "--IDE\n", "--IDE3 "};
  for (const char *Argument : Refused) {
    EXPECT_FALSE(WtInstallConsoleAgent(Argument, Console))
        << "\"" << Argument << "\"";
    EXPECT_EQ(WtInstalledWorkbenchHandler(), nullptr) << Argument;
    EXPECT_FALSE(Console.HasIdeHandler()) << Argument;
  }
  EXPECT_EQ(Captured.Text(), "");
}

TEST_F(WtInstallTest, ArgumentWithAnEmbeddedNulIsRefused) {
  EXPECT_FALSE(WtInstallConsoleAgent(std::string("--IDE\0", 6), Console));
  EXPECT_EQ(WtInstalledWorkbenchHandler(), nullptr);
}

TEST_F(WtInstallTest, SecondInstallIsRefused) {
  ASSERT_TRUE(WtInstallConsoleAgent("--IDE2", Console));
  MsWorkbenchHandler *First = WtInstalledWorkbenchHandler();
  for (const char *Argument : {"--IDE", "--IDE2", "--IDE3"}) {
    EXPECT_FALSE(WtInstallConsoleAgent(Argument, Console)) << Argument;
    EXPECT_EQ(WtInstalledWorkbenchHandler(), First);
    EXPECT_EQ(InstalledAgent()->Level(), 2u);
  }
}

TEST_F(WtInstallTest, ConsoleMessagesBecomeProtocolLines) {
  ASSERT_TRUE(WtInstallConsoleAgent("--IDE3", Console));
  Console.Start();
  Console.Report(mstest::Tt(4), MsConsole::Warning, "w");
  EXPECT_EQ(Err.str(), "");
  EXPECT_EQ(Out.str(), "");
  EXPECT_EQ(Captured.Text(),
            "$$TOOL_BEGIN $$VERSION \"3\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" "
            "\"0\" \"0\" $$TYPE \"10\" $$TAG \"Tt004\" $$TXT_BEGIN \"a "
            "warning \\\"w\\\"\" $$TOOL_END \n");
  // The IDE link makes a warning alone give status 1.
  std::ostringstream Summary;
  EXPECT_EQ(Console.Summary(Summary), 1);
}

TEST_F(WtInstallTest, StopQueryAsksTheAgent) {
  ASSERT_TRUE(WtInstallConsoleAgent("--IDE", Console));
  EXPECT_NO_THROW(Console.CheckStopRequest());
  EXPECT_FALSE(Console.IsAborted());
}

TEST_F(WtInstallTest, UninstallRestoresTheHumanForm) {
  ASSERT_TRUE(WtInstallConsoleAgent("--IDE", Console));
  WtUninstallConsoleAgent(Console);
  Console.Start();
  Console.Report(mstest::Tt(4), MsConsole::Warning, "w");
  EXPECT_EQ(Captured.Text(), "");
  EXPECT_EQ(Err.str(), "Warning[Tt004]: a warning \"w\"\n");
  std::ostringstream Summary;
  EXPECT_EQ(Console.Summary(Summary), 0);
}

TEST(WtInstallOwnConsole, InstallsOnTheConsoleItIsHanded) {
  testsupport::StreamCapture Captured(std::cout);
  std::ostringstream FirstErr, FirstOut, SecondErr, SecondOut;
  MsConsoleConcrete First(FirstErr, FirstOut);
  MsConsoleConcrete Second(SecondErr, SecondOut);
  EXPECT_FALSE(WtInstallConsoleAgent("--ide", First));
  ASSERT_TRUE(WtInstallConsoleAgent("--IDE", First));
  // One agent per process, whichever console asks.
  EXPECT_FALSE(WtInstallConsoleAgent("--IDE", Second));
  First.Start();
  First.WriteTextLine("shown as type 3");
  Second.Start();
  Second.WriteTextLine("plain");
  EXPECT_EQ(Captured.Text(),
            "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" "
            "\"0\" \"0\" $$TYPE \"3\" $$TOOL_END \n");
  EXPECT_EQ(SecondOut.str(), "plain\n");
  WtUninstallConsoleAgent(First);
}

} // namespace

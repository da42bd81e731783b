// End-to-end tests of the console's options as chksel users meet them: the
// warning and remark switches, the diag options, the error limit and the
// exit status they lead to.
#include "E2eSupport.h"

#include <gtest/gtest.h>

using namespace e2e;

namespace {

const char UnknownTag[] = "Warning[Ms001]: diagnostic tag \"Ms999\" does not "
                          "exist\n";

class ConsoleOptionsTest : public FolderTest {};

struct ExitCase {
  std::vector<std::string> Args;
  std::string Err;
  int Status;
};

TEST_F(ConsoleOptionsTest, WarningSwitchesAndExitStatus) {
  const ExitCase Cases[] = {
      {{"--diag_warning=Ms999"}, UnknownTag, 0},
      {{"--diag_warning=Ms999", "--warnings_affect_exit_code"}, UnknownTag, 1},
      {{"--diag_warning=Ms999", "--remarks"}, UnknownTag, 0},
      {{"--diag_warning=Ms999", "--silent"}, UnknownTag, 0},
      {{"--diag_warning=Ms999", "--no_warnings"}, "", 0},
      {{"--diag_warning=Ms999", "--no_warnings", "--warnings_affect_exit_code"},
       "",
       0},
      {{"--diag_warning=Ms999", "--warnings_are_errors"},
       "Error[Ms001]: diagnostic tag \"Ms999\" does not exist\n",
       2},
      // Warnings are made errors before disabled warnings are dropped.
      {{"--no_warnings", "--warnings_are_errors", "--diag_warning=Ms999"},
       "Error[Ms001]: diagnostic tag \"Ms999\" does not exist\n",
       2},
      // The flags take effect before the diag options are applied, wherever
      // they stand on the command line.
      {{"--diag_remark=Ms999", "--warnings_are_errors"},
       "Error[Ms001]: diagnostic tag \"Ms999\" does not exist\n",
       2},
  };
  for (const ExitCase &Case : Cases) {
    RunResult R = RunHere(Case.Args);
    std::string Shown;
    for (const std::string &Arg : Case.Args)
      Shown += Arg + " ";
    EXPECT_EQ(R.Err, Case.Err) << Shown;
    EXPECT_EQ(R.Out, "") << Shown;
    EXPECT_EQ(R.Status, Case.Status) << Shown;
  }
}

TEST_F(ConsoleOptionsTest, DiagOptionsApplyInCommandLineOrder) {
  // Ms001 is turned into an error first, so the unknown tag that follows is
  // reported as one.
  RunResult R = RunHere({"--diag_error=Ms001", "--diag_warning=Zz1"});
  EXPECT_EQ(R.Err, "Error[Ms001]: diagnostic tag \"Zz1\" does not exist\n");
  EXPECT_EQ(R.Status, 2);

  RunResult Suppressed =
      RunHere({"--diag_suppress=Ms001", "--diag_warning=Zz1"});
  EXPECT_EQ(Suppressed.Err, "");
  EXPECT_EQ(Suppressed.Status, 0);

  RunResult Remark = RunHere({"--diag_remark=Ms001", "--diag_warning=Zz1"});
  EXPECT_EQ(Remark.Err, "");
  EXPECT_EQ(Remark.Status, 0);

  RunResult Shown =
      RunHere({"--remarks", "--diag_remark=Ms001", "--diag_warning=Zz1"});
  EXPECT_EQ(Shown.Err,
            "Remark[Ms001]: diagnostic tag \"Zz1\" does not exist\n");
  EXPECT_EQ(Shown.Status, 0);
}

TEST_F(ConsoleOptionsTest, FixedLevelsCannotBeChanged) {
  RunResult R = RunHere({"--diag_warning=Ms004,Lc002"});
  EXPECT_EQ(R.Err, "Warning[Ms002]: diagnostic tag \"Ms004\" can not have its "
                   "level changed\n"
                   "Warning[Ms002]: diagnostic tag \"Lc002\" can not have its "
                   "level changed\n");
  EXPECT_EQ(R.Status, 0);
}

TEST_F(ConsoleOptionsTest, ErrorLimitStopsTheRun) {
  RunResult R = RunHere({"--warnings_are_errors", "--error_limit=2",
                         "--diag_warning=Xx001,Xx002,Xx003", "--all"});
  EXPECT_EQ(R.Out, "");
  EXPECT_EQ(R.Err, "Error[Ms001]: diagnostic tag \"Xx001\" does not exist\n"
                   "Error[Ms001]: diagnostic tag \"Xx002\" does not exist\n"
                   "Error[Ms001]: diagnostic tag \"Xx003\" does not exist\n"
                   "Fatal error[Ms008]: Error limit reached\n"
                   "Fatal error detected, aborting.\n");
  EXPECT_EQ(R.Status, 2);
  EXPECT_FALSE(Exists(Dir.Path("ruvex_sel_checks.txt")));
}

TEST_F(ConsoleOptionsTest, ErrorLimitZeroMeansNone) {
  RunResult R = RunHere({"--warnings_are_errors", "--error_limit=0",
                         "--diag_warning=Xx001,Xx002,Xx003"});
  EXPECT_EQ(R.Err, "Error[Ms001]: diagnostic tag \"Xx001\" does not exist\n"
                   "Error[Ms001]: diagnostic tag \"Xx002\" does not exist\n"
                   "Error[Ms001]: diagnostic tag \"Xx003\" does not exist\n");
  EXPECT_EQ(R.Status, 2);
}

TEST_F(ConsoleOptionsTest, DefaultErrorLimitIsAHundred) {
  std::string Tags;
  for (int I = 1; I <= 99; ++I)
    Tags += (Tags.empty() ? "Xx" : ",Xx") + std::to_string(I);
  RunResult Below =
      RunHere({"--warnings_are_errors", "--diag_warning=" + Tags});
  EXPECT_EQ(Below.Err.find("Error limit reached"), std::string::npos);
  EXPECT_EQ(Below.Status, 2);

  RunResult At =
      RunHere({"--warnings_are_errors", "--diag_warning=" + Tags + ",Xx100"});
  EXPECT_NE(At.Err.find("Fatal error[Ms008]: Error limit reached\n"
                        "Fatal error detected, aborting.\n"),
            std::string::npos);
  EXPECT_EQ(At.Status, 2);
}

} // namespace

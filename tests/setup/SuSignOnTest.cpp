// The sign-on banner lines and fake sign-on mode.
#include "setup/SuSignOn.h"

#include "console/MsConsoleConcrete.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

SuBannerInputs ToolInputs() {
  SuBannerInputs Inputs;
  Inputs.Name = "Ruvex Check Selector";
  Inputs.Version = "1.1.3.53";
  Inputs.Copyright = "Copyright 2014 - 2015 Zoraxis Software AB.";
  return Inputs;
}

TEST(SuSignOnTest, FixedTexts) {
  EXPECT_STREQ(SuBuildDate, "Feb 17 2015");
  EXPECT_STREQ(SuMakerShortName, "ZOR");
  EXPECT_STREQ(SuCompanyName, "Zoraxis Software AB");
  EXPECT_STREQ(SuFakeSignOnVariable, "ZOR_INTERNAL__USE_FAKE_SIGNON");
}

TEST(SuSignOnTest, ToolBanner) {
  const SuBanner Banner(ToolInputs(), false);
  EXPECT_EQ(Banner.TitleLine(), "ZOR Ruvex Check Selector V1.1.3.53");
  EXPECT_EQ(Banner.CopyrightLine(),
            "Copyright 2014 - 2015 Zoraxis Software AB.");
}

TEST(SuSignOnTest, ToolBannerInFakeMode) {
  const SuBanner Banner(ToolInputs(), true);
  EXPECT_EQ(Banner.TitleLine(), "ZOR Ruvex Check Selector V?.??");
  EXPECT_EQ(Banner.CopyrightLine(),
            "Copyright this year and every year Zoraxis Software AB.");
}

TEST(SuSignOnTest, LinesGoToTheConsole) {
  SuBannerInputs Inputs = ToolInputs();
  Inputs.Copyright = "2016";
  const SuBanner Banner(Inputs, false);
  MsConsoleConcrete Console;
  Banner.HandToConsole(Console);
  EXPECT_EQ(Console.SignOnTitle(), "ZOR Ruvex Check Selector V1.1.3.53");
  EXPECT_EQ(Console.SignOnCopyright(), "Copyright 2016 Zoraxis Software AB.");
}

TEST(SuSignOnTest, PrefixAndTarget) {
  SuBannerInputs Inputs = ToolInputs();
  Inputs.Prefix = "Embedded";
  Inputs.Target = "ARM";
  EXPECT_EQ(SuTitleLine(Inputs, false),
            "ZOR Embedded Ruvex Check Selector V1.1.3.53 for ARM");
  EXPECT_EQ(SuTitleLine(Inputs, true),
            "ZOR Embedded Ruvex Check Selector V?.?? for ARM");
  Inputs.Prefix.clear();
  EXPECT_EQ(SuTitleLine(Inputs, false),
            "ZOR Ruvex Check Selector V1.1.3.53 for ARM");
  Inputs.Prefix = "Embedded";
  Inputs.Target.clear();
  EXPECT_EQ(SuTitleLine(Inputs, false),
            "ZOR Embedded Ruvex Check Selector V1.1.3.53");
}

TEST(SuSignOnTest, EmptyNameAndVersion) {
  EXPECT_EQ(SuTitleLine(SuBannerInputs(), false), "ZOR  V");
}

struct CopyrightCase {
  const char *Input;
  bool Fake;
  const char *Line;
};

TEST(SuSignOnTest, CopyrightLines) {
  const CopyrightCase Cases[] = {
      {"2016", false, "Copyright 2016 Zoraxis Software AB."},
      {"", false, "Copyright 2015 Zoraxis Software AB."},
      {"2014 - 2015", false, "Copyright 2014 - 2015 Zoraxis Software AB."},
      {"copyright 2014 Zoraxis Software AB.", false,
       "Copyright copyright 2014 Zoraxis Software AB. Zoraxis Software AB."},
      {"Copyright", false, "Copyright"},
      {"Copyrigh", false, "Copyright Copyrigh Zoraxis Software AB."},
      {"CopyrightX", false, "CopyrightX"},
      {"Copyright 2014 Other Company", false, "Copyright 2014 Other Company"},
      {"2016", true, "Copyright this year and every year Zoraxis Software AB."},
      {"", true, "Copyright this year and every year Zoraxis Software AB."},
      {"Copyright 2014 Other Company", true,
       "Copyright this year and every year Zoraxis Software AB."},
  };
  for (const CopyrightCase &Case : Cases) {
    SuBannerInputs Inputs;
    Inputs.Copyright = Case.Input;
    EXPECT_EQ(SuCopyrightLine(Inputs, Case.Fake), Case.Line)
        << '"' << Case.Input << "\" fake " << Case.Fake;
  }
}

/// Expects Check, run in a fresh process (the test program started again
/// for this test alone, so that the mode is read anew) with the fake sign-on
/// variable set to Value (or absent when Value is null), to end with Status.
void ExpectInFreshProcess(const char *Value, int (*Check)(), int Status) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  if (Value)
    ::setenv(SuFakeSignOnVariable, Value, 1);
  else
    ::unsetenv(SuFakeSignOnVariable);
  EXPECT_EXIT(::_exit(Check()), ::testing::ExitedWithCode(Status), "")
      << "variable " << (Value ? Value : "absent");
  ::unsetenv(SuFakeSignOnVariable);
}

/// 1 when fake mode is on, 0 when off.
int FakeMode() { return SuFakeSignOnMode() ? 1 : 0; }

/// The mode, read twice with the variable removed in between: 10 for on-on,
/// 0 for off-off, 5 when the second read saw a change.
int ModeStaysAsFirstRead() {
  const bool First = SuFakeSignOnMode();
  if (std::getenv(SuFakeSignOnVariable))
    ::unsetenv(SuFakeSignOnVariable);
  else
    ::setenv(SuFakeSignOnVariable, "1", 1);
  const bool Second = SuFakeSignOnMode();
  if (First != Second)
    return 5;
  return First ? 10 : 0;
}

/// 1 when a banner built in the process's mode is the fake one.
int BannerFollowsTheMode() {
  const SuBanner Banner(ToolInputs());
  return Banner.TitleLine() == "ZOR Ruvex Check Selector V?.??" ? 1 : 0;
}

TEST(SuFakeSignOnTest, AnyValueTurnsItOn) {
  ExpectInFreshProcess("1", &FakeMode, 1);
  ExpectInFreshProcess("0", &FakeMode, 1);
  ExpectInFreshProcess("no", &FakeMode, 1);
  ExpectInFreshProcess("", &FakeMode, 1);
  ExpectInFreshProcess(nullptr, &FakeMode, 0);
}

TEST(SuFakeSignOnTest, ReadOncePerProcess) {
  ExpectInFreshProcess("yes", &ModeStaysAsFirstRead, 10);
  ExpectInFreshProcess(nullptr, &ModeStaysAsFirstRead, 0);
}

TEST(SuFakeSignOnTest, BannerUsesTheProcessMode) {
  ExpectInFreshProcess("x", &BannerFollowsTheMode, 1);
  ExpectInFreshProcess(nullptr, &BannerFollowsTheMode, 0);
}

} // namespace

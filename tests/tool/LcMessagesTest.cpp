// Tests of the tool's message table and of the console reporting interface
// the tool relies on.
#include "tool/LcMessages.h"

#include "console/MsConsoleConcrete.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

namespace {

TEST(LcMessages, Table) {
  EXPECT_STREQ(LcMessagePrefix, "Lc");
  EXPECT_EQ(LcFirstMessage, 1);
  EXPECT_EQ(LcMessageCount, 2);
  EXPECT_EQ(LcMessageTable[0].Text, nullptr);
  EXPECT_STREQ(LcMessageTable[LcMsgInternalError].Text, "internal error");
  EXPECT_EQ(LcMessageTable[LcMsgInternalError].DefaultLevel,
            MsConsole::FatalError);
  EXPECT_STREQ(LcMessageTable[LcMsgCouldNotOpen].Text,
               "could not open file %sq");
  EXPECT_EQ(LcMessageTable[LcMsgCouldNotOpen].DefaultLevel,
            MsConsole::ErrorFixed);
}

TEST(LcMessages, Tags) {
  MsTag Tag = LcTag(LcMsgCouldNotOpen);
  EXPECT_EQ(Tag.Prefix[0], 'L');
  EXPECT_EQ(Tag.Prefix[1], 'c');
  EXPECT_EQ(Tag.Number, 2);
  EXPECT_EQ(LcTag(LcMsgInternalError).Number, 1);
}

class LcConsole : public ::testing::Test {
protected:
  LcConsole() {
    Console.SetErrorStream(Diagnostics);
    LcRegisterMessages(Console);
  }
  std::ostringstream Diagnostics;
  MsConsoleConcrete Console;
};

TEST_F(LcConsole, RegistersTable) {
  EXPECT_EQ(Console.TagText(LcTag(LcMsgInternalError)), "Lc001");
  EXPECT_EQ(Console.TagText(LcTag(LcMsgCouldNotOpen)), "Lc002");
}

TEST_F(LcConsole, NoReportSummaryYieldsZero) {
  std::ostringstream Summary;
  EXPECT_EQ(Console.Summary(Summary), 0);
}

TEST_F(LcConsole, CouldNotOpenAtLevelTwoSummaryYieldsTwo) {
  Console.Report(LcTag(LcMsgCouldNotOpen), MsConsole::ErrorFixed,
                 "dir/ruvex_checks.txt");
  ASSERT_EQ(Console.Messages().size(), 1u);
  EXPECT_EQ(Console.Messages()[0].Text,
            "could not open file \"dir/ruvex_checks.txt\"");
  EXPECT_EQ(Console.ErrorCount(), 1u);
  std::ostringstream Summary;
  EXPECT_EQ(Console.Summary(Summary), 2);
}

TEST_F(LcConsole, ReportAtDefaultLevelReachesTheGivenConsole) {
  LcReport(Console, LcMsgCouldNotOpen, "a b.txt");
  ASSERT_EQ(Console.Messages().size(), 1u);
  const MsConsoleConcrete::Released &M = Console.Messages()[0];
  EXPECT_EQ(M.Tag, LcTag(LcMsgCouldNotOpen));
  EXPECT_EQ(M.Lvl, MsConsole::ErrorFixed);
  EXPECT_EQ(M.Text, "could not open file \"a b.txt\"");
  EXPECT_EQ(Console.ErrorCount(), 1u);
}

} // namespace

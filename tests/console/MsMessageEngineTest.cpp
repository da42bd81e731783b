// Tests of the message engine on its own: counting by kind, the queue before
// and after the start, the handler chain, the error limit, the sign-on lines,
// the summary and the exit status with and without the IDE link.
#include "console/MsMessageEngine.h"

#include "console/MsConsoleConcrete.h"
#include "console/MsMessages.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

/// An engine serving a console of its own (asked only for its application
/// interface and the "Ms" texts), with one recording handler in its chain.
struct EngineFixture {
  EngineFixture() : Console(Err, Out), Engine(Console) {
    Console.SetApplicationInterface(&App);
    Engine.SetHandlers({&Seen});
  }
  std::ostringstream Err, Out;
  MsConsoleConcrete Console;
  SuppressingInterface App;
  MsMessageEngine Engine;
  RecordingHandler Seen;

  void Release(int Kind, const std::string &Text = "t") {
    Engine.Release(std::make_unique<MsMessage>(Kind, MsTag(), DiSourceRange(),
                                               MsMakeTextContent(&App, Text)));
  }
};

TEST(MsMessageEngineTest, CountsByKind) {
  struct Case {
    int Kind;
    unsigned Errors;
    unsigned Warnings;
    bool Aborted;
    int Notifications;
  } Cases[] = {
      {MsMessage::KindAbort, 0, 0, true, 1},
      {MsMessage::KindOutOfMemory, 0, 0, true, 1},
      {MsMessage::KindFatalError, 1, 0, false, 1},
      {MsMessage::KindCommandLineError, 1, 0, false, 1},
      {MsMessage::KindErrorFixed, 1, 0, false, 1},
      {MsMessage::KindError, 1, 0, false, 1},
      {MsMessage::KindWarning, 0, 1, false, 0},
      {MsMessage::KindRemark, 0, 0, false, 0},
      {MsMessage::KindInformation, 0, 0, false, 0},
      {MsMessage::KindInternalError, 0, 0, false, 0},
      {MsMessage::KindDependFile, 0, 0, false, 0},
      {MsMessage::KindSystemDependFile, 0, 0, false, 0},
      {MsMessage::KindText, 0, 0, false, 0},
      {MsMessage::KindOutputFile, 0, 0, false, 0},
      {MsMessage::KindIncludeFile, 0, 0, false, 0},
  };
  for (const Case &C : Cases) {
    EngineFixture F;
    F.Engine.Start();
    F.Release(C.Kind);
    EXPECT_EQ(F.Engine.ErrorCount(), C.Errors) << C.Kind;
    EXPECT_EQ(F.Engine.WarningCount(), C.Warnings) << C.Kind;
    EXPECT_EQ(F.Engine.IsAborted(), C.Aborted) << C.Kind;
    EXPECT_EQ(F.App.Notifications, C.Notifications) << C.Kind;
    EXPECT_EQ(F.Seen.Kinds(), (std::vector<int>{C.Kind})) << C.Kind;
  }
}

TEST(MsMessageEngineTest, QueueHoldsMessagesUntilStart) {
  EngineFixture F;
  F.Release(MsMessage::KindWarning, "one");
  F.Release(MsMessage::KindText, "two");
  EXPECT_FALSE(F.Engine.IsStarted());
  EXPECT_TRUE(F.Seen.Messages.empty());
  // Counted on release, not on output.
  EXPECT_EQ(F.Engine.WarningCount(), 1u);
  F.Engine.Start();
  EXPECT_TRUE(F.Engine.IsStarted());
  F.Release(MsMessage::KindRemark, "three");
  ASSERT_EQ(F.Seen.Messages.size(), 3u);
  EXPECT_EQ(F.Seen.Messages[0].Text, "one");
  EXPECT_EQ(F.Seen.Messages[1].Text, "two");
  EXPECT_EQ(F.Seen.Messages[2].Text, "three");
  EXPECT_EQ(F.Seen.Kinds(), (std::vector<int>{6, 12, 7}));
}

TEST(MsMessageEngineTest, SilentDropsInformationalLines) {
  EngineFixture F;
  F.Release(MsMessage::KindInformation, "queued while talkative");
  F.Engine.SetSilent(true);
  F.Release(MsMessage::KindInformation, "released while silent");
  F.Release(MsMessage::KindText, "asked for");
  F.Engine.Start();
  ASSERT_EQ(F.Seen.Messages.size(), 1u);
  EXPECT_EQ(F.Seen.Messages[0].Text, "asked for");
}

TEST(MsMessageEngineTest, ChainOrderAndRethrowAfterAllHandlers) {
  EngineFixture F;
  RecordingHandler Second, Third;
  F.Seen.ThrowOnKind = MsMessage::KindWarning;
  F.Engine.SetHandlers({&F.Seen, &Second, &Third});
  F.Engine.Start();
  EXPECT_THROW(F.Release(MsMessage::KindWarning, "w"), MsConsoleException);
  EXPECT_EQ(Second.Kinds(), (std::vector<int>{6}));
  EXPECT_EQ(Third.Kinds(), (std::vector<int>{6}));
  F.Release(MsMessage::KindRemark, "r");
  EXPECT_EQ(F.Seen.Kinds(), (std::vector<int>{6, 7}));
  EXPECT_EQ(Third.Kinds(), (std::vector<int>{6, 7}));
}

TEST(MsMessageEngineTest, ErrorLimitFiresOnceWithTheFatalText) {
  EngineFixture F;
  EXPECT_EQ(F.Engine.ErrorLimit(), 100u);
  F.Engine.SetErrorLimit(2);
  F.Engine.Start();
  F.Release(MsMessage::KindError);
  EXPECT_THROW(F.Release(MsMessage::KindErrorFixed), MsConsoleException);
  EXPECT_EQ(F.Seen.Kinds(), (std::vector<int>{5, 4, 2, 0}));
  EXPECT_EQ(F.Seen.Messages[2].Tag, MsMakeTag(MsMsgFatalText));
  EXPECT_EQ(F.Seen.Messages[2].Text, "Error limit reached\n");
  ASSERT_EQ(F.Engine.Messages().size(), 1u);
  EXPECT_EQ(F.Engine.Messages()[0].Lvl, MsConsole::FatalError);
  EXPECT_EQ(F.Engine.Messages()[0].Text, "Error limit reached\n");
  EXPECT_EQ(F.Engine.ErrorLimit(), 0u);
  EXPECT_TRUE(F.Engine.IsAborted());
  // The fatal text is an error too; the limit does not fire again.
  EXPECT_EQ(F.Engine.ErrorCount(), 3u);
  F.Release(MsMessage::KindError);
  EXPECT_EQ(F.Engine.ErrorCount(), 4u);
}

TEST(MsMessageEngineTest, ErrorLimitWaitsForTheStartAndZeroMeansNone) {
  EngineFixture F;
  F.Engine.SetErrorLimit(1);
  F.Release(MsMessage::KindError);
  F.Release(MsMessage::KindError);
  EXPECT_TRUE(F.Seen.Messages.empty());
  EXPECT_THROW(F.Engine.Start(), MsConsoleException);
  EXPECT_EQ(F.Seen.Kinds(), (std::vector<int>{5, 5, 2, 0}));

  EngineFixture Unlimited;
  Unlimited.Engine.SetErrorLimit(0);
  Unlimited.Engine.Start();
  for (int I = 0; I < 150; ++I)
    Unlimited.Release(MsMessage::KindError);
  EXPECT_EQ(Unlimited.Engine.ErrorCount(), 150u);
  EXPECT_FALSE(Unlimited.Engine.IsAborted());
}

TEST(MsMessageEngineTest, SignOnLinesComeFirst) {
  struct Case {
    bool Suppressed;
    bool Silent;
    std::vector<std::string> Texts;
  } Cases[] = {
      {false, false, {"Title 1.0", "(c) Someone", "queued"}},
      {true, false, {"queued"}},
      {false, true, {"queued"}},
  };
  for (const Case &C : Cases) {
    EngineFixture F;
    F.Engine.SetSignOn("Title 1.0", "(c) Someone");
    F.Engine.SetSignOnSuppressed(C.Suppressed);
    F.Engine.SetSilent(C.Silent);
    EXPECT_EQ(F.Engine.SignOnTitle(), "Title 1.0");
    EXPECT_EQ(F.Engine.SignOnCopyright(), "(c) Someone");
    F.Release(MsMessage::KindText, "queued");
    F.Engine.Start();
    std::vector<std::string> Texts;
    for (const RecordingHandler::Seen &S : F.Seen.Messages)
      Texts.push_back(S.Text);
    EXPECT_EQ(Texts, C.Texts) << C.Suppressed << C.Silent;
  }
}

TEST(MsMessageEngineTest, FatalReleaseStartsAndEndsWithTheAbortLine) {
  EngineFixture F;
  F.Release(MsMessage::KindWarning, "waiting");
  F.Engine.ReleaseFatal("[x]: gone");
  EXPECT_TRUE(F.Engine.IsStarted());
  EXPECT_EQ(F.Seen.Kinds(), (std::vector<int>{6, 2, 0}));
  EXPECT_EQ(F.Seen.Messages[1].Text, "[x]: gone");
  EXPECT_TRUE(F.Engine.IsAborted());
}

TEST(MsMessageEngineTest, SummaryAndExitStatusWithAndWithoutTheIdeLink) {
  struct Case {
    int Errors;
    int Warnings;
    bool AffectExitCode;
    bool Abort;
    bool Stop;
    int Plain;  // exit status without the IDE link
    int Linked; // and with it
    const char *Summary;
  } Cases[] = {
      {0, 0, false, false, false, 0, 0, "\nErrors: none\nWarnings: none\n"},
      {0, 1, false, false, false, 0, 1, "\nErrors: none\nWarnings: 1\n"},
      {0, 3, true, false, false, 1, 1, "\nErrors: none\nWarnings: 3\n"},
      {2, 1, false, false, false, 2, 2, "\nErrors: 2\nWarnings: 1\n"},
      {1, 0, false, true, false, 3, 3, ""},
      {0, 1, true, false, true, 4, 4, ""},
      {1, 1, false, true, true, 4, 4, ""},
  };
  for (const Case &C : Cases) {
    EngineFixture F;
    F.Engine.SetErrorLimit(0);
    F.Engine.SetWarningsAffectExitCode(C.AffectExitCode);
    for (int I = 0; I < C.Errors; ++I)
      F.Release(MsMessage::KindErrorFixed);
    for (int I = 0; I < C.Warnings; ++I)
      F.Release(MsMessage::KindWarning);
    if (C.Abort)
      F.Release(MsMessage::KindAbort);
    if (C.Stop)
      F.Engine.MarkStoppedByRequest();
    EXPECT_EQ(F.Engine.IsStoppedByRequest(), C.Stop);
    std::ostringstream Summary;
    F.Engine.WriteSummary(Summary);
    EXPECT_EQ(Summary.str(), C.Summary) << C.Errors << C.Warnings;
    EXPECT_EQ(F.Engine.ExitStatus(false), C.Plain) << C.Errors << C.Warnings;
    EXPECT_EQ(F.Engine.ExitStatus(true), C.Linked) << C.Errors << C.Warnings;
  }
}

TEST(MsMessageEngineTest, ContentsWithoutAnApplicationInterfaceArePlain) {
  EXPECT_EQ(MsMakeContent(nullptr, "a %sq", MsFillIns{"b"})->Text(), "a \"b\"");
  EXPECT_EQ(MsMakeTextContent(nullptr, "50% %s")->Text(), "50% %s");
  SuppressingInterface App;
  EXPECT_EQ(MsMakeContent(&App, "c %s", MsFillIns{"d"})->Text(), "c d");
}

} // namespace

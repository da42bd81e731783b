// Tests of the human handler: the human form of every kind of message on the
// console's error stream, as a handler among others.
#include "console/MsMessageHandler.h"

#include "console/MsConsoleConcrete.h"
#include "console/MsMessageFormatter.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace mstest;

namespace {

std::unique_ptr<MsMessage> Message(int Kind, const MsTag &Tag,
                                   const std::string &Text) {
  return std::make_unique<MsMessage>(
      Kind, Tag, DiSourceRange(),
      std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Text}));
}

TEST(MsMessageHandlerHumanTest, WritesTheHumanFormOnTheErrorStream) {
  struct Case {
    int Kind;
    MsTag Tag;
    const char *Text;
    const char *Expected;
  } Cases[] = {
      {MsMessage::KindWarning, Tt(4), "w", "Warning[Tt004]: w\n"},
      {MsMessage::KindErrorFixed, Tt(2), "e", "Error[Tt002]: e\n"},
      {MsMessage::KindFatalError, MsTag(), "f", "Fatal error: f\n"},
      {MsMessage::KindRemark, Tt(5), "r", "Remark[Tt005]: r\n"},
      {MsMessage::KindCommandLineError, Tt(6), "c", "Command line error: c\n"},
      {MsMessage::KindInternalError, MsTag(), "i", "Internal error: i\n"},
      {MsMessage::KindAbort, MsTag(), "", "Fatal error detected, aborting.\n"},
      {MsMessage::KindOutOfMemory, MsTag(), "", "Out of memory\n"},
      // Lines for standard output and file notices have no human form.
      {MsMessage::KindInformation, MsTag(), "info", ""},
      {MsMessage::KindText, MsTag(), "text", ""},
      {MsMessage::KindDependFile, MsTag(), "in.txt", ""},
  };
  for (const Case &C : Cases) {
    std::ostringstream Err, Out;
    MsConsoleConcrete Console(Err, Out);
    RegisterTt(Console);
    MsMessageHandlerHuman Human;
    Human.Handle(*Message(C.Kind, C.Tag, C.Text), Console);
    EXPECT_EQ(Err.str(), C.Expected) << C.Kind;
    EXPECT_EQ(Out.str(), "") << C.Kind;
  }
}

TEST(MsMessageHandlerHumanTest, FollowsTheConsolesErrorStream) {
  std::ostringstream Err, Out, Other;
  MsConsoleConcrete Console(Err, Out);
  RegisterTt(Console);
  MsMessageHandlerHuman Human;
  Human.Handle(*Message(MsMessage::KindWarning, Tt(4), "a"), Console);
  Console.SetErrorStream(Other);
  Human.Handle(*Message(MsMessage::KindWarning, Tt(4), "b"), Console);
  EXPECT_EQ(Err.str(), "Warning[Tt004]: a\n");
  EXPECT_EQ(Other.str(), "Warning[Tt004]: b\n");
}

TEST(MsMessageHandlerHumanTest, RunsFirstAndGivesWayToTheIdeHandler) {
  std::ostringstream Shared;
  MsConsoleConcrete Console(Shared, Shared);
  RegisterTt(Console);
  Console.SetErrorStream(Shared);
  Console.Start();
  Console.Report(Tt(4), MsConsole::Warning, "one");
  Console.WriteLine("line");
  EXPECT_EQ(Shared.str(), "Warning[Tt004]: a warning \"one\"\nline\n");
  RecordingHandler Ide;
  Console.SetIdeHandler(&Ide);
  Console.Report(Tt(4), MsConsole::Warning, "two");
  EXPECT_EQ(Shared.str(), "Warning[Tt004]: a warning \"one\"\nline\n");
  EXPECT_EQ(Ide.Kinds(), (std::vector<int>{MsMessage::KindWarning}));
}

} // namespace

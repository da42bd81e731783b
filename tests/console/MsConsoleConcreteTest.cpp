// Tests of the console as a whole: reports through its tag table and engine,
// the level rules as reports meet them, queue and handler chain, error limit,
// summary and exit status, fatal reports, the process-wide console.
#include "console/MsConsoleConcrete.h"
#include "console/MsDependHandler.h"

#include "console/MsMessageFormatter.h"
#include "console/MsMessages.h"
#include "console/MsWorkingProgress.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

/// A console writing to two string streams, with the "Tt" table registered.
struct ConsoleFixture {
  ConsoleFixture() : Console(Err, Out) { RegisterTt(Console); }
  std::ostringstream Err;
  std::ostringstream Out;
  MsConsoleConcrete Console;
};

//===----------------------------------------------------------------------===//
// The reporting interface the tool calls
//===----------------------------------------------------------------------===//

TEST(MsConsoleReportTest, NoReportSummaryIsZero) {
  ConsoleFixture F;
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 0);
  EXPECT_EQ(Summary.str(), "\nErrors: none\nWarnings: none\n");
}

TEST(MsConsoleReportTest, OneErrorSummaryIsTwo) {
  ConsoleFixture F;
  F.Console.Start();
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "x");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 2);
  EXPECT_EQ(Summary.str(), "\nErrors: 1\nWarnings: none\n");
  EXPECT_EQ(F.Err.str(), "Error[Tt002]: fixed error \"x\"\n");
}

TEST(MsConsoleReportTest, HumanFormWithoutPosition) {
  ConsoleFixture F;
  F.Console.Start();
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "x.txt");
  EXPECT_EQ(F.Err.str(), "Error[Tt002]: fixed error \"x.txt\"\n");
  EXPECT_EQ(F.Out.str(), "");
  ASSERT_EQ(F.Console.Messages().size(), 1u);
  EXPECT_EQ(F.Console.Messages()[0].Tag, Tt(2));
  EXPECT_EQ(F.Console.Messages()[0].Lvl, MsConsole::ErrorFixed);
  EXPECT_EQ(F.Console.Messages()[0].Text, "fixed error \"x.txt\"");
}

TEST(MsConsoleReportTest, PercentInFillInIsPrintedAsItStands) {
  ConsoleFixture F;
  F.Console.Start();
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "a%sb%%c%p");
  EXPECT_EQ(F.Err.str(), "Error[Tt002]: fixed error \"a%sb%%c%p\"\n");
}

TEST(MsConsoleReportTest, ReportLevelArgumentIsUsedOnlyWithoutTableEntry) {
  ConsoleFixture F;
  F.Console.Start();
  // The table says error (fixed); the issuer's warning is ignored.
  F.Console.Report(Tt(2), MsConsole::Warning, "x");
  EXPECT_EQ(F.Console.ErrorCount(), 1u);
  EXPECT_EQ(F.Console.WarningCount(), 0u);
}

TEST(MsConsoleReportTest, CallbackTextWithoutTableUsesIssuerLevel) {
  ConsoleFixture F;
  auto Callback = [](std::uint16_t Number, const std::string &Prefix) {
    return Number == 3 && Prefix == "Cb" ? "from callback %sq" : nullptr;
  };
  F.Console.AddSubSystem("Cb", nullptr, nullptr, 1, 5, Callback);
  F.Console.Start();
  F.Console.Report(MsTag("Cb", 3), MsConsole::Warning, "w");
  EXPECT_EQ(F.Err.str(), "Warning[Cb003]: from callback \"w\"\n");
  EXPECT_EQ(F.Console.WarningCount(), 1u);
}

TEST(MsConsoleReportTest, UnknownTagIsInternalFailure) {
  ThrowingFailureScope Scope;
  ConsoleFixture F;
  try {
    F.Console.Report(Tt(99), MsConsole::ErrorFixed, "x");
    FAIL() << "no failure";
  } catch (const InternalFailure &E) {
    EXPECT_EQ(std::string(E.what()), "MsConsole: unknown message Tt099");
  }
}

TEST(MsConsoleReportTest, FillInMismatchFailsAtTheIssuer) {
  ThrowingFailureScope Scope;
  ConsoleFixture F;
  // Tt008 needs two strings.
  try {
    F.Console.Report(Tt(8), MsConsole::Error, "only one");
    FAIL() << "no failure";
  } catch (const InternalFailure &E) {
    EXPECT_EQ(std::string(E.what()), "MsConsole: missing string substitution");
  }
  // Nothing was counted or queued.
  EXPECT_EQ(F.Console.ErrorCount(), 0u);
  F.Console.Start();
  EXPECT_EQ(F.Err.str(), "");
}

//===----------------------------------------------------------------------===//
// Subsystems and tags
//===----------------------------------------------------------------------===//

TEST(MsConsoleTagTest, UnregisteredPrefixIsWrittenAsNumberAlone) {
  ConsoleFixture F;
  F.Console.Start();
  MsTag Foreign("Zz", 5);
  MsMessage M(MsMessage::KindWarning, Foreign, DiSourceRange(),
              std::make_unique<MsPlainMessageContent>("text", MsFillIns()));
  std::ostringstream Text;
  F.Console.GetFormatter().Format(Text, M, F.Console);
  EXPECT_EQ(Text.str(), "Warning[005]: text\n");
}

TEST(MsConsoleTagTest, MsTableTextsAndLevels) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  const char *Texts[] = {nullptr,
                         "diagnostic tag %sq does not exist",
                         "diagnostic tag %sq can not have its level changed",
                         "could not open file %sq for writing",
                         "problem writing to file %sq",
                         "problem closing file %sq",
                         "illegal path %sq",
                         "could not open file %sq",
                         "[internal]%s",
                         "comment unclosed at end of file",
                         "missing closing quote",
                         "illegal integer",
                         "illegal hexadecimal number"};
  for (std::uint16_t N = 1; N <= 12; ++N) {
    EXPECT_STREQ(MsMessageTable[N].Text, Texts[N]) << N;
    MsConsole::Level Expected =
        N <= 2 ? MsConsole::Warning : MsConsole::ErrorFixed;
    EXPECT_EQ(Console.TagLevel(MsTag("Ms", N), MsConsole::Suppressed), Expected)
        << N;
  }
}

TEST(MsConsoleTagTest, SubsystemAfterStartIsInternalFailure) {
  ThrowingFailureScope Scope;
  ConsoleFixture F;
  F.Console.Start();
  try {
    F.Console.AddSubSystem("Uu", TtTable, 1, 2);
    FAIL() << "no failure";
  } catch (const InternalFailure &E) {
    EXPECT_EQ(std::string(E.what()),
              "SubSystem inserted into the console too late");
  }
}

TEST(MsConsoleTagTest, RegisterOwnMessagesTwiceIsHarmless) {
  ConsoleFixture F;
  F.Console.RegisterOwnMessages();
  EXPECT_EQ(F.Console.TagText(MsTag("Ms", 3)), "Ms003");
}

//===----------------------------------------------------------------------===//
// Levels
//===----------------------------------------------------------------------===//


TEST(MsConsoleLevelTest, PmTagsAreAlwaysOfferedForSuppression) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  const MsConsole::MessageDef Pm[] = {{MsConsole::Suppressed, nullptr},
                                      {MsConsole::Error, "pm error"}};
  Console.AddSubSystem("Pm", Pm, 1, 1);
  RegisterTt(Console);
  SuppressingInterface App;
  Console.SetApplicationInterface(&App);
  EXPECT_EQ(Console.EffectiveLevel(MsTag("Pm", 1), DiSourcePosition::sNone,
                                   MsConsole::Error),
            MsConsole::Suppressed);
  EXPECT_EQ(
      Console.EffectiveLevel(Tt(3), DiSourcePosition::sNone, MsConsole::Error),
      MsConsole::Error);
  ASSERT_EQ(App.Asked.size(), 1u);
  EXPECT_EQ(App.Asked[0], MsTag("Pm", 1));
}

TEST(MsConsoleLevelTest, SuppressedReportIsDroppedAndNotCounted) {
  ConsoleFixture F;
  F.Console.Start();
  ASSERT_TRUE(F.Console.SetTagLevel(Tt(3), MsConsole::Suppressed));
  F.Console.Report(Tt(3), MsConsole::Error, "x");
  F.Console.Report(Tt(5), MsConsole::Remark, "remarks are off");
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Console.ErrorCount(), 0u);
  EXPECT_TRUE(F.Console.Messages().empty());
}

TEST(MsConsoleLevelTest, ChangedLevelsAreShownWithTheirWord) {
  ConsoleFixture F;
  F.Console.Start();
  F.Console.SetRemarksEnabled(true);
  ASSERT_TRUE(F.Console.SetTagLevel(Tt(3), MsConsole::Remark));
  ASSERT_TRUE(F.Console.SetTagLevel(Tt(4), MsConsole::Error));
  ASSERT_TRUE(F.Console.SetTagLevel(Tt(6), MsConsole::Warning));
  F.Console.Report(Tt(3), MsConsole::Error, "a");
  F.Console.Report(Tt(4), MsConsole::Warning, "b");
  F.Console.Report(Tt(6), MsConsole::CommandLineError, "c");
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "d");
  EXPECT_EQ(F.Err.str(), "Remark[Tt003]: changeable error \"a\"\n"
                         "Error[Tt004]: a warning \"b\"\n"
                         "Warning[Tt006]: bad command line \"c\"\n"
                         "Error[Tt002]: fixed error \"d\"\n");
  EXPECT_EQ(F.Console.ErrorCount(), 2u);
  EXPECT_EQ(F.Console.WarningCount(), 1u);
}

TEST(MsConsoleLevelTest, CommandLineErrorTaggedAndUntagged) {
  ConsoleFixture F;
  F.Console.Start();
  F.Console.Report(Tt(6), MsConsole::CommandLineError, "x");
  F.Console.ReportText(MsConsole::CommandLineError, DiSourceRange(),
                       "Option requires a separate parameter: -o");
  EXPECT_EQ(F.Err.str(),
            "Command line error: bad command line \"x\"\n"
            "Command line error: Option requires a separate parameter: -o\n");
  EXPECT_EQ(F.Console.ErrorCount(), 2u);
}

TEST(MsConsoleLevelTest, ReportTextObeysWarningRules) {
  ConsoleFixture F;
  F.Console.Start();
  F.Console.SetWarningsEnabled(false);
  F.Console.ReportText(MsConsole::Warning, DiSourceRange(), "gone");
  F.Console.SetWarningsAreErrors(true);
  F.Console.ReportText(MsConsole::Warning, DiSourceRange(), "now an error");
  EXPECT_EQ(F.Err.str(), "Error: now an error\n");
}

//===----------------------------------------------------------------------===//
// Queue, start and handlers
//===----------------------------------------------------------------------===//

TEST(MsConsoleQueueTest, HeldUntilStartThenReleasedInOrder) {
  ConsoleFixture F;
  RecordingHandler H;
  F.Console.AddHandler(H);
  F.Console.Report(Tt(4), MsConsole::Warning, "one");
  F.Console.WriteLine("info line");
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "two");
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Out.str(), "");
  EXPECT_TRUE(H.Messages.empty());
  // Counted at release already.
  EXPECT_EQ(F.Console.WarningCount(), 1u);
  EXPECT_EQ(F.Console.ErrorCount(), 1u);
  F.Console.Start();
  EXPECT_TRUE(F.Console.IsStarted());
  EXPECT_EQ(F.Err.str(), "Warning[Tt004]: a warning \"one\"\n"
                         "Error[Tt002]: fixed error \"two\"\n");
  EXPECT_EQ(F.Out.str(), "info line\n");
  EXPECT_EQ(H.Kinds(), (std::vector<int>{6, 8, 4}));
  // After the start, messages go out at once.
  F.Console.Report(Tt(4), MsConsole::Warning, "three");
  EXPECT_EQ(H.Messages.size(), 4u);
}

TEST(MsConsoleQueueTest, SilentDropsInformationalLinesOnly) {
  ConsoleFixture F;
  F.Console.WriteLine("queued before silent");
  F.Console.SetSilent(true);
  F.Console.WriteLine("dropped");
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.Start();
  F.Console.OutputStream() << "also dropped\n";
  F.Console.WriteTextLine("text lines stay");
  EXPECT_EQ(F.Out.str(), "text lines stay\n");
  EXPECT_EQ(F.Err.str(), "Warning[Tt004]: a warning \"w\"\n");
}

TEST(MsConsoleQueueTest, OutputStreamHandsOverFinishedLines) {
  ConsoleFixture F;
  F.Console.Start();
  std::ostream &Os = F.Console.OutputStream();
  Os << "ab" << 12;
  EXPECT_EQ(F.Out.str(), "");
  Os << "\n\nc\n" << std::flush;
  EXPECT_EQ(F.Out.str(), "ab12\n\nc\n");
  Os << "%s 100%\n";
  EXPECT_EQ(F.Out.str(), "ab12\n\nc\n%s 100%\n");
}

TEST(MsConsoleQueueTest, SignOnLinesComeFirstUnlessSuppressed) {
  ConsoleFixture F;
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.SetSignOn("ZOR Tool V1", "Copyright 2015 Someone.");
  EXPECT_EQ(F.Console.SignOnTitle(), "ZOR Tool V1");
  EXPECT_EQ(F.Console.SignOnCopyright(), "Copyright 2015 Someone.");
  RecordingHandler H;
  F.Console.AddHandler(H);
  F.Console.Start();
  EXPECT_EQ(F.Out.str(), "ZOR Tool V1\nCopyright 2015 Someone.\n");
  EXPECT_EQ(H.Kinds(), (std::vector<int>{8, 8, 6}));

  ConsoleFixture G;
  G.Console.SetSignOn("ZOR Tool V1", "Copyright 2015 Someone.");
  G.Console.SetSignOnSuppressed(true);
  G.Console.Start();
  EXPECT_EQ(G.Out.str(), "");

  ConsoleFixture S;
  S.Console.SetSignOn("ZOR Tool V1", "Copyright 2015 Someone.");
  S.Console.SetSilent(true);
  S.Console.Start();
  EXPECT_EQ(S.Out.str(), "");
}

TEST(MsConsoleQueueTest, HandlerExceptionRethrownAfterAllHandlers) {
  ConsoleFixture F;
  RecordingHandler First, Second;
  First.ThrowOnKind = MsMessage::KindWarning;
  F.Console.AddHandler(First);
  F.Console.AddHandler(Second);
  F.Console.Start();
  EXPECT_THROW(F.Console.Report(Tt(4), MsConsole::Warning, "w"),
               MsConsoleException);
  EXPECT_EQ(First.Kinds(), (std::vector<int>{6}));
  EXPECT_EQ(Second.Kinds(), (std::vector<int>{6}));
  EXPECT_EQ(F.Err.str(), "Warning[Tt004]: a warning \"w\"\n");
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "e");
  EXPECT_EQ(Second.Kinds(), (std::vector<int>{6, 4}));
  F.Console.RemoveHandler(Second);
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "f");
  EXPECT_EQ(Second.Kinds(), (std::vector<int>{6, 4}));
}

TEST(MsConsoleQueueTest, HandlerExceptionLeavesLaterMessagesQueued) {
  ConsoleFixture F;
  RecordingHandler H;
  H.ThrowOnKind = MsMessage::KindWarning;
  F.Console.AddHandler(H);
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "e");
  EXPECT_THROW(F.Console.Start(), MsConsoleException);
  EXPECT_EQ(H.Kinds(), (std::vector<int>{6}));
  H.ThrowOnKind = -1;
  F.Console.Start();
  EXPECT_EQ(H.Kinds(), (std::vector<int>{6, 4}));
}

TEST(MsConsoleQueueTest, IdeHandlerReplacesHumanForm) {
  ConsoleFixture F;
  RecordingHandler Ide, Extra;
  F.Console.AddHandler(Extra);
  F.Console.SetIdeHandler(&Ide);
  F.Console.Start();
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.WriteLine("info");
  F.Console.AnnounceFile("in.txt");
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Out.str(), "");
  EXPECT_EQ(Ide.Kinds(), (std::vector<int>{6, 8, 10}));
  EXPECT_EQ(Extra.Kinds(), (std::vector<int>{6, 8, 10}));
  EXPECT_EQ(Ide.Messages[0].Text, "a warning \"w\"");
  F.Console.SetIdeHandler(nullptr);
  F.Console.Report(Tt(4), MsConsole::Warning, "x");
  EXPECT_EQ(F.Err.str(), "Warning[Tt004]: a warning \"x\"\n");
}

TEST(MsConsoleQueueTest, OnlyStdoutWritesEachMessageOnce) {
  std::ostringstream Out;
  MsConsoleConcrete Console(Out, Out);
  RegisterTt(Console);
  Console.SetErrorStream(Out);
  Console.Start();
  Console.WriteLine("line");
  Console.Report(Tt(4), MsConsole::Warning, "w");
  EXPECT_EQ(Out.str(), "line\nWarning[Tt004]: a warning \"w\"\n");
}

TEST(MsConsoleQueueTest, AnnouncedFilesOncePerPath) {
  ConsoleFixture F;
  RecordingHandler H;
  F.Console.AddHandler(H);
  F.Console.Start();
  F.Console.AnnounceFile("a.txt");
  F.Console.AnnounceFile("b 100%.txt", true);
  F.Console.AnnounceFile("a.txt");
  F.Console.AnnounceFile("b 100%.txt");
  F.Console.AnnounceIncludeFile("inc.h");
  F.Console.AnnounceIncludeFile("inc.h");
  F.Console.NotifyOutputFileWritten("out.txt");
  F.Console.NotifyOutputFileWritten("out.txt");
  ASSERT_EQ(H.Kinds(), (std::vector<int>{10, 11, 14, 13, 13}));
  EXPECT_EQ(H.Messages[0].Text, "a.txt");
  EXPECT_EQ(H.Messages[1].Text, "b 100%.txt");
  EXPECT_EQ(H.Messages[2].Text, "inc.h");
  EXPECT_EQ(H.Messages[3].Text, "out.txt");
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(F.Out.str(), "");
  EXPECT_EQ(F.Console.ErrorCount(), 0u);
}

TEST(MsConsoleQueueTest, InternalErrorLayoutIsNotCounted) {
  ConsoleFixture F;
  F.Console.Start();
  OneFile File("f.c", {"a", "b"});
  F.Console.ReportInternalError(DiSourceRange(), "broken state");
  F.Console.ReportInternalError(DiSourceRange(File.At(2, 1)), "here");
  EXPECT_EQ(F.Err.str(), "Internal error: broken state\n"
                         "\"f.c\",2  Internal error: here\n");
  EXPECT_EQ(F.Console.ErrorCount(), 0u);
}

//===----------------------------------------------------------------------===//
// Fatal errors, the error limit, out of memory, stop request
//===----------------------------------------------------------------------===//

TEST(MsConsoleFatalTest, FatalReportStartsAbortsAndThrows) {
  ConsoleFixture F;
  RecordingHandler H;
  F.Console.AddHandler(H);
  F.Console.Report(Tt(4), MsConsole::Warning, "queued");
  EXPECT_THROW(F.Console.Report(Tt(1), MsConsole::FatalError, "stop"),
               MsConsoleException);
  EXPECT_TRUE(F.Console.IsStarted());
  EXPECT_TRUE(F.Console.IsAborted());
  EXPECT_EQ(F.Err.str(), "Warning[Tt004]: a warning \"queued\"\n"
                         "Fatal error[Tt001]: fatal stop\n"
                         "Fatal error detected, aborting.\n");
  EXPECT_EQ(H.Kinds(), (std::vector<int>{6, 2, 0}));
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 3);
  EXPECT_EQ(Summary.str(), "");
}

TEST(MsConsoleFatalTest, ErrorLimitDefaultIsHundred) {
  ConsoleFixture F;
  EXPECT_EQ(F.Console.ErrorLimit(), 100u);
  F.Console.Start();
  for (int I = 1; I < 100; ++I)
    F.Console.Report(Tt(2), MsConsole::ErrorFixed, std::to_string(I));
  EXPECT_FALSE(F.Console.IsAborted());
  EXPECT_THROW(F.Console.Report(Tt(2), MsConsole::ErrorFixed, "100"),
               MsConsoleException);
  EXPECT_TRUE(F.Console.IsAborted());
  std::string Err = F.Err.str();
  std::string Tail = "Error[Tt002]: fixed error \"100\"\n"
                     "Fatal error[Ms008]: Error limit reached\n"
                     "Fatal error detected, aborting.\n";
  ASSERT_GE(Err.size(), Tail.size());
  EXPECT_EQ(Err.substr(Err.size() - Tail.size()), Tail);
  // The limit fires once.
  EXPECT_EQ(F.Console.ErrorLimit(), 0u);
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "101");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 3);
}

TEST(MsConsoleFatalTest, ErrorLimitZeroMeansNoLimit) {
  ConsoleFixture F;
  F.Console.SetErrorLimit(0);
  F.Console.Start();
  for (int I = 0; I < 250; ++I)
    F.Console.Report(Tt(2), MsConsole::ErrorFixed, "e");
  EXPECT_FALSE(F.Console.IsAborted());
  EXPECT_EQ(F.Console.ErrorCount(), 250u);
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 2);
  EXPECT_EQ(Summary.str(), "\nErrors: 250\nWarnings: none\n");
}

TEST(MsConsoleFatalTest, ErrorLimitCountsAllErrorKindsAndWaitsForStart) {
  ConsoleFixture F;
  F.Console.SetErrorLimit(3);
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "a");
  F.Console.Report(Tt(6), MsConsole::CommandLineError, "b");
  F.Console.Report(Tt(3), MsConsole::Error, "c");
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  EXPECT_FALSE(F.Console.IsAborted());
  EXPECT_THROW(F.Console.Start(), MsConsoleException);
  EXPECT_NE(F.Err.str().find("Warning[Tt004]: a warning \"w\"\n"
                             "Fatal error[Ms008]: Error limit reached\n"),
            std::string::npos);
}

TEST(MsConsoleFatalTest, OutOfMemoryIsPreparedAndAborts) {
  ConsoleFixture F;
  RecordingHandler H;
  F.Console.AddHandler(H);
  F.Console.ReportOutOfMemory();
  EXPECT_EQ(F.Err.str(), "Out of memory\n");
  EXPECT_EQ(H.Kinds(), (std::vector<int>{1}));
  EXPECT_EQ(H.Messages[0].Text, "Out of memory");
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 3);
}

TEST(MsConsoleFatalTest, OutOfMemoryUnderIdeGoesToIdeHandlerOnly) {
  ConsoleFixture F;
  RecordingHandler Ide;
  F.Console.SetIdeHandler(&Ide);
  F.Console.ReportOutOfMemory();
  EXPECT_EQ(F.Err.str(), "");
  EXPECT_EQ(Ide.Kinds(), (std::vector<int>{1}));
}

/// Answers its flag.
class FlagStopQuery : public MsStopQuery {
public:
  bool StopRequested() override { return Stop; }
  bool Stop = false;
};

TEST(MsConsoleFatalTest, StopRequest) {
  ConsoleFixture F;
  F.Console.CheckStopRequest();
  FlagStopQuery Query;
  F.Console.SetStopQuery(&Query);
  F.Console.CheckStopRequest();
  EXPECT_FALSE(F.Console.IsAborted());
  Query.Stop = true;
  EXPECT_THROW(F.Console.CheckStopRequest(), MsConsoleException);
  EXPECT_TRUE(F.Console.IsAborted());
  EXPECT_TRUE(F.Console.IsStoppedByRequest());
  std::ostringstream Summary;
  EXPECT_EQ(F.Console.Summary(Summary), 4);
  EXPECT_EQ(Summary.str(), "");
}

TEST(MsConsoleFatalDeathTest, FatalTextReportExitsWithStatusOne) {
  EXPECT_EXIT(
      {
        MsConsoleConcrete Console;
        Console.ReportFatalText("chksel ", "Unknown message level");
      },
      testing::ExitedWithCode(1),
      "^Fatal error\\[Ms008\\]: \\[chksel \\]: Unknown message level\n"
      "Fatal error detected, aborting\\.\n$");
}

TEST(MsConsoleFatalDeathTest, FatalTextWithEmptyMessage) {
  EXPECT_EXIT(
      {
        MsConsoleConcrete Console;
        Console.ReportFatalText("chksel ", "");
      },
      testing::ExitedWithCode(1),
      "^Fatal error\\[Ms008\\]: \\[chksel \\]: \n"
      "Fatal error detected, aborting\\.\n$");
}

TEST(MsConsoleFatalDeathTest, FatalTextReleasesQueuedMessagesFirst) {
  EXPECT_EXIT(
      {
        MsConsoleConcrete Console;
        RegisterTt(Console);
        Console.Report(Tt(4), MsConsole::Warning, "queued");
        Console.ReportFatalText("chksel ", "boom");
      },
      testing::ExitedWithCode(1),
      "^Warning\\[Tt004\\]: a warning \"queued\"\n"
      "Fatal error\\[Ms008\\]: \\[chksel \\]: boom\n"
      "Fatal error detected, aborting\\.\n$");
}

/// A handler that raises an internal failure, which the internal-failure
/// handler turns into the fatal text report, as the tool's handler does.
MsConsole *FatalConsole = nullptr;
void FatalTextHandler(const std::string &Text) {
  FatalConsole->ReportFatalText("chksel ", Text);
}
class FailingHandler : public MsMessageHandler {
public:
  void Handle(const MsMessage &M, MsConsole &) override {
    if (M.Kind() == MsMessage::KindWarning)
      GeInternalFailure("handler broke");
  }
};

TEST(MsConsoleFatalDeathTest, FatalTextFromInsideAHandler) {
  EXPECT_EXIT(
      {
        MsConsoleConcrete Console;
        RegisterTt(Console);
        FailingHandler Failing;
        Console.AddHandler(Failing);
        FatalConsole = &Console;
        GeSetInternalFailureHandler(&FatalTextHandler);
        Console.Start();
        Console.Report(Tt(4), MsConsole::Warning, "w");
      },
      testing::ExitedWithCode(1),
      "^Warning\\[Tt004\\]: a warning \"w\"\n"
      "Fatal error\\[Ms008\\]: \\[chksel \\]: handler broke\n"
      "Fatal error detected, aborting\\.\n$");
}

//===----------------------------------------------------------------------===//
// Summary and exit status
//===----------------------------------------------------------------------===//

TEST(MsConsoleSummaryTest, ExitStatusTable) {
  struct Case {
    int Errors;
    int Warnings;
    bool Abort;
    bool StopRequest;
    bool AffectExitCode;
    bool Ide;
    int Expected;
    const char *Summary;
  } Cases[] = {
      {0, 0, false, false, false, false, 0, "\nErrors: none\nWarnings: none\n"},
      {0, 1, false, false, false, false, 0, "\nErrors: none\nWarnings: 1\n"},
      {0, 1, false, false, true, false, 1, "\nErrors: none\nWarnings: 1\n"},
      {0, 2, false, false, false, true, 1, "\nErrors: none\nWarnings: 2\n"},
      {0, 0, false, false, true, true, 0, "\nErrors: none\nWarnings: none\n"},
      {1, 0, false, false, false, false, 2, "\nErrors: 1\nWarnings: none\n"},
      {3, 2, false, false, true, true, 2, "\nErrors: 3\nWarnings: 2\n"},
      {1, 1, true, false, false, false, 3, ""},
      {0, 0, true, false, false, false, 3, ""},
      {0, 0, false, true, false, false, 4, ""},
      {2, 2, true, true, true, true, 4, ""},
  };
  int Row = 0;
  for (const Case &C : Cases) {
    ++Row;
    ConsoleFixture F;
    FlagStopQuery Query;
    F.Console.SetStopQuery(&Query);
    F.Console.SetErrorLimit(0);
    F.Console.SetWarningsAffectExitCode(C.AffectExitCode);
    RecordingHandler Ide;
    if (C.Ide)
      F.Console.SetIdeHandler(&Ide);
    for (int I = 0; I < C.Errors; ++I)
      F.Console.Report(Tt(2), MsConsole::ErrorFixed, "e");
    for (int I = 0; I < C.Warnings; ++I)
      F.Console.Report(Tt(4), MsConsole::Warning, "w");
    if (C.Abort)
      F.Console.ReportOutOfMemory();
    if (C.StopRequest) {
      Query.Stop = true;
      EXPECT_THROW(F.Console.CheckStopRequest(), MsConsoleException);
    }
    std::ostringstream Summary;
    EXPECT_EQ(F.Console.Summary(Summary), C.Expected) << "row " << Row;
    EXPECT_EQ(Summary.str(), C.Summary) << "row " << Row;
  }
}

//===----------------------------------------------------------------------===//
// Process-wide objects and progress
//===----------------------------------------------------------------------===//

TEST(MsConsoleProcessTest, AccessorAnswersOneConsole) {
  MsConsole &A = MsGetConsole();
  MsConsole &B = MsGetConsole();
  EXPECT_EQ(&A, &B);
  EXPECT_NE(dynamic_cast<MsConsoleConcrete *>(&A), nullptr);
  EXPECT_EQ(A.GetFormatter().Width(), 79);
  EXPECT_EQ(A.TagText(MsTag("Ms", 8)), "Ms008");
  EXPECT_EQ(&A.ErrorStream(), &std::cerr);
}

TEST(MsConsoleProcessTest, ResetMakesAFreshConsoleAndDropsItsLists) {
  ScratchDir Dir;
  MsConsole &Old = MsGetConsole();
  Old.SetErrorLimit(7);
  Old.AddDependencyList(std::make_unique<MsDependHandler>(
      MsDependStyle::FileNames, true, "t",
      MsOutputStream::Open(Old, MsOutputStream::Kind::Temp,
                           Dir.Path("deps.d"))));
  EXPECT_EQ(TempFilesIn(Dir.Root()).size(), 1u);
  MsResetProcessConsole();
  EXPECT_TRUE(TempFilesIn(Dir.Root()).empty());
  EXPECT_FALSE(std::filesystem::exists(Dir.Path("deps.d")));

  MsConsole &Fresh = MsGetConsole();
  EXPECT_EQ(Fresh.ErrorLimit(), 100u);
  EXPECT_FALSE(Fresh.IsStarted());
  EXPECT_EQ(Fresh.TagText(MsTag("Ms", 8)), "Ms008");
  EXPECT_EQ(&Fresh, &MsGetConsole());
  MsResetProcessConsole();
  MsResetProcessConsole();
}

TEST(MsConsoleQueueTest, IdeLinkFollowsTheIdeHandler) {
  ConsoleFixture F;
  RecordingHandler Ide;
  EXPECT_FALSE(F.Console.HasIdeHandler());
  F.Console.SetIdeHandler(&Ide);
  EXPECT_TRUE(F.Console.HasIdeHandler());
  F.Console.SetIdeHandler(nullptr);
  EXPECT_FALSE(F.Console.HasIdeHandler());
  // Another console is not linked by this one's handler.
  ConsoleFixture Other;
  F.Console.SetIdeHandler(&Ide);
  EXPECT_FALSE(Other.Console.HasIdeHandler());
}

TEST(MsConsoleProcessTest, ProgressObjectIsCreatedOnce) {
  ConsoleFixture F;
  MsWorkingProgress &P = F.Console.Progress();
  EXPECT_EQ(&P, &F.Console.Progress());
  EXPECT_NE(dynamic_cast<MsWorkingProgressConcrete *>(&P), nullptr);
}

TEST(MsConsoleProcessTest, ApplicationInterfaceGetsErrorNotifications) {
  ConsoleFixture F;
  SuppressingInterface App;
  App.Suppress = false;
  F.Console.SetApplicationInterface(&App);
  EXPECT_EQ(F.Console.GetApplicationInterface(), &App);
  F.Console.Start();
  F.Console.Report(Tt(2), MsConsole::ErrorFixed, "e");
  F.Console.Report(Tt(4), MsConsole::Warning, "w");
  F.Console.ReportOutOfMemory();
  EXPECT_EQ(App.Notifications, 2);
}

} // namespace

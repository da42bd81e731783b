// The workbench handler: the visitor table (each message kind to its agent
// call and type number), texts and tags, positions, and the console routing
// its messages to the handler in IDE mode.
#include "ideagent/MsWorkbenchHandler.h"

#include "console/MsConsoleConcrete.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using mstest::OneFile;
using mstest::Tt;

/// One call an agent received.
struct Call {
  std::string Op;
  std::uint32_t Type = 0;
  std::string Text;
  std::string Tag;
  std::string Path;
  std::vector<std::uint32_t> Positions;

  friend bool operator==(const Call &A, const Call &B) {
    return A.Op == B.Op && A.Type == B.Type && A.Text == B.Text &&
           A.Tag == B.Tag && A.Path == B.Path && A.Positions == B.Positions;
  }
  friend std::ostream &operator<<(std::ostream &Out, const Call &C) {
    Out << C.Op << " type " << C.Type << " text \"" << C.Text << "\" tag \""
        << C.Tag << "\" path \"" << C.Path << "\" at";
    for (std::uint32_t P : C.Positions)
      Out << ' ' << P;
    return Out;
  }
};

/// Records every call; the calls outlive the agent, which its handler owns.
class RecordingAgent : public WtConsoleAgent {
public:
  explicit RecordingAgent(std::vector<Call> &Into) : Calls(Into) {}

  void Message(std::uint32_t Type, const std::string &Text,
               const std::string &Tag, const std::string &FilePath,
               std::uint32_t StartLine, std::uint32_t StartColumn,
               std::uint32_t EndLine, std::uint32_t EndColumn) override {
    Calls.push_back(Call{"message",
                         Type,
                         Text,
                         Tag,
                         FilePath,
                         {StartLine, StartColumn, EndLine, EndColumn}});
  }
  void Comment(std::uint32_t Type, const std::string &Text,
               const std::string &Tag, const std::string &FilePath,
               std::uint32_t Line, std::uint32_t Column) override {
    Calls.push_back(Call{"comment", Type, Text, Tag, FilePath, {Line, Column}});
  }
  void DependencyFile(const std::string &FilePath) override {
    Calls.push_back(Call{"dependency", 0, "", "", FilePath, {}});
  }
  void OutputFile(const std::string &FilePath) override {
    Calls.push_back(Call{"output", 0, "", "", FilePath, {}});
  }
  void IncludeFile(const std::string &FilePath) override {
    Calls.push_back(Call{"include", 0, "", "", FilePath, {}});
  }
  std::uint32_t StopRequest() override { return 0; }

private:
  std::vector<Call> &Calls;
};

/// A console that marks the tag texts asked with the changeable flag, so
/// that the tests see the flag the handler passes.
class FlagShowingConsole : public MsConsoleConcrete {
public:
  FlagShowingConsole(std::ostream &Err, std::ostream &Out)
      : MsConsoleConcrete(Err, Out) {}
  std::string TagText(const MsTag &Tag, bool Changeable) const override {
    return MsConsoleConcrete::TagText(Tag, Changeable) +
           (Changeable ? "+flag" : "");
  }
};

class MsWorkbenchHandlerTest : public ::testing::Test {
protected:
  MsWorkbenchHandlerTest()
      : Console(Err, Out), Handler(std::make_unique<RecordingAgent>(Calls)) {
    mstest::RegisterTt(Console);
  }

  /// A message of Kind carrying Text as its content.
  static MsMessage Make(int Kind, const std::string &Text,
                        const MsTag &Tag = MsTag(),
                        const DiSourceRange &Range = DiSourceRange()) {
    return MsMessage(
        Kind, Tag, Range,
        std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Text}));
  }

  Call HandleOne(const MsMessage &M) {
    Calls.clear();
    Handler.Handle(M, Console);
    EXPECT_EQ(Calls.size(), 1u) << "kind " << M.Kind();
    return Calls.empty() ? Call() : Calls.front();
  }

  mstest::ThrowingFailureScope Failures;
  std::ostringstream Err;
  std::ostringstream Out;
  FlagShowingConsole Console;
  std::vector<Call> Calls;
  MsWorkbenchHandler Handler;
};

const std::vector<std::uint32_t> NoPosition{0, 0, 0, 0};

TEST_F(MsWorkbenchHandlerTest, VisitorTable) {
  struct Row {
    int Kind;
    Call Expected;
  };
  const Row Rows[] = {
      {0, {"message", 30, "", "", "", NoPosition}},
      {1, {"message", 33, "Out of memory", "", "", NoPosition}},
      {2, {"message", 12, "body text", "Tt001", "", NoPosition}},
      {3, {"message", 13, "body text", "Tt001", "", NoPosition}},
      {4, {"message", 11, "body text", "Tt001", "", NoPosition}},
      {5, {"message", 11, "body text", "Tt001+flag", "", NoPosition}},
      {6, {"message", 10, "body text", "Tt001", "", NoPosition}},
      {7, {"message", 14, "body text", "Tt001", "", NoPosition}},
      {8, {"message", 2, "", "", "", NoPosition}},
      {9, {"message", 3, "", "", "", NoPosition}},
      {10, {"dependency", 0, "", "", "body text", {}}},
      {11, {"dependency", 0, "", "", "body text", {}}},
      {12, {"message", 3, "", "", "", NoPosition}},
      {13, {"output", 0, "", "", "body text", {}}},
      {14, {"include", 0, "", "", "body text", {}}},
  };
  for (const Row &R : Rows)
    EXPECT_EQ(HandleOne(Make(R.Kind, "body text", Tt(1))), R.Expected)
        << "kind " << R.Kind;
}

TEST_F(MsWorkbenchHandlerTest, UntaggedDiagnosticSendsNoTag) {
  Call C = HandleOne(Make(MsMessage::KindCommandLineError, "Bad option"));
  EXPECT_EQ(C, (Call{"message", 13, "Bad option", "", "", NoPosition}));
}

TEST_F(MsWorkbenchHandlerTest, TagOfAnUnregisteredPrefixIsItsNumber) {
  Call C = HandleOne(Make(MsMessage::KindWarning, "w", MsTag("Zz", 7)));
  EXPECT_EQ(C.Tag, "007");
}

TEST_F(MsWorkbenchHandlerTest, OutOfMemoryIgnoresTheContent) {
  Call C = HandleOne(Make(MsMessage::KindOutOfMemory, "something else", Tt(1)));
  EXPECT_EQ(C, (Call{"message", 33, "Out of memory", "", "", NoPosition}));
}

TEST_F(MsWorkbenchHandlerTest, BodyIsNotWrapped) {
  std::string Long;
  for (int I = 0; I < 40; ++I)
    Long += "word" + std::to_string(I) + " ";
  Long += "end";
  Call C = HandleOne(Make(MsMessage::KindError, Long, Tt(3)));
  EXPECT_EQ(C.Text, Long);
}

TEST_F(MsWorkbenchHandlerTest, BodyKeepsTabsAndLineEnds) {
  Call C = HandleOne(Make(MsMessage::KindWarning, "a\tb\r\nc", Tt(4)));
  EXPECT_EQ(C.Text, "a\tb\r\nc");
}

TEST_F(MsWorkbenchHandlerTest, FileEventsSendTheContentAsPath) {
  Call C = HandleOne(Make(MsMessage::KindOutputFile, "out dir/sel.txt"));
  EXPECT_EQ(C, (Call{"output", 0, "", "", "out dir/sel.txt", {}}));
}

TEST_F(MsWorkbenchHandlerTest, AbortLineWithoutContent) {
  Call C = HandleOne(
      MsMessage(MsMessage::KindAbort, MsTag(), DiSourceRange(), nullptr));
  EXPECT_EQ(C, (Call{"message", 30, "", "", "", NoPosition}));
}

TEST_F(MsWorkbenchHandlerTest, RangeInOneFile) {
  OneFile F("src/a.xcl", {"l1", "l2", "l3"});
  Call C = HandleOne(Make(MsMessage::KindCommandLineError, "t", Tt(6),
                          DiSourceRange(F.At(3, 5), F.At(3, 9))));
  EXPECT_EQ(C, (Call{"message", 13, "t", "Tt006", "src/a.xcl", {3, 5, 3, 9}}));
}

TEST_F(MsWorkbenchHandlerTest, PointPositionGivesEqualStartAndEnd) {
  OneFile F("a.xcl", {"l1", "l2"});
  Call C = HandleOne(
      Make(MsMessage::KindWarning, "t", Tt(4), DiSourceRange(F.At(2, 3))));
  EXPECT_EQ(C.Path, "a.xcl");
  EXPECT_EQ(C.Positions, (std::vector<std::uint32_t>{2, 3, 2, 3}));
}

TEST_F(MsWorkbenchHandlerTest, RangeAcrossLines) {
  OneFile F("a.xcl", {"l1", "l2", "l3", "l4"});
  Call C = HandleOne(Make(MsMessage::KindError, "t", Tt(3),
                          DiSourceRange(F.At(1, 7), F.At(4, 2))));
  EXPECT_EQ(C.Positions, (std::vector<std::uint32_t>{1, 7, 4, 2}));
}

TEST_F(MsWorkbenchHandlerTest, StartInAnotherFileIsSentAsOneOne) {
  OgSourceLineSequence Seq;
  OgSourceLineSequence::Builder Build(Seq);
  std::uint32_t First = Build.BeginFile(GeRcPtr<DiFile>(new DiFile("one.c")));
  Build.EndFile(10);
  std::uint32_t Second = Build.BeginFile(GeRcPtr<DiFile>(new DiFile("two.h")));
  Build.EndFile(10);
  DiSourcePosition Start(First + 6, 4, &Seq);
  DiSourcePosition End(Second + 2, 8, &Seq);
  Call C = HandleOne(
      Make(MsMessage::KindErrorFixed, "t", Tt(3), DiSourceRange(Start, End)));
  EXPECT_EQ(C, (Call{"message", 11, "t", "Tt003", "two.h", {1, 1, 3, 8}}));

  // The other way round the path is the first file's.
  Call Back = HandleOne(
      Make(MsMessage::KindError, "t", Tt(3), DiSourceRange(End, Start)));
  EXPECT_EQ(Back.Path, "one.c");
  EXPECT_EQ(Back.Positions, (std::vector<std::uint32_t>{1, 1, 7, 4}));
}

TEST_F(MsWorkbenchHandlerTest, NoPositionSendsZerosAndNoPath) {
  MsWorkbenchHandler::Position P =
      MsWorkbenchHandler::PositionOf(DiSourceRange());
  EXPECT_EQ(P.FilePath, "");
  EXPECT_EQ(P.StartLine, 0u);
  EXPECT_EQ(P.StartColumn, 0u);
  EXPECT_EQ(P.EndLine, 0u);
  EXPECT_EQ(P.EndColumn, 0u);
}

TEST_F(MsWorkbenchHandlerTest, EndOfSourceHasNoPath) {
  Call C = HandleOne(Make(MsMessage::KindError, "t", Tt(3),
                          DiSourceRange(DiSourcePosition::sEnd)));
  EXPECT_EQ(C.Path, "");
  EXPECT_EQ(C.Positions, (std::vector<std::uint32_t>{0, 0, 0, 0}));
}

TEST_F(MsWorkbenchHandlerTest, BarePositionedMessagesKeepTheirPosition) {
  OneFile F("a.c", {"l1", "l2"});
  Call C = HandleOne(Make(MsMessage::KindInternalError, "t", MsTag(),
                          DiSourceRange(F.At(2, 1))));
  EXPECT_EQ(C, (Call{"message", 3, "", "", "a.c", {2, 1, 2, 1}}));
}

TEST_F(MsWorkbenchHandlerTest, CommentIsNeverSent) {
  for (int Kind = 0; Kind <= 14; ++Kind) {
    Calls.clear();
    Handler.Handle(Make(Kind, "x", Tt(1)), Console);
    for (const Call &C : Calls)
      EXPECT_NE(C.Op, "comment") << "kind " << Kind;
  }
}

TEST_F(MsWorkbenchHandlerTest, UnknownKindIsAnInternalFailure) {
  EXPECT_THROW(Handler.Handle(Make(15, "x"), Console), mstest::InternalFailure);
  EXPECT_TRUE(Calls.empty());
}

TEST_F(MsWorkbenchHandlerTest, ConsoleRoutesToTheIdeHandlerInsteadOfText) {
  Console.SetIdeHandler(&Handler);
  Console.Start();
  Console.Report(Tt(3), MsConsole::Error, "x.c");
  Console.AnnounceFile("in.txt");
  Console.NotifyOutputFileWritten("out.txt");
  Console.AnnounceIncludeFile("inc.h");
  Console.WriteLine("info");
  Console.ReportOutOfMemory();
  EXPECT_EQ(Err.str(), "");
  EXPECT_EQ(Out.str(), "");
  std::vector<Call> Expected = {
      {"message", 11, "changeable error \"x.c\"", "Tt003+flag", "", NoPosition},
      {"dependency", 0, "", "", "in.txt", {}},
      {"output", 0, "", "", "out.txt", {}},
      {"include", 0, "", "", "inc.h", {}},
      {"message", 2, "", "", "", NoPosition},
      {"message", 33, "Out of memory", "", "", NoPosition},
  };
  EXPECT_EQ(Calls, Expected);

  // Without the IDE handler the human form is back.
  Console.SetIdeHandler(nullptr);
  Calls.clear();
  Console.Report(Tt(4), MsConsole::Warning, "w");
  EXPECT_TRUE(Calls.empty());
  EXPECT_EQ(Err.str(), "Warning[Tt004]: a warning \"w\"\n");
}

} // namespace

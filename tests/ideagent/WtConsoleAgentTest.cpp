// The console agent: the lines it writes to standard output (each in one
// piece and flushed), the current agent, its level, and the exit marker seen
// from child processes.
#include "ideagent/WtConsoleAgent.h"

#include "tests/support/MsConsoleTestSupport.h"
#include "tests/support/OutputCapture.h"
#include "tests/support/WtProtocolParser.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

namespace {

/// Stands in for standard output's buffer: keeps every block written to it
/// and notes each flush.
class RecordingBuf : public std::streambuf {
public:
  std::vector<std::string> Blocks;
  std::vector<std::size_t> SyncedAfter;

  std::string All() const {
    std::string Result;
    for (const std::string &B : Blocks)
      Result += B;
    return Result;
  }

protected:
  int_type overflow(int_type Ch) override {
    if (!traits_type::eq_int_type(Ch, traits_type::eof()))
      Blocks.emplace_back(1, traits_type::to_char_type(Ch));
    return traits_type::not_eof(Ch);
  }
  std::streamsize xsputn(const char *Text, std::streamsize Count) override {
    Blocks.emplace_back(Text, static_cast<std::size_t>(Count));
    return Count;
  }
  int sync() override {
    SyncedAfter.push_back(Blocks.size());
    return 0;
  }
};

/// Points std::cout at a RecordingBuf for one test.
class WtConsoleAgentTest : public ::testing::Test {
protected:
  RecordingBuf Buf;
  testsupport::StreamRedirect Stdout{std::cout, Buf};
};

TEST_F(WtConsoleAgentTest, EachCallIsOneLineWrittenInOnePieceAndFlushed) {
  WtConsoleAgentExe Agent(2);
  Agent.Message(13, "Unexpected command line arguments: --x", "Su002", "c.xcl",
                2, 3, 2, 9);
  Agent.Comment(7, "note", "", "", 4, 1);
  Agent.DependencyFile("in.txt");
  Agent.OutputFile("out.txt");
  Agent.IncludeFile("inc.h");
  std::vector<std::string> Expected = {
      "$$TOOL_BEGIN $$VERSION \"2\" $$MSG_BEGIN $$MSG_POS \"2\" \"3\" \"2\" "
      "\"9\" $$TYPE \"13\" $$TAG \"Su002\" $$FILEPATH \"c.xcl\" $$TXT_BEGIN "
      "\"Unexpected command line arguments: --x\" $$TOOL_END \n",
      "$$TOOL_BEGIN $$VERSION \"2\" $$COM_BEGIN $$COM_POS \"4\" \"1\" $$TYPE "
      "\"7\" $$TXT_BEGIN \"note\" $$TOOL_END \n",
      "$$TOOL_BEGIN $$VERSION \"2\" $$DEP_BEGIN $$FILEPATH \"in.txt\" "
      "$$TOOL_END \n",
      "$$TOOL_BEGIN $$VERSION \"2\" $$OUT_BEGIN $$FILEPATH \"out.txt\" "
      "$$TOOL_END \n",
      "$$TOOL_BEGIN $$VERSION \"2\" $$INC_BEGIN $$FILEPATH \"inc.h\" "
      "$$TOOL_END \n",
  };
  EXPECT_EQ(Buf.Blocks, Expected);
  EXPECT_EQ(Buf.SyncedAfter, (std::vector<std::size_t>{1, 2, 3, 4, 5}));
}

TEST_F(WtConsoleAgentTest, LevelIsWrittenAsTheVersion) {
  for (std::uint32_t Level : {1u, 2u, 3u}) {
    Buf.Blocks.clear();
    WtConsoleAgentExe Agent(Level);
    EXPECT_EQ(Agent.Level(), Level);
    Agent.Message(10, "", "", "", 0, 0, 0, 0);
    ASSERT_EQ(Buf.Blocks.size(), 1u);
    EXPECT_EQ(Buf.Blocks[0], "$$TOOL_BEGIN $$VERSION \"" +
                                 std::to_string(Level) +
                                 "\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" \"0\" "
                                 "\"0\" $$TYPE \"10\" $$TOOL_END \n");
  }
}

TEST_F(WtConsoleAgentTest, LinesInterleaveWithOtherOutput) {
  WtConsoleAgentExe Agent(1);
  std::cout << "Alpha\n";
  Agent.Message(11, "t\tx\r\n", "Lc002", "", 0, 0, 0, 0);
  std::cout << "Beta\n";
  wttest::IdeOutput Parsed = wttest::ParseIdeOutput(Buf.All());
  ASSERT_EQ(Parsed.Lines.size(), 3u);
  EXPECT_EQ(Parsed.Lines[0].Plain, "Alpha");
  ASSERT_TRUE(Parsed.Lines[1].IsProtocol);
  EXPECT_EQ(Parsed.Lines[1].Protocol.Text, "t\tx\r\n");
  EXPECT_EQ(Parsed.Lines[2].Plain, "Beta");
  EXPECT_FALSE(Parsed.ExitMarker);
}

TEST_F(WtConsoleAgentTest, LongLinesAreWrittenWhole) {
  WtConsoleAgentExe Agent(1);
  std::string Long(5000, 'x');
  Agent.Message(11, Long, "", "", 0, 0, 0, 0);
  ASSERT_EQ(Buf.Blocks.size(), 1u);
  EXPECT_EQ(wttest::ParseIdeOutput(Buf.Blocks[0]).ProtocolLines().at(0).Text,
            Long);
}

TEST_F(WtConsoleAgentTest, NeverAsksToStop) {
  WtConsoleAgentExe Agent(1);
  EXPECT_EQ(Agent.StopRequest(), 0u);
}

TEST_F(WtConsoleAgentTest, LevelOutOfRangeIsAnInternalFailure) {
  mstest::ThrowingFailureScope Failures;
  EXPECT_THROW(WtConsoleAgentExe(0), mstest::InternalFailure);
  EXPECT_THROW(WtConsoleAgentExe(4), mstest::InternalFailure);
}

TEST_F(WtConsoleAgentTest, ConstructionMakesTheCurrentAgent) {
  {
    WtConsoleAgentExe First(1);
    EXPECT_EQ(WtConsoleAgent::Current(), &First);
    EXPECT_TRUE(WtConsoleAgent::EverConstructed());
    {
      WtConsoleAgentExe Second(2);
      EXPECT_EQ(WtConsoleAgent::Current(), &Second);
    }
    // Destroying the current agent clears it; the older one does not return.
    EXPECT_EQ(WtConsoleAgent::Current(), nullptr);
  }
  EXPECT_EQ(WtConsoleAgent::Current(), nullptr);

  auto *Older = new WtConsoleAgentExe(1);
  WtConsoleAgentExe Newer(1);
  delete Older;
  EXPECT_EQ(WtConsoleAgent::Current(), &Newer);
}

// --- The exit marker, seen from a child process ------------------------

struct ChildResult {
  int Status = -1;
  std::string Out;
};

/// Runs the probe with Mode and collects its standard output and status.
ChildResult RunProbe(const std::string &Mode) {
  int Pipe[2];
  if (pipe(Pipe) != 0)
    throw std::runtime_error("pipe failed");
  pid_t Child = fork();
  if (Child < 0)
    throw std::runtime_error("fork failed");
  if (Child == 0) {
    dup2(Pipe[1], 1);
    close(Pipe[0]);
    close(Pipe[1]);
    execl(WT_AGENT_PROBE_PATH, WT_AGENT_PROBE_PATH, Mode.c_str(),
          static_cast<char *>(nullptr));
    _exit(127);
  }
  close(Pipe[1]);
  ChildResult Result;
  char Chunk[4096];
  for (;;) {
    ssize_t Got = read(Pipe[0], Chunk, sizeof Chunk);
    if (Got < 0 && errno == EINTR)
      continue;
    if (Got <= 0)
      break;
    Result.Out.append(Chunk, static_cast<std::size_t>(Got));
  }
  close(Pipe[0]);
  int WaitStatus = 0;
  while (waitpid(Child, &WaitStatus, 0) < 0 && errno == EINTR) {
  }
  Result.Status = WIFEXITED(WaitStatus) ? WEXITSTATUS(WaitStatus)
                                        : 128 + WTERMSIG(WaitStatus);
  return Result;
}

TEST(WtExitMarker, NotWrittenWithoutAnAgent) {
  ChildResult R = RunProbe("none");
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "plain\n");
}

TEST(WtExitMarker, WrittenAfterTheLastLineOnReturnFromMain) {
  ChildResult R = RunProbe("return");
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, "before\n"
                   "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" "
                   "\"0\" \"0\" \"0\" $$TYPE \"11\" $$TAG \"Lc002\" "
                   "$$TXT_BEGIN \"text\" $$TOOL_END \n"
                   "after\n"
                   " $$TOOL_EXIT");
}

TEST(WtExitMarker, WrittenOnStdExit) {
  ChildResult R = RunProbe("exit");
  EXPECT_EQ(R.Status, 5);
  EXPECT_EQ(R.Out, "$$TOOL_BEGIN $$VERSION \"3\" $$OUT_BEGIN $$FILEPATH "
                   "\"o.txt\" $$TOOL_END \n"
                   " $$TOOL_EXIT");
}

TEST(WtExitMarker, WrittenAfterTheAgentWasDestroyed) {
  ChildResult R = RunProbe("destroyed");
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out, " $$TOOL_EXIT");
}

TEST(WtExitMarker, WrittenAfterAFatalReportEndsTheProcess) {
  ChildResult R = RunProbe("fatal");
  EXPECT_EQ(R.Status, 1);
  EXPECT_EQ(R.Out, "$$TOOL_BEGIN $$VERSION \"2\" $$MSG_BEGIN $$MSG_POS \"0\" "
                   "\"0\" \"0\" \"0\" $$TYPE \"12\" $$TAG \"Ms008\" "
                   "$$TXT_BEGIN \"[probe ]: boom\" $$TOOL_END \n"
                   "$$TOOL_BEGIN $$VERSION \"2\" $$MSG_BEGIN $$MSG_POS \"0\" "
                   "\"0\" \"0\" \"0\" $$TYPE \"30\" $$TOOL_END \n"
                   " $$TOOL_EXIT");
  wttest::IdeOutput Parsed = wttest::ParseIdeOutput(R.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  EXPECT_EQ(Parsed.ProtocolLines().size(), 2u);
}

} // namespace

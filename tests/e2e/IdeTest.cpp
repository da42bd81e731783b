// End-to-end tests of the IDE link: chksel started with an IDE switch as its
// first argument writes protocol lines to standard output instead of the
// human form, ends with the exit marker, and exits 1 on warnings alone.
// Every output is read back by the protocol reader and compared byte for
// byte with its golden text.
#include "E2eSupport.h"

#include "tests/support/WtProtocolParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace e2e;

namespace {

const char Exit[] = " $$TOOL_EXIT";

/// The golden line of a message without position.
std::string MessageLine(const std::string &Version, const std::string &Type,
                        const std::string &Tail) {
  return "$$TOOL_BEGIN $$VERSION \"" + Version +
         "\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" \"0\" \"0\" $$TYPE \"" + Type +
         "\" " + Tail + "$$TOOL_END \n";
}

class IdeTest : public FolderTest {
protected:
  void SetUp() override { Write("m.txt", TwoCheckManifest); }

  /// Reads Out back with the protocol reader; fails the test when it breaks
  /// the protocol.
  static wttest::IdeOutput Parse(const std::string &Out) {
    try {
      return wttest::ParseIdeOutput(Out);
    } catch (const wttest::ProtocolError &Error) {
      ADD_FAILURE() << "not protocol output: " << Error.what();
      return wttest::IdeOutput();
    }
  }
};

TEST_F(IdeTest, MissingManifestIsAnErrorOfTypeEleven) {
  RunResult R = RunHere({"--IDE", "--manifest=nope.txt", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out,
            "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" "
            "\"0\" \"0\" $$TYPE \"11\" $$TAG \"Lc002\" $$TXT_BEGIN \"could not "
            "open file \\\"nope.txt\\\"\" $$TOOL_END \n"
            " $$TOOL_EXIT");

  wttest::IdeOutput Parsed = Parse(R.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  std::vector<wttest::IdeLine> Lines = Parsed.ProtocolLines();
  ASSERT_EQ(Lines.size(), 1u);
  EXPECT_EQ(Lines[0].Kind, wttest::IdeLine::Message);
  EXPECT_EQ(Lines[0].Version, 1u);
  EXPECT_EQ(Lines[0].Positions, (std::vector<std::uint32_t>{0, 0, 0, 0}));
  EXPECT_EQ(Lines[0].Type, 11u);
  EXPECT_EQ(Lines[0].Tag, "Lc002");
  EXPECT_FALSE(Lines[0].HasPath);
  EXPECT_EQ(Lines[0].Text, "could not open file \"nope.txt\"");
  EXPECT_TRUE(Parsed.PlainLines().empty());
}

TEST_F(IdeTest, UnknownOptionIsACommandLineErrorOfTypeThirteen) {
  RunResult R = RunHere({"--IDE", "--bogus", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, MessageLine("1", "13",
                               "$$TAG \"Su002\" $$TXT_BEGIN \"Unexpected "
                               "command line arguments: --bogus\" ") +
                       Exit);
  std::vector<wttest::IdeLine> Lines = Parse(R.Out).ProtocolLines();
  ASSERT_EQ(Lines.size(), 1u);
  EXPECT_EQ(Lines[0].Type, 13u);
  EXPECT_EQ(Lines[0].Tag, "Su002");
}

TEST_F(IdeTest, ErrorInsideACommandFileCarriesItsFileAndPosition) {
  WriteFile(Dir.Path("e.xcl"), "--all\n--output=a\n\n  --output=b\n");
  RunResult R = RunHere({"--IDE", "-f", "e"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  wttest::IdeOutput Parsed = Parse(R.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  std::vector<wttest::IdeLine> Lines = Parsed.ProtocolLines();
  ASSERT_FALSE(Lines.empty());
  const wttest::IdeLine &Error = Lines.back();
  EXPECT_EQ(Error.Kind, wttest::IdeLine::Message);
  EXPECT_EQ(Error.Type, 13u);
  EXPECT_EQ(Error.Tag, "Su005");
  EXPECT_EQ(Error.FilePath, "e.xcl");
  // Line 4, column 3: where "--output=b" stands in the command file.
  EXPECT_EQ(Error.Positions, (std::vector<std::uint32_t>{4, 3, 4, 3}));
  EXPECT_EQ(Error.Text, "Option --output does not match previous occurrence");
  std::string Golden =
      "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"4\" \"3\" \"4\" "
      "\"3\" $$TYPE \"13\" $$TAG \"Su005\" $$FILEPATH \"e.xcl\" $$TXT_BEGIN "
      "\"Option --output does not match previous occurrence\" $$TOOL_END \n"
      " $$TOOL_EXIT";
  ASSERT_GE(R.Out.size(), Golden.size());
  EXPECT_EQ(R.Out.substr(R.Out.size() - Golden.size()), Golden);
  // Anything before the error is the command file's dependency line.
  for (std::size_t I = 0; I + 1 < Lines.size(); ++I) {
    EXPECT_EQ(Lines[I].Kind, wttest::IdeLine::Dependency);
    EXPECT_EQ(Lines[I].FilePath, "e.xcl");
  }
}

TEST_F(IdeTest, UnexpectedArgumentInACommandFile) {
  WriteFile(Dir.Path("c.xcl"), "--all\n\t--bogus\n");
  RunResult R = RunHere({"--IDE3", "-f", "c.xcl"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  std::vector<wttest::IdeLine> Lines = Parse(R.Out).ProtocolLines();
  ASSERT_FALSE(Lines.empty());
  EXPECT_EQ(Lines.back().Version, 3u);
  EXPECT_EQ(Lines.back().Type, 13u);
  EXPECT_EQ(Lines.back().Tag, "Su002");
  EXPECT_EQ(Lines.back().FilePath, "c.xcl");
  EXPECT_EQ(Lines.back().Positions, (std::vector<std::uint32_t>{2, 2, 2, 2}));
  EXPECT_EQ(Lines.back().Text, "Unexpected command line arguments: --bogus");
}

TEST_F(IdeTest, WarningIsTypeTenAndGivesStatusOne) {
  RunResult R = RunHere({"--IDE", "--diag_warning=Ms999"});
  EXPECT_EQ(R.Status, 1);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, MessageLine("1", "10",
                               "$$TAG \"Ms001\" $$TXT_BEGIN \"diagnostic tag "
                               "\\\"Ms999\\\" does not exist\" ") +
                       Exit);

  // The same run without the IDE link exits 0.
  RunResult Plain = RunHere({"--diag_warning=Ms999"});
  EXPECT_EQ(Plain.Status, 0);
  EXPECT_EQ(Plain.Out, "");
}

TEST_F(IdeTest, ErrorLimitSendsTheFatalErrorAndTheAbort) {
  RunResult R =
      RunHere({"--IDE2", "--error_limit=1", "--manifest=nope", "--all"});
  EXPECT_EQ(R.Status, 3);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out,
            MessageLine("2", "11",
                        "$$TAG \"Lc002\" $$TXT_BEGIN \"could not open file "
                        "\\\"nope\\\"\" ") +
                MessageLine("2", "12",
                            "$$TAG \"Ms008\" $$TXT_BEGIN \"Error limit "
                            "reached\\n\" ") +
                MessageLine("2", "30", "") + Exit);
}

TEST_F(IdeTest, TabIsSentRawAndCrLfEscaped) {
  RunResult R = RunHere({"--IDE", "--manifest=a\tb\r\nc", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, MessageLine("1", "11",
                               "$$TAG \"Lc002\" $$TXT_BEGIN \"could not open "
                               "file \\\"a\tb\\r\\nc\\\"\" ") +
                       Exit);
  std::vector<wttest::IdeLine> Lines = Parse(R.Out).ProtocolLines();
  ASSERT_EQ(Lines.size(), 1u);
  EXPECT_EQ(Lines[0].Text, "could not open file \"a\tb\r\nc\"");
}

TEST_F(IdeTest, SwitchIsTakenOnlyAsTheFirstArgument) {
  // First: removed before the tool sees the arguments.
  RunResult First =
      RunHere({"--IDE2", "--manifest=m.txt", "--all", "--output=-"});
  EXPECT_EQ(First.Status, 0);
  EXPECT_EQ(First.Err, "");
  wttest::IdeOutput Parsed = Parse(First.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  EXPECT_EQ(Parsed.PlainLines(), (std::vector<std::string>{"Alpha", "Beta"}));
  for (const wttest::IdeLine &L : Parsed.ProtocolLines())
    EXPECT_NE(L.Kind, wttest::IdeLine::Message);

  // Second after the first: an ordinary argument, reported as unexpected.
  RunResult Twice = RunHere({"--IDE2", "--IDE2"});
  EXPECT_EQ(Twice.Status, 2);
  EXPECT_EQ(Twice.Err, "");
  EXPECT_EQ(Twice.Out, MessageLine("2", "13",
                                   "$$TAG \"Su002\" $$TXT_BEGIN \"Unexpected "
                                   "command line arguments: --IDE2\" ") +
                           Exit);

  // Second without an IDE switch first: the human form, no protocol.
  RunResult Later = RunHere({"--all", "--IDE2"});
  EXPECT_EQ(Later.Status, 2);
  EXPECT_EQ(Later.Out, "");
  EXPECT_EQ(Later.Err,
            "Command line error: Unexpected command line arguments: --IDE2\n");
}

TEST_F(IdeTest, SwitchesAreCaseSensitiveAndWhole) {
  for (const char *Switch : {"--ide", "--Ide2", "--IDE4", "--IDE=1"}) {
    RunResult R = RunHere({Switch});
    EXPECT_EQ(R.Status, 2) << Switch;
    EXPECT_EQ(R.Out, "") << Switch;
    EXPECT_EQ(R.Err, std::string("Command line error: Unexpected command "
                                 "line arguments: ") +
                         Switch + "\n")
        << Switch;
  }
}

TEST_F(IdeTest, SuccessfulRunPrintsTheNamesThenTheExitMarker) {
  RunResult R = RunHere({"--IDE", "--manifest=m.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  wttest::IdeOutput Parsed = Parse(R.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  EXPECT_EQ(Parsed.PlainLines(), (std::vector<std::string>{"Alpha", "Beta"}));
  // The names come last, right before the marker.
  const std::string Tail = "Alpha\nBeta\n $$TOOL_EXIT";
  ASSERT_GE(R.Out.size(), Tail.size());
  EXPECT_EQ(R.Out.substr(R.Out.size() - Tail.size()), Tail);
  // Whatever else is there reports the manifest that was read.
  for (const wttest::IdeLine &L : Parsed.ProtocolLines()) {
    EXPECT_EQ(L.Kind, wttest::IdeLine::Dependency);
    EXPECT_EQ(L.FilePath, "m.txt");
  }
}

TEST_F(IdeTest, SuccessfulRunIntoAFile) {
  RunResult R =
      RunHere({"--IDE3", "--manifest=m.txt", "--check=beta", "--output=o.txt"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(ReadFile(Dir.Path("o.txt")), "Beta\n");
  wttest::IdeOutput Parsed = Parse(R.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  EXPECT_TRUE(Parsed.PlainLines().empty());
  for (const wttest::IdeLine &L : Parsed.ProtocolLines()) {
    EXPECT_EQ(L.Version, 3u);
    EXPECT_NE(L.Kind, wttest::IdeLine::Message);
  }
}

TEST_F(IdeTest, NoArgumentsButTheSwitchPrintsOnlyTheMarker) {
  RunResult R = RunHere({"--IDE"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, Exit);
}

TEST_F(IdeTest, OnlyStdoutStillPrintsNoHumanForm) {
  RunResult R = RunHere({"--IDE", "--only_stdout", "--manifest=nope", "--all"});
  EXPECT_EQ(R.Status, 2);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, MessageLine("1", "11",
                               "$$TAG \"Lc002\" $$TXT_BEGIN \"could not open "
                               "file \\\"nope\\\"\" ") +
                       Exit);
}

} // namespace

// The IDE line protocol: number fills, quoting, message, comment and file
// event lines, exact bytes; and the test reader of the protocol.
#include "ideagent/WtProtocol.h"

#include "tests/support/WtProtocolParser.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

std::string Number(std::uint32_t N) {
  std::string Line;
  WtAppendNumber(Line, N);
  return Line;
}

std::string Quote(const std::string &Text) {
  std::string Line;
  WtAppendQuoted(Line, Text);
  return Line;
}

TEST(WtProtocolNumber, DecimalUnsignedBetweenQuotes) {
  struct Case {
    std::uint32_t In;
    const char *Out;
  } Cases[] = {{0, "\"0\""},
               {7, "\"7\""},
               {13, "\"13\""},
               {100, "\"100\""},
               {4294967295u, "\"4294967295\""}};
  for (const Case &C : Cases)
    EXPECT_EQ(Number(C.In), C.Out) << C.In;
}

TEST(WtProtocolNumber, AppendsToWhatIsThere) {
  std::string Line = "x ";
  WtAppendNumber(Line, 42);
  EXPECT_EQ(Line, "x \"42\"");
}

struct QuoteCase {
  const char *Name;
  std::string In;
  std::string Out;
};

TEST(WtProtocolQuoting, Table) {
  const QuoteCase Cases[] = {
      {"empty", "", "\"\""},
      {"plain", "abc def", "\"abc def\""},
      {"backspace", "a\bb", "\"a\\bb\""},
      {"line feed", "a\nb", "\"a\\nb\""},
      {"form feed", "a\fb", "\"a\\fb\""},
      {"carriage return", "a\rb", "\"a\\rb\""},
      {"double quote", "say \"hi\"", "\"say \\\"hi\\\"\""},
      {"backslash", "C:\\dir\\f", "\"C:\\\\dir\\\\f\""},
      {"tab stays raw", "a\tb", "\"a\tb\""},
      {"crlf", "one\r\ntwo", "\"one\\r\\ntwo\""},
      {"bytes above 127 stay raw", "\xc3\xa4\xe2\x82\xac\xff",
       "\"\xc3\xa4\xe2\x82\xac\xff\""},
      {"other control bytes stay raw", std::string("\x01\x07\x0b\x1b", 4),
       std::string("\"\x01\x07\x0b\x1b\"", 6)},
      {"nul stays raw", std::string("a\0b", 3), std::string("\"a\0b\"", 5)},
      {"only escapes", "\\\"\n", "\"\\\\\\\"\\n\""},
      {"escape at both ends", "\nmid\r", "\"\\nmid\\r\""},
      {"dollars are plain", "$$TOOL_END", "\"$$TOOL_END\""},
  };
  for (const QuoteCase &C : Cases) {
    EXPECT_EQ(Quote(C.In), C.Out) << C.Name;
    // The test reader gives back the original bytes.
    EXPECT_EQ(wttest::Unquote(C.Out + " "), C.In) << C.Name;
  }
}

TEST(WtProtocolLines, MessageLineGolden) {
  std::string Line;
  WtAppendMessageLine(Line, 1, 11, "could not open file \"x\"", "Lc002", "", 0,
                      0, 0, 0);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" "
                  "\"0\" \"0\" \"0\" $$TYPE \"11\" $$TAG \"Lc002\" $$TXT_BEGIN "
                  "\"could not open file \\\"x\\\"\" $$TOOL_END \n");
}

TEST(WtProtocolLines, MessageWithEveryItem) {
  std::string Line;
  WtAppendMessageLine(Line, 2, 13, "text", "Su002", "dir/f.xcl", 3, 5, 3, 9);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"2\" $$MSG_BEGIN $$MSG_POS \"3\" "
                  "\"5\" \"3\" \"9\" $$TYPE \"13\" $$TAG \"Su002\" $$FILEPATH "
                  "\"dir/f.xcl\" $$TXT_BEGIN \"text\" $$TOOL_END \n");
}

TEST(WtProtocolLines, EmptyTagPathAndTextLeaveOutTheirMarkers) {
  std::string Line;
  WtAppendMessageLine(Line, 3, 30, "", "", "", 0, 0, 0, 0);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"3\" $$MSG_BEGIN $$MSG_POS \"0\" "
                  "\"0\" \"0\" \"0\" $$TYPE \"30\" $$TOOL_END \n");

  Line.clear();
  WtAppendMessageLine(Line, 1, 10, "", "Ms001", "", 0, 0, 0, 0);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" "
                  "\"0\" \"0\" \"0\" $$TYPE \"10\" $$TAG \"Ms001\" "
                  "$$TOOL_END \n");

  Line.clear();
  WtAppendMessageLine(Line, 1, 10, "", "", "p", 1, 2, 3, 4);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"1\" "
                  "\"2\" \"3\" \"4\" $$TYPE \"10\" $$FILEPATH \"p\" "
                  "$$TOOL_END \n");

  Line.clear();
  WtAppendMessageLine(Line, 1, 33, "Out of memory", "", "", 0, 0, 0, 0);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" "
                  "\"0\" \"0\" \"0\" $$TYPE \"33\" $$TXT_BEGIN \"Out of "
                  "memory\" $$TOOL_END \n");
}

TEST(WtProtocolLines, TextWithTabAndCrLf) {
  std::string Line;
  WtAppendMessageLine(Line, 1, 10, "a\tb\r\nc", "", "", 0, 0, 0, 0);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" "
                  "\"0\" \"0\" \"0\" $$TYPE \"10\" $$TXT_BEGIN "
                  "\"a\tb\\r\\nc\" $$TOOL_END \n");
}

TEST(WtProtocolLines, PathIsQuoted) {
  std::string Line;
  WtAppendMessageLine(Line, 1, 11, "t", "", "C:\\x \"y\".c", 1, 1, 1, 1);
  EXPECT_NE(Line.find(" $$FILEPATH \"C:\\\\x \\\"y\\\".c\" "),
            std::string::npos);
}

TEST(WtProtocolLines, CommentLineGolden) {
  std::string Line;
  WtAppendCommentLine(Line, 2, 40, "a comment", "Xy001", "f.c", 7, 12);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"2\" $$COM_BEGIN $$COM_POS \"7\" "
                  "\"12\" $$TYPE \"40\" $$TAG \"Xy001\" $$FILEPATH \"f.c\" "
                  "$$TXT_BEGIN \"a comment\" $$TOOL_END \n");

  Line.clear();
  WtAppendCommentLine(Line, 1, 0, "", "", "", 0, 0);
  EXPECT_EQ(Line, "$$TOOL_BEGIN $$VERSION \"1\" $$COM_BEGIN $$COM_POS \"0\" "
                  "\"0\" $$TYPE \"0\" $$TOOL_END \n");
}

TEST(WtProtocolLines, FileEventLines) {
  struct Case {
    WtFileEvent Event;
    const char *Marker;
  } Cases[] = {{WtFileEvent::Dependency, "$$DEP_BEGIN"},
               {WtFileEvent::Output, "$$OUT_BEGIN"},
               {WtFileEvent::Include, "$$INC_BEGIN"}};
  for (const Case &C : Cases) {
    std::string Line;
    WtAppendFileEventLine(Line, 3, C.Event, "a\\b.h");
    EXPECT_EQ(Line, std::string("$$TOOL_BEGIN $$VERSION \"3\" ") + C.Marker +
                        " $$FILEPATH \"a\\\\b.h\" $$TOOL_END \n");
    Line.clear();
    WtAppendFileEventLine(Line, 1, C.Event, "");
    EXPECT_EQ(Line, std::string("$$TOOL_BEGIN $$VERSION \"1\" ") + C.Marker +
                        " $$TOOL_END \n");
  }
}

TEST(WtProtocolLines, ExitMarker) {
  EXPECT_EQ(std::string(WtExitMarker), " $$TOOL_EXIT");
}

// --- The test reader itself ---------------------------------------------

TEST(WtProtocolParser, ReadsBackWhatTheWriterWrote) {
  std::string Out;
  WtAppendMessageLine(Out, 2, 13, "t\"x\"\t\r\n", "Su002", "c.xcl", 2, 3, 2, 9);
  Out += "Alpha\n";
  WtAppendCommentLine(Out, 2, 5, "", "", "", 4, 1);
  WtAppendFileEventLine(Out, 2, WtFileEvent::Output, "out.txt");
  WtAppendFileEventLine(Out, 2, WtFileEvent::Include, "");
  Out += WtExitMarker;

  wttest::IdeOutput Parsed = wttest::ParseIdeOutput(Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  ASSERT_EQ(Parsed.Lines.size(), 5u);
  EXPECT_EQ(Parsed.PlainLines(), std::vector<std::string>{"Alpha"});
  std::vector<wttest::IdeLine> Lines = Parsed.ProtocolLines();
  ASSERT_EQ(Lines.size(), 4u);
  EXPECT_EQ(Lines[0].Kind, wttest::IdeLine::Message);
  EXPECT_EQ(Lines[0].Version, 2u);
  EXPECT_EQ(Lines[0].Positions, (std::vector<std::uint32_t>{2, 3, 2, 9}));
  EXPECT_EQ(Lines[0].Type, 13u);
  EXPECT_EQ(Lines[0].Tag, "Su002");
  EXPECT_EQ(Lines[0].FilePath, "c.xcl");
  EXPECT_EQ(Lines[0].Text, "t\"x\"\t\r\n");
  EXPECT_EQ(Lines[1].Kind, wttest::IdeLine::Comment);
  EXPECT_EQ(Lines[1].Positions, (std::vector<std::uint32_t>{4, 1}));
  EXPECT_FALSE(Lines[1].HasTag || Lines[1].HasPath || Lines[1].HasText);
  EXPECT_EQ(Lines[2].Kind, wttest::IdeLine::Output);
  EXPECT_EQ(Lines[2].FilePath, "out.txt");
  EXPECT_EQ(Lines[3].Kind, wttest::IdeLine::Include);
  EXPECT_FALSE(Lines[3].HasPath);
}

TEST(WtProtocolParser, RefusesBrokenLines) {
  const char *Broken[] = {
      // No blank after $$TOOL_END.
      "$$TOOL_BEGIN $$VERSION \"1\" $$DEP_BEGIN $$TOOL_END\n",
      // Two blanks between items.
      "$$TOOL_BEGIN  $$VERSION \"1\" $$DEP_BEGIN $$TOOL_END \n",
      // A number without quotes.
      "$$TOOL_BEGIN $$VERSION 1 $$DEP_BEGIN $$TOOL_END \n",
      // A negative number.
      "$$TOOL_BEGIN $$VERSION \"-1\" $$DEP_BEGIN $$TOOL_END \n",
      // Three position numbers.
      "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" \"0\" "
      "$$TYPE \"2\" $$TOOL_END \n",
      // Items out of order.
      "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" \"0\" "
      "\"0\" $$TYPE \"2\" $$TXT_BEGIN \"t\" $$TAG \"x\" $$TOOL_END \n",
      // An unknown escape.
      "$$TOOL_BEGIN $$VERSION \"1\" $$DEP_BEGIN $$FILEPATH \"\\t\" "
      "$$TOOL_END \n",
      // A raw carriage return.
      "$$TOOL_BEGIN $$VERSION \"1\" $$DEP_BEGIN $$FILEPATH \"\r\" "
      "$$TOOL_END \n",
      // Text after the end.
      "$$TOOL_BEGIN $$VERSION \"1\" $$DEP_BEGIN $$TOOL_END x\n",
      // A marker inside other text.
      "Alpha $$TOOL_EXIT\n",
      // The exit marker with a line feed.
      " $$TOOL_EXIT\n",
      // Something after the exit marker.
      " $$TOOL_EXIT ",
  };
  for (const char *Text : Broken)
    EXPECT_THROW(wttest::ParseIdeOutput(Text), wttest::ProtocolError) << Text;
}

} // namespace

// Tests of the command-file tokenizer and reader: token syntax, quoting,
// comments, line and column counting, errors and their positions.
#include "cmdline/ClCommandFile.h"
#include "cmdline/ClLine.h"
#include "general/GeUnicode.h"
#include "tests/support/GeTextEncodingSupport.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Tok {
  std::string Text;
  std::uint32_t Line;
  std::uint32_t Column;

  friend bool operator==(const Tok &A, const Tok &B) {
    return A.Text == B.Text && A.Line == B.Line && A.Column == B.Column;
  }
  friend std::ostream &operator<<(std::ostream &Out, const Tok &T) {
    return Out << '[' << T.Text << "]@" << T.Line << ':' << T.Column;
  }
};

/// The tokens of Text with their line and column (a bare tokenizer places
/// line L at index L - 1).
std::vector<Tok> Lex(const std::string &Text, std::size_t SizeHint) {
  std::istringstream In(Text);
  ClCommandFileTokenizer Tokenizer(In, nullptr, 0, SizeHint);
  std::vector<Tok> Result;
  ClToken Token;
  while (Tokenizer.NextToken(Token)) {
    Result.push_back(Tok{Token.Text, Token.Place.Position.LineIndex() + 1,
                         Token.Place.Position.Column()});
    EXPECT_EQ(Tokenizer.TokenLine(), Result.back().Line);
    EXPECT_EQ(Tokenizer.TokenColumn(), Result.back().Column);
  }
  EXPECT_FALSE(Tokenizer.NextToken(Token)) << "tokens after the end";
  return Result;
}

struct LexCase {
  const char *Name;
  std::string Input;
  std::vector<Tok> Tokens;
};

const LexCase LexCases[] = {
    // Separators.
    {"empty", "", {}},
    {"only separators", "   \t\r\n \n", {}},
    {"one token", "a", {{"a", 1, 1}}},
    {"space", "a b", {{"a", 1, 1}, {"b", 1, 3}}},
    {"tab and carriage return",
     "a\tb\rc",
     {{"a", 1, 1}, {"b", 1, 3}, {"c", 1, 5}}},
    {"line feed", "a\nb", {{"a", 1, 1}, {"b", 2, 1}}},
    {"crlf", "a\r\nb\r\n", {{"a", 1, 1}, {"b", 2, 1}}},
    {"indent and blank lines", "  a\n\n   bc  ", {{"a", 1, 3}, {"bc", 3, 4}}},
    // Slashes and comments.
    {"slash inside a token", "u/v", {{"u/v", 1, 1}}},
    {"block comment separates", "u/*c*/v", {{"u", 1, 1}, {"v", 1, 7}}},
    {"line comment separates", "u//c\nv", {{"u", 1, 1}, {"v", 2, 1}}},
    {"slash at the end", "a/", {{"a/", 1, 1}}},
    {"lone slash at the end", "/", {{"/", 1, 1}}},
    {"lone slash then token", "/ x", {{"/", 1, 1}, {"x", 1, 3}}},
    {"slash before quote", "/\"a\"", {{"/a", 1, 1}}},
    {"block comment over lines", "/*a\nb*/ x", {{"x", 2, 5}}},
    {"empty block comment", "/**/x", {{"x", 1, 5}}},
    {"star slash needs its own star", "/*/ x */y", {{"y", 1, 9}}},
    {"stars before the end", "/***/z", {{"z", 1, 6}}},
    {"only a line comment", "//only", {}},
    {"line comment keeps the line feed",
     "a//c\r\nb",
     {{"a", 1, 1}, {"b", 2, 1}}},
    {"block comment ends token", "a/*x*/", {{"a", 1, 1}}},
    {"comment marks in a line comment", "// /* \"\nz", {{"z", 2, 1}}},
    {"line comment in a block comment", "/* // */q", {{"q", 1, 9}}},
    // Quoted stretches.
    {"quoted separators", "\"a b\"", {{"a b", 1, 1}}},
    {"quotes do not end the token", "uv\"w x\"y", {{"uvw xy", 1, 1}}},
    {"doubled quote", "\"a\"\"b\"", {{"a\"b", 1, 1}}},
    {"backslash quote", "\"a\\\"b\"", {{"a\"b", 1, 1}}},
    {"backslash kept", "\"a\\b\"", {{"a\\b", 1, 1}}},
    {"backslash before backslash", "\"a\\\\\"", {{"a\\\\", 1, 1}}},
    {"backslash takes the next byte as it is", "\"\\\n\"", {{"\\\n", 1, 1}}},
    {"empty stretch alone", "\"\"", {}},
    {"empty stretch between separators",
     "x \"\" y",
     {{"x", 1, 1}, {"y", 1, 6}}},
    {"empty stretch then token", "\"\" x", {{"x", 1, 4}}},
    {"empty stretch attached", "\"\"x", {{"x", 1, 3}}},
    {"empty stretch after token", "x\"\"", {{"x", 1, 1}}},
    {"token position at the quote", "  \"a\"", {{"a", 1, 3}}},
    {"quote inside a token", "a\"b\"c", {{"abc", 1, 1}}},
    {"quoted quote only", "\"\"\"\"", {{"\"", 1, 1}}},
    {"line feed in quotes counts columns",
     "\"a\nb\" c",
     {{"a\nb", 1, 1}, {"c", 1, 7}}},
    {"line after a quoted line feed",
     "\"a\nb\"\nc",
     {{"a\nb", 1, 1}, {"c", 2, 1}}},
    {"comment marks in quotes",
     "\"/*x*/\" \"//y\"",
     {{"/*x*/", 1, 1}, {"//y", 1, 9}}},
    {"backslash outside quotes",
     "a\\b \\\"c\"",
     {{"a\\b", 1, 1}, {"\\c", 1, 5}}},
    // Bytes. Columns count characters: a UTF-8 continuation byte does not
    // advance the column, any other byte does.
    {"bytes above 127",
     "\xc3\xa9t\xe9 \xff",
     {{"\xc3\xa9t\xe9", 1, 1}, {"\xff", 1, 5}}},
    {"characters of several bytes",
     "\xc3\xa4 \xe2\x82\xac \xf0\x9d\x84\x9e x",
     {{"\xc3\xa4", 1, 1},
      {"\xe2\x82\xac", 1, 3},
      {"\xf0\x9d\x84\x9e", 1, 5},
      {"x", 1, 7}}},
    {"characters in quotes and comments",
     "\"\xc3\xa4\xc3\xb6\" /*\xe2\x82\xac*/x // \xc3\xa4\ny",
     {{"\xc3\xa4\xc3\xb6", 1, 1}, {"x", 1, 11}, {"y", 2, 1}}},
    {"control characters",
     "\x01\x02 \x1b[0m",
     {{"\x01\x02", 1, 1}, {"\x1b[0m", 1, 4}}},
    {"NUL byte",
     std::string("a\0b c", 5),
     {{std::string("a\0b", 3), 1, 1}, {"c", 1, 5}}},
    {"form feed and vertical tab are ordinary", "a\fb\vc", {{"a\fb\vc", 1, 1}}},
};

TEST(ClCommandFileTokenizer, TokenSyntaxTable) {
  for (const LexCase &C : LexCases) {
    EXPECT_EQ(Lex(C.Input, C.Input.size()), C.Tokens) << C.Name;
    // The same without a size hint, and with a tiny read buffer.
    EXPECT_EQ(Lex(C.Input, 0), C.Tokens) << C.Name << " (no hint)";
    EXPECT_EQ(Lex(C.Input, 1), C.Tokens) << C.Name << " (hint 1)";
  }
}

struct ErrorCase {
  const char *Name;
  std::string Input;
  bool Quote;
  std::uint32_t Line;
  std::uint32_t Column;
};

const ErrorCase ErrorCases[] = {
    {"unclosed quote", "\"abc", true, 1, 1},
    {"unclosed quote over lines", "x \"a\nb\nc", true, 1, 3},
    {"backslash at the end", "\"a\\", true, 1, 1},
    {"backslash quote at the end", "\"a\\\"", true, 1, 1},
    {"second stretch unclosed", "\"a\" \"", true, 1, 5},
    {"quote after a comment", "/*\n\"*/ \"x", true, 2, 5},
    {"unclosed block comment", "a\n /* x", false, 2, 2},
    {"bare comment opener", "/*", false, 1, 1},
    {"second comment unclosed", "/* */ /* ", false, 1, 7},
    {"comment opener in a token", "ab/*", false, 1, 3},
    {"star slash missing its slash", "/* *", false, 1, 1},
};

TEST(ClCommandFileTokenizer, ErrorTable) {
  for (const ErrorCase &C : ErrorCases) {
    std::istringstream In(C.Input);
    ClCommandFileTokenizer Tokenizer(In, nullptr, 0, 0, "f.xcl");
    ClToken Token;
    try {
      while (Tokenizer.NextToken(Token)) {
      }
      ADD_FAILURE() << C.Name << ": no error";
    } catch (const ClLine::UnmatchedQuoteError &E) {
      EXPECT_TRUE(C.Quote) << C.Name;
      EXPECT_EQ(E.Message(), ClLineMessage::UnmatchedQuote);
      EXPECT_TRUE(E.FillIns().empty());
      EXPECT_EQ(E.FileName(), "f.xcl");
      EXPECT_EQ(E.Place().Position.LineIndex() + 1, C.Line) << C.Name;
      EXPECT_EQ(E.Place().Position.Column(), C.Column) << C.Name;
    } catch (const ClLine::UnmatchedSlashStarError &E) {
      EXPECT_FALSE(C.Quote) << C.Name;
      EXPECT_EQ(E.Message(), ClLineMessage::UnmatchedSlashStar);
      EXPECT_TRUE(E.FillIns().empty());
      EXPECT_EQ(E.Place().Position.LineIndex() + 1, C.Line) << C.Name;
      EXPECT_EQ(E.Place().Position.Column(), C.Column) << C.Name;
    }
  }
}

TEST(ClCommandFileTokenizer, QuoteUnclosedOverManyLines) {
  std::string Text = "ok \"";
  for (int I = 0; I < 5000; ++I)
    Text += "line\n";
  std::istringstream In(Text);
  ClCommandFileTokenizer Tokenizer(In);
  ClToken Token;
  ASSERT_TRUE(Tokenizer.NextToken(Token));
  EXPECT_EQ(Token.Text, "ok");
  try {
    Tokenizer.NextToken(Token);
    FAIL() << "no error";
  } catch (const ClLine::UnmatchedQuoteError &E) {
    EXPECT_EQ(E.Place().Position.LineIndex(), 0u);
    EXPECT_EQ(E.Place().Position.Column(), 4u);
  }
}

TEST(ClCommandFileTokenizer, CountersAfterAQuotedLineFeed) {
  std::istringstream In("\"a\nb\"");
  ClCommandFileTokenizer Tokenizer(In);
  ClToken Token;
  ASSERT_TRUE(Tokenizer.NextToken(Token));
  EXPECT_EQ(Tokenizer.Line(), 1u);
  EXPECT_EQ(Tokenizer.Column(), 6u);
  EXPECT_FALSE(Tokenizer.NextToken(Token));
}

TEST(ClCommandFileTokenizer, LookAheadAcrossReadBoundaries) {
  // With no size hint the tokenizer reads 4096 bytes at a time; put the
  // comment opener and a quote pair across that boundary.
  const std::string Text = std::string(4095, ' ') + "/*x*/y " +
                           std::string(4087, ' ') + "\"a\"\"b\"";
  std::vector<Tok> Tokens = Lex(Text, 0);
  ASSERT_EQ(Tokens.size(), 2u);
  EXPECT_EQ(Tokens[0], (Tok{"y", 1, 4101}));
  EXPECT_EQ(Tokens[1].Text, "a\"b");
}

TEST(ClCommandFileTokenizer, LongTokensAndManyTokens) {
  const std::string Long(100000, 'x');
  std::vector<Tok> One = Lex(Long, 0);
  ASSERT_EQ(One.size(), 1u);
  EXPECT_EQ(One[0].Text, Long);
  std::string Many;
  for (int I = 0; I < 100000; ++I)
    Many += "t\n";
  std::vector<Tok> Lots = Lex(Many, Many.size());
  ASSERT_EQ(Lots.size(), 100000u);
  EXPECT_EQ(Lots.back(), (Tok{"t", 100000, 1}));
}

TEST(ClCommandFileTokenizer, BareTokenizerKeepsAByteOrderMark) {
  // Marks are the reader's business (ClLine::ReadCommandFileText); the
  // tokenizer takes them as the bytes they are.
  EXPECT_EQ(Lex("\xef\xbb\xbf"
                "a b",
                0),
            (std::vector<Tok>{{"\xef\xbb\xbf"
                               "a",
                               1, 1},
                              {"b", 1, 4}}));
}

TEST(ClCommandFileTokenizer, TokenizeConvenience) {
  std::vector<ClToken> Tokens =
      ClCommandFileTokenizer::Tokenize("--check=a /*c*/ \"b c\"");
  ASSERT_EQ(Tokens.size(), 2u);
  EXPECT_EQ(Tokens[0].Text, "--check=a");
  EXPECT_EQ(Tokens[1].Text, "b c");
  EXPECT_EQ(Tokens[1].Place.Position.Column(), 17u);
}

// --- Encodings ------------------------------------------------------------

using GeTextEncoding::AllEncodings;
using GeTextEncoding::Encode;
using GeTextEncoding::Encoding;

/// Whether Text is well-formed UTF-8 that UTF-16 can hold.
bool IsUtf8(const std::string &Text) {
  const std::u16string Units = GeUnicode::Utf8ToUtf16(Text);
  for (char16_t Unit : Units)
    if (Unit >= 0xDC80 && Unit <= 0xDCFF)
      return false;
  return GeUnicode::Utf16ToUtf8(Units) == Text;
}

/// The tokens of a command file holding Bytes, read as the walk reads it.
std::vector<Tok> ReadTokens(const std::string &Bytes) {
  std::istringstream In(Bytes);
  std::vector<Tok> Result;
  for (const ClToken &Token : ClLine::ReadCommandFile(In, "enc.xcl"))
    Result.push_back(Tok{Token.Text, Token.Place.Position.Line(),
                         Token.Place.Position.Column()});
  return Result;
}

TEST(ClReadCommandFile, EveryEncodingGivesTheTokensOfPlainUtf8) {
  std::size_t Compared = 0;
  for (const LexCase &C : LexCases) {
    if (!IsUtf8(C.Input))
      continue;
    ++Compared;
    for (Encoding E : AllEncodings)
      EXPECT_EQ(ReadTokens(Encode(C.Input, E)), C.Tokens)
          << C.Name << " in " << GeTextEncoding::Name(E);
  }
  // All but the case that holds bytes which are not UTF-8.
  EXPECT_EQ(Compared, std::size(LexCases) - 1);
}

TEST(ClReadCommandFile, EveryEncodingGivesTheErrorsOfPlainUtf8) {
  for (const ErrorCase &C : ErrorCases) {
    for (Encoding E : AllEncodings) {
      std::istringstream In(Encode(C.Input, E));
      try {
        ClLine::ReadCommandFile(In, "enc.xcl");
        ADD_FAILURE() << C.Name << " in " << GeTextEncoding::Name(E)
                      << ": no error";
      } catch (const ClLine::ErrorBase &Error) {
        EXPECT_EQ(Error.Message(), C.Quote ? ClLineMessage::UnmatchedQuote
                                           : ClLineMessage::UnmatchedSlashStar)
            << C.Name << " in " << GeTextEncoding::Name(E);
        EXPECT_EQ(Error.Place().Position.Line(), C.Line) << C.Name;
        EXPECT_EQ(Error.Place().Position.Column(), C.Column) << C.Name;
      }
    }
  }
}

TEST(ClReadCommandFile, CharactersOutsideAsciiInEveryEncoding) {
  const std::string Text =
      "--check=\xC3\xA4\xE2\x82\xAC\r\n"
      "\t\"\xF0\x9D\x84\x9E \xC3\xB6\" /* \xC3\xA9 */ z\r\n"
      "\xEF\xBB\xBF"
      "w";
  const std::vector<Tok> Expected = {{"--check=\xC3\xA4\xE2\x82\xAC", 1, 1},
                                     {"\xF0\x9D\x84\x9E \xC3\xB6", 2, 2},
                                     {"z", 2, 16},
                                     {"\xEF\xBB\xBF"
                                      "w",
                                      3, 1}};
  for (Encoding E : AllEncodings)
    EXPECT_EQ(ReadTokens(Encode(Text, E)), Expected) << GeTextEncoding::Name(E);
}

TEST(ClReadCommandFile, MalformedUtf16IsAFileThatCannotBeOpened) {
  struct Case {
    const char *Name;
    std::string Bytes;
  };
  const Case Cases[] = {
      {"odd byte count", std::string("\xFF\xFE-\0f", 5)},
      {"odd byte count, big-endian", std::string("\xFE\xFF\0-\0", 5)},
      {"lone high surrogate", std::string("\xFF\xFE"
                                          "a\0\x00\xD8",
                                          6)},
      {"high surrogate before a blank",
       std::string("\xFE\xFF\xD8\x34\0 \0x", 8)},
      {"lone low surrogate", std::string("\xFE\xFF\0a\xDD\x1E", 6)},
  };
  for (const Case &C : Cases) {
    std::istringstream In(C.Bytes);
    try {
      ClLine::ReadCommandFile(In, "bad.xcl");
      ADD_FAILURE() << C.Name << ": no error";
    } catch (const ClLine::CommandFileNotFound &E) {
      EXPECT_EQ(E.FileName(), "bad.xcl") << C.Name;
      EXPECT_EQ(E.Message(), ClLineMessage::CommandFileNotFound) << C.Name;
      EXPECT_EQ(E.FillIns(), std::vector<std::string>{"bad.xcl"}) << C.Name;
    }
  }
}

TEST(ClReadCommandFile, FilesTakeTheirOwnLinesInTheSharedSequence) {
  std::istringstream A("one\n\n  two\n");
  std::istringstream B("\n\nthree");
  std::vector<ClToken> FromA = ClLine::ReadCommandFile(A, "a.xcl");
  std::vector<ClToken> FromB = ClLine::ReadCommandFile(B, "b.xcl");
  ASSERT_EQ(FromA.size(), 2u);
  ASSERT_EQ(FromB.size(), 1u);
  EXPECT_EQ(FromA[1].Place.Position.File()->Name(), "a.xcl");
  EXPECT_EQ(FromA[1].Place.Position.Line(), 3u);
  EXPECT_EQ(FromA[1].Place.Position.Column(), 3u);
  EXPECT_EQ(FromB[0].Place.Position.File()->Name(), "b.xcl");
  EXPECT_EQ(FromB[0].Place.Position.Line(), 3u);
  EXPECT_TRUE(FromA[0].Place.Position < FromB[0].Place.Position);
  EXPECT_EQ(FromA[0].Place.Position.Sequence(), &ClCommandFileLines());
  EXPECT_EQ(FromA[0].Place.ArgIndex, -1);
}

TEST(ClReadCommandFile, FailedReadLeavesTheSequenceUsable) {
  std::istringstream Bad("x \"open");
  EXPECT_THROW(ClLine::ReadCommandFile(Bad, "bad.xcl"),
               ClLine::UnmatchedQuoteError);
  std::istringstream Good("after");
  std::vector<ClToken> Tokens = ClLine::ReadCommandFile(Good, "good.xcl");
  ASSERT_EQ(Tokens.size(), 1u);
  EXPECT_EQ(Tokens[0].Place.Position.File()->Name(), "good.xcl");
  EXPECT_EQ(Tokens[0].Place.Position.Line(), 1u);
}

TEST(ClReadCommandFile, ResetEmptiesTheSharedSequence) {
  std::istringstream A("one\ntwo\n");
  ClLine::ReadCommandFile(A, "a.xcl");
  ClResetCommandFileLines();
  EXPECT_TRUE(ClCommandFileLines().IsAtEnd(0));
  std::istringstream B("three");
  std::vector<ClToken> Tokens = ClLine::ReadCommandFile(B, "b.xcl");
  ASSERT_EQ(Tokens.size(), 1u);
  EXPECT_EQ(Tokens[0].Place.Position.LineIndex(), 0u);
  EXPECT_EQ(Tokens[0].Place.Position.File()->Name(), "b.xcl");
  EXPECT_EQ(Tokens[0].Place.Position.Line(), 1u);
}

} // namespace

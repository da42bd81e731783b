// Tests of the message content: the format language, its defects and the
// word layout with its wrapping rules.
#include "appinterface/LcMessageContent.h"

#include "console/MsConsole.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

// A defect that a test does not expect fails that test instead of ending
// the whole program.
ThrowingFailureScope ThroughoutTheTests;

using Strings = std::vector<std::string>;
using Ranges = std::vector<DiSourceRange>;

std::string Unwrapped(const std::string &Format, const Strings &S = {},
                      const Ranges &P = {}) {
  return LcMessageContent(Format, S, P).Text();
}

std::string Wrapped(const std::string &Format, const Strings &S,
                    std::uint32_t StartColumn, std::uint16_t Width,
                    std::uint32_t Indent = 0) {
  std::ostringstream Out;
  LcMessageContent(Format, S, Ranges()).Write(Out, StartColumn, Width, Indent);
  return Out.str();
}

//===----------------------------------------------------------------------===//
// Format language
//===----------------------------------------------------------------------===//

TEST(LcMessageContentFormatTest, Table) {
  struct Case {
    const char *Format;
    Strings S;
    const char *Expected;
  } Cases[] = {
      {"", {}, ""},
      {"no fill-ins", {}, "no fill-ins"},
      {"100%% sure", {}, "100% sure"},
      {"%%s", {}, "%s"},
      {"[%s]", {"a b"}, "[a b]"},
      {"[%s0]", {"x"}, "[x]"},
      {"[%s1]", {"x"}, "[x]"},
      {"%s2 %s1", {"one", "two"}, "two one"},
      {"file %sq.", {"x.txt"}, "file \"x.txt\"."},
      {"%sq1 and %sq2", {"a", "b"}, "\"a\" and \"b\""},
      {"%s0%s1%s", {"r"}, "rrr"},
      {"%su", {"C:\\dir\\f.c"}, "\"C:\\dir\\f.c\""},
      {"%s1%s2", {"pre ", "post"}, "pre post"},
      {"user %s text", {"%s %p %% %"}, "user %s %p %% % text"},
      {"quoted %sq", {"50% %d"}, "quoted \"50% %d\""},
      {"  lead and trail  ", {}, "  lead and trail  "},
      {"a\nb \n c", {}, "a\nb \n c"},
      {"%s", {"line\nfeed"}, "line\nfeed"},
      {"%sq", {""}, "\"\""},
      {"%s", {""}, ""},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(Unwrapped(C.Format, C.S), C.Expected) << C.Format;
}

TEST(LcMessageContentFormatTest, NumberZeroAndOneSelectTheSameString) {
  EXPECT_EQ(Unwrapped("%s0", {"same"}), Unwrapped("%s1", {"same"}));
  EXPECT_EQ(Unwrapped("%sq0", {"same"}), Unwrapped("%sq", {"same"}));
}

TEST(LcMessageContentFormatTest, Positions) {
  OneFile File("f.c", {"1", "2", "3"});
  Ranges P{DiSourceRange(File.At(3, 4)), DiSourceRange(),
           DiSourceRange(DiSourcePosition::sEnd)};
  EXPECT_EQ(Unwrapped("at %p", {}, {P[0]}), "at \"f.c\", line 3");
  EXPECT_EQ(Unwrapped("%pv", {}, {P[0]}), "at line 3 of \"f.c\"");
  // The null position writes nothing.
  EXPECT_EQ(Unwrapped("%p1[%p2]%pv3", {}, P),
            "\"f.c\", line 3[]at end of source");
  EXPECT_EQ(Unwrapped("%p1 %p2 %pv3", {}, P),
            "\"f.c\", line 3  at end of source");
  EXPECT_EQ(Unwrapped("%s %p", {"in"}, {P[0]}), "in \"f.c\", line 3");
}

TEST(LcMessageContentFormatTest, TaggedPositionsUnderTheIdeLink) {
  OneFile File("f.c", {"1", "2", "3"});
  Ranges P{DiSourceRange(File.At(2, 1), File.At(3, 4))};
  EXPECT_EQ(LcMessageContent("see %p", {}, P, false, nullptr, true).Text(),
            "see \x01<SRCREF file=\"f.c\" line=2 col=1 endline=3 "
            "endcol=4\x01>\"f.c\", line 2\x01</SRCREF\x01>");
  EXPECT_EQ(LcMessageContent("see %p", {}, P, false, nullptr, false).Text(),
            "see \"f.c\", line 2");
}

/// Translates names that start with "~/".
class HomeTranslator : public LcFileNameTranslator {
public:
  bool Accepts(const std::string &Name) const override {
    return Name.compare(0, 2, "~/") == 0;
  }
  std::string Translate(const std::string &Name) const override {
    return "/home/u/" + Name.substr(2);
  }
};

TEST(LcMessageContentFormatTest, FileNamesWithTranslator) {
  HomeTranslator T;
  auto Text = [&](const std::string &Name, bool ShowGiven) {
    return LcMessageContent("open %su.", {Name}, {}, ShowGiven, &T).Text();
  };
  EXPECT_EQ(Text("~/a.c", false), "open \"/home/u/a.c\".");
  EXPECT_EQ(Text("~/a.c", true), "open \"/home/u/a.c\" (~/a.c).");
  EXPECT_EQ(Text("b.c", true), "open \"b.c\".");
  EXPECT_EQ(LcMessageContent("%su", {"~/a.c"}, {}, true, nullptr).Text(),
            "\"~/a.c\"");
}

TEST(LcMessageContentFormatTest, Defects) {
  ThrowingFailureScope Scope;
  OneFile File("f.c", {"1"});
  const char *Needed =
      "LcConsoleApplicationInterface: needed diagnostic fill-in not provided";
  struct Case {
    const char *Format;
    Strings S;
    Ranges P;
    const char *Failure;
  } Cases[] = {
      {"%s2", {"one"}, {}, Needed},
      {"%s", {}, {}, Needed},
      {"%sq", {}, {}, Needed},
      {"%p", {"x"}, {}, Needed},
      {"%p2", {}, {DiSourceRange(File.At(1, 1))}, Needed},
      {"%d", {}, {}, "Unrecognized error format char"},
      {"50%", {}, {}, "Unrecognized error format char"},
      {"%S", {"x"}, {}, "Unrecognized error format char"},
      {"no references",
       {"x"},
       {},
       "LcConsoleApplicationInterface: Provided diagnostic fill-in was not "
       "used: s1 (\"x\")"},
      {"%s1",
       {"a", "b c"},
       {},
       "LcConsoleApplicationInterface: Provided diagnostic fill-in was not "
       "used: s2 (\"b c\")"},
      {"nothing",
       {},
       {DiSourceRange(File.At(1, 7))},
       "LcConsoleApplicationInterface: Provided diagnostic fill-in was not "
       "used: s1 (\"f.c\\1:7\")"},
  };
  for (const Case &C : Cases) {
    try {
      LcMessageContent(C.Format, C.S, C.P).Text();
      ADD_FAILURE() << "no failure for " << C.Format;
    } catch (const InternalFailure &E) {
      EXPECT_EQ(std::string(E.what()), C.Failure) << C.Format;
    }
  }
}

TEST(LcMessageContentFormatTest, ContentIsReusableAfterADefect) {
  ThrowingFailureScope Scope;
  LcMessageContent Content("a %s b", {"x"}, {});
  std::ostringstream Out;
  EXPECT_EQ(Content.Text(), "a x b");
  EXPECT_EQ(Content.Text(), "a x b");
  LcMessageContent Bad("%s2", {"x"}, {});
  EXPECT_THROW(Bad.Text(), InternalFailure);
  EXPECT_THROW(Bad.Text(), InternalFailure);
}

//===----------------------------------------------------------------------===//
// Word layout
//===----------------------------------------------------------------------===//

TEST(LcMessageContentLayoutTest, WidthZeroAppendsAsItStands) {
  std::string Long(300, 'z');
  EXPECT_EQ(Wrapped("a  b " + Long + " c", {}, 70, 0), "a  b " + Long + " c");
}

TEST(LcMessageContentLayoutTest, WordThatDoesNotFitStartsContinuationLine) {
  EXPECT_EQ(Wrapped("aaa bbb ccc ddd eee fff ggg", {}, 0, 20),
            "aaa bbb ccc ddd eee\n"
            "          fff ggg");
  // The line may be filled exactly to the width.
  EXPECT_EQ(Wrapped("aaa bbb ccc ddd eeee fff", {}, 0, 20),
            "aaa bbb ccc ddd eeee\n"
            "          fff");
  // The start column counts.
  EXPECT_EQ(Wrapped("aaa bbb ccc", {}, 12, 20), "aaa bbb\n"
                                                "          ccc");
  // Blanks before a wrapped word are dropped; continuation lines wrap too.
  EXPECT_EQ(Wrapped("a     bbbbbbbbbbbbbbbbbb c dddd eeee ffff", {}, 0, 20),
            "a\n"
            "          bbbbbbbbbb\n"
            "          bbbbbbbb c\n"
            "          dddd eeee\n"
            "          ffff");
}

TEST(LcMessageContentLayoutTest, IndentationOfContinuationLines) {
  EXPECT_EQ(Wrapped("aaaa bbbb cccc dddd", {}, 0, 20, 4),
            "aaaa bbbb cccc dddd");
  EXPECT_EQ(Wrapped("aaaa bbbb cccc ddddd eeeee", {}, 0, 20, 4),
            "aaaa bbbb cccc ddddd\n"
            "              eeeee");
}

TEST(LcMessageContentLayoutTest, LongWordIsCutAndContinued) {
  std::string Word(45, 'w');
  // At the start of an empty line the word is cut at once.
  EXPECT_EQ(Wrapped("%s", {Word}, 0, 20),
            std::string(20, 'w') + "\n          " + std::string(10, 'w') +
                "\n          " + std::string(10, 'w') + "\n          " +
                std::string(5, 'w'));
  // After other text it starts a new line first.
  EXPECT_EQ(Wrapped("ab %s cd", {Word}, 0, 30),
            "ab\n          " + std::string(20, 'w') + "\n          " +
                std::string(20, 'w') + "\n          " + std::string(5, 'w') +
                " cd");
}

TEST(LcMessageContentLayoutTest, QuotedFillInStaysOneWord) {
  EXPECT_EQ(Wrapped("file %sq is bad", {"a b c d e f g h i j k"}, 14, 40),
            "file\n"
            "          \"a b c d e f g h i j k\" is bad");
  // The plain fill-in is laid out word by word.
  EXPECT_EQ(Wrapped("file %s is bad", {"a b c d e f g h i j k"}, 14, 40),
            "file a b c d e f g h i j k\n"
            "          is bad");
}

TEST(LcMessageContentLayoutTest, LineFeedsOfTheText) {
  EXPECT_EQ(Wrapped("Illegal combination\n  --a\nand\n  --b", {}, 20, 79),
            "Illegal combination\n  --a\nand\n  --b");
  EXPECT_EQ(Wrapped("one\ntwo", {}, 0, 79, 3), "one\n   two");
  // A line feed inside a quoted fill-in ends the line as it stands.
  EXPECT_EQ(Wrapped("x %sq y", {"a\nb"}, 0, 79), "x \"a\nb\" y");
}

TEST(LcMessageContentLayoutTest, TrailingBlanksStayWhenTheyFit) {
  EXPECT_EQ(Wrapped("[%s1]: %s2", {"chksel ", ""}, 20, 79), "[chksel ]: ");
  // Blanks that do not all fit are all dropped.
  EXPECT_EQ(Wrapped("abc   ", {}, 0, 5), "abc");
  EXPECT_EQ(Wrapped("abc  ", {}, 0, 5), "abc  ");
  EXPECT_EQ(Wrapped("abcde   ", {}, 0, 5), "abcde");
}

TEST(LcMessageContentLayoutTest, NarrowWidthStillProgresses) {
  // Continuation lines have no room after their indentation of 10: one
  // character goes on each.
  EXPECT_EQ(Wrapped("abc de", {}, 0, 5), "abc\n          d\n          e");
  EXPECT_EQ(Wrapped("abc", {}, 9, 1),
            "\n          a\n          b\n          c");
}

/// Splits Text at line feeds.
Strings Lines(const std::string &Text) {
  Strings Result(1);
  for (char C : Text) {
    if (C == '\n')
      Result.emplace_back();
    else
      Result.back() += C;
  }
  return Result;
}

/// Text without blanks and line feeds.
std::string Squeezed(const std::string &Text) {
  std::string Result;
  for (char C : Text)
    if (C != ' ' && C != '\n')
      Result += C;
  return Result;
}

TEST(LcMessageContentLayoutTest, RandomTextsKeepWithinWidth) {
  std::mt19937 Random(20150217);
  const char Alphabet[] = "abcdefghij\"%.-";
  for (int Round = 0; Round < 2000; ++Round) {
    std::string Text;
    int Words = static_cast<int>(Random() % 40);
    for (int W = 0; W < Words; ++W) {
      Text.append(Random() % 3, ' ');
      std::size_t Length = Random() % 8 == 0 ? Random() % 150 : Random() % 12;
      for (std::size_t I = 0; I < Length; ++I)
        Text += Alphabet[Random() % (sizeof Alphabet - 1)];
      if (Random() % 10 == 0)
        Text += '\n';
    }
    std::uint16_t Width = static_cast<std::uint16_t>(11 + Random() % 90);
    std::uint32_t Start = static_cast<std::uint32_t>(Random() % Width);
    std::string Out = Wrapped("%s", {Text}, Start, Width);
    Strings L = Lines(Out);
    for (std::size_t I = 0; I < L.size(); ++I) {
      std::size_t Column = (I == 0 ? Start : 0) + L[I].size();
      ASSERT_LE(Column, Width) << "round " << Round << " line " << I;
    }
    ASSERT_EQ(Squeezed(Out), Squeezed(Text)) << "round " << Round;
  }
}

} // namespace

// Tests of the dependencies option: its flag letters, its two parameters,
// its parse error and its help entry.
#include "console/MsDependFileArg.h"

#include "cmdline/ClLine.h"
#include "cmdline/ClParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct FlagCase {
  const char *Letters;
  MsDependStyle Style;
  bool System;
};

TEST(MsDependFileArgTest, FlagLetters) {
  const FlagCase Cases[] = {
      {"", MsDependStyle::FileNames, true},
      {"i", MsDependStyle::FileNames, true},
      {"m", MsDependStyle::MakeRules, true},
      {"n", MsDependStyle::MakeOneRule, true},
      {"s", MsDependStyle::FileNames, false},
      {"ms", MsDependStyle::MakeRules, false},
      {"sn", MsDependStyle::MakeOneRule, false},
      {"mi", MsDependStyle::FileNames, true},
      {"nm", MsDependStyle::MakeRules, true},
      {"mnss", MsDependStyle::MakeOneRule, false},
  };
  for (const FlagCase &C : Cases) {
    MsDependFlags Flags = MsDependFileArg::ParseFlags(C.Letters);
    EXPECT_EQ(Flags.Style, C.Style) << C.Letters;
    EXPECT_EQ(Flags.IncludeSystemFiles, C.System) << C.Letters;
  }
}

TEST(MsDependFileArgTest, IllegalLetters) {
  const struct {
    const char *Letters;
    const char *Text;
  } Cases[] = {
      {"x", "illegal flag: x"},  {"mx", "illegal flag: x"},
      {"M", "illegal flag: M"},  {"m s", "illegal flag:  "},
      {"=m", "illegal flag: ="}, {"iq", "illegal flag: q"},
  };
  for (const auto &C : Cases) {
    try {
      MsDependFileArg::ParseFlags(C.Letters);
      ADD_FAILURE() << "accepted " << C.Letters;
    } catch (const ClConversionError &E) {
      EXPECT_STREQ(E.what(), C.Text) << C.Letters;
    }
  }
}

/// Walks Arguments over a tree holding only the dependencies option.
struct Walked {
  explicit Walked(const std::vector<std::string> &Arguments) : Parser(Arg) {
    Root.Add(Parser);
    ClLine(Arguments).Walk(Root);
  }
  MsDependFileArg Arg;
  ClMultiVal<MsDependFileArg> Parser;
  ClAny Root;
};

TEST(MsDependFileArgTest, FlagsInTheTokenDestinationNext) {
  Walked W({"--dependencies=ms", "deps.d", "--dependencies", "out/",
            "--dependencies#n", "+"});
  const auto &Values = W.Parser.Values();
  ASSERT_EQ(Values.size(), 3u);
  EXPECT_EQ(Values[0].First, "ms");
  EXPECT_EQ(Values[0].Second, "deps.d");
  EXPECT_EQ(Values[1].First, "");
  EXPECT_EQ(Values[1].Second, "out/");
  EXPECT_EQ(Values[2].First, "n");
  EXPECT_EQ(Values[2].Second, "+");
  EXPECT_EQ(Values[0].Place.ArgIndex, 1);
  EXPECT_EQ(Values[2].Place.ArgIndex, 5);
  EXPECT_EQ(W.Arg.Flags().Style, MsDependStyle::MakeOneRule);
  EXPECT_TRUE(W.Arg.Flags().IncludeSystemFiles);
  EXPECT_TRUE(W.Arg.IsGiven());
}

TEST(MsDependFileArgTest, EmptyFlagPartCountsAsI) {
  Walked W({"--dependencies=", "list"});
  ASSERT_EQ(W.Parser.Values().size(), 1u);
  EXPECT_EQ(W.Parser.Values()[0].First, "");
  EXPECT_EQ(W.Arg.Flags().Style, MsDependStyle::FileNames);
}

TEST(MsDependFileArgTest, LongerNameDoesNotMatch) {
  MsDependFileArg Arg;
  std::string Para;
  EXPECT_EQ(Arg.Match("--dependenciesm", Para), ClNoMatch);
  EXPECT_EQ(Arg.Match("--dependencies=m", Para), ClParaSeparate);
  EXPECT_EQ(Arg.Match("--dependencies", Para), ClParaSeparate);
}

TEST(MsDependFileArgTest, IllegalFlagIsAParseError) {
  try {
    Walked W({"--dependencies=mz", "deps.d"});
    FAIL() << "accepted";
  } catch (const ClParser::ParseError &E) {
    EXPECT_EQ(E.Text(), "illegal flag: z");
    EXPECT_EQ(E.Place().ArgIndex, 1);
  }
}

TEST(MsDependFileArgTest, MissingDestinationIsAParseError) {
  EXPECT_THROW(Walked({"--dependencies=m"}), ClParser::ParseError);
}

TEST(MsDependFileArgTest, HelpEntry) {
  MsDependFileArg Arg;
  EXPECT_EQ(Arg.DisplayName(), "--dependencies");
  EXPECT_EQ(Arg.HelpEntry(),
            "--dependencies=[i|m|n][s] file|directory|+ \n"
            "                List file dependencies\n"
            "                   i     Include filename only (default)\n"
            "                   m     Makefile style (multiple rules)\n"
            "                   n     Makefile style (one rule)\n"
            "                   s     Suppress system files\n"
            "                (+: output same as -o, only with .d extension)");
}

} // namespace

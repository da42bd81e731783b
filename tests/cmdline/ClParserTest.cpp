// Tests of the parser tree: occurrence rules, multi-valued parsers,
// combination rules and their messages, descriptions, option collection.
#include "cmdline/ClParser.h"
#include "cmdline/ClLine.h"
#include "tests/support/FailureScope.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// Walks Args over Root and answers the text of the parse error, or "" when
/// there was none.
std::string WalkError(ClParser &Root, const std::vector<std::string> &Args,
                      ClPlace *Place = nullptr) {
  try {
    ClLine(Args).Walk(Root);
  } catch (const ClParser::ParseError &E) {
    if (Place)
      *Place = E.Place();
    return E.what();
  }
  return std::string();
}

// ClArgParser match ----------------------------------------------------------

TEST(ClArgParser, SeparateParameterIsTakenFromTheNextToken) {
  ClStringArg Out('o', "output", "file", "Override output file");
  ClMulti Parser(Out);
  ClToken Option("-o", ClPlace(1));
  ClToken Next("sel.txt", ClPlace(2));
  ClMatch M = Parser.Match(Option, &Next);
  EXPECT_EQ(M.Kind, ClParaSeparate);
  EXPECT_EQ(M.Parser, &Parser);
  ASSERT_EQ(Parser.Occurrences().size(), 1u);
  EXPECT_EQ(Parser.Occurrences()[0].Parameter(), "sel.txt");
  EXPECT_EQ(Parser.Occurrences()[0].Place().ArgIndex, 1);
  EXPECT_FALSE(Out.IsGiven());
  Parser.Check();
  EXPECT_EQ(Out.Value(), "sel.txt");
  EXPECT_TRUE(Out.IsGiven());
}

TEST(ClArgParser, TripleDashParameterLosesTwoDashes) {
  ClStringArg Out('o', "output", "file", "Override output file");
  ClMulti Parser(Out);
  ClToken Option("-o", ClPlace(1));
  ClToken Next("---x", ClPlace(2));
  Parser.Match(Option, &Next);
  Parser.Check();
  EXPECT_EQ(Out.Value(), "-x");
}

TEST(ClArgParser, MissingSeparateParameter) {
  ClStringArg Out('o', "output", "file", "Override output file");
  ClOnce Parser(Out);
  try {
    Parser.Match(ClToken("-o", ClPlace(4)), nullptr);
    FAIL() << "no error";
  } catch (const ClArgParser::ParseError &E) {
    EXPECT_STREQ(E.what(), "Option requires a separate parameter: -o");
    EXPECT_EQ(E.Subject(), "-o");
    EXPECT_EQ(E.Tag(), ClMsg::RequiresSeparateParameter);
    EXPECT_EQ(E.Place().ArgIndex, 4);
  }
}

TEST(ClArgParser, RemovedOptionIsNoLongerSupported) {
  ClFlagArg Old(0, "old", "An old switch");
  Old.SetRemoved();
  ClOnce Parser(Old);
  try {
    Parser.Match(ClToken("--old", ClPlace(2)), nullptr);
    FAIL() << "no error";
  } catch (const ClArgParser::ParseError &E) {
    EXPECT_STREQ(E.what(), "Option is no longer supported: --old");
    EXPECT_EQ(E.Place().ArgIndex, 2);
  }
}

TEST(ClArgParser, MatchReportsTheMarks) {
  ClFlagArg Flag('d', "", "A switch");
  Flag.SetDeprecated();
  ClMulti Parser(Flag);
  ClMatch M = Parser.Match(ClToken("-d", ClPlace(1)), nullptr);
  EXPECT_EQ(M.Kind, ClParaInToken);
  EXPECT_TRUE(M.Deprecated);
  EXPECT_FALSE(M.SecondMark);
  Flag.SetDeprecated(false);
  Flag.SetSecondMark();
  M = Parser.Match(ClToken("-d", ClPlace(2)), nullptr);
  EXPECT_FALSE(M.Deprecated);
  EXPECT_TRUE(M.SecondMark);
  EXPECT_EQ(Parser.Match(ClToken("-e", ClPlace(3)), nullptr).Kind, ClNoMatch);
  EXPECT_EQ(Parser.Occurrences().size(), 2u);
}

TEST(ClArgParser, ConversionFailureBecomesParseErrorAtTheOccurrence) {
  ClIntegerArg Limit(0, "error_limit", "limit",
                     "Stop after this many errors (0 = no limit)",
                     ClIntegerArg::Base::Decimal, 0,
                     std::numeric_limits<std::int32_t>::max(), 100);
  ClOnce Parser(Limit);
  ClAny Root;
  Root.Add(Parser);
  ClPlace Place;
  EXPECT_EQ(WalkError(Root, {"a", "--error_limit=-1"}, &Place),
            "Expected a decimal integer greater than or equal to 0: '-1'");
  EXPECT_EQ(Place.ArgIndex, 2);
  EXPECT_EQ(Limit.Value(), 100);
  EXPECT_FALSE(Limit.IsGiven());
}

TEST(ClArgParser, ForeignInvalidArgumentBecomesParseError) {
  class Picky : public ClStringArg {
  public:
    Picky() : ClStringArg('p', "", "x", "Picky") {}
    void ConvertAndStore(const std::string &) override {
      throw std::invalid_argument("not like this");
    }
  } Arg;
  ClMulti Parser(Arg);
  ClToken Token("-pz", ClPlace(5));
  Parser.Match(Token, nullptr);
  try {
    Parser.Check();
    FAIL() << "no error";
  } catch (const ClArgParser::ParseError &E) {
    EXPECT_STREQ(E.what(), "not like this");
    EXPECT_EQ(E.Tag(), ClMsg::None);
    EXPECT_EQ(E.Place().ArgIndex, 5);
  }
}

// ClOnce ---------------------------------------------------------------------

/// A text option that cannot compare values.
class Incomparable : public ClStringArg {
public:
  Incomparable() : ClStringArg('i', "inc", "x", "Cannot compare") {}

protected:
  bool EqualsParameter(const std::string &) const override { return false; }
};

struct OnceCase {
  const char *Name;
  std::vector<std::string> Args;
  bool Mandatory;
  const char *Error;
  int ErrorIndex;
};

TEST(ClOnce, RepetitionTable) {
  const OnceCase Cases[] = {
      {"string once", {"--output=a"}, false, "", -1},
      {"string twice equal", {"--output=a", "-o", "a"}, false, "", -1},
      {"string three times equal",
       {"-oa", "--output#a", "-o", "a"},
       false,
       "",
       -1},
      {"string twice different",
       {"--output=a", "x", "--output=b"},
       false,
       "Option --output does not match previous occurrence",
       3},
      {"third differs",
       {"-oa", "-oa", "-ob"},
       false,
       "Option --output does not match previous occurrence",
       3},
      {"missing, optional", {}, false, "", -1},
      {"missing, mandatory", {"x"}, true, "Missing option: --output", -1},
      {"given, mandatory", {"-ox"}, true, "", -1},
  };
  for (const OnceCase &C : Cases) {
    ClStringArg Out('o', "output", "file", "Override output file");
    ClAny Root;
    Root.Add(std::make_unique<ClOnce>(Out, C.Mandatory));
    ClPlace Place;
    EXPECT_EQ(WalkError(Root, C.Args, &Place), C.Error) << C.Name;
    EXPECT_EQ(Place.ArgIndex, C.ErrorIndex) << C.Name;
  }
}

TEST(ClOnce, FirstValueIsKept) {
  ClStringArg Out('o', "output", "file", "Override output file");
  ClOnce Parser(Out);
  ClAny Root;
  Root.Add(Parser);
  ClLine({"-o", "a", "--output=a"}).Walk(Root);
  EXPECT_EQ(Out.Value(), "a");
  EXPECT_TRUE(Out.IsGiven());
}

TEST(ClOnce, RepeatedFlagKeepsTheFirst) {
  ClFlagArg All(0, "all", "Generate all checks");
  ClAny Root;
  Root.Add(std::make_unique<ClOnce>(All));
  ClLine({"--all", "--all", "--all"}).Walk(Root);
  EXPECT_TRUE(All.Value());
}

TEST(ClOnce, IncomparableOptionCanOnlyOccurOnce) {
  Incomparable Arg;
  ClAny Root;
  Root.Add(std::make_unique<ClOnce>(Arg));
  ClPlace Place;
  EXPECT_EQ(WalkError(Root, {"x", "-ia", "-ia"}, &Place),
            "Option can only occur once: --inc");
  EXPECT_EQ(Place.ArgIndex, 2);
  Incomparable Single;
  ClAny Other;
  Other.Add(std::make_unique<ClOnce>(Single));
  EXPECT_EQ(WalkError(Other, {"-ia"}), "");
  EXPECT_EQ(Single.Value(), "a");
}

TEST(ClOnce, MissingMandatoryHasNoPlace) {
  ClStringArg Out('o', "", "file", "Override output file");
  ClAny Root;
  Root.Add(std::make_unique<ClOnce>(Out, true));
  ClPlace Place(7);
  EXPECT_EQ(WalkError(Root, {}, &Place), "Missing option: -o");
  EXPECT_TRUE(Place.IsNone());
}

// ClMulti, ClMultiVal, ClMMultiVal
// ------------------------------------------------

TEST(ClMulti, EveryOccurrenceIsStoredSoTheLastValueRemains) {
  ClStringArg Out('o', "output", "file", "Override output file");
  ClAny Root;
  Root.Add(std::make_unique<ClMulti>(Out));
  ClLine({"-oa", "-ob", "-oc"}).Walk(Root);
  EXPECT_EQ(Out.Value(), "c");
}

TEST(ClMultiVal, StringSetGathersMembersOfEveryOccurrenceInOrder) {
  ClAny Root;
  auto &Check = Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(
      std::make_unique<ClStringSetArg>(0, "check", "chk,chk,...",
                                       "Generate check(s)", ',')));
  ClLine({"--check=a,b", "x", "--check", "c", "--check=,,d,"}).Walk(Root);
  const auto &Values = Check.Values();
  ASSERT_EQ(Values.size(), 4u);
  const char *Expected[] = {"a", "b", "c", "d"};
  const int Indexes[] = {1, 1, 3, 5};
  for (std::size_t I = 0; I < 4; ++I) {
    EXPECT_EQ(Values[I].Text, Expected[I]);
    EXPECT_EQ(Values[I].Place.ArgIndex, Indexes[I]);
  }
  EXPECT_TRUE(Check.Option().IsGiven());
}

TEST(ClMultiVal, AbsentOptionGathersNothing) {
  ClAny Root;
  auto &Check = Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(
      std::make_unique<ClStringSetArg>(0, "check", "chk,chk,...",
                                       "Generate check(s)", ',')));
  ClLine({"x"}).Walk(Root);
  EXPECT_TRUE(Check.Values().empty());
  EXPECT_FALSE(Check.IsGiven());
}

TEST(ClMultiVal, CommandFileValuesAreTheNames) {
  ClCommandFileArg Files('f', "", "file",
                         "Read command line options from file");
  ClMultiVal<ClCommandFileArg> Parser(Files);
  ClToken Option("-f", ClPlace(1));
  ClToken Name("a.xcl", ClPlace(2));
  Parser.Match(Option, &Name);
  Parser.Check();
  ASSERT_EQ(Parser.Values().size(), 1u);
  EXPECT_EQ(Parser.Values()[0].Text, "a.xcl");
}

enum class Level { Error = 3, Warning = 4, Remark = 5, Suppressed = 6 };

TEST(ClMMultiVal, ValuesKeepTheirLevelInCommandLineOrder) {
  ClAny Root;
  auto &Diag = Root.Add(std::make_unique<ClMMultiVal<Level>>());
  Diag.Add(Level::Suppressed,
           std::make_unique<ClStringSetArg>(0, "diag_suppress", "tag,tag,...",
                                            "Suppress", ','));
  Diag.Add(Level::Remark, std::make_unique<ClStringSetArg>(
                              0, "diag_remark", "tag,tag,...", "Remark", ','));
  ClStringSetArg Warning(0, "diag_warning", "tag,tag,...", "Warning", ',');
  Diag.Add(Level::Warning, Warning);
  ClLine({"--diag_warning=Ms1,Ms2", "--diag_suppress", "Su3",
          "--diag_warning=Ms4", "--diag_remark=Lc5,,"})
      .Walk(Root);
  const auto &Values = Diag.Values();
  ASSERT_EQ(Values.size(), 5u);
  const Level Levels[] = {Level::Warning, Level::Warning, Level::Suppressed,
                          Level::Warning, Level::Remark};
  const char *Texts[] = {"Ms1", "Ms2", "Su3", "Ms4", "Lc5"};
  const int Indexes[] = {1, 1, 2, 4, 5};
  for (std::size_t I = 0; I < 5; ++I) {
    EXPECT_EQ(Values[I].Level, Levels[I]) << I;
    EXPECT_EQ(Values[I].Item.Text, Texts[I]) << I;
    EXPECT_EQ(Values[I].Item.Place.ArgIndex, Indexes[I]) << I;
  }
  EXPECT_TRUE(Diag.IsGiven());
  EXPECT_TRUE(Warning.IsGiven());
  EXPECT_EQ(Diag.Describe(), "--diag_suppress\n--diag_remark\n--diag_warning");
  std::vector<const ClArg *> Options;
  Diag.CollectOptions(Options);
  EXPECT_EQ(Options.size(), 3u);
}

// Groups and combinations
// ------------------------------------------------------

TEST(ClGroupParser, FirstMatchingChildWinsAndIsMarkedUsed) {
  ClGroupParser Group;
  ClStringArg Long1(0, "name", "v", "First");
  ClStringArg Long2('n', "name", "v", "Second");
  Group.Add(std::make_unique<ClMulti>(Long1));
  Group.Add(std::make_unique<ClMulti>(Long2));
  ClLine({"--name=a", "-nb"}).Walk(Group);
  EXPECT_EQ(Long1.Value(), "a");
  EXPECT_EQ(Long2.Value(), "b");
  EXPECT_TRUE(Group.IsUsed(0));
  EXPECT_TRUE(Group.IsUsed(1));
  EXPECT_EQ(Group.Describe(), "--name\n--name");
}

TEST(ClGroupParser, StoreOnAGroupIsAnInternalFailure) {
  testsupport::ThrowingFailureScope Failures;
  ClAny Group;
  try {
    Group.Store(ClOccurrence());
    ADD_FAILURE() << "no failure";
  } catch (const testsupport::InternalFailure &Failure) {
    EXPECT_EQ(std::string(Failure.what()),
              "ClParser::Store called on a parser node that holds no option");
  }
}

struct CombinationCase {
  const char *First;
  const char *Second;
  const char *Message;
};

TEST(ClOnlyOne, CombinationTextTable) {
  const CombinationCase Cases[] = {
      {"--a", "--b", "Illegal combination\n  --a\nand\n  --b"},
      {"Any combination of\n  --a\n  --b", "--c",
       "Illegal combination\n  Any of\n  Any combination of\n    --a\n    --b\n"
       "and\n  --c"},
      {"--c", "Any combination of\n  --a\n  --b",
       "Illegal combination\n  --c\nand any of\n  Any combination of\n"
       "    --a\n    --b"},
      {"x\ny", "u\nv",
       "Illegal combination\n  Any of\n  x\n  y\nand any of\n  u\n  v"},
      {"x\n\ny", "--b",
       "Illegal combination\n  Any of\n  x\n\n  y\nand\n  --b"},
  };
  for (const CombinationCase &C : Cases)
    EXPECT_EQ(ClOnlyOne::CombinationText(C.First, C.Second), C.Message);
}

TEST(ClOnlyOne, TwoGivenMembersFail) {
  ClOnlyOne Group;
  ClFlagArg A(0, "a", "A");
  ClFlagArg Bf(0, "b", "B");
  ClFlagArg Cf(0, "c", "C");
  Group.Add(std::make_unique<ClOnce>(A));
  Group.Add(std::make_unique<ClOnce>(Bf));
  Group.Add(std::make_unique<ClOnce>(Cf));
  ClAny Root;
  Root.Add(Group);
  ClPlace Place(3);
  EXPECT_EQ(WalkError(Root, {"--c", "--a"}, &Place),
            "Illegal combination\n  --a\nand\n  --c");
  EXPECT_TRUE(Place.IsNone());
}

TEST(ClOnlyOne, OneGivenMemberIsAccepted) {
  ClOnlyOne Group;
  ClFlagArg A(0, "a", "A");
  ClFlagArg Bf(0, "b", "B");
  Group.Add(std::make_unique<ClOnce>(A));
  Group.Add(std::make_unique<ClOnce>(Bf));
  EXPECT_EQ(WalkError(Group, {"--b", "--b"}), "");
  EXPECT_TRUE(Bf.Value());
  EXPECT_FALSE(A.Value());
  EXPECT_TRUE(Group.IsGiven());
}

TEST(ClOnlyOne, MultiLineMemberUsesAnyOf) {
  ClOnlyOne Group;
  auto &Inner = Group.Add(std::make_unique<ClAny>());
  ClFlagArg A(0, "a", "A");
  ClFlagArg Bf(0, "b", "B");
  ClFlagArg Cf(0, "c", "C");
  Inner.Add(std::make_unique<ClOnce>(A));
  Inner.Add(std::make_unique<ClOnce>(Bf));
  Group.Add(std::make_unique<ClOnce>(Cf));
  EXPECT_EQ(WalkError(Group, {"--b", "--c"}),
            "Illegal combination\n  Any of\n  Any combination of\n    --a\n"
            "    --b\nand\n  --c");
  try {
    ClLine({"--b", "--c"}).Walk(Group);
  } catch (const ClArgParser::ParseError &) {
    ADD_FAILURE() << "a combination error is an error of the tree";
  } catch (const ClParser::ParseError &E) {
    EXPECT_EQ(E.Tag(), ClMsg::IllegalCombination);
  }
}

TEST(ClGroupParser, Descriptions) {
  ClAny Any;
  ClFlagArg A(0, "a", "A");
  ClFlagArg Hidden(0, "hidden", "Hidden");
  Hidden.SetDebugOnly();
  ClFlagArg Gone(0, "gone", "Gone");
  Gone.SetRemoved();
  Any.Add(std::make_unique<ClOnce>(A));
  Any.Add(std::make_unique<ClOnce>(Hidden));
  auto &One = Any.Add(std::make_unique<ClOnlyOne>());
  ClStringArg X('x', "", "v", "X");
  ClStringArg Y('y', "yes", "v", "Y");
  One.Add(std::make_unique<ClOnce>(X));
  One.Add(std::make_unique<ClOnce>(Y));
  One.Add(std::make_unique<ClOnce>(Gone));
  EXPECT_EQ(One.Describe(), "Any one of\n  -x\n  --yes");
  EXPECT_FALSE(One.IsOneLine());
  EXPECT_EQ(Any.Describe(),
            "Any combination of\n  --a\n  Any one of\n    -x\n    --yes");
  // A given debug-only option describes itself.
  ClLine({"--hidden"}).Walk(Any);
  EXPECT_EQ(Any.Describe(), "Any combination of\n  --a\n  --hidden\n"
                            "  Any one of\n    -x\n    --yes");
}

TEST(ClGroupParser, CollectSkipsDebugOnlyAndRemoved) {
  ClAny Root;
  ClFlagArg A(0, "a", "A");
  ClFlagArg Hidden(0, "hidden", "Hidden");
  Hidden.SetDebugOnly();
  ClFlagArg Gone(0, "gone", "Gone");
  Gone.SetRemoved();
  ClFlagArg Old(0, "old", "Old");
  Old.SetDeprecated();
  Root.Add(std::make_unique<ClOnce>(A));
  auto &Inner = Root.Add(std::make_unique<ClOnlyOne>());
  Inner.Add(std::make_unique<ClOnce>(Hidden));
  Inner.Add(std::make_unique<ClOnce>(Gone));
  Inner.Add(std::make_unique<ClOnce>(Old));
  std::vector<const ClArg *> Options;
  Root.CollectOptions(Options);
  ASSERT_EQ(Options.size(), 2u);
  EXPECT_EQ(Options[0], &A);
  EXPECT_EQ(Options[1], &Old);
}

} // namespace

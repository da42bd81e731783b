// Tests of the option kinds: name matching, conversion, storage, marks.
#include "cmdline/ClArg.h"
#include "tests/support/TestFiles.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

constexpr std::int32_t Min32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Max32 = std::numeric_limits<std::int32_t>::max();

ClOccurrence InTokenOccurrence(const std::string &Para) {
  ClOccurrence Occ;
  Occ.Option = ClToken("-x" + Para, ClPlace(3));
  Occ.InToken = Para;
  return Occ;
}

ClOccurrence SeparateOccurrence(const std::string &Para) {
  ClOccurrence Occ;
  Occ.Option = ClToken("-x", ClPlace(3));
  Occ.Separate = Para;
  Occ.HasSeparate = true;
  return Occ;
}

// Token matching ------------------------------------------------------------

struct MatchCase {
  char Short;
  const char *Long;
  bool TakesPara;
  bool MayBeSeparate;
  const char *Token;
  ClArgPara Kind;
  const char *Para;
};

class MatchArg : public ClArgSinglePara, public ClSimpleHelp {
public:
  MatchArg(char Short, std::string Long, bool TakesPara, bool MayBeSeparate)
      : ClArgSinglePara(Short, std::move(Long), TakesPara ? "v" : "", TakesPara,
                        MayBeSeparate),
        ClSimpleHelp("test option") {}
  void ConvertAndStore(const std::string &) override {}
};

const MatchCase MatchCases[] = {
    // Long form.
    {0, "name", true, true, "--name", ClParaSeparate, ""},
    {0, "name", true, true, "--name=", ClParaInToken, ""},
    {0, "name", true, true, "--name=5", ClParaInToken, "5"},
    {0, "name", true, true, "--name#5", ClParaInToken, "5"},
    {0, "name", true, true, "--name#", ClParaInToken, ""},
    {0, "name", true, true, "--name==x", ClParaInToken, "=x"},
    {0, "name", true, true, "--names", ClNoMatch, ""},
    {0, "name", true, true, "--nam", ClNoMatch, ""},
    {0, "name", true, true, "--Name", ClNoMatch, ""},
    {0, "name", true, true, "--NAME=1", ClNoMatch, ""},
    {0, "name", true, true, "-name", ClNoMatch, ""},
    {0, "name", true, true, "name", ClNoMatch, ""},
    {0, "name", true, true, "---name", ClNoMatch, ""},
    {0, "name", true, true, "--name:5", ClNoMatch, ""},
    {0, "name", true, false, "--name", ClParaInToken, ""},
    {0, "name", false, false, "--name", ClParaInToken, ""},
    {0, "name", false, false, "--name=x", ClParaInToken, "x"},
    // Short form.
    {'x', "", true, true, "-x", ClParaSeparate, ""},
    {'x', "", true, true, "-x5", ClParaInToken, "5"},
    {'x', "", true, true, "-x=5", ClParaInToken, "=5"},
    {'x', "", true, false, "-x", ClParaInToken, ""},
    {'x', "", false, false, "-x", ClParaInToken, ""},
    {'x', "", false, false, "-xz", ClParaInToken, "z"},
    {'x', "", true, true, "-X", ClNoMatch, ""},
    {'x', "", true, true, "x", ClNoMatch, ""},
    {'x', "", true, true, "-", ClNoMatch, ""},
    {'x', "", true, true, "--x", ClNoMatch, ""},
    {'x', "", true, true, "", ClNoMatch, ""},
    // Both names.
    {'o', "output", true, true, "-o", ClParaSeparate, ""},
    {'o', "output", true, true, "--output", ClParaSeparate, ""},
    {'o', "output", true, true, "--output=a", ClParaInToken, "a"},
    {'o', "output", true, true, "-oa", ClParaInToken, "a"},
    {'o', "output", true, true, "--o", ClNoMatch, ""},
    // No names at all.
    {0, "", true, true, "-", ClNoMatch, ""},
    {0, "", true, true, "--", ClNoMatch, ""},
    {0, "", true, true, "--=", ClNoMatch, ""},
};

TEST(ClArgMatch, TableOfTokens) {
  for (const MatchCase &C : MatchCases) {
    MatchArg Arg(C.Short, C.Long, C.TakesPara, C.MayBeSeparate);
    std::string Para = "untouched";
    const ClArgPara Kind = Arg.Match(C.Token, Para);
    EXPECT_EQ(Kind, C.Kind)
        << "token " << C.Token << " for -" << C.Short << " --" << C.Long;
    if (C.Kind != ClNoMatch) {
      EXPECT_EQ(Para, C.Para) << "token " << C.Token;
    }
  }
}

TEST(ClArgMatch, DisplayNameIsLongFormElseShortForm) {
  EXPECT_EQ(MatchArg('o', "output", true, true).DisplayName(), "--output");
  EXPECT_EQ(MatchArg(0, "output", true, true).DisplayName(), "--output");
  EXPECT_EQ(MatchArg('o', "", true, true).DisplayName(), "-o");
}

// Flags ---------------------------------------------------------------------

TEST(ClFlagArg, StartsFalseAndEachStoreInverts) {
  ClFlagArg Flag('x', "all", "Generate all checks");
  EXPECT_FALSE(Flag.Value());
  EXPECT_TRUE(Flag.Hint().empty());
  EXPECT_TRUE(Flag.MayBeRepeated());
  Flag.SetValue(InTokenOccurrence(""));
  EXPECT_TRUE(Flag.Value());
  Flag.SetValue(InTokenOccurrence(""));
  EXPECT_FALSE(Flag.Value());
}

TEST(ClFlagArg, ParameterIsIllegalCharacters) {
  ClFlagArg Flag('x', "all", "Generate all checks");
  std::string Para;
  ASSERT_EQ(Flag.Match("-xz", Para), ClParaInToken);
  ClOccurrence Occ = InTokenOccurrence(Para);
  try {
    Flag.SetValue(Occ);
    FAIL() << "no error";
  } catch (const ClConversionError &E) {
    EXPECT_STREQ(E.what(), "Illegal characters");
    EXPECT_EQ(E.Tag(), ClMsg::IllegalCharacters);
  }
  EXPECT_FALSE(Flag.Value());
  ASSERT_EQ(Flag.Match("--all=yes", Para), ClParaInToken);
  EXPECT_THROW(Flag.SetValue(InTokenOccurrence(Para)), std::invalid_argument);
}

TEST(ClFlagArg, EmptyLongParameterIsAccepted) {
  ClFlagArg Flag(0, "all", "Generate all checks");
  std::string Para;
  ASSERT_EQ(Flag.Match("--all=", Para), ClParaInToken);
  Flag.SetValue(InTokenOccurrence(Para));
  EXPECT_TRUE(Flag.Value());
}

// Integers ------------------------------------------------------------------

struct IntegerCase {
  ClIntegerArg::Base Radix;
  std::int32_t Lower;
  std::int32_t Upper;
  const char *Text;
  bool Ok;
  std::int32_t Value;
  const char *Message;
};

using IntBase = ClIntegerArg::Base;

const IntegerCase IntegerCases[] = {
    // Bounds 1..10, decimal.
    {IntBase::Decimal, 1, 10, "0", false, 0,
     "Expected a decimal integer between 1 and 10: '0'"},
    {IntBase::Decimal, 1, 10, "11", false, 0,
     "Expected a decimal integer between 1 and 10: '11'"},
    {IntBase::Decimal, 1, 10, "5a", false, 0,
     "Expected a decimal integer between 1 and 10: '5a'"},
    {IntBase::Decimal, 1, 10, "", false, 0,
     "Expected a decimal integer between 1 and 10: ''"},
    {IntBase::Decimal, 1, 10, "+7", true, 7, ""},
    {IntBase::Decimal, 1, 10, " 7", true, 7, ""},
    {IntBase::Decimal, 1, 10, "\t\n7", true, 7, ""},
    {IntBase::Decimal, 1, 10, "1", true, 1, ""},
    {IntBase::Decimal, 1, 10, "10", true, 10, ""},
    {IntBase::Decimal, 1, 10, "7 ", false, 0,
     "Expected a decimal integer between 1 and 10: '7 '"},
    {IntBase::Decimal, 1, 10, "+", false, 0,
     "Expected a decimal integer between 1 and 10: '+'"},
    {IntBase::Decimal, 1, 10, "+-7", false, 0,
     "Expected a decimal integer between 1 and 10: '+-7'"},
    {IntBase::Decimal, 0, 100, "x", false, 0,
     "Expected a decimal integer between 0 and 100: 'x'"},
    {IntBase::Decimal, -5, -1, "-3", true, -3, ""},
    {IntBase::Decimal, -5, -1, "0", false, 0,
     "Expected a decimal integer between -5 and -1: '0'"},
    // One bound.
    {IntBase::Decimal, Min32, 9, "10", false, 0,
     "Expected a decimal integer less than or equal to 9: '10'"},
    {IntBase::Decimal, Min32, 9, "-2147483648", true, Min32, ""},
    {IntBase::Decimal, 3, Max32, "2", false, 0,
     "Expected a decimal integer greater than or equal to 3: '2'"},
    {IntBase::Decimal, 0, Max32, "2147483647", true, Max32, ""},
    // No bounds: the 32-bit range.
    {IntBase::Decimal, Min32, Max32, "2147483647", true, Max32, ""},
    {IntBase::Decimal, Min32, Max32, "-2147483648", true, Min32, ""},
    {IntBase::Decimal, Min32, Max32, "2147483648", false, 0,
     "Expected a decimal integer: '2147483648'"},
    {IntBase::Decimal, Min32, Max32, "-2147483649", false, 0,
     "Expected a decimal integer: '-2147483649'"},
    {IntBase::Decimal, Min32, Max32, "99999999999999999999999", false, 0,
     "Expected a decimal integer: '99999999999999999999999'"},
    {IntBase::Decimal, Min32, Max32, "0x10", false, 0,
     "Expected a decimal integer: '0x10'"},
    {IntBase::Decimal, Min32, Max32, "010", true, 10, ""},
    {IntBase::Decimal, Min32, Max32, "-0", true, 0, ""},
    // Octal.
    {IntBase::Octal, Min32, Max32, "17", true, 15, ""},
    {IntBase::Octal, Min32, Max32, "-10", true, -8, ""},
    {IntBase::Octal, Min32, Max32, "8", false, 0,
     "Expected an octal integer: '8'"},
    {IntBase::Octal, Min32, Max32, "17777777777", true, Max32, ""},
    {IntBase::Octal, Min32, Max32, "20000000000", false, 0,
     "Expected an octal integer: '20000000000'"},
    {IntBase::Octal, 0, 7, "10", false, 0,
     "Expected an octal integer between 0 and 7: '10'"},
    // Hexadecimal.
    {IntBase::Hexadecimal, Min32, Max32, "ff", true, 255, ""},
    {IntBase::Hexadecimal, Min32, Max32, "FF", true, 255, ""},
    {IntBase::Hexadecimal, Min32, Max32, "7fffffff", true, Max32, ""},
    {IntBase::Hexadecimal, Min32, Max32, "-80000000", true, Min32, ""},
    {IntBase::Hexadecimal, Min32, Max32, "80000000", false, 0,
     "Expected a hexadecimal integer: '80000000'"},
    {IntBase::Hexadecimal, Min32, Max32, "0x10", false, 0,
     "Expected a hexadecimal integer: '0x10'"},
    {IntBase::Hexadecimal, Min32, Max32, "g", false, 0,
     "Expected a hexadecimal integer: 'g'"},
    {IntBase::Hexadecimal, Min32, 255, "100", false, 0,
     "Expected a hexadecimal integer less than or equal to 255: '100'"},
    // Any base: the prefix chooses.
    {IntBase::Any, Min32, Max32, "0x1F", true, 31, ""},
    {IntBase::Any, Min32, Max32, "0X1f", true, 31, ""},
    {IntBase::Any, Min32, Max32, "017", true, 15, ""},
    {IntBase::Any, Min32, Max32, "0", true, 0, ""},
    {IntBase::Any, Min32, Max32, "19", true, 19, ""},
    {IntBase::Any, Min32, Max32, "-0x10", true, -16, ""},
    {IntBase::Any, Min32, Max32, " +0x10", true, 16, ""},
    {IntBase::Any, Min32, Max32, "08", false, 0, "Expected an integer: '08'"},
    {IntBase::Any, Min32, Max32, "0x", false, 0, "Expected an integer: '0x'"},
    {IntBase::Any, Min32, Max32, "0xg", false, 0, "Expected an integer: '0xg'"},
    {IntBase::Any, Min32, Max32, "1f", false, 0, "Expected an integer: '1f'"},
    {IntBase::Any, 1, 100, "0x65", false, 0,
     "Expected an integer between 1 and 100: '0x65'"},
    {IntBase::Any, 1, Max32, "0", false, 0,
     "Expected an integer greater than or equal to 1: '0'"},
};

TEST(ClIntegerArg, ConversionTable) {
  for (const IntegerCase &C : IntegerCases) {
    ClIntegerArg Arg('n', "number", "n", "A number", C.Radix, C.Lower, C.Upper,
                     42);
    if (C.Ok) {
      EXPECT_NO_THROW(Arg.ConvertAndStore(C.Text)) << "text '" << C.Text << "'";
      EXPECT_EQ(Arg.Value(), C.Value) << "text '" << C.Text << "'";
      continue;
    }
    try {
      Arg.ConvertAndStore(C.Text);
      ADD_FAILURE() << "accepted '" << C.Text << "'";
    } catch (const ClConversionError &E) {
      EXPECT_EQ(std::string(E.what()), C.Message);
      EXPECT_EQ(E.Subject(), C.Text);
    }
    EXPECT_EQ(Arg.Value(), 42) << "value changed by '" << C.Text << "'";
  }
}

TEST(ClIntegerArg, EqualityComparesValues) {
  ClIntegerArg Arg('n', "number", "n", "A number", IntBase::Any);
  Arg.ConvertAndStore("16");
  EXPECT_TRUE(Arg.Equals(SeparateOccurrence("0x10")));
  EXPECT_TRUE(Arg.Equals(SeparateOccurrence("020")));
  EXPECT_FALSE(Arg.Equals(SeparateOccurrence("17")));
  EXPECT_FALSE(Arg.Equals(SeparateOccurrence("sixteen")));
}

// Texts and sets ------------------------------------------------------------

TEST(ClStringArg, StoresAsItStandsAndCompares) {
  ClStringArg Arg('o', "output", "file", "Override output file");
  EXPECT_TRUE(Arg.Value().empty());
  Arg.SetValue(SeparateOccurrence(" a b\t"));
  EXPECT_EQ(Arg.Value(), " a b\t");
  EXPECT_TRUE(Arg.Equals(SeparateOccurrence(" a b\t")));
  EXPECT_FALSE(Arg.Equals(SeparateOccurrence("a b")));
  EXPECT_FALSE(Arg.MayBeRepeated());
  std::vector<ClValue> Values;
  Arg.AppendMultiValues(Values, SeparateOccurrence(" a b\t"));
  ASSERT_EQ(Values.size(), 1u);
  EXPECT_EQ(Values[0].Text, " a b\t");
  EXPECT_EQ(Values[0].Place.ArgIndex, 3);
}

struct SplitCase {
  const char *Text;
  char Separator;
  std::vector<std::string> Members;
};

TEST(ClStringSetArg, SplitTable) {
  const SplitCase Cases[] = {
      {"a,b", ',', {"a", "b"}},
      {"a", ',', {"a"}},
      {"", ',', {}},
      {",", ',', {}},
      {",,,", ',', {}},
      {",a,,b,", ',', {"a", "b"}},
      {"a b,c", ',', {"a b", "c"}},
      {"a;b,c", ';', {"a", "b,c"}},
      {" , ", ',', {" ", " "}},
  };
  for (const SplitCase &C : Cases)
    EXPECT_EQ(ClStringSetArg::Split(C.Text, C.Separator), C.Members)
        << "text '" << C.Text << "'";
}

TEST(ClStringSetArg, MembersCarryThePlaceOfTheOccurrence) {
  ClStringSetArg Arg(0, "check", "chk,chk,...", "Generate check(s)", ',');
  ClOccurrence Occ = SeparateOccurrence("A,,B");
  Arg.SetValue(Occ);
  EXPECT_EQ(Arg.Value(), "A,,B");
  EXPECT_EQ(Arg.Members(), (std::vector<std::string>{"A", "B"}));
  std::vector<ClValue> Values;
  Arg.AppendMultiValues(Values, Occ);
  ASSERT_EQ(Values.size(), 2u);
  EXPECT_EQ(Values[1].Text, "B");
  EXPECT_EQ(Values[1].Place.ArgIndex, 3);
}

// Two parameters ------------------------------------------------------------

/// A two-parameter kind that accepts the flag letters a and b only.
class LettersArg : public ClArgTwoParas, public ClSimpleHelp {
public:
  LettersArg()
      : ClArgTwoParas('M', "dependencies", "[a|b] file"),
        ClSimpleHelp("List things") {}
  void ConvertAndStore(const std::string &FirstPara,
                       const std::string &SecondPara) override {
    for (char Ch : FirstPara)
      if (Ch != 'a' && Ch != 'b')
        throw ClConversionError(ClMsg::None, std::string("illegal flag: ") + Ch,
                                std::string(1, Ch));
    ClArgTwoParas::ConvertAndStore(FirstPara, SecondPara);
  }
};

TEST(ClArgTwoParas, MatchesWithTheSecondParameterStillToCome) {
  LettersArg Arg;
  std::string Para = "x";
  EXPECT_EQ(Arg.Match("--dependencies", Para), ClParaSeparate);
  EXPECT_EQ(Para, "");
  EXPECT_EQ(Arg.Match("--dependencies=ab", Para), ClParaSeparate);
  EXPECT_EQ(Para, "ab");
  EXPECT_EQ(Arg.Match("--dependencies#", Para), ClParaSeparate);
  EXPECT_EQ(Para, "");
  EXPECT_EQ(Arg.Match("-Mb", Para), ClParaSeparate);
  EXPECT_EQ(Para, "b");
  EXPECT_EQ(Arg.Match("--dependency", Para), ClNoMatch);
  EXPECT_EQ(Arg.Match("--dependenciesx", Para), ClNoMatch);
  EXPECT_FALSE(Arg.HintSeparate());
}

TEST(ClArgTwoParas, StoresBothParametersThroughTheHook) {
  LettersArg Arg;
  ClOccurrence Occ;
  Occ.Option = ClToken("--dependencies=ab", ClPlace(1));
  Occ.InToken = "ab";
  Occ.Separate = "deps.d";
  Occ.HasSeparate = true;
  Arg.SetValue(Occ);
  EXPECT_EQ(Arg.First(), "ab");
  EXPECT_EQ(Arg.Second(), "deps.d");
  EXPECT_TRUE(Arg.Equals(Occ));
  Occ.InToken = "axb";
  try {
    Arg.SetValue(Occ);
    FAIL() << "no error";
  } catch (const ClConversionError &E) {
    EXPECT_STREQ(E.what(), "illegal flag: x");
    EXPECT_EQ(E.Subject(), "x");
  }
  EXPECT_EQ(Arg.First(), "ab");
  std::vector<ClTwoParaValue> Values;
  Arg.AppendMultiValues(Values, Occ);
  ASSERT_EQ(Values.size(), 1u);
  EXPECT_EQ(Values[0].First, "ab");
  EXPECT_EQ(Values[0].Second, "deps.d");
}

// Marks and the remaining operations ------------------------------------------

TEST(ClArgBase, MarksAreIndependentAndGivenStaysOn) {
  ClStringArg Arg('o', "output", "file", "Override output file");
  EXPECT_FALSE(Arg.IsGiven());
  EXPECT_FALSE(Arg.IsDebugOnly());
  EXPECT_FALSE(Arg.IsDeprecated());
  EXPECT_FALSE(Arg.SecondMark());
  EXPECT_FALSE(Arg.IsRemoved());
  Arg.SetDeprecated();
  EXPECT_TRUE(Arg.IsDeprecated());
  EXPECT_FALSE(Arg.IsDebugOnly());
  Arg.SetSecondMark();
  Arg.SetRemoved();
  Arg.SetDebugOnly();
  EXPECT_TRUE(Arg.SecondMark());
  EXPECT_TRUE(Arg.IsRemoved());
  EXPECT_TRUE(Arg.IsDebugOnly());
  Arg.MarkGiven();
  Arg.MarkGiven();
  EXPECT_TRUE(Arg.IsGiven());
  Arg.Notify(1, 2);
  EXPECT_EQ(Arg.Hint(), "file");
  EXPECT_EQ(Arg.Description(), "Override output file");
  EXPECT_TRUE(Arg.HintSeparate());
  EXPECT_TRUE(Arg.TakesParameter());
}

TEST(ClCommandFileArg, BaseNamesTheParameterAndOpensFiles) {
  ClCommandFileArg Arg('f', "", "file", "Read command line options from file");
  EXPECT_EQ(Arg.FileName("opts"), "opts");
  EXPECT_EQ(Arg.Open("/nonexistent/dir/opts.xcl"), nullptr);
  // A file of its own: the source file's name is relative to wherever the
  // build ran, not to where the test runs.
  const testsupport::TempDir Folder;
  const std::string Path = Folder.Path("opts.xcl");
  testsupport::WriteFile(Path, "--all\n--output=-\n");
  std::unique_ptr<std::istream> Opened = Arg.Open(Path);
  ASSERT_NE(Opened, nullptr);
  std::string FirstLine;
  std::getline(*Opened, FirstLine);
  EXPECT_EQ(FirstLine, "--all");
}

} // namespace

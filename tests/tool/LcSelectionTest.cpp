// Tests of check selection: the rules of the five modes (also compared with a
// plain restatement of the rules under several locales), the order of the
// passes, the output file and standard output, the writing of the names, and
// open and write failures.
#include "tool/LcSelection.h"

#include "console/MsConsole.h"
#include "console/MsConsoleConcrete.h"
#include "general/GeDisk.h"
#include "tests/support/GeFakeDisk.h"
#include "tests/tool/LcToolTestSupport.h"
#include "tool/LcManifestReader.h"

#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <locale>
#include <new>
#include <random>
#include <sstream>

#include <sys/stat.h>

namespace {

using Names = std::vector<std::string>;

std::string Select(LcSelectionMode Mode, const Names &Requested,
                   const std::string &Manifest) {
  std::istringstream In(Manifest);
  std::ostringstream Out;
  LcSelectFromStream(Mode, In, Out, Requested);
  return Out.str();
}

struct RuleCase {
  const char *Name;
  LcSelectionMode Mode;
  Names Requested;
  std::string Manifest;
  std::string Expected;
};

std::ostream &operator<<(std::ostream &Out, const RuleCase &C) {
  return Out << C.Name;
}

constexpr LcSelectionMode All = LcSelectionMode::AllChecks;
constexpr LcSelectionMode Named = LcSelectionMode::NamedChecks;
constexpr LcSelectionMode Default = LcSelectionMode::DefaultChecksOfPackages;
constexpr LcSelectionMode Groups = LcSelectionMode::ChecksOfGroups;
constexpr LcSelectionMode Packages = LcSelectionMode::ChecksOfPackages;

const RuleCase RuleCases[] = {
    // All checks.
    {"AllSelectsRecordWithoutVisible", All, {}, "checkname=X\n\n", "X\n"},
    {"AllKeepsManifestOrderAndCase",
     All,
     {},
     "checkname=b-Two\n\ncheckname=A-one\n\n",
     "b-Two\nA-one\n"},
    {"AllHiddenAfterName", All, {}, "checkname=A\nvisible=no\n\n", ""},
    {"AllVisibleNoBeforeNameSelects",
     All,
     {},
     "visible=no\ncheckname=A\n\n",
     "A\n"},
    {"AllVisibleNoAfterSecondName",
     All,
     {},
     "visible=no\ncheckname=A\nvisible=no\n\n",
     ""},
    {"AllVisibleValueWithoutRegardToCase",
     All,
     {},
     "checkname=A\nVisible=No\n\ncheckname=B\nVISIBLE=NO\n\n",
     ""},
    {"AllVisibleYes", All, {}, "checkname=A\nvisible=yes\n\n", "A\n"},
    {"AllVisibleNoWithBlankIsNotNo",
     All,
     {},
     "checkname=A\nvisible=no \n\n",
     "A\n"},
    {"AllVisibleNoPrefixIsNotNo",
     All,
     {},
     "checkname=A\nvisible=non\n\n",
     "A\n"},
    {"AllKeyWithoutRegardToCase", All, {}, "CheckName=Mixed\n\n", "Mixed\n"},
    {"AllKeyWithBlankIsNoName", All, {}, " checkname=A\n\n", ""},
    {"AllLastNameWins", All, {}, "checkname=A\ncheckname=B\n\n", "B\n"},
    {"AllRecordWithoutName", All, {}, "package=P\ndefault=on\n\n", ""},
    {"AllDuplicateRecordsWrittenTwice",
     All,
     {},
     "checkname=A\n\ncheckname=A\n\n",
     "A\nA\n"},
    {"AllNameWithEquals", All, {}, "checkname=a=b\n\n", "a=b\n"},
    {"AllIgnoresDefault", All, {}, "checkname=A\ndefault=off\n\n", "A\n"},
    {"AllByteOrderMarkHidesFirstName",
     All,
     {},
     "\xEF\xBB\xBF"
     "checkname=A\n\ncheckname=B\n\n",
     "B\n"},
    {"AllCrLfVisibleNo",
     All,
     {},
     "checkname=A\r\nvisible=no\r\n\r\ncheckname=B\r\n\r\n",
     "B\n"},
    {"AllThreeRecordsNoFinalEmptyLine",
     All,
     {},
     "checkname=A\n\ncheckname=B\n\ncheckname=C\n",
     "A\nB\n"},
    {"AllThreeRecordsFinalEmptyLine",
     All,
     {},
     "checkname=A\n\ncheckname=B\n\ncheckname=C\n\n",
     "A\nB\nC\n"},
    {"AllOneRecordNoFinalEmptyLine", All, {}, "checkname=A", "A\n"},
    {"AllEmptyManifest", All, {}, "", ""},

    // Named checks.
    {"NamedWithoutRegardToCase", Named, {"ABC"}, "checkname=abc\n\n", "abc\n"},
    {"NamedNoPrefixMatch",
     Named,
     {"ab"},
     "checkname=abc\n\ncheckname=a\n\n",
     ""},
    {"NamedTwoRequestedValuesWriteOnce",
     Named,
     {"a", "A"},
     "checkname=a\n\n",
     "a\n"},
    {"NamedManifestOrderNotRequestOrder",
     Named,
     {"C", "A"},
     "checkname=A\n\ncheckname=B\n\ncheckname=C\n\n",
     "A\nC\n"},
    {"NamedHidden", Named, {"A"}, "checkname=A\nvisible=no\n\n", ""},
    {"NamedHiddenBeforeNameSelects",
     Named,
     {"A"},
     "visible=no\ncheckname=A\n\n",
     "A\n"},
    {"NamedUnknownNameWritesNothing", Named, {"Z"}, "checkname=A\n\n", ""},
    {"NamedLastNameIsWritten",
     Named,
     {"A"},
     "checkname=A\ncheckname=B\n\n",
     "B\n"},
    {"NamedOtherModesKeysIgnored",
     Named,
     {"P"},
     "checkname=A\npackage=P\ngroup=P\ndefault=on\n\n",
     ""},
    {"NamedRequestedValueWithBlank", Named, {"A "}, "checkname=A\n\n", ""},

    // Default checks of packages.
    {"DefaultExampleOfThreeRecords",
     Default,
     {"P"},
     "checkname=A\npackage=P\ndefault=off\n\n"
     "checkname=B\ndefault=on\npackage=Q\n\n"
     "checkname=C\npackage=Q\ndefault=on\n\n",
     "A\nB\n"},
    {"DefaultOnInRequestedPackage",
     Default,
     {"P"},
     "checkname=D\npackage=P\ndefault=on\n\n",
     "D\n"},
    {"DefaultValueWithoutRegardToCase",
     Default,
     {"p"},
     "checkname=D\nPACKAGE=P\nDefault=ON\n\n",
     "D\n"},
    {"DefaultOnWithoutPackage",
     Default,
     {"P"},
     "checkname=J\ndefault=on\n\n",
     "J\n"},
    {"DefaultOffWithoutPackage",
     Default,
     {"P"},
     "checkname=I\ndefault=off\n\n",
     ""},
    {"DefaultAbandonedBeforeName",
     Default,
     {"P"},
     "package=Q\ncheckname=K\ndefault=on\n\n",
     ""},
    {"DefaultSecondPackageAfterMatch",
     Default,
     {"P"},
     "checkname=M\npackage=P\npackage=Q\n\n",
     "M\n"},
    {"DefaultFirstPackageUnrequested",
     Default,
     {"P"},
     "checkname=N\npackage=Q\npackage=P\n\n",
     ""},
    {"DefaultHidden",
     Default,
     {"P"},
     "checkname=E\npackage=P\ndefault=on\nvisible=no\n\n",
     ""},
    {"DefaultOnAfterHiddenSelectsAgain",
     Default,
     {"P"},
     "checkname=G\npackage=P\nvisible=no\ndefault=on\n\n",
     "G\n"},
    {"DefaultHiddenThenPackageMatchSelectsAgain",
     Default,
     {"P"},
     "checkname=H\nvisible=no\npackage=P\n\n",
     "H\n"},
    // The flag cleared by "visible" makes a later unrequested package drop
    // the record.
    {"DefaultHiddenThenUnrequestedPackage",
     Default,
     {"P"},
     "checkname=O\ndefault=on\nvisible=no\npackage=Q\n\n",
     ""},
    {"DefaultSecondRequestedPackage",
     Default,
     {"P", "Q"},
     "checkname=R\npackage=Q\n\n",
     "R\n"},
    {"DefaultIgnoresGroup", Default, {"P"}, "checkname=S\ngroup=P\n\n", ""},

    // Checks of groups.
    {"GroupsMatch",
     Groups,
     {"g1"},
     "checkname=A\ngroup=g1\n\ncheckname=B\ngroup=g2\n\n",
     "A\n"},
    {"GroupsSecondGroupPairMatches",
     Groups,
     {"g2"},
     "checkname=A\ngroup=g1\ngroup=g2\n\n",
     "A\n"},
    {"GroupsTwoMatchesWriteOnce",
     Groups,
     {"g1", "g2"},
     "checkname=A\ngroup=g1\ngroup=g2\n\n",
     "A\n"},
    {"GroupsWholeValueOnly",
     Groups,
     {"g"},
     "checkname=A\ngroup=g1\n\ncheckname=B\ngroup=xg\n\n",
     ""},
    {"GroupsWithoutRegardToCase",
     Groups,
     {"MEMORY"},
     "checkname=A\nGroup=Memory\n\n",
     "A\n"},
    {"GroupsHiddenAfterMatch",
     Groups,
     {"g"},
     "checkname=A\ngroup=g\nvisible=no\n\n",
     ""},
    {"GroupsHiddenBeforeMatch",
     Groups,
     {"g"},
     "checkname=A\nvisible=no\ngroup=g\n\n",
     "A\n"},
    {"GroupsIgnorePackage", Groups, {"g"}, "checkname=A\npackage=g\n\n", ""},

    // Checks of packages.
    {"PackagesMatch",
     Packages,
     {"P"},
     "checkname=A\npackage=P\ndefault=off\n\ncheckname=B\npackage=Q\n\n",
     "A\n"},
    {"PackagesUnrequestedFirstPackageNotAbandoned",
     Packages,
     {"P"},
     "checkname=A\npackage=Q\npackage=P\n\n",
     "A\n"},
    {"PackagesIgnoreDefault",
     Packages,
     {"P"},
     "checkname=A\ndefault=on\n\n",
     ""},
    {"PackagesHidden",
     Packages,
     {"P"},
     "checkname=A\npackage=P\nvisible=no\n\n",
     ""},
    {"PackagesWholeValueOnly",
     Packages,
     {"Pk"},
     "checkname=A\npackage=Pkg\n\n",
     ""},
};

class SelectionRules : public ::testing::TestWithParam<RuleCase> {};

TEST_P(SelectionRules, WritesSelectedNames) {
  const RuleCase &C = GetParam();
  EXPECT_EQ(Select(C.Mode, C.Requested, C.Manifest), C.Expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, SelectionRules, ::testing::ValuesIn(RuleCases),
                         [](const ::testing::TestParamInfo<RuleCase> &Info) {
                           return std::string(Info.param.Name);
                         });

TEST(SelectionRules, HiddenAfterNameSelectedByNoMode) {
  const std::string Manifest =
      "checkname=A\nvisible=no\npackage=P\ngroup=G\ndefault=on\n\n";
  // Every mode's setting pair comes before the hiding pair here.
  const std::string Ordered =
      "checkname=A\npackage=P\ngroup=G\ndefault=on\nvisible=no\n\n";
  EXPECT_EQ(Select(All, {}, Ordered), "");
  EXPECT_EQ(Select(Named, {"A"}, Ordered), "");
  EXPECT_EQ(Select(Default, {"P"}, Ordered), "");
  EXPECT_EQ(Select(Groups, {"G"}, Ordered), "");
  EXPECT_EQ(Select(Packages, {"P"}, Ordered), "");
  EXPECT_EQ(Select(All, {}, Manifest), "");
  EXPECT_EQ(Select(Named, {"A"}, Manifest), "");
}

TEST(SelectionRules, LastRecordNeedsEmptyLineInEveryMode) {
  const std::string Three = "checkname=A\npackage=P\ngroup=G\ndefault=on\n\n"
                            "checkname=B\npackage=P\ngroup=G\ndefault=on\n\n"
                            "checkname=C\npackage=P\ngroup=G\ndefault=on\n";
  const Names Abc = {"A", "B", "C"};
  EXPECT_EQ(Select(All, {}, Three), "A\nB\n");
  EXPECT_EQ(Select(Named, Abc, Three), "A\nB\n");
  EXPECT_EQ(Select(Default, {"P"}, Three), "A\nB\n");
  EXPECT_EQ(Select(Groups, {"G"}, Three), "A\nB\n");
  EXPECT_EQ(Select(Packages, {"P"}, Three), "A\nB\n");
  const std::string Ended = Three + "\n";
  EXPECT_EQ(Select(All, {}, Ended), "A\nB\nC\n");
  EXPECT_EQ(Select(Named, Abc, Ended), "A\nB\nC\n");
  EXPECT_EQ(Select(Default, {"P"}, Ended), "A\nB\nC\n");
  EXPECT_EQ(Select(Groups, {"G"}, Ended), "A\nB\nC\n");
  EXPECT_EQ(Select(Packages, {"P"}, Ended), "A\nB\nC\n");
  EXPECT_EQ(Select(All, {}, Three + "\r\n"), "A\nB\nC\n");
}

TEST(SelectionRules, OneRecordWithoutEmptyLineInEveryMode) {
  const std::string One = "checkname=A\npackage=P\ngroup=G\ndefault=on";
  EXPECT_EQ(Select(All, {}, One), "A\n");
  EXPECT_EQ(Select(Named, {"a"}, One), "A\n");
  EXPECT_EQ(Select(Default, {"P"}, One), "A\n");
  EXPECT_EQ(Select(Groups, {"G"}, One), "A\n");
  EXPECT_EQ(Select(Packages, {"P"}, One), "A\n");
}

/// Upper-cases the byte 0xE9 to 0xC9, as a Latin-1 locale would; all other
/// bytes as the classic locale does.
class LatinCtype : public std::ctype<char> {
protected:
  char do_toupper(char C) const override {
    if (static_cast<unsigned char>(C) == 0xE9)
      return static_cast<char>(0xC9);
    return std::ctype<char>::do_toupper(C);
  }
  const char *do_toupper(char *Low, const char *High) const override {
    for (; Low < High; ++Low)
      *Low = do_toupper(*Low);
    return High;
  }
};

class GlobalLocaleGuard {
public:
  explicit GlobalLocaleGuard(const std::locale &L)
      : Previous(std::locale::global(L)) {}
  ~GlobalLocaleGuard() { std::locale::global(Previous); }

private:
  std::locale Previous;
};

TEST(SelectionRules, CaseComparedThroughGlobalLocale) {
  const std::string Manifest = "checkname=caf\xE9\n\n";
  EXPECT_EQ(Select(Named, {"CAF\xC9"}, Manifest), "")
      << "the classic locale leaves bytes above 127 alone";
  EXPECT_EQ(Select(Named, {"CAF\xE9"}, Manifest), "caf\xE9\n");
  {
    GlobalLocaleGuard Latin(
        std::locale(std::locale::classic(), new LatinCtype));
    EXPECT_EQ(Select(Named, {"CAF\xC9"}, Manifest), "caf\xE9\n");
  }
  EXPECT_EQ(Select(Named, {"CAF\xC9"}, Manifest), "");
}

TEST(SelectionRules, SelectorEqual) {
  Names None;
  LcRecordSelector Selector(All, None);
  EXPECT_TRUE(Selector.Equal("", ""));
  EXPECT_TRUE(Selector.Equal("checkname", "CHECKNAME"));
  EXPECT_TRUE(Selector.Equal("a-B_1", "A-b_1"));
  EXPECT_FALSE(Selector.Equal("abc", "ab"));
  EXPECT_FALSE(Selector.Equal("ab", "abc"));
  EXPECT_FALSE(Selector.Equal("a[", "a{"));
  EXPECT_FALSE(Selector.Equal("\xE9", "\xC9"));
  EXPECT_TRUE(Selector.Equal(std::string("a\0b", 3), std::string("A\0B", 3)));
  EXPECT_FALSE(Selector.Equal(std::string("a\0b", 3), std::string("a\0c", 3)));
}

/// Upper-cases as the classic locale does, then maps V to D, I, A and T to
/// E, S to F and B to U, so that "visible" equals "default".
class CollapsingCtype : public std::ctype<char> {
protected:
  char do_toupper(char C) const override {
    switch (std::ctype<char>::do_toupper(C)) {
    case 'V':
      return 'D';
    case 'I':
    case 'A':
    case 'T':
      return 'E';
    case 'S':
      return 'F';
    case 'B':
      return 'U';
    default:
      return std::ctype<char>::do_toupper(C);
    }
  }
  const char *do_toupper(char *Low, const char *High) const override {
    for (; Low < High; ++Low)
      *Low = do_toupper(*Low);
    return High;
  }
};

/// Upper-cases every letter to X: all keys of the same length are equal.
class OneLetterCtype : public std::ctype<char> {
protected:
  char do_toupper(char C) const override {
    unsigned char Byte = static_cast<unsigned char>(C);
    bool Letter = (Byte >= 'a' && Byte <= 'z') || (Byte >= 'A' && Byte <= 'Z');
    return Letter ? 'X' : C;
  }
  const char *do_toupper(char *Low, const char *High) const override {
    for (; Low < High; ++Low)
      *Low = do_toupper(*Low);
    return High;
  }
};

TEST(SelectionRules, KeyEqualToAnEarlierKeyFollowsTheEarlierRule) {
  {
    GlobalLocaleGuard Collapsing(
        std::locale(std::locale::classic(), new CollapsingCtype));
    // A "visible" pair is a "default" pair now.
    EXPECT_EQ(Select(All, {}, "checkname=A\nvisible=no\n\n"), "A\n");
    EXPECT_EQ(Select(Default, {"P"}, "checkname=A\nvisible=on\n\n"), "A\n");
    EXPECT_EQ(Select(Default, {"P"}, "checkname=A\nvisible=no\n\n"), "");
  }
  {
    GlobalLocaleGuard OneLetter(
        std::locale(std::locale::classic(), new OneLetterCtype));
    // Every seven-letter key is a "package" pair, every nine-letter key a
    // "checkname" pair, every five-letter key a "group" pair.
    EXPECT_EQ(Select(All, {}, "checkname=A\nvisible=no\n\n"), "A\n");
    EXPECT_EQ(Select(All, {}, "abcdefghi=B\n\n"), "B\n");
    EXPECT_EQ(Select(Packages, {"on"}, "checkname=A\ndefault=ON\n\n"), "A\n");
    EXPECT_EQ(Select(Default, {"P"}, "checkname=A\ndefault=on\n\n"), "");
    EXPECT_EQ(Select(Groups, {"g"}, "checkname=A\ntitle=G\n\n"), "A\n");
  }
  EXPECT_EQ(Select(All, {}, "checkname=A\nvisible=no\n\n"), "");
}

/// The rules of the five modes as first written: every pair tried against
/// every key in turn, the case table taken from the global locale.
class ReferenceSelector {
public:
  ReferenceSelector(LcSelectionMode PassMode, const Names &Values)
      : Mode(PassMode), Requested(Values) {
    for (std::size_t I = 0; I < Upper.size(); ++I)
      Upper[I] = std::use_facet<std::ctype<char>>(std::locale())
                     .toupper(static_cast<char>(I));
  }

  bool Select(const LcRecord &Checked, std::string_view &Name) const {
    std::string_view Pending;
    bool Selected = false;
    for (const LcAttribute &Attribute : Checked) {
      std::string_view Key = Attribute.Key();
      std::string_view Value = Attribute.Value();
      if (Equal(Key, "checkname")) {
        Pending = Value;
        if (Mode == All)
          Selected = true;
        else if (Mode == Named && MatchesRequested(Value))
          Selected = true;
      } else if (Equal(Key, "package")) {
        if (Mode == Default || Mode == Packages) {
          if (MatchesRequested(Value))
            Selected = true;
          if (Mode == Default && !Selected)
            return false;
        }
      } else if (Equal(Key, "group")) {
        if (Mode == Groups && MatchesRequested(Value))
          Selected = true;
      } else if (Equal(Key, "default")) {
        if (Mode == Default && Equal(Value, "on"))
          Selected = true;
      } else if (Equal(Key, "visible")) {
        if (Equal(Value, "no"))
          Selected = false;
      }
    }
    if (!Selected || Pending.empty())
      return false;
    Name = Pending;
    return true;
  }

private:
  bool Equal(std::string_view A, std::string_view B) const {
    if (A.size() != B.size())
      return false;
    for (std::size_t I = 0; I < A.size(); ++I)
      if (Upper[static_cast<unsigned char>(A[I])] !=
          Upper[static_cast<unsigned char>(B[I])])
        return false;
    return true;
  }
  bool MatchesRequested(std::string_view Value) const {
    for (const std::string &Wanted : Requested)
      if (Equal(Value, Wanted))
        return true;
    return false;
  }

  LcSelectionMode Mode;
  const Names &Requested;
  std::array<char, 256> Upper;
};

/// Compares LcRecordSelector with ReferenceSelector on random records in
/// every mode under the current global locale.
void CompareWithReference(unsigned Seed) {
  static const char *const Keys[] = {
      "checkname", "CheckName", "package", "PACKAGE", "group",    "Group",
      "default",   "DEFAULT",   "visible", "Visible", "severity", "title",
      "owner",     "xyzxyzxyz", "dEfAuLt", "vISIBLE", "grp",      "defaulT2"};
  static const char *const Values[] = {"A",  "b",  "on", "ON", "no", "No",
                                       "P",  "p",  "Q",  "g",  "G",  "x",
                                       "eh", "Pq", "oN", "nO", "GP"};
  constexpr std::size_t KeyCount = sizeof Keys / sizeof Keys[0];
  constexpr std::size_t ValueCount = sizeof Values / sizeof Values[0];
  std::mt19937 Random(Seed);
  auto Pick = [&Random](std::size_t Count) {
    return std::uniform_int_distribution<std::size_t>(0, Count - 1)(Random);
  };
  const LcSelectionMode Modes[] = {All, Named, Default, Groups, Packages};
  for (int Round = 0; Round < 3000; ++Round) {
    std::string Text;
    std::size_t Pairs = Pick(9);
    for (std::size_t I = 0; I < Pairs; ++I)
      Text += std::string(Keys[Pick(KeyCount)]) + "=" +
              Values[Pick(ValueCount)] + "\n";
    Text += "\n";
    Names Requested;
    std::size_t Wanted = Pick(4);
    for (std::size_t I = 0; I < Wanted; ++I)
      Requested.emplace_back(Values[Pick(ValueCount)]);
    std::istringstream In(Text);
    LcManifestReader Reader;
    Reader.Open(In);
    for (LcSelectionMode Mode : Modes) {
      LcRecordSelector Selector(Mode, Requested);
      ReferenceSelector Reference(Mode, Requested);
      std::string_view Name = "unset", ReferenceName = "unset";
      bool Selected = Selector.Select(Reader.Current(), Name);
      ASSERT_EQ(Selected, Reference.Select(Reader.Current(), ReferenceName))
          << "mode " << static_cast<int>(Mode) << ", record "
          << ::testing::PrintToString(Text) << ", requested "
          << ::testing::PrintToString(Requested);
      if (Selected) {
        ASSERT_EQ(Name, ReferenceName);
      }
    }
  }
}

TEST(SelectionRules, MatchesPlainRulesInClassicLocale) {
  CompareWithReference(1);
}

TEST(SelectionRules, MatchesPlainRulesInOtherLocales) {
  {
    GlobalLocaleGuard Latin(
        std::locale(std::locale::classic(), new LatinCtype));
    CompareWithReference(2);
  }
  {
    GlobalLocaleGuard Collapsing(
        std::locale(std::locale::classic(), new CollapsingCtype));
    CompareWithReference(3);
  }
  {
    GlobalLocaleGuard OneLetter(
        std::locale(std::locale::classic(), new OneLetterCtype));
    CompareWithReference(4);
  }
}

/// A manifest of 30,000 checks whose names, of many lengths and a few longer
/// than 64 KiB, fill many pieces of output; Expected is what --all writes.
void ManyNamesManifest(std::string &Manifest, std::string &Expected) {
  for (std::size_t I = 0; I < 30000; ++I) {
    std::string Name = "n" + std::to_string(I) + std::string(I % 23, 'x');
    if (I % 5000 == 17)
      Name = std::string(65536 + I % 3 - 1, 'L') + std::to_string(I);
    Manifest += "checkname=" + Name + "\n\n";
    Expected += Name + "\n";
  }
}

TEST(SelectionOutput, NamesOfEveryLengthAcrossManyChunks) {
  std::string Manifest;
  std::string Expected;
  ManyNamesManifest(Manifest, Expected);
  EXPECT_EQ(Select(All, {}, Manifest), Expected);
}

TEST(SelectionOutput, NamesSelectedBeforeMemoryRunsOutAreWritten) {
  const std::string Manifest = "checkname=A\n\ncheckname=B\n\ncheckname=C\n\n";
  lctest::PieceBuf Buf(Manifest, {5}, Manifest.find("=C"), true);
  std::istream In(&Buf);
  std::ostringstream Out;
  EXPECT_THROW(LcSelectFromStream(All, In, Out, {}), std::bad_alloc);
  EXPECT_EQ(Out.str(), "A\nB\n");
}

/// Takes at most Limit bytes, then fails every write.
class LimitedBuf : public std::streambuf {
public:
  explicit LimitedBuf(std::size_t Limit) : Room(Limit) {}
  std::string Taken;

protected:
  int_type overflow(int_type C) override {
    if (traits_type::eq_int_type(C, traits_type::eof()))
      return traits_type::not_eof(C);
    if (Room == 0)
      return traits_type::eof();
    --Room;
    Taken += traits_type::to_char_type(C);
    return C;
  }
  std::streamsize xsputn(const char *Data, std::streamsize Size) override {
    std::size_t Count = std::min(Room, static_cast<std::size_t>(Size));
    Taken.append(Data, Count);
    Room -= Count;
    return static_cast<std::streamsize>(Count);
  }

private:
  std::size_t Room;
};

TEST(SelectionOutput, WriteFailureStopsReadingTheManifest) {
  std::string Manifest;
  std::string Expected;
  for (int I = 0; I < 100000; ++I) {
    Manifest += "checkname=check-" + std::to_string(I) + "\ngroup=g\n\n";
    Expected += "check-" + std::to_string(I) + "\n";
  }
  std::istringstream In(Manifest);
  LimitedBuf Sink(10);
  std::ostream Out(&Sink);
  LcSelectFromStream(All, In, Out, {});
  EXPECT_TRUE(Out.bad());
  EXPECT_EQ(Sink.Taken, Expected.substr(0, 10));
  std::streamoff Read = In.tellg();
  EXPECT_GT(Read, 0);
  EXPECT_LT(Read, static_cast<std::streamoff>(Manifest.size() / 2));
}

/// Selection through files: a fresh folder, a fresh output-opened flag.
class SelectionFiles : public ::testing::Test {
protected:
  SelectionFiles() {
    LcResetOutputOpened();
    Request.ManifestPath = Dir.Path("checks.txt");
    Request.OutputPath = Dir.Path("selected.txt");
  }

  void WriteManifest(const std::string &Text) {
    lctest::WriteFile(Request.ManifestPath, Text);
  }
  std::string Output() const { return lctest::ReadFile(Request.OutputPath); }
  void Run() { LcRunSelection(Console, GeDefaultDisk(), Request); }

  /// Runs Request and expects it to stop with Lc002 naming Path.
  void ExpectCouldNotOpen(const std::string &Path) {
    std::size_t Before = Console.Messages().size();
    unsigned ErrorsBefore = Console.ErrorCount();
    EXPECT_THROW(Run(), MsConsoleException);
    ASSERT_EQ(Console.Messages().size(), Before + 1)
        << "the remaining passes must not run";
    const MsConsoleConcrete::Released &M = Console.Messages().back();
    EXPECT_EQ(Console.TagText(M.Tag), "Lc002");
    EXPECT_EQ(M.Lvl, MsConsole::ErrorFixed);
    EXPECT_EQ(M.Text, "could not open file \"" + Path + "\"");
    EXPECT_EQ(Console.ErrorCount(), ErrorsBefore + 1);
  }

  lctest::TempDir Dir;
  LcSelectionRequest Request;
  lctest::TestConsole Console;
};

const char SampleManifest[] = "checkname=MEM-one\npackage=core\ngroup=memory\n"
                              "default=on\n\n"
                              "checkname=STY-two\npackage=style\ngroup=layout\n"
                              "group=memory\ndefault=off\n\n"
                              "checkname=MEM-hidden\npackage=core\n"
                              "group=memory\ndefault=on\nvisible=no\n\n"
                              "checkname=STY-three\npackage=style\n"
                              "group=layout\ndefault=on\n\n";

TEST_F(SelectionFiles, NoSelectionOpensNothing) {
  WriteManifest(SampleManifest);
  Run();
  EXPECT_FALSE(lctest::FileExists(Request.OutputPath));
  EXPECT_FALSE(LcOutputOpened());
}

TEST_F(SelectionFiles, NoSelectionDoesNotTouchMissingManifest) {
  std::size_t Before = Console.Messages().size();
  Run();
  EXPECT_EQ(Console.Messages().size(), Before);
  EXPECT_FALSE(lctest::FileExists(Request.OutputPath));
}

TEST_F(SelectionFiles, AllChecks) {
  WriteManifest(SampleManifest);
  Request.All = true;
  Run();
  EXPECT_EQ(Output(), "MEM-one\nSTY-two\nSTY-three\n");
  EXPECT_TRUE(LcOutputOpened());
}

TEST_F(SelectionFiles, AllAndNamedVisibleCheckAppearsTwice) {
  WriteManifest(SampleManifest);
  Request.All = true;
  Request.CheckNames = {"sty-two"};
  Run();
  EXPECT_EQ(Output(), "MEM-one\nSTY-two\nSTY-three\nSTY-two\n");
}

TEST_F(SelectionFiles, FivePassesInFixedOrder) {
  WriteManifest(SampleManifest);
  Request.Packages = {"style"};
  Request.Groups = {"memory"};
  Request.DefaultPackages = {"core"};
  Request.CheckNames = {"STY-three", "MEM-hidden"};
  Request.All = true;
  Run();
  EXPECT_EQ(Output(), "MEM-one\nSTY-two\nSTY-three\n" // all
                      "STY-three\n"                   // named
                      "MEM-one\n"                     // default of core
                      "MEM-one\nSTY-two\n"            // group memory
                      "STY-two\nSTY-three\n");        // package style
}

TEST_F(SelectionFiles, FirstPassTruncatesLaterPassesAppend) {
  WriteManifest(SampleManifest);
  lctest::WriteFile(Request.OutputPath, "old line\nmore\n");
  Request.CheckNames = {"MEM-one"};
  Request.Groups = {"layout"};
  Run();
  EXPECT_EQ(Output(), "MEM-one\nSTY-two\nSTY-three\n");
}

TEST_F(SelectionFiles, LaterRunAppendsUntilFlagReset) {
  WriteManifest(SampleManifest);
  Request.CheckNames = {"MEM-one"};
  Run();
  Run();
  EXPECT_EQ(Output(), "MEM-one\nMEM-one\n");
  LcResetOutputOpened();
  Run();
  EXPECT_EQ(Output(), "MEM-one\n");
}

TEST_F(SelectionFiles, AppendCreatesMissingFile) {
  WriteManifest(SampleManifest);
  Request.CheckNames = {"MEM-one"};
  Run();
  std::filesystem::remove(Request.OutputPath);
  Run();
  EXPECT_EQ(Output(), "MEM-one\n");
}

TEST_F(SelectionFiles, OutputHasNoCarriageReturns) {
  WriteManifest("checkname=A\r\n\r\ncheckname=B\r\nvisible=no\r\n\r\n"
                "checkname=C\r\n\r\n");
  Request.All = true;
  Run();
  EXPECT_EQ(Output(), "A\nC\n");
}

TEST_F(SelectionFiles, NamesOfEveryLengthAcrossManyChunksReachTheFile) {
  std::string Manifest;
  std::string Expected;
  ManyNamesManifest(Manifest, Expected);
  WriteManifest(Manifest);
  Request.All = true;
  Request.CheckNames = {"n7xxxxxxx"};
  Run();
  EXPECT_EQ(Output(), Expected + "n7xxxxxxx\n");
}

TEST_F(SelectionFiles, NewOutputFileIsReadableAndWritableByAllLessUmask) {
  WriteManifest(SampleManifest);
  Request.All = true;
  const mode_t Previous = ::umask(002);
  Run();
  ::umask(Previous);
  struct stat Info;
  ASSERT_EQ(::stat(Request.OutputPath.c_str(), &Info), 0);
  EXPECT_EQ(Info.st_mode & 07777, 0664u);
}

TEST_F(SelectionFiles, NothingSelectedLeavesEmptyFile) {
  WriteManifest(SampleManifest);
  Request.CheckNames = {"no-such-check"};
  lctest::WriteFile(Request.OutputPath, "old\n");
  Run();
  EXPECT_TRUE(lctest::FileExists(Request.OutputPath));
  EXPECT_EQ(Output(), "");
}

TEST_F(SelectionFiles, MissingManifestLeavesEmptyOutput) {
  Request.All = true;
  Request.CheckNames = {"MEM-one"};
  lctest::WriteFile(Request.OutputPath, "old\n");
  ExpectCouldNotOpen(Request.ManifestPath);
  EXPECT_TRUE(lctest::FileExists(Request.OutputPath));
  EXPECT_EQ(Output(), "");
}

TEST_F(SelectionFiles, ManifestIsDirectory) {
  Request.ManifestPath = Dir.Path("folder");
  std::filesystem::create_directory(Request.ManifestPath);
  Request.Groups = {"memory"};
  ExpectCouldNotOpen(Request.ManifestPath);
  EXPECT_EQ(Output(), "");
}

TEST_F(SelectionFiles, ManifestFailureKeepsEarlierLines) {
  WriteManifest(SampleManifest);
  Request.All = true;
  Run();
  Request.ManifestPath = Dir.Path("gone.txt");
  Request.All = false;
  Request.CheckNames = {"MEM-one"};
  Request.Packages = {"core"};
  ExpectCouldNotOpen(Request.ManifestPath);
  EXPECT_EQ(Output(), "MEM-one\nSTY-two\nSTY-three\n");
}

TEST_F(SelectionFiles, OutputCannotBeOpened) {
  WriteManifest(SampleManifest);
  Request.OutputPath = Dir.Path("no-folder/selected.txt");
  Request.All = true;
  Request.Packages = {"core"};
  ExpectCouldNotOpen(Request.OutputPath);
  EXPECT_FALSE(lctest::FileExists(Request.OutputPath));
  EXPECT_FALSE(LcOutputOpened());
}

TEST_F(SelectionFiles, OutputIsDirectory) {
  WriteManifest(SampleManifest);
  Request.OutputPath = Dir.Path("");
  Request.Groups = {"memory"};
  ExpectCouldNotOpen(Request.OutputPath);
}

TEST_F(SelectionFiles, OpenFailureSummaryYieldsTwo) {
  Request.All = true;
  ExpectCouldNotOpen(Request.ManifestPath);
  std::ostringstream Summary;
  EXPECT_EQ(Console.Summary(Summary), 2);
}

TEST_F(SelectionFiles, StandardOutput) {
  WriteManifest(SampleManifest);
  Request.OutputPath = "-";
  Request.All = true;
  Request.CheckNames = {"STY-two"};
  Request.Packages = {"core"};
  lctest::StdoutCapture Capture(Dir.Path("stdout.txt"));
  Run();
  EXPECT_EQ(Capture.Finish(),
            "MEM-one\nSTY-two\nSTY-three\nSTY-two\nMEM-one\n");
  EXPECT_TRUE(LcOutputOpened());
  EXPECT_FALSE(lctest::FileExists(Dir.Path("-")));
}

TEST_F(SelectionFiles, StandardOutputFollowsEarlierCoutText) {
  WriteManifest(SampleManifest);
  Request.OutputPath = "-";
  Request.DefaultPackages = {"style"};
  lctest::StdoutCapture Capture(Dir.Path("stdout.txt"));
  std::cout << "before\n";
  Run();
  EXPECT_EQ(Capture.Finish(), "before\nSTY-two\nSTY-three\n");
}

TEST_F(SelectionFiles, StandardOutputWriteFailureReportsProblemWriting) {
  WriteManifest(SampleManifest);
  Request.OutputPath = "-";
  Request.All = true;
  Request.Groups = {"memory"};
  std::size_t Before = Console.Messages().size();
  {
    // Standard output refuses every byte.
    struct RefusingBuf : std::streambuf {
      int_type overflow(int_type) override { return traits_type::eof(); }
    } Refusing;
    testsupport::StreamRedirect Stdout(std::cout, Refusing);
    EXPECT_THROW(Run(), MsConsoleException);
  }
  ASSERT_EQ(Console.Messages().size(), Before + 1)
      << "the group pass must not run";
  const MsConsoleConcrete::Released &M = Console.Messages().back();
  EXPECT_EQ(Console.TagText(M.Tag), "Ms004");
  EXPECT_EQ(M.Text, "problem writing to file \"-\"");
}

/// Selection on an in-memory disk, whose failures are planned.
class SelectionOnDisk : public ::testing::Test {
protected:
  SelectionOnDisk() {
    LcResetOutputOpened();
    Request.ManifestPath = "checks.txt";
    Request.OutputPath = "selected.txt";
    Disk.AddFile(Request.ManifestPath, SampleManifest);
  }
  void Run() { LcRunSelection(Console, Disk, Request); }

  /// Runs Request, expecting it to stop after one report, Tag with Text.
  void ExpectStop(const std::string &Tag, const std::string &Text) {
    EXPECT_THROW(Run(), MsConsoleException);
    ASSERT_EQ(Console.Messages().size(), 1u)
        << "the remaining passes must not run";
    const MsConsoleConcrete::Released &M = Console.Messages()[0];
    EXPECT_EQ(Console.TagText(M.Tag), Tag);
    EXPECT_EQ(M.Lvl, MsConsole::ErrorFixed);
    EXPECT_EQ(M.Text, Text);
    EXPECT_EQ(Disk.OpenHandles(), 0u);
  }

  GeFakeDisk Disk;
  LcSelectionRequest Request;
  lctest::TestConsole Console;
};

TEST_F(SelectionOnDisk, FirstPassTruncatesLaterPassesAppend) {
  Disk.AddFile(Request.OutputPath, "old line\n");
  Request.CheckNames = {"MEM-one"};
  Request.Groups = {"layout"};
  Run();
  EXPECT_EQ(Disk.Contents(Request.OutputPath), "MEM-one\nSTY-two\nSTY-three\n");
  EXPECT_EQ(Disk.OpenHandles(), 0u);
  EXPECT_TRUE(Console.Messages().empty());
}

TEST_F(SelectionOnDisk, FailedWriteReportsProblemWritingAndKeepsEarlierPasses) {
  Request.All = true;
  Request.Groups = {"memory"};
  Request.Packages = {"core"};
  // The all-checks pass writes once; the group pass's write fails.
  Disk.FailWrite(2, ENOSPC);
  ExpectStop("Ms004", "problem writing to file \"selected.txt\"");
  EXPECT_EQ(Disk.Contents(Request.OutputPath), "MEM-one\nSTY-two\nSTY-three\n");
}

TEST_F(SelectionOnDisk, FailedCloseReportsProblemWriting) {
  Request.All = true;
  Request.Packages = {"core"};
  Disk.FailClose(EIO);
  ExpectStop("Ms004", "problem writing to file \"selected.txt\"");
}

TEST_F(SelectionOnDisk, OutputThatCannotBeOpenedIsReported) {
  Request.All = true;
  Disk.FailOpen(Request.OutputPath, EACCES);
  ExpectStop("Lc002", "could not open file \"selected.txt\"");
  EXPECT_FALSE(Disk.Exists(Request.OutputPath));
  EXPECT_FALSE(LcOutputOpened());
}

TEST_F(SelectionOnDisk, ManifestThatCannotBeOpenedLeavesEmptyOutput) {
  Request.All = true;
  Request.CheckNames = {"MEM-one"};
  Disk.AddFile(Request.OutputPath, "old\n");
  Disk.FailOpen(Request.ManifestPath, EACCES);
  ExpectStop("Lc002", "could not open file \"checks.txt\"");
  EXPECT_TRUE(Disk.Exists(Request.OutputPath));
  EXPECT_EQ(Disk.Contents(Request.OutputPath), "");
}

TEST_F(SelectionOnDisk, OutputLinkedToTheManifestIsRefusedBeforeAnyOpen) {
  Disk.AddLink(Request.OutputPath, Request.ManifestPath);
  Request.All = true;
  ExpectStop("Ms006", "illegal path \"selected.txt\"");
  EXPECT_EQ(Disk.Contents(Request.ManifestPath), SampleManifest);
  EXPECT_EQ(Disk.WriteCalls(), 0u);
  EXPECT_FALSE(LcOutputOpened());
}

TEST_F(SelectionOnDisk, OutputOnTheManifestRefusedOnlyWithASelection) {
  Disk.AddLink(Request.OutputPath, Request.ManifestPath);
  // Without a selection nothing would be written, so nothing is refused.
  EXPECT_NO_THROW(LcRefuseOutputOverManifest(Console, Disk, Request));
  EXPECT_TRUE(Console.Messages().empty());
  Request.Packages = {"core"};
  EXPECT_THROW(LcRefuseOutputOverManifest(Console, Disk, Request),
               MsConsoleException);
  ASSERT_EQ(Console.Messages().size(), 1u);
  EXPECT_EQ(Console.TagText(Console.Messages()[0].Tag), "Ms006");
  EXPECT_EQ(Console.Messages()[0].Text, "illegal path \"selected.txt\"");
  EXPECT_EQ(Disk.OpenHandles(), 0u);
  EXPECT_EQ(Disk.WriteCalls(), 0u);
  EXPECT_EQ(Disk.Contents(Request.ManifestPath), SampleManifest);
  EXPECT_FALSE(LcOutputOpened());
}

TEST_F(SelectionOnDisk, DeviceOutputIsWrittenInPlace) {
  Disk.AddDevice("dev");
  Request.OutputPath = "dev";
  Request.CheckNames = {"STY-two"};
  Run();
  EXPECT_EQ(Disk.Contents("dev"), "STY-two\n");
  EXPECT_TRUE(Console.Messages().empty());
}

TEST_F(SelectionOnDisk, ManifestThatIsNoFileIsReadOnceForEveryPass) {
  Disk.AddDevice("fifo", SampleManifest);
  Request.ManifestPath = "fifo";
  Request.All = true;
  Request.Groups = {"layout"};
  Run();
  EXPECT_EQ(Disk.Contents(Request.OutputPath),
            "MEM-one\nSTY-two\nSTY-three\nSTY-two\nSTY-three\n");
  EXPECT_EQ(Disk.OpenHandles(), 0u);
  EXPECT_TRUE(Console.Messages().empty());
}

TEST_F(SelectionOnDisk, ManifestThatIsNoFileAndCannotBeOpenedIsReported) {
  Disk.AddDevice("fifo", SampleManifest);
  Disk.FailOpen("fifo", EACCES);
  Request.ManifestPath = "fifo";
  Request.All = true;
  Request.Groups = {"layout"};
  ExpectStop("Lc002", "could not open file \"fifo\"");
  EXPECT_EQ(Disk.Contents(Request.OutputPath), "");
}

} // namespace

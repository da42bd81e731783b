// Tests of the option table the documents are written from: what each
// option kind turns into, the tags of a listing, and chksel's own table.
#include "docgen/DgOptionTable.h"

#include "cmdline/ClArg.h"
#include "cmdline/ClHelp.h"
#include "cmdline/ClParser.h"
#include "console/MsDependFileArg.h"
#include "console/MsConsoleConcrete.h"
#include "setup/SuCommandFileArg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

struct KindCase {
  const char *Name;
  std::shared_ptr<ClArg> Arg;
  DgValueKind Kind;
  bool Separate;
};

TEST(DgDescribeOption, ValueKinds) {
  const KindCase Cases[] = {
      {"flag", std::make_shared<ClFlagArg>(0, "all", "Generate all checks"),
       DgValueKind::None, false},
      {"file", std::make_shared<ClStringArg>(0, "output", "file", "Out"),
       DgValueKind::File, true},
      {"attached file",
       std::make_shared<ClStringArg>(0, "output", "file", "Out", false),
       DgValueKind::File, false},
      {"file or folder",
       std::make_shared<ClStringArg>(0, "tables", "file|directory", "T"),
       DgValueKind::File, true},
      {"checks",
       std::make_shared<ClStringSetArg>(0, "check", "chk,chk,...", "C", ','),
       DgValueKind::CheckNames, true},
      {"groups",
       std::make_shared<ClStringSetArg>(0, "group", "grp,grp,...", "G", ','),
       DgValueKind::Groups, true},
      {"packages",
       std::make_shared<ClStringSetArg>(0, "default", "pkg,pkg,...", "D", ','),
       DgValueKind::Packages, true},
      {"tags",
       std::make_shared<ClStringSetArg>(0, "diag_error", "tag,tag,...", "E",
                                        ','),
       DgValueKind::Tags, true},
      {"number", std::make_shared<ClIntegerArg>(0, "error_limit", "limit", "L"),
       DgValueKind::Text, true},
  };
  for (const KindCase &C : Cases) {
    const DgOption O = DgDescribeOption(*C.Arg);
    EXPECT_EQ(O.Kind, C.Kind) << C.Name;
    EXPECT_EQ(O.ValueMayBeSeparate, C.Separate) << C.Name;
    EXPECT_FALSE(O.TwoParameters) << C.Name;
    EXPECT_EQ(O.LongName, C.Arg->LongName()) << C.Name;
    EXPECT_EQ(O.Hint, C.Arg->Hint()) << C.Name;
    EXPECT_EQ(O.Description, C.Arg->Description()) << C.Name;
    EXPECT_EQ(O.HelpEntry, C.Arg->HelpEntry()) << C.Name;
    EXPECT_EQ(O.DisplayName, C.Arg->DisplayName()) << C.Name;
    EXPECT_TRUE(O.LiteralValues.empty()) << C.Name;
  }
}

TEST(DgDescribeOption, CommandFileTakesTheOptionsExtension) {
  MsConsoleConcrete Console;
  const DgOption Framework = DgDescribeOption(SuCommandFileArg(Console));
  EXPECT_EQ(Framework.Kind, DgValueKind::CommandFile);
  EXPECT_EQ(Framework.DefaultExtension, ".xcl");
  EXPECT_EQ(Framework.ShortName, 'f');
  EXPECT_EQ(Framework.LongName, "");
  EXPECT_TRUE(Framework.ValueMayBeSeparate);

  const DgOption Plain =
      DgDescribeOption(ClCommandFileArg('f', "", "file", "Read"));
  EXPECT_EQ(Plain.Kind, DgValueKind::CommandFile);
  EXPECT_EQ(Plain.DefaultExtension, "");
}

TEST(DgDescribeOption, DependencyListTakesFlagsThenADestination) {
  const DgOption O = DgDescribeOption(MsDependFileArg());
  EXPECT_TRUE(O.TwoParameters);
  EXPECT_TRUE(O.ValueMayBeSeparate);
  EXPECT_EQ(O.Kind, DgValueKind::File);
  EXPECT_EQ(O.FirstParameterWords,
            (std::vector<std::string>{"i", "m", "n", "s", "is", "ms", "ns"}));
  EXPECT_EQ(O.LiteralValues, std::vector<std::string>{"+"});
}

/// The words offered for the flags are what the option accepts, and every
/// letter it accepts is offered.
TEST(DgDescribeOption, DependencyFlagWordsAreTheAcceptedOnes) {
  const DgOption O = DgDescribeOption(MsDependFileArg());
  for (const std::string &Word : O.FirstParameterWords)
    EXPECT_NO_THROW(MsDependFileArg::ParseFlags(Word)) << Word;
  for (char Letter = 'a'; Letter <= 'z'; ++Letter) {
    bool Accepted = true;
    try {
      MsDependFileArg::ParseFlags(std::string(1, Letter));
    } catch (const std::exception &) {
      Accepted = false;
    }
    const bool Offered =
        std::find(O.FirstParameterWords.begin(), O.FirstParameterWords.end(),
                  std::string(1, Letter)) != O.FirstParameterWords.end();
    EXPECT_EQ(Accepted, Offered) << Letter;
  }
}

TEST(DgDescribeOptions, InTheOrderOfTheOptionList) {
  ClFlagArg Beta(0, "beta", "B");
  ClFlagArg Alpha(0, "Alpha", "A");
  ClFlagArg Hidden(0, "hidden", "H");
  Hidden.SetDebugOnly();
  ClCommandFileArg File('f', "", "file", "F");
  ClAny Root;
  Root.Add(std::make_unique<ClOnce>(Beta));
  Root.Add(std::make_unique<ClOnce>(Hidden));
  Root.Add(std::make_unique<ClOnce>(File));
  Root.Add(std::make_unique<ClOnce>(Alpha));
  std::vector<std::string> Names;
  for (const DgOption &O : DgDescribeOptions(Root))
    Names.push_back(O.DisplayName);
  EXPECT_EQ(Names, (std::vector<std::string>{"--Alpha", "--beta", "-f"}));
}

TEST(DgTagsOfListing, TakesTheTagOfEachEntry) {
  EXPECT_EQ(DgTagsOfListing("Lc001:  internal error\n"
                            "Lc002:  could not open file %sq\n"
                            "  a second line: of a message\n"
                            "Su010:  Comment unclosed\n"
                            "X1:  not a tag\n"),
            (std::vector<std::string>{"Lc001", "Lc002", "Su010"}));
  EXPECT_TRUE(DgTagsOfListing("").empty());
}

TEST(DgChkselOptionTable, HoldsTheToolsTheConsolesAndTheFrameworksOptions) {
  const DgOptionTable Table = DgChkselOptionTable();
  std::vector<std::string> Names;
  for (const DgOption &O : Table.Options)
    Names.push_back(O.DisplayName);
  for (const char *Name : {"--all", "--check", "--default", "--group",
                           "--package", "--output", "--manifest", "--silent",
                           "--dependencies", "--diagnostics_tables", "-f"})
    EXPECT_NE(std::find(Names.begin(), Names.end(), Name), Names.end()) << Name;
  EXPECT_TRUE(std::is_sorted(Names.begin(), Names.end(), [](auto &A, auto &B) {
    return ClHelpNameLess(A, B);
  }));
  for (const char *Tag : {"Lc001", "Lc002", "Ms001", "Su001"})
    EXPECT_NE(std::find(Table.Tags.begin(), Table.Tags.end(), Tag),
              Table.Tags.end())
        << Tag;
}

} // namespace

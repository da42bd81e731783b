// Tests of help entries and the option list: layout, markers, sorting.
#include "cmdline/ClHelp.h"
#include "cmdline/ClParser.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

class DependArg : public ClArgTwoParas, public ClSimpleHelp {
public:
  DependArg()
      : ClArgTwoParas(0, "dependencies", "[i|m|n][s] file|directory|+"),
        ClSimpleHelp("List file dependencies\n"
                     "   i     Include filename only (default)\n"
                     "   s     Suppress system files") {}
};

TEST(ClHelpEntry, FlagWithSevenLetterName) {
  ClFlagArg Flag(0, "remarks", "Enable generation of remarks");
  EXPECT_EQ(Flag.HelpEntry(), "--remarks       Enable generation of remarks");
}

TEST(ClHelpEntry, LongAndShortWithAttachedParameter) {
  ClStringArg Arg('x', "name", "file", "Use this file", false);
  EXPECT_EQ(Arg.HelpEntry(), "--name=file\n-xfile          Use this file");
}

TEST(ClHelpEntry, LongAndShortWithSeparateParameter) {
  ClStringArg Arg('x', "name", "file", "Use this file", true);
  EXPECT_EQ(Arg.HelpEntry(), "--name file\n-x file         Use this file");
}

TEST(ClHelpEntry, ShortOnly) {
  ClCommandFileArg Arg('f', "", "file", "Read command line options from file");
  EXPECT_EQ(Arg.HelpEntry(),
            "-f file         Read command line options from file");
  ClFlagArg Flag('s', "", "Silent");
  EXPECT_EQ(Flag.HelpEntry(), "-s              Silent");
}

TEST(ClHelpEntry, ThreeLineDescription) {
  ClFlagArg Flag(0, "opt", "first\nsecond\nthird");
  EXPECT_EQ(Flag.HelpEntry(), "--opt           first\n"
                              "                second\n"
                              "                third");
}

// The blank written after the name stays at the end of a name line that is
// too long for the description; the description then starts on the next line.
TEST(ClHelpEntry, NameLineLengthDecidesWhereTheDescriptionStarts) {
  ClFlagArg Fifteen(0, "abcdefghijklm", "Fits");
  EXPECT_EQ(Fifteen.HelpEntry(), "--abcdefghijklm Fits");
  ClFlagArg Sixteen(0, "abcdefghijklmn", "Does not fit");
  EXPECT_EQ(Sixteen.HelpEntry(),
            "--abcdefghijklmn \n                Does not fit");
  ClStringArg Tables(0, "diagnostics_tables", "file|directory",
                     "Dump diagnostic message tables to file");
  EXPECT_EQ(Tables.HelpEntry(), "--diagnostics_tables file|directory \n"
                                "                Dump diagnostic message "
                                "tables to file");
}

TEST(ClHelpEntry, IntegerOption) {
  ClIntegerArg Limit(0, "error_limit", "limit",
                     "Stop after this many errors (0 = no limit)");
  EXPECT_EQ(Limit.HelpEntry(), "--error_limit limit \n"
                               "                Stop after this many errors "
                               "(0 = no limit)");
}

TEST(ClHelpEntry, TwoParameterOptionAttachesItsHint) {
  DependArg Arg;
  EXPECT_EQ(Arg.HelpEntry(), "--dependencies=[i|m|n][s] file|directory|+ \n"
                             "                List file dependencies\n"
                             "                   i     Include filename only "
                             "(default)\n"
                             "                   s     Suppress system files");
}

TEST(ClHelpEntry, Markers) {
  ClFlagArg Old(0, "old", "An old switch");
  Old.SetDeprecated();
  EXPECT_EQ(Old.HelpEntry(), "--old           --- Deprecated ---\n"
                             "                An old switch");
  ClFlagArg Debug(0, "dbg", "Debug switch");
  Debug.SetDebugOnly();
  EXPECT_EQ(Debug.HelpEntry(),
            "--dbg           *** ONLY VISIBLE IN DEBUG VERSION ***\n"
            "                Debug switch");
  ClFlagArg Gone(0, "gone", "Gone switch");
  Gone.SetRemoved();
  EXPECT_EQ(Gone.HelpEntry(),
            "--gone          --- Removed ---\n"
            "                *** ONLY VISIBLE IN DEBUG VERSION ***\n"
            "                Gone switch");
  ClFlagArg All(0, "all", "Everything");
  All.SetRemoved();
  All.SetDeprecated();
  All.SetDebugOnly();
  EXPECT_EQ(All.HelpEntry(),
            "--all           --- Removed ---\n"
            "                --- Deprecated ---\n"
            "                *** ONLY VISIBLE IN DEBUG VERSION ***\n"
            "                Everything");
}

TEST(ClHelpNameLess, CaseInsensitiveWithPrefixesFirst) {
  EXPECT_TRUE(ClHelpNameLess("--Alpha", "--beta"));
  EXPECT_TRUE(ClHelpNameLess("--beta", "--gamma"));
  EXPECT_FALSE(ClHelpNameLess("--beta", "--Alpha"));
  EXPECT_TRUE(ClHelpNameLess("--a", "--ab"));
  EXPECT_FALSE(ClHelpNameLess("--ab", "--a"));
  EXPECT_FALSE(ClHelpNameLess("--a", "--A"));
  EXPECT_FALSE(ClHelpNameLess("--A", "--a"));
  EXPECT_TRUE(ClHelpNameLess("--z", "-a"));
  // Letters are compared upper-cased, so "_" sorts after them.
  EXPECT_TRUE(ClHelpNameLess("--ab", "--a_b"));
}

std::string Listing(const ClParser &Root) {
  std::ostringstream Out;
  ClPrintHelp(Out, Root);
  return Out.str();
}

TEST(ClPrintHelp, EmptyTreePrintsOnlyTheHeading) {
  ClAny Root;
  EXPECT_EQ(Listing(Root), "Available command line options:\n");
}

TEST(ClPrintHelp, SortedCaseInsensitively) {
  ClAny Root;
  Root.Add(std::make_unique<ClOnce>(
      std::make_unique<ClFlagArg>(0, "gamma", "Third")));
  Root.Add(std::make_unique<ClOnce>(
      std::make_unique<ClFlagArg>(0, "beta", "Second")));
  auto &Inner = Root.Add(std::make_unique<ClOnlyOne>());
  Inner.Add(std::make_unique<ClOnce>(
      std::make_unique<ClFlagArg>(0, "Alpha", "First")));
  EXPECT_EQ(Listing(Root), "Available command line options:\n"
                           "--Alpha         First\n"
                           "--beta          Second\n"
                           "--gamma         Third\n");
}

TEST(ClPrintHelp, DebugOnlyAndRemovedOptionsAreLeftOut) {
  ClAny Root;
  auto Hidden = std::make_unique<ClFlagArg>(0, "hidden", "Hidden");
  Hidden->SetDebugOnly();
  auto Gone = std::make_unique<ClFlagArg>(0, "gone", "Gone");
  Gone->SetRemoved();
  auto Old = std::make_unique<ClFlagArg>(0, "old", "Old");
  Old->SetDeprecated();
  Root.Add(std::make_unique<ClOnce>(std::move(Hidden)));
  Root.Add(std::make_unique<ClOnce>(std::move(Gone)));
  Root.Add(std::make_unique<ClOnce>(std::move(Old)));
  Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(
      std::make_unique<ClCommandFileArg>(
          'f', "", "file", "Read command line options from file")));
  Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(
      std::make_unique<ClStringSetArg>(0, "check", "chk,chk,...",
                                       "Generate check(s)", ',')));
  EXPECT_EQ(Listing(Root), "Available command line options:\n"
                           "--check chk,chk,... \n"
                           "                Generate check(s)\n"
                           "--old           --- Deprecated ---\n"
                           "                Old\n"
                           "-f file         Read command line options from "
                           "file\n");
}

/// The options the listing shows, as objects: the same selection and order.
TEST(ClHelpOptions, SameSelectionAndOrderAsTheListing) {
  ClAny Root;
  ClFlagArg Gamma(0, "gamma", "Third");
  ClFlagArg Alpha(0, "Alpha", "First");
  ClFlagArg Hidden(0, "hidden", "Hidden");
  Hidden.SetDebugOnly();
  ClFlagArg Gone(0, "gone", "Gone");
  Gone.SetRemoved();
  ClCommandFileArg File('f', "", "file", "Read");
  Root.Add(std::make_unique<ClOnce>(Gamma));
  Root.Add(std::make_unique<ClOnce>(Hidden));
  Root.Add(std::make_unique<ClOnce>(File));
  auto &Inner = Root.Add(std::make_unique<ClOnlyOne>());
  Inner.Add(std::make_unique<ClOnce>(Alpha));
  Inner.Add(std::make_unique<ClOnce>(Gone));
  EXPECT_EQ(ClHelpOptions(Root),
            (std::vector<const ClArg *>{&Alpha, &Gamma, &File}));
  EXPECT_TRUE(ClHelpOptions(ClAny()).empty());
}

TEST(ClPrintHelp, ListingStartsAtColumnZeroOfItsOwnBuffer) {
  ClAny Root;
  Root.Add(std::make_unique<ClOnce>(
      std::make_unique<ClFlagArg>(0, "all", "Generate all checks")));
  std::ostringstream Out;
  Out << "prefix text ";
  ClPrintHelp(Out, Root);
  EXPECT_EQ(Out.str(), "prefix text Available command line options:\n"
                       "--all           Generate all checks\n");
}

} // namespace

// Tests of the completion data: shell words, value kinds and the arrays the
// script reads.
#include "docgen/DgCompletion.h"
#include "docgen/DgTemplate.h"

#include <gtest/gtest.h>

namespace {

TEST(DgShellWord, QuotesOnlyWhatNeedsIt) {
  const std::pair<const char *, const char *> Cases[] = {
      {"--all", "--all"}, {"i m n s", "'i m n s'"}, {"+", "+"},
      {".xcl", ".xcl"},   {"a'b", "'a'\\''b'"},     {"$x", "'$x'"},
      {"", "''"},
  };
  for (const auto &C : Cases)
    EXPECT_EQ(DgShellWord(C.first), C.second) << C.first;
}

TEST(DgCompletionKind, Words) {
  EXPECT_STREQ(DgCompletionKind(DgValueKind::None), "none");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::Text), "text");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::File), "file");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::CommandFile), "cmdfile");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::CheckNames), "checkname");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::Groups), "group");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::Packages), "package");
  EXPECT_STREQ(DgCompletionKind(DgValueKind::Tags), "tag");
}

TEST(DgCompletionData, Arrays) {
  DgOptionTable Table;
  DgOption All;
  All.LongName = "all";
  DgOption Deps;
  Deps.LongName = "deps";
  Deps.Kind = DgValueKind::File;
  Deps.ValueMayBeSeparate = true;
  Deps.TwoParameters = true;
  Deps.FirstParameterWords = {"i", "is"};
  Deps.LiteralValues = {"+"};
  DgOption File;
  File.ShortName = 'f';
  File.Kind = DgValueKind::CommandFile;
  File.ValueMayBeSeparate = true;
  File.DefaultExtension = ".xcl";
  DgOption Both;
  Both.LongName = "check";
  Both.ShortName = 'c';
  Both.Kind = DgValueKind::CheckNames;
  Table.Options = {All, Deps, File, Both};
  Table.Tags = {"Lc001", "Ms002"};
  EXPECT_EQ(DgCompletionData(Table), "declare -ga _chksel_options=(\n"
                                     "  --all\n"
                                     "  --deps\n"
                                     "  -f\n"
                                     "  --check\n"
                                     "  -c\n"
                                     ")\n"
                                     "declare -gA _chksel_kind=(\n"
                                     "  [--all]=none\n"
                                     "  [--deps]=file\n"
                                     "  [-f]=cmdfile\n"
                                     "  [--check]=checkname\n"
                                     "  [-c]=checkname\n"
                                     ")\n"
                                     "declare -gA _chksel_separate=(\n"
                                     "  [--deps]=1\n"
                                     "  [-f]=1\n"
                                     ")\n"
                                     "declare -gA _chksel_first_words=(\n"
                                     "  [--deps]='i is'\n"
                                     ")\n"
                                     "declare -gA _chksel_literals=(\n"
                                     "  [--deps]=+\n"
                                     ")\n"
                                     "declare -gA _chksel_extension=(\n"
                                     "  [-f]=.xcl\n"
                                     ")\n"
                                     "declare -ga _chksel_tags=(\n"
                                     "  Lc001\n"
                                     "  Ms002\n"
                                     ")\n");
}

TEST(DgCompletionScript, FillsTheTemplate) {
  EXPECT_EQ(DgCompletionScript("# head\n@OPTION_DATA@tail\n", DgOptionTable()),
            "# head\n"
            "declare -ga _chksel_options=(\n)\n"
            "declare -gA _chksel_kind=(\n)\n"
            "declare -gA _chksel_separate=(\n)\n"
            "declare -gA _chksel_first_words=(\n)\n"
            "declare -gA _chksel_literals=(\n)\n"
            "declare -gA _chksel_extension=(\n)\n"
            "declare -ga _chksel_tags=(\n)\n"
            "tail\n");
  EXPECT_THROW(DgCompletionScript("no data\n", DgOptionTable()),
               DgTemplateError);
}

} // namespace

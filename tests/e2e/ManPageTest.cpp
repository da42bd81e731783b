// End-to-end tests of the generated manual page: it lists exactly the
// options --help lists, with the same texts, has the sections of a manual
// page, and renders without warnings.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace e2e;

namespace {

/// Column at which the option list of --help starts descriptions.
constexpr std::size_t HelpColumn = 16;
/// Where the rendered page starts an option's names, and its description.
constexpr std::size_t ManTagColumn = 7;
constexpr std::size_t ManTextColumn = 14;

/// One option as a listing shows it: its names with the hint, and the lines
/// of its description.
struct Entry {
  std::string Tag;
  std::vector<std::string> Description;
};

bool operator==(const Entry &A, const Entry &B) {
  return A.Tag == B.Tag && A.Description == B.Description;
}

std::ostream &operator<<(std::ostream &Out, const Entry &E) {
  Out << "{" << E.Tag;
  for (const std::string &Line : E.Description)
    Out << " | " << Line;
  return Out << "}";
}

std::string TrimRight(std::string Text) {
  while (!Text.empty() && Text.back() == ' ')
    Text.pop_back();
  return Text;
}

/// The entries of the option list that --help prints. A name line that
/// ends in a blank carries no description (it starts on the next line);
/// otherwise the description starts at column 16.
std::vector<Entry> HelpEntries(const std::string &Help) {
  std::vector<Entry> Entries;
  bool InList = false;
  for (const std::string &Line : SplitLines(Help)) {
    if (Line == "Available command line options:") {
      InList = true;
      continue;
    }
    if (!InList || Line.empty())
      continue;
    if (Line[0] == '-') {
      std::string Tag = Line;
      std::string Text;
      if (Line.back() != ' ' && Line.size() > HelpColumn) {
        Tag = Line.substr(0, HelpColumn);
        Text = Line.substr(HelpColumn);
      }
      if (!Entries.empty() && Entries.back().Description.empty())
        Entries.back().Tag += ", " + TrimRight(Tag);
      else
        Entries.push_back({TrimRight(Tag), {}});
      if (!Text.empty())
        Entries.back().Description.push_back(Text);
    } else if (!Entries.empty()) {
      Entries.back().Description.push_back(Line.substr(HelpColumn));
    }
  }
  return Entries;
}

/// The page rendered as plain text, without wrapping its lines.
std::string Render(const std::string &Page) {
  RunResult R = e2e::Run(FindProgram("groff"),
                         {"-man", "-Tascii", "-P-cbou", "-rLL=250n", Page});
  EXPECT_EQ(R.Status, 0) << R.Err;
  return R.Out;
}

/// The section headings of a rendered page, in order.
std::vector<std::string> Headings(const std::string &Rendered) {
  std::vector<std::string> Result;
  for (const std::string &Line : SplitLines(Rendered))
    if (!Line.empty() && Line[0] >= 'A' && Line[0] <= 'Z' &&
        Line.find("(1)") == std::string::npos &&
        Line.find("chksel 1") == std::string::npos)
      Result.push_back(Line);
  return Result;
}

/// The entries of the OPTIONS section of a rendered page: a tag at column
/// 7, its description beside it (after two blanks) or below it at column
/// 14.
std::vector<Entry> ManEntries(const std::string &Rendered) {
  std::vector<Entry> Entries;
  bool InOptions = false;
  for (const std::string &Line : SplitLines(Rendered)) {
    if (!Line.empty() && Line[0] != ' ') {
      InOptions = Line == "OPTIONS";
      continue;
    }
    if (!InOptions || TrimRight(Line).empty())
      continue;
    if (Line.compare(0, ManTagColumn, std::string(ManTagColumn, ' ')) == 0 &&
        Line[ManTagColumn] == '-') {
      std::string Tag = Line.substr(ManTagColumn);
      std::string Text;
      const std::size_t Gap = Tag.find("  ");
      if (Gap != std::string::npos) {
        Text = Line.substr(ManTextColumn);
        Tag = Tag.substr(0, Gap);
      }
      Entries.push_back({Tag, {}});
      if (!Text.empty())
        Entries.back().Description.push_back(Text);
    } else if (!Entries.empty()) {
      Entries.back().Description.push_back(Line.substr(ManTextColumn));
    }
  }
  return Entries;
}

class ManPageTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_FALSE(FindProgram("groff").empty()) << "groff is needed";
    ASSERT_TRUE(Exists(Page)) << Page;
  }
  std::string Page = BuildPath("man/chksel.1");
};

TEST_F(ManPageTest, ListsTheOptionsOfHelpWithTheirTexts) {
  RunResult Help = RunChksel({"--help"});
  ASSERT_EQ(Help.Status, 0);
  const std::vector<Entry> FromHelp = HelpEntries(Help.Out);
  ASSERT_GE(FromHelp.size(), 20u) << Help.Out;
  EXPECT_EQ(ManEntries(Render(Page)), FromHelp);
}

TEST_F(ManPageTest, HasTheSectionsOfAManualPage) {
  const std::vector<std::string> Expected = {
      "NAME",        "SYNOPSIS", "DESCRIPTION",      "OPTIONS",  "EXIT STATUS",
      "ENVIRONMENT", "FILES",    "DEPENDENCY LISTS", "EXAMPLES", "SEE ALSO"};
  EXPECT_EQ(Headings(Render(Page)), Expected);
}

TEST_F(ManPageTest, NameLineAndEnvironment) {
  const std::string Text = Render(Page);
  EXPECT_NE(Text.find("\nNAME\n       chksel - select Ruvex static-analysis "
                      "checks from the checks manifest\n"),
            std::string::npos)
      << Text;
  EXPECT_NE(Text.find("\n       ZOR_INTERNAL__USE_FAKE_SIGNON\n"),
            std::string::npos);
}

TEST_F(ManPageTest, GroffReportsNoWarnings) {
  RunResult R = e2e::Run(FindProgram("groff"), {"-man", "-ww", "-z", Page});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "");
}

TEST_F(ManPageTest, ManRendersItWithoutWarnings) {
  const std::string Man = FindProgram("man");
  ASSERT_FALSE(Man.empty()) << "man is needed";
  RunOptions Options;
  Options.Env["MANWIDTH"] = "80";
  Options.Env["LC_ALL"] = "C.UTF-8";
  Options.Env["MANPAGER"] = "cat";
  RunResult R = e2e::Run(Man, {"--warnings", "-l", Page}, Options);
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_NE(R.Out.find("CHKSEL(1)"), std::string::npos) << R.Out;
}

} // namespace

// Tests of the manual page's roff: escaping, option tags, option entries and
// the filled template.
#include "docgen/DgManPage.h"
#include "docgen/DgTemplate.h"

#include <gtest/gtest.h>

namespace {

struct RoffCase {
  const char *Text;
  const char *Roff;
};

TEST(DgRoffText, Escapes) {
  const RoffCase Cases[] = {
      {"", ""},
      {"plain text", "plain text"},
      {"--all", "\\-\\-all"},
      {"a\\b", "a\\eb"},
      {".d extension", "\\&.d extension"},
      {"'quoted'", "\\&'quoted'"},
      {"(+: output same as -o, only with .d extension)",
       "(+: output same as \\-o, only with .d extension)"},
      {"   i     Include", "   i     Include"},
  };
  for (const RoffCase &C : Cases)
    EXPECT_EQ(DgRoffText(C.Text), C.Roff) << C.Text;
}

DgOption Option(const std::string &Long, char Short, const std::string &Hint,
                bool Separate, const std::string &Description) {
  DgOption O;
  O.LongName = Long;
  O.ShortName = Short;
  O.Hint = Hint;
  O.HintSeparate = Separate;
  O.Description = Description;
  return O;
}

TEST(DgManOptionTag, Forms) {
  EXPECT_EQ(DgManOptionTag(Option("all", 0, "", false, "x")),
            "\\fB\\-\\-all\\fR");
  EXPECT_EQ(DgManOptionTag(Option("output", 0, "file", true, "x")),
            "\\fB\\-\\-output\\fR \\fIfile\\fR");
  EXPECT_EQ(DgManOptionTag(Option("deps", 0, "[i|m] file", false, "x")),
            "\\fB\\-\\-deps\\fR=\\fI[i|m] file\\fR");
  EXPECT_EQ(DgManOptionTag(Option("", 'f', "file", true, "x")),
            "\\fB\\-f\\fR \\fIfile\\fR");
  EXPECT_EQ(DgManOptionTag(Option("name", 'x', "file", false, "x")),
            "\\fB\\-\\-name\\fR=\\fIfile\\fR, \\fB\\-x\\fR\\fIfile\\fR");
  EXPECT_EQ(DgManOptionTag(Option("", 's', "", false, "x")), "\\fB\\-s\\fR");
}

TEST(DgManOptions, OneLineAndSeveralLines) {
  EXPECT_EQ(DgManOptions({Option("all", 0, "", false, "Generate all checks"),
                          Option("deps", 0, "file", true,
                                 "List file dependencies\n"
                                 "   i     Include filename only\n"
                                 "(+: output same as -o)")}),
            ".TP\n"
            "\\fB\\-\\-all\\fR\n"
            "Generate all checks\n"
            ".TP\n"
            "\\fB\\-\\-deps\\fR \\fIfile\\fR\n"
            ".nf\n"
            "List file dependencies\n"
            "   i     Include filename only\n"
            "(+: output same as \\-o)\n"
            ".fi\n");
  EXPECT_EQ(DgManOptions({}), "");
}

TEST(DgManPage, FillsTheTemplate) {
  DgOptionTable Table;
  Table.Options.push_back(Option("all", 0, "", false, "Generate all checks"));
  EXPECT_EQ(DgManPage(".TH X 1 \"@DATE@\" \"x @VERSION@\"\n"
                      ".SH OPTIONS\n"
                      "@OPTIONS@\n"
                      ".SH END\n",
                      Table, "1.2-3", "2024-01-02"),
            ".TH X 1 \"2024\\-01\\-02\" \"x 1.2\\-3\"\n"
            ".SH OPTIONS\n"
            ".TP\n"
            "\\fB\\-\\-all\\fR\n"
            "Generate all checks\n"
            ".SH END\n");
}

TEST(DgManPage, TemplateWithoutOptionsIsRefused) {
  EXPECT_THROW(
      DgManPage(".TH X 1 @DATE@ @VERSION@\n", DgOptionTable(), "1", "2"),
      DgTemplateError);
}

} // namespace

// Filling in the framework's own texts: fill-in numbers, "%%", and the
// references that are defects of a format.
#include "setup/SuFormat.h"

#include "general/GeInternalFailure.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

TEST(SuFormatTest, Table) {
  const struct {
    const char *Format;
    std::vector<std::string> FillIns;
    const char *Text;
  } Cases[] = {
      {"", {}, ""},
      {"plain", {}, "plain"},
      {"%s", {"a"}, "a"},
      {"%s0 %s1", {"a"}, "a a"},
      {"%s2-%s1", {"a", "b"}, "b-a"},
      {"100%%", {}, "100%"},
      {"%s1 (%s2) at %s3", {"Breakpoint", "0x80000003", "0x10", "0x0"},
       "Breakpoint (0x80000003) at 0x10"},
      {"x%s1y", {"%s2"}, "x%s2y"},
      {"%s1 V%s2", {"", ""}, " V"},
  };
  for (const auto &Case : Cases)
    EXPECT_EQ(SuFormat(Case.Format, Case.FillIns), Case.Text) << Case.Format;
}

void Throw(const std::string &Text) { throw std::logic_error(Text); }

TEST(SuFormatTest, DefectsOfAFormatAreInternalFailures) {
  const GeInternalFailureHandler Previous = GeSetInternalFailureHandler(&Throw);
  const struct {
    const char *Format;
    const char *Failure;
  } Cases[] = {
      {"%s2", "SuFormat: bad fill-in reference in \"%s2\""},
      {"%sq", "SuFormat: bad fill-in reference in \"%sq\""},
      {"%p", "SuFormat: bad format \"%p\""},
      {"%d", "SuFormat: bad format \"%d\""},
      {"end %", "SuFormat: bad format \"end %\""},
  };
  for (const auto &Case : Cases) {
    try {
      SuFormat(Case.Format, {"one"});
      ADD_FAILURE() << Case.Format << ": no failure";
    } catch (const std::logic_error &Failure) {
      EXPECT_STREQ(Failure.what(), Case.Failure);
    }
  }
  GeSetInternalFailureHandler(Previous);
}

} // namespace

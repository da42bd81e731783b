// Tests of template filling: placeholders, other at signs, and templates
// that do not fit their values.
#include "docgen/DgTemplate.h"

#include <gtest/gtest.h>

namespace {

TEST(DgFillTemplate, ReplacesEveryPlaceholder) {
  EXPECT_EQ(DgFillTemplate("a @X@ b @Y_2@ c @X@", {{"X", "1"}, {"Y_2", "two"}}),
            "a 1 b two c 1");
}

TEST(DgFillTemplate, KeepsAtSignsThatAreNoPlaceholders) {
  EXPECT_EQ(
      DgFillTemplate("mail a@b.c, $@ and @lower@ and @@ @X@", {{"X", "x"}}),
      "mail a@b.c, $@ and @lower@ and @@ x");
  EXPECT_EQ(DgFillTemplate("ends with @", {}), "ends with @");
}

TEST(DgFillTemplate, ValuesAreNotScannedAgain) {
  EXPECT_EQ(DgFillTemplate("@X@", {{"X", "@X@"}}), "@X@");
}

TEST(DgFillTemplate, PlaceholderWithoutValue) {
  try {
    DgFillTemplate("a @MISSING@ b", {});
    FAIL() << "no error";
  } catch (const DgTemplateError &Error) {
    EXPECT_STREQ(Error.what(), "no value for the placeholder @MISSING@");
  }
}

TEST(DgFillTemplate, ValueWithoutPlaceholder) {
  try {
    DgFillTemplate("a @X@ b", {{"X", "1"}, {"UNUSED", "2"}});
    FAIL() << "no error";
  } catch (const DgTemplateError &Error) {
    EXPECT_STREQ(Error.what(), "the placeholder @UNUSED@ does not occur");
  }
}

} // namespace

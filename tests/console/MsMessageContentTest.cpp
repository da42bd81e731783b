// Tests of the format scanner and the console's own plain content.
#include "console/MsMessageContent.h"
#include "console/MsFormatScanner.h"

#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

/// The items of Format, one per string: "T:<text>", "%", "s<mod><index>",
/// "p<mod><index>", "bad".
std::vector<std::string> Scan(const std::string &Format) {
  std::vector<std::string> Items;
  MsFormatScanner Scanner(Format);
  MsFormatItem Item;
  while (Scanner.Next(Item)) {
    std::string Mod = Item.Modifier ? std::string(1, Item.Modifier) : "";
    switch (Item.Type) {
    case MsFormatItem::Text:
      Items.push_back("T:" + Format.substr(Item.Begin, Item.Length));
      break;
    case MsFormatItem::Percent:
      Items.push_back("%");
      break;
    case MsFormatItem::String:
      Items.push_back("s" + Mod + std::to_string(Item.Index));
      break;
    case MsFormatItem::Position:
      Items.push_back("p" + Mod + std::to_string(Item.Index));
      break;
    case MsFormatItem::BadLetter:
      Items.push_back("bad");
      break;
    }
  }
  return Items;
}

TEST(MsFormatScannerTest, Table) {
  using V = std::vector<std::string>;
  struct Case {
    const char *Format;
    V Items;
  } Cases[] = {
      {"", V{}},
      {"plain text", V{"T:plain text"}},
      {"%%", V{"%"}},
      {"a%%b", V{"T:a", "%", "T:b"}},
      {"%s", V{"s0"}},
      {"%s0", V{"s0"}},
      {"%s1", V{"s0"}},
      {"%s2", V{"s1"}},
      {"%s12x", V{"s11", "T:x"}},
      {"%sq", V{"sq0"}},
      {"%sq2", V{"sq1"}},
      {"%su3", V{"su2"}},
      {"%sx", V{"s0", "T:x"}},
      {"%squote", V{"sq0", "T:uote"}},
      {"%p", V{"p0"}},
      {"%pv", V{"pv0"}},
      {"%pv2", V{"pv1"}},
      {"%pq", V{"p0", "T:q"}},
      {"%s1%s2", V{"s0", "s1"}},
      {"%d", V{"bad"}},
      {"ab%", V{"T:ab", "bad"}},
      {"%x and more", V{"bad"}},
      {"%s99999999999", V{"s4294967294"}},
      {"in %sq:", V{"T:in ", "sq0", "T::"}},
  };
  for (const Case &C : Cases)
    EXPECT_EQ(Scan(C.Format), C.Items) << C.Format;
}

std::string PlainText(const std::string &Format, const MsFillIns &FillIns) {
  return MsPlainMessageContent(Format, FillIns).Text();
}

TEST(MsPlainMessageContentTest, FormatLanguage) {
  OneFile File("f.c", {"1", "2"});
  MsFillIns Two{"one", "two"};
  EXPECT_EQ(PlainText("%s0 %s1 %s", MsFillIns{"x"}), "x x x");
  EXPECT_EQ(PlainText("%sq2 %sq1", Two), "\"two\" \"one\"");
  EXPECT_EQ(PlainText("%su", MsFillIns{"a b"}), "\"a b\"");
  EXPECT_EQ(PlainText("100%% %s", MsFillIns{"%s%p"}), "100% %s%p");
  MsFillIns Pos;
  Pos.Add(File.At(2, 1)).Add(DiSourceRange());
  EXPECT_EQ(PlainText("%p / %pv / [%p2]", Pos),
            "\"f.c\", line 2 / at line 2 of \"f.c\" / []");
  MsFillIns Pre{"rest"};
  Pre.Preformatted = true;
  EXPECT_EQ(PlainText("100% done %s ", Pre), "100% done %s rest");
}

TEST(MsPlainMessageContentTest, WriteIgnoresWidth) {
  MsPlainMessageContent C("%s", MsFillIns{std::string(100, 'a') + " b"});
  std::ostringstream Out;
  C.Write(Out, 50, 79, 0);
  EXPECT_EQ(Out.str(), std::string(100, 'a') + " b");
  std::ostringstream Unwrapped;
  C.WriteUnwrapped(Unwrapped);
  EXPECT_EQ(Unwrapped.str(), Out.str());
}

TEST(MsPlainMessageContentTest, Defects) {
  ThrowingFailureScope Scope;
  OneFile File("f.c", {"1"});
  MsFillIns Pos;
  Pos.Add(File.At(1, 3));
  struct Case {
    const char *Format;
    MsFillIns FillIns;
    const char *Failure;
  } Cases[] = {
      {"%s2", MsFillIns{"x"}, "MsConsole: missing string substitution"},
      {"%s", MsFillIns{}, "MsConsole: missing string substitution"},
      {"%p", MsFillIns{"x"}, "MsConsole: missing source position substitution"},
      {"%z", MsFillIns{}, "Unrecognized error format char"},
      {"50%", MsFillIns{}, "Unrecognized error format char"},
      {"none", MsFillIns{"x y"},
       "MsConsole: unused string substitution s1 (\"x y\")"},
      {"%s2", MsFillIns{"a", "b"},
       "MsConsole: unused string substitution s1 (\"a\")"},
      {"none", Pos, "MsConsole: unused string substitution s1 (\"f.c\\1:3\")"},
  };
  for (const Case &C : Cases) {
    try {
      PlainText(C.Format, C.FillIns);
      ADD_FAILURE() << "no failure for " << C.Format;
    } catch (const InternalFailure &E) {
      EXPECT_EQ(std::string(E.what()), C.Failure) << C.Format;
    }
  }
}

} // namespace

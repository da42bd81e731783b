// Tests of the bundled sample manifest: its form, and that every selection
// mode finds something in it.
#include "tool/LcSelection.h"

#include "tests/tool/LcToolTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

const std::string SamplePath =
    std::string(CHKSEL_SOURCE_DIR) + "/config/ruvex/ruvex_checks.txt";

std::vector<std::string> Lines(const std::string &Text) {
  std::vector<std::string> Result;
  std::istringstream In(Text);
  std::string Line;
  while (std::getline(In, Line))
    Result.push_back(Line);
  return Result;
}

std::vector<std::string> Select(LcSelectionMode Mode,
                                const std::vector<std::string> &Requested) {
  std::istringstream In(lctest::ReadFile(SamplePath));
  std::ostringstream Out;
  LcSelectFromStream(Mode, In, Out, Requested);
  return Lines(Out.str());
}

bool Contains(const std::vector<std::string> &Names, const std::string &Name) {
  return std::find(Names.begin(), Names.end(), Name) != Names.end();
}

TEST(SampleManifest, Form) {
  std::string Text = lctest::ReadFile(SamplePath);
  ASSERT_GE(Text.size(), 2u);
  EXPECT_EQ(Text.substr(Text.size() - 2), "\n\n")
      << "the last record counts only when an empty line follows it";
  EXPECT_EQ(Text.find('\r'), std::string::npos);
  EXPECT_EQ(Text.find("\n\n\n"), std::string::npos);
  EXPECT_EQ(Text.compare(0, 10, "checkname="), 0);
}

TEST(SampleManifest, AllChecks) {
  std::vector<std::string> All = Select(LcSelectionMode::AllChecks, {});
  ASSERT_EQ(All.size(), 280u) << "300 checks, 20 of them hidden";
  EXPECT_EQ(All.front(), "MEM-leak-on-return");
  EXPECT_EQ(All.back(), "PRT-char-signedness-in-serializer");
  EXPECT_FALSE(Contains(All, "MEM-stale-handle-in-constructor"));
}

TEST(SampleManifest, NamedChecks) {
  EXPECT_EQ(
      Select(LcSelectionMode::NamedChecks,
             {"sty-long-line-in-header", "MEM-stale-handle-in-constructor"}),
      std::vector<std::string>{"STY-long-line-in-header"});
}

TEST(SampleManifest, DefaultChecksOfPackage) {
  std::vector<std::string> Core =
      Select(LcSelectionMode::DefaultChecksOfPackages, {"core"});
  EXPECT_EQ(Core.size(), 112u);
  EXPECT_EQ(Core.front(), "MEM-leak-on-return");
}

TEST(SampleManifest, ChecksOfGroup) {
  std::vector<std::string> Threads =
      Select(LcSelectionMode::ChecksOfGroups, {"threads"});
  EXPECT_EQ(Threads.size(), 28u);
  EXPECT_EQ(Threads.front(), "CONC-unguarded-write-in-constructor");
  std::vector<std::string> Memory =
      Select(LcSelectionMode::ChecksOfGroups, {"memory"});
  EXPECT_TRUE(Contains(Memory, "PTR-null-deref-after-move"))
      << "a pointer check in its second group";
}

TEST(SampleManifest, ChecksOfPackage) {
  EXPECT_EQ(Select(LcSelectionMode::ChecksOfPackages, {"style"}).size(), 56u);
}

} // namespace

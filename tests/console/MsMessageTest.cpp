// Tests of released messages and the visitor over their kinds.
#include "console/MsMessage.h"

#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace mstest;

namespace {

/// Records which operation was called.
class NamingVisitor : public MsMessage::Visitor {
public:
  void DoAbort(const MsMessage &) override { Called.push_back("abort"); }
  void DoOutOfMemory(const MsMessage &) override { Called.push_back("oom"); }
  void DoFatalError(const MsMessage &) override { Called.push_back("fatal"); }
  void DoCommandLineError(const MsMessage &) override {
    Called.push_back("cmdline");
  }
  void DoError(const MsMessage &) override { Called.push_back("error"); }
  void DoWarning(const MsMessage &) override { Called.push_back("warning"); }
  void DoRemark(const MsMessage &) override { Called.push_back("remark"); }
  void DoInformation(const MsMessage &) override { Called.push_back("info"); }
  void DoInternalError(const MsMessage &) override {
    Called.push_back("internal");
  }
  void DoText(const MsMessage &) override { Called.push_back("text"); }
  void DoDependFile(const MsMessage &) override { Called.push_back("depend"); }
  void DoSystemDependFile(const MsMessage &) override {
    Called.push_back("system");
  }
  void DoOutputFile(const MsMessage &) override { Called.push_back("output"); }
  void DoIncludeFile(const MsMessage &) override {
    Called.push_back("include");
  }
  std::vector<std::string> Called;
};

TEST(MsMessageTest, VisitCallsTheOperationOfTheKind) {
  const char *Expected[] = {"abort", "oom",      "fatal",   "cmdline",
                            "error", "error",    "warning", "remark",
                            "info",  "internal", "depend",  "system",
                            "text",  "output",   "include"};
  for (int Kind = 0; Kind <= 14; ++Kind) {
    NamingVisitor V;
    MsMessage(Kind, MsTag(), DiSourceRange(), nullptr).Visit(V);
    ASSERT_EQ(V.Called.size(), 1u) << Kind;
    EXPECT_EQ(V.Called[0], Expected[Kind]) << Kind;
  }
}

/// Overrides only the file-dependency operation.
class DependOnly : public MsMessage::Visitor {
public:
  void DoDependFile(const MsMessage &M) override { Kinds.push_back(M.Kind()); }
  std::vector<int> Kinds;
};

TEST(MsMessageTest, SystemFileForwardsToDependFileByDefault) {
  DependOnly V;
  for (int Kind = 0; Kind <= 14; ++Kind)
    MsMessage(Kind, MsTag(), DiSourceRange(), nullptr).Visit(V);
  EXPECT_EQ(V.Kinds, (std::vector<int>{10, 11}));
}

TEST(MsMessageTest, UnknownKindIsInternalFailure) {
  ThrowingFailureScope Scope;
  MsMessage::Visitor V;
  for (int Kind : {-1, 15, 100}) {
    try {
      MsMessage(Kind, MsTag(), DiSourceRange(), nullptr).Visit(V);
      FAIL() << Kind;
    } catch (const InternalFailure &E) {
      EXPECT_EQ(std::string(E.what()), "Unknown message kind");
    }
  }
}

TEST(MsMessageTest, Accessors) {
  OneFile File("f", {"a", "b"});
  DiSourceRange R(File.At(1, 2), File.At(2, 3));
  MsMessage M(MsMessage::KindWarning, MsTag("Ms", 4), R,
              std::make_unique<MsPlainMessageContent>("t %sq", MsFillIns{"x"}));
  EXPECT_EQ(M.Kind(), 6);
  EXPECT_TRUE(M.HasTag());
  EXPECT_EQ(M.Tag(), MsTag("Ms", 4));
  EXPECT_TRUE(M.HasPosition());
  EXPECT_EQ(M.Position(), File.At(1, 2));
  EXPECT_EQ(M.Range().End, File.At(2, 3));
  EXPECT_EQ(M.Text(), "t \"x\"");
  MsMessage Bare(MsMessage::KindAbort, MsTag(), DiSourceRange(), nullptr);
  EXPECT_FALSE(Bare.HasTag());
  EXPECT_FALSE(Bare.HasPosition());
  EXPECT_EQ(Bare.Content(), nullptr);
  EXPECT_EQ(Bare.Text(), "");
  EXPECT_TRUE(MsMessage::IsDiagnosticKind(2));
  EXPECT_TRUE(MsMessage::IsDiagnosticKind(7));
  EXPECT_FALSE(MsMessage::IsDiagnosticKind(1));
  EXPECT_FALSE(MsMessage::IsDiagnosticKind(8));
}

} // namespace

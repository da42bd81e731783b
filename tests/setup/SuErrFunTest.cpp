// Texts and report operations of the unexpected-failure reports.
#include "setup/SuErrFun.h"

#include "console/MsConsoleConcrete.h"
#include "general/GeInternalFailure.h"

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

/// Thrown by the test's internal-failure handler in place of ending the
/// process.
struct InternalFailure {
  std::string Text;
};

void ThrowInternalFailure(const std::string &Text) {
  throw InternalFailure{Text};
}

class SuErrFunTest : public ::testing::Test {
protected:
  void SetUp() override {
    Previous = GeSetInternalFailureHandler(&ThrowInternalFailure);
  }
  void TearDown() override { GeSetInternalFailureHandler(Previous); }

  /// The text the report hands to the internal-error exit.
  static std::string ReportedText(ErrFun &Report) {
    try {
      Report.Report();
    } catch (const InternalFailure &Failure) {
      return Failure.Text;
    }
    ADD_FAILURE() << "the report returned";
    return "";
  }

  GeInternalFailureHandler Previous = nullptr;
};

struct NameCase {
  std::uint32_t Code;
  const char *Name;
};

TEST(SuExceptionNameTest, EveryTableCodeHasItsName) {
  const NameCase Cases[] = {
      {0xC0000005, "Access violation"},
      {0x80000002, "Datatype misalignment"},
      {0x80000003, "Breakpoint"},
      {0x80000004, "Single step"},
      {0xC000008C, "Array bounds exceeded"},
      {0xC000008D, "Flt denormaloperand"},
      {0xC000008E, "Flt divide by zero"},
      {0xC000008F, "Flt inexact result"},
      {0xC0000090, "Flt invalid operation"},
      {0xC0000091, "Flt overflow"},
      {0xC0000092, "Flt stack check"},
      {0xC0000093, "Flt Underflow"},
      {0xC0000094, "Int divide by zero"},
      {0xC0000095, "Int overflow"},
      {0xC0000096, "Priv instruction"},
      {0xC0000006, "In page error"},
      {0xC000001D, "Illegal instruction"},
      {0xC0000025, "Noncontinuable exception"},
      {0xC00000FD, "Stack overflow"},
      {0xC0000026, "Invalid disposition"},
      {0x80000001, "Guard page"},
      {0xC0000008, "Invalid handle"},
  };
  for (const NameCase &Case : Cases)
    EXPECT_STREQ(SuExceptionName(Case.Code), Case.Name)
        << std::hex << Case.Code;
}

TEST(SuExceptionNameTest, UnknownCodesHaveTheGeneralName) {
  for (std::uint32_t Code : {0u, 0xC0000007u, 0xE0000008u, 0xFFFFFFFFu})
    EXPECT_STREQ(SuExceptionName(Code), "Unexpected windows exception")
        << std::hex << Code;
}

struct TextCase {
  std::uint32_t Code;
  std::uint64_t Address;
  std::uint64_t AccessKind;
  std::uint64_t DataAddress;
  const char *Text;
};

TEST(SuWindowsExceptionTextTest, Texts) {
  const TextCase Cases[] = {
      {0xC0000005, 0x401A2B, 0, 0,
       "Access violation (0xC0000005) at 0x401A2B (reading from address "
       "0x0)"},
      {0xC0000005, 0x7F00DEADBEEF, 1, 0x1000,
       "Access violation (0xC0000005) at 0x7F00DEADBEEF (writing to address "
       "0x1000)"},
      // Any nonzero access kind is a write.
      {0xC0000005, 0x10, 8, 0xFFFFFFFFFFFFFFFF,
       "Access violation (0xC0000005) at 0x10 (writing to address "
       "0xFFFFFFFFFFFFFFFF)"},
      {0xC0000094, 0xABCDEF, 0, 0,
       "Int divide by zero (0xC0000094) at 0xABCDEF"},
      // Only an access violation gets the access clause.
      {0xC00000FD, 0x1234, 1, 0x5678, "Stack overflow (0xC00000FD) at 0x1234"},
      {0x80000003, 0, 0, 0, "Breakpoint (0x80000003) at 0x0"},
      {0x1, 0x2, 0, 0, "Unexpected windows exception (0x1) at 0x2"},
      {0xE0000008, 0x9, 0, 0,
       "Unexpected windows exception (0xE0000008) at 0x9"},
  };
  for (const TextCase &Case : Cases)
    EXPECT_EQ(UnexpectedWindowsException(Case.Code, Case.Address,
                                         Case.AccessKind, Case.DataAddress)
                  .Text(),
              Case.Text);
}

TEST(SuWindowsExceptionTextTest, MadeFromAProcessorFault) {
  SuProcessorFault Fault;
  Fault.Code = SuCodeAccessViolation;
  Fault.InstructionAddress = 0xC0DE;
  Fault.AccessKind = 1;
  Fault.DataAddress = 0xBAD;
  EXPECT_EQ(UnexpectedWindowsException(Fault).Text(),
            "Access violation (0xC0000005) at 0xC0DE (writing to address "
            "0xBAD)");
}

TEST_F(SuErrFunTest, UnexpectedExceptionReportsItsText) {
  UnexpectedException Report;
  EXPECT_EQ(Report.Text(), "Unexpected exception");
  EXPECT_EQ(ReportedText(Report), "Unexpected exception");
}

TEST_F(SuErrFunTest, StdExceptionReportsItsDescription) {
  std::runtime_error Caught("boom");
  UnexpectedStdException Report(Caught.what());
  EXPECT_EQ(ReportedText(Report), "Unexpected exception: boom");
}

TEST_F(SuErrFunTest, EmptyDescriptionKeepsTheTrailingBlank) {
  UnexpectedStdException Report("");
  EXPECT_EQ(ReportedText(Report), "Unexpected exception: ");
}

TEST_F(SuErrFunTest, DescriptionIsACopy) {
  std::string Description = "first";
  UnexpectedStdException Report(Description.c_str());
  Description = "second";
  EXPECT_EQ(ReportedText(Report), "Unexpected exception: first");
}

TEST_F(SuErrFunTest, WindowsExceptionReportsItsText) {
  UnexpectedWindowsException Report(0xC0000005, 0x401000, 0, 0);
  EXPECT_EQ(ReportedText(Report),
            "Access violation (0xC0000005) at 0x401000 (reading from address "
            "0x0)");
}

TEST_F(SuErrFunTest, ReportsWorkThroughTheBase) {
  std::unique_ptr<ErrFun> Report = std::make_unique<UnexpectedException>();
  EXPECT_EQ(ReportedText(*Report), "Unexpected exception");
}

TEST(SuInternalErrorExitTest, EndsTheProcessWithStatusOne) {
  EXPECT_EXIT(
      {
        GeSetInternalFailureHandler(nullptr);
        SuInternalErrorExit("gone");
      },
      ::testing::ExitedWithCode(1), "gone");
}

TEST(NoMoreMemoryTest, IsOneStaticInstance) {
  MsConsoleConcrete First;
  MsConsoleConcrete Second;
  EXPECT_EQ(&NoMoreMemory::Instance(First), &NoMoreMemory::Instance(Second));
}

TEST(NoMoreMemoryTest, IssuesTheConsolesMessageAndReturns) {
  std::ostringstream Errors;
  std::ostringstream Out;
  MsConsoleConcrete Console(Errors, Out);
  MsConsoleConcrete Other(Errors, Out);
  NoMoreMemory::Instance(Other);
  ErrFun &Report = NoMoreMemory::Instance(Console);
  Report.Report();
  EXPECT_EQ(Errors.str(), "Out of memory\n");
  EXPECT_TRUE(Console.IsAborted());
  EXPECT_FALSE(Other.IsAborted());
}

} // namespace

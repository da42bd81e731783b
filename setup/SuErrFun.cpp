// Texts and report operations of the unexpected-failure reports.
#include "setup/SuErrFun.h"

#include "console/MsConsole.h"
#include "general/GeHex.h"
#include "general/GeInternalFailure.h"
#include "console/MsMessageContent.h"

namespace {

/// The report texts, whole, in the format language of messages. In the
/// system-exception texts %s1 is the exception's name, %s2 its code, %s3 the
/// faulting instruction's address and %s4 the data address of an access
/// violation.
enum ReportTextTag {
  UnexpectedExceptionText,
  UnexpectedStdExceptionText,
  UnknownCodeText,
  SystemExceptionText,
  ReadAccessViolationText,
  WriteAccessViolationText
};

const char *const ReportTexts[] = {
    "Unexpected exception",
    "Unexpected exception: %s1",
    "Unexpected windows exception",
    "%s1 (%s2) at %s3",
    "%s1 (%s2) at %s3 (reading from address %s4)",
    "%s1 (%s2) at %s3 (writing to address %s4)",
};

const char *ReportText(ReportTextTag Tag) { return ReportTexts[Tag]; }

struct ExceptionNameEntry {
  std::uint32_t Code;
  const char *Name;
};

/// Structured-exception names, searched in this order.
const ExceptionNameEntry ExceptionNames[] = {
    {SuCodeAccessViolation, "Access violation"},
    {SuCodeDatatypeMisalignment, "Datatype misalignment"},
    {SuCodeBreakpoint, "Breakpoint"},
    {SuCodeSingleStep, "Single step"},
    {SuCodeArrayBoundsExceeded, "Array bounds exceeded"},
    {SuCodeFltDenormalOperand, "Flt denormaloperand"},
    {SuCodeFltDivideByZero, "Flt divide by zero"},
    {SuCodeFltInexactResult, "Flt inexact result"},
    {SuCodeFltInvalidOperation, "Flt invalid operation"},
    {SuCodeFltOverflow, "Flt overflow"},
    {SuCodeFltStackCheck, "Flt stack check"},
    // The capital U is how the name has always been spelt.
    {SuCodeFltUnderflow, "Flt Underflow"},
    {SuCodeIntDivideByZero, "Int divide by zero"},
    {SuCodeIntOverflow, "Int overflow"},
    {SuCodePrivInstruction, "Priv instruction"},
    {SuCodeInPageError, "In page error"},
    {SuCodeIllegalInstruction, "Illegal instruction"},
    {SuCodeNoncontinuableException, "Noncontinuable exception"},
    {SuCodeStackOverflow, "Stack overflow"},
    {SuCodeInvalidDisposition, "Invalid disposition"},
    {SuCodeGuardPage, "Guard page"},
    {SuCodeInvalidHandle, "Invalid handle"},
};

} // namespace

void SuInternalErrorExit(const std::string &Text) { GeInternalFailure(Text); }

const char *SuExceptionName(std::uint32_t Code) {
  for (const ExceptionNameEntry &Entry : ExceptionNames)
    if (Entry.Code == Code)
      return Entry.Name;
  return ReportText(UnknownCodeText);
}

ErrFun::~ErrFun() = default;

NoMoreMemory &NoMoreMemory::Instance(MsConsole &Console) {
  static NoMoreMemory TheInstance;
  TheInstance.Served = &Console;
  return TheInstance;
}

void NoMoreMemory::Report() {
  if (Served)
    Served->ReportOutOfMemory();
}

UnexpectedStdException::UnexpectedStdException(const char *What)
    : Description(What ? What : "") {}

std::string UnexpectedStdException::Text() const {
  return MsPlainMessageContent(ReportText(UnexpectedStdExceptionText),
                               {Description})
      .Text();
}

void UnexpectedStdException::Report() { SuInternalErrorExit(Text()); }

std::string UnexpectedException::Text() const {
  return ReportText(UnexpectedExceptionText);
}

void UnexpectedException::Report() { SuInternalErrorExit(Text()); }

UnexpectedWindowsException::UnexpectedWindowsException(
    std::uint32_t ExceptionCode, std::uint64_t Address, std::uint64_t Kind,
    std::uint64_t Data)
    : Code(ExceptionCode), InstructionAddress(Address), AccessKind(Kind),
      DataAddress(Data) {}

UnexpectedWindowsException::UnexpectedWindowsException(
    const SuProcessorFault &Fault)
    : UnexpectedWindowsException(Fault.Code, Fault.InstructionAddress,
                                 Fault.AccessKind, Fault.DataAddress) {}

std::string UnexpectedWindowsException::Text() const {
  MsFillIns FillIns{SuExceptionName(Code), GeHex(Code),
                    GeHex(InstructionAddress)};
  ReportTextTag Format = SystemExceptionText;
  if (Code == SuCodeAccessViolation) {
    Format = AccessKind != 0 ? WriteAccessViolationText
                             : ReadAccessViolationText;
    FillIns.Add(GeHex(DataAddress));
  }
  return MsPlainMessageContent(ReportText(Format), FillIns).Text();
}

void UnexpectedWindowsException::Report() { SuInternalErrorExit(Text()); }

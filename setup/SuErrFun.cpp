// Texts and report operations of the unexpected-failure reports.
#include "setup/SuErrFun.h"

#include "console/MsConsole.h"
#include "general/GeHex.h"
#include "general/GeInternalFailure.h"

namespace {

/// The fixed pieces of the report texts.
enum ReportTextTag {
  UnexpectedExceptionText,
  UnexpectedStdExceptionText,
  UnknownCodeText,
  CodeOpenText,
  CodeCloseText,
  ReadingFromText,
  WritingToText,
  AddressText,
  AccessCloseText
};

const char *const ReportTexts[] = {
    "Unexpected exception",
    "Unexpected exception: ",
    "Unexpected windows exception",
    " (",
    ") at ",
    " (reading from",
    " (writing to",
    " address ",
    ")",
};

const char *ReportText(ReportTextTag Tag) { return ReportTexts[Tag]; }

struct ExceptionNameEntry {
  std::uint32_t Code;
  const char *Name;
};

/// Structured-exception names, searched in this order.
const ExceptionNameEntry ExceptionNames[] = {
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
  return ReportText(UnexpectedStdExceptionText) + Description;
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
  std::string Result = SuExceptionName(Code);
  Result += ReportText(CodeOpenText);
  Result += GeHex(Code);
  Result += ReportText(CodeCloseText);
  Result += GeHex(InstructionAddress);
  if (Code == SuCodeAccessViolation) {
    Result += ReportText(AccessKind != 0 ? WritingToText : ReadingFromText);
    Result += ReportText(AddressText);
    Result += GeHex(DataAddress);
    Result += ReportText(AccessCloseText);
  }
  return Result;
}

void UnexpectedWindowsException::Report() { SuInternalErrorExit(Text()); }

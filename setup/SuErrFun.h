// Reports of failures that reach the run protocol unhandled: memory
// exhaustion, unexpected C++ exceptions and processor exceptions.
//
// These classes are private to the framework: the run function stores one of
// them when it catches such a failure and calls its report once it has left
// its guards.
#ifndef SETUP_SUERRFUN_H
#define SETUP_SUERRFUN_H

#include "setup/SuFaultGuard.h"

#include <cstdint>
#include <string>

class MsConsole;

/// Ends the process through the internal-failure exit with Text: the
/// process-wide internal-failure handler (which the tool installs to add its
/// name and print through the console's fatal text report) reports it, and
/// the process ends with exit status 1.
[[noreturn]] void SuInternalErrorExit(const std::string &Text);

/// The name of the structured exception with Code, from the framework's name
/// table (first match); "Unexpected windows exception" for a code it lacks.
const char *SuExceptionName(std::uint32_t Code);

/// A stored report of a failure. Report() either ends the process (the
/// unexpected-failure reports) or returns (memory exhaustion).
class ErrFun {
public:
  virtual ~ErrFun();
  virtual void Report() = 0;
};

/// Memory exhaustion. One static instance exists, so that reporting needs no
/// allocation; its report asks the console it was last handed for the
/// out-of-memory message and returns.
class NoMoreMemory final : public ErrFun {
public:
  /// The instance, set to report to Console.
  static NoMoreMemory &Instance(MsConsole &Console);
  void Report() override;

private:
  NoMoreMemory() = default;
  MsConsole *Served = nullptr;
};

/// A standard exception that reached the framework. Keeps a copy of its
/// description; reports "Unexpected exception: " and the description.
class UnexpectedStdException final : public ErrFun {
public:
  explicit UnexpectedStdException(const char *Description);
  void Report() override;

  /// The text handed to the internal-error exit.
  std::string Text() const;

private:
  std::string Description;
};

/// Anything else that was thrown; reports "Unexpected exception".
class UnexpectedException final : public ErrFun {
public:
  void Report() override;
  std::string Text() const;
};

/// A processor or system exception caught by the fault guard. Reports its
/// name, code and instruction address and, for an access violation, the
/// access kind and the data address.
class UnexpectedWindowsException final : public ErrFun {
public:
  UnexpectedWindowsException(std::uint32_t Code,
                             std::uint64_t InstructionAddress,
                             std::uint64_t AccessKind,
                             std::uint64_t DataAddress);
  explicit UnexpectedWindowsException(const SuProcessorFault &Fault);
  void Report() override;

  /// "<name> (0x<code>) at 0x<address>", followed for an access violation
  /// by " (reading from address 0x<data>)" or " (writing to address
  /// 0x<data>)".
  std::string Text() const;

private:
  std::uint32_t Code;
  std::uint64_t InstructionAddress;
  std::uint64_t AccessKind;
  std::uint64_t DataAddress;
};

#endif

// The processor-exception guard of the run protocol.
//
// The framework's guard around a run catches processor exceptions (access
// violations, divisions by zero, illegal instructions, stack overflow, ...)
// and reports them by the structured-exception code they carry on Windows.
// On POSIX systems the same faults arrive as the signals SIGSEGV, SIGBUS,
// SIGFPE, SIGILL and SIGTRAP; this file turns them back into those codes, so
// that the report reads the same on every platform.
//
// How a fault travels:
//  - SuFaultScope installs one handler for the five signals, running on an
//    alternate signal stack (so that a stack overflow can still be handled),
//    and restores the previous dispositions and alternate stack when the
//    outermost scope ends.
//  - SuRunUnderFaultGuard arms the handler with a jump target (sigsetjmp with
//    the signal mask saved) and runs the body.
//  - The handler does only async-signal-safe work: it classifies the signal
//    into a SuProcessorFault in static storage, disarms the guard and
//    siglongjmps back to the guard's frame, which hands the fault to its
//    caller. Frames between the guard and the fault are abandoned without
//    running their destructors; that is acceptable because a processor fault
//    ends the process once it has been reported.
//  - A fault while the handler is installed but no guard is armed (for
//    example a second fault while the first one is being reported) writes one
//    short line to standard error with write(2) and ends the process with
//    _exit(1): it never returns into the faulting code and never loops.
#ifndef SETUP_SUFAULTGUARD_H
#define SETUP_SUFAULTGUARD_H

#include <boost/core/noncopyable.hpp>

#include <cstdint>
#include <type_traits>
#include <utility>

/// A processor exception in the terms of the structured exception it stands
/// for: its code (0xC0000005 for an access violation and so on), the address
/// of the faulting instruction (0 when the platform does not tell), and for
/// an access violation only the access kind (0 read, 1 write) and the data
/// address; both are 0 for every other code.
struct SuProcessorFault {
  std::uint32_t Code = 0;
  std::uint64_t InstructionAddress = 0;
  std::uint64_t AccessKind = 0;
  std::uint64_t DataAddress = 0;
};

/// Structured-exception codes: every code the report knows by name (the
/// name table of SuErrFun is built on these), of which the signal
/// translation produces a part.
enum : std::uint32_t {
  SuCodeAccessViolation = 0xC0000005,
  SuCodeDatatypeMisalignment = 0x80000002,
  SuCodeBreakpoint = 0x80000003,
  SuCodeSingleStep = 0x80000004,
  SuCodeArrayBoundsExceeded = 0xC000008C,
  SuCodeFltDenormalOperand = 0xC000008D,
  SuCodeFltDivideByZero = 0xC000008E,
  SuCodeFltInexactResult = 0xC000008F,
  SuCodeFltInvalidOperation = 0xC0000090,
  SuCodeFltOverflow = 0xC0000091,
  SuCodeFltStackCheck = 0xC0000092,
  SuCodeFltUnderflow = 0xC0000093,
  SuCodeIntDivideByZero = 0xC0000094,
  SuCodeIntOverflow = 0xC0000095,
  SuCodePrivInstruction = 0xC0000096,
  SuCodeInPageError = 0xC0000006,
  SuCodeIllegalInstruction = 0xC000001D,
  SuCodeNoncontinuableException = 0xC0000025,
  SuCodeStackOverflow = 0xC00000FD,
  SuCodeInvalidDisposition = 0xC0000026,
  SuCodeGuardPage = 0x80000001,
  SuCodeInvalidHandle = 0xC0000008,
  /// A signal the translation has no code for: this base plus the signal
  /// number. Not a name-table code, so it is reported as an unexpected
  /// windows exception.
  SuCodeUnknownSignalBase = 0xE0000000
};

/// What the signal handler knows about a fault, gathered from the signal
/// number, its siginfo_t and its machine context.
struct SuSignalFacts {
  int Signal = 0;
  int SignalCode = 0;                    ///< siginfo_t::si_code
  std::uintptr_t DataAddress = 0;        ///< siginfo_t::si_addr
  std::uintptr_t InstructionAddress = 0; ///< 0 when unknown
  std::uintptr_t StackPointer = 0;       ///< 0 when unknown
  bool Write = false;                    ///< the faulting access was a write
};

/// The stack of the guarded thread: [Low, High). Both 0 when unknown.
struct SuStackBounds {
  std::uintptr_t Low = 0;
  std::uintptr_t High = 0;
};

/// Size of the region below the stack's lowest address in which a fault
/// counts as a stack overflow.
constexpr std::uintptr_t SuStackGuardRegion = 1024 * 1024;
/// A segmentation fault this close to the faulting stack pointer, on either
/// side, counts as a stack overflow.
constexpr std::uintptr_t SuStackPointerWindow = 64 * 1024;

/// Translates a fault signal into its processor fault. Pure and
/// async-signal-safe, so that a signal handler may call it.
///
/// SIGSEGV and SIGBUS are access violations with the data address and the
/// access kind, except a misaligned access (BUS_ADRALN, datatype
/// misalignment) and a SIGSEGV at an address in the guard region below
/// Stack.Low or within SuStackPointerWindow of the stack pointer (stack
/// overflow). SIGFPE follows its si_code, SIGILL is an illegal instruction
/// (ILL_PRVOPC a privileged one), SIGTRAP a breakpoint (TRAP_TRACE a single
/// step).
SuProcessorFault SuClassifySignal(const SuSignalFacts &Facts,
                                  const SuStackBounds &Stack);

/// Installs the fault handler for the lifetime of the object. Scopes nest:
/// the outermost one installs the handler and the alternate signal stack and
/// restores the previous dispositions and alternate stack when it ends.
/// While a scope is active and no guard is armed, a fault ends the process
/// with exit status 1 after a one-line message on standard error.
/// Single-threaded use only, like the rest of the framework.
class SuFaultScope : boost::noncopyable {
public:
  SuFaultScope();
  ~SuFaultScope();
};

/// Runs Body(Context) with the fault guard armed (inside its own
/// SuFaultScope). Answers true when Body returned; its result is then in
/// Result. Answers false when a processor fault interrupted Body; Fault then
/// describes it. C++ exceptions leave Body and this function unchanged. Guards
/// nest: a fault goes to the innermost armed one.
bool SuRunUnderFaultGuard(int (*Body)(void *Context), void *Context,
                          int &Result, SuProcessorFault &Fault);

/// The same for any callable answering an int.
template <class Callable>
bool SuRunUnderFaultGuard(Callable &&Body, int &Result,
                          SuProcessorFault &Fault) {
  using Type = std::remove_reference_t<Callable>;
  return SuRunUnderFaultGuard(
      [](void *Context) -> int { return (*static_cast<Type *>(Context))(); },
      const_cast<void *>(static_cast<const void *>(&Body)), Result, Fault);
}

#endif

// The processor-exception guard: signal translation, handler installation and
// the armed jump back into the guard's frame.
#include "setup/SuFaultGuard.h"

#include <pthread.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#define SU_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SU_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef SU_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace {

/// The signals through which processor exceptions arrive.
constexpr int FaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
constexpr int FaultSignalCount = sizeof(FaultSignals) / sizeof(FaultSignals[0]);

/// Size of the alternate signal stack; generous, since under the sanitizers
/// the handler's path through their interceptors needs room too.
constexpr std::size_t AltStackSize = 256 * 1024;

/// Texts of the line written for a fault that no guard catches.
enum FatalTextTag { FatalLineStart, FatalLineEnd };
const char *const FatalTexts[] = {
    "Unexpected signal ",
    " while no exception guard is active\n",
};

// Installation state, touched only outside the handler.
int ScopeDepth = 0;
struct sigaction PreviousActions[FaultSignalCount];
stack_t PreviousAltStack;
bool AltStackReplaced = false;
void *AltStackMemory = nullptr;

// Handler state. The handler reads the armed target and records what the
// signal tells of the fault; the guard classifies it after the jump.
sigjmp_buf *volatile ArmedJump = nullptr;
SuSignalFacts RecordedFacts;

void WriteAll(const char *Text, std::size_t Length) {
  while (Length > 0) {
    const ssize_t Written = ::write(STDERR_FILENO, Text, Length);
    if (Written < 0 && errno == EINTR)
      continue;
    if (Written <= 0)
      return;
    Text += Written;
    Length -= static_cast<std::size_t>(Written);
  }
}

void WriteText(const char *Text) { WriteAll(Text, std::strlen(Text)); }

/// Writes the fatal line for Signal and ends the process. Async-signal-safe.
[[noreturn]] void DieOfUnguardedFault(int Signal) {
  char Number[16];
  std::size_t Length = 0;
  unsigned Rest = static_cast<unsigned>(Signal);
  char Reversed[16];
  do {
    Reversed[Length++] = static_cast<char>('0' + Rest % 10);
    Rest /= 10;
  } while (Rest != 0 && Length < sizeof(Reversed));
  for (std::size_t I = 0; I < Length; ++I)
    Number[I] = Reversed[Length - 1 - I];
  WriteText(FatalTexts[FatalLineStart]);
  WriteAll(Number, Length);
  WriteText(FatalTexts[FatalLineEnd]);
  ::_exit(1);
}

/// Fills the context-dependent facts from the machine context.
void ReadContext(const void *Context, SuSignalFacts &Facts) {
#if defined(__x86_64__) && defined(__linux__)
  const auto *Uc = static_cast<const ucontext_t *>(Context);
  Facts.InstructionAddress =
      static_cast<std::uintptr_t>(Uc->uc_mcontext.gregs[REG_RIP]);
  Facts.StackPointer =
      static_cast<std::uintptr_t>(Uc->uc_mcontext.gregs[REG_RSP]);
  // The page-fault error code: bit 1 is set for a write access.
  Facts.Write = (Uc->uc_mcontext.gregs[REG_ERR] & 2) != 0;
#else
  (void)Context;
#endif
}

void OnFaultSignal(int Signal, siginfo_t *Info, void *Context) {
  sigjmp_buf *Jump = ArmedJump;
  if (!Jump)
    DieOfUnguardedFault(Signal);
  // From here on a further fault is an unguarded one.
  ArmedJump = nullptr;

  SuSignalFacts Facts;
  Facts.Signal = Signal;
  Facts.SignalCode = Info->si_code;
  Facts.DataAddress = reinterpret_cast<std::uintptr_t>(Info->si_addr);
  ReadContext(Context, Facts);
  RecordedFacts = Facts;
  siglongjmp(*Jump, 1);
}

/// The bounds of the calling thread's stack. For the main thread the C
/// library finds them in /proc/self/maps, which costs a file read: they are
/// asked for only once a fault has been caught, back on the guard's stack,
/// never while arming a guard. They do not depend on how far the stack has
/// grown, so asking late gives what asking early would have.
SuStackBounds CurrentStackBounds() {
  SuStackBounds Bounds;
  pthread_attr_t Attributes;
  if (pthread_getattr_np(pthread_self(), &Attributes) != 0)
    return Bounds;
  void *Base = nullptr;
  std::size_t Size = 0;
  if (pthread_attr_getstack(&Attributes, &Base, &Size) == 0 && Base) {
    Bounds.Low = reinterpret_cast<std::uintptr_t>(Base);
    Bounds.High = Bounds.Low + Size;
  }
  pthread_attr_destroy(&Attributes);
  return Bounds;
}

void InstallAltStack() {
  if (!AltStackMemory) {
    void *Memory = ::mmap(nullptr, AltStackSize, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (Memory == MAP_FAILED)
      return;
    AltStackMemory = Memory;
  }
  stack_t Stack;
  std::memset(&Stack, 0, sizeof(Stack));
  Stack.ss_sp = AltStackMemory;
  Stack.ss_size = AltStackSize;
  Stack.ss_flags = 0;
  AltStackReplaced = ::sigaltstack(&Stack, &PreviousAltStack) == 0;
}

void RestoreAltStack() {
  if (!AltStackReplaced)
    return;
  AltStackReplaced = false;
  if (PreviousAltStack.ss_flags & SS_DISABLE) {
    stack_t Disable;
    std::memset(&Disable, 0, sizeof(Disable));
    Disable.ss_flags = SS_DISABLE;
    ::sigaltstack(&Disable, nullptr);
  } else {
    ::sigaltstack(&PreviousAltStack, nullptr);
  }
}

/// The abandoned frames between the guard and the fault keep the
/// AddressSanitizer poisoning of their locals, since the jump left from the
/// alternate stack where the sanitizer cannot clean up. Clears it for the
/// stack below the guard's frame.
void ClearAbandonedStackPoisoning(const void *GuardFrame,
                                  const SuStackBounds &Stack) {
#ifdef SU_ADDRESS_SANITIZER
  const auto Top = reinterpret_cast<std::uintptr_t>(GuardFrame);
  std::uintptr_t Low = Stack.Low;
  const std::uintptr_t FaultSp = RecordedFacts.StackPointer;
  if (FaultSp != 0 && FaultSp < Top && (Low == 0 || FaultSp < Low))
    Low = FaultSp > SuStackPointerWindow ? FaultSp - SuStackPointerWindow : 0;
  constexpr std::uintptr_t Largest = 512u * 1024 * 1024;
  if (Low == 0 || Low >= Top || Top - Low > Largest)
    return;
  __asan_unpoison_memory_region(reinterpret_cast<void *>(Low),
                                static_cast<std::size_t>(Top - Low));
#else
  (void)GuardFrame;
  (void)Stack;
#endif
}

/// Arms the handler with a jump target for its lifetime and gives the
/// enclosing guard (if any) its target back at the end.
class Arming {
public:
  explicit Arming(sigjmp_buf &Jump) : PreviousJump(ArmedJump) {
    ArmedJump = &Jump;
  }
  ~Arming() { ArmedJump = PreviousJump; }
  Arming(const Arming &) = delete;
  Arming &operator=(const Arming &) = delete;

private:
  sigjmp_buf *PreviousJump;
};

bool IsStackOverflow(const SuSignalFacts &Facts, const SuStackBounds &Stack) {
  const std::uintptr_t Address = Facts.DataAddress;
  if (Stack.Low != 0 && Address < Stack.Low &&
      Stack.Low - Address <= SuStackGuardRegion)
    return true;
  const std::uintptr_t Sp = Facts.StackPointer;
  if (Sp == 0)
    return false;
  return Address <= Sp ? Sp - Address <= SuStackPointerWindow
                       : Address - Sp <= SuStackPointerWindow;
}

std::uint32_t FloatingPointCode(int SignalCode) {
  switch (SignalCode) {
  case FPE_INTDIV:
    return SuCodeIntDivideByZero;
  case FPE_INTOVF:
    return SuCodeIntOverflow;
  case FPE_FLTDIV:
    return SuCodeFltDivideByZero;
  case FPE_FLTOVF:
    return SuCodeFltOverflow;
  case FPE_FLTUND:
    return SuCodeFltUnderflow;
  case FPE_FLTRES:
    return SuCodeFltInexactResult;
  case FPE_FLTINV:
    return SuCodeFltInvalidOperation;
  case FPE_FLTSUB:
    return SuCodeArrayBoundsExceeded;
  default:
    return SuCodeUnknownSignalBase + SIGFPE;
  }
}

} // namespace

SuProcessorFault SuClassifySignal(const SuSignalFacts &Facts,
                                  const SuStackBounds &Stack) {
  SuProcessorFault Fault;
  Fault.InstructionAddress = Facts.InstructionAddress;
  switch (Facts.Signal) {
  case SIGBUS:
    if (Facts.SignalCode == BUS_ADRALN) {
      Fault.Code = SuCodeDatatypeMisalignment;
      return Fault;
    }
    break;
  case SIGSEGV:
    if (IsStackOverflow(Facts, Stack)) {
      Fault.Code = SuCodeStackOverflow;
      return Fault;
    }
    break;
  case SIGFPE:
    Fault.Code = FloatingPointCode(Facts.SignalCode);
    return Fault;
  case SIGILL:
    Fault.Code = Facts.SignalCode == ILL_PRVOPC ? SuCodePrivInstruction
                                                : SuCodeIllegalInstruction;
    return Fault;
  case SIGTRAP:
    Fault.Code =
        Facts.SignalCode == TRAP_TRACE ? SuCodeSingleStep : SuCodeBreakpoint;
    return Fault;
  default:
    Fault.Code = SuCodeUnknownSignalBase +
                 static_cast<std::uint32_t>(Facts.Signal & 0xFF);
    return Fault;
  }
  Fault.Code = SuCodeAccessViolation;
  Fault.AccessKind = Facts.Write ? 1 : 0;
  Fault.DataAddress = Facts.DataAddress;
  return Fault;
}

SuFaultScope::SuFaultScope() {
  if (ScopeDepth++ != 0)
    return;
  InstallAltStack();
  struct sigaction Action;
  std::memset(&Action, 0, sizeof(Action));
  Action.sa_sigaction = &OnFaultSignal;
  Action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&Action.sa_mask);
  for (int I = 0; I < FaultSignalCount; ++I)
    ::sigaction(FaultSignals[I], &Action, &PreviousActions[I]);
}

SuFaultScope::~SuFaultScope() {
  if (--ScopeDepth != 0)
    return;
  for (int I = 0; I < FaultSignalCount; ++I)
    ::sigaction(FaultSignals[I], &PreviousActions[I], nullptr);
  RestoreAltStack();
}

bool SuRunUnderFaultGuard(int (*Body)(void *Context), void *Context,
                          int &Result, SuProcessorFault &Fault) {
  SuFaultScope Scope;
  sigjmp_buf Jump;
  Arming Armed(Jump);
  if (sigsetjmp(Jump, 1) != 0) {
    // Back from the handler, which has disarmed this guard already.
    const SuStackBounds Stack = CurrentStackBounds();
    ClearAbandonedStackPoisoning(__builtin_frame_address(0), Stack);
    Fault = SuClassifySignal(RecordedFacts, Stack);
    return false;
  }
  Result = Body(Context);
  return true;
}

// The translation of fault signals into processor faults, and the guard's
// arming, nesting and restoring of signal dispositions.
#include "setup/SuFaultGuard.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <cstring>
#include <stdexcept>

namespace {

constexpr std::uintptr_t StackLow = 0x7FFF00000000;
constexpr std::uintptr_t StackHigh = 0x7FFF00800000;
constexpr std::uintptr_t FarSp = 0x7FFF00700000;

struct ClassifyCase {
  const char *Name;
  int Signal;
  int SignalCode;
  std::uintptr_t DataAddress;
  std::uintptr_t StackPointer;
  bool Write;
  std::uint32_t Code;
  std::uint64_t AccessKind;
  std::uint64_t ReportedDataAddress;
};

TEST(SuClassifySignalTest, Table) {
  const ClassifyCase Cases[] = {
      {"null read", SIGSEGV, SEGV_MAPERR, 0, FarSp, false, 0xC0000005, 0, 0},
      {"write to read-only page", SIGSEGV, SEGV_ACCERR, 0x10000, FarSp, true,
       0xC0000005, 1, 0x10000},
      {"bus error", SIGBUS, BUS_ADRERR, 0x20000, FarSp, false, 0xC0000005, 0,
       0x20000},
      {"bus error writing", SIGBUS, BUS_OBJERR, 0x20000, FarSp, true,
       0xC0000005, 1, 0x20000},
      {"misaligned", SIGBUS, BUS_ADRALN, 0x20001, FarSp, true, 0x80000002, 0,
       0},
      {"guard region below the stack", SIGSEGV, SEGV_MAPERR, StackLow - 8,
       FarSp, true, 0xC00000FD, 0, 0},
      {"far end of the guard region", SIGSEGV, SEGV_MAPERR,
       StackLow - SuStackGuardRegion, FarSp, true, 0xC00000FD, 0, 0},
      {"below the guard region", SIGSEGV, SEGV_MAPERR,
       StackLow - SuStackGuardRegion - 1, FarSp, true, 0xC0000005, 1,
       StackLow - SuStackGuardRegion - 1},
      {"just below the stack pointer", SIGSEGV, SEGV_MAPERR, FarSp - 8, FarSp,
       true, 0xC00000FD, 0, 0},
      {"just above the stack pointer", SIGSEGV, SEGV_MAPERR, FarSp + 4096,
       FarSp, false, 0xC00000FD, 0, 0},
      {"window edge", SIGSEGV, SEGV_MAPERR, FarSp - SuStackPointerWindow, FarSp,
       false, 0xC00000FD, 0, 0},
      {"beyond the window", SIGSEGV, SEGV_MAPERR,
       FarSp - SuStackPointerWindow - 1, FarSp, false, 0xC0000005, 0,
       FarSp - SuStackPointerWindow - 1},
      {"int divide", SIGFPE, FPE_INTDIV, 0x401000, FarSp, false, 0xC0000094, 0,
       0},
      {"int overflow", SIGFPE, FPE_INTOVF, 0x401000, FarSp, false, 0xC0000095,
       0, 0},
      {"float divide", SIGFPE, FPE_FLTDIV, 0, FarSp, false, 0xC000008E, 0, 0},
      {"float overflow", SIGFPE, FPE_FLTOVF, 0, FarSp, false, 0xC0000091, 0, 0},
      {"float underflow", SIGFPE, FPE_FLTUND, 0, FarSp, false, 0xC0000093, 0,
       0},
      {"float inexact", SIGFPE, FPE_FLTRES, 0, FarSp, false, 0xC000008F, 0, 0},
      {"float invalid", SIGFPE, FPE_FLTINV, 0, FarSp, false, 0xC0000090, 0, 0},
      {"float subscript", SIGFPE, FPE_FLTSUB, 0, FarSp, false, 0xC000008C, 0,
       0},
      {"SIGFPE sent by a process", SIGFPE, SI_USER, 0, FarSp, false, 0xE0000008,
       0, 0},
      {"illegal opcode", SIGILL, ILL_ILLOPN, 0, FarSp, false, 0xC000001D, 0, 0},
      {"privileged opcode", SIGILL, ILL_PRVOPC, 0, FarSp, false, 0xC0000096, 0,
       0},
      {"breakpoint", SIGTRAP, TRAP_BRKPT, 0, FarSp, false, 0x80000003, 0, 0},
      {"int3 on x86", SIGTRAP, SI_KERNEL, 0, FarSp, false, 0x80000003, 0, 0},
      {"single step", SIGTRAP, TRAP_TRACE, 0, FarSp, false, 0x80000004, 0, 0},
      {"other signal", SIGABRT, SI_USER, 0, FarSp, false, 0xE0000006, 0, 0},
  };
  const SuStackBounds Stack{StackLow, StackHigh};
  for (const ClassifyCase &Case : Cases) {
    SuSignalFacts Facts;
    Facts.Signal = Case.Signal;
    Facts.SignalCode = Case.SignalCode;
    Facts.DataAddress = Case.DataAddress;
    Facts.InstructionAddress = 0x401234;
    Facts.StackPointer = Case.StackPointer;
    Facts.Write = Case.Write;
    const SuProcessorFault Fault = SuClassifySignal(Facts, Stack);
    EXPECT_EQ(Fault.Code, Case.Code) << Case.Name;
    EXPECT_EQ(Fault.InstructionAddress, 0x401234u) << Case.Name;
    EXPECT_EQ(Fault.AccessKind, Case.AccessKind) << Case.Name;
    EXPECT_EQ(Fault.DataAddress, Case.ReportedDataAddress) << Case.Name;
  }
}

TEST(SuClassifySignalTest, UnknownStackLeavesOnlyTheStackPointerRule) {
  SuSignalFacts Facts;
  Facts.Signal = SIGSEGV;
  Facts.SignalCode = SEGV_MAPERR;
  Facts.DataAddress = StackLow - 8;
  Facts.StackPointer = FarSp;
  EXPECT_EQ(SuClassifySignal(Facts, SuStackBounds{}).Code, 0xC0000005u);
  Facts.StackPointer = 0;
  Facts.DataAddress = 8;
  EXPECT_EQ(SuClassifySignal(Facts, SuStackBounds{}).Code, 0xC0000005u);
}

/// The handler installed for Signal.
void *HandlerOf(int Signal) {
  struct sigaction Action;
  std::memset(&Action, 0, sizeof(Action));
  sigaction(Signal, nullptr, &Action);
  return (Action.sa_flags & SA_SIGINFO)
             ? reinterpret_cast<void *>(Action.sa_sigaction)
             : reinterpret_cast<void *>(Action.sa_handler);
}

TEST(SuFaultGuardTest, BodyResultComesBack) {
  int Result = 0;
  SuProcessorFault Fault;
  EXPECT_TRUE(SuRunUnderFaultGuard([] { return 17; }, Result, Fault));
  EXPECT_EQ(Result, 17);
}

TEST(SuFaultGuardTest, RaisedTrapIsCaughtAsBreakpoint) {
  int Result = -1;
  SuProcessorFault Fault;
  EXPECT_FALSE(SuRunUnderFaultGuard(
      [] {
        raise(SIGTRAP);
        return 1;
      },
      Result, Fault));
  EXPECT_EQ(Result, -1);
  EXPECT_EQ(Fault.Code, 0x80000003u);
  EXPECT_EQ(Fault.AccessKind, 0u);
  EXPECT_EQ(Fault.DataAddress, 0u);
}

TEST(SuFaultGuardTest, InnermostGuardCatchesAndOuterGoesOn) {
  int Outer = 0;
  SuProcessorFault OuterFault;
  bool InnerCompleted = true;
  SuProcessorFault InnerFault;
  EXPECT_FALSE(SuRunUnderFaultGuard(
      [&] {
        int Inner = 0;
        InnerCompleted = SuRunUnderFaultGuard(
            [] {
              raise(SIGTRAP);
              return 1;
            },
            Inner, InnerFault);
        // The outer guard is armed again: a second fault goes to it.
        raise(SIGTRAP);
        return 2;
      },
      Outer, OuterFault));
  EXPECT_FALSE(InnerCompleted);
  EXPECT_EQ(InnerFault.Code, 0x80000003u);
  EXPECT_EQ(Outer, 0);
  EXPECT_EQ(OuterFault.Code, 0x80000003u);
}

TEST(SuFaultGuardTest, ExceptionsPassThroughAndDisarm) {
  int Result = 0;
  SuProcessorFault Fault;
  EXPECT_THROW(
      SuRunUnderFaultGuard([]() -> int { throw std::runtime_error("through"); },
                           Result, Fault),
      std::runtime_error);
  // No guard is armed now, but a scope is: a fault would end the process.
  EXPECT_EXIT(
      {
        SuFaultScope Scope;
        raise(SIGTRAP);
      },
      ::testing::ExitedWithCode(1),
      "^Unexpected signal 5 while no exception guard is active\n$");
}

TEST(SuFaultGuardTest, PreviousDispositionsComeBack) {
  void *Before[] = {HandlerOf(SIGSEGV), HandlerOf(SIGBUS), HandlerOf(SIGFPE),
                    HandlerOf(SIGILL), HandlerOf(SIGTRAP)};
  {
    SuFaultScope Scope;
    EXPECT_NE(HandlerOf(SIGTRAP), Before[4]);
    { SuFaultScope Nested; }
    EXPECT_NE(HandlerOf(SIGTRAP), Before[4]) << "nested scope restored early";
  }
  void *After[] = {HandlerOf(SIGSEGV), HandlerOf(SIGBUS), HandlerOf(SIGFPE),
                   HandlerOf(SIGILL), HandlerOf(SIGTRAP)};
  for (int I = 0; I < 5; ++I)
    EXPECT_EQ(Before[I], After[I]) << I;
}

TEST(SuFaultGuardTest, AlternateStackIsRestored) {
  stack_t Before;
  sigaltstack(nullptr, &Before);
  {
    SuFaultScope Scope;
    stack_t During;
    sigaltstack(nullptr, &During);
    EXPECT_FALSE(During.ss_flags & SS_DISABLE);
    EXPECT_GE(During.ss_size, 64u * 1024);
  }
  stack_t After;
  sigaltstack(nullptr, &After);
  EXPECT_EQ(After.ss_flags & SS_DISABLE, Before.ss_flags & SS_DISABLE);
  if (!(Before.ss_flags & SS_DISABLE)) {
    EXPECT_EQ(After.ss_sp, Before.ss_sp);
    EXPECT_EQ(After.ss_size, Before.ss_size);
  }
}

} // namespace

// fault_probe: a small program on the framework run function whose main
// object does what its first argument says (fault, throw or return), so that
// the tests can watch the reports and exit statuses of a whole process.
//
// The internal-failure handler prints "internal failure: <text>" on standard
// output; the internal-failure exit then ends the process with status 1.
// Built with PROBE_TOOL_HANDLER, the probe installs chksel's own handler
// instead, so that the reports come out exactly as chksel prints them.
#include "console/MsConsole.h"
#include "general/GeHex.h"
#include "general/GeInternalFailure.h"
#include "setup/SuRun.h"
#ifdef PROBE_TOOL_HANDLER
#include "appinterface/LcConsoleApplicationInterface.h"
#include "tool/LcInternalFailure.h"
#endif

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#if defined(__GNUC__)
#define PROBE_NO_UBSAN __attribute__((no_sanitize("undefined"), noinline))
#else
#define PROBE_NO_UBSAN
#endif

namespace {

void PrintLine(const std::string &Line) {
  std::fputs(Line.c_str(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

#ifndef PROBE_TOOL_HANDLER
void PrintInternalFailure(const std::string &Text) {
  PrintLine("internal failure: " + Text);
}
#endif

/// An internal-failure handler that faults itself, for the check that a
/// fault during reporting ends the process.
PROBE_NO_UBSAN void FaultWhileReporting(const std::string &) {
  // Both the pointer and its target are volatile: an optimiser may drop a
  // store through a volatile pointer to plain memory, never one to volatile.
  volatile int *volatile Null = nullptr;
  *Null = 1;
}

/// An exception whose description is empty.
class EmptyException : public std::exception {
public:
  const char *what() const noexcept override { return ""; }
};

PROBE_NO_UBSAN int ReadNull() {
  volatile int *volatile Null = nullptr;
  return *Null;
}

int WriteReadOnly() {
  const long PageSize = ::sysconf(_SC_PAGESIZE);
  void *Page = ::mmap(nullptr, static_cast<std::size_t>(PageSize), PROT_READ,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (Page == MAP_FAILED)
    return 100;
  PrintLine("page " + GeHex(reinterpret_cast<std::uintptr_t>(Page)));
  *static_cast<volatile char *>(Page) = 1;
  return 101;
}

PROBE_NO_UBSAN int DivideByZero() {
  volatile int Dividend = 7;
  volatile int Divisor = 0;
#if defined(__x86_64__)
  // The division is done in assembly so that no sanitizer check runs first.
  int Quotient = Dividend;
  int Divide = Divisor;
  __asm__ __volatile__("cltd\n\tidivl %[d]"
                       : "+a"(Quotient)
                       : [d] "r"(Divide)
                       : "edx", "cc");
  return Quotient;
#else
  return Dividend / Divisor;
#endif
}

volatile bool StopRecursion = false;

__attribute__((noinline)) int Recurse(int Depth) {
  volatile char Block[16 * 1024];
  Block[0] = static_cast<char>(Depth);
  Block[sizeof(Block) - 1] = static_cast<char>(Depth);
  if (StopRecursion)
    return Block[0];
  return Recurse(Depth + 1) + Block[sizeof(Block) - 1];
}

int IllegalInstruction() { __builtin_trap(); }

int Breakpoint() {
#if defined(__x86_64__) || defined(__i386__)
  __asm__ __volatile__("int3");
  return 102;
#else
  return 103;
#endif
}

/// Where the probe's allocation escapes to, so that the compiler cannot
/// elide the allocation as one whose result is never used.
void *volatile AllocationSink = nullptr;

int AllocateTooMuch() {
  volatile std::size_t Size = static_cast<std::size_t>(-1) / 2;
  // A direct call of the replaceable operator is never elided.
  void *Memory = ::operator new(Size);
  AllocationSink = Memory;
  ::operator delete(Memory);
  AllocationSink = nullptr;
  return 104;
}

class ProbeMain : public SuMain {
public:
  std::int32_t Run(int Argc, char **Argv) override {
    const std::string What = Argc > 1 ? Argv[1] : "";
    if (What == "return-0")
      return 0;
    if (What == "return-5")
      return 5;
    if (What == "read-null")
      return ReadNull();
    if (What == "write-readonly")
      return WriteReadOnly();
    if (What == "divide-by-zero")
      return DivideByZero();
    if (What == "stack-overflow")
      return Recurse(0);
    if (What == "illegal-instruction")
      return IllegalInstruction();
    if (What == "breakpoint")
      return Breakpoint();
    if (What == "throw-int")
      throw 42;
    if (What == "throw-empty")
      throw EmptyException();
    if (What == "throw-runtime-error")
      throw std::runtime_error("boom");
    if (What == "throw-bad-alloc")
      throw MsConsole::BadAlloc();
    if (What == "throw-console-exception")
      throw MsConsoleException();
    if (What == "allocate-too-much")
      return AllocateTooMuch();
    if (What == "fault-while-reporting") {
      GeSetInternalFailureHandler(&FaultWhileReporting);
      throw 42;
    }
    PrintLine("unknown probe action: " + What);
    return 99;
  }
};

} // namespace

int main(int Argc, char **Argv) {
#ifdef PROBE_TOOL_HANDLER
  LcInstallInternalFailureHandler();
  static LcConsoleApplicationInterface Interface(MsGetConsole());
  MsGetConsole().SetApplicationInterface(&Interface);
#else
  GeSetInternalFailureHandler(&PrintInternalFailure);
#endif
  // A program of its own: it takes the process's console, as a tool's main
  // object does, and hands it to the run function.
  ProbeMain Main;
  return SuRun(Argc, Argv, Main, MsGetConsole());
}

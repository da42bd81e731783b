// Replacements of the global allocation functions that fail or count on
// request. They take effect in every program this file is linked into.
#include "tests/support/AllocationFailure.h"

#include <cstdlib>
#include <new>

namespace {

bool Failing = false;
std::size_t FailAbove = 0;
testsupport::AllocationFailureMode FailMode =
    testsupport::AllocationFailureMode::CallNewHandler;
bool Counting = false;
std::size_t Allocations = 0;

bool Fails(std::size_t Size) { return Failing && Size > FailAbove; }

void *Allocate(std::size_t Size) {
  for (;;) {
    if (!Fails(Size)) {
      if (Counting)
        ++Allocations;
      if (void *Memory = std::malloc(Size ? Size : 1))
        return Memory;
    }
    std::new_handler Handler = std::get_new_handler();
    if (FailMode == testsupport::AllocationFailureMode::ThrowBadAlloc ||
        !Handler)
      throw std::bad_alloc();
    Handler();
  }
}

void *AllocateOrNull(std::size_t Size) noexcept {
  try {
    return Allocate(Size);
  } catch (...) {
    return nullptr;
  }
}

} // namespace

namespace testsupport {

void StartFailingAllocations(std::size_t Above, AllocationFailureMode Mode) {
  FailAbove = Above;
  FailMode = Mode;
  Failing = true;
}

void StopFailingAllocations() { Failing = false; }

void StartCountingAllocations() {
  Allocations = 0;
  Counting = true;
}

std::size_t StopCountingAllocations() {
  Counting = false;
  return Allocations;
}

} // namespace testsupport

void *operator new(std::size_t Size) { return Allocate(Size); }
void *operator new[](std::size_t Size) { return Allocate(Size); }
void *operator new(std::size_t Size, const std::nothrow_t &) noexcept {
  return AllocateOrNull(Size);
}
void *operator new[](std::size_t Size, const std::nothrow_t &) noexcept {
  return AllocateOrNull(Size);
}
void operator delete(void *Memory) noexcept { std::free(Memory); }
void operator delete[](void *Memory) noexcept { std::free(Memory); }
void operator delete(void *Memory, std::size_t) noexcept { std::free(Memory); }
void operator delete[](void *Memory, std::size_t) noexcept {
  std::free(Memory);
}
void operator delete(void *Memory, const std::nothrow_t &) noexcept {
  std::free(Memory);
}
void operator delete[](void *Memory, const std::nothrow_t &) noexcept {
  std::free(Memory);
}

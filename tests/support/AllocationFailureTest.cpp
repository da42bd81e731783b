// Tests of the allocation failure and counting that the out-of-memory tests
// rely on: without them those tests would pass whatever the program does.
// The allocation functions are called directly, as the compiler may leave
// out an allocation made by a new-expression.
#include "tests/support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <new>

namespace {

/// Thrown by the new-handler; it holds nothing, as nothing can be allocated.
struct HandlerCalled {};

[[noreturn]] void ThrowingNewHandler() { throw HandlerCalled(); }

void AllocateAndFree(std::size_t Size) {
  ::operator delete(::operator new(Size));
}

TEST(AllocationFailureTest, CountsEveryAllocation) {
  testsupport::StartCountingAllocations();
  void *First = ::operator new(16);
  void *Second = ::operator new[](32);
  void *Third = ::operator new(8, std::nothrow);
  const std::size_t Count = testsupport::StopCountingAllocations();
  ::operator delete(First);
  ::operator delete[](Second);
  ::operator delete(Third);
  EXPECT_EQ(Count, 3u);
}

TEST(AllocationFailureTest, FailsOnlyAboveTheLimit) {
  void *Small = nullptr;
  {
    testsupport::AllocationFailureScope Failing(
        64, testsupport::AllocationFailureMode::ThrowBadAlloc);
    EXPECT_THROW(AllocateAndFree(65), std::bad_alloc);
    EXPECT_EQ(::operator new(65, std::nothrow), nullptr);
    Small = ::operator new(64);
  }
  EXPECT_NE(Small, nullptr);
  ::operator delete(Small);
  void *Large = ::operator new(65);
  EXPECT_NE(Large, nullptr);
  ::operator delete(Large);
}

TEST(AllocationFailureTest, CallsTheNewHandlerOrNot) {
  std::new_handler Previous = std::set_new_handler(&ThrowingNewHandler);
  {
    testsupport::AllocationFailureScope Failing;
    EXPECT_THROW(AllocateAndFree(1), HandlerCalled);
  }
  {
    testsupport::AllocationFailureScope Failing(
        0, testsupport::AllocationFailureMode::ThrowBadAlloc);
    EXPECT_THROW(AllocateAndFree(1), std::bad_alloc);
  }
  std::set_new_handler(Previous);
}

} // namespace

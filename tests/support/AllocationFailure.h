// Allocation failure on request, and counting of allocations, for the tests
// of what the program does when memory runs out. The allocation functions
// are replaced for the whole program, so only a test program of its own may
// link chksel_test_allocation.
#ifndef TESTS_SUPPORT_ALLOCATIONFAILURE_H
#define TESTS_SUPPORT_ALLOCATIONFAILURE_H

#include <cstddef>

namespace testsupport {

/// How a failing allocation fails.
enum class AllocationFailureMode {
  /// As the standard allocator does: the installed new-handler is called
  /// until it throws, and std::bad_alloc is thrown when there is none.
  CallNewHandler,
  /// std::bad_alloc is thrown (nullptr answered by the nothrow forms)
  /// without asking the new-handler.
  ThrowBadAlloc,
};

/// From now on, every allocation of more than Above bytes fails.
void StartFailingAllocations(
    std::size_t Above = 0,
    AllocationFailureMode Mode = AllocationFailureMode::CallNewHandler);
void StopFailingAllocations();

/// Makes allocations of more than Above bytes fail for its lifetime.
class AllocationFailureScope {
public:
  explicit AllocationFailureScope(
      std::size_t Above = 0,
      AllocationFailureMode Mode = AllocationFailureMode::CallNewHandler) {
    StartFailingAllocations(Above, Mode);
  }
  ~AllocationFailureScope() { StopFailingAllocations(); }
  AllocationFailureScope(const AllocationFailureScope &) = delete;
  AllocationFailureScope &operator=(const AllocationFailureScope &) = delete;
};

/// Counts the allocations from now on, from zero.
void StartCountingAllocations();
/// Stops counting; answers the allocations counted since the start.
std::size_t StopCountingAllocations();

} // namespace testsupport

#endif

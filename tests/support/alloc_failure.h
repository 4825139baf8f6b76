// Allocation-failure switch for tests.
//
// The test binary is linked with -Wl,--wrap=malloc,--wrap=calloc,--wrap=free, so every
// malloc and calloc made by the library (and by the test code itself, but not
// by the C++ runtime's operator new) goes through a counter. A test arms the
// switch to make the n-th allocation fail, then calls the function under test.
// The state is per thread.
#ifndef COMMONHELPERS_TESTS_SUPPORT_ALLOC_FAILURE_H_
#define COMMONHELPERS_TESTS_SUPPORT_ALLOC_FAILURE_H_

#include <functional>

namespace alloc_failure {

// Counts allocations from now on and makes the n-th (1-based) fail; every
// other allocation succeeds. n = 0 only counts.
void FailNth(long n);

// Stops failing allocations (counting goes on).
void Disarm();

// The allocations counted since the last FailNth() on this thread.
long Count();

// The non-null blocks freed on this thread so far (free is wrapped too).
long Frees();

// Runs `call` once with no failure, then once for each allocation that run
// made, failing the 1st, the 2nd, and so on. After each run, with the switch
// disarmed, `check(n)` checks what the call left: n is the allocation that
// failed, 0 for the run without failure. Returns the number of allocations of
// the run without failure.
long ForEachFailure(const std::function<void()>& call, const std::function<void(long)>& check);

// Fails the n-th allocation for the lifetime of the object.
class ScopedFailure {
 public:
  explicit ScopedFailure(long n) { FailNth(n); }
  ~ScopedFailure() { Disarm(); }
  ScopedFailure(const ScopedFailure&) = delete;
  ScopedFailure& operator=(const ScopedFailure&) = delete;
};

}  // namespace alloc_failure

#endif  // COMMONHELPERS_TESTS_SUPPORT_ALLOC_FAILURE_H_

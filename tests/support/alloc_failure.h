// Allocation-failure switch for tests. The test binary is linked with
// -Wl,--wrap=malloc,--wrap=calloc,--wrap=free, so every malloc and calloc made
// by the library (and by the test code, but not by operator new) goes through
// one counter for the whole process.
#ifndef COMMONHELPERS_TESTS_SUPPORT_ALLOC_FAILURE_H_
#define COMMONHELPERS_TESTS_SUPPORT_ALLOC_FAILURE_H_

#include <functional>

namespace alloc_failure {

// Counts allocations from now on and makes the n-th (1-based) fail; n = 0
// only counts.
void FailNth(long n);

// The allocations counted since the last FailNth().
long Count();

// The non-null blocks freed so far (free is wrapped too).
long Frees();

// Runs `call` once with no failure, then once for each allocation that run
// made, failing the 1st, the 2nd, and so on; after each run, with nothing
// failing, `check(n)` checks what the call left (n: the allocation that
// failed, 0 for none). Returns the allocations of the run without failure.
long ForEachFailure(const std::function<void()>& call, const std::function<void(long)>& check);

}  // namespace alloc_failure

#endif  // COMMONHELPERS_TESTS_SUPPORT_ALLOC_FAILURE_H_

#include "support/alloc_failure.h"

#include <atomic>
#include <cstddef>
#include <new>

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void __real_free(void* p);

namespace {

// Process-wide, not thread_local: where thread-local storage is emulated
// (MinGW-w64), it allocates through malloc itself. The tests that count
// allocations run on one thread.
std::atomic<long> g_count{0};
std::atomic<long> g_failAt{0};
std::atomic<long> g_frees{0};

bool NextAllocationFails() {
  const long count = ++g_count;
  return g_failAt != 0 && count == g_failAt;
}

}  // namespace

extern "C" void* __wrap_malloc(size_t size) {
  return NextAllocationFails() ? nullptr : __real_malloc(size);
}

extern "C" void* __wrap_calloc(size_t count, size_t size) {
  return NextAllocationFails() ? nullptr : __real_calloc(count, size);
}

extern "C" void __wrap_free(void* p) {
  g_frees += p != nullptr ? 1 : 0;
  __real_free(p);
}

// operator new never fails on purpose: the C++ runtime's own malloc calls are
// wrapped too where it is linked statically (MinGW-w64), and the tests'
// containers must not fail in their place.
void* operator new(size_t size) {
  void* p = __real_malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

void operator delete(void* p) noexcept { __real_free(p); }
void operator delete(void* p, size_t) noexcept { __real_free(p); }

namespace alloc_failure {

long Frees() { return g_frees; }

void FailNth(long n) {
  g_count = 0;
  g_failAt = n;
}

long Count() { return g_count; }

long ForEachFailure(const std::function<void()>& call, const std::function<void(long)>& check) {
  long total = 0;
  for (long n = 0; n <= total; ++n) {
    FailNth(n);
    call();
    total = n == 0 ? Count() : total;
    FailNth(0);
    check(n);
  }
  return total;
}

}  // namespace alloc_failure

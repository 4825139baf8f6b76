#include "support/alloc_failure.h"

#include <cstddef>

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void __real_free(void* p);

namespace {

thread_local long g_count = 0;
thread_local long g_failAt = 0;
thread_local long g_frees = 0;

bool NextAllocationFails() {
  ++g_count;
  return g_failAt != 0 && g_count == g_failAt;
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

// A text past the int limits for almost no memory, for the BeyondTheIntLimit
// test (which valgrind and ThreadSanitizer runs leave out: they would walk
// gigabytes).
#ifndef COMMONHELPERS_TESTS_SUPPORT_HUGE_TEXT_H_
#define COMMONHELPERS_TESTS_SUPPORT_HUGE_TEXT_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace huge_text {

constexpr size_t kRun = size_t{1} << 20, kRuns = 4097, kSpan = kRun * kRuns + 4096;

// 4 GiB + 1 MiB of 'a': one 1 MiB run mapped 4,097 times in a row, then a
// private zeroed page that holds `tail`. Returns where the tail starts, or
// null when the address space is not there; release with Unmap(tail).
inline char* Map(const char* tail) {
  const int fd = memfd_create("run", 0);
  void* span = mmap(nullptr, kSpan, PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  char* base = span != MAP_FAILED ? static_cast<char*>(span) : nullptr;
  bool ok = fd >= 0 && ftruncate(fd, kRun) == 0 && base != nullptr;
  for (size_t k = 0; ok && k < kRuns; ++k) {
    ok = mmap(base + k * kRun, kRun, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, fd, 0) !=
         MAP_FAILED;
  }
  if (fd >= 0) close(fd);
  if (!ok && base != nullptr) munmap(base, kSpan);
  if (!ok) return nullptr;
  memset(base, 'a', kRun);
  return strcpy(base + kRun * kRuns, tail);
}

inline void Unmap(char* tail) { munmap(tail + 4096 - kSpan, kSpan); }

}  // namespace huge_text

#endif  // COMMONHELPERS_TESTS_SUPPORT_HUGE_TEXT_H_

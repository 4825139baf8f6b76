#include "support/platform.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <windows.h>

#include <thread>
#else
#include <limits.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace platform {

#ifdef _WIN32

std::string MakeFifo(const std::string&) { return "Windows has no FIFOs"; }

// The stack is the system's: the test that asks for a small one needs a FIFO.
Thread::Thread(size_t, void (*body)(void*), void* arg)
    : body_(body), arg_(arg), handle_(new std::thread(body, arg)) {}

Thread::~Thread() {
  static_cast<std::thread*>(handle_)->join();
  delete static_cast<std::thread*>(handle_);
}

char* MapHugeText(const char*, std::string& whyNot) {
  whyNot = "no mapping of one file region many times in a row on Windows";
  return nullptr;
}

void UnmapHugeText(char*) {}

char* GuardedEnd(std::string& whyNot) {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  const size_t page = info.dwPageSize;
  char* base =
      static_cast<char*>(VirtualAlloc(nullptr, 2 * page, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  DWORD old;
  if (base == nullptr || !VirtualProtect(base + page, page, PAGE_NOACCESS, &old)) {
    whyNot = "no guard page: VirtualAlloc or VirtualProtect failed";
    if (base != nullptr) VirtualFree(base, 0, MEM_RELEASE);
    return nullptr;
  }
  return base + page;
}

void ReleaseGuarded(char* end) {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  VirtualFree(end - info.dwPageSize, 0, MEM_RELEASE);
}

#else

namespace {

constexpr uint64_t kRun = uint64_t{1} << 20, kRuns = 4097, kSpan = kRun * kRuns + 4096;

// Under qemu-user every byte of the 4 GiB walks is translated code; the
// tests of emulated targets run with this set.
bool Emulated() { return getenv("COMMONHELPERS_TEST_EMULATED") != nullptr; }

}  // namespace

std::string MakeFifo(const std::string& path) {
  return mkfifo(path.c_str(), 0600) == 0 ? "" : "mkfifo: " + std::string(strerror(errno));
}

Thread::Thread(size_t bytes, void (*body)(void*), void* arg) : body_(body), arg_(arg) {
  const auto run = [](void* self) -> void* {
    static_cast<Thread*>(self)->body_(static_cast<Thread*>(self)->arg_);
    return nullptr;
  };
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  const size_t minimum = PTHREAD_STACK_MIN;  // 16 KiB on x86-64, 128 KiB on aarch64
  pthread_attr_setstacksize(&attr, bytes > minimum ? bytes : minimum);
  auto* thread = new pthread_t;
  if (pthread_create(thread, &attr, run, this) == 0)
    handle_ = thread;
  else
    delete thread;
  pthread_attr_destroy(&attr);
}

Thread::~Thread() {
  if (handle_ != nullptr) pthread_join(*static_cast<pthread_t*>(handle_), nullptr);
  delete static_cast<pthread_t*>(handle_);
}

char* MapHugeText(const char* tail, std::string& whyNot) {
  if (sizeof(size_t) < 8) {
    whyNot = "a 4 GiB text does not fit a 32-bit address space";
    return nullptr;
  }
  if (Emulated()) {
    whyNot = "under emulation the 4 GiB walks take minutes";
    return nullptr;
  }
  const size_t run = static_cast<size_t>(kRun), span = static_cast<size_t>(kSpan);
  const int fd = memfd_create("run", 0);
  void* mapped = mmap(nullptr, span, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  char* base = mapped != MAP_FAILED ? static_cast<char*>(mapped) : nullptr;
  bool ok = fd >= 0 && ftruncate(fd, static_cast<off_t>(run)) == 0 && base != nullptr;
  for (size_t k = 0; ok && k < kRuns; ++k) {
    ok = mmap(base + k * run, run, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, fd, 0) !=
         MAP_FAILED;
  }
  if (fd >= 0) close(fd);
  if (!ok && base != nullptr) munmap(base, span);
  if (!ok) {
    whyNot = "no address space for a 4 GiB text";
    return nullptr;
  }
  memset(base, 'a', run);
  return strcpy(base + run * kRuns, tail);
}

void UnmapHugeText(char* tail) {
  munmap(tail + 4096 - static_cast<size_t>(kSpan), static_cast<size_t>(kSpan));
}

char* GuardedEnd(std::string& whyNot) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  void* mapped =
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  char* base = mapped != MAP_FAILED ? static_cast<char*>(mapped) : nullptr;
  if (base == nullptr || mprotect(base + page, page, PROT_NONE) != 0) {
    whyNot = "no guard page: " + std::string(strerror(errno));
    if (base != nullptr) munmap(base, 2 * page);
    return nullptr;
  }
  return base + page;
}

void ReleaseGuarded(char* end) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  munmap(end - page, 2 * page);
}

#endif

}  // namespace platform

#ifndef _WIN32
// AddressSanitizer's defaults for this binary, as the asan preset's test runs
// set them, so that running it directly (as the mutation script does) checks
// the same way. With frames on the thread's own stack, GCC 12 leaves marks
// of ended scopes under the SIMD kernels' realigned frames, and in some runs
// an AVX2 kernel's own locals are reported as out of scope; fake frames
// start clean. ASAN_OPTIONS still overrides this.
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options() {
  return "detect_stack_use_after_return=1";
}
#endif

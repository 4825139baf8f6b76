// What the tests need from the operating system beyond standard C++: FIFOs,
// threads with a chosen stack size, a 4 GiB text mapped for almost no
// memory, and memory that ends at a page no one may read. Each piece says
// why it is missing where it is; a test that needs it skips itself there
// with that reason.
#ifndef COMMONHELPERS_TESTS_SUPPORT_PLATFORM_H_
#define COMMONHELPERS_TESTS_SUPPORT_PLATFORM_H_

#include <cstddef>
#include <string>

namespace platform {

// Makes a FIFO at `path`; "" on success, else why there is none.
std::string MakeFifo(const std::string& path);

// A thread that runs `body(arg)` on a stack of `bytes`, raised to the
// platform's minimum where that is larger; the destructor joins it.
class Thread {
 public:
  Thread(size_t bytes, void (*body)(void*), void* arg);
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread();
  bool Started() const { return handle_ != nullptr; }

 private:
  void (*body_)(void*);
  void* arg_;
  void* handle_ = nullptr;
};

// 4 GiB + 1 MiB of 'a' (one 1 MiB run mapped 4,097 times in a row), then a
// private zeroed page that holds `tail`. Returns where the tail starts, or
// null with the reason in `whyNot`; release with UnmapHugeText(tail).
char* MapHugeText(const char* tail, std::string& whyNot);
void UnmapHugeText(char* tail);

// A page of writable memory right before one that faults when read, so that
// a read one byte past its end crashes the test. Returns that end, or null
// with the reason in `whyNot`; release with ReleaseGuarded(end).
char* GuardedEnd(std::string& whyNot);
void ReleaseGuarded(char* end);

}  // namespace platform

#endif  // COMMONHELPERS_TESTS_SUPPORT_PLATFORM_H_

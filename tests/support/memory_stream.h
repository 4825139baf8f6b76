// A read-only binary stdio stream positioned at the start of `bytes`, closed
// on scope exit.
#ifndef COMMONHELPERS_TESTS_SUPPORT_MEMORY_STREAM_H_
#define COMMONHELPERS_TESTS_SUPPORT_MEMORY_STREAM_H_

#include <cstdio>
#include <string>

struct MemoryStream {
  explicit MemoryStream(const std::string& bytes) : file(tmpfile()) {
    fwrite(bytes.data(), 1, bytes.size(), file);
    rewind(file);
  }
  ~MemoryStream() { fclose(file); }
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  FILE* file;
};

#endif  // COMMONHELPERS_TESTS_SUPPORT_MEMORY_STREAM_H_

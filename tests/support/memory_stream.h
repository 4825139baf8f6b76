// A binary stdio stream positioned at the start of `bytes`, closed when the
// pointer goes.
#ifndef COMMONHELPERS_TESTS_SUPPORT_MEMORY_STREAM_H_
#define COMMONHELPERS_TESTS_SUPPORT_MEMORY_STREAM_H_

#include <cstdio>
#include <memory>
#include <string>

inline std::unique_ptr<FILE, int (*)(FILE*)> MemoryStream(const std::string& bytes) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(tmpfile(), fclose);
  fwrite(bytes.data(), 1, bytes.size(), file.get());
  rewind(file.get());
  return file;
}

#endif  // COMMONHELPERS_TESTS_SUPPORT_MEMORY_STREAM_H_

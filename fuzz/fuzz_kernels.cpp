// Every kernel level against the scalar twins on the input read as UTF-8 and
// as UTF-16 units (an odd trailing byte dropped), each up to its first zero;
// the first byte picks the room of the short conversions.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/kernel_diff.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string units(size / 2, u'\0');
  memcpy(&units[0], data, size / 2 * 2);
  const std::string differences = kernel_diff::Differences(
      std::string(reinterpret_cast<const char*>(data), size), size != 0 ? data[0] : 0, units);
  if (!differences.empty()) {
    fprintf(stderr, "%s\n", differences.c_str());
    abort();
  }
  return 0;
}

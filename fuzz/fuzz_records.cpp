// The record readers over arbitrary bytes, called in an order the input
// chooses: every buffer returned is the caller's, no reader reads past the
// stream or leaks, and a decoded integer ends at its first byte below 0x80.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>

// The library's malloc calls come here (-Wl,--wrap=malloc): a request above
// 1 MiB fails, as on a full machine, which keeps the out-of-memory path in
// reach. No fuzz input holds a record that long, and ASan would otherwise
// spend most of a run poisoning the shadow of the buffers records announce.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
  return size > (1u << 20) ? nullptr : __real_malloc(size);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;  // fmemopen wants at least one byte
  FILE* file = fmemopen(const_cast<uint8_t*>(data + 1), size - 1, "rb");
  for (int step = 0; file != nullptr && step < 16 && !feof(file); ++step) {
    RResult result = RESULT_ANY_ERROR;
    const long before = ftell(file);
    switch ((data[0] >> (2 * (step % 4))) & 3) {
      case 0: {
        const int value = Read7BitEncodedInt(file, &result);
        const long used = ftell(file) - before;
        if ((result != RESULT_SUCCEEDED && value != -1) || used > 5) abort();
        for (long k = 0; result == RESULT_SUCCEEDED && k < used; ++k) {
          if (((data[1 + before + k] & 0x80) == 0) != (k == used - 1)) abort();
        }
        break;
      }
      case 1:
        free(GetBinWideString(file, &result));
        break;
      case 2:
        free(GetBinString(file, &result));
        break;
      default:
        if (ReadBinBool(file, &result) != FALSE && result != RESULT_SUCCEEDED) abort();
    }
    if (result != RESULT_SUCCEEDED && result != RESULT_INV_DATA && result != RESULT_OUT_OF_MEMORY) {
      abort();
    }
  }
  if (file != nullptr) fclose(file);
  return 0;
}

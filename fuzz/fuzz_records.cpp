// The record readers over arbitrary bytes, called in an order the input
// chooses: every buffer returned is the caller's, no reader reads past the
// stream or leaks, and an integer takes at most five bytes (fuzz_pack checks
// every decoded value and its length against a decoder of its own).
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
    const int kind = (data[0] >> (2 * (step % 4))) & 3;
    if (kind == 0 && Read7BitEncodedInt(file, &result) != -1 && result != RESULT_SUCCEEDED) abort();
    if (kind == 0 && ftell(file) - before > 5) abort();
    if (kind == 1) free(GetBinWideString(file, &result));
    if (kind == 2) free(GetBinString(file, &result));
    if (kind == 3 && ReadBinBool(file, &result) != FALSE && result != RESULT_SUCCEEDED) abort();
    const bool known = result == RESULT_SUCCEEDED || result == RESULT_INV_DATA;
    if (!known && result != RESULT_OUT_OF_MEMORY) abort();
  }
  if (file != nullptr) fclose(file);
  return 0;
}

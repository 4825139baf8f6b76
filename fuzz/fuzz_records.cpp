// The record readers over arbitrary bytes, called in an order the input
// chooses: every buffer returned is the caller's, and no reader may read past
// the stream or leak.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t order = data[0];
  // fmemopen wants at least one byte: an empty stream is a one-byte stream
  // whose byte has been read.
  static char empty[1];
  FILE* file = size > 1 ? fmemopen(const_cast<uint8_t*>(data + 1), size - 1, "rb")
                        : fmemopen(empty, 1, "rb");
  if (file == nullptr) return 0;
  if (size == 1) fgetc(file);
  for (int step = 0; step < 16 && !feof(file); ++step) {
    RResult result = RESULT_ANY_ERROR;
    const long before = ftell(file);
    switch ((order >> (2 * (step % 4))) & 3) {
      case 0: {
        const int value = Read7BitEncodedInt(file, &result);
        if (result != RESULT_SUCCEEDED && value != -1) abort();
        // Success ends at the first byte without its high bit, within five.
        const long used = ftell(file) - before;
        if (used > 5) abort();
        for (long k = 0; result == RESULT_SUCCEEDED && k < used; ++k) {
          if (((data[1 + before + k] & 0x80) == 0) != (k == used - 1)) abort();
        }
        break;
      }
      case 1:
        free(GetBinWideString(file, &result));
        break;
      case 2: {
        char* text = GetBinString(file, &result);
        if ((result == RESULT_SUCCEEDED) != (text != nullptr) && result != RESULT_INV_DATA) abort();
        free(text);
        break;
      }
      default: {
        const BOOL value = ReadBinBool(file, &result);
        if (result != RESULT_SUCCEEDED && value != FALSE) abort();
        break;
      }
    }
    if (result != RESULT_SUCCEEDED && result != RESULT_INV_DATA && result != RESULT_OUT_OF_MEMORY) {
      abort();
    }
  }
  fclose(file);
  return 0;
}

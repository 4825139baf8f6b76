// The UTF-8 text functions on arbitrary bytes, each from an exact-size heap
// copy so that a read past the terminator is caught: fullToHalf, the
// conversion wrappers, the language tests and the byte-string tests.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commonhelpers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const size_t length = strlen(bytes.c_str());
  char* text = static_cast<char*>(malloc(length + 1));
  memcpy(text, bytes.c_str(), length + 1);

  char* half = static_cast<char*>(malloc(length + 1));
  fullToHalf(text, half, nullptr);
  const size_t halfLength = strlen(half);
  if (halfLength > length) abort();
  bool ascii = true;
  for (size_t i = 0; i < length; ++i) ascii = ascii && static_cast<unsigned char>(text[i]) < 0x80;
  if (ascii && strcmp(half, text) != 0) abort();
  free(half);

  RResult result = RESULT_ANY_ERROR;
  USHORT* wide = GetUTF16Text(text, &result);
  if (wide != nullptr) {
    const int units = WcsLen(wide, nullptr);
    if (units < 0 || static_cast<size_t>(units) > length) abort();
    char* back = static_cast<char*>(malloc(3 * static_cast<size_t>(units) + 3));
    RResult backResult = RESULT_ANY_ERROR;
    GetUtf8TextFromUtf16(wide, units, back, &backResult);
    if (result == RESULT_SUCCEEDED && (backResult != RESULT_SUCCEEDED || strcmp(back, text) != 0)) {
      abort();
    }
    ContainsEnglish(wide, nullptr);
    TextIsEmpty(wide, nullptr);
    free(back);
    free(wide);
  }
  ContainsChinese(text, nullptr);
  ValidEnglishWord(text, nullptr);
  IsSameChar(text, length > 0 ? static_cast<USHORT>(text[0]) : 0, static_cast<int>(size % 8));
  IsValidInteger(text);
  IsStringSpace(text);
  StartsWith(text, length > 2 ? text + length - 2 : "");
  if (EndsWith(text, length > 2 ? text + length - 2 : "") != TRUE) abort();
  ChopString(text);

  FILE* file = size > 0 ? fmemopen(const_cast<uint8_t*>(data), size, "rb") : nullptr;
  if (file != nullptr) {
    USHORT line[64];
    while (ReadUtf8Line(file, line, 1 + static_cast<int>(size % 64), &result) == TRUE) {
      if (WcsLen(line, nullptr) > 63) abort();
    }
    if (result != RESULT_SUCCEEDED) abort();  // the end of the file is no failure
    fclose(file);
  }
  free(text);
  return 0;
}

// The UTF-8 text functions on arbitrary bytes, each from an exact-size heap
// copy so that a read past the terminator is caught, against inverses and
// definitions written independently of the library's scans.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

#include <commonhelpers/commonhelpers.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string str(reinterpret_cast<const char*>(data),
                        strnlen(reinterpret_cast<const char*>(data), size));
  char* text = strdup(str.c_str());
  char* half = strdup(text);
  fullToHalf(text, half, nullptr);
  // Every change turns three bytes into one ASCII byte, and leaves ASCII alone.
  const bool ascii = std::all_of(str.begin(), str.end(), [](char c) { return (c & 0x80) == 0; });
  if (strlen(half) > str.size() || (ascii && str != half)) abort();
  free(half);

  RResult result = RESULT_ANY_ERROR;
  USHORT* wide = GetUTF16Text(text, &result);
  if (wide != nullptr) {
    const int units = WcsLen(wide, nullptr);
    std::string back(3 * static_cast<size_t>(units) + 3, '\0');
    RResult backResult = RESULT_ANY_ERROR;
    GetUtf8TextFromUtf16(wide, units, &back[0], &backResult);
    if (result == RESULT_SUCCEEDED && (backResult != RESULT_SUCCEEDED || back.c_str() != str)) {
      abort();
    }
    ContainsEnglish(wide, nullptr);
    free(wide);
  }
  ContainsChinese(text, nullptr);
  ValidEnglishWord(text, nullptr);
  IsSameChar(text, str.empty() ? 0 : static_cast<USHORT>(text[0]), static_cast<int>(size % 8));
  // A sign alone counts as an integer.
  if (IsValidInteger(text) !=
      (!str.empty() && std::regex_match(str, std::regex("[+-]?(0|[1-9][0-9]*)?")))) {
    abort();
  }
  if (IsStringSpace(text) != (!str.empty() && str.find_first_not_of(" \t\n\v\f\r") == str.npos)) {
    abort();
  }
  if (EndsWith(text, str.substr(str.size() / 2).c_str()) != TRUE) abort();
  ChopString(text);
  const size_t first = str.find_first_not_of(" \r\n");
  if (text !=
      (first == str.npos ? "" : str.substr(first, str.find_last_not_of(" \r\n") + 1 - first))) {
    abort();
  }
  free(text);

  FILE* file = fmemopen(const_cast<uint8_t*>(data), size, "rb");  // null when size is 0
  if (file == nullptr) return 0;
  USHORT line[64];
  while (ReadUtf8Line(file, line, 1 + static_cast<int>(size % 64), &result)) {
    if (WcsLen(line, nullptr) > 63) abort();
  }
  if (result != RESULT_SUCCEEDED) abort();  // the end of the file is no failure
  fclose(file);
  return 0;
}

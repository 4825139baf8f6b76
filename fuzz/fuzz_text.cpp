// The UTF-8 text functions on arbitrary bytes, each from an exact-size heap
// copy so that a read past the terminator is caught: fullToHalf, the
// conversion wrappers, the language tests and the byte-string tests.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

#include <commonhelpers/commonhelpers.h>

namespace {

// The grammar of a decimal integer, independent of the library's scan. A sign
// alone counts as an integer.
const std::regex kInteger("[+-]?(0|[1-9][0-9]*)?");

std::string Folded(std::string s) {
  for (char& c : s) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const size_t length = strlen(bytes.c_str());
  char* text = static_cast<char*>(malloc(length + 1));
  memcpy(text, bytes.c_str(), length + 1);

  char* half = static_cast<char*>(malloc(length + 1));
  fullToHalf(text, half, nullptr);
  // Every change turns three bytes into one ASCII byte, and leaves ASCII alone.
  const std::string plain(text);
  if (strlen(half) > length ||
      (plain != half && std::none_of(plain.begin(), plain.end(), [](char c) { return c & 0x80; })))
    abort();
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
  if (IsValidInteger(text) != (length > 0 && std::regex_match(text, kInteger))) abort();
  const std::string str(text);
  if (IsStringSpace(text) !=
      (!str.empty() && str.find_first_not_of(" \t\n\v\f\r") == std::string::npos))
    abort();
  const std::string tail = length > 2 ? str.substr(length - 2) : "";
  if (StartsWith(text, tail.c_str()) != (Folded(str.substr(0, tail.size())) == Folded(tail)))
    abort();
  if (EndsWith(text, tail.c_str()) != TRUE) abort();
  ChopString(text);
  const size_t first = str.find_first_not_of(" \r\n");
  if (first == std::string::npos
          ? *text != 0
          : text != str.substr(first, str.find_last_not_of(" \r\n") + 1 - first))
    abort();

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

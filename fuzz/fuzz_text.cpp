// The UTF-8 text functions on arbitrary bytes, each from an exact-size heap
// copy so that a read past the terminator is caught: fullToHalf, the
// conversion wrappers, the language tests and the byte-string tests.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <commonhelpers/commonhelpers.h>

namespace {

BOOL ValidIntegerModel(const char* p) {
  if (*p == 0) return FALSE;
  if (*p == '+' || *p == '-') ++p;
  if (p[0] == '0' && p[1] != 0) return FALSE;
  for (; *p != 0; ++p) {
    if (*p < '0' || *p > '9') return FALSE;
  }
  return TRUE;
}

// fullToHalf one character at a time; a sequence cut short by the end of the
// text is copied as it is.
std::string HalfModel(const std::string& in) {
  std::string out;
  for (size_t i = 0; i < in.size();) {
    const unsigned lead = static_cast<unsigned char>(in[i]);
    if ((lead & 0xF0) != 0xE0 || in.size() - i < 3) {
      out += in[i++];
      continue;
    }
    const unsigned cp = (lead & 0x0F) << 12 | (in[i + 1] & 0x3F) << 6 | (in[i + 2] & 0x3F);
    unsigned half = 0;
    if (cp == 0x3000) {
      half = ' ';
    } else if ((cp >= 0xFF03 && cp <= 0xFF06) || cp == 0xFF0A || cp == 0xFF0B ||
               (cp >= 0xFF0E && cp <= 0xFF19) || (cp >= 0xFF1C && cp <= 0xFF1E) ||
               (cp >= 0xFF20 && cp <= 0xFF3A) || cp == 0xFF3F || (cp >= 0xFF41 && cp <= 0xFF5E)) {
      half = cp - 0xFEE0;
    } else if (cp >= 0x2460 && cp <= 0x2468) {
      half = cp - 0x242F;
    } else if (cp == 0x2012 || cp == 0x2013 || cp == 0x2015 || cp == 0xFF0D) {
      half = '-';
    }
    if (half != 0) {
      out += static_cast<char>(half);
    } else {
      out.append(in, i, 3);
    }
    i += 3;
  }
  return out;
}

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
  if (half != HalfModel(text)) abort();  // so never longer, and ASCII unchanged
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
  if (IsValidInteger(text) != ValidIntegerModel(bytes.c_str())) abort();
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

// Byte-string helpers. Every test and trim works on single bytes, taken as
// unsigned before any <cctype> call; the chop characters are space, CR and LF.
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <commonhelpers/commonhelpers.h>
#include "internal/fatal_check.h"

namespace {

bool IsChopCharacter(char ch) { return ch == ' ' || ch == '\r' || ch == '\n'; }

// A new buffer holding `szFirst` followed by `szSecond` (which may be null),
// or null when it can't be allocated or its size would not fit in an int.
char* Concatenate(const char* szFirst, const char* szSecond) {
  const size_t cbFirst = strlen(szFirst);
  const size_t cbSecond = szSecond != nullptr ? strlen(szSecond) : 0;
  if (cbFirst >= static_cast<size_t>(INT_MAX) ||
      cbSecond >= static_cast<size_t>(INT_MAX) - cbFirst) {
    return nullptr;
  }
  char* szDest = static_cast<char*>(malloc(cbFirst + cbSecond + 1));
  if (szDest != nullptr) {
    memcpy(szDest, szFirst, cbFirst);
    if (cbSecond != 0) {
      memcpy(szDest + cbFirst, szSecond, cbSecond);
    }
    szDest[cbFirst + cbSecond] = '\0';
  }
  return szDest;
}

// Compares `cb` bytes with ASCII letters folded; bytes from 0x80 up must be
// equal as they are.
bool EqualIgnoringAsciiCase(const char* p1, const char* p2, size_t cb) {
  for (size_t i = 0; i < cb; ++i) {
    const unsigned char b1 = static_cast<unsigned char>(p1[i]);
    const unsigned char b2 = static_cast<unsigned char>(p2[i]);
    const int folded1 = b1 < 0x80 ? tolower(b1) : b1;
    const int folded2 = b2 < 0x80 ? tolower(b2) : b2;
    if (static_cast<unsigned char>(folded1) != static_cast<unsigned char>(folded2)) {
      return false;
    }
  }
  return true;
}

}  // namespace

char* CopyString(const char* szSrc, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  char* szDest = nullptr;
  if (szSrc != nullptr) {
    szDest = Concatenate(szSrc, nullptr);
    if (szDest == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    }
  }
  PassBackResult(result, presult);
  return szDest;
}

char* CatchString(char* szSrc, const char* szTgt, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  char* szDest = nullptr;
  if (szSrc == nullptr || szTgt == nullptr) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    szDest = Concatenate(szSrc, szTgt);
    if (szDest == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    } else {
      free(szSrc);
    }
  }
  PassBackResult(result, presult);
  return szDest;
}

void ChopStringStart(char* szText) {
  CH_FATAL_CHECK(szText != NULL);
  const char* pch = szText;
  while (IsChopCharacter(*pch)) {
    ++pch;
  }
  if (pch != szText) {
    memmove(szText, pch, strlen(pch) + 1);
  }
}

void ChopStringEnd(char* szText) {
  CH_FATAL_CHECK(szText != NULL);
  size_t cb = strlen(szText);
  while (cb > 0 && IsChopCharacter(szText[cb - 1])) {
    szText[--cb] = '\0';
  }
}

void ChopString(char* szText) {
  ChopStringStart(szText);
  ChopStringEnd(szText);
}

BOOL IsEmpty(const char* szText) { return szText == nullptr || szText[0] == '\0' ? TRUE : FALSE; }

BOOL IsCharSpace(char ch) { return isspace(static_cast<unsigned char>(ch)) ? TRUE : FALSE; }

BOOL IsStringSpace(const char* szText) {
  if (IsEmpty(szText)) {
    return FALSE;
  }
  for (const char* pch = szText; *pch != '\0'; ++pch) {
    if (!IsCharSpace(*pch)) {
      return FALSE;
    }
  }
  return TRUE;
}

BOOL IsDigit(char ch) { return isdigit(static_cast<unsigned char>(ch)) ? TRUE : FALSE; }

BOOL IsValidInteger(const char* szText) {
  if (IsEmpty(szText)) {
    return FALSE;
  }
  const char* pch = szText;
  if (*pch == '-' || *pch == '+') {
    ++pch;  // a sign alone counts as an integer
  }
  if (pch[0] == '0' && pch[1] != '\0') {
    return FALSE;
  }
  for (; *pch != '\0'; ++pch) {
    if (!IsDigit(*pch)) {
      return FALSE;
    }
  }
  return TRUE;
}

BOOL StartsWith(const char* str1, const char* str2) {
  if (str1 == nullptr || str2 == nullptr) {
    return FALSE;
  }
  const size_t cb1 = strlen(str1);
  const size_t cb2 = strlen(str2);
  return cb1 >= cb2 && EqualIgnoringAsciiCase(str1, str2, cb2) ? TRUE : FALSE;
}

BOOL EndsWith(const char* str1, const char* str2) {
  if (str1 == nullptr || str2 == nullptr) {
    return FALSE;
  }
  const size_t cb1 = strlen(str1);
  const size_t cb2 = strlen(str2);
  return cb1 >= cb2 && EqualIgnoringAsciiCase(str1 + (cb1 - cb2), str2, cb2) ? TRUE : FALSE;
}

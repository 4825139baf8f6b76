// Wide-string tokenizer and cleanup: in place, no allocation.
#include <commonhelpers/commonhelpers.h>
#include "internal/fatal_check.h"
#include "internal/terminated_length.h"

namespace {

bool IsDelimiter(USHORT wch, const USHORT* wszDelimiter) {
  for (const USHORT* p = wszDelimiter; *p != 0; ++p) {
    if (*p == wch) {
      return true;
    }
  }
  return false;
}

bool IsLineEnd(USHORT wch) { return wch == 0x000D || wch == 0x000A; }

bool IsBlank(USHORT wch) {
  return wch == 0x0009 || wch == 0x000A || wch == 0x000D || wch == 0x0020 || wch == 0x3000;
}

}  // namespace

USHORT* WcsTok(USHORT* wszText, const USHORT* wszDelimiter, USHORT** ppwchNextText,
               RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszToken = nullptr;
  if (wszDelimiter == nullptr || ppwchNextText == nullptr ||
      (wszText == nullptr && *ppwchNextText == nullptr)) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    USHORT* pwch = wszText != nullptr ? wszText : *ppwchNextText;
    while (*pwch != 0 && IsDelimiter(*pwch, wszDelimiter)) {
      ++pwch;
    }
    if (*pwch != 0) {
      wszToken = pwch;
      while (*pwch != 0 && !IsDelimiter(*pwch, wszDelimiter)) {
        ++pwch;
      }
      if (*pwch != 0) {
        *pwch++ = 0;
      }
    }
    *ppwchNextText = pwch;
  }
  PassBackResult(result, presult);
  return wszToken;
}

void ChopWStringEnd(USHORT* wszText) {
  CH_FATAL_CHECK(wszText != NULL);
  USHORT* pwchEnd = wszText + commonhelpers_internal::TerminatedLength(wszText);
  while (pwchEnd != wszText && IsLineEnd(pwchEnd[-1])) {
    *--pwchEnd = 0;
  }
}

BOOL TextIsEmpty(USHORT* wszText, RResult* presult) {
  CH_FATAL_CHECK(wszText != NULL);
  const USHORT* pwch = wszText;
  while (*pwch != 0 && IsBlank(*pwch)) {
    ++pwch;
  }
  PassBackResult(RESULT_SUCCEEDED, presult);
  return *pwch == 0 ? TRUE : FALSE;
}

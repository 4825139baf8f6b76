// Language classification of UTF-16 units and of whole texts. A unit is
// judged by its own value: surrogate pairs are never combined, so characters
// beyond U+FFFF belong to no class.
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>

namespace {

bool IsEnglishLetter(USHORT wch) {
  return (wch >= 0x41 && wch <= 0x5A) || (wch >= 0x61 && wch <= 0x7A);
}

bool IsChineseCharacter(USHORT wch) { return wch >= 0x4E00 && wch <= 0x9FFF; }

bool IsNumberCharacter(USHORT wch) {
  return (wch >= 0x2C && wch <= 0x39) || (wch >= 0xFF10 && wch <= 0xFF19);
}

}  // namespace

LanguageType GetTextType(USHORT wch, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  LanguageType type = TTS_LANG_UNSIGNED;
  if (IsEnglishLetter(wch)) {
    type = TTS_LANG_FOREIGN;
  } else if (IsChineseCharacter(wch)) {
    type = TTS_LANG_PRIMARY;
  }
  PassBackResult(result, presult);
  return type;
}

BOOL BelongsToEnglish(USHORT wch, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  const BOOL fEnglish = IsEnglishLetter(wch) ? TRUE : FALSE;
  PassBackResult(result, presult);
  return fEnglish;
}

BOOL BelongsToChinese(USHORT wch, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  const BOOL fChinese = IsChineseCharacter(wch) ? TRUE : FALSE;
  PassBackResult(result, presult);
  return fChinese;
}

BOOL BelongsToNumber(USHORT wch, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  const BOOL fNumber = IsNumberCharacter(wch) ? TRUE : FALSE;
  PassBackResult(result, presult);
  return fNumber;
}

// The text-level tests below never write through `presult`: it is part of
// their signature only.

BOOL ValidEnglishWord(const char* szText, RResult* /*presult*/) {
  // A byte from 0x80 up widens with its sign to 0xFF80 or above, never a
  // letter, so testing the byte as unsigned gives the same answer.
  for (const char* pch = szText; *pch != '\0'; ++pch) {
    if (!IsEnglishLetter(static_cast<unsigned char>(*pch))) {
      return FALSE;
    }
  }
  return TRUE;
}

BOOL ContainsEnglish(unsigned short* wszText, RResult* /*presult*/) {
  BOOL fFound = FALSE;
  if (wszText != nullptr) {
    const int cnUnits = WcsLen(wszText, nullptr);
    for (int i = 0; i < cnUnits && !fFound; ++i) {
      fFound = IsEnglishLetter(wszText[i]) ? TRUE : FALSE;
    }
  }
  return fFound;
}

BOOL ContainsChinese(char* szText, RResult* /*presult*/) {
  BOOL fFound = FALSE;
  if (szText != nullptr) {
    // A failed allocation or conversion answers FALSE.
    RResult result = RESULT_SUCCEEDED;
    USHORT* wszText = GetUTF16Text(szText, &result);
    const int cnUnits = result == RESULT_SUCCEEDED ? WcsLen(wszText, nullptr) : 0;
    for (int i = 0; i < cnUnits && !fFound; ++i) {
      fFound = IsChineseCharacter(wszText[i]) ? TRUE : FALSE;
    }
    free(wszText);
  }
  return fFound;
}

BOOL IsSameChar(const char* szText, USHORT punc, int count) {
  if (szText == nullptr) {
    return FALSE;
  }
  // The conversion's code is not looked at: whatever it left in the zero-filled
  // buffer is the text, and a buffer that could not be allocated is no text.
  USHORT* wszText = GetUTF16Text(szText, nullptr);
  const int cnUnits = wszText == nullptr ? 0 : WcsLen(wszText, nullptr);
  bool fSame = true;
  for (int i = 0; i < cnUnits && fSame; ++i) {
    fSame = wszText[i] == punc;
  }
  free(wszText);
  return fSame && cnUnits == count ? TRUE : FALSE;
}

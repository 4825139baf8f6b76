// Calls a few functions through the installed headers; exits 0 when all
// answer as documented.
#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main() {
  RResult result = RESULT_ANY_ERROR;
  USHORT* wszText = GetUTF16Text("\xE4\xBD\xA0\xE5\xA5\xBD, world", &result);
  const bool converted = result == RESULT_SUCCEEDED && WcsLen(wszText, nullptr) == 9;
  const bool english = ContainsEnglish(wszText, nullptr) == TRUE;
  free(wszText);

  char half[16];
  fullToHalf("\xEF\xBC\xA1\xEF\xBC\x91", half, nullptr);
  char utf8[8];
  const USHORT wsz[] = {0x4F60, 0};
  ConvertUtfString(wsz, UTF_16, utf8, sizeof utf8, UTF_8, &result);

  const bool ok = converted && english && strcmp(half, "A1") == 0 &&
                  strcmp(utf8, "\xE4\xBD\xA0") == 0 && IsValidInteger("-42") == TRUE;
  puts(ok ? "consumer: ok" : "consumer: FAILED");
  return ok ? 0 : 1;
}

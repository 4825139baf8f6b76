// Reads UTF-8 lines from standard input; for each prints its language class
// ("zh", "en", "zh+en" or "-"), a tab and the line with full-width forms
// turned into ASCII, the way a text front end prepares a line for the
// engine.
#include <commonhelpers/commonhelpers.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main() {
  std::string line;
  std::string half;
  for (int ch = getchar(); ch != EOF; ch = getchar()) {
    if (ch != '\n') {
      line += static_cast<char>(ch);
      continue;
    }
    // The normalized text is never longer than its input.
    half.resize(line.size() + 1);
    fullToHalf(line.c_str(), &half[0], nullptr);

    RResult result = RESULT_SUCCEEDED;
    USHORT* wszLine = GetUTF16Text(half.c_str(), &result);
    if (wszLine == nullptr) {
      fputs("normalize_line: out of memory\n", stderr);
      return 1;
    }
    // On malformed UTF-8 the wide text holds the valid start of the line.
    bool chinese = false;
    for (const USHORT* pwch = wszLine; *pwch != 0 && !chinese; ++pwch) {
      chinese = BelongsToChinese(*pwch, nullptr) == TRUE;
    }
    const bool english = ContainsEnglish(wszLine, nullptr) == TRUE;
    free(wszLine);

    const char* label = chinese ? (english ? "zh+en" : "zh") : (english ? "en" : "-");
    printf("%s\t%s\n", label, half.c_str());
    line.clear();
  }
  return 0;
}

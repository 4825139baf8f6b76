// halfwidth and lang: line-by-line text commands.
#include <cstdlib>
#include <cstring>

#include "chtool.h"

namespace chtool {

namespace {

const char kHalfWidthUsage[] =
    "usage: chtool halfwidth [FILE...]\n"
    "Writes UTF-8 text with full-width letters, digits and symbols, the ideographic\n"
    "space, circled digits 1-9 and dashes turned into ASCII. Other text is kept.\n";

const char kLangUsage[] =
    "usage: chtool lang [--summary] [FILE...]\n"
    "For each line prints 'zh+en', 'zh', 'en' or '-' (Chinese characters, English\n"
    "letters, both or neither), a tab and the line. --summary prints only the counts.\n"
    "Only the part of a line before its first invalid UTF-8 sequence is searched.\n";

}  // namespace

int HalfWidth(const Args& args) {
  if (WantsHelp(args, kHalfWidthUsage)) return 0;
  std::string half;
  return ForEachLine(args, [&](std::string& line, bool lineFeed) {
    half.resize(line.size() + 1);
    // fullToHalf stops at a zero byte: convert the pieces between them.
    for (size_t start = 0; start <= line.size();) {
      size_t end = line.find('\0', start);
      if (end == std::string::npos) end = line.size();
      fullToHalf(line.c_str() + start, &half[0], nullptr);
      fwrite(half.data(), 1, strlen(half.c_str()), stdout);
      if (end < line.size()) fputc('\0', stdout);
      start = end + 1;
    }
    if (lineFeed) fputc('\n', stdout);
  });
}

int Lang(const Args& args) {
  if (WantsHelp(args, kLangUsage)) return 0;
  Args files;
  bool summary = false;
  for (const std::string& arg : args) {
    if (arg == "--summary") {
      summary = true;
    } else if (arg.size() > 1 && arg[0] == '-') {
      return Fail(kExitUsage, "lang: unknown option " + arg);
    } else {
      files.push_back(arg);
    }
  }
  long counts[4] = {0, 0, 0, 0};  // neither, English, Chinese, both
  const char* const kLabels[4] = {"-", "en", "zh", "zh+en"};
  bool outOfMemory = false;
  int status = ForEachLine(files, [&](std::string& line, bool) {
    // One conversion serves both tests; when the line is not valid UTF-8 it
    // holds the valid start, and both tests look at that.
    USHORT* wszLine = GetUTF16Text(line.c_str(), nullptr);
    outOfMemory = outOfMemory || wszLine == nullptr;
    bool chinese = false;
    for (const USHORT* pwch = wszLine; pwch != nullptr && *pwch != 0 && !chinese; ++pwch) {
      chinese = BelongsToChinese(*pwch, nullptr) == TRUE;
    }
    const bool english = ContainsEnglish(wszLine, nullptr) == TRUE;
    free(wszLine);
    const int kind = (chinese ? 2 : 0) + (english ? 1 : 0);
    ++counts[kind];
    if (!summary) {
      printf("%s\t", kLabels[kind]);
      fwrite(line.data(), 1, line.size(), stdout);
      fputc('\n', stdout);
    }
  });
  if (outOfMemory) status = Fail(kExitFailure, "lang: out of memory");
  if (summary) {
    printf("lines\t%ld\nchinese\t%ld\nenglish\t%ld\nboth\t%ld\nneither\t%ld\n",
           counts[0] + counts[1] + counts[2] + counts[3], counts[2] + counts[3],
           counts[1] + counts[3], counts[3], counts[0]);
  }
  return status;
}

}  // namespace chtool

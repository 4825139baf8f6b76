// halfwidth and lang: line-by-line text commands.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "chtool.h"

namespace chtool {

namespace {

int RunHalfWidth(const Invocation& invocation) {
  std::string half;
  return ForEachLine(invocation.operands, [&](std::string& line, bool lineFeed) {
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
    return true;
  });
}

int RunLang(const Invocation& invocation) {
  const bool summary = invocation.Has("--summary");
  long counts[4] = {0, 0, 0, 0};  // neither, English only, Chinese only, both
  const char* const kLabels[4] = {"-", "en", "zh", "zh+en"};
  bool outOfMemory = false;
  int status = ForEachLine(invocation.operands, [&](std::string& line, bool) {
    bool chinese = false;
    bool english = false;
    // The library's functions stop at a zero byte: each part between zero
    // bytes is converted and searched on its own. One conversion serves both
    // tests; when a part is not valid UTF-8 it holds the valid start, and
    // both tests look at that.
    for (size_t start = 0; start <= line.size() && !outOfMemory;) {
      const size_t end = std::min(line.find('\0', start), line.size());
      USHORT* wszPart = GetUTF16Text(line.c_str() + start, nullptr);
      outOfMemory = wszPart == nullptr;
      for (const USHORT* pwch = wszPart; pwch != nullptr && *pwch != 0 && !chinese; ++pwch) {
        chinese = BelongsToChinese(*pwch, nullptr) == TRUE;
      }
      english = english || ContainsEnglish(wszPart, nullptr) == TRUE;
      free(wszPart);
      start = end + 1;
    }
    const int kind = (chinese ? 2 : 0) + (english ? 1 : 0);
    ++counts[kind];
    if (!summary) {
      printf("%s\t", kLabels[kind]);
      fwrite(line.data(), 1, line.size(), stdout);
      fputc('\n', stdout);
    }
    return !outOfMemory;
  });
  if (outOfMemory) return Fail(kExitFailure, "lang: out of memory");
  if (summary) {
    printf("zh only\t%ld\nen only\t%ld\nzh+en\t%ld\nneither\t%ld\ntotal\t%ld\n", counts[2],
           counts[1], counts[3], counts[0], counts[0] + counts[1] + counts[2] + counts[3]);
  }
  return status;
}

}  // namespace

const Command kHalfWidth = {
    "halfwidth",
    "usage: chtool halfwidth [FILE...]\n"
    "Writes the UTF-8 text of the FILEs (or standard input) with these forms turned\n"
    "into ASCII, line by line:\n"
    "  full-width ＃＄％＆＊＋－．／０-９＜＝＞＠Ａ-Ｚ＿ａ-ｚ｛｜｝～  to  "
    "#$%&*+-./0-9<=>@A-Z_a-z{|}~\n"
    "  the ideographic space U+3000                          to  a space\n"
    "  the circled digits ①-⑨                               to  1-9\n"
    "  figure dash U+2012, en dash U+2013, horizontal bar U+2015  to  -\n"
    "Everything else stays as it is, among it the 14 full-width forms\n"
    "  ！＂＇（），：；？［＼］＾｀  (U+FF01 U+FF02 U+FF07 U+FF08 U+FF09 U+FF0C U+FF1A\n"
    "  U+FF1B U+FF1F U+FF3B U+FF3C U+FF3D U+FF3E U+FF40),\n"
    "everything from U+FF5F on, the em dash U+2014, the hyphens U+2010 and U+2011,\n"
    "circled numbers from ⑩ on, and CJK punctuation such as 、 and 。.\n"
    "Malformed input is not checked: a byte from E0 to EF takes the two bytes after\n"
    "it, whatever they are, as a three-byte sequence, so 'x\\xEF|!y' comes out as\n"
    "'xAy'. A lead byte with fewer than two bytes left on its line, and every other\n"
    "byte, zero bytes included, is copied unchanged. A zero byte ends a sequence as\n"
    "the end of the line does: a lead byte right before it is copied unchanged, and\n"
    "the text after it is normalized as a line of its own would be.\n",
    {},
    RunHalfWidth};

const Command kLang = {
    "lang",
    "usage: chtool lang [--summary] [FILE...]\n"
    "For each line prints 'zh' (Chinese characters, U+4E00 to U+9FFF, and no English\n"
    "letter), 'en' (English letters A-Z a-z, no Chinese character), 'zh+en' (both)\n"
    "or '-' (neither), a tab and the line. With --summary prints only how many lines\n"
    "fall in each of these four classes, each line in exactly one, and the total:\n"
    "  zh only N / en only N / zh+en N / neither N / total N  (one per line, TAB).\n"
    "A zero byte splits a line into parts, and the line's class covers them all\n"
    "('abc\\0你' is zh+en). Each part is searched up to its first invalid UTF-8\n"
    "sequence; the bytes after that are not looked at.\n",
    {{"--summary", nullptr, false}},
    RunLang};

}  // namespace chtool

#include <gtest/gtest.h>

#include <string>

#include "commonhelpers.h"
#include "support/alloc_failure.h"
#include "support/wide.h"

namespace {

// Every unit against the classes written out as sets of ranges.
TEST(CharacterClasses, MatchTheirRangesOverAllUnits) {
  auto in = [](unsigned u, std::initializer_list<std::pair<unsigned, unsigned>> ranges) {
    for (auto [lo, hi] : ranges) {
      if (u >= lo && u <= hi) return TRUE;
    }
    return FALSE;
  };
  int english = 0, chinese = 0, number = 0;
  for (unsigned u = 0; u <= 0xFFFF; ++u) {
    const USHORT wch = static_cast<USHORT>(u);
    const BOOL isEnglish = in(u, {{'A', 'Z'}, {'a', 'z'}});
    const BOOL isChinese = in(u, {{0x4E00, 0x9FFF}});
    const BOOL isNumber = in(u, {{0x2C, 0x39}, {0xFF10, 0xFF19}});
    RResult result = RESULT_INV_DATA;
    ASSERT_EQ(BelongsToEnglish(wch, &result), isEnglish) << u;
    ASSERT_EQ(result, RESULT_SUCCEEDED);
    result = RESULT_INV_DATA;
    ASSERT_EQ(BelongsToChinese(wch, &result), isChinese) << u;
    ASSERT_EQ(result, RESULT_SUCCEEDED);
    result = RESULT_INV_DATA;
    ASSERT_EQ(BelongsToNumber(wch, &result), isNumber) << u;
    ASSERT_EQ(result, RESULT_SUCCEEDED);
    result = RESULT_INV_DATA;
    const LanguageType expected = isEnglish   ? TTS_LANG_FOREIGN
                                  : isChinese ? TTS_LANG_PRIMARY
                                              : TTS_LANG_UNSIGNED;
    ASSERT_EQ(GetTextType(wch, &result), expected) << u;
    ASSERT_EQ(result, RESULT_SUCCEEDED);
    english += isEnglish;
    chinese += isChinese;
    number += isNumber;
  }
  EXPECT_EQ(english, 52);
  EXPECT_EQ(chinese, 20992);
  EXPECT_EQ(number, 24);
  EXPECT_EQ(GetTextType(u'A', nullptr), TTS_LANG_FOREIGN);
}

TEST(ValidEnglishWord, AcceptsOnlyAsciiLetters) {
  const std::pair<const char*, BOOL> rows[] = {{"Hello", TRUE},        {"", TRUE},
                                               {"it's", FALSE},        {"abc1", FALSE},
                                               {"hello-world", FALSE}, {"two words", FALSE},
                                               {"caf\xC3\xA9", FALSE}, {"\xEF\xBC\xA1", FALSE}};
  for (auto [text, expected] : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(ValidEnglishWord(text, &result), expected) << text;
    EXPECT_EQ(result, RESULT_INV_DATA);
  }
}

TEST(ContainsEnglish, LooksForAnyAsciiLetter) {
  const std::pair<std::u16string, BOOL> rows[] = {
      {u"\x4F60\x0041", TRUE}, {u"\xFF21", FALSE}, {u"", FALSE}, {u"12 ,z", TRUE}};
  for (const auto& [text, expected] : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(ContainsEnglish(wide::Buffer(text).data(), &result), expected);
    EXPECT_EQ(result, RESULT_INV_DATA);
  }
  EXPECT_EQ(ContainsEnglish(nullptr, nullptr), FALSE);
}

TEST(ContainsChinese, FindsUnifiedIdeographsInUtf8) {
  const std::pair<const char*, BOOL> rows[] = {{"\xE4\xBD\xA0\xE5\xA5\xBD", TRUE},
                                               {"abc", FALSE},
                                               {"\xE6\x97\xA5\xE6\x9C\xAC", TRUE},
                                               {"\xE3\x80\x87", FALSE},
                                               {"\xE3\x81\x82\xE3\x81\x84", FALSE},
                                               {"\xF0\xA0\x80\x80", FALSE},
                                               {"", FALSE},
                                               {"\xE4\xBD\xA0\xFF", FALSE},
                                               {"x \xE9\xBF\xBF", TRUE}};
  for (auto [text, expected] : rows) {
    RResult result = RESULT_INV_ARGUMENT;
    EXPECT_EQ(ContainsChinese(const_cast<char*>(text), &result), expected) << text;
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  }
  EXPECT_EQ(ContainsChinese(nullptr, nullptr), FALSE);
  char text[] = "\xE4\xBD\xA0";
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(ContainsChinese(text, nullptr), FALSE);
}

TEST(IsSameChar, CountsRepeatedUnits) {
  const char* const kStops = "\xE3\x80\x82\xE3\x80\x82\xE3\x80\x82";
  struct Row {
    const char* text;
    USHORT punc;
    int count;
    BOOL expected;
  } rows[] = {
      {kStops, 0x3002, 3, TRUE},
      {kStops, 0x3002, 2, FALSE},
      {kStops, 0x3002, 4, FALSE},
      {"\xE3\x80\x82\xE3\x80\x82"
       "a",
       0x3002, 3, FALSE},
      {"...", '.', 3, TRUE},
      {"", '.', 0, TRUE},
      {"", '.', 1, FALSE},
      {"..", '.', -2, FALSE},
      {"", 0, 0, TRUE},
      {"a", 0, 0, FALSE},
      {"\xF0\x9F\x98\x80", 0xD83D, 2, FALSE},
      {"..\xFF", '.', 2, TRUE},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(IsSameChar(row.text, row.punc, row.count), row.expected) << row.text << row.count;
  }
  EXPECT_EQ(IsSameChar(nullptr, '.', 0), FALSE);
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(IsSameChar("...", '.', 0), TRUE);
}

}  // namespace

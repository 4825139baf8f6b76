#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/wide.h"

namespace {

// Every unit against the classes stated as ranges; each call overwrites the
// code left in `result` with RESULT_SUCCEEDED.
TEST(CharacterClasses, MatchTheirRangesOverAllUnits) {
  using Classifier = BOOL (*)(USHORT, RResult*);
  const Classifier classifiers[] = {BelongsToEnglish, BelongsToChinese, BelongsToNumber};
  int counts[3] = {0, 0, 0};
  for (unsigned u = 0; u <= 0xFFFF; ++u) {
    const BOOL expected[3] = {(u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z'),
                              u >= 0x4E00 && u <= 0x9FFF,
                              (u >= ',' && u <= '9') || (u >= 0xFF10 && u <= 0xFF19)};
    const LanguageType type = expected[0]   ? TTS_LANG_FOREIGN
                              : expected[1] ? TTS_LANG_PRIMARY
                                            : TTS_LANG_UNSIGNED;
    RResult result = RESULT_INV_DATA;
    for (int k = 0; k < 3; ++k, result = RESULT_INV_DATA) {
      ASSERT_EQ(classifiers[k](static_cast<USHORT>(u), &result), expected[k]) << k << " " << u;
      ASSERT_EQ(result, RESULT_SUCCEEDED);
      counts[k] += expected[k];
    }
    ASSERT_EQ(GetTextType(static_cast<USHORT>(u), &result), type) << u;
    ASSERT_EQ(result, RESULT_SUCCEEDED);
  }
  EXPECT_EQ(std::vector<int>(counts, counts + 3), (std::vector<int>{52, 20992, 24}));
}

// A text in UTF-8 and UTF-16 with the answers of ValidEnglishWord (bytes),
// ContainsEnglish (units) and ContainsChinese (UTF-8); none writes through
// presult. "\xC1\xE1" holds letters once bit 7 is dropped; "\xE4\xBD\xA0\xFF"
// does not convert.
TEST(TextTests, AnswerOverWholeTexts) {
  // clang-format off
  const struct { const char* utf8; std::u16string utf16; BOOL word, english, chinese; } rows[] = {
      {"Hello", u"Hello", TRUE, TRUE, FALSE}, {"", u"", TRUE, FALSE, FALSE},
      {"it's", u"it's", FALSE, TRUE, FALSE}, {"abc1", u"abc1", FALSE, TRUE, FALSE},
      {"hello-world", u"hello-world", FALSE, TRUE, FALSE},
      {"two words", u"two words", FALSE, TRUE, FALSE},
      {"caf\xC3\xA9", u"caf\xE9", FALSE, TRUE, FALSE}, {"\xC1\xE1", u"\xC1\xE1", FALSE, FALSE, FALSE},
      {"\xEF\xBC\xA1", u"\xFF21", FALSE, FALSE, FALSE},                   // Ａ
      {"\xE4\xBD\xA0\xE5\xA5\xBD", u"\x4F60\x597D", FALSE, FALSE, TRUE},  // 你好
      {"\xE6\x97\xA5\xE6\x9C\xAC", u"\x65E5\x672C", FALSE, FALSE, TRUE},  // 日本
      {"\xE4\xBD\xA0Z", u"\x4F60Z", FALSE, TRUE, TRUE}, {"x \xE9\xBF\xBF", u"x \x9FFF", FALSE, TRUE, TRUE},
      {"\xE3\x80\x87", u"\x3007", FALSE, FALSE, FALSE},                    // 〇
      {"\xE3\x81\x82\xE3\x81\x84", u"\x3042\x3044", FALSE, FALSE, FALSE},  // あい
      {"\xF0\xA0\x80\x80", u"\xD840\xDC00", FALSE, FALSE, FALSE},          // U+20000
      {"\xE4\xBD\xA0\xFF", u"\x4F60", FALSE, FALSE, FALSE}};
  // clang-format on
  for (const auto& row : rows) {
    SCOPED_TRACE(row.utf8);
    RResult result = RESULT_ANY_ERROR;
    EXPECT_EQ(ValidEnglishWord(row.utf8, &result), row.word);
    EXPECT_EQ(ContainsEnglish(wide::Buffer(row.utf16).data(), &result), row.english);
    EXPECT_EQ(ContainsChinese(const_cast<char*>(row.utf8), &result), row.chinese);
    EXPECT_EQ(result, RESULT_ANY_ERROR);
  }
}

// "..\xFF" does not convert: what the conversion left, "..", is the text.
TEST(IsSameChar, CountsRepeatedUnits) {
  const char* const kStops = "\xE3\x80\x82\xE3\x80\x82\xE3\x80\x82";  // 。。。
  const char* const kStopsZ = "\xE3\x80\x82\xE3\x80\x82z";
  const char* const kEmoji = "\xF0\x9F\x98\x80";  // U+1F600, two units
  // clang-format off
  const struct { const char* text; USHORT punc; int count; BOOL expected; } rows[] = {
      {kStops, 0x3002, 3, TRUE}, {kStops, 0x3002, 2, FALSE}, {kStops, 0x3002, 4, FALSE},
      {kStopsZ, 0x3002, 3, FALSE}, {kStopsZ, 0x3002, 2, FALSE}, {"...", '.', 3, TRUE},
      {"", '.', 0, TRUE}, {"", '.', 1, FALSE}, {"..", '.', -2, FALSE}, {"", 0, 0, TRUE},
      {"a", 0, 0, FALSE}, {"a", 0, 1, FALSE}, {kEmoji, 0xD83D, 2, FALSE}, {"..\xFF", '.', 2, TRUE},
      {nullptr, '.', 0, FALSE}, {"a..", '.', 2, FALSE}, {"..a", '.', 2, FALSE}};
  // clang-format on
  for (const auto& row : rows) {
    EXPECT_EQ(IsSameChar(row.text, row.punc, row.count), row.expected)
        << (row.text ? row.text : "null") << " " << row.count;
  }
}

// The wide text is their only allocation; without it ContainsChinese answers
// FALSE and IsSameChar sees a text of no units.
TEST(TextTests, SurviveAFailedAllocation) {
  char text[] = "\xE4\xBD\xA0";
  const std::pair<std::function<BOOL()>, BOOL> rows[] = {
      {[&] { return ContainsChinese(text, nullptr); }, TRUE},
      {[] { return IsSameChar("...", '.', 0); }, FALSE},
      {[] { return IsSameChar("...", '.', 3); }, TRUE}};
  for (const auto& row : rows) {
    BOOL answer = FALSE;
    auto check = [&](long failed) { EXPECT_EQ(answer == row.second, failed == 0); };
    EXPECT_EQ(alloc_failure::ForEachFailure([&] { answer = row.first(); }, check), 1);
  }
}

}  // namespace

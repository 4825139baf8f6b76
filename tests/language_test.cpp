#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include <commonhelpers/commonhelpers.h>
#include "support/wide.h"

namespace {

// Every unit against the classes stated as ranges; each call overwrites the
// code left in `result` with RESULT_SUCCEEDED.
TEST(CharacterClasses, MatchTheirRangesOverAllUnits) {
  using Classifier = BOOL (*)(USHORT, RResult*);
  const Classifier classifiers[] = {BelongsToEnglish, BelongsToChinese, BelongsToNumber};
  for (unsigned u = 0; u <= 0xFFFF; ++u) {
    const BOOL expected[3] = {(u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z'),
                              u >= 0x4E00 && u <= 0x9FFF,
                              (u >= ',' && u <= '9') || (u >= 0xFF10 && u <= 0xFF19)};
    RResult result = RESULT_INV_DATA;
    for (int k = 0; k < 3; ++k, result = RESULT_INV_DATA) {
      ASSERT_EQ(classifiers[k](static_cast<USHORT>(u), &result), expected[k]) << k << " " << u;
      ASSERT_EQ(result, RESULT_SUCCEEDED);
    }
    const LanguageType type = expected[0]   ? TTS_LANG_FOREIGN
                              : expected[1] ? TTS_LANG_PRIMARY
                                            : TTS_LANG_UNSIGNED;
    ASSERT_EQ(GetTextType(static_cast<USHORT>(u), &result), type) << u;
    ASSERT_EQ(result, RESULT_SUCCEEDED);
  }
}

// A text in UTF-8 and UTF-16 with the answers of ValidEnglishWord (bytes),
// ContainsEnglish (units) and ContainsChinese (UTF-8); none writes through
// presult. "\xC1\xE1" holds letters once bit 7 is dropped; "\xE4\xBD\xA0\xFF"
// does not convert.
TEST(TextTests, AnswerOverWholeTexts) {
  const std::tuple<const char*, std::u16string, BOOL, BOOL, BOOL> rows[] = {
      {"Hello", u"Hello", TRUE, TRUE, FALSE},
      {"", u"", TRUE, FALSE, FALSE},
      {"abc1", u"abc1", FALSE, TRUE, FALSE},
      {"caf\xC3\xA9", u"caf\xE9", FALSE, TRUE, FALSE},
      {"\xC1\xE1", u"\xC1\xE1", FALSE, FALSE, FALSE},
      {"\xEF\xBC\xA1", u"\xFF21", FALSE, FALSE, FALSE},                   // Ａ
      {"\xE4\xBD\xA0\xE5\xA5\xBD", u"\x4F60\x597D", FALSE, FALSE, TRUE},  // 你好
      {"\xE4\xBD\xA0Z", u"\x4F60Z", FALSE, TRUE, TRUE},
      {"\xE3\x81\x82\xE3\x81\x84", u"\x3042\x3044", FALSE, FALSE, FALSE},  // あい
      {"\xF0\xA0\x80\x80", u"\xD840\xDC00", FALSE, FALSE, FALSE},          // U+20000
      {"\xE4\xBD\xA0\xFF", u"\x4F60", FALSE, FALSE, FALSE}};
  for (const auto& [utf8, utf16, word, english, chinese] : rows) {
    RResult result = RESULT_ANY_ERROR;
    EXPECT_EQ(ValidEnglishWord(utf8, &result), word) << utf8;
    EXPECT_EQ(ContainsEnglish(wide::Buffer(utf16).data(), &result), english) << utf8;
    EXPECT_EQ(ContainsChinese(const_cast<char*>(utf8), &result), chinese) << utf8;
    EXPECT_EQ(result, RESULT_ANY_ERROR);
  }
}

// "..\xFF" does not convert: what the conversion left, "..", is the text.
TEST(IsSameChar, CountsRepeatedUnits) {
  const char* const kStops = "\xE3\x80\x82\xE3\x80\x82\xE3\x80\x82";  // 。。。
  const std::tuple<const char*, USHORT, int, BOOL> rows[] = {
      {kStops, 0x3002, 3, TRUE},  {kStops, 0x3002, 2, FALSE},
      {kStops, 0x3002, 4, FALSE}, {"\xE3\x80\x82\xE3\x80\x82z", 0x3002, 2, FALSE},
      {"", '.', 0, TRUE},         {"", '.', 1, FALSE},
      {"a", 0, 0, FALSE},         {"\xF0\x9F\x98\x80", 0xD83D, 2, FALSE},
      {"..\xFF", '.', 2, TRUE},   {"a..", '.', 2, FALSE},
      {"..a", '.', 2, FALSE}};
  for (const auto& [text, punc, count, expected] : rows) {
    EXPECT_EQ(IsSameChar(text, punc, count), expected) << text << " " << count;
  }
}

}  // namespace

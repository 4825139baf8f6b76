#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>
#include "support/wide.h"

namespace {

// A whole tokenization: every token with the text behind it, separated by
// '|'. Each call must succeed, only the delimiter that ends a token becomes
// a terminator, and the end repeats with the cursor on the terminator.
std::u16string Tokens(std::u16string_view source, std::u16string_view delims) {
  std::vector<USHORT> text = wide::Buffer(source);
  const std::vector<USHORT> delimiters = wide::Buffer(delims);
  std::u16string tokens;
  USHORT* cursor = nullptr;
  RResult result = RESULT_INV_DATA;
  for (USHORT* token = WcsTok(text.data(), delimiters.data(), &cursor, &result); token != nullptr;
       token = WcsTok(nullptr, delimiters.data(), &cursor, &result)) {
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    tokens += wide::Text(token) + u"|";
  }
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  EXPECT_EQ(cursor, text.data() + source.size());
  EXPECT_EQ(WcsTok(nullptr, delimiters.data(), &cursor, &result), nullptr);
  for (size_t i = 0; i < source.size(); ++i) {
    if (text[i] != source[i]) tokens += u"@" + std::u16string(1, u'0' + static_cast<char16_t>(i));
  }
  return tokens;
}

TEST(WcsTok, SplitsAtAnyDelimiterUnitAndEndsOnlyTokens) {
  const std::u16string rows[][3] = {
      {u",,ab,,cd", u",", u"ab|cd|@4"},
      {u"ab", u",", u"ab|"},
      {u",,,", u",", u""},
      {u"", u",", u""},
      {u" x ", u" ", u"x|@2"},
      {u"a b,c", u", ", u"a|b|c|@1@3"},
      {u"a,b c", u"", u"a,b c|"},
      {u"\x4F60\x3002\x597D\x3002", u"\x3002", u"\x4F60|\x597D|@1@3"}};
  for (const auto& row : rows) EXPECT_EQ(Tokens(row[0], row[1]), row[2]);
}

TEST(ChopWStringEnd, RemovesOnlyTheTrailingLineEnds) {
  const std::pair<std::u16string, std::u16string> rows[] = {
      {u"ab\r\n", u"ab"}, {u"ab\n\r\n", u"ab"}, {u"\r\n\n\r", u""}, {u"ab \r\n", u"ab "},
      {u"", u""},         {u"a\nb", u"a\nb"},   {u"ab\t", u"ab\t"}};
  for (const auto& [source, expected] : rows) {
    std::vector<USHORT> text = wide::Buffer(source);
    ChopWStringEnd(text.data());
    EXPECT_EQ(text,
              wide::Buffer(expected + std::u16string(source.size() - expected.size(), u'\0')));
  }
}

TEST(TextIsEmpty, AcceptsOnlyTheFiveBlankUnits) {
  const std::pair<std::u16string, BOOL> rows[] = {{u"", TRUE},        {u"\t \r\n\x3000", TRUE},
                                                  {u"\x00A0", FALSE}, {u"\v", FALSE},
                                                  {u"\f", FALSE},     {u"  x ", FALSE}};
  for (const auto& [text, expected] : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(TextIsEmpty(wide::Buffer(text).data(), &result), expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
}

}  // namespace

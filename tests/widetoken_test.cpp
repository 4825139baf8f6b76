#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>
#include "support/wide.h"

namespace {

// Runs a whole tokenization and returns the tokens; checks on the way that
// every call succeeds and that the end repeats.
std::vector<std::u16string> Tokens(std::vector<USHORT>& text, std::u16string_view delims) {
  const std::vector<USHORT> delimiters = wide::Buffer(delims);
  std::vector<std::u16string> tokens;
  USHORT* cursor = nullptr;
  RResult result = RESULT_INV_DATA;
  for (USHORT* token = WcsTok(text.data(), delimiters.data(), &cursor, &result); token != nullptr;
       token = WcsTok(nullptr, delimiters.data(), &cursor, &result)) {
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    tokens.push_back(wide::Text(token));
  }
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  EXPECT_EQ(*cursor, 0);
  EXPECT_EQ(cursor, text.data() + text.size() - 1);
  EXPECT_EQ(WcsTok(nullptr, delimiters.data(), &cursor, &result), nullptr);
  return tokens;
}

TEST(WcsTok, SplitsAtAnyDelimiterUnit) {
  using V = std::vector<std::u16string>;
  struct Row {
    std::u16string text, delims;
    V expected;
  } rows[] = {
      {u",,ab,,cd", u",", {u"ab", u"cd"}},
      {u"ab", u",", {u"ab"}},
      {u",,,", u",", {}},
      {u"", u",", {}},
      {u" x ", u" ", {u"x"}},
      {u"a b,c", u", ", {u"a", u"b", u"c"}},
      {u"a,b c", u"", {u"a,b c"}},
      {u"\x4F60\x3002\x597D\x3002", u"\x3002", {u"\x4F60", u"\x597D"}},
  };
  for (Row& row : rows) {
    std::vector<USHORT> text = wide::Buffer(row.text);
    EXPECT_EQ(Tokens(text, row.delims), row.expected) << text.size();
  }
}

TEST(WcsTok, OverwritesOnlyTheDelimiterThatEndsAToken) {
  std::vector<USHORT> text = wide::Buffer(u",,ab,,cd");
  const std::vector<USHORT> comma = wide::Buffer(u",");
  USHORT* cursor = nullptr;
  USHORT* token = WcsTok(text.data(), comma.data(), &cursor, nullptr);
  EXPECT_EQ(token, text.data() + 2);
  EXPECT_EQ(text[4], 0);
  EXPECT_EQ(text[5], u',');
  EXPECT_EQ(cursor, text.data() + 5);
  EXPECT_EQ(WcsTok(nullptr, comma.data(), &cursor, nullptr), text.data() + 6);
  EXPECT_EQ(cursor, text.data() + 8);

  std::vector<USHORT> untouched = wide::Buffer(u"abc");
  WcsTok(untouched.data(), comma.data(), &cursor, nullptr);
  EXPECT_EQ(untouched, wide::Buffer(u"abc"));
}

TEST(ChopWStringEnd, RemovesOnlyTheTrailingLineEnds) {
  struct Row {
    std::u16string text, expected;
  } rows[] = {{u"ab\r\n", u"ab"}, {u"ab\n\r\n", u"ab"}, {u"\r\n\n\r", u""}, {u"ab \r\n", u"ab "},
              {u"", u""},         {u"a\nb", u"a\nb"},   {u"ab\t", u"ab\t"}};
  for (const Row& row : rows) {
    std::vector<USHORT> text = wide::Buffer(row.text);
    ChopWStringEnd(text.data());
    EXPECT_EQ(wide::Text(text.data()), row.expected);
    for (size_t i = row.expected.size(); i < text.size(); ++i) EXPECT_EQ(text[i], 0);
  }
}

TEST(TextIsEmpty, AcceptsOnlyTheFiveBlankUnits) {
  struct Row {
    std::u16string text;
    BOOL expected;
  } rows[] = {{u"", TRUE},    {u"\t \r\n\x3000", TRUE}, {u"\x00A0", FALSE},
              {u"\v", FALSE}, {u"\f", FALSE},           {u"  x ", FALSE}};
  for (const Row& row : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(TextIsEmpty(wide::Buffer(row.text).data(), &result), row.expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "commonhelpers.h"
#include "support/alloc_failure.h"

namespace {

char* Heap(const char* text) {
  char* sz = static_cast<char*>(malloc(strlen(text) + 1));
  strcpy(sz, text);
  return sz;
}

TEST(CopyString, CopiesIntoANewBufferAndTakesNullAsNoText) {
  for (const char* text : {"", "abc", "\xE4\xBD\xA0"}) {
    RResult result = RESULT_ANY_ERROR;
    char* sz = CopyString(text, &result);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    EXPECT_STREQ(sz, text);
    free(sz);
  }
  RResult result = RESULT_ANY_ERROR;
  EXPECT_EQ(CopyString(nullptr, &result), nullptr);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(CopyString("abc", &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

TEST(CatchString, JoinsAndFreesTheFirstOnlyOnSuccess) {
  RResult result = RESULT_ANY_ERROR;
  char* sz = CatchString(Heap("ab"), "cd", &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  EXPECT_STREQ(sz, "abcd");
  free(sz);
  sz = CatchString(Heap(""), "", &result);
  EXPECT_STREQ(sz, "");
  free(sz);

  char* szSrc = Heap("ab");
  EXPECT_EQ(CatchString(szSrc, nullptr, &result), nullptr);
  EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  EXPECT_STREQ(szSrc, "ab");
  EXPECT_EQ(CatchString(nullptr, "cd", &result), nullptr);
  EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  alloc_failure::ForEachFailure([&] { sz = CatchString(szSrc, "cd", &result); },
                                [&](long failed) {
                                  if (failed == 0) {
                                    EXPECT_STREQ(sz, "abcd");
                                    szSrc = sz;
                                  } else {
                                    EXPECT_EQ(sz, nullptr);
                                    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
                                    EXPECT_EQ(strncmp(szSrc, "ab", 2), 0);
                                  }
                                });
  free(szSrc);
}

TEST(ChopStrings, RemoveOnlySpacesCarriageReturnsAndLineFeeds) {
  struct Row {
    const char* text;
    const char *start, *end, *both;
  } rows[] = {
      {"abc \r\n", "abc \r\n", "abc", "abc"},
      {"  ", "", "", ""},
      {"abc\t", "abc\t", "abc\t", "abc\t"},
      {"", "", "", ""},
      {" \r\nabc ", "abc ", " \r\nabc", "abc"},
      {"\r\n", "", "", ""},
      {"\tabc", "\tabc", "\tabc", "\tabc"},
      {"  a b  ", "a b  ", "  a b", "a b"},
      {"\xC2\xA0x\xC2\xA0", "\xC2\xA0x\xC2\xA0", "\xC2\xA0x\xC2\xA0", "\xC2\xA0x\xC2\xA0"},
  };
  for (const Row& row : rows) {
    std::string start = row.text, end = row.text, both = row.text;
    ChopStringStart(start.data());
    ChopStringEnd(end.data());
    ChopString(both.data());
    EXPECT_STREQ(start.c_str(), row.start) << row.text;
    EXPECT_STREQ(end.c_str(), row.end) << row.text;
    EXPECT_STREQ(both.c_str(), row.both) << row.text;
  }
}

TEST(ChopStringStart, LeavesTheBytesBehindTheNewTerminator) {
  char text[] = "  ab";
  ChopStringStart(text);
  EXPECT_EQ(std::string(text, sizeof text), std::string("ab\0b\0", 5));
}

TEST(ByteStringDeathTest, NullTextIsFatal) {
  EXPECT_DEATH(ChopStringStart(nullptr), "szText != NULL");
  EXPECT_DEATH(ChopStringEnd(nullptr), "szText != NULL");
  EXPECT_DEATH(ChopString(nullptr), "szText != NULL");
}

TEST(ByteClasses, FollowTheCLocaleForEveryByte) {
  for (int b = 0; b < 256; ++b) {
    const char ch = static_cast<char>(b);
    EXPECT_EQ(IsCharSpace(ch), (b >= 0x09 && b <= 0x0D) || b == 0x20) << b;
    EXPECT_EQ(IsDigit(ch), b >= '0' && b <= '9') << b;
  }
}

TEST(ByteStringTests, AnswerNullAsAnOrdinaryInput) {
  EXPECT_EQ(IsEmpty(nullptr), TRUE);
  EXPECT_EQ(IsEmpty(""), TRUE);
  EXPECT_EQ(IsEmpty(" "), FALSE);
  const std::pair<const char*, BOOL> spaces[] = {{nullptr, FALSE},  {"", FALSE},
                                                 {" \t\r\n", TRUE}, {"\v\f", TRUE},
                                                 {" x ", FALSE},    {"\xA0", FALSE}};
  for (auto [text, expected] : spaces) EXPECT_EQ(IsStringSpace(text), expected);
}

TEST(IsValidInteger, AcceptsSignedDecimalsWithoutLeadingZeros) {
  for (const char* text :
       {"0", "-0", "+0", "7", "-42", "+1000", "+", "-", "123456789012345678901234567890"}) {
    EXPECT_EQ(IsValidInteger(text), TRUE) << text;
  }
  for (const char* text : {"", "00", "01", "-012", "1.5", " 12", "12 ", "1e5", "--1", "+-1", "-+1",
                           "0x1", "\xEF\xBC\x91"}) {
    EXPECT_EQ(IsValidInteger(text), FALSE) << text;
  }
  EXPECT_EQ(IsValidInteger(nullptr), FALSE);
}

TEST(StartsAndEndsWith, IgnoreOnlyAsciiCase) {
  struct Row {
    const char *text, *affix;
    BOOL starts, ends;
  } rows[] = {
      {"Hello", "he", TRUE, FALSE},
      {"report.TXT", ".txt", FALSE, TRUE},
      {"he", "hello", FALSE, FALSE},
      {"abc", "", TRUE, TRUE},
      {"", "", TRUE, TRUE},
      {"\xC3\x89t\xC3\xA9", "\xC3\xA9", FALSE, TRUE},
      {"\xC3\x89t\xC3\xA9", "\xC3\xA9t", FALSE, FALSE},
      {"ABC", "abc", TRUE, TRUE},
      {"a[", "A{", FALSE, FALSE},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(StartsWith(row.text, row.affix), row.starts) << row.text << " " << row.affix;
    EXPECT_EQ(EndsWith(row.text, row.affix), row.ends) << row.text << " " << row.affix;
  }
  EXPECT_EQ(StartsWith(nullptr, ""), FALSE);
  EXPECT_EQ(EndsWith("a", nullptr), FALSE);
}

}  // namespace

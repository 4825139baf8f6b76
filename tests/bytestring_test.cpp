#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/huge_text.h"

namespace {

char* Heap(const char* text) { return strcpy(static_cast<char*>(malloc(strlen(text) + 1)), text); }

TEST(CopyString, CopiesIntoANewBuffer) {
  RResult result = RESULT_ANY_ERROR;
  for (const char* text : {"", "abc", "\xE4\xBD\xA0"}) {
    char* sz = CopyString(text, &result);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    EXPECT_STREQ(sz, text);
    free(sz);
  }
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(CopyString("abc", &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

// On every failure the first argument stays intact and the caller's: ASan
// reports a free too many or too few.
TEST(CatchString, FreesTheFirstArgumentOnlyOnSuccess) {
  RResult result = RESULT_ANY_ERROR;
  char* sz = CatchString(Heap(""), "", &result);
  EXPECT_STREQ(sz, "");
  free(sz);
  char* szSrc = Heap("ab");
  for (const auto& [src, tgt] : {std::pair<char*, const char*>(szSrc, nullptr),
                                 std::pair<char*, const char*>(nullptr, "cd")}) {
    EXPECT_EQ(CatchString(src, tgt, &result), nullptr);
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  }
  EXPECT_STREQ(szSrc, "ab");
  alloc_failure::ForEachFailure([&] { sz = CatchString(szSrc, "cd", &result); },
                                [&](long failed) {
                                  EXPECT_EQ(result,
                                            failed ? RESULT_OUT_OF_MEMORY : RESULT_SUCCEEDED);
                                  EXPECT_EQ(sz == nullptr, failed != 0);
                                  szSrc = failed ? szSrc : sz;  // the failing runs start from abcd
                                  EXPECT_STREQ(szSrc, "abcd");
                                });
  free(szSrc);
}

// Lengths one past the limit, or whose int form would be short (2^32 + 4
// truncates to 4), must neither overrun nor allocate.
TEST(ByteStringSizes, BeyondTheIntLimitFailWithoutOverrun) {
  if (huge_text::TooCostlyHere()) GTEST_SKIP() << "ASan runs cover this";
  char* tail = huge_text::Map("b \r\n");
  if (tail == nullptr) GTEST_SKIP() << "no address space for a 4 GiB text";
  const auto text = [tail](size_t length) { return tail + 4 - length; };
  const size_t kWrapping = (size_t{1} << 32) + 4;
  char* szSrc = Heap("ab");
  for (const size_t length : {size_t{INT_MAX}, kWrapping}) {
    RResult result = RESULT_SUCCEEDED;
    EXPECT_EQ(CopyString(text(length), &result), nullptr);
    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
    result = RESULT_SUCCEEDED;
    EXPECT_EQ(CatchString(szSrc, text(length - 2), &result), nullptr);
    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
    EXPECT_STREQ(szSrc, "ab");
  }
  free(szSrc);
  EXPECT_EQ(EndsWith(text(kWrapping), "AB \r\n"), TRUE);
  ChopStringEnd(text(kWrapping));
  EXPECT_STREQ(tail, "b");
  huge_text::Unmap(tail);
}

TEST(ChopStrings, RemoveOnlySpacesCarriageReturnsAndLineFeeds) {
  struct Row {
    const char* text;
    const char *start, *end, *both;
  } rows[] = {
      {"abc \r\n", "abc \r\n", "abc", "abc"},
      {" \r\nabc ", "abc ", " \r\nabc", "abc"},
      {"\r\n  ", "", "", ""},
      {"  a b  ", "a b  ", "  a b", "a b"},
      {" \tabc\t ", "\tabc\t ", " \tabc\t", "\tabc\t"},
      {"", "", "", ""},
      {"\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f"},
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
  char text[] = "  ab";  // the bytes behind the new terminator stay as they were
  ChopStringStart(text);
  EXPECT_EQ(std::string(text, sizeof text), std::string("ab\0b\0", 5));
}

TEST(ByteClasses, FollowTheCLocaleForEveryByte) {
  for (int b = 0; b < 256; ++b) {
    const char ch = static_cast<char>(b);
    EXPECT_EQ(IsCharSpace(ch), (b >= 0x09 && b <= 0x0D) || b == 0x20) << b;
    EXPECT_EQ(IsDigit(ch), b >= '0' && b <= '9') << b;
  }
}

TEST(ByteStringTests, AnswerNullAsAnOrdinaryInput) {
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
                           "0x1", "-00", "12a", "\xEF\xBC\x91", "1\xB9"}) {
    EXPECT_EQ(IsValidInteger(text), FALSE) << text;
  }
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
      {"\xC3\x89X", "\xC3\x89x", TRUE, TRUE},
      {"\xC9", "\xE9", FALSE, FALSE},
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

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

// CatchString frees its first argument on success only: ASan reports a free
// too many or too few.
TEST(CopyAndCatchString, AnswerInANewBufferAndKeepTheFirstOnFailure) {
  RResult result = RESULT_ANY_ERROR;
  char* sz = CatchString(CopyString("", &result), "", &result);
  EXPECT_STREQ(sz, "");
  sz = CatchString(sz, "\xE4\xBD\xA0", &result);
  char* copy = nullptr;
  alloc_failure::ForEachFailure([&] { copy = CopyString(sz, &result); },
                                [&](long failed) {
                                  EXPECT_EQ(result,
                                            failed ? RESULT_OUT_OF_MEMORY : RESULT_SUCCEEDED);
                                  EXPECT_STREQ(copy, failed ? nullptr : "\xE4\xBD\xA0");
                                  free(copy);
                                });
  alloc_failure::ForEachFailure(
      [&] { copy = CatchString(sz, "xy", &result); },
      [&](long failed) {
        EXPECT_EQ(result, failed ? RESULT_OUT_OF_MEMORY : RESULT_SUCCEEDED);
        EXPECT_EQ(copy == nullptr, failed != 0);
        sz = failed ? sz : copy;  // the failing runs start from the joined text
        EXPECT_STREQ(sz, "\xE4\xBD\xA0xy");
      });
  free(sz);
}

// Start, end, both, and whether the text is all C-locale space.
TEST(ChopStrings, RemoveOnlySpacesCarriageReturnsAndLineFeeds) {
  const std::string rows[][5] = {
      {"abc \r\n", "abc \r\n", "abc", "abc", "0"},
      {" \r\nabc ", "abc ", " \r\nabc", "abc", "0"},
      {"\r\n  ", "", "", "", "1"},
      {" \tabc\t ", "\tabc\t ", " \tabc\t", "\tabc\t", "0"},
      {"", "", "", "", "0"},
      {"\v\f", "\v\f", "\v\f", "\v\f", "1"},
      {"\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "0"}};
  for (const auto& row : rows) {
    std::string start = row[0], end = row[0], both = row[0];
    ChopStringStart(start.data());
    ChopStringEnd(end.data());
    ChopString(both.data());
    EXPECT_EQ(std::string(start.c_str()) + "|" + end.c_str() + "|" + both.c_str(),
              row[1] + "|" + row[2] + "|" + row[3]);
    EXPECT_EQ(IsStringSpace(row[0].c_str()), row[4] == "1") << row[0];
    EXPECT_EQ(IsEmpty(row[0].c_str()), row[0].empty());
  }
  char text[] = "  ab";  // the bytes behind the new terminator stay as they were
  ChopStringStart(text);
  EXPECT_EQ(std::string(text, sizeof text), std::string("ab\0b\0", 5));
}

TEST(IsValidInteger, AcceptsSignedDecimalsWithoutLeadingZeros) {
  for (const char* text :
       {"0", "-0", "+0", "7", "-42", "+1000", "+", "-", "123456789012345678901234567890"}) {
    EXPECT_EQ(IsValidInteger(text), TRUE) << text;
  }
  for (const char* text : {"", "00", "01", "-012", "1.5", " 12", "12 ", "--1", "+-1", "0x1", "12a",
                           "\xEF\xBC\x91", "1\xB9"}) {
    EXPECT_EQ(IsValidInteger(text), FALSE) << text;
  }
}

TEST(StartsAndEndsWith, IgnoreOnlyAsciiCase) {
  const std::tuple<const char*, const char*, BOOL, BOOL> rows[] = {
      {"Hello", "he", TRUE, FALSE},
      {"report.TXT", ".txt", FALSE, TRUE},
      {"he", "hello", FALSE, FALSE},
      {"", "", TRUE, TRUE},
      {"\xC3\x89t\xC3\xA9", "\xC3\xA9t", FALSE, FALSE},
      {"\xC3\x89X", "\xC3\x89x", TRUE, TRUE},
      {"\xC9", "\xE9", FALSE, FALSE},
      {"a[", "A{", FALSE, FALSE}};
  for (const auto& [text, affix, starts, ends] : rows) {
    EXPECT_EQ(StartsWith(text, affix), starts) << text << " " << affix;
    EXPECT_EQ(EndsWith(text, affix), ends) << text << " " << affix;
  }
}

}  // namespace

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
                                  if (failed == 0) {
                                    EXPECT_EQ(result, RESULT_SUCCEEDED);
                                    EXPECT_STREQ(copy, "\xE4\xBD\xA0");
                                  } else {
                                    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
                                    EXPECT_EQ(copy, nullptr);
                                  }
                                  free(copy);
                                });
  alloc_failure::ForEachFailure([&] { copy = CatchString(sz, "xy", &result); },
                                [&](long failed) {
                                  if (failed == 0) {
                                    EXPECT_EQ(result, RESULT_SUCCEEDED);
                                    sz = copy;  // the failing runs start from the joined text
                                  } else {
                                    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
                                    EXPECT_EQ(copy, nullptr);
                                  }
                                  EXPECT_STREQ(sz, "\xE4\xBD\xA0xy");
                                });
  free(sz);
}

TEST(ChopStrings, RemoveOnlySpacesCarriageReturnsAndLineFeeds) {
  struct Row {
    std::string text, start, end, both;  // text; after ChopStringStart, ChopStringEnd, ChopString
    BOOL allSpace;                       // IsStringSpace: every byte is C-locale space
  };
  const Row rows[] = {
      {"abc \r\n", "abc \r\n", "abc", "abc", FALSE},
      {" \r\nabc ", "abc ", " \r\nabc", "abc", FALSE},
      {"\r\n  ", "", "", "", TRUE},
      {" \tabc\t ", "\tabc\t ", " \tabc\t", "\tabc\t", FALSE},
      {"", "", "", "", FALSE},
      {"\v\f", "\v\f", "\v\f", "\v\f", TRUE},
      {"\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", "\v\xC2\xA0x\x85\f", FALSE}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.text));
    std::string start = row.text, end = row.text, both = row.text;
    ChopStringStart(start.data());
    ChopStringEnd(end.data());
    ChopString(both.data());
    EXPECT_EQ(start.c_str(), row.start);
    EXPECT_EQ(end.c_str(), row.end);
    EXPECT_EQ(both.c_str(), row.both);
    EXPECT_EQ(IsStringSpace(row.text.c_str()), row.allSpace);
    EXPECT_EQ(IsEmpty(row.text.c_str()), row.text.empty());
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

#include <gtest/gtest.h>
#include <unistd.h>

#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <commonhelpers/commonhelpers.h>

#include "support/find_loops.h"

namespace {

// The delimiter is appended to the caller's string unless it is empty.
TEST(Split, ReturnsTheNonEmptyPiecesAndAppendsTheDelimiter) {
  const std::tuple<std::string, std::string, std::vector<std::string>> rows[] = {
      {"a,b,c", ",", {"a", "b", "c"}},
      {",a,,b,", ",", {"a", "b"}},
      {"", ",", {}},
      {"a---b", "--", {"a", "-b"}},
      {"aXbXXc", "XX", {"aXb", "c"}},
      {"a-", "--", {"a"}},          // a tail overlapping the appended delimiter
      {"aXYZb", "XYW", {"aXYZb"}},  // only the third byte differs
      {"a,b", "", {"a,b"}},
      {"", "", {}}};
  for (const auto& [text, delim, pieces] : rows) {
    std::string str = text;
    EXPECT_EQ(split(str, delim), pieces) << text;
    EXPECT_EQ(str, text + delim);
  }
}

// The search tests 8 bytes at once: long texts of the bytes most likely to
// confuse such a test (the delimiter's first byte with one bit flipped, 0x80,
// 0xFF, zero) with the delimiter wherever it falls, against a plain search.
std::string RandomText(std::mt19937& rng, const std::string& delim) {
  const char first = delim[0];
  const char bytes[] = {first,
                        static_cast<char>(first ^ 0x80),
                        static_cast<char>(first ^ 0x01),
                        static_cast<char>(first + 1),
                        static_cast<char>(first - 1),
                        'x',
                        '\x80',
                        '\xFF',
                        '\0'};
  std::string text;
  const size_t length = rng() % 100;
  while (text.size() < length) {
    if (rng() % 8 == 0) {
      text += delim;
    } else {
      text += bytes[rng() % std::size(bytes)];
    }
  }
  return text;
}

TEST(Split, FindsEveryDelimiterInLongTextsOfLookalikeBytes) {
  std::mt19937 rng(7);
  for (const std::string delim : {",", "<br>", "\xFF", "\x80\x7F", "\x01", "aa"}) {
    for (int round = 0; round < 3000; ++round) {
      const std::string text = RandomText(rng, delim);
      SCOPED_TRACE(testing::PrintToString(text) + " / " + testing::PrintToString(delim));
      const std::string by = round % 2 == 0 ? "" : "<->";
      std::vector<std::string> pieces, ignored;
      find_loops::Replace(text + delim, delim, by, pieces);  // split closes the text with one
      std::string str = text;
      ASSERT_EQ(split(str, delim), pieces);
      StringReplace(str = text, delim, by);
      ASSERT_EQ(str, find_loops::Replace(text, delim, by, ignored));
    }
  }
}

TEST(GetValue, AnswersZeroForAMissingKey) {
  const std::map<std::string, std::string> map = {{"k", "v"}, {"empty", ""}};
  EXPECT_EQ(GetValue(map, "k") + GetValue(map, "empty") + GetValue(map, "K"), "v0");
}

TEST(StringReplace, ReplacesLeftToRightWithoutCascading) {
  struct Row {
    std::string text, from, to, replaced;
  };
  const Row rows[] = {
      {"aaa", "a", "aa", "aaaaaa"}, {"abab", "ab", "b", "bb"},   {"a.b.c", ".", "", "abc"},
      {"abc", "x", "y", "abc"},     {"abc", "abcd", "y", "abc"}, {"aaaa", "aa", "a", "aa"},
      {"abc", "", "x", "abc"},      {"", "a", "b", ""},          {"xax", "x", "", "a"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text + " / " + row.from + " / " + row.to);
    std::string text = row.text;
    StringReplace(text, row.from, row.to);
    EXPECT_EQ(text, row.replaced);
  }
}

// Without a slash GetParentPath prints "ivalid path" and ends the process
// with success (the child's standard output goes to its standard error, which
// the death test matches); so ending the process on a path with a slash must
// fail the run.
TEST(GetParentPathDeathTest, KeepsEverythingUpToTheLastSlashOrPrintsAndExits) {
  for (const char* location : {"abc", "", "a\\b\\c"}) {
    EXPECT_EXIT(
        {
          dup2(STDERR_FILENO, STDOUT_FILENO);
          GetParentPath(location);
        },
        ::testing::ExitedWithCode(0), "^ivalid path$");
  }
  static bool finished = false;
  atexit([] {
    if (!finished) _exit(1);
  });
  const std::pair<std::string, std::string> rows[] = {
      {"/usr/lib/x.so", "/usr/lib/"}, {"dir/", "dir/"}, {"a/b/", "a/b/"}, {"/x", "/"}, {"/", "/"}};
  for (const auto& [location, parent] : rows) EXPECT_EQ(GetParentPath(location), parent);
  finished = true;
}

// Each returns whether anything is left.
TEST(Trim, RemovesBytesOfTheSetFromEitherEnd) {
  struct Row {
    std::string text, set;
    std::string start, end, both;  // after TrimStart, TrimEnd, Trim
  };
  const Row rows[] = {{"\t x \n", " \t\n", "x \n", "\t x", "x"},
                      {"xyxhixy", "xy", "hixy", "xyxhi", "hi"},
                      {"   ", " ", "", "", ""},
                      {"", " ", "", "", ""},
                      {"abc", "", "abc", "abc", "abc"},
                      {"\xE4\xBD\xA0\xA0", "\xA0", "\xE4\xBD\xA0\xA0", "\xE4\xBD", "\xE4\xBD"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.text) + " / " + testing::PrintToString(row.set));
    std::string start = row.text, end = row.text, both = row.text;
    EXPECT_EQ(TrimStart(start, row.set), !row.start.empty());
    EXPECT_EQ(TrimEnd(end, row.set), !row.end.empty());
    EXPECT_EQ(Trim(both, row.set), !row.both.empty());
    EXPECT_EQ(start, row.start);
    EXPECT_EQ(end, row.end);
    EXPECT_EQ(both, row.both);
  }
}

}  // namespace

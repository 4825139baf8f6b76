#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace {

using Pieces = std::vector<std::string>;

TEST(Split, ReturnsTheNonEmptyPiecesAndAppendsTheDelimiter) {
  struct Row {
    std::string text, delim;
    Pieces pieces;
  } rows[] = {
      {"a,b,c", ",", {"a", "b", "c"}},
      {"a,,b", ",", {"a", "b"}},
      {",a,b,", ",", {"a", "b"}},
      {",a,,b", ",", {"a", "b"}},
      {"", ",", {}},
      {",", ",", {}},
      {"abc", "x", {"abc"}},
      {"a--b", "--", {"a", "b"}},
      {"a---b", "--", {"a", "-b"}},
      {"aXbXXc", "XX", {"aXb", "c"}},
      {"a-", "--", {"a"}},          // a tail overlapping the appended delimiter
      {"aXYZb", "XYW", {"aXYZb"}},  // only the third byte differs
  };
  for (const Row& row : rows) {
    std::string str = row.text;
    EXPECT_EQ(split(str, row.delim), row.pieces) << row.text;
    EXPECT_EQ(str, row.text + row.delim);
  }
}

TEST(Split, TakesAnEmptyDelimiterAsNoCut) {
  std::string str = "a,b";
  EXPECT_EQ(split(str, ""), Pieces{"a,b"});
  EXPECT_EQ(str, "a,b");
  str.clear();
  EXPECT_EQ(split(str, ""), Pieces{});
}

TEST(GetValue, AnswersZeroForAMissingKey) {
  const std::map<std::string, std::string> map = {{"k", "v"}, {"empty", ""}};
  EXPECT_EQ(GetValue(map, "k"), "v");
  EXPECT_EQ(GetValue(map, "empty"), "");
  EXPECT_EQ(GetValue(map, "K"), "0");
}

TEST(StringReplace, ReplacesLeftToRightWithoutCascading) {
  struct Row {
    std::string text, from, to, expected;
  } rows[] = {
      {"aaa", "a", "aa", "aaaaaa"}, {"abab", "ab", "b", "bb"},   {"a.b.c", ".", "", "abc"},
      {"abc", "x", "y", "abc"},     {"abc", "abcd", "y", "abc"}, {"aaaa", "aa", "a", "aa"},
      {"abc", "", "x", "abc"},      {"", "a", "b", ""},          {"xax", "x", "", "a"},
  };
  for (const Row& row : rows) {
    std::string text = row.text;
    StringReplace(text, row.from, row.to);
    EXPECT_EQ(text, row.expected) << row.text << " " << row.from << " " << row.to;
  }
  std::string big(1 << 20, 'a');
  for (size_t i = 0; i < big.size(); i += 10) big[i] = ',';
  StringReplace(big, ",", ";;");
  EXPECT_EQ(big.size(), (1u << 20) + (1u << 20) / 10 + 1);
  EXPECT_EQ(big.substr(0, 13), ";;aaaaaaaaa;;");
}

TEST(GetParentPath, KeepsEverythingUpToTheLastSlash) {
  // GetParentPath may end the process; ending it here must fail the run.
  static bool finished = false;
  atexit([] {
    if (!finished) _exit(1);
  });
  const std::pair<std::string, std::string> rows[] = {
      {"/usr/lib/x.so", "/usr/lib/"}, {"dir/", "dir/"}, {"a/b/", "a/b/"}, {"/x", "/"}, {"/", "/"}};
  for (const auto& [location, parent] : rows) EXPECT_EQ(GetParentPath(location), parent);
  finished = true;
}

TEST(GetParentPathDeathTest, PrintsAndExitsWithSuccessWithoutASlash) {
  const std::string kOut = COMMONHELPERS_TEST_TEMP_ROOT "/getparentpath.out";
  for (const char* location : {"abc", "", "a\\b\\c"}) {
    EXPECT_EXIT(
        {
          // Standard output goes to a file that the parent reads back.
          if (freopen(kOut.c_str(), "w", stdout) == nullptr) abort();
          GetParentPath(location);
        },
        ::testing::ExitedWithCode(0), "");
    FILE* out = fopen(kOut.c_str(), "r");
    ASSERT_NE(out, nullptr);
    char printed[32] = {};
    EXPECT_EQ(fread(printed, 1, sizeof printed - 1, out), 11u);
    EXPECT_STREQ(printed, "ivalid path");
    fclose(out);
    remove(kOut.c_str());
  }
}

TEST(Trim, RemovesBytesOfTheSetFromEitherEnd) {
  struct Row {
    std::string text, set, start, end, both;
  } rows[] = {
      {"  xx  ", " ", "xx  ", "  xx", "xx"},
      {"\t x \n", " \t\n", "x \n", "\t x", "x"},
      {"xyxhixy", "xy", "hixy", "xyxhi", "hi"},
      {"   ", " ", "", "", ""},
      {"", " ", "", "", ""},
      {"abc", "", "abc", "abc", "abc"},
      {"\xE4\xBD\xA0\xA0", "\xA0", "\xE4\xBD\xA0\xA0", "\xE4\xBD", "\xE4\xBD"},
  };
  for (const Row& row : rows) {
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

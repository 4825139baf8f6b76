#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include "support/kernel_diff.h"

namespace {

using kernel_diff::ThreeBytesOf;

// Normalizes `text` from an exact-size heap copy (so that ASan sees a read
// past its terminator) into an exact-size heap destination, and again in
// place in a second copy: both must give the same text.
std::string Normalize(const std::string& text) {
  std::vector<char> in(text.c_str(), text.c_str() + text.size() + 1), out(text.size() + 1);
  RResult result = RESULT_ANY_ERROR;
  fullToHalf(in.data(), out.data(), &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  fullToHalf(in.data(), in.data(), &result);
  EXPECT_STREQ(in.data(), out.data()) << "in place";
  return out.data();
}

// The conversion table, written out as characters.
const std::map<uint32_t, char>& Table() {
  static const std::map<uint32_t, char> table = [] {
    std::map<uint32_t, char> t = {{0x3000, ' '}, {0x2012, '-'}, {0x2013, '-'}, {0x2015, '-'}};
    for (char c : std::string("#$%&*+-./0123456789<=>@ABCDEFGHIJKLMNOPQRSTUVWXYZ_"
                              "abcdefghijklmnopqrstuvwxyz{|}~")) {
      t[0xFF00 + static_cast<uint32_t>(c - 0x20)] = c;
    }
    for (char c = '1'; c <= '9'; ++c) t[0x2460 + static_cast<uint32_t>(c - '1')] = c;
    return t;
  }();
  return table;
}

TEST(FullToHalf, ConvertsExactlyTheTableOverAllThreeByteCharacters) {
  ASSERT_EQ(Table().size(), 93u);
  for (uint32_t cp = 0x800; cp <= 0xFFFF; ++cp) {
    const auto it = Table().find(cp);
    const std::string expected =
        it != Table().end() ? std::string(1, it->second) : ThreeBytesOf(cp);
    ASSERT_EQ(Normalize("x" + ThreeBytesOf(cp) + "y"), "x" + expected + "y") << std::hex << cp;
  }
}

// Runs of converted forms; the other characters, stray bytes and malformed
// sequences stay. The two bytes after a lead are taken whatever they hold,
// and a sequence cut short by the terminator is copied as it is.
TEST(FullToHalf, NormalizesTextsAndCopiesEverythingElse) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},
      {"\xEF\xBC\xA1\xEF\xBC\xA2\xE2\x91\xA0\xEF\xBC\x8E\xEF\xBC\x85", "AB1.%"},
      {"\xE4\xBD\xA0\xEF\xBC\x8C\xC3\xA9\xC2\xA0\xF0\x9F\x98\x80\x80\xBF\xF8\xFF",
       "\xE4\xBD\xA0\xEF\xBC\x8C\xC3\xA9\xC2\xA0\xF0\x9F\x98\x80\x80\xBF\xF8\xFF"},
      {"\xEF\x3C\x21z", "Az"},
      {"\xE3\xE3\xE3\xE3", "\xE3\xE3\xE3\xE3"},
      {"\xEF\xBC\xE5", "E"},
      {"\xEF", "\xEF"},
      {"ab\xE3\x80", "ab\xE3\x80"},
      {"\xEF\xBC\xA1\xEF\xBC", "A\xEF\xBC"}};
  for (auto [text, expected] : rows) EXPECT_EQ(Normalize(text), expected) << text;
  for (const char* head : {"", "x", "xy"}) {  // long: a character across every edge of the scan
    std::string text = head, expected = head;
    for (int k = 0; k < 12000; ++k, expected += 'A') text += "\xEF\xBC\xA1";
    EXPECT_EQ(Normalize(text), expected) << head;
  }
  char out[4];
  fullToHalf("\xEF\xBC\xA1", out, nullptr);
  EXPECT_STREQ(out, "A");
}

}  // namespace

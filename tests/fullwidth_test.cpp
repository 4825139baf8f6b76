#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>

#include <commonhelpers/commonhelpers.h>

namespace {

// Normalizes `text` from an exact-size heap copy (so that ASan sees a read
// past its terminator) into an exact-size heap destination, and again in
// place in a second copy: both must give the same text.
std::string Normalize(const std::string& text) {
  std::unique_ptr<char[]> in(new char[text.size() + 1]);
  memcpy(in.get(), text.c_str(), text.size() + 1);
  std::unique_ptr<char[]> out(new char[text.size() + 1]);
  RResult result = RESULT_ANY_ERROR;
  fullToHalf(in.get(), out.get(), &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  fullToHalf(in.get(), in.get(), &result);
  EXPECT_STREQ(in.get(), out.get()) << "in place";
  return out.get();
}

std::string Utf8(uint32_t cp) {
  return {static_cast<char>(0xE0 | (cp >> 12)), static_cast<char>(0x80 | ((cp >> 6) & 0x3F)),
          static_cast<char>(0x80 | (cp & 0x3F))};
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
    const std::string expected = it != Table().end() ? std::string(1, it->second) : Utf8(cp);
    ASSERT_EQ(Normalize("x" + Utf8(cp) + "y"), "x" + expected + "y") << std::hex << cp;
  }
}

TEST(FullToHalf, NormalizesTextsAndLeavesOtherCharactersAlone) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},
      {"\xEF\xBC\xA1\xEF\xBC\xA2\xEF\xBC\xA3\xEF\xBC\x91\xEF\xBC\x92\xEF\xBC\x93", "ABC123"},
      {"\xEF\xBC\x91\xEF\xBC\x8E\xEF\xBC\x95\xEF\xBC\x85", "1.5%"},
      {"\xE4\xBD\xA0\xE5\xA5\xBD\xEF\xBC\x8C\xE4\xB8\x96\xE7\x95\x8C\xEF\xBC\x81",
       "\xE4\xBD\xA0\xE5\xA5\xBD\xEF\xBC\x8C\xE4\xB8\x96\xE7\x95\x8C\xEF\xBC\x81"},
      {"\xEF\xBC\xBB\xEF\xBC\x91\xEF\xBC\xBD",
       "\xEF\xBC\xBB"
       "1\xEF\xBC\xBD"},
      {"\xE2\x91\xA0\xE2\x91\xA1\xE2\x91\xA8\xE2\x91\xA9", "129\xE2\x91\xA9"},
      {"a\xE2\x80\x94"
       "b",
       "a\xE2\x80\x94"
       "b"},
      {"\xC3\xA9\xC2\xA0\xF0\x9F\x98\x80", "\xC3\xA9\xC2\xA0\xF0\x9F\x98\x80"},
      {"\x80\xBF\xF8\xFF", "\x80\xBF\xF8\xFF"},
      // The two bytes after a lead are taken whatever they hold.
      {"\xEF\x3C\x21z", "Az"},
      {"\xE3\xE3\xE3\xE3", "\xE3\xE3\xE3\xE3"},
  };
  for (auto [text, expected] : rows) EXPECT_EQ(Normalize(text), expected) << text;
  char out[4];
  fullToHalf("\xEF\xBC\xA1", out, nullptr);
  EXPECT_STREQ(out, "A");
}

TEST(FullToHalf, CopiesASequenceCutShortByTheTerminator) {
  for (const char* text : {"\xEF", "\xEF\xBC", "ab\xE3", "ab\xE3\x80", "\xEF\xBC\xA1\xEF\xBC"}) {
    const std::string in = text;
    const std::string expected = in.size() >= 3 && in[0] == '\xEF' ? "A" + in.substr(3) : in;
    EXPECT_EQ(Normalize(in), expected);
  }
}

// The exact rules as a plain loop, for texts long enough to reach the block
// path of the library.
std::string Model(const std::string& in) {
  std::string out;
  for (size_t i = 0; i < in.size();) {
    const unsigned char b = static_cast<unsigned char>(in[i]);
    if ((b & 0xF0) != 0xE0 || in.size() - i < 3) {
      out += in[i++];
      continue;
    }
    const uint32_t cp = ((b & 0x0Fu) << 12) | ((in[i + 1] & 0x3Fu) << 6) | (in[i + 2] & 0x3Fu);
    const auto it = Table().find(cp);
    out += it != Table().end() ? std::string(1, it->second) : in.substr(i, 3);
    i += 3;
  }
  return out;
}

TEST(FullToHalf, AgreesWithTheRulesOnMixedTextsOfEveryLength) {
  const std::string pieces[] = {"a",
                                " ",
                                "\xC3\xA9",
                                "\xE4\xBD\xA0",
                                "\xEF\xBC\x8C",
                                "\xEF\xBC\xA1",
                                "\xE3\x80\x80",
                                "\xE2\x91\xA0",
                                "\xE4",
                                "\xEF\xBC",
                                "\x80",
                                "\xF0\x9F\x98\x80"};
  std::mt19937 random(7);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const int count = static_cast<int>(random() % 40);
    for (int k = 0; k < count; ++k) {
      // Mostly plain text, so that long runs reach the block path.
      const size_t pick = random() % 4 == 0 ? random() % std::size(pieces) : random() % 4;
      text += pieces[pick];
    }
    ASSERT_EQ(Normalize(text), Model(text)) << round;
  }
}

// One character that changes, or one that stays, at every offset of a text
// long enough for whole ASCII blocks on either side of it.
TEST(FullToHalf, FullToHalfAtEveryOffsetOfALongText) {
  for (const auto& [full, half] : {std::pair<std::string, std::string>("\xEF\xBC\xA1", "A"),
                                   {"\xE4\xBD\xA0", "\xE4\xBD\xA0"}}) {
    for (size_t k = 0; k <= 48; ++k) {
      const std::string before(k, 'x'), after(48 - k, 'y');
      char out[64];
      fullToHalf((before + full + after).c_str(), out, nullptr);
      EXPECT_EQ(out, before + half + after) << k;
    }
  }
}

}  // namespace

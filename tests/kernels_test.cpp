// Every kernel level that this build has and this CPU runs, against the
// scalar twins on the same input: identical result code and identical
// destination buffer, byte for byte, also past the terminator.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "internal/simd.h"

namespace {

using commonhelpers_internal::AvailableKernels;
using commonhelpers_internal::Kernels;

std::vector<const Kernels*> Levels() {
  size_t count = 0;
  const Kernels* const* levels = AvailableKernels(&count);
  return {levels, levels + count};
}

template <typename Src, typename Dst>
void ExpectSameConversion(const std::vector<Src>& text, UtfType srcType, UtfType dstType,
                          size_t dstSize) {
  const std::vector<const Kernels*> levels = Levels();
  std::vector<Dst> expected(dstSize + 8, static_cast<Dst>(0x5A));
  RResult expectedCode = RESULT_ANY_ERROR;
  ConvertUtfStringWith(*levels[0], text.data(), srcType, expected.data(), static_cast<int>(dstSize),
                       dstType, &expectedCode);
  for (const Kernels* level : levels) {
    std::vector<Dst> actual(dstSize + 8, static_cast<Dst>(0x5A));
    RResult code = RESULT_ANY_ERROR;
    ConvertUtfStringWith(*level, text.data(), srcType, actual.data(), static_cast<int>(dstSize),
                         dstType, &code);
    ASSERT_EQ(code, expectedCode) << level->name << " size " << dstSize;
    ASSERT_EQ(actual, expected) << level->name << " size " << dstSize;
  }
}

// Both directions, with room to spare, exactly enough, one unit short and
// a random room.
void ExpectSameConversions(const std::string& utf8, std::mt19937& random) {
  std::vector<uint8_t> bytes(utf8.begin(), utf8.end());
  bytes.push_back(0);
  std::vector<uint16_t> units(bytes.size() * 3 + 3);
  ConvertUtfString(bytes.data(), UTF_8, units.data(), static_cast<int>(units.size()), UTF_16,
                   nullptr);
  units.resize(std::char_traits<char16_t>::length(reinterpret_cast<char16_t*>(units.data())) + 1);
  for (size_t size :
       {bytes.size() * 3 + 3, units.size(), units.size() - 1, 1 + random() % units.size()}) {
    ExpectSameConversion<uint8_t, uint16_t>(bytes, UTF_8, UTF_16, size);
  }
  for (size_t size :
       {units.size() * 3 + 3, bytes.size(), bytes.size() - 1, 1 + random() % bytes.size()}) {
    ExpectSameConversion<uint16_t, uint8_t>(units, UTF_16, UTF_8, size);
  }
}

void ExpectSameNormalization(const std::string& text) {
  const std::vector<const Kernels*> levels = Levels();
  std::string expected(text.size() + 8, 'Z');
  FullToHalfWith(*levels[0], text.c_str(), &expected[0]);
  for (const Kernels* level : levels) {
    std::string actual(text.size() + 8, 'Z');
    FullToHalfWith(*level, text.c_str(), &actual[0]);
    ASSERT_EQ(actual, expected) << level->name;
    std::string inPlace = text + '\0' + std::string(7, 'Z');
    FullToHalfWith(*level, inPlace.c_str(), &inPlace[0]);
    ASSERT_STREQ(inPlace.c_str(), expected.c_str()) << level->name << " in place";
  }
}

// Pieces that reach every path: ASCII, two-, three- and four-byte
// characters, full-width forms, and the malformed: a stray continuation, a
// lone lead, an overlong form, an encoded surrogate, a lead at the end.
const char* const kPieces[] = {"a",
                               "Hello, world. ",
                               "\xC3\xA9",
                               "\xE4\xBD\xA0",
                               "\xE6\x96\x87\xE5\xAD\x97",
                               "\xEF\xBC\xA1",
                               "\xE3\x80\x80",
                               "\xE2\x91\xA0",
                               "\xF0\x9F\x98\x80",
                               "\x80",
                               "\xE4",
                               "\xE0\x80\xAF",
                               "\xED\xA0\x80",
                               "\xFF",
                               "\xEF\xBC"};

std::string RandomText(std::mt19937& random, size_t pieces) {
  std::string text;
  for (size_t k = 0; k < pieces; ++k) {
    // Mostly long plain runs of one script, so that whole blocks occur.
    const size_t pick = random() % 8 < 6 ? random() % 6 : random() % std::size(kPieces);
    text += kPieces[pick];
  }
  return text;
}

TEST(Kernels, EveryLevelAgreesWithTheScalarTwinsOnRandomText) {
  std::mt19937 random(5);
  for (int round = 0; round < 400; ++round) {
    const std::string text = RandomText(random, random() % 60);
    ExpectSameConversions(text, random);
    ExpectSameNormalization(text);
  }
}

// One odd character at every offset of texts long enough for two blocks of
// the widest level, in ASCII and in Chinese, and the terminator at every
// offset (of 16-bit units also from every alignment in a 64-byte block).
TEST(Kernels, EveryLevelAgreesAtEveryOffset) {
  std::mt19937 random(6);
  const std::string ascii(140, 'x');
  std::string chinese;
  while (chinese.size() < 140) chinese += "\xE4\xBD\xA0";
  for (const std::string& base : {ascii, chinese}) {
    for (size_t at = 0; at <= base.size(); ++at) {
      for (const char* odd :
           {"\x80", "\xE4", "\xC3\xA9", "\xEF\xBC\xA1", "\xF0\x9F\x98\x80", "\xED\xA0\x80", "a"}) {
        const std::string text = base.substr(0, at) + odd + base.substr(at);
        ExpectSameConversions(text, random);
        ExpectSameNormalization(text);
      }
      ExpectSameConversions(base.substr(0, at), random);
      for (size_t align = 0; align < 32; ++align) {  // UTF-16, zero units just before the text
        std::vector<uint16_t> units(align, 0);
        units.resize(align + at, 0x0100);
        units.push_back(0);
        for (const Kernels* level : Levels()) {
          ASSERT_EQ(level->terminatedLength16(&units[align]), at) << level->name << " " << align;
        }
      }
    }
  }
}

// Surrogates of UTF-16 input at every offset: a lone high, a lone low, two
// lows, and a pair split by a block edge.
TEST(Kernels, EveryLevelAgreesOnSurrogatesAtEveryOffset) {
  for (bool chinese : {false, true}) {
    for (size_t at = 0; at <= 140; ++at) {
      for (std::vector<uint16_t> odd : {std::vector<uint16_t>{0xD800},
                                        {0xDC00},
                                        {0xDC00, 0xDC01},
                                        {0xD83D, 0xDE00},
                                        {0x00E9}}) {
        std::vector<uint16_t> units(140, chinese ? 0x4F60 : 'x');
        units.insert(units.begin() + static_cast<ptrdiff_t>(at), odd.begin(), odd.end());
        units.push_back(0);
        for (size_t size : {units.size() * 3, at + 1, at * 3 + 1}) {
          ExpectSameConversion<uint16_t, uint8_t>(units, UTF_16, UTF_8, size);
        }
      }
    }
  }
}

}  // namespace

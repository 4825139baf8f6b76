// Every kernel level that this build has and this CPU runs, against the
// scalar twins on the same input: identical result code and identical
// destination buffer, byte for byte, also past the terminator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "internal/simd.h"

namespace {

using commonhelpers_internal::Kernels;

std::vector<const Kernels*> Levels() {
  size_t count = 0;
  const Kernels* const* levels = commonhelpers_internal::AvailableKernels(&count);
  return {levels, levels + count};
}

// `text` (terminated) converted into `size` units followed by canaries.
template <typename Dst, typename Src>
std::pair<RResult, std::vector<Dst>> Convert(const Kernels& level, const std::vector<Src>& text,
                                             size_t size) {
  const UtfType kTypes[] = {UTF_8, UTF_8, UTF_16};
  std::pair<RResult, std::vector<Dst>> out{RESULT_ANY_ERROR, std::vector<Dst>(size + 8, 0x5A)};
  ConvertUtfStringWith(level, text.data(), kTypes[sizeof(Src)], out.second.data(),
                       static_cast<int>(size), kTypes[sizeof(Dst)], &out.first);
  return out;
}

// Both directions with room to spare, exactly enough, one unit short and a
// random room, and from the UTF-16 form with a surrogate half put in at a
// random unit; fullToHalf out of place and in place; and the length of the
// UTF-16 form from each of 32 alignments (zero units just before the text).
void ExpectSameResults(const std::string& utf8, std::mt19937& random) {
  const std::vector<uint8_t> bytes(utf8.c_str(), utf8.c_str() + utf8.size() + 1);
  std::vector<uint16_t> units = Convert<uint16_t>(*Levels()[0], bytes, bytes.size() * 3).second;
  units.resize(std::char_traits<char16_t>::length(reinterpret_cast<char16_t*>(units.data())) + 1);
  std::vector<uint16_t> broken = units;
  broken[random() % units.size()] = std::vector<uint16_t>{0xD800, 0xDBFF, 0xDC00}[random() % 3];
  broken.back() = 0;
  std::string half(utf8.size() + 1, 'Z');
  FullToHalfWith(*Levels()[0], utf8.c_str(), &half[0]);
  for (const Kernels* level : Levels()) {
    SCOPED_TRACE(level->name);
    for (size_t size :
         {bytes.size() * 3 + 3, units.size(), units.size() - 1, 1 + random() % units.size()}) {
      ASSERT_EQ(Convert<uint16_t>(*level, bytes, size),
                Convert<uint16_t>(*Levels()[0], bytes, size))
          << size;
    }
    for (size_t size :
         {units.size() * 3 + 3, bytes.size(), bytes.size() - 1, 1 + random() % bytes.size()}) {
      ASSERT_EQ(Convert<uint8_t>(*level, units, size), Convert<uint8_t>(*Levels()[0], units, size))
          << size;
      ASSERT_EQ(Convert<uint8_t>(*level, broken, size),
                Convert<uint8_t>(*Levels()[0], broken, size))
          << size;
    }
    std::string out(utf8.size() + 1, 'Z'), inPlace = utf8;
    FullToHalfWith(*level, utf8.c_str(), &out[0]);
    FullToHalfWith(*level, inPlace.c_str(), &inPlace[0]);
    ASSERT_EQ(out, half);
    ASSERT_STREQ(inPlace.c_str(), half.c_str()) << "in place";
    for (size_t align = 0; align < 32; ++align) {
      std::vector<uint16_t> shifted(align, 0);
      shifted.insert(shifted.end(), units.begin(), units.end());
      ASSERT_EQ(level->terminatedLength16(&shifted[align]), units.size() - 1) << align;
    }
  }
}

// Pieces that reach every path: ASCII, two-, three- and four-byte
// characters, full-width forms, and the malformed: a stray continuation, a
// lone lead, an overlong form, an encoded surrogate, a lead at the end.
TEST(Kernels, EveryLevelAgreesWithTheScalarTwinsOnRandomText) {
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
  std::mt19937 random(5);
  for (int round = 0; round < 400; ++round) {
    std::string text;
    for (size_t k = random() % 60; k > 0; --k) {
      // Mostly long plain runs of one script, so that whole blocks occur.
      text += kPieces[random() % 8 < 6 ? random() % 6 : random() % std::size(kPieces)];
    }
    ExpectSameResults(text, random);
  }
}

// One odd character at every offset of texts long enough for two blocks of
// the widest level, in ASCII and in Chinese, and the terminator at every
// offset.
TEST(Kernels, EveryLevelAgreesAtEveryOffset) {
  std::mt19937 random(6);
  std::string chinese;
  while (chinese.size() < 140) chinese += "\xE4\xBD\xA0";
  for (const std::string& base : {std::string(140, 'x'), chinese}) {
    for (size_t at = 0; at <= base.size(); ++at) {
      for (const char* odd :
           {"\x80", "\xE4", "\xC3\xA9", "\xEF\xBC\xA1", "\xF0\x9F\x98\x80", "\xED\xA0\x80", "a"}) {
        ExpectSameResults(base.substr(0, at) + odd + base.substr(at), random);
      }
      ExpectSameResults(base.substr(0, at), random);
    }
  }
}

// The scalar level first, then the ones that this build has and the CPU
// runs, narrowest first. COMMONHELPERS_SIMD, read in a fresh process (a
// "threadsafe" death test runs the binary anew), picks its level when there is
// one, else the widest.
TEST(Kernels, LevelsStartWithTheScalarOneAndTheEnvironmentPicksAmongThem) {
  const std::vector<std::string> kOrder = {"scalar", "sse2", "avx2", "avx512"};
  std::vector<std::string> names;
  for (const Kernels* level : Levels()) names.push_back(level->name);
  ASSERT_LE(names.size(), kOrder.size());
  EXPECT_EQ(names, std::vector<std::string>(kOrder.begin(), kOrder.begin() + names.size()));
  const std::string style = GTEST_FLAG_GET(death_test_style);
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const std::string asked : {"scalar", "sse2", "avx2", "avx512", "neon"}) {
    // The child judges by its own list: under valgrind only the parent is
    // emulated, without AVX-512.
    EXPECT_EXIT(
        {
          setenv("COMMONHELPERS_SIMD", asked.c_str(), 1);
          const std::vector<const Kernels*> levels = Levels();
          const Kernels* expected = levels.back();
          for (const Kernels* level : levels) expected = level->name == asked ? level : expected;
          exit(&commonhelpers_internal::ActiveKernels() == expected ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "")
        << asked;
  }
  GTEST_FLAG_SET(death_test_style, style);
}

// ctest runs each test in a process of its own, so here the level is chosen
// by whichever thread comes first; ThreadSanitizer watches the choice.
TEST(Kernels, ManyThreadsAtTheFirstUseGetOneAnswer) {
  std::vector<std::u16string> answers(8, std::u16string(16, u'x'));
  std::vector<std::thread> threads;
  for (std::u16string& answer : answers) {
    threads.emplace_back(
        [&answer] { ConvertUtfString("\xE4\xBD\xA0 ok", UTF_8, &answer[0], 16, UTF_16, nullptr); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answers, std::vector<std::u16string>(8, std::u16string(u"\x4F60 ok\0xxxxxxxxxxx", 16)));
}

}  // namespace

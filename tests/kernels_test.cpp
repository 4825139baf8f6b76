#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "support/kernel_diff.h"

namespace {

// Runs of one plain piece, long enough for whole blocks of the widest level,
// each ended by a rare one: a full-width space or digit, a four-byte
// character, or the malformed (a stray continuation, a lone lead, an overlong
// form, an encoded surrogate, a byte that never occurs, a lead cut short).
TEST(Kernels, EveryLevelAgreesWithTheScalarTwinsOnRandomText) {
  const std::vector<std::string> kPlain = {
      "a",           "Hello, world. ", "\xC3\xA9", "\xE4\xBD\xA0", "\xE6\x96\x87\xE5\xAD\x97",
      "\xEF\xBC\xA1"};
  const std::vector<std::string> kRare = {"\xE3\x80\x80", "\xE2\x91\xA0", "\xF0\x9F\x98\x80",
                                          "\x80",         "\xE4",         "\xE0\x80\xAF",
                                          "\xED\xA0\x80", "\xFF",         "\xEF\xBC"};
  std::mt19937 random(5);
  for (int round = 0; round < 1000; ++round) {
    std::string text;
    for (size_t k = random() % 6; k > 0; --k) {
      const std::string& plain = kPlain[random() % kPlain.size()];
      for (size_t n = random() % 50; n > 0; --n) text += plain;
      text += kRare[random() % kRare.size()];
    }
    ASSERT_EQ(kernel_diff::Differences(text, random()), "") << testing::PrintToString(text);
  }
}

// The scalar level first, then the ones that this build has and the CPU
// runs, narrowest first; COMMONHELPERS_SIMD picks its level when there is
// one, else the widest.
TEST(Kernels, LevelsStartWithTheScalarOneAndTheEnvironmentPicksAmongThem) {
  using commonhelpers_internal::ChooseKernels;
  using kernel_diff::Kernels;
  const std::vector<const Kernels*> levels = kernel_diff::Levels();
  std::string names;
  for (const Kernels* level : levels) names += std::string(level->name) + " ";
  EXPECT_EQ(std::string("scalar sse2 avx2 avx512 ").substr(0, names.size()), names);
  for (const Kernels* level : levels) EXPECT_EQ(&ChooseKernels(level->name), level);
  for (const char* asked : {"neon", "", "sse", static_cast<const char*>(nullptr)})
    EXPECT_EQ(&ChooseKernels(asked), levels.back());
  EXPECT_EQ(&commonhelpers_internal::ActiveKernels(), &ChooseKernels(getenv("COMMONHELPERS_SIMD")));
}

}  // namespace

#include <gtest/gtest.h>
#include <sys/time.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

std::vector<uint32_t> Bits(const std::vector<float>& values) {
  std::vector<uint32_t> bits(values.size());
  memcpy(bits.data(), values.data(), values.size() * sizeof(float));
  return bits;
}

std::vector<float> Window(int size) {
  RResult result = RESULT_ANY_ERROR;
  float* values = GetHanWindow(size, &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  std::vector<float> window(values, values + size);
  free(values);
  return window;
}

// Known windows, bit for bit: the period is deliberately not 2 pi, and the
// last bit counts.
TEST(GetHanWindow, MatchesBitForBit) {
  for (const std::vector<float>& values : std::vector<std::vector<float>>{
           {0.0f},
           {0.0f, 0.5f},
           {0.0f, 0.25f, 0.5f, 0.2500000298f},
           {0.0f, 0.0732233f, 0.25f, 0.42677668f, 0.5f, 0.42677671f, 0.25000003f, 0.07322332f}}) {
    EXPECT_EQ(Bits(Window(static_cast<int>(values.size()))), Bits(values));
  }
}

// glibc answers malloc(0) with a block.
TEST(GetHanWindow, ReportsWhatTheAllocationGives) {
  RResult result = RESULT_SUCCEEDED;
  EXPECT_EQ(GetHanWindow(-1, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  EXPECT_EQ(GetHanWindow(-1, nullptr), nullptr);
  free(GetHanWindow(0, &result));
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(GetHanWindow(16, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

// Both orders of each pair. The last pair is 1 % apart in double but not once
// the quotient is rounded to single precision.
TEST(FloatEqual, UsesAbsoluteThenRelativeTolerance) {
  const float kInf = std::numeric_limits<float>::infinity();
  const float kNaN = std::numeric_limits<float>::quiet_NaN();
  // clang-format off
  const struct { float alpha, beta; BOOL expected; } rows[] = {
      {1, 1, TRUE}, {0, 0, TRUE}, {0, 1e-9f, TRUE}, {0, 1e-8f, FALSE}, {1e-9f, -1e-9f, TRUE},
      {1, 1.02f, TRUE}, {100, 102, TRUE}, {1, 1.0203f, FALSE}, {1, 1.03f, FALSE},
      {100, 102.1f, FALSE}, {-1, 1, FALSE}, {5, -5, FALSE}, {kInf, 1, TRUE}, {kInf, kInf, TRUE},
      {kNaN, 1, TRUE}, {3e38f, 1e38f, TRUE}, {3e38f, -1e38f, TRUE}, {1.08504415f, 1.10696423f, TRUE}};
  // clang-format on
  for (const auto& row : rows) {
    EXPECT_EQ(FloatEqual(row.alpha, row.beta), row.expected) << row.alpha << " " << row.beta;
    EXPECT_EQ(FloatEqual(row.beta, row.alpha), row.expected) << row.beta << " " << row.alpha;
  }
}

TEST(GetTime, ReadsTheTimeOfDayInMilliseconds) {
  timeval before, after;
  gettimeofday(&before, nullptr);
  const long now = GetTime();
  gettimeofday(&after, nullptr);
  EXPECT_GE(now, before.tv_sec * 1000L + before.tv_usec / 1000);
  EXPECT_LE(now, after.tv_sec * 1000L + after.tv_usec / 1000);
}

}  // namespace

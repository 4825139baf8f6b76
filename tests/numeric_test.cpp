#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <tuple>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

// Known windows, bit for bit: the period is deliberately not 2 pi, and the
// last bit counts. glibc answers malloc(0) with a block.
TEST(GetHanWindow, MatchesBitForBitAndReportsWhatTheAllocationGives) {
  for (const std::vector<float>& values : std::vector<std::vector<float>>{
           {},
           {0.0f},
           {0.0f, 0.5f},
           {0.0f, 0.25f, 0.5f, 0.2500000298f},
           {0.0f, 0.0732233f, 0.25f, 0.42677668f, 0.5f, 0.42677671f, 0.25000003f, 0.07322332f}}) {
    RResult result = RESULT_ANY_ERROR;
    float* window = GetHanWindow(static_cast<int>(values.size()), &result);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(values.empty() || memcmp(window, values.data(), values.size() * sizeof(float)) == 0)
        << values.size();
    free(window);
  }
  RResult result = RESULT_SUCCEEDED;
  EXPECT_EQ(GetHanWindow(-1, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  alloc_failure::FailNth(1);
  EXPECT_EQ(GetHanWindow(16, &result), nullptr);
  alloc_failure::FailNth(0);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

// Both orders of each pair. The last pair is 1 % apart in double but not once
// the quotient is rounded to single precision.
TEST(FloatEqual, UsesAbsoluteThenRelativeTolerance) {
  const float kInf = std::numeric_limits<float>::infinity();
  const float kNaN = std::numeric_limits<float>::quiet_NaN();
  const std::tuple<float, float, BOOL> rows[] = {
      {0, 1e-9f, TRUE},     {0, 1e-8f, FALSE},     {1e-9f, -1e-9f, TRUE},
      {1, 1.02f, TRUE},     {100, 102, TRUE},      {1, 1.0203f, FALSE},
      {100, 102.1f, FALSE}, {5, -5, FALSE},        {kInf, 1, TRUE},
      {kNaN, 1, TRUE},      {3e38f, -1e38f, TRUE}, {1.08504415f, 1.10696423f, TRUE}};
  for (const auto& [alpha, beta, expected] : rows) {
    EXPECT_EQ(FloatEqual(alpha, beta), expected) << alpha << " " << beta;
    EXPECT_EQ(FloatEqual(beta, alpha), expected) << beta << " " << alpha;
  }
}

// Against the C library's clock in seconds, in 64-bit arithmetic: today's
// count of milliseconds needs 41 bits. The C clock may lag a tick behind the
// precise one, hence a second of slack above.
TEST(GetTime, CountsMillisecondsSince1970In64Bits) {
  const int64_t before = time(nullptr);
  const int64_t now = GetTime();
  const int64_t after = time(nullptr);
  EXPECT_GE(now, before * 1000);
  EXPECT_LT(now, (after + 2) * 1000);
}

}  // namespace

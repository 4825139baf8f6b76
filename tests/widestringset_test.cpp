#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

TEST(WStringSetConstruct, RejectsCountsBelowOne) {
  for (auto [count, length] : {std::pair{0, 4}, {-3, 4}, {4, 0}, {4, -1}}) {
    RResult result = RESULT_SUCCEEDED;
    EXPECT_EQ(WStringSetConstruct(count, length, &result), nullptr);
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  }
}

TEST(WStringSetConstruct, GivesWritableBuffersOfTheAskedLength) {
  RResult result = RESULT_INV_DATA;
  USHORT** set = WStringSetConstruct(3, 5, &result);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  const USHORT text[] = {'k', 'e', 'y', '4', 0};
  for (int i = 0; i < 3; ++i) {
    WcsCpy(set[i], 5, text, &result);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
  WStringSetDestruct(set, 3, &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);

  set = WStringSetConstruct(1, 1, nullptr);
  ASSERT_NE(set, nullptr);
  set[0][0] = 0;
  WStringSetDestruct(set, 1, nullptr);
}

TEST(WStringSetConstruct, ReturnsThePartialSetWhenABufferFails) {
  constexpr int kCount = 5;
  USHORT** set = nullptr;
  RResult result = RESULT_SUCCEEDED;
  const long allocations = alloc_failure::ForEachFailure(
      [&] { set = WStringSetConstruct(kCount, 8, &result); },
      [&](long failed) {
        if (failed == 1) {
          EXPECT_EQ(set, nullptr);
          EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
          return;
        }
        ASSERT_NE(set, nullptr);
        EXPECT_EQ(result, failed == 0 ? RESULT_SUCCEEDED : RESULT_OUT_OF_MEMORY);
        // Allocation n is the buffer of entry n - 2 (the array comes first).
        const int filled = failed == 0 ? kCount : static_cast<int>(failed) - 2;
        for (int i = 0; i < kCount; ++i) EXPECT_EQ(set[i] != nullptr, i < filled) << i;
        WStringSetDestruct(set, kCount, &result);
        EXPECT_EQ(result, RESULT_SUCCEEDED);
      });
  EXPECT_EQ(allocations, kCount + 1);
}

TEST(WStringSetDestruct, RejectsANullSetOrACountBelowOne) {
  USHORT** set = WStringSetConstruct(2, 2, nullptr);
  RResult result = RESULT_SUCCEEDED;
  WStringSetDestruct(set, 0, &result);
  EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  WStringSetDestruct(set, 2, &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
}

// The strings and the array are freed, for a set of one string as well.
TEST(WStringSetDestruct, FreesEverySetItIsGiven) {
  for (int count : {1, 3}) {
    USHORT** set = WStringSetConstruct(count, 8, nullptr);
    const long before = alloc_failure::Frees();
    RResult result = RESULT_INV_DATA;
    WStringSetDestruct(set, count, &result);
    EXPECT_EQ(result, RESULT_SUCCEEDED) << count;
    EXPECT_EQ(alloc_failure::Frees() - before, count + 1) << count;
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

TEST(WStringSet, RejectsCountsAndLengthsBelowOne) {
  for (auto [count, length] : {std::pair{0, 4}, {-3, 4}, {4, 0}, {4, -1}, {1, 1}}) {
    RResult result = RESULT_SUCCEEDED;
    USHORT** set = WStringSetConstruct(count, length, &result);
    EXPECT_EQ(result, count == 1 ? RESULT_SUCCEEDED : RESULT_INV_ARGUMENT);
    EXPECT_EQ(set != nullptr, count == 1);
    WStringSetDestruct(set, count, &result);
    EXPECT_EQ(result, count == 1 ? RESULT_SUCCEEDED : RESULT_INV_ARGUMENT);
  }
}

// Allocation 1 is the array, allocation n the buffer of entry n - 2. A failed
// buffer leaves the partial set, which the destructor frees: every buffer and
// the array, exactly once (ASan sees a short buffer or a leak).
TEST(WStringSet, GivesWritableBuffersAndThePartialSetWhenOneFails) {
  constexpr int kCount = 5;
  const USHORT key[] = {'k', 'e', 'y', '4', 0};
  USHORT** set = nullptr;
  RResult result = RESULT_SUCCEEDED;
  const long allocations = alloc_failure::ForEachFailure(
      [&] { set = WStringSetConstruct(kCount, 5, &result); },
      [&](long failed) {
        EXPECT_EQ(result, failed == 0 ? RESULT_SUCCEEDED : RESULT_OUT_OF_MEMORY);
        EXPECT_EQ(set != nullptr, failed != 1);
        if (set == nullptr) return;
        const int filled = failed == 0 ? kCount : static_cast<int>(failed) - 2;
        for (int i = 0; i < kCount; ++i) {
          EXPECT_EQ(set[i] != nullptr, i < filled) << i;
          if (set[i] != nullptr) WcsCpy(set[i], 5, key, nullptr);
        }
        WStringSetDestruct(set, 0, &result);
        EXPECT_EQ(result, RESULT_INV_ARGUMENT);
        const long frees = alloc_failure::Frees();
        WStringSetDestruct(set, kCount, &result);
        EXPECT_EQ(result, RESULT_SUCCEEDED);
        EXPECT_EQ(alloc_failure::Frees() - frees, filled + 1);
      });
  EXPECT_EQ(allocations, kCount + 1);
}

}  // namespace

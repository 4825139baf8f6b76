#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

TEST(WStringSet, RefusesCountsAndLengthsBelowOneWithoutAllocating) {
  for (auto [count, length] : {std::pair{0, 4}, {-3, 4}, {4, 0}, {4, -1}}) {
    SCOPED_TRACE(testing::Message() << count << " of " << length);
    RResult result = RESULT_SUCCEEDED;
    alloc_failure::FailNth(0);
    EXPECT_EQ(WStringSetConstruct(count, length, &result), nullptr);
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
    EXPECT_EQ(alloc_failure::Count(), 0);
  }
}

// Allocation 1 is the array, allocation n the buffer of entry n - 2. A failed
// buffer leaves the partial set, which the destructor frees: every buffer and
// the array, exactly once (ASan sees a short buffer or a leak).
TEST(WStringSet, GivesWritableBuffersOrThePartialSet) {
  const USHORT key[] = {'k', 'e', 'y', '4', 0};
  for (auto [count, length] : {std::pair{5, 5}, {1, 1}}) {
    SCOPED_TRACE(testing::Message() << count << " of " << length);
    USHORT** set = nullptr;
    RResult result = RESULT_SUCCEEDED;
    const long allocations = alloc_failure::ForEachFailure(
        [&, count = count, length = length] { set = WStringSetConstruct(count, length, &result); },
        [&, count = count, length = length](long failed) {
          int filled = count;
          if (failed == 0) {
            EXPECT_EQ(result, RESULT_SUCCEEDED);
          } else {
            EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
            filled = static_cast<int>(failed) - 2;
          }
          if (failed == 1) {
            EXPECT_EQ(set, nullptr);
            return;
          }
          ASSERT_NE(set, nullptr);
          for (int i = 0; i < count; ++i) {
            EXPECT_EQ(set[i] != nullptr, i < filled) << i;
            if (set[i] != nullptr) WcsCpy(set[i], length, key, nullptr);
          }
          WStringSetDestruct(set, 0, &result);
          EXPECT_EQ(result, RESULT_INV_ARGUMENT);
          const long frees = alloc_failure::Frees();
          WStringSetDestruct(set, count, &result);
          EXPECT_EQ(result, RESULT_SUCCEEDED);
          EXPECT_EQ(alloc_failure::Frees() - frees, filled + 1);
        });
    EXPECT_EQ(allocations, count + 1);
  }
}

}  // namespace

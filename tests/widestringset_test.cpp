#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"

namespace {

// Counts and lengths below one are refused. Allocation 1 is the array,
// allocation n the buffer of entry n - 2. A failed buffer leaves the partial
// set, which the destructor frees: every buffer and the array, exactly once
// (ASan sees a short buffer or a leak).
TEST(WStringSet, GivesWritableBuffersOrThePartialSetAndRefusesSizesBelowOne) {
  const USHORT key[] = {'k', 'e', 'y', '4', 0};
  for (auto [count, length] : {std::pair{5, 5}, {1, 1}, {0, 4}, {-3, 4}, {4, 0}, {4, -1}}) {
    const bool valid = count > 0 && length > 0;
    USHORT** set = nullptr;
    RResult result = RESULT_SUCCEEDED;
    const long allocations = alloc_failure::ForEachFailure(
        [&, count = count, length = length] { set = WStringSetConstruct(count, length, &result); },
        [&, count = count, length = length](long failed) {
          EXPECT_EQ(result, !valid        ? RESULT_INV_ARGUMENT
                            : failed == 0 ? RESULT_SUCCEEDED
                                          : RESULT_OUT_OF_MEMORY);
          EXPECT_EQ(set != nullptr, valid && failed != 1);
          const int filled = failed == 0 ? count : static_cast<int>(failed) - 2;
          for (int i = 0; set != nullptr && i < count; ++i) {
            EXPECT_EQ(set[i] != nullptr, i < filled) << i;
            if (set[i] != nullptr) WcsCpy(set[i], length, key, nullptr);
          }
          WStringSetDestruct(set, 0, &result);
          EXPECT_EQ(result, RESULT_INV_ARGUMENT);
          const long frees = alloc_failure::Frees();
          WStringSetDestruct(set, count, &result);
          EXPECT_EQ(result, set != nullptr ? RESULT_SUCCEEDED : RESULT_INV_ARGUMENT);
          EXPECT_EQ(alloc_failure::Frees() - frees, set != nullptr ? filled + 1 : 0);
        });
    EXPECT_EQ(allocations, valid ? count + 1 : 0) << count << " " << length;
  }
}

}  // namespace

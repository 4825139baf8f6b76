// sizes.h (internal): limits that follow from the int sizes of the API.
#ifndef COMMONHELPERS_SIZES_H_
#define COMMONHELPERS_SIZES_H_

#include <cstddef>

namespace commonhelpers_internal {

// The largest source length n whose conversion buffer of 3 * n + 3 units
// still has a size that fits in an int. Longer sources fail with
// RESULT_OUT_OF_MEMORY before anything is allocated.
constexpr size_t kMaxTripledLength = 715827881;

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_SIZES_H_

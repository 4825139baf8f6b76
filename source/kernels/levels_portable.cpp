// A build without fast paths (another architecture, or
// -DCOMMONHELPERS_SIMD=OFF): the scalar level only.
#include "internal/simd.h"

namespace commonhelpers_internal {

extern const Kernels kScalarKernels;

const Kernels* const* BuiltLevels(size_t* pcount) {
  static const Kernels* const levels[] = {&kScalarKernels};
  static_assert(sizeof levels / sizeof levels[0] <= kMaxLevels, "room for every level");
  *pcount = sizeof levels / sizeof levels[0];
  return levels;
}

}  // namespace commonhelpers_internal

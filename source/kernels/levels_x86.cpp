// The x86-64 levels, narrowest first; each runs only where the CPU (and the
// operating system) supports its instructions.
#include "kernels/x86.h"

namespace commonhelpers_internal {

const Kernels* const* BuiltLevels(size_t* pcount) {
  static const Kernels* const levels[] = {&kScalarKernels, &kSse2Kernels, &kAvx2Kernels,
                                          &kAvx512Kernels};
  static_assert(sizeof levels / sizeof levels[0] <= kMaxLevels, "room for every level");
  *pcount = sizeof levels / sizeof levels[0];
  return levels;
}

}  // namespace commonhelpers_internal

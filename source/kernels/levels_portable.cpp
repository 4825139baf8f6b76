// A build without fast paths (another architecture, or
// -DCOMMONHELPERS_SIMD=OFF): the scalar twins only.
#include "internal/simd.h"

namespace commonhelpers_internal {

size_t CpuLevels(const Kernels**) { return 0; }

}  // namespace commonhelpers_internal

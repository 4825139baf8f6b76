// The x86-64 levels, each only where the CPU (and the operating system)
// supports its instructions.
#include "kernels/x86.h"

namespace commonhelpers_internal {

size_t CpuLevels(const Kernels** levels) {
  __builtin_cpu_init();
  size_t count = 0;
  levels[count++] = &kSse2Kernels;  // the x86-64 baseline
  if (__builtin_cpu_supports("avx2")) {
    levels[count++] = &kAvx2Kernels;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw")) {
      levels[count++] = &kAvx512Kernels;
    }
  }
  return count;
}

}  // namespace commonhelpers_internal

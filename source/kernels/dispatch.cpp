// The choice of the kernel level: once, on first use, without a global
// constructor (function-local statics are initialized thread-safely).
#include <cstdlib>
#include <cstring>

#include "internal/simd.h"

namespace commonhelpers_internal {

namespace {

const Kernels kScalarKernels = {"scalar",          AsciiRun8To16,     AsciiRun16To8,
                                ThreeByteRun8To16, ThreeByteRun16To8, FullWidthBlocks,
                                TerminatedLength16};

struct Levels {
  const Kernels* list[1 + kMaxCpuLevels];
  size_t count;
};

Levels Detect() {
  Levels levels = {{&kScalarKernels}, 1};
  levels.count += CpuLevels(levels.list + 1);
  return levels;
}

const Levels& All() {
  static const Levels levels = Detect();
  return levels;
}

}  // namespace

const Kernels& ChooseKernels(const char* szAsked) {
  const Levels& levels = All();
  const Kernels* chosen = levels.list[levels.count - 1];
  for (size_t k = 0; szAsked != nullptr && k < levels.count; ++k) {
    if (strcmp(levels.list[k]->name, szAsked) == 0) {
      chosen = levels.list[k];
    }
  }
  return *chosen;
}

const Kernels& ActiveKernels() {
  static const Kernels& active = ChooseKernels(getenv("COMMONHELPERS_SIMD"));
  return active;
}

const Kernels* const* AvailableKernels(size_t* pcount) {
  *pcount = All().count;
  return All().list;
}

}  // namespace commonhelpers_internal

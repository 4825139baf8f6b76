// The choice of the kernel level: once, on first use, without a global
// constructor (function-local statics are initialized thread-safely).
#include <cstring>

#include "internal/simd.h"

namespace commonhelpers_internal {

namespace {

struct Levels {
  const Kernels* list[kMaxLevels];
  size_t count;
};

Levels Detect() {
  size_t built = 0;
  const Kernels* const* all = BuiltLevels(&built);
  Levels levels = {{}, 0};
  for (size_t k = 0; k < built; ++k) {
    if (all[k]->supported()) {
      levels.list[levels.count++] = all[k];
    }
  }
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

const Kernels* const* AvailableKernels(size_t* pcount) {
  *pcount = All().count;
  return All().list;
}

}  // namespace commonhelpers_internal

// x86.h (internal): the x86-64 kernel levels, each defined in its own file.
#ifndef COMMONHELPERS_KERNELS_X86_H_
#define COMMONHELPERS_KERNELS_X86_H_

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/simd.h"

namespace commonhelpers_internal {

// For the length scans, which read whole aligned blocks around the text: no
// aligned block crosses a page, so this never faults, but the sanitizers
// would report the bytes outside the text (AddressSanitizer as an overflow,
// ThreadSanitizer as a use of freed memory), so they are told not to look.
#define CH_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread")))

// The first `count` bytes of `x` (fewer than 16) at `to`, and nothing past
// them: for the last block of a text or of the room. SSE2 is the x86-64
// baseline, so every level inlines it.
__attribute__((always_inline)) inline void StoreFirst(uint8_t* to, __m128i x, size_t count) {
  if (count & 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), x);
    x = _mm_unpackhi_epi64(x, x);
    to += 8;
  }
  uint64_t rest = static_cast<uint64_t>(_mm_cvtsi128_si64(x));
  if (count & 4) {
    memcpy(to, &rest, 4);
    rest >>= 32;
    to += 4;
  }
  if (count & 2) {
    memcpy(to, &rest, 2);
    rest >>= 16;
    to += 2;
  }
  if (count & 1) *to = static_cast<uint8_t>(rest);
}

extern const Kernels kScalarKernels;
extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_KERNELS_X86_H_

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

// Eight three-byte characters, the 24 bytes at `from` (nothing after them is
// read), as units in `units`; false unless all of them are well formed: not
// 1110xxxx 10xxxxxx 10xxxxxx, overlong (below U+0800) or a surrogate. Six
// bytes per 64-bit lane (the last six loaded from two bytes before them and
// shifted down) are split into three per 32-bit lane, checked and decoded
// there, and packed to 16 bits (offset by 0x8000 around the signed
// saturating pack).
__attribute__((always_inline)) inline bool EightThreeByteUnits(const uint8_t* from,
                                                               __m128i& units) {
  const __m128i zero = _mm_setzero_si128();
  __m128i lanes[2];
  __m128i wrong = zero;
  for (int k = 0; k < 2; ++k) {
    const __m128i pairs = _mm_unpacklo_epi64(
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from + 12 * k)),
        k == 0 ? _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from + 6))
               : _mm_srli_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from + 16)), 16));
    const __m128i c = _mm_or_si128(
        _mm_and_si128(pairs, _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF)),
        _mm_and_si128(_mm_slli_epi64(pairs, 8), _mm_set_epi32(0xFFFFFF, 0, 0xFFFFFF, 0)));
    lanes[k] =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi32(_mm_and_si128(c, _mm_set1_epi32(0x0F)), 12),
                                  _mm_and_si128(_mm_srli_epi32(c, 2), _mm_set1_epi32(0x0FC0))),
                     _mm_and_si128(_mm_srli_epi32(c, 16), _mm_set1_epi32(0x3F)));
    const __m128i top = _mm_and_si128(lanes[k], _mm_set1_epi32(0xF800));
    wrong = _mm_or_si128(
        wrong,
        _mm_or_si128(_mm_xor_si128(_mm_cmpeq_epi32(_mm_and_si128(c, _mm_set1_epi32(0xC0C0F0)),
                                                   _mm_set1_epi32(0x8080E0)),
                                   _mm_set1_epi32(-1)),
                     _mm_or_si128(_mm_cmpeq_epi32(top, zero),
                                  _mm_cmpeq_epi32(top, _mm_set1_epi32(0xD800)))));
  }
  const __m128i offset = _mm_set1_epi32(0x8000);
  units = _mm_xor_si128(
      _mm_packs_epi32(_mm_sub_epi32(lanes[0], offset), _mm_sub_epi32(lanes[1], offset)),
      _mm_set1_epi16(static_cast<short>(0x8000)));
  return _mm_movemask_epi8(wrong) == 0;
}

extern const Kernels kScalarKernels;
extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_KERNELS_X86_H_

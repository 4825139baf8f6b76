// AVX-512 (BW) kernels: the ASCII runs 64 units at a time, the length of
// 16-bit text 64 bytes at a time. The three-byte runs and fullToHalf's blocks
// are the SSE2 level's.
#include <immintrin.h>

#include <cstdint>

#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("avx512f,avx512bw")))

namespace commonhelpers_internal {

namespace {

CH_TARGET void Avx512AsciiRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst,
                                   size_t cap, size_t& o) {
  while (n - i >= 64 && cap - o >= 64) {
    const __m256i lo = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    const __m256i hi = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 32));
    if (_mm256_movemask_epi8(_mm256_or_si256(lo, hi)) != 0) break;  // for the exact loop
    _mm512_storeu_si512(dst + o, _mm512_cvtepu8_epi16(lo));
    _mm512_storeu_si512(dst + o + 32, _mm512_cvtepu8_epi16(hi));
    i += 64;
    o += 64;
  }
  AsciiRun8To16(src, n, i, dst, cap, o);
}

CH_TARGET void Avx512AsciiRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst,
                                   size_t cap, size_t& o) {
  const __m512i kNonAscii = _mm512_set1_epi16(static_cast<short>(0xFF80));
  while (n - i >= 64 && cap - o >= 64) {
    const __m512i lo = _mm512_loadu_si512(src + i);
    const __m512i hi = _mm512_loadu_si512(src + i + 32);
    if (_mm512_test_epi16_mask(_mm512_or_si512(lo, hi), kNonAscii) != 0) break;
    // The masked form, because the plain one trips GCC 12's uninitialized
    // warning inside its own header.
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o), _mm512_maskz_cvtepi16_epi8(~0u, lo));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o + 32),
                        _mm512_maskz_cvtepi16_epi8(~0u, hi));
    i += 64;
    o += 64;
  }
  AsciiRun16To8(src, n, i, dst, cap, o);
}

// As SSE2's, 64 bytes at a time; the mask has one bit per unit.
CH_TARGET __attribute__((no_sanitize_address)) size_t Avx512TerminatedLength16(
    const uint16_t* text) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  const __m512i* block = reinterpret_cast<const __m512i*>(start & ~uintptr_t{63});
  const __m512i zero = _mm512_setzero_si512();
  uint32_t zeros = _mm512_cmpeq_epi16_mask(*block, zero) & (~0u << (start & 63) / 2);
  while (zeros == 0) {
    ++block;
    zeros = _mm512_cmpeq_epi16_mask(*block, zero);
  }
  return (reinterpret_cast<uintptr_t>(block) + 2 * static_cast<unsigned>(__builtin_ctz(zeros)) -
          start) /
         2;
}

}  // namespace

extern const Kernels kAvx512Kernels = {"avx512",
                                       Avx512AsciiRun8To16,
                                       Avx512AsciiRun16To8,
                                       Sse2ThreeByteRun8To16,
                                       Sse2ThreeByteRun16To8,
                                       Sse2FullWidthBlocks,
                                       Avx512TerminatedLength16};

}  // namespace commonhelpers_internal

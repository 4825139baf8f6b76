// AVX2 kernels: the ASCII runs and the length of 16-bit text 32 bytes or
// units at a time. The three-byte runs and fullToHalf's blocks are the SSE2
// level's.
#include <immintrin.h>

#include <cstdint>

#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("avx2")))

namespace commonhelpers_internal {

namespace {

CH_TARGET void Avx2AsciiRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                                 size_t& o) {
  while (n - i >= 32 && cap - o >= 32) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    if (_mm256_movemask_epi8(bytes) != 0) break;  // the exact loop takes the block
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o),
                        _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o + 16),
                        _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
    i += 32;
    o += 32;
  }
  AsciiRun8To16(src, n, i, dst, cap, o);
}

CH_TARGET void Avx2AsciiRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                                 size_t& o) {
  const __m256i kNonAscii = _mm256_set1_epi16(static_cast<short>(0xFF80));
  while (n - i >= 32 && cap - o >= 32) {
    const __m256i lo = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    const __m256i hi = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 16));
    if (!_mm256_testz_si256(_mm256_or_si256(lo, hi), kNonAscii)) break;
    // packus works within 128-bit lanes: put the four quarters back in order.
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o), packed);
    i += 32;
    o += 32;
  }
  AsciiRun16To8(src, n, i, dst, cap, o);
}

// As SSE2's, 32 bytes at a time.
CH_TARGET __attribute__((no_sanitize_address)) size_t Avx2TerminatedLength16(const uint16_t* text) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  const __m256i* block = reinterpret_cast<const __m256i*>(start & ~uintptr_t{31});
  const __m256i zero = _mm256_setzero_si256();
  uint32_t zeros = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(*block, zero))) &
                   (~0u << (start & 31));
  while (zeros == 0) {
    ++block;
    zeros = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(*block, zero)));
  }
  return (reinterpret_cast<uintptr_t>(block) + static_cast<unsigned>(__builtin_ctz(zeros)) -
          start) /
         2;
}

}  // namespace

extern const Kernels kAvx2Kernels = {"avx2",
                                     Avx2AsciiRun8To16,
                                     Avx2AsciiRun16To8,
                                     Sse2ThreeByteRun8To16,
                                     Sse2ThreeByteRun16To8,
                                     Sse2FullWidthBlocks,
                                     Avx2TerminatedLength16};

}  // namespace commonhelpers_internal

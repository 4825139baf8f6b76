// AVX2 kernels: 32 bytes or 16 to 32 units at a time, as the AVX-512 level
// does it where AVX2 has the instructions. The three-byte run from UTF-16 is
// the SSE2 level's.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("avx2")))

namespace commonhelpers_internal {

namespace {

CH_TARGET void Avx2AsciiRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                                 size_t& o) {
  while (n - i >= 32 && cap - o >= 32) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    if (_mm256_movemask_epi8(bytes) != 0) break;  // SSE2 writes the units before the other byte
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o),
                        _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o + 16),
                        _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
    i += 32;
    o += 32;
  }
  Sse2AsciiRun8To16(src, n, i, dst, cap, o);
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
  Sse2AsciiRun16To8(src, n, i, dst, cap, o);
}

CH_TARGET void Avx2ThreeByteRun8To16(const uint8_t* src, size_t n, size_t& ri, uint16_t* dst,
                                     size_t cap, size_t& ro) {
  if (n - ri < 6 || (src[ri + 3] & 0xF0) != 0xE0) {
    ThreeByteRun8To16(src, n, ri, dst, cap, ro);  // none or one, as in mostly ASCII text
    return;
  }
  // 16 characters (48 bytes) from two loads, each spread over 32-bit lanes
  // as at the AVX-512 level.
  const __m256i kFirst = _mm256_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0);
  const __m256i kSecond = _mm256_setr_epi32(2, 3, 4, 0, 5, 6, 7, 0);
  const __m256i kSpread =
      _mm256_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128, 0, 1, 2, -128,
                       3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
  const __m256i kPatternBits = _mm256_set1_epi32(0xC0C0F0);
  const __m256i kPattern = _mm256_set1_epi32(0x8080E0);
  const __m256i kTopBits = _mm256_set1_epi32(0xF800);
  const __m256i kSurrogate = _mm256_set1_epi32(0xD800);
  const __m256i zero = _mm256_setzero_si256();
  size_t i = ri;
  size_t o = ro;
  while (n - i >= 48 && cap - o >= 16) {
    const __m256i chars[2] = {
        _mm256_shuffle_epi8(
            _mm256_permutevar8x32_epi32(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i)), kFirst),
            kSpread),
        _mm256_shuffle_epi8(
            _mm256_permutevar8x32_epi32(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 16)), kSecond),
            kSpread)};
    __m256i cps[2];
    unsigned valid = 0;
    for (int k = 0; k < 2; ++k) {
      const __m256i v = chars[k];
      cps[k] = _mm256_or_si256(
          _mm256_or_si256(_mm256_slli_epi32(_mm256_and_si256(v, _mm256_set1_epi32(0x0F)), 12),
                          _mm256_srli_epi32(_mm256_and_si256(v, _mm256_set1_epi32(0x3F00)), 2)),
          _mm256_and_si256(_mm256_srli_epi32(v, 16), _mm256_set1_epi32(0x3F)));
      const __m256i top = _mm256_and_si256(cps[k], kTopBits);
      const __m256i bad =
          _mm256_or_si256(_mm256_cmpeq_epi32(top, zero), _mm256_cmpeq_epi32(top, kSurrogate));
      const __m256i ok =
          _mm256_andnot_si256(bad, _mm256_cmpeq_epi32(_mm256_and_si256(v, kPatternBits), kPattern));
      valid |= static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(ok))) << (8 * k);
    }
    // packus works within 128-bit lanes: put the four quarters back in order.
    const __m256i units = _mm256_permute4x64_epi64(_mm256_packus_epi32(cps[0], cps[1]), 0xD8);
    if (valid != 0xFFFF) {
      // The characters before the first other one, written exactly.
      uint16_t exact[16];
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(exact), units);
      const size_t count = static_cast<size_t>(__builtin_ctz(~valid));
      memcpy(dst + o, exact, count * sizeof(uint16_t));
      ri = i + 3 * count;
      ro = o + count;
      return;
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o), units);
    i += 48;
    o += 16;
  }
  ri = i;
  ro = o;
  Sse2ThreeByteRun8To16(src, n, ri, dst, cap, ro);
}

// As SSE2's MayChange, on 32 bytes.
CH_TARGET uint32_t MayChange(__m256i block, __m256i next, __m256i third) {
  const __m256i kLow6 = _mm256_set1_epi8(0x3F);
  const __m256i zero = _mm256_setzero_si256();
  const __m256i next6 = _mm256_and_si256(next, kLow6);
  const __m256i nextZero = _mm256_cmpeq_epi8(next6, zero);
  const __m256i u3000 = _mm256_and_si256(
      _mm256_and_si256(_mm256_cmpeq_epi8(block, _mm256_set1_epi8(static_cast<char>(0xE3))),
                       nextZero),
      _mm256_cmpeq_epi8(_mm256_and_si256(third, kLow6), zero));
  const __m256i u2000 =
      _mm256_and_si256(_mm256_cmpeq_epi8(block, _mm256_set1_epi8(static_cast<char>(0xE2))),
                       _mm256_or_si256(nextZero, _mm256_cmpeq_epi8(next6, _mm256_set1_epi8(0x11))));
  const __m256i uFF00 = _mm256_and_si256(
      _mm256_cmpeq_epi8(block, _mm256_set1_epi8(static_cast<char>(0xEF))),
      _mm256_cmpeq_epi8(_mm256_or_si256(next6, _mm256_set1_epi8(1)), _mm256_set1_epi8(0x3D)));
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_or_si256(_mm256_or_si256(u3000, u2000), uFF00)));
}

// As the AVX-512 level's, 32 bytes at a time.
CH_TARGET size_t Avx2FullWidthBlocks(const uint8_t* in, size_t n, size_t& ri, uint8_t* out,
                                     size_t& ro) {
  const __m256i kHighNibble = _mm256_set1_epi8(static_cast<char>(0xF0));
  const __m256i kLead = _mm256_set1_epi8(static_cast<char>(0xE0));
  size_t i = ri;
  size_t o = ro;
  uint32_t cbAsIs = 0;
  while (n - i >= 34) {
    const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
    if (_mm256_movemask_epi8(block) == 0) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + o), block);  // all ASCII
      cbAsIs = 0;
      i += 32;
      o += 32;
      continue;
    }
    const uint32_t notLead = ~0u << cbAsIs;
    const uint32_t leads = notLead & static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(
                                         _mm256_and_si256(block, kHighNibble), kLead)));
    if ((leads & ((leads << 1) | (leads << 2))) != 0) {
      CopyAsIs(in, cbAsIs, i, ri, out, o, ro);
      return kFullWidthExactStep;
    }
    const uint32_t changing =
        notLead & MayChange(block, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i + 1)),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i + 2)));
    if (changing != 0) {
      CopyAsIs(in, static_cast<size_t>(__builtin_ctz(changing)), i, ri, out, o, ro);
      return 1;
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + o), block);
    cbAsIs = ((leads >> 30) & 1) | ((leads >> 31) << 1);
    i += 32;
    o += 32;
  }
  CopyAsIs(in, cbAsIs, i, ri, out, o, ro);
  return Sse2FullWidthBlocks(in, n, ri, out, ro);
}

// As SSE2's, 32 bytes at a time.
CH_TARGET CH_WHOLE_BLOCKS size_t Avx2TerminatedLength16(const uint16_t* text) {
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
                                     Avx2ThreeByteRun8To16,
                                     Sse2ThreeByteRun16To8,
                                     Avx2FullWidthBlocks,
                                     Avx2TerminatedLength16};

}  // namespace commonhelpers_internal

// AVX-512 (BW) kernels: 64 bytes or 32 to 64 units at a time. A run that
// meets a unit of another kind writes the units before it exactly, with a
// masked store, so that the exact path starts right at that unit. The
// positions are kept in locals: the vector stores may alias anything, so the
// compiler would otherwise reload them through the references each block.
#include <immintrin.h>

#include <cstdint>

#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("avx512f,avx512bw")))

// Some intrinsics are called in their zero-masked form with a full mask: the
// plain forms trip GCC 12's uninitialized warning inside its own header.

namespace commonhelpers_internal {

namespace {

// The bits below the lowest set bit of `stops`, and their number.
CH_TARGET uint64_t Before(uint64_t stops, size_t& count) {
  count = static_cast<size_t>(__builtin_ctzll(stops));
  return (stops & (0 - stops)) - 1;
}

CH_TARGET void Avx512AsciiRun8To16(const uint8_t* src, size_t n, size_t& ri, uint16_t* dst,
                                   size_t cap, size_t& ro) {
  size_t i = ri;
  size_t o = ro;
  while (n - i >= 64 && cap - o >= 64) {
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 32));
    const uint64_t nonAscii = static_cast<uint32_t>(_mm256_movemask_epi8(first)) |
                              uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(second))} << 32;
    const __m512i lo = _mm512_cvtepu8_epi16(first);
    const __m512i hi = _mm512_cvtepu8_epi16(second);
    if (nonAscii != 0) {
      size_t count;
      const uint64_t before = Before(nonAscii, count);
      _mm512_mask_storeu_epi16(dst + o, static_cast<__mmask32>(before), lo);
      _mm512_mask_storeu_epi16(dst + o + 32, static_cast<__mmask32>(before >> 32), hi);
      i += count;
      o += count;
      ri = i;
      ro = o;
      return;
    }
    _mm512_storeu_si512(dst + o, lo);
    _mm512_storeu_si512(dst + o + 32, hi);
    i += 64;
    o += 64;
  }
  ri = i;
  ro = o;
  Sse2AsciiRun8To16(src, n, ri, dst, cap, ro);
}

CH_TARGET void Avx512AsciiRun16To8(const uint16_t* src, size_t n, size_t& ri, uint8_t* dst,
                                   size_t cap, size_t& ro) {
  size_t i = ri;
  size_t o = ro;
  const __m512i kNonAscii = _mm512_set1_epi16(static_cast<short>(0xFF80));
  while (n - i >= 64 && cap - o >= 64) {
    const __m512i lo = _mm512_loadu_si512(src + i);
    const __m512i hi = _mm512_loadu_si512(src + i + 32);
    const uint64_t nonAscii = _mm512_test_epi16_mask(lo, kNonAscii) |
                              uint64_t{_mm512_test_epi16_mask(hi, kNonAscii)} << 32;
    const __m512i bytes =
        _mm512_maskz_inserti64x4(0xFF, _mm512_castsi256_si512(_mm512_maskz_cvtepi16_epi8(~0u, lo)),
                                 _mm512_maskz_cvtepi16_epi8(~0u, hi), 1);
    if (nonAscii != 0) {
      size_t count;
      _mm512_mask_storeu_epi8(dst + o, Before(nonAscii, count), bytes);
      i += count;
      o += count;
      ri = i;
      ro = o;
      return;
    }
    _mm512_storeu_si512(dst + o, bytes);
    i += 64;
    o += 64;
  }
  ri = i;
  ro = o;
  Sse2AsciiRun16To8(src, n, ri, dst, cap, ro);
}

CH_TARGET void Avx512ThreeByteRun8To16(const uint8_t* src, size_t n, size_t& ri, uint16_t* dst,
                                       size_t cap, size_t& ro) {
  // Less than a block goes to SSE2's run at once. A run shorter than a block
  // is not worth one: in mostly ASCII text a run is one character, in Chinese
  // text with markup a few. Only when the 2nd and the 16th characters start
  // three-byte forms too does the block loop try.
  if (n - ri < 96) {
    Sse2ThreeByteRun8To16(src, n, ri, dst, cap, ro);
    return;
  }
  if ((src[ri + 3] & 0xF0) != 0xE0 || (src[ri + 45] & 0xF0) != 0xE0) {
    ThreeByteRun8To16(src, n, ri, dst, cap, ro);
    return;
  }
  size_t i = ri;
  size_t o = ro;
  // 32 characters (96 bytes) from two loads: the dwords of each load are
  // moved so that 128-bit lane k holds 12 bytes, four characters, and each
  // character's bytes go to a 32-bit lane of their own, to be checked and
  // decoded there as at the SSE2 level.
  const __m512i kFirst = _mm512_set_epi32(0, 11, 10, 9, 0, 8, 7, 6, 0, 5, 4, 3, 0, 2, 1, 0);
  const __m512i kSecond = _mm512_set_epi32(0, 15, 14, 13, 0, 12, 11, 10, 0, 9, 8, 7, 0, 6, 5, 4);
  const __m512i kSpread =
      _mm512_set4_epi32(static_cast<int>(0x800B0A09), static_cast<int>(0x80080706),
                        static_cast<int>(0x80050403), static_cast<int>(0x80020100));
  const __m512i kPatternBits = _mm512_set1_epi32(0xC0C0F0);
  const __m512i kPattern = _mm512_set1_epi32(0x8080E0);
  const __m512i kTopBits = _mm512_set1_epi32(0xF800);
  const __m512i kSurrogate = _mm512_set1_epi32(0xD800);
  while (n - i >= 96 && cap - o >= 32) {
    const __m512i chars[2] = {
        _mm512_shuffle_epi8(
            _mm512_maskz_permutexvar_epi32(0xFFFF, kFirst, _mm512_loadu_si512(src + i)), kSpread),
        _mm512_shuffle_epi8(
            _mm512_maskz_permutexvar_epi32(0xFFFF, kSecond, _mm512_loadu_si512(src + i + 32)),
            kSpread)};
    __m256i units[2];
    uint32_t valid = 0;
    for (int k = 0; k < 2; ++k) {
      const __m512i v = chars[k];
      const __m512i cp = _mm512_or_si512(
          _mm512_or_si512(
              _mm512_maskz_slli_epi32(0xFFFF, _mm512_and_si512(v, _mm512_set1_epi32(0x0F)), 12),
              _mm512_maskz_srli_epi32(0xFFFF, _mm512_and_si512(v, _mm512_set1_epi32(0x3F00)), 2)),
          _mm512_and_si512(_mm512_maskz_srli_epi32(0xFFFF, v, 16), _mm512_set1_epi32(0x3F)));
      const __m512i top = _mm512_and_si512(cp, kTopBits);
      const __mmask16 ok = _mm512_cmpeq_epi32_mask(_mm512_and_si512(v, kPatternBits), kPattern) &
                           _mm512_test_epi32_mask(top, top) &
                           _mm512_cmpneq_epi32_mask(top, kSurrogate);
      valid |= uint32_t{ok} << (16 * k);
      units[k] = _mm512_maskz_cvtepi32_epi16(0xFFFF, cp);
    }
    const __m512i both =
        _mm512_maskz_inserti64x4(0xFF, _mm512_castsi256_si512(units[0]), units[1], 1);
    if (valid != 0xFFFFFFFF) {
      size_t count;
      _mm512_mask_storeu_epi16(dst + o, static_cast<__mmask32>(Before(~valid, count)), both);
      i += 3 * count;
      o += count;
      ri = i;
      ro = o;
      return;
    }
    _mm512_storeu_si512(dst + o, both);
    i += 96;
    o += 32;
  }
  ri = i;
  ro = o;
  Sse2ThreeByteRun8To16(src, n, ri, dst, cap, ro);
}

// As SSE2's MayChange, on 64 bytes.
CH_TARGET uint64_t MayChange(__m512i block, __m512i next, __m512i third) {
  const __m512i kLow6 = _mm512_set1_epi8(0x3F);
  const __m512i next6 = _mm512_and_si512(next, kLow6);
  const uint64_t nextZero = _mm512_testn_epi8_mask(next, kLow6);
  const uint64_t u3000 = _mm512_cmpeq_epi8_mask(block, _mm512_set1_epi8(static_cast<char>(0xE3))) &
                         nextZero & _mm512_testn_epi8_mask(third, kLow6);
  const uint64_t u2000 = _mm512_cmpeq_epi8_mask(block, _mm512_set1_epi8(static_cast<char>(0xE2))) &
                         (nextZero | _mm512_cmpeq_epi8_mask(next6, _mm512_set1_epi8(0x11)));
  const uint64_t uFF00 =
      _mm512_cmpeq_epi8_mask(block, _mm512_set1_epi8(static_cast<char>(0xEF))) &
      _mm512_cmpeq_epi8_mask(_mm512_or_si512(next6, _mm512_set1_epi8(1)), _mm512_set1_epi8(0x3D));
  return u3000 | u2000 | uFF00;
}

// As SSE2's, 64 bytes at a time; the last blocks are SSE2's.
CH_TARGET size_t Avx512FullWidthBlocks(const uint8_t* in, size_t n, size_t& ri, uint8_t* out,
                                       size_t& ro) {
  const __m512i kHighNibble = _mm512_set1_epi8(static_cast<char>(0xF0));
  const __m512i kLead = _mm512_set1_epi8(static_cast<char>(0xE0));
  size_t i = ri;
  size_t o = ro;
  size_t cbAsIs = 0;
  while (n - i >= 66) {
    const __m512i block = _mm512_loadu_si512(in + i);
    if (_mm512_movepi8_mask(block) == 0) {
      _mm512_storeu_si512(out + o, block);  // all ASCII
      cbAsIs = 0;
      i += 64;
      o += 64;
      continue;
    }
    const uint64_t notLead = ~uint64_t{0} << cbAsIs;
    const uint64_t leads =
        notLead & _mm512_cmpeq_epi8_mask(_mm512_and_si512(block, kHighNibble), kLead);
    if ((leads & ((leads << 1) | (leads << 2))) != 0) {
      CopyAsIs(in, cbAsIs, i, ri, out, o, ro);
      return kFullWidthExactStep;
    }
    const uint64_t changing =
        notLead & MayChange(block, _mm512_loadu_si512(in + i + 1), _mm512_loadu_si512(in + i + 2));
    if (changing != 0) {
      CopyAsIs(in, static_cast<size_t>(__builtin_ctzll(changing)), i, ri, out, o, ro);
      return 1;
    }
    _mm512_storeu_si512(out + o, block);
    cbAsIs = ((leads >> 62) & 1) | ((leads >> 63) << 1);
    i += 64;
    o += 64;
  }
  CopyAsIs(in, cbAsIs, i, ri, out, o, ro);
  return Sse2FullWidthBlocks(in, n, ri, out, ro);
}

// As SSE2's, 64 bytes at a time; the mask has one bit per unit.
CH_TARGET CH_WHOLE_BLOCKS size_t Avx512TerminatedLength16(const uint16_t* text) {
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
                                       Avx512ThreeByteRun8To16,
                                       Sse2ThreeByteRun16To8,
                                       Avx512FullWidthBlocks,
                                       Avx512TerminatedLength16};

}  // namespace commonhelpers_internal

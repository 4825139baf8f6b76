// SSE2 kernels, the x86-64 baseline: 16 bytes at a time.
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("sse2")))

namespace commonhelpers_internal {

namespace {

// Marks the bytes of `block` that start a character HalfWidthOf() may change.
// Only the lead byte and the low six bits of the next one are looked at, and
// for U+3000 also those of the third, so that the common ideographic
// punctuation U+3001..U+303F passes; a marked character is not necessarily
// converted.
CH_TARGET unsigned MayChange(__m128i block, __m128i next, __m128i third) {
  const __m128i kLow6 = _mm_set1_epi8(0x3F);
  const __m128i zero = _mm_setzero_si128();
  const __m128i next6 = _mm_and_si128(next, kLow6);
  const __m128i u3000 =
      _mm_and_si128(_mm_and_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(0xE3))),
                                  _mm_cmpeq_epi8(next6, zero)),
                    _mm_cmpeq_epi8(_mm_and_si128(third, kLow6), zero));
  const __m128i u2000 = _mm_and_si128(  // U+2000..U+203F and U+2440..U+247F
      _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(0xE2))),
      _mm_or_si128(_mm_cmpeq_epi8(next6, zero), _mm_cmpeq_epi8(next6, _mm_set1_epi8(0x11))));
  const __m128i uFF00 = _mm_and_si128(  // U+FF00..U+FF7F
      _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(0xEF))),
      _mm_cmpeq_epi8(_mm_or_si128(next6, _mm_set1_epi8(1)), _mm_set1_epi8(0x3D)));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(u3000, u2000), uFF00)));
}

// The fast path: copies whole 16-byte blocks in which nothing can change,
// provided the units parse as they appear: no lead byte stands within two
// bytes after another one. A sequence that starts in a block's last two bytes
// has its tail bytes at the start of the next block, which takes them as they
// are (`cbAsIs`); the block start never depends on the data, so loads run
// ahead. In a block that parses but holds a character that may change, the
// units before it are copied and the exact path gets that one character
// only. Returns how many bytes the exact path must take before blocks can

}  // namespace

CH_TARGET void Sse2AsciiRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                                 size_t& o) {
  const __m128i zero = _mm_setzero_si128();
  while (n - i >= 16 && cap - o >= 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const unsigned nonAscii = static_cast<unsigned>(_mm_movemask_epi8(bytes));
    if (nonAscii != 0) {
      // The units before the first other byte, written exactly: what follows
      // may end the conversion.
      uint16_t units[16];
      _mm_storeu_si128(reinterpret_cast<__m128i*>(units), _mm_unpacklo_epi8(bytes, zero));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(units + 8), _mm_unpackhi_epi8(bytes, zero));
      const size_t cnAscii = static_cast<size_t>(__builtin_ctz(nonAscii));
      memcpy(dst + o, units, cnAscii * sizeof(uint16_t));
      i += cnAscii;
      o += cnAscii;
      break;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o + 8), _mm_unpackhi_epi8(bytes, zero));
    i += 16;
    o += 16;
  }
  AsciiRun8To16(src, n, i, dst, cap, o);
}

CH_TARGET void Sse2AsciiRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                                 size_t& o) {
  const __m128i nonAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
  while (n - i >= 16 && cap - o >= 16) {
    const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 8));
    const __m128i zero = _mm_setzero_si128();
    const unsigned ascii =
        static_cast<unsigned>(
            _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(lo, nonAscii), zero))) |
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(hi, nonAscii), zero)))
            << 16;
    if (ascii != 0xFFFFFFFF) {
      // As above: the units before the first other one, written exactly.
      uint8_t bytes[16];
      _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm_packus_epi16(lo, hi));
      const size_t cnAscii = static_cast<size_t>(__builtin_ctz(~ascii)) / 2;
      memcpy(dst + o, bytes, cnAscii);
      i += cnAscii;
      o += cnAscii;
      break;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o), _mm_packus_epi16(lo, hi));
    i += 16;
    o += 16;
  }
  AsciiRun16To8(src, n, i, dst, cap, o);
}

CH_TARGET void Sse2ThreeByteRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst,
                                     size_t cap, size_t& o) {
  // Eight characters (24 bytes) at a time, the reverse of the packing in the
  // UTF-16 path below: 6 bytes per 64-bit lane, split into 3 bytes per 32-bit
  // lane, checked and decoded there, then packed to 16-bit units (offset by
  // 0x8000 around the signed saturating pack).
  const __m128i kLow24 = _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
  const __m128i kHigh24 = _mm_set_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
  const __m128i kPatternBits = _mm_set1_epi32(0xC0C0F0);
  const __m128i kPattern = _mm_set1_epi32(0x8080E0);
  const __m128i kTopBits = _mm_set1_epi32(0xF800);
  const __m128i kSurrogate = _mm_set1_epi32(0xD800);
  const __m128i kOffset = _mm_set1_epi32(0x8000);
  const __m128i zero = _mm_setzero_si128();
  while (n - i >= 26 && cap - o >= 8) {
    __m128i chars[2];
    for (int k = 0; k < 2; ++k) {
      const __m128i pairs = _mm_unpacklo_epi64(
          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src + i + 12 * k)),
          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src + i + 12 * k + 6)));
      chars[k] = _mm_or_si128(_mm_and_si128(pairs, kLow24),
                              _mm_and_si128(_mm_slli_epi64(pairs, 8), kHigh24));
    }
    const __m128i shape =
        _mm_and_si128(_mm_cmpeq_epi32(_mm_and_si128(chars[0], kPatternBits), kPattern),
                      _mm_cmpeq_epi32(_mm_and_si128(chars[1], kPatternBits), kPattern));
    if (_mm_movemask_epi8(shape) != 0xFFFF) break;
    __m128i cps[2];
    __m128i other = zero;
    for (int k = 0; k < 2; ++k) {
      const __m128i v = chars[k];
      cps[k] =
          _mm_or_si128(_mm_or_si128(_mm_slli_epi32(_mm_and_si128(v, _mm_set1_epi32(0x0F)), 12),
                                    _mm_srli_epi32(_mm_and_si128(v, _mm_set1_epi32(0x3F00)), 2)),
                       _mm_and_si128(_mm_srli_epi32(v, 16), _mm_set1_epi32(0x3F)));
      const __m128i top = _mm_and_si128(cps[k], kTopBits);
      other = _mm_or_si128(
          other, _mm_or_si128(_mm_cmpeq_epi32(top, zero), _mm_cmpeq_epi32(top, kSurrogate)));
    }
    if (_mm_movemask_epi8(other) != 0) break;
    const __m128i units =
        _mm_packs_epi32(_mm_sub_epi32(cps[0], kOffset), _mm_sub_epi32(cps[1], kOffset));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o),
                     _mm_xor_si128(units, _mm_set1_epi16(static_cast<short>(0x8000))));
    i += 24;
    o += 8;
  }
  ThreeByteRun8To16(src, n, i, dst, cap, o);
}

CH_TARGET void Sse2ThreeByteRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst,
                                     size_t cap, size_t& o) {
  // Eight units become 24 bytes: each 16-bit lane makes its first two bytes
  // and its last byte apart; interleaved, they form one 3-byte character per
  // 32-bit lane, and two of those are joined into 6 bytes per 64-bit lane.
  const __m128i kTopBits = _mm_set1_epi16(static_cast<short>(0xF800));
  const __m128i kSurrogate = _mm_set1_epi16(static_cast<short>(0xD800));
  const __m128i kLow24 = _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
  const __m128i kHigh24 =
      _mm_set_epi32(0xFFFF, static_cast<int>(0xFF000000), 0xFFFF, static_cast<int>(0xFF000000));
  while (n - i >= 8 && cap - o >= 24) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const __m128i top = _mm_and_si128(units, kTopBits);
    const __m128i other =
        _mm_or_si128(_mm_cmpeq_epi16(top, _mm_setzero_si128()), _mm_cmpeq_epi16(top, kSurrogate));
    if (_mm_movemask_epi8(other) != 0) break;
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(units, 12), _mm_set1_epi16(0xE0));
    const __m128i middle =
        _mm_or_si128(_mm_and_si128(_mm_slli_epi16(units, 2), _mm_set1_epi16(0x3F00)),
                     _mm_set1_epi16(static_cast<short>(0x8000)));
    const __m128i firstTwo = _mm_or_si128(lead, middle);
    const __m128i last =
        _mm_or_si128(_mm_and_si128(units, _mm_set1_epi16(0x3F)), _mm_set1_epi16(0x80));
    const __m128i chars0 = _mm_unpacklo_epi16(firstTwo, last);
    const __m128i chars1 = _mm_unpackhi_epi16(firstTwo, last);
    uint64_t pairs[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pairs),
                     _mm_or_si128(_mm_and_si128(chars0, kLow24),
                                  _mm_and_si128(_mm_srli_epi64(chars0, 8), kHigh24)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pairs + 2),
                     _mm_or_si128(_mm_and_si128(chars1, kLow24),
                                  _mm_and_si128(_mm_srli_epi64(chars1, 8), kHigh24)));
    // In order, so that each store's two spare bytes are overwritten by the
    // next; the last writes its six bytes only.
    memcpy(dst + o, &pairs[0], 8);
    memcpy(dst + o + 6, &pairs[1], 8);
    memcpy(dst + o + 12, &pairs[2], 8);
    memcpy(dst + o + 18, &pairs[3], 6);
    i += 8;
    o += 24;
  }
  ThreeByteRun16To8(src, n, i, dst, cap, o);
}

// resume; `i` is always left at the start of a unit.
CH_TARGET size_t Sse2FullWidthBlocks(const uint8_t* in, size_t n, size_t& i, uint8_t* out,
                                     size_t& o) {
  const __m128i kHighNibble = _mm_set1_epi8(static_cast<char>(0xF0));
  const __m128i kLead = _mm_set1_epi8(static_cast<char>(0xE0));
  unsigned cbAsIs = 0;
  size_t cbExact = kFullWidthExactStep;
  while (n - i >= 18) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    if (_mm_movemask_epi8(block) == 0) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), block);  // all ASCII
      cbAsIs = 0;
      i += 16;
      o += 16;
      continue;
    }
    const unsigned notLead = ~((1u << cbAsIs) - 1);
    const unsigned leads = notLead & static_cast<unsigned>(_mm_movemask_epi8(
                                         _mm_cmpeq_epi8(_mm_and_si128(block, kHighNibble), kLead)));
    if ((leads & ((leads << 1) | (leads << 2))) != 0) {
      break;
    }
    const unsigned changing =
        notLead & MayChange(block, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i + 1)),
                            _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i + 2)));
    if (changing != 0) {
      cbAsIs = static_cast<unsigned>(__builtin_ctz(changing));
      cbExact = 1;
      break;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), block);
    cbAsIs = ((leads >> 14) & 1) | ((leads >> 15) << 1);
    i += 16;
    o += 16;
  }
  // The bytes up to the next unit (a tail, or the units before a character
  // that may change) are copied as they are; in place, the two ranges
  // overlap.
  memmove(out + o, in + i, cbAsIs);
  i += cbAsIs;
  o += cbAsIs;
  return cbExact;
}

// Reads the aligned 16-byte blocks from the one that holds text[0] to the one
// that holds the terminator, bytes before the text and past its end included
// (see CH_WHOLE_BLOCKS; the same in the wider levels). Those bytes only ever
// meet a mask or lie after the first zero unit.
CH_TARGET CH_WHOLE_BLOCKS size_t Sse2TerminatedLength16(const uint16_t* text) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  const __m128i* block = reinterpret_cast<const __m128i*>(start & ~uintptr_t{15});
  const __m128i zero = _mm_setzero_si128();
  unsigned zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(*block, zero))) &
                   (~0u << (start & 15));
  while (zeros == 0) {
    ++block;
    zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(*block, zero)));
  }
  return (reinterpret_cast<uintptr_t>(block) + static_cast<unsigned>(__builtin_ctz(zeros)) -
          start) /
         2;
}

extern const Kernels kSse2Kernels = {"sse2",
                                     Sse2AsciiRun8To16,
                                     Sse2AsciiRun16To8,
                                     Sse2ThreeByteRun8To16,
                                     Sse2ThreeByteRun16To8,
                                     Sse2FullWidthBlocks,
                                     Sse2TerminatedLength16};

}  // namespace commonhelpers_internal

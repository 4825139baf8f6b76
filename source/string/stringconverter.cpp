// Conversion between UTF-8, UTF-16 and UTF-32.
//
// UTF-8 carries a code point in one to four bytes:
//
//   code points         byte 1    byte 2    byte 3    byte 4
//   U+0000..U+007F      0xxxxxxx
//   U+0080..U+07FF      110yyyyy  10xxxxxx
//   U+0800..U+FFFF      1110zzzz  10yyyyyy  10xxxxxx
//   U+10000..U+10FFFF   11110uuu  10uuzzzz  10yyyyyy  10xxxxxx
//
// UTF-16 carries U+0000..U+FFFF (less the surrogates U+D800..U+DFFF) in one
// unit, and U+10000..U+10FFFF as a pair: a high surrogate 110110wwwwzzzzzz
// (wwww = uuuuu - 1) followed by a low surrogate 110111yyyyxxxxxx. UTF-32
// carries the code point itself.
//
// Policy: decoding is strict. The only well-formed UTF-8 sequences are those
// of the table above in their shortest form, without encoded surrogates and
// without values above U+10FFFF; a UTF-16 high surrogate must be followed by
// a low one, and no other surrogate may stand alone; a UTF-32 unit must be a
// code point that is not a surrogate. The first malformed sequence, or the
// first character that does not fit in the destination, ends the conversion
// with RESULT_INV_DATA; what was converted before it stays, terminated.
#include <commonhelpers/stringconverter.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/terminated_length.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

using commonhelpers_internal::TerminatedLength;

constexpr uint32_t kMalformed = 0xFFFFFFFF;

bool IsContinuation(uint8_t b) { return (b & 0xC0) == 0x80; }

// Decoders: the code point that starts at src[i], with i moved past it, or
// kMalformed (i unspecified). `n` is the number of units before the
// terminator, so a sequence cut short by the terminator fails its bound test.

uint32_t Decode(const uint8_t* src, size_t n, size_t& i) {
  const uint8_t b0 = src[i];
  if (b0 < 0x80) {
    ++i;
    return b0;
  }
  // The second byte's range depends on the lead: it is what excludes the
  // overlong forms (E0 80..9F, F0 80..8F), the encoded surrogates (ED A0..BF)
  // and the values above U+10FFFF (F4 90..BF).
  size_t cnTrail;
  uint8_t lo = 0x80, hi = 0xBF;
  uint32_t cp;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    cnTrail = 1;
    cp = b0 & 0x1F;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    cnTrail = 2;
    cp = b0 & 0x0F;
    if (b0 == 0xE0) lo = 0xA0;
    if (b0 == 0xED) hi = 0x9F;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    cnTrail = 3;
    cp = b0 & 0x07;
    if (b0 == 0xF0) lo = 0x90;
    if (b0 == 0xF4) hi = 0x8F;
  } else {
    // A stray continuation byte, the overlong leads C0 and C1, or F5..FF.
    return kMalformed;
  }
  if (n - i <= cnTrail) {
    return kMalformed;  // cut short by the terminator
  }
  const uint8_t b1 = src[i + 1];
  if (b1 < lo || b1 > hi) {
    return kMalformed;
  }
  cp = (cp << 6) | (b1 & 0x3F);
  for (size_t k = 2; k <= cnTrail; ++k) {
    const uint8_t b = src[i + k];
    if (!IsContinuation(b)) {
      return kMalformed;  // cut short by a byte that does not continue it
    }
    cp = (cp << 6) | (b & 0x3F);
  }
  i += cnTrail + 1;
  return cp;
}

uint32_t Decode(const uint16_t* src, size_t n, size_t& i) {
  const uint32_t u = src[i];
  if (u < 0xD800 || u > 0xDFFF) {
    ++i;
    return u;
  }
  if (u > 0xDBFF || i + 1 >= n) {
    return kMalformed;  // a lone low surrogate, or a high one at the end
  }
  const uint32_t low = src[i + 1];
  if (low < 0xDC00 || low > 0xDFFF) {
    return kMalformed;
  }
  i += 2;
  return 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00);
}

uint32_t Decode(const uint32_t* src, size_t /*n*/, size_t& i) {
  const uint32_t u = src[i];
  if (u > 0x10FFFF || (u >= 0xD800 && u <= 0xDFFF)) {
    return kMalformed;
  }
  ++i;
  return u;
}

// Encoders: write `cp` at dst[o] when all its units fit below `cap`, moving
// o past them; false, with nothing written, when they don't.

bool Encode(uint8_t* dst, size_t cap, size_t& o, uint32_t cp) {
  if (cp < 0x80) {
    if (o >= cap) return false;
    dst[o++] = static_cast<uint8_t>(cp);
  } else if (cp < 0x800) {
    if (cap - o < 2) return false;
    dst[o++] = static_cast<uint8_t>(0xC0 | (cp >> 6));
    dst[o++] = static_cast<uint8_t>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    if (cap - o < 3) return false;
    dst[o++] = static_cast<uint8_t>(0xE0 | (cp >> 12));
    dst[o++] = static_cast<uint8_t>(0x80 | ((cp >> 6) & 0x3F));
    dst[o++] = static_cast<uint8_t>(0x80 | (cp & 0x3F));
  } else {
    if (cap - o < 4) return false;
    dst[o++] = static_cast<uint8_t>(0xF0 | (cp >> 18));
    dst[o++] = static_cast<uint8_t>(0x80 | ((cp >> 12) & 0x3F));
    dst[o++] = static_cast<uint8_t>(0x80 | ((cp >> 6) & 0x3F));
    dst[o++] = static_cast<uint8_t>(0x80 | (cp & 0x3F));
  }
  return true;
}

bool Encode(uint16_t* dst, size_t cap, size_t& o, uint32_t cp) {
  if (cp < 0x10000) {
    if (o >= cap) return false;
    dst[o++] = static_cast<uint16_t>(cp);
  } else {
    if (cap - o < 2) return false;
    cp -= 0x10000;
    dst[o++] = static_cast<uint16_t>(0xD800 | (cp >> 10));
    dst[o++] = static_cast<uint16_t>(0xDC00 | (cp & 0x3FF));
  }
  return true;
}

bool Encode(uint32_t* dst, size_t cap, size_t& o, uint32_t cp) {
  if (o >= cap) return false;
  dst[o++] = cp;
  return true;
}

// Fast paths: copy a run of ASCII units from src[i] to dst[o] a block at a
// time, moving i and o past what was copied. Each stops at the first block
// that holds a unit above 0x7F or does not fit, and leaves that block to the
// exact loop, so they change speed only, never a result.

template <typename Src, typename Dst>
void CopyAsciiRun(const Src* src, size_t n, size_t& i, Dst* dst, size_t cap, size_t& o) {
  while (i < n && o < cap && src[i] < 0x80) {
    dst[o++] = static_cast<Dst>(src[i++]);
  }
}

void CopyAsciiRun(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap, size_t& o) {
#ifdef __SSE2__
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
#else
  while (n - i >= 8 && cap - o >= 8) {
    uint64_t word;
    memcpy(&word, src + i, 8);
    if ((word & 0x8080808080808080ULL) != 0) break;
    for (int k = 0; k < 8; ++k) dst[o + k] = src[i + k];
    i += 8;
    o += 8;
  }
#endif
  while (i < n && o < cap && src[i] < 0x80) {
    dst[o++] = src[i++];
  }
}

void CopyAsciiRun(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap, size_t& o) {
#ifdef __SSE2__
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
#else
  while (n - i >= 4 && cap - o >= 4) {
    uint64_t word;
    memcpy(&word, src + i, 8);
    if ((word & 0xFF80FF80FF80FF80ULL) != 0) break;
    for (int k = 0; k < 4; ++k) dst[o + k] = static_cast<uint8_t>(src[i + k]);
    i += 4;
    o += 4;
  }
#endif
  while (i < n && o < cap && src[i] < 0x80) {
    dst[o++] = static_cast<uint8_t>(src[i++]);
  }
}

// Chinese text is mostly three-byte characters (U+0800..U+FFFF). These
// paths convert a run of them without the general decoder, and likewise stop
// at the first unit that is anything else or does not fit.

template <typename Src, typename Dst>
void CopyThreeByteRun(const Src*, size_t, size_t&, Dst*, size_t, size_t&) {}

// A valid three-byte character is one of U+0800..U+FFFF but no surrogate.
bool IsThreeByteCodePoint(uint32_t cp) { return (cp & 0xF800) != 0 && (cp & 0xF800) != 0xD800; }

// Two characters at a time from one 64-bit load: bytes 0..5 must be
// 1110xxxx 10xxxxxx 10xxxxxx twice; bytes 6 and 7 are only looked at later.
void CopyThreeByteRun(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                      size_t& o) {
#ifdef __SSE2__
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
#endif
  while (n - i >= 8 && cap - o >= 2) {
    uint64_t word;
    memcpy(&word, src + i, 8);
    if ((word & 0xC0C0F0C0C0F0ULL) != 0x8080E08080E0ULL) break;
    const uint32_t cp0 = static_cast<uint32_t>(((word & 0x0F) << 12) | ((word >> 2) & 0x0FC0) |
                                               ((word >> 16) & 0x3F));
    const uint32_t cp1 = static_cast<uint32_t>(((word >> 12) & 0xF000) | ((word >> 26) & 0x0FC0) |
                                               ((word >> 40) & 0x3F));
    if (!IsThreeByteCodePoint(cp0) || !IsThreeByteCodePoint(cp1)) break;
    dst[o] = static_cast<uint16_t>(cp0);
    dst[o + 1] = static_cast<uint16_t>(cp1);
    i += 6;
    o += 2;
  }
}

void CopyThreeByteRun(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                      size_t& o) {
#ifdef __SSE2__
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
#endif
  while (i < n && cap - o >= 3 && IsThreeByteCodePoint(src[i])) {
    const uint32_t u = src[i++];
    dst[o] = static_cast<uint8_t>(0xE0 | (u >> 12));
    dst[o + 1] = static_cast<uint8_t>(0x80 | ((u >> 6) & 0x3F));
    dst[o + 2] = static_cast<uint8_t>(0x80 | (u & 0x3F));
    o += 3;
  }
}

template <typename Src, typename Dst>
RResult Convert(const Src* src, Dst* dst, size_t cap) {
  const size_t n = TerminatedLength(src);
  size_t i = 0;
  size_t o = 0;
  RResult result = RESULT_SUCCEEDED;
  while (i < n) {
    CopyAsciiRun(src, n, i, dst, cap, o);
    CopyThreeByteRun(src, n, i, dst, cap, o);
    if (i == n) break;
    size_t next = i;
    const uint32_t cp = Decode(src, n, next);
    if (cp == kMalformed || !Encode(dst, cap, o, cp)) {
      result = RESULT_INV_DATA;
      break;
    }
    i = next;
  }
  dst[o] = 0;
  return result;
}

// RESULT_INV_ARGUMENT, with nothing written, for a type outside the
// enumeration.
template <typename Src>
RResult ConvertFrom(const Src* src, void* dst, size_t cap, UtfType dstType) {
  RResult result = RESULT_INV_ARGUMENT;
  switch (dstType) {
    case UTF_8:
      result = Convert(src, static_cast<uint8_t*>(dst), cap);
      break;
    case UTF_16:
      result = Convert(src, static_cast<uint16_t*>(dst), cap);
      break;
    case UTF_32:
      result = Convert(src, static_cast<uint32_t*>(dst), cap);
      break;
  }
  return result;
}

}  // namespace

void ConvertUtfString(const void* src, UtfType srcType, void* dst, int dstSize, UtfType dstType,
                      RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  if (src == nullptr || dst == nullptr || dstSize < 1) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    // One unit of the destination is always kept for the terminator.
    const size_t cap = static_cast<size_t>(dstSize) - 1;
    result = RESULT_INV_ARGUMENT;  // unless srcType is one of the enumeration
    switch (srcType) {
      case UTF_8:
        result = ConvertFrom(static_cast<const uint8_t*>(src), dst, cap, dstType);
        break;
      case UTF_16:
        result = ConvertFrom(static_cast<const uint16_t*>(src), dst, cap, dstType);
        break;
      case UTF_32:
        result = ConvertFrom(static_cast<const uint32_t*>(src), dst, cap, dstType);
        break;
    }
  }
  PassBackResult(result, presult);
}

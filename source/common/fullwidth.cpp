// Full-width to half-width normalization of UTF-8 text.
//
// Only three-byte sequences are decoded: a lead byte 1110xxxx takes the two
// bytes after it, whatever they hold, and only their low six bits enter the
// code point. Every other byte is a unit of its own and is copied. A text
// that ends inside a three-byte sequence has its last bytes copied as they
// are; nothing past the terminator is ever read. The output is never longer
// than the input.
#include <cstdint>
#include <cstring>

#include "commonhelpers.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

bool IsThreeByteLead(uint8_t b) { return (b & 0xF0) == 0xE0; }

// The ASCII byte that a three-byte character becomes, or 0 when it stays.
uint8_t HalfWidthOf(uint32_t cp) {
  if (cp == 0x3000) {
    return ' ';
  }
  if ((cp >= 0xFF03 && cp <= 0xFF06) || (cp >= 0xFF0A && cp <= 0xFF0B) ||
      (cp >= 0xFF0E && cp <= 0xFF19) || (cp >= 0xFF1C && cp <= 0xFF1E) ||
      (cp >= 0xFF20 && cp <= 0xFF3A) || cp == 0xFF3F || (cp >= 0xFF41 && cp <= 0xFF5E)) {
    return static_cast<uint8_t>(cp - 0xFEE0);
  }
  if (cp >= 0x2460 && cp <= 0x2468) {
    return static_cast<uint8_t>(cp - 0x242F);  // circled digits one to nine
  }
  if (cp == 0x2012 || cp == 0x2013 || cp == 0x2015 || cp == 0xFF0D) {
    return '-';
  }
  return 0;
}

// The exact path: normalizes from in[i] on, one unit at a time, until i has
// reached `stop` (a sequence that starts before it may end after it).
void NormalizeUnits(const uint8_t* in, size_t n, size_t& i, size_t stop, uint8_t* out, size_t& o) {
  while (i < stop) {
    const uint8_t b = in[i];
    if (!IsThreeByteLead(b)) {
      out[o++] = b;
      ++i;
    } else if (n - i < 3) {
      while (i < n) {
        out[o++] = in[i++];  // cut short by the terminator: copied as it is
      }
    } else {
      const uint32_t cp = (static_cast<uint32_t>(b & 0x0F) << 12) |
                          (static_cast<uint32_t>(in[i + 1] & 0x3F) << 6) | (in[i + 2] & 0x3F);
      const uint8_t half = HalfWidthOf(cp);
      if (half != 0) {
        out[o++] = half;
      } else {
        out[o] = b;
        out[o + 1] = in[i + 1];
        out[o + 2] = in[i + 2];
        o += 3;
      }
      i += 3;
    }
  }
}

#ifdef __SSE2__
// The fast path: copies whole 16-byte blocks in which nothing can change. A
// converted character always starts with E2, E3 or EF, so a block without
// those bytes is copied as it is, provided the units parse as they appear:
// no lead byte stands within two bytes after another one. A sequence that
// starts in the block's last two bytes takes its tail from the next block.
// Stops at the first block it can't vouch for and leaves it to the exact path.
void CopyUnchangedBlocks(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o) {
  const __m128i kHighNibble = _mm_set1_epi8(static_cast<char>(0xF0));
  const __m128i kLead = _mm_set1_epi8(static_cast<char>(0xE0));
  const __m128i kE2 = _mm_set1_epi8(static_cast<char>(0xE2));
  const __m128i kE3 = _mm_set1_epi8(static_cast<char>(0xE3));
  const __m128i kEF = _mm_set1_epi8(static_cast<char>(0xEF));
  while (n - i >= 18) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    if (_mm_movemask_epi8(block) == 0) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), block);  // all ASCII
      i += 16;
      o += 16;
      continue;
    }
    const unsigned leads = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(block, kHighNibble), kLead)));
    const __m128i convertible =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(block, kE2), _mm_cmpeq_epi8(block, kE3)),
                     _mm_cmpeq_epi8(block, kEF));
    if (_mm_movemask_epi8(convertible) != 0 || (leads & ((leads << 1) | (leads << 2))) != 0) {
      return;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), block);
    size_t step = 16;
    if ((leads & 0xC000) != 0) {
      step = static_cast<size_t>(31 - __builtin_clz(leads)) + 3;
      for (size_t k = 16; k < step; ++k) {
        out[o + k] = in[i + k];
      }
    }
    i += step;
    o += step;
  }
}
#else
void CopyUnchangedBlocks(const uint8_t*, size_t, size_t&, uint8_t*, size_t&) {}
#endif

}  // namespace

void fullToHalf(const char* sFullStr, char* sHalfStr, RResult* presult) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(sFullStr);
  uint8_t* out = reinterpret_cast<uint8_t*>(sHalfStr);
  const size_t n = strlen(sFullStr);
  size_t i = 0;
  size_t o = 0;
  while (i < n) {
    CopyUnchangedBlocks(in, n, i, out, o);
    NormalizeUnits(in, n, i, i + 16 < n ? i + 16 : n, out, o);
  }
  out[o] = 0;
  PassBackResult(RESULT_SUCCEEDED, presult);
}

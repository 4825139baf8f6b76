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

#include <commonhelpers/commonhelpers.h>

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

// The exact path takes this many bytes when the fast path can't vouch for a
// block.
constexpr size_t kExactStep = 16;

#ifdef __SSE2__
// Marks the bytes of `block` that start a character HalfWidthOf() may change.
// Only the lead byte and the low six bits of the next one are looked at, and
// for U+3000 also those of the third, so that the common ideographic
// punctuation U+3001..U+303F passes; a marked character is not necessarily
// converted.
unsigned MayChange(__m128i block, __m128i next, __m128i third) {
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
// resume; `i` is always left at the start of a unit.
size_t CopyUnchangedBlocks(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o) {
  const __m128i kHighNibble = _mm_set1_epi8(static_cast<char>(0xF0));
  const __m128i kLead = _mm_set1_epi8(static_cast<char>(0xE0));
  unsigned cbAsIs = 0;
  size_t cbExact = kExactStep;
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
#else
size_t CopyUnchangedBlocks(const uint8_t*, size_t, size_t&, uint8_t*, size_t&) {
  return kExactStep;
}
#endif

}  // namespace

void fullToHalf(const char* sFullStr, char* sHalfStr, RResult* presult) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(sFullStr);
  uint8_t* out = reinterpret_cast<uint8_t*>(sHalfStr);
  const size_t n = strlen(sFullStr);
  size_t i = 0;
  size_t o = 0;
  while (i < n) {
    const size_t cbExact = CopyUnchangedBlocks(in, n, i, out, o);
    NormalizeUnits(in, n, i, n - i > cbExact ? i + cbExact : n, out, o);
  }
  out[o] = 0;
  PassBackResult(RESULT_SUCCEEDED, presult);
}

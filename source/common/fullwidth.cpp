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
#include "internal/simd.h"
#include "internal/terminated_length.h"

namespace {

using commonhelpers_internal::FirstStretch;
using commonhelpers_internal::GrowNear;
using commonhelpers_internal::Kernels;
using commonhelpers_internal::kFullWidthExactStep;
using commonhelpers_internal::KnownLength;

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

}  // namespace

size_t commonhelpers_internal::FullWidthBlocks(const uint8_t*, size_t, size_t&, uint8_t*, size_t&) {
  return kFullWidthExactStep;
}

void commonhelpers_internal::FullToHalfWith(const Kernels& kernels, const char* sFullStr,
                                            char* sHalfStr) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(sFullStr);
  uint8_t* out = reinterpret_cast<uint8_t*>(sHalfStr);
  // The length is found a stretch at a time, ahead of the blocks (see
  // FirstStretch).
  KnownLength known = FirstStretch(sFullStr);
  size_t i = 0;
  size_t o = 0;
  while (i < known.n) {
    const size_t cbExact = kernels.fullWidthBlocks(in, known.n, i, out, o);
    GrowNear(sFullStr, i, known);
    const size_t n = known.n;
    NormalizeUnits(in, n, i, n - i > cbExact ? i + cbExact : n, out, o);
  }
  out[o] = 0;
}

void fullToHalf(const char* sFullStr, char* sHalfStr, RResult* presult) {
  commonhelpers_internal::FullToHalfWith(commonhelpers_internal::ActiveKernels(), sFullStr,
                                         sHalfStr);
  PassBackResult(RESULT_SUCCEEDED, presult);
}

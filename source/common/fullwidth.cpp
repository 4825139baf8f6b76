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
#include "internal/known_length.h"
#include "internal/simd.h"
#include "kernels/halfwidth.h"

namespace {

using commonhelpers_internal::FirstStretch;
using commonhelpers_internal::GrowNear;
using commonhelpers_internal::Kernels;
using commonhelpers_internal::KnownLength;
using commonhelpers_internal::NormalizeThreeBytes;

// The exact path for the one unit a run stops at, always a lead: cut short
// by the terminator (copied as it is), or holding another lead among the two
// bytes it takes.
void NormalizeUnit(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o) {
  if (n - i < 3) {
    while (i < n) {
      out[o++] = in[i++];
    }
    return;
  }
  NormalizeThreeBytes(in[i], in[i + 1], in[i + 2], out, o);
  i += 3;
}

}  // namespace

void commonhelpers_internal::FullToHalfWith(const Kernels& kernels, const char* sFullStr,
                                            char* sHalfStr) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(sFullStr);
  uint8_t* out = reinterpret_cast<uint8_t*>(sHalfStr);
  // The length is found a stretch at a time, ahead of the runs (see
  // FirstStretch).
  KnownLength known = FirstStretch(sFullStr);
  size_t i = 0;
  size_t o = 0;
  while (i < known.n) {
    const size_t n = known.n;
    kernels.halfWidth(in, n, i, out, o);
    GrowNear(sFullStr, i, known);
    if (i < n) {
      NormalizeUnit(in, known.n, i, out, o);
    }
  }
  out[o] = 0;
}

void fullToHalf(const char* sFullStr, char* sHalfStr, RResult* presult) {
  commonhelpers_internal::FullToHalfWith(commonhelpers_internal::ActiveKernels(), sFullStr,
                                         sHalfStr);
  PassBackResult(RESULT_SUCCEEDED, presult);
}

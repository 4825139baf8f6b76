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

#include "internal/known_length.h"
#include "internal/simd.h"
#include "internal/terminated_length.h"

namespace {

using commonhelpers_internal::ActiveKernels;
using commonhelpers_internal::ConvertUtfStringWith;
using commonhelpers_internal::FirstStretch;
using commonhelpers_internal::GrowNear;
using commonhelpers_internal::Kernels;
using commonhelpers_internal::KnownLength;
using commonhelpers_internal::RunEnd;
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

// The runs for the pairs that have no kernels: ASCII only.
template <typename Src, typename Dst>
void Runs(const Kernels&, const Src* src, size_t n, size_t& i, Dst* dst, size_t cap, size_t& o) {
  while (i < n && o < cap && src[i] < 0x80) {
    dst[o++] = static_cast<Dst>(src[i++]);
  }
}

void Runs(const Kernels& kernels, const uint8_t* src, size_t n, size_t& i, uint16_t* dst,
          size_t cap, size_t& o) {
  const RunEnd end = kernels.utf8To16(src, n, i, dst, cap, o);
  i = end.i;
  o = end.o;
}

void Runs(const Kernels& kernels, const uint16_t* src, size_t n, size_t& i, uint8_t* dst,
          size_t cap, size_t& o) {
  const RunEnd end = kernels.utf16To8(src, n, i, dst, cap, o);
  i = end.i;
  o = end.o;
}

// The units known to come before the terminator: UTF-8 a stretch at a time
// (see FirstStretch); UTF-16 with the given table's scan, so that one table
// serves a whole call.
template <typename Src>
KnownLength SourceLength(const Kernels&, const Src* src) {
  return {TerminatedLength(src), true};
}

KnownLength SourceLength(const Kernels& kernels, const uint16_t* src) {
  return {kernels.terminatedLength16(src), true};
}

KnownLength SourceLength(const Kernels&, const uint8_t* src) {
  return FirstStretch(reinterpret_cast<const char*>(src));
}

template <typename Src>
void Grow(const Src*, size_t, KnownLength&) {}

void Grow(const uint8_t* src, size_t i, KnownLength& known) {
  GrowNear(reinterpret_cast<const char*>(src), i, known);
}

template <typename Src, typename Dst>
RResult Convert(const Kernels& kernels, const Src* src, Dst* dst, size_t cap) {
  KnownLength known = SourceLength(kernels, src);
  size_t i = 0;
  size_t o = 0;
  RResult result = RESULT_SUCCEEDED;
  for (;;) {
    Runs(kernels, src, known.n, i, dst, cap, o);
    Grow(src, i, known);
    if (i == known.n) break;
    size_t next = i;
    const uint32_t cp = Decode(src, known.n, next);
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
RResult ConvertFrom(const Kernels& kernels, const Src* src, void* dst, size_t cap,
                    UtfType dstType) {
  RResult result = RESULT_INV_ARGUMENT;
  switch (dstType) {
    case UTF_8:
      result = Convert(kernels, src, static_cast<uint8_t*>(dst), cap);
      break;
    case UTF_16:
      result = Convert(kernels, src, static_cast<uint16_t*>(dst), cap);
      break;
    case UTF_32:
      result = Convert(kernels, src, static_cast<uint32_t*>(dst), cap);
      break;
  }
  return result;
}

}  // namespace

void commonhelpers_internal::ConvertUtfStringWith(const void* src, UtfType srcType, void* dst,
                                                  int dstSize, UtfType dstType, RResult* presult,
                                                  const Kernels* kernels) {
  RResult result = RESULT_SUCCEEDED;
  if (src == nullptr || dst == nullptr || dstSize < 1) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    const Kernels& runs = kernels != nullptr ? *kernels : ActiveKernels();
    // One unit of the destination is always kept for the terminator.
    const size_t cap = static_cast<size_t>(dstSize) - 1;
    result = RESULT_INV_ARGUMENT;  // unless srcType is one of the enumeration
    switch (srcType) {
      case UTF_8:
        result = ConvertFrom(runs, static_cast<const uint8_t*>(src), dst, cap, dstType);
        break;
      case UTF_16:
        result = ConvertFrom(runs, static_cast<const uint16_t*>(src), dst, cap, dstType);
        break;
      case UTF_32:
        result = ConvertFrom(runs, static_cast<const uint32_t*>(src), dst, cap, dstType);
        break;
    }
  }
  PassBackResult(result, presult);
}

void ConvertUtfString(const void* src, UtfType srcType, void* dst, int dstSize, UtfType dstType,
                      RResult* presult) {
  ConvertUtfStringWith(src, srcType, dst, dstSize, dstType, presult, nullptr);
}

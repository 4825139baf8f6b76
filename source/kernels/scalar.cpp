// The scalar level: every run one character at a time. It is the level that
// every other is compared with, and the only one on other architectures.
#include "internal/simd.h"
#include "internal/terminated_length.h"
#include "kernels/halfwidth.h"

namespace commonhelpers_internal {

namespace {

bool IsContinuation(uint8_t b) { return (b & 0xC0) == 0x80; }

bool Always() { return true; }

// The leads C2..DF take one continuation byte, E0..EF two; C0 and C1 would
// be overlong, and the three-byte range check excludes the overlong forms
// (below U+0800) and the surrogates.
RunEnd ScalarUtf8To16(const uint8_t* src, size_t n, size_t i, uint16_t* dst, size_t cap, size_t o) {
  while (i < n && o < cap) {
    const uint32_t b0 = src[i];
    if (b0 < 0x80) {
      dst[o++] = static_cast<uint16_t>(b0);
      ++i;
      continue;
    }
    if (b0 < 0xC2 || b0 > 0xEF || n - i < 2 || !IsContinuation(src[i + 1])) break;
    const uint32_t b1 = src[i + 1] & 0x3F;
    if (b0 < 0xE0) {
      dst[o++] = static_cast<uint16_t>(((b0 & 0x1F) << 6) | b1);
      i += 2;
      continue;
    }
    if (n - i < 3 || !IsContinuation(src[i + 2])) break;
    const uint32_t cp = ((b0 & 0x0F) << 12) | (b1 << 6) | (src[i + 2] & 0x3F);
    if (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF)) break;
    dst[o++] = static_cast<uint16_t>(cp);
    i += 3;
  }
  return {i, o};
}

RunEnd ScalarUtf16To8(const uint16_t* src, size_t n, size_t i, uint8_t* dst, size_t cap, size_t o) {
  for (; i < n; ++i) {
    const uint32_t u = src[i];
    if (u < 0x80) {
      if (o == cap) break;
      dst[o++] = static_cast<uint8_t>(u);
    } else if (u < 0x800) {
      if (cap - o < 2) break;
      dst[o++] = static_cast<uint8_t>(0xC0 | (u >> 6));
      dst[o++] = static_cast<uint8_t>(0x80 | (u & 0x3F));
    } else {
      if ((u & 0xF800) == 0xD800 || cap - o < 3) break;
      dst[o++] = static_cast<uint8_t>(0xE0 | (u >> 12));
      dst[o++] = static_cast<uint8_t>(0x80 | ((u >> 6) & 0x3F));
      dst[o++] = static_cast<uint8_t>(0x80 | (u & 0x3F));
    }
  }
  return {i, o};
}

// Local positions: a byte stored through `out` may alias the ones passed by
// reference, which would then be reloaded after every byte (English text
// twice as slow).
void ScalarHalfWidth(const uint8_t* in, size_t n, size_t& ri, uint8_t* out, size_t& ro) {
  size_t i = ri;
  size_t o = ro;
  while (i < n) {
    const uint8_t lead = in[i];
    if (!IsThreeByteLead(lead)) {
      out[o++] = lead;
      ++i;
      continue;
    }
    if (n - i < 3 || IsThreeByteLead(in[i + 1]) || IsThreeByteLead(in[i + 2])) break;
    NormalizeThreeBytes(lead, in[i + 1], in[i + 2], out, o);
    i += 3;
  }
  ri = i;
  ro = o;
}

size_t ScalarTerminatedLength16(const uint16_t* text) { return ScanToTerminator(text); }

size_t ScalarThreeByteGroups(const uint8_t* src, size_t n, uint16_t* dst, size_t cap) {
  size_t o = 0;
  for (size_t at = 0; n - at >= 3 && o < cap; at += 3) {
    const uint32_t unit = ThreeByteUnit(src[at], src[at + 1], src[at + 2]);
    if ((src[at] & 0xF0) != 0xE0 || !IsContinuation(src[at + 1]) || !IsContinuation(src[at + 2]) ||
        unit < 0x800 || (unit >= 0xD800 && unit <= 0xDFFF)) {
      break;
    }
    dst[o++] = static_cast<uint16_t>(unit);
  }
  return o;
}

}  // namespace

extern const Kernels kScalarKernels = {"scalar",
                                       Always,
                                       ScalarUtf8To16,
                                       ScalarUtf16To8,
                                       ScalarHalfWidth,
                                       ScalarTerminatedLength16,
                                       ScalarThreeByteGroups,
                                       nullptr,
                                       nullptr,
                                       nullptr,
                                       nullptr};

}  // namespace commonhelpers_internal

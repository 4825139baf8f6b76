// halfwidth.h (internal): what fullToHalf makes of a three-byte character,
// shared by its exact path and by every kernel level (the wider levels build
// their tables from it at compile time).
#ifndef COMMONHELPERS_KERNELS_HALFWIDTH_H_
#define COMMONHELPERS_KERNELS_HALFWIDTH_H_

#include <cstddef>
#include <cstdint>

namespace commonhelpers_internal {

constexpr bool IsThreeByteLead(uint8_t b) { return (b & 0xF0) == 0xE0; }

// Which of the two bytes at `p` are leads, the first in bit 0.
inline uint64_t LeadsAt(const uint8_t* p) {
  return uint64_t{IsThreeByteLead(p[0])} | uint64_t{IsThreeByteLead(p[1])} << 1;
}

// The code point of the three-byte unit that starts with `lead`: only the
// low six bits of the two bytes after it count, whatever they hold.
constexpr uint32_t ThreeByteUnit(uint8_t lead, uint8_t second, uint8_t third) {
  return (static_cast<uint32_t>(lead & 0x0F) << 12) | (static_cast<uint32_t>(second & 0x3F) << 6) |
         (third & 0x3F);
}

// The ASCII byte that a three-byte character becomes, or 0 when it stays.
constexpr uint8_t HalfWidthOf(uint32_t cp) {
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

// Writes at out[o] what the unit of `lead`, `second` and `third` becomes (its
// ASCII byte, or the three bytes as they are) and moves `o` past it.
inline void NormalizeThreeBytes(uint8_t lead, uint8_t second, uint8_t third, uint8_t* out,
                                size_t& o) {
  const uint8_t half = HalfWidthOf(ThreeByteUnit(lead, second, third));
  if (half != 0) {
    out[o++] = half;
  } else {
    out[o] = lead;
    out[o + 1] = second;
    out[o + 2] = third;
    o += 3;
  }
}

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_KERNELS_HALFWIDTH_H_

// terminated_length.h (internal): the one length scan of the library's
// zero-terminated texts, whatever their unit.
#ifndef COMMONHELPERS_TERMINATED_LENGTH_H_
#define COMMONHELPERS_TERMINATED_LENGTH_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/simd.h"

namespace commonhelpers_internal {

// The number of units before the first zero unit of `text`, one unit at a
// time: the exact scan that the faster ones below must agree with.
template <typename Unit>
size_t ScanToTerminator(const Unit* text) {
  const Unit* p = text;
  while (*p != 0) {
    ++p;
  }
  return static_cast<size_t>(p - text);
}

template <typename Unit>
size_t TerminatedLength(const Unit* text) {
  return ScanToTerminator(text);
}

template <>
inline size_t TerminatedLength(const uint8_t* text) {
  return strlen(reinterpret_cast<const char*>(text));
}

// 16-bit text: the scan of the active kernel level.
template <>
inline size_t TerminatedLength(const uint16_t* text) {
  return ActiveKernels().terminatedLength16(text);
}

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_TERMINATED_LENGTH_H_

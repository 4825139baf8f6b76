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

template <>
inline size_t TerminatedLength(const uint16_t* text) {
  return ActiveKernels().terminatedLength16(text);
}

// The bytes of a zero-terminated UTF-8 text known to come before its
// terminator, found a stretch at a time just ahead of a walk over the text,
// so that the walk reads what the scan has just brought into the cache:
// all of them once `whole`.
struct KnownLength {
  size_t n;
  bool whole;
};

constexpr size_t kStretch = 16384;

inline KnownLength FirstStretch(const char* text) {
  const size_t n = strnlen(text, kStretch);
  return {n, n < kStretch};
}

// Grows the known part whenever the walk at `i` comes within half a stretch
// of its end, so that the walk's exact path, which looks a few bytes ahead,
// never takes that end for the terminator.
inline void GrowNear(const char* text, size_t i, KnownLength& known) {
  if (!known.whole && known.n - i < kStretch / 2) {
    const size_t cbMore = strnlen(text + known.n, kStretch);
    known.whole = cbMore < kStretch;
    known.n += cbMore;
  }
}

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_TERMINATED_LENGTH_H_

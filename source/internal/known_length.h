// known_length.h (internal): the length of a zero-terminated UTF-8 text
// found a stretch at a time, just ahead of a walk over the text, so that the
// walk reads what the scan has just brought into the cache. Used by the
// converter and by fullToHalf.
#ifndef COMMONHELPERS_KNOWN_LENGTH_H_
#define COMMONHELPERS_KNOWN_LENGTH_H_

#include <cstddef>
#include <cstring>

namespace commonhelpers_internal {

// The bytes known to come before the terminator: all of them once `whole`.
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

#endif  // COMMONHELPERS_KNOWN_LENGTH_H_

// Wide-string helpers for tests: build terminated USHORT buffers from
// char16_t literals and read them back.
#ifndef COMMONHELPERS_TESTS_SUPPORT_WIDE_H_
#define COMMONHELPERS_TESTS_SUPPORT_WIDE_H_

#include <algorithm>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace wide {

// The units of `text` followed by a terminator.
inline std::vector<USHORT> Buffer(std::u16string_view text) {
  std::vector<USHORT> units(text.begin(), text.end());
  units.push_back(0);
  return units;
}

// The units of `wsz` up to its terminator.
inline std::u16string Text(const USHORT* wsz) {
  std::u16string text;
  while (*wsz != 0) text.push_back(static_cast<char16_t>(*wsz++));
  return text;
}

}  // namespace wide

#endif  // COMMONHELPERS_TESTS_SUPPORT_WIDE_H_

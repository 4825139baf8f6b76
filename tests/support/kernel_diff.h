// Every kernel level that this build has and this CPU runs, against the
// scalar twins on the same input: the same result code and the same
// destination, unit for unit, also past the terminator. Shared by the unit
// tests and the fuzz target.
#ifndef COMMONHELPERS_TESTS_SUPPORT_KERNEL_DIFF_H_
#define COMMONHELPERS_TESTS_SUPPORT_KERNEL_DIFF_H_

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "internal/simd.h"

namespace kernel_diff {

using commonhelpers_internal::Kernels;

// The three UTF-8 bytes of `cp`, U+0800 to U+FFFF.
inline std::string ThreeBytesOf(uint32_t cp) {
  return {static_cast<char>(0xE0 | (cp >> 12)), static_cast<char>(0x80 | ((cp >> 6) & 0x3F)),
          static_cast<char>(0x80 | (cp & 0x3F))};
}

inline std::vector<const Kernels*> Levels() {  // scalar first
  size_t count = 0;
  const Kernels* const* levels = commonhelpers_internal::AvailableKernels(&count);
  return {levels, levels + count};
}

// A level whose conversion runs are its traced ones (the same code, one
// template with the table's), so that every comparison meets them too.
template <int kSlot>
struct Traced {
  static inline Kernels level;
  static inline std::string name;
  static commonhelpers_internal::RunEnd Utf8To16(const uint8_t* s, size_t n, size_t i, uint16_t* d,
                                                 size_t cap, size_t o) {
    const auto end = level.tracedRuns->utf8To16(s, n, i, d, cap, o);
    return {end.i, end.o};
  }
  static commonhelpers_internal::RunEnd Utf16To8(const uint16_t* s, size_t n, size_t i, uint8_t* d,
                                                 size_t cap, size_t o) {
    const auto end = level.tracedRuns->utf16To8(s, n, i, d, cap, o);
    return {end.i, end.o};
  }
  static const Kernels* Of(const Kernels& traced) {
    level = traced;
    name = std::string(traced.name) + " traced";
    level.name = name.c_str();
    if (traced.tracedRuns->utf8To16 != nullptr) level.utf8To16 = Utf8To16;
    level.utf16To8 = Utf16To8;
    return &level;
  }
};

// Levels(), then each level that has traced runs, traced (two at most).
inline std::vector<const Kernels*> LevelsAndTraced() {
  std::vector<const Kernels*> levels = Levels();
  for (const Kernels* level : Levels()) {
    if (level->tracedRuns == nullptr) continue;
    levels.push_back(levels.size() == Levels().size() ? Traced<0>::Of(*level)
                                                      : Traced<1>::Of(*level));
  }
  return levels;
}

// Texts of bytes are UTF-8, texts of 16-bit units UTF-16.
template <typename Unit>
constexpr UtfType kEncodingOf = sizeof(Unit) == 1 ? UTF_8 : UTF_16;

// `text` (terminated) converted into `size` units followed by canaries.
template <typename Dst, typename Src>
std::pair<RResult, std::vector<Dst>> Convert(const Kernels& level, const std::vector<Src>& text,
                                             size_t size) {
  std::pair<RResult, std::vector<Dst>> out{RESULT_ANY_ERROR, std::vector<Dst>(size + 8, 0x5A)};
  ConvertUtfStringWith(text.data(), kEncodingOf<Src>, out.second.data(), static_cast<int>(size),
                       kEncodingOf<Dst>, &out.first, &level);
  return out;
}

// Into room to spare, exactly enough, one unit short and a room that `pick`
// chooses.
template <typename Dst, typename Src>
std::string DifferencesInto(const std::vector<Src>& text, size_t pick) {
  const std::vector<Dst> whole = Convert<Dst>(*Levels()[0], text, text.size() * 3).second;
  const size_t exact = std::find(whole.begin(), whole.end(), 0) - whole.begin() + 1;
  std::string differences;
  for (const Kernels* level : LevelsAndTraced()) {
    for (size_t size : {text.size() * 3, exact, exact - 1, 1 + pick % exact}) {
      if (Convert<Dst>(*level, text, size) != Convert<Dst>(*Levels()[0], text, size)) {
        differences += std::string(level->name) + ": into " + std::to_string(size) + " units; ";
      }
    }
  }
  return differences;
}

// Where the levels differ from the scalar one, or "" when none does. `utf8`
// goes into UTF-16 and through fullToHalf (out of place and in place); its
// UTF-16 form and `utf16` go into UTF-8, and their lengths are taken from 32
// alignments. Each text ends at its first zero.
inline std::string Differences(const std::string& utf8, size_t pick,
                               const std::u16string& utf16 = u"") {
  const std::string text = utf8.c_str();
  const std::vector<uint8_t> bytes(text.c_str(), text.c_str() + text.size() + 1);
  std::string differences = DifferencesInto<uint16_t>(bytes, pick);
  std::string half(text.size() + 1, 'Z');
  FullToHalfWith(*Levels()[0], text.c_str(), &half[0]);
  for (const Kernels* level : Levels()) {
    std::string out(text.size() + 1, 'Z'), inPlace = text;
    FullToHalfWith(*level, text.c_str(), &out[0]);
    FullToHalfWith(*level, inPlace.c_str(), &inPlace[0]);
    if (out != half || inPlace.c_str() != std::string(half.c_str())) {
      differences += std::string(level->name) + ": fullToHalf; ";
    }
  }
  std::vector<uint16_t> units = Convert<uint16_t>(*Levels()[0], bytes, bytes.size()).second;
  units.resize(std::find(units.begin(), units.end(), 0) - units.begin() + 1);
  const size_t given = std::char_traits<char16_t>::length(utf16.c_str()) + 1;
  for (const std::vector<uint16_t>& text16 :
       {units, std::vector<uint16_t>(utf16.c_str(), utf16.c_str() + given)}) {
    differences += DifferencesInto<uint8_t>(text16, pick);
    for (size_t align = 0; align < 32; ++align) {
      std::vector<uint16_t> shifted(align, 0);
      shifted.insert(shifted.end(), text16.begin(), text16.end());
      for (const Kernels* level : Levels()) {
        if (level->terminatedLength16(&shifted[align]) != text16.size() - 1) {
          differences += std::string(level->name) + ": length at " + std::to_string(align) + "; ";
        }
      }
    }
  }
  return differences;
}

}  // namespace kernel_diff

#endif  // COMMONHELPERS_TESTS_SUPPORT_KERNEL_DIFF_H_

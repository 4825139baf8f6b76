// WcsTok against the definition of a token (a maximal run of non-delimiters)
// over arbitrary texts and delimiter sets, and the wide copy and comparison.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // The first byte says how many units form the delimiter set; the rest, two
  // bytes a unit with small values likely, is the text.
  std::vector<USHORT> units;
  for (size_t i = 1; i + 1 < size; i += 2) {
    units.push_back(
        static_cast<USHORT>(data[i] % 8 == 0 ? data[i + 1] << 8 | data[i] : data[i] % 6));
  }
  const auto split = units.begin() + std::min<ptrdiff_t>(data[0] % 4, units.size());
  std::u16string delims(units.begin(), split), text(split, units.end());
  text = text.substr(0, text.find(u'\0'));
  delims = delims.substr(0, delims.find(u'\0'));

  std::vector<std::u16string> expected(1);
  for (char16_t u : text) {
    if (delims.find(u) == delims.npos) {
      expected.back() += u;
    } else if (!expected.back().empty()) {
      expected.emplace_back();
    }
  }
  if (expected.back().empty()) expected.pop_back();

  std::vector<USHORT> work(text.begin(), text.end()), delimiters(delims.begin(), delims.end());
  work.push_back(0);
  delimiters.push_back(0);
  const std::vector<USHORT> original = work;
  std::vector<std::u16string> tokens;
  USHORT* cursor = nullptr;
  RResult result = RESULT_SUCCEEDED;
  for (USHORT* t = WcsTok(work.data(), delimiters.data(), &cursor, &result); t != nullptr;
       t = WcsTok(nullptr, delimiters.data(), &cursor, &result)) {
    tokens.emplace_back(t, t + std::char_traits<char16_t>::length(reinterpret_cast<char16_t*>(t)));
  }
  if (tokens != expected || result != RESULT_SUCCEEDED || *cursor != 0) abort();

  USHORT* copy = CopyWString(original.data(), nullptr);
  if (copy != nullptr && WcsNCmp(copy, original.data(), -1, nullptr) != 0) abort();
  free(copy);
  return 0;
}

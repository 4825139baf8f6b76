// split, StringReplace and Trim against inverse and defining properties: a
// replacement by a byte the text never holds is undone by replacing it back,
// and joining split's pieces with the delimiter splits into the same pieces.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  // A small alphabet makes occurrences likely; the delimiter and the trim set
  // come from the front of the text.
  std::string all;
  for (size_t i = 2; i < size; ++i)
    all += static_cast<char>(data[i] < 0xF0 ? 'a' + data[i] % 3 : data[i]);
  const std::string from = all.substr(0, 1 + data[0] % 3),
                    set = all.substr(from.size(), data[1] % 4);
  const std::string text = all.substr(std::min(all.size(), from.size() + set.size()));

  std::string str = text, joined;
  const std::vector<std::string> pieces = split(str, from);
  for (const std::string& piece : pieces) {
    if (piece.empty() || piece.find(from) != std::string::npos) abort();
    joined += piece + from;
  }
  if (!from.empty() && (str != text + from || split(joined, from) != pieces)) abort();
  str = text;
  StringReplace(str, from, "\x01");
  StringReplace(str, "\x01", from);
  if (!from.empty() && str != text) abort();

  str = text;
  const bool left = Trim(str, set);
  const size_t first = text.find_first_not_of(set), last = text.find_last_not_of(set);
  if (str != (first == std::string::npos ? "" : text.substr(first, last - first + 1)) ||
      left != !str.empty()) {
    abort();
  }
  return 0;
}

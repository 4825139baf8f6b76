// split, StringReplace and the trims against inverse and defining properties:
// a replacement by a byte the text never holds is undone by replacing it back,
// and joining split's pieces with the delimiter splits into the same pieces.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  // Two small patterns from the front, the text after them; a small alphabet
  // makes occurrences likely.
  std::string all;
  for (size_t i = 2; i < size; ++i)
    all += static_cast<char>(data[i] < 0xF0 ? 'a' + data[i] % 3 : data[i]);
  const size_t cnFrom = std::min<size_t>(1 + data[0] % 3, all.size());
  const size_t cnTo = std::min<size_t>(data[1] % 4, all.size() - cnFrom);
  const std::string from = all.substr(0, cnFrom);
  const std::string to = all.substr(cnFrom, cnTo);
  const std::string text = all.substr(cnFrom + cnTo);

  std::string str = text;
  const std::vector<std::string> pieces = split(str, from);
  if (!from.empty() && str != text + from) abort();
  std::string joined;
  for (const std::string& piece : pieces) {
    if (piece.empty() || piece.find(from) != std::string::npos) abort();
    joined += piece + from;
  }
  if (!from.empty() && split(joined, from) != pieces) abort();
  str = text;
  StringReplace(str, from, "\x01");
  StringReplace(str, "\x01", from);
  if (!from.empty() && str != text) abort();

  str = text;
  const bool left = TrimStart(str, to);
  const size_t first = text.find_first_not_of(to);
  if (str != (first == std::string::npos ? "" : text.substr(first)) || left != !str.empty())
    abort();
  str = text;
  Trim(str, to);
  const size_t last = text.find_last_not_of(to);
  if (str != (first == std::string::npos ? "" : text.substr(first, last - first + 1))) abort();
  return 0;
}

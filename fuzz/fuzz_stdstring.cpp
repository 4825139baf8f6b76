// split, StringReplace and the trims against plain models.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace {

// split cuts the text with the delimiter appended: a piece counts only when a
// delimiter closes it, so a tail that overlaps the appended one is lost.
std::vector<std::string> SplitModel(const std::string& str, const std::string& delim) {
  std::vector<std::string> pieces;
  std::string piece;
  for (size_t i = 0; i < str.size();) {
    if (str.compare(i, delim.size(), delim) == 0) {
      if (!piece.empty()) pieces.push_back(piece);
      piece.clear();
      i += delim.size();
    } else {
      piece += str[i++];
    }
  }
  return pieces;
}

std::string ReplaceModel(const std::string& str, const std::string& from, const std::string& to) {
  std::string out;
  for (size_t i = 0; i < str.size();) {
    if (str.compare(i, from.size(), from) == 0) {
      out += to;
      i += from.size();
    } else {
      out += str[i++];
    }
  }
  return out;
}

}  // namespace

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
  if (!from.empty() && split(str, from) != SplitModel(text + from, from)) abort();
  if (!from.empty() && str != text + from) abort();
  str = text;
  StringReplace(str, from, to);
  if (!from.empty() && str != ReplaceModel(text, from, to)) abort();

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

// WcsTok against the definition of a token (a maximal run of non-delimiters), over arbitrary texts
// and delimiter sets; and the wide cleanup functions.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // The first byte says how many units of small values form the delimiter
  // set; the rest, two bytes a unit with small values likely, is the text.
  const size_t cnDelims = data[0] % 4;
  std::vector<USHORT> units;
  for (size_t i = 1; i + 1 < size; i += 2) {
    units.push_back(
        static_cast<USHORT>(data[i] % 8 == 0 ? data[i + 1] << 8 | data[i] : data[i] % 6));
  }
  std::vector<USHORT> delims(units.begin(), units.begin() + std::min(cnDelims, units.size()));
  std::vector<USHORT> text(units.begin() + static_cast<long>(delims.size()), units.end());
  delims.push_back(0);
  text.push_back(0);
  auto isDelim = [&](USHORT u) {
    for (size_t k = 0; delims[k] != 0; ++k) {
      if (delims[k] == u) return true;
    }
    return false;
  };

  std::vector<USHORT> work = text;
  size_t next = 0;  // where the text after the last token starts
  USHORT* cursor = nullptr;
  RResult result = RESULT_ANY_ERROR;
  for (USHORT* t = WcsTok(work.data(), delims.data(), &cursor, &result); t != nullptr;
       t = WcsTok(nullptr, delims.data(), &cursor, &result)) {
    // A token is a whole run of the text: no delimiter in it, one (or an end)
    // on either side, and it starts after the previous token.
    const size_t start = static_cast<size_t>(t - work.data());
    if (result != RESULT_SUCCEEDED || start < next || *t == 0) abort();
    if (start > 0 && !isDelim(text[start - 1])) abort();
    size_t end = start;
    while (work[end] != 0) {
      if (isDelim(work[end++])) abort();
    }
    if (text[end] != 0 && !isDelim(text[end])) abort();
    for (size_t k = next; k < start; ++k) {
      if (!isDelim(text[k])) abort();  // nothing between two tokens but delimiters
    }
    next = end;
  }
  for (size_t k = next; text[k] != 0; ++k) {
    if (!isDelim(text[k])) abort();
  }
  if (result != RESULT_SUCCEEDED || *cursor != 0) abort();

  work = text;
  ChopWStringEnd(work.data());
  TextIsEmpty(work.data(), nullptr);
  USHORT* copy = CopyWString(text.data(), nullptr);
  if (WcsNCmp(copy, text.data(), -1, nullptr) != 0) abort();
  free(copy);
  return 0;
}

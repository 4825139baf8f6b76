// WcsTok against a plain model of tokenizing, over arbitrary texts and
// delimiter sets; and the wide cleanup functions.
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

  std::vector<std::u16string> expected;
  std::u16string token;
  for (size_t i = 0; text[i] != 0; ++i) {
    if (isDelim(text[i])) {
      if (!token.empty()) expected.push_back(token);
      token.clear();
    } else {
      token.push_back(static_cast<char16_t>(text[i]));
    }
  }
  if (!token.empty()) expected.push_back(token);

  std::vector<USHORT> work = text;
  std::vector<std::u16string> tokens;
  USHORT* cursor = nullptr;
  RResult result = RESULT_ANY_ERROR;
  for (USHORT* t = WcsTok(work.data(), delims.data(), &cursor, &result); t != nullptr;
       t = WcsTok(nullptr, delims.data(), &cursor, &result)) {
    if (result != RESULT_SUCCEEDED || tokens.size() > text.size()) abort();
    std::u16string found;
    for (USHORT* p = t; *p != 0; ++p) found.push_back(static_cast<char16_t>(*p));
    tokens.push_back(found);
  }
  if (result != RESULT_SUCCEEDED || tokens != expected || *cursor != 0) abort();

  work = text;
  ChopWStringEnd(work.data());
  TextIsEmpty(work.data(), nullptr);
  USHORT* copy = CopyWString(text.data(), nullptr);
  if (WcsNCmp(copy, text.data(), -1, nullptr) != 0) abort();
  free(copy);
  return 0;
}

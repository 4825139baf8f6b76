// The rest of the API against oracles from the contract: find loops for split
// and StringReplace, a hand tokenizer for WcsTok, strncasecmp for StartsWith
// and EndsWith, ICU for the language tests that decode UTF-8. The first byte
// picks the family; the rest is three texts cut at zero bytes, or UTF-16.
// fullToHalf is fuzz_convert's; the sets, ChopWStringEnd, TextIsEmpty and the
// one-unit tests are short loops that tables cover whole.
#include <strings.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

#include "support/find_loops.h"

#define CHECK(condition) ((condition) ? void(0) : abort())

namespace {

using std::string;

using find_loops::Replace;

void Strings(const string& a, const string& b, const string& c) {
  std::vector<string> pieces, ignored;
  string s = a;
  Replace(a + b, b, c, pieces);  // split closes the text with a delimiter
  if (b.empty() && !a.empty()) pieces.push_back(a);
  CHECK(split(s, b) == pieces && s == a + b);
  StringReplace(s = a, b, c);
  CHECK(s == Replace(a, b, c, ignored) && GetValue({{b, c}}, a) == (a == b ? c : "0"));
  const size_t lead = std::min(a.find_first_not_of(b), a.size());
  const size_t end = a.find_last_not_of(b) + 1;  // 0 when every byte is in b
  CHECK(TrimStart(s = a, b) == (lead < a.size()) && s == a.substr(lead));
  CHECK(TrimEnd(s = a, b) == (end > 0) && s == a.substr(0, end));
  CHECK(Trim(s = a, b) == (end > 0) && s == a.substr(lead, end > 0 ? end - lead : 0));
  char* joined = CatchString(CopyString(a.c_str(), nullptr), b.c_str(), nullptr);
  CHECK(joined != nullptr && joined == a + b);
  free(joined);
  const string digits = a.substr(a.find_first_of("+-") == 0 ? 1 : 0);
  const char *x = a.c_str(), *y = b.c_str();
  CHECK(IsValidInteger(x) == (!a.empty() && (digits.size() < 2 || digits[0] != '0') &&
                              digits.find_first_not_of("0123456789") == string::npos));
  CHECK(StartsWith(x, y) == (strncasecmp(x, y, b.size()) == 0));
  CHECK(EndsWith(x, y) == (a.size() >= b.size() && strcasecmp(x + a.size() - b.size(), y) == 0));
}

void Language(const string& text) {
  std::u16string units(text.size() + 1, u'\0');
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF8(&units[0], static_cast<int32_t>(units.size()), nullptr, text.c_str(), -1, &error);
  units.resize(U_SUCCESS(error) ? std::char_traits<char16_t>::length(units.c_str()) : 0);
  const auto han = [](char16_t u) { return u >= 0x4E00 && u <= 0x9FFF; };
  CHECK(ContainsChinese(&string(text)[0], nullptr) == std::any_of(units.begin(), units.end(), han));
  const char16_t first = units.empty() ? u'.' : units[0];
  const int n = static_cast<int>(units.size() + text.size() % 3) - 1;  // one too few, right, more
  const bool same =
      units.find_first_not_of(first) == units.npos && n == static_cast<int>(units.size());
  CHECK(U_FAILURE(error) || IsSameChar(text.c_str(), first, n) == same);
}

// `text` is cut into tokens at ',', ' ' and `extra`.
void Wide(const std::u16string& text, USHORT extra) {
  const USHORT delimiters[] = {',', ' ', extra, 0};
  std::vector<std::u16string> tokens(1);
  for (const char16_t u : text + u',') {
    const bool cut = std::find(delimiters, delimiters + 3, u) != delimiters + 3;
    if (!cut) tokens.back() += u;
    if (cut && !tokens.back().empty()) tokens.emplace_back();
  }
  std::vector<USHORT> units(text.c_str(), text.c_str() + text.size() + 1);
  USHORT* cursor = nullptr;
  for (size_t i = 0; i < tokens.size(); ++i) {
    const USHORT* got = WcsTok(i == 0 ? units.data() : nullptr, delimiters, &cursor, nullptr);
    CHECK(got == nullptr ? tokens[i].empty()
                         : std::u16string(got, got + tokens[i].size() + 1) == tokens[i] + u'\0');
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  string texts[3];
  for (size_t i = 1, part = 0; i < size && part < 3; ++i) {
    data[i] == 0 ? void(++part) : texts[part].push_back(static_cast<char>(data[i]));
  }
  std::u16string units((size - 1) / 2, u'\0');
  memcpy(&units[0], data + 1, units.size() * 2);
  units.resize(std::char_traits<char16_t>::length(units.c_str()));
  if (data[0] % 3 == 0) Strings(texts[0], texts[1], texts[2]);
  if (data[0] % 3 == 1) Language(texts[0]);
  if (data[0] % 3 == 2) Wide(units, data[0]);
  return 0;
}

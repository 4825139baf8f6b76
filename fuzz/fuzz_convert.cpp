// ConvertUtfString for all nine type pairs, with a destination size chosen
// by the input. Oracles: ICU's strict conversion decides what is valid; a
// valid text round-trips exactly; a short or failed conversion leaves a
// prefix of the whole conversion, terminated, with nothing written after it.
// And every SIMD level must give what the scalar one gives, on the whole
// input read as UTF-8 and as UTF-16 units (an odd trailing byte dropped).
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <commonhelpers/stringconverter.h>
#include "support/kernel_diff.h"

namespace {

size_t UnitSize(UtfType type) { return type == UTF_8 ? 1 : type == UTF_16 ? 2 : 4; }

// The units of a zero-terminated text held as raw bytes.
size_t Length(const std::vector<uint8_t>& text, UtfType type) {
  const size_t unit = UnitSize(type);
  const uint8_t zero[4] = {};
  size_t n = 0;
  while (memcmp(text.data() + n * unit, zero, unit) != 0) ++n;
  return n;
}

// Converts into `size` units followed by canaries that must survive.
RResult Convert(const std::vector<uint8_t>& src, UtfType from, UtfType to, size_t size,
                std::vector<uint8_t>& out) {
  const size_t unit = UnitSize(to);
  out.assign((size + 8) * unit, 0xA5);
  RResult result = RESULT_ANY_ERROR;
  ConvertUtfString(src.data(), from, out.data(), static_cast<int>(size), to, &result);
  const size_t n = Length(out, to);
  if (n >= size) abort();
  for (size_t k = (n + 1) * unit; k < out.size(); ++k) {
    if (out[k] != 0xA5) abort();
  }
  out.resize((n + 1) * unit);
  return result;
}

bool IcuValid(const std::vector<uint8_t>& src, UtfType from) {
  UErrorCode error = U_ZERO_ERROR;
  int32_t length = 0;
  const void* text = src.data();
  if (from == UTF_8) u_strFromUTF8(nullptr, 0, &length, static_cast<const char*>(text), -1, &error);
  if (from == UTF_16) u_strToUTF8(nullptr, 0, &length, static_cast<const UChar*>(text), -1, &error);
  if (from == UTF_32) {
    u_strFromUTF32(nullptr, 0, &length, static_cast<const UChar32*>(text), -1, &error);
  }
  return error == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(error);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  std::u16string units(size / 2, u'\0');
  memcpy(&units[0], data, size / 2 * 2);
  const std::string differences = kernel_diff::Differences(
      std::string(reinterpret_cast<const char*>(data), size), data[1], units);
  if (!differences.empty()) {
    fprintf(stderr, "%s\n", differences.c_str());
    abort();
  }
  const UtfType kTypes[] = {UTF_8, UTF_16, UTF_32};
  const UtfType from = kTypes[data[0] % 3], to = kTypes[(data[0] / 3) % 3];
  const size_t unit = UnitSize(from);
  std::vector<uint8_t> src(data + 3, data + 3 + (size - 3) / unit * unit);
  src.insert(src.end(), unit, 0);
  const size_t n = Length(src, from);
  src.resize((n + 1) * unit);  // exact size, so ASan sees any read past the end

  std::vector<uint8_t> whole, back, part;
  const RResult wholeResult = Convert(src, from, to, 4 * n + 1, whole);
  const bool valid = wholeResult == RESULT_SUCCEEDED;
  if (valid != IcuValid(src, from) || (!valid && wholeResult != RESULT_INV_DATA)) abort();
  if (valid && (Convert(whole, to, from, n + 1, back) != RESULT_SUCCEEDED || back != src)) abort();

  const RResult partResult = Convert(src, from, to, 1 + (data[1] | data[2] << 8) % 512u, part);
  const size_t partUnits = Length(part, to), wholeUnits = Length(whole, to);
  if (partUnits > wholeUnits || memcmp(part.data(), whole.data(), partUnits * UnitSize(to)) != 0) {
    abort();
  }
  if ((partResult == RESULT_SUCCEEDED) != (valid && partUnits == wholeUnits)) abort();
  return 0;
}

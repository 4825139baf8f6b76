// ConvertUtfString for all nine type pairs, with a destination size chosen
// by the input. Oracles: ICU's strict conversion decides what is valid; a
// valid text round-trips exactly; a short or failed conversion leaves the
// longest prefix of whole characters, terminated, and nothing after it.
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <commonhelpers/stringconverter.h>

namespace {

const UtfType kTypes[] = {UTF_8, UTF_16, UTF_32};

size_t UnitSize(UtfType type) { return type == UTF_8 ? 1 : type == UTF_16 ? 2 : 4; }

// The units of a zero-terminated text held as raw bytes.
size_t Length(const std::vector<uint8_t>& text, UtfType type) {
  const size_t unit = UnitSize(type);
  const uint8_t zero[4] = {0, 0, 0, 0};
  size_t n = 0;
  while (memcmp(text.data() + n * unit, zero, unit) != 0) ++n;
  return n;
}

// Converts into `size` units followed by canaries that must survive.
RResult Convert(const std::vector<uint8_t>& src, UtfType from, UtfType to, int size,
                std::vector<uint8_t>& out) {
  const size_t unit = UnitSize(to);
  out.assign((static_cast<size_t>(size) + 8) * unit, 0xA5);
  RResult result = RESULT_ANY_ERROR;
  ConvertUtfString(src.data(), from, out.data(), size, to, &result);
  const size_t n = Length(out, to);
  if (n >= static_cast<size_t>(size)) abort();  // no terminator inside
  for (size_t k = (n + 1) * unit; k < out.size(); ++k) {
    if (out[k] != 0xA5) abort();  // written after the terminator
  }
  out.resize((n + 1) * unit);
  return result;
}

// ICU's verdict on the whole source text.
bool IcuValid(const std::vector<uint8_t>& src, UtfType from) {
  UErrorCode error = U_ZERO_ERROR;
  int32_t length = 0;
  if (from == UTF_8) {
    u_strFromUTF8(nullptr, 0, &length, reinterpret_cast<const char*>(src.data()), -1, &error);
  } else if (from == UTF_16) {
    u_strToUTF8(nullptr, 0, &length, reinterpret_cast<const UChar*>(src.data()), -1, &error);
  } else {
    u_strFromUTF32(nullptr, 0, &length, reinterpret_cast<const UChar32*>(src.data()), -1, &error);
  }
  return error == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(error);
}

// Units of the character that starts at unit `at` of a well-formed text.
size_t CharUnits(const std::vector<uint8_t>& text, UtfType type, size_t at) {
  if (type == UTF_8) {
    const uint8_t b = text[at];
    return b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
  }
  if (type == UTF_16) {
    uint16_t u;
    memcpy(&u, text.data() + at * 2, 2);
    return u >= 0xD800 && u <= 0xDBFF ? 2 : 1;
  }
  return 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  const UtfType from = kTypes[data[0] % 3];
  const UtfType to = kTypes[(data[0] / 3) % 3];
  const int dstSize = 1 + (data[1] | (data[2] << 8)) % 512;
  const size_t unit = UnitSize(from);
  std::vector<uint8_t> src(data + 3, data + 3 + (size - 3) / unit * unit);
  src.insert(src.end(), unit, 0);
  const size_t n = Length(src, from);
  src.resize((n + 1) * unit);  // exact size, so ASan sees any read past the end

  std::vector<uint8_t> whole;
  const RResult wholeResult = Convert(src, from, to, static_cast<int>(4 * n + 1), whole);
  const bool valid = wholeResult == RESULT_SUCCEEDED;
  if (valid != IcuValid(src, from)) abort();
  if (!valid && wholeResult != RESULT_INV_DATA) abort();
  if (valid) {
    std::vector<uint8_t> back;
    if (Convert(whole, to, from, static_cast<int>(n + 1), back) != RESULT_SUCCEEDED) abort();
    if (back != src) abort();
  }

  std::vector<uint8_t> part;
  const RResult partResult = Convert(src, from, to, dstSize, part);
  const size_t wholeUnits = Length(whole, to);
  const size_t partUnits = Length(part, to);
  const size_t outUnit = UnitSize(to);
  if (partUnits > wholeUnits || memcmp(part.data(), whole.data(), partUnits * outUnit) != 0) {
    abort();  // not a prefix of the full conversion
  }
  if ((partResult == RESULT_SUCCEEDED) != (valid && partUnits == wholeUnits)) abort();
  if (partUnits < wholeUnits &&
      partUnits + CharUnits(whole, to, partUnits) <= static_cast<size_t>(dstSize - 1)) {
    abort();  // the next whole character would have fitted
  }
  return 0;
}

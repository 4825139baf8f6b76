// The written form of record values (see record_form.h). Nothing here throws
// but std::bad_alloc: every malformed value ends in a message.
#include "record_form.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>

namespace chtool {

namespace {

const Field kFields[] = {Field::kInt, Field::kStr, Field::kWstr, Field::kBool};

bool IsHex(char ch) { return isxdigit(static_cast<unsigned char>(ch)) != 0; }

// Each byte as \xHH, the form in which pack takes raw bytes.
std::string HexBytes(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes) {
    char escape[5];
    snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(byte));
    hex += escape;
  }
  return hex;
}

// Reads the run of \xHH escapes that starts `text` into `bytes`; returns
// where the run ends.
size_t ReadHexBytes(const std::string& text, std::string& bytes) {
  size_t i = 0;
  for (; i + 4 <= text.size() && text.compare(i, 2, "\\x") == 0 && IsHex(text[i + 2]) &&
         IsHex(text[i + 3]);
       i += 4) {
    bytes += static_cast<char>(strtol(text.substr(i + 2, 2).c_str(), nullptr, 16));
  }
  return i;
}

// The number that `bytes`, all of them, encode, as the library's reader
// takes them (bits 4 to 6 of a fifth byte ignored); false when they are not
// exactly one encoding.
bool Decode7Bit(const std::string& bytes, int32_t& number) {
  uint32_t value = 0;
  for (size_t i = 0; i < bytes.size() && i < 5; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    value |= static_cast<uint32_t>(byte & 0x7F) << (7 * i);
    if ((byte & 0x80) == 0) {
      number = static_cast<int32_t>(value);
      return i + 1 == bytes.size();
    }
  }
  return false;
}

// The written form of a UTF-8 text that holds no zero byte.
std::string Escape(const char* text) {
  std::string escaped;
  for (const char* p = text; *p != '\0'; ++p) {
    const char* escape = *p == '\\'   ? "\\\\"
                         : *p == '\n' ? "\\n"
                         : *p == '\r' ? "\\r"
                         : *p == '\t' ? "\\t"
                                      : nullptr;
    if (escape != nullptr) {
      escaped += escape;
    } else {
      escaped += *p;
    }
  }
  return escaped;
}

// Turns the escapes of a text into bytes ("\0" into a zero byte); false with
// `error` set when it holds an unknown escape.
bool Unescape(const std::string& text, std::string& plain, std::string& error) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      plain += text[i];
      continue;
    }
    if (i + 1 == text.size()) {
      error = "a '\\' at the end of the line (write \\\\ for a backslash)";
      return false;
    }
    const char next = text[++i];
    const char kKnown[] = "\\nrt0";
    const char kPlain[] = {'\\', '\n', '\r', '\t', '\0'};
    const char* known = next == '\0' ? nullptr : strchr(kKnown, next);
    if (known == nullptr) {
      error = std::string("unknown escape '\\") + next + "' (known: \\\\ \\n \\r \\t \\0)";
      return false;
    }
    plain += kPlain[known - kKnown];
  }
  return true;
}

// Appends the written form of `count` UTF-16 units (zero units as "\0").
// False when they are not valid UTF-16.
bool AppendUnits(const USHORT* units, size_t count, std::string& out) {
  std::string piece;
  for (size_t start = 0; start <= count;) {
    size_t end = start;
    while (end < count && units[end] != 0) ++end;
    if (end - start > (INT_MAX - 1) / 3) return false;
    piece.assign((end - start) * 3 + 1, '\0');
    RResult result = RESULT_SUCCEEDED;
    // The conversion stops at the zero unit that ends the piece.
    ConvertUtfString(units + start, UTF_16, &piece[0], static_cast<int>(piece.size()), UTF_8,
                     &result);
    if (result != RESULT_SUCCEEDED) return false;
    out += Escape(piece.c_str());
    if (end < count) out += "\\0";
    start = end + 1;
  }
  return true;
}

// Appends the record form of a text value; false with `error` set.
bool PackText(const std::string& value, std::string& out, std::string& error) {
  std::string countBytes;
  const size_t start = ReadHexBytes(value, countBytes);
  std::string text;
  if (!Unescape(value.substr(start), text, error)) return false;
  // The byte count of the UTF-16 form must fit the record's 32-bit integer.
  if (text.size() > INT_MAX / 2 - 1) {
    error = "the text is too long";
    return false;
  }
  std::vector<USHORT> units(text.size() + 1);
  size_t count = 0;
  for (size_t piece = 0; piece <= text.size();) {
    const size_t end = std::min(text.find('\0', piece), text.size());
    RResult result = RESULT_SUCCEEDED;
    ConvertUtfString(text.c_str() + piece, UTF_8, units.data() + count,
                     static_cast<int>(units.size() - count), UTF_16, &result);
    if (result != RESULT_SUCCEEDED) {
      error = "the text is not valid UTF-8";
      return false;
    }
    count += static_cast<size_t>(WcsLen(units.data() + count, nullptr));
    if (end < text.size()) units[count++] = 0;
    piece = end + 1;
  }
  const auto byteCount = static_cast<int32_t>(count * 2);
  int32_t decoded = 0;
  if (countBytes.empty()) {
    countBytes = Encode7Bit(byteCount);
  } else if (!Decode7Bit(countBytes, decoded) || decoded != byteCount) {
    error = "the bytes '" + HexBytes(countBytes) + "' are not a 7-bit encoding of the byte count " +
            std::to_string(byteCount);
    return false;
  }
  out += countBytes;
  for (size_t i = 0; i < count; ++i) {
    out += static_cast<char>(units[i] & 0xFF);
    out += static_cast<char>(units[i] >> 8);
  }
  return true;
}

// Appends the record form of an int value; false with `error` set.
bool PackInt(const std::string& value, std::string& out, std::string& error) {
  const size_t space = value.find(' ');
  const std::string number = value.substr(0, space);
  if (!IsValidInteger(number.c_str()) || !IsDigit(number.back())) {
    const size_t digits = number.find_first_not_of("+-");
    const bool leadingZero = digits != std::string::npos && number[digits] == '0' &&
                             number.find_first_not_of("+-0123456789") == std::string::npos;
    error = leadingZero ? "leading zeros are not allowed: '" + number + "'"
                        : "'" + number + "' is not a decimal integer";
    return false;
  }
  errno = 0;
  const long long parsed = strtoll(number.c_str(), nullptr, 10);
  if (errno != 0 || parsed < INT_MIN || parsed > INT_MAX) {
    error = number + " is out of range (-2147483648 to 2147483647)";
    return false;
  }
  if (space == std::string::npos) {
    out += Encode7Bit(static_cast<int32_t>(parsed));
    return true;
  }
  // An encoding given byte by byte must be one that the library reads as
  // this number, and nothing more.
  const std::string raw = value.substr(space + 1);
  std::string bytes;
  int32_t decoded = 0;
  if (raw.empty() || ReadHexBytes(raw, bytes) != raw.size()) {
    error = "'" + raw + "' is not a sequence of \\xHH bytes";
    return false;
  }
  if (!Decode7Bit(bytes, decoded) || decoded != parsed) {
    error = "the bytes '" + raw + "' are not a 7-bit encoding of " + number;
    return false;
  }
  out += bytes;
  return true;
}

// Appends the record form of `value` as `field`; false with `error` set.
bool PackValue(const std::string& value, Field field, std::string& out, std::string& error) {
  if (value.find('\0') != std::string::npos) {
    error = "a zero byte in the value (a text writes \\0 for a zero unit)";
    return false;
  }
  if (value.empty() && (field == Field::kInt || field == Field::kBool)) {
    error = std::string("missing ") + FieldName(field) + " value";
    return false;
  }
  std::string byte;
  switch (field) {
    case Field::kInt:
      return PackInt(value, out, error);
    case Field::kStr:
    case Field::kWstr:
      return PackText(value, out, error);
    case Field::kBool:
      if (value == "true" || value == "1" || value == "false" || value == "0") {
        out += value == "true" || value == "1" ? '\x01' : '\x00';
        return true;
      }
      if (ReadHexBytes(value, byte) == value.size() && byte.size() == 1) {
        out += byte;
        return true;
      }
      error = "'" + value + "' is not a bool (true, false, 1, 0 or \\xHH)";
      return false;
  }
  return false;
}

// Why an integer at `offset` could not be read.
std::string DescribeBadInt(const std::string& bytes, size_t offset, const char* what) {
  size_t end = offset;
  while (end < bytes.size() && end - offset < 5 && (bytes[end] & 0x80) != 0) ++end;
  if (end - offset == 5) return std::string("more than 5 bytes in the 7-bit encoding of ") + what;
  if (offset == bytes.size()) return std::string("the file ends where ") + what + " was expected";
  return std::string("the file ends inside ") + what;
}

// Whether the UTF-16 units in `length` bytes from `start` hold a zero unit.
bool HasZeroUnit(const std::string& bytes, size_t start, size_t length) {
  for (size_t i = start; i + 1 < start + length; i += 2) {
    if (bytes[i] == 0 && bytes[i + 1] == 0) return true;
  }
  return false;
}

// A str is shown as the library's UTF-8 reader gives it, unless it holds a
// zero unit, which only the wide reader keeps: then, as a wstr, unit by unit.
bool DumpText(FILE* stream, const std::string& bytes, size_t offset, bool utf8, std::string& value,
              std::string& error) {
  RResult result = RESULT_SUCCEEDED;
  const int byteCount = Read7BitEncodedInt(stream, &result);
  const bool counted = result == RESULT_SUCCEEDED;
  const auto textStart = static_cast<size_t>(ftell(stream));
  const std::string countBytes = bytes.substr(offset, textStart - offset);
  const std::string prefix =
      counted && countBytes != Encode7Bit(byteCount) ? HexBytes(countBytes) : "";
  const size_t rest = bytes.size() - textStart;
  const bool whole =
      counted && byteCount >= 0 && byteCount % 2 == 0 && static_cast<size_t>(byteCount) <= rest;
  // The readers are given only a text that is all there: they would
  // allocate whatever a count announces before finding that it is not.
  fseek(stream, static_cast<long>(offset), SEEK_SET);
  if (utf8 && whole && !HasZeroUnit(bytes, textStart, static_cast<size_t>(byteCount))) {
    char* text = GetBinString(stream, &result);
    if (result == RESULT_SUCCEEDED) value = prefix + Escape(text);
    free(text);
    if (result == RESULT_SUCCEEDED) return true;
    fseek(stream, static_cast<long>(offset), SEEK_SET);
  }
  std::string text;
  bool converted = false;
  if (whole) {
    USHORT* units = GetBinWideString(stream, &result);
    converted =
        result == RESULT_SUCCEEDED && AppendUnits(units, static_cast<size_t>(byteCount) / 2, text);
    free(units);
  }
  if (converted) {
    value = prefix + text;
  } else if (result == RESULT_OUT_OF_MEMORY) {
    error = "out of memory";
  } else if (!counted) {
    error = DescribeBadInt(bytes, offset, "the byte count");
  } else if (byteCount < 0 || byteCount % 2 != 0) {
    error = std::string(byteCount < 0 ? "negative" : "odd") + " byte count " +
            std::to_string(byteCount) + " (UTF-16 needs a whole number of 2-byte units)";
  } else if (!whole) {
    error = "a byte count of " + std::to_string(byteCount) + " but only " + std::to_string(rest) +
            " bytes follow";
  } else {
    error = "the text is not valid UTF-16 (an unpaired surrogate)";
  }
  return converted;
}

}  // namespace

const char* FieldName(Field field) {
  switch (field) {
    case Field::kInt:
      return "int";
    case Field::kStr:
      return "str";
    case Field::kWstr:
      return "wstr";
    case Field::kBool:
      return "bool";
  }
  return "";
}

bool FindField(const std::string& name, Field& field) {
  const Field* match = std::find_if(std::begin(kFields), std::end(kFields),
                                    [&](Field f) { return name == FieldName(f); });
  if (match != std::end(kFields)) field = *match;
  return match != std::end(kFields);
}

std::string Encode7Bit(int32_t number) {
  std::string bytes;
  auto value = static_cast<uint32_t>(number);
  do {
    const unsigned char group = value & 0x7F;
    value >>= 7;
    bytes += static_cast<char>(value != 0 ? group | 0x80 : group);
  } while (value != 0);
  return bytes;
}

bool PackLine(std::string line, Field field, std::string& record, std::string& error) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  // A line of dump's output: OFFSET<TAB>TYPE<TAB>VALUE.
  const size_t tab1 = line.find('\t');
  const size_t tab2 = tab1 == std::string::npos ? tab1 : line.find('\t', tab1 + 1);
  Field type = field;
  std::string value = line;
  if (tab2 != std::string::npos && tab1 > 0 && line.find_first_not_of("0123456789") == tab1 &&
      FindField(line.substr(tab1 + 1, tab2 - tab1 - 1), type)) {
    value = line.substr(tab2 + 1);
    if (type != field) {
      error = std::string("a ") + FieldName(type) + " where the layout has a " + FieldName(field);
      return false;
    }
    if (line.compare(0, tab1, std::to_string(record.size())) != 0) {
      error = "offset " + line.substr(0, tab1) + ", but the values before it end at " +
              std::to_string(record.size());
      return false;
    }
  }
  return PackValue(value, field, record, error);
}

bool DumpValue(FILE* stream, const std::string& bytes, Field field, std::string& value,
               std::string& error) {
  const auto offset = static_cast<size_t>(ftell(stream));
  RResult result = RESULT_SUCCEEDED;
  switch (field) {
    case Field::kInt: {
      const int number = Read7BitEncodedInt(stream, &result);
      if (result != RESULT_SUCCEEDED) {
        error = DescribeBadInt(bytes, offset, "an int");
        return false;
      }
      const std::string encoded = bytes.substr(offset, static_cast<size_t>(ftell(stream)) - offset);
      value = std::to_string(number);
      if (encoded != Encode7Bit(number)) value += " " + HexBytes(encoded);
      return true;
    }
    case Field::kBool: {
      const BOOL flag = ReadBinBool(stream, &result);
      if (result != RESULT_SUCCEEDED) {
        error = "the file ends where a bool was expected";
        return false;
      }
      value = flag == 0   ? "false"
              : flag == 1 ? "true"
                          : HexBytes(std::string(1, static_cast<char>(flag)));
      return true;
    }
    case Field::kStr:
    case Field::kWstr:
      break;
  }
  return DumpText(stream, bytes, offset, field == Field::kStr, value, error);
}

}  // namespace chtool

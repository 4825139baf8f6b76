// dump and pack: binary record files as a repeating layout of values.
//
// The written form of a value, shared by both commands:
//   int   decimal; an encoding longer than needed (the reader accepts 0x80 0x00
//         for 0) is followed by a space and its bytes: "0 \x80\x00"
//   bool  true (byte 1), false (byte 0), or "\xHH" for any other byte
//   str, wstr  UTF-8 text with "\\", "\n", "\r", "\t" and "\0" (a zero unit)
// so that every file that dump reads is rebuilt byte for byte by pack.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <commonhelpers/stringconverter.h>
#include "chtool.h"
#include "seven_bit.h"

namespace chtool {

namespace {

enum class Field { kInt, kStr, kWstr, kBool };

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

const Field kFields[] = {Field::kInt, Field::kStr, Field::kWstr, Field::kBool};

const Field* FindField(const std::string& name) {
  const Field* match = std::find_if(std::begin(kFields), std::end(kFields),
                                    [&](Field f) { return name == FieldName(f); });
  return match == std::end(kFields) ? nullptr : match;
}

// Reads --layout; false after reporting a usage error.
bool ParseLayout(const Invocation& invocation, std::vector<Field>& layout) {
  if (!invocation.Has("--layout")) {
    UsageError(invocation, "--layout LIST is required");
    return false;
  }
  std::string list = invocation.options.at("--layout");
  if (list.empty() || list.front() == ',' || list.back() == ',' ||
      list.find(",,") != std::string::npos) {
    UsageError(invocation, "empty item in --layout '" + list + "'");
    return false;
  }
  for (const std::string& name : split(list, ",")) {
    const Field* field = FindField(name);
    if (field == nullptr) {
      UsageError(invocation, "unknown type '" + name + "' in --layout (int, str, wstr, bool)");
      return false;
    }
    layout.push_back(*field);
  }
  return true;
}

std::string HexByte(unsigned char byte) {
  char hex[5];
  snprintf(hex, sizeof hex, "\\x%02x", byte);
  return hex;
}

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

// Appends the UTF-8 form of `count` UTF-16 units (zero units written "\0").
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

// Appends the record form of a text value; false with `error` set.
bool PackText(const std::string& value, std::string& out, std::string& error) {
  if (value.find('\0') != std::string::npos) {
    error = "a zero byte in the text (write \\0 for a zero unit)";
    return false;
  }
  std::string text;
  if (!Unescape(value, text, error)) return false;
  // The byte count of the UTF-16 form must fit the record's 32-bit integer.
  if (text.size() > INT_MAX / 2 - 1) {
    error = "the text is too long";
    return false;
  }
  std::vector<USHORT> units(text.size() + 1);
  size_t count = 0;
  for (size_t start = 0; start <= text.size();) {
    const size_t end = std::min(text.find('\0', start), text.size());
    RResult result = RESULT_SUCCEEDED;
    ConvertUtfString(text.c_str() + start, UTF_8, units.data() + count,
                     static_cast<int>(units.size() - count), UTF_16, &result);
    if (result != RESULT_SUCCEEDED) {
      error = "the text is not valid UTF-8";
      return false;
    }
    count += static_cast<size_t>(WcsLen(units.data() + count, nullptr));
    if (end < text.size()) units[count++] = 0;
    start = end + 1;
  }
  Write7BitEncodedInt(out, static_cast<int32_t>(count * 2));
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
    const bool leadingZero = number.find_first_not_of("+-") != std::string::npos &&
                             number[number.find_first_not_of("+-")] == '0' &&
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
    Write7BitEncodedInt(out, static_cast<int32_t>(parsed));
    return true;
  }
  // An encoding given byte by byte must be one that the library reads as
  // this number, and nothing more.
  std::string bytes;
  const std::string raw = value.substr(space + 1);
  for (size_t i = 0; i < raw.size(); i += 4) {
    char* end = nullptr;
    const std::string hex = raw.substr(i + 2, 2);
    const long byte = strtol(hex.c_str(), &end, 16);
    if (raw.compare(i, 2, "\\x") != 0 || hex.size() != 2 || *end != '\0' || !isxdigit(hex[0])) {
      error = "'" + raw + "' is not a sequence of \\xHH bytes";
      return false;
    }
    bytes += static_cast<char>(byte);
  }
  FILE* file = bytes.empty() ? nullptr : fmemopen(&bytes[0], bytes.size(), "rb");
  RResult result = RESULT_INV_DATA;
  const int decoded = file != nullptr ? Read7BitEncodedInt(file, &result) : 0;
  const bool exact = result == RESULT_SUCCEEDED && decoded == parsed &&
                     ftell(file) == static_cast<long>(bytes.size());
  if (file != nullptr) fclose(file);
  if (!exact) {
    error = "the bytes '" + raw + "' are not a 7-bit encoding of " + number;
    return false;
  }
  out += bytes;
  return true;
}

// Appends the record form of `value` as `field`; false with `error` set.
bool PackValue(const std::string& value, Field field, std::string& out, std::string& error) {
  if (value.empty() && (field == Field::kInt || field == Field::kBool)) {
    error = std::string("missing ") + FieldName(field) + " value";
    return false;
  }
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
      if (value.size() == 4 && value.compare(0, 2, "\\x") == 0 && isxdigit(value[2]) &&
          isxdigit(value[3])) {
        out += static_cast<char>(strtol(value.c_str() + 2, nullptr, 16));
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

// Reads one value of `field` at `offset` of `file` (the stream over `bytes`)
// into its written form; false with `error` set.
bool DumpValue(FILE* file, const std::string& bytes, size_t offset, Field field, std::string& value,
               std::string& error) {
  RResult result = RESULT_SUCCEEDED;
  switch (field) {
    case Field::kInt: {
      const int number = Read7BitEncodedInt(file, &result);
      if (result != RESULT_SUCCEEDED) {
        error = DescribeBadInt(bytes, offset, "an int");
        return false;
      }
      value = std::to_string(number);
      std::string shortest;
      Write7BitEncodedInt(shortest, number);
      const size_t length = static_cast<size_t>(ftell(file)) - offset;
      if (shortest.size() != length) {
        value += ' ';
        for (size_t i = offset; i < offset + length; ++i) value += HexByte(bytes[i]);
      }
      return true;
    }
    case Field::kBool: {
      const BOOL flag = ReadBinBool(file, &result);
      if (result != RESULT_SUCCEEDED) {
        error = "the file ends where a bool was expected";
        return false;
      }
      value = flag == 0 ? "false" : flag == 1 ? "true" : HexByte(static_cast<unsigned char>(flag));
      return true;
    }
    case Field::kStr:
    case Field::kWstr:
      break;
  }
  // The byte count first, to tell what went wrong and how many units a text
  // holds: the library's readers then read the record from its start.
  RResult countResult = RESULT_SUCCEEDED;
  const int byteCount = Read7BitEncodedInt(file, &countResult);
  const size_t rest = bytes.size() - static_cast<size_t>(ftell(file));
  fseek(file, static_cast<long>(offset), SEEK_SET);
  // A str as the library reads it, unless it holds zero units, which only the
  // wide reader keeps: then, as for a wstr, every unit.
  if (field == Field::kStr) {
    char* text = GetBinString(file, &result);
    std::string repacked;
    const bool whole = result == RESULT_SUCCEEDED && PackText(Escape(text), repacked, error) &&
                       bytes.compare(offset, repacked.size(), repacked) == 0 &&
                       offset + repacked.size() == static_cast<size_t>(ftell(file));
    if (whole) value = Escape(text);
    free(text);
    if (whole) return true;
    fseek(file, static_cast<long>(offset), SEEK_SET);
  }
  USHORT* units = GetBinWideString(file, &result);
  const bool converted =
      result == RESULT_SUCCEEDED && AppendUnits(units, static_cast<size_t>(byteCount) / 2, value);
  free(units);
  if (converted) return true;
  if (result == RESULT_OUT_OF_MEMORY) {
    error = "out of memory";
  } else if (countResult != RESULT_SUCCEEDED) {
    error = DescribeBadInt(bytes, offset, "the byte count");
  } else if (byteCount < 0 || byteCount % 2 != 0) {
    error = std::string(byteCount < 0 ? "negative" : "odd") + " byte count " +
            std::to_string(byteCount) + " (UTF-16 needs a whole number of 2-byte units)";
  } else if (static_cast<size_t>(byteCount) > rest) {
    error = "a byte count of " + std::to_string(byteCount) + " but only " + std::to_string(rest) +
            " bytes follow";
  } else {
    error = "the text is not valid UTF-16 (an unpaired surrogate)";
  }
  return false;
}

int RunDump(const Invocation& invocation) {
  std::vector<Field> layout;
  if (!ParseLayout(invocation, layout)) return kExitUsage;
  if (invocation.operands.size() != 1) return UsageError(invocation, "one FILE expected");
  const std::string& path = invocation.operands[0];
  FILE* input = OpenInput(path);
  if (input == nullptr) return kExitFailure;
  // The whole file in memory, so that offsets work for standard input too.
  std::string bytes;
  char chunk[65536];
  for (size_t got; (got = fread(chunk, 1, sizeof chunk, input)) > 0;) bytes.append(chunk, got);
  const bool unreadable = ferror(input) != 0;
  if (input != stdin) fclose(input);
  if (unreadable) return Fail(kExitFailure, path + ": read error");
  if (bytes.empty()) return 0;
  FILE* file = fmemopen(&bytes[0], bytes.size(), "rb");
  if (file == nullptr) return Fail(kExitFailure, std::string("dump: ") + strerror(errno));
  int status = 0;
  for (size_t field = 0;; field = (field + 1) % layout.size()) {
    const size_t offset = static_cast<size_t>(ftell(file));
    if (field == 0 && offset == bytes.size()) break;
    std::string value;
    std::string error;
    if (!DumpValue(file, bytes, offset, layout[field], value, error)) {
      status = Fail(kExitFailure, path + ": offset " + std::to_string(offset) + ": " +
                                      FieldName(layout[field]) + ": " + error);
      break;
    }
    printf("%zu\t%s\t%s\n", offset, FieldName(layout[field]), value.c_str());
  }
  fclose(file);
  return status;
}

// Splits dump's "OFFSET<TAB>TYPE<TAB>VALUE"; false for a bare value.
bool SplitDumpLine(const std::string& line, std::string& offset, std::string& type,
                   std::string& value) {
  const size_t tab1 = line.find('\t');
  const size_t tab2 = tab1 == std::string::npos ? tab1 : line.find('\t', tab1 + 1);
  if (tab2 == std::string::npos || tab1 == 0 || line.find_first_not_of("0123456789") != tab1 ||
      FindField(line.substr(tab1 + 1, tab2 - tab1 - 1)) == nullptr) {
    return false;
  }
  offset = line.substr(0, tab1);
  type = line.substr(tab1 + 1, tab2 - tab1 - 1);
  value = line.substr(tab2 + 1);
  return true;
}

int RunPack(const Invocation& invocation) {
  std::vector<Field> layout;
  if (!ParseLayout(invocation, layout)) return kExitUsage;
  if (invocation.operands.size() > 1) return UsageError(invocation, "at most one FILE expected");
  std::string out;
  size_t count = 0;
  std::string error;
  const int status = ForEachLine(invocation.operands, [&](std::string& line, bool) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const Field field = layout[count % layout.size()];
    ++count;
    std::string offset;
    std::string type;
    std::string value = line;
    if (SplitDumpLine(line, offset, type, value)) {
      if (type != FieldName(field)) {
        error = "a " + type + " where the layout has a " + FieldName(field);
      } else if (offset != std::to_string(out.size())) {
        error =
            "offset " + offset + ", but the values before it end at " + std::to_string(out.size());
      }
    }
    if (error.empty()) PackValue(value, field, out, error);
    return error.empty();
  });
  if (status != 0) return status;
  if (error.empty() && count % layout.size() != 0) {
    ++count;
    error = std::string("end of input where a ") + FieldName(layout[(count - 1) % layout.size()]) +
            " value is expected (the last record is incomplete)";
  }
  if (!error.empty())
    return Fail(kExitFailure, "pack: line " + std::to_string(count) + ": " + error);
  fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace

const Command kDump = {
    "dump",
    "usage: chtool dump --layout LIST FILE\n"
    "Reads FILE (or '-', standard input) as a repeating sequence of the values in\n"
    "LIST, comma-separated: int (a 7-bit-encoded integer), str and wstr (a UTF-16\n"
    "text with a 7-bit-encoded byte count; str is read as UTF-8 by the library, wstr\n"
    "as UTF-16 units) and bool (one byte). Prints one value per line: byte offset,\n"
    "TAB, type, TAB, value. Values are written as pack reads them:\n"
    "  int   decimal; an encoding longer than needed adds a space and its bytes,\n"
    "        as in '0 \\x80\\x00'\n"
    "  bool  true, false, or \\xHH for a byte other than 1 and 0\n"
    "  text  UTF-8 with \\\\, \\n, \\r, \\t and \\0 (a zero unit) escaped\n"
    "so that 'chtool dump --layout L F | chtool pack --layout L' rebuilds F byte for\n"
    "byte. A malformed or truncated value is reported on standard error with its\n"
    "offset and what was expected there; the exit status is then 1.\n",
    {{"--layout", nullptr, true}},
    RunDump};

const Command kPack = {
    "pack",
    "usage: chtool pack --layout LIST [FILE]\n"
    "Writes to standard output the record file of the values in FILE (or standard\n"
    "input), one per line, in the order of LIST (as for dump). A line is a bare\n"
    "value or a line of dump's output (OFFSET TAB TYPE TAB VALUE), whose type must\n"
    "be the one the layout has there and whose offset must be where the value\n"
    "lands. Values are written as dump writes them; integers are decimal from\n"
    "-2147483648 to 2147483647 without leading zeros, booleans true/false or 1/0.\n"
    "CR LF line ends are accepted. Any malformed line is reported as\n"
    "'pack: line N: WHAT' with exit status 1, and nothing is written.\n",
    {{"--layout", nullptr, true}},
    RunPack};

}  // namespace chtool

// dump and pack: binary record files as a repeating layout of values.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <commonhelpers/stringconverter.h>
#include "chtool.h"

namespace chtool {

namespace {

const char kDumpUsage[] =
    "usage: chtool dump --layout LIST FILE\n"
    "Reads FILE as a repeating sequence of the values in LIST (comma-separated: int,\n"
    "str, wstr, bool) and prints one value per line: byte offset, type, value. Texts\n"
    "are printed as UTF-8 with \\\\, \\n, \\r and \\t escaped. A malformed or truncated\n"
    "value is reported with its offset and the failure code; the exit status is 1.\n";

const char kPackUsage[] =
    "usage: chtool pack --layout LIST [FILE]\n"
    "Writes to standard output the record file of the values in FILE (or standard\n"
    "input), one per line, in the order of LIST (as for dump). Integers are decimal,\n"
    "booleans true/false (or 1/0), texts UTF-8 with the escapes that dump prints.\n";

enum class Field { kInt, kStr, kWstr, kBool };

const char* FieldName(Field field) {
  switch (field) {
    case Field::kInt:
      return "int";
    case Field::kStr:
      return "str";
    case Field::kWstr:
      return "wstr";
    default:
      return "bool";
  }
}

// Splits "--layout LIST" off `args`; false after reporting a usage error.
bool ParseLayout(const char* command, Args& args, std::vector<Field>& layout) {
  std::string list;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--layout" && i + 1 < args.size()) {
      list = args[i + 1];
      args.erase(args.begin() + static_cast<long>(i), args.begin() + static_cast<long>(i) + 2);
      break;
    }
  }
  for (const std::string& name : split(list, ",")) {
    const Field fields[] = {Field::kInt, Field::kStr, Field::kWstr, Field::kBool};
    const Field* match = std::find_if(std::begin(fields), std::end(fields),
                                      [&](Field f) { return name == FieldName(f); });
    if (match == std::end(fields)) {
      Fail(kExitUsage, std::string(command) + ": unknown type '" + name + "' in --layout");
      return false;
    }
    layout.push_back(*match);
  }
  if (layout.empty()) {
    Fail(kExitUsage, std::string(command) + ": --layout LIST is required");
  }
  return !layout.empty();
}

std::string Escape(const char* text) {
  std::string escaped;
  for (const char* p = text; *p != '\0'; ++p) {
    switch (*p) {
      case '\\':
        escaped += "\\\\";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '\t':
        escaped += "\\t";
        break;
      default:
        escaped += *p;
    }
  }
  return escaped;
}

std::string Unescape(const std::string& text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      plain += text[i];
      continue;
    }
    const char next = text[++i];
    plain += next == 'n' ? '\n' : next == 'r' ? '\r' : next == 't' ? '\t' : next;
  }
  return plain;
}

// Reads one value of `field`; its printable form, or the failure code.
RResult ReadValue(FILE* file, Field field, std::string& value) {
  RResult result = RESULT_SUCCEEDED;
  if (field == Field::kInt) {
    value = std::to_string(Read7BitEncodedInt(file, &result));
  } else if (field == Field::kBool) {
    value = ReadBinBool(file, &result) != FALSE ? "true" : "false";
  } else if (field == Field::kStr) {
    char* text = GetBinString(file, &result);
    if (result == RESULT_SUCCEEDED) value = Escape(text);
    free(text);
  } else {
    USHORT* wide = GetBinWideString(file, &result);
    if (result == RESULT_SUCCEEDED) {
      std::string utf8(static_cast<size_t>(WcsLen(wide, nullptr)) * 3 + 1, '\0');
      ConvertUtfString(wide, UTF_16, &utf8[0], static_cast<int>(utf8.size()), UTF_8, &result);
      value = Escape(utf8.c_str());
    }
    free(wide);
  }
  return result;
}

void Write7BitEncodedInt(std::string& out, uint32_t value) {
  do {
    const unsigned char group = value & 0x7F;
    value >>= 7;
    out += static_cast<char>(value != 0 ? group | 0x80 : group);
  } while (value != 0);
}

// Appends the record form of `line` as `field`; false when it doesn't parse.
bool PackValue(const std::string& line, Field field, std::string& out) {
  if (field == Field::kBool) {
    if (line != "true" && line != "false" && line != "1" && line != "0") return false;
    out += line == "true" || line == "1" ? '\x01' : '\x00';
    return true;
  }
  if (field == Field::kInt) {
    if (!IsValidInteger(line.c_str()) || line == "+" || line == "-") return false;
    errno = 0;
    const long value = strtol(line.c_str(), nullptr, 10);
    if (errno != 0 || value < INT_MIN || value > INT_MAX) return false;
    Write7BitEncodedInt(out, static_cast<uint32_t>(static_cast<int>(value)));
    return true;
  }
  const std::string text = Unescape(line);
  // The byte count of the UTF-16 form must fit the record's 32-bit integer.
  if (text.size() > INT_MAX / 2 - 1) return false;
  std::vector<USHORT> units(text.size() + 1);
  RResult result = RESULT_SUCCEEDED;
  ConvertUtfString(text.c_str(), UTF_8, units.data(), static_cast<int>(units.size()), UTF_16,
                   &result);
  const size_t count = static_cast<size_t>(WcsLen(units.data(), nullptr));
  if (result != RESULT_SUCCEEDED || text.size() != strlen(text.c_str())) return false;
  Write7BitEncodedInt(out, static_cast<uint32_t>(count * 2));
  for (size_t i = 0; i < count; ++i) {
    out += static_cast<char>(units[i] & 0xFF);
    out += static_cast<char>(units[i] >> 8);
  }
  return true;
}

}  // namespace

int Dump(const Args& arguments) {
  if (WantsHelp(arguments, kDumpUsage)) return 0;
  Args args = arguments;
  std::vector<Field> layout;
  if (!ParseLayout("dump", args, layout)) return kExitUsage;
  if (args.size() != 1) return Fail(kExitUsage, "dump: exactly one FILE expected");
  FILE* input = OpenInput(args[0]);
  if (input == nullptr) return kExitFailure;
  // The whole file in memory, so that offsets work for standard input too.
  std::string bytes;
  char chunk[65536];
  for (size_t got; (got = fread(chunk, 1, sizeof chunk, input)) > 0;) bytes.append(chunk, got);
  const bool unreadable = ferror(input) != 0;
  if (input != stdin) fclose(input);
  if (unreadable) return Fail(kExitFailure, args[0] + ": read error");
  if (bytes.empty()) return 0;
  FILE* file = fmemopen(&bytes[0], bytes.size(), "rb");
  if (file == nullptr) return Fail(kExitFailure, std::string("dump: ") + strerror(errno));
  int status = 0;
  for (size_t field = 0;; field = (field + 1) % layout.size()) {
    const long offset = ftell(file);
    if (field == 0 && static_cast<size_t>(offset) == bytes.size()) break;
    std::string value;
    const RResult result = ReadValue(file, layout[field], value);
    if (result != RESULT_SUCCEEDED) {
      status = Fail(kExitFailure, args[0] + ": offset " + std::to_string(offset) + ": " +
                                      FieldName(layout[field]) + ": " + ResultName(result));
      break;
    }
    printf("%ld\t%s\t%s\n", offset, FieldName(layout[field]), value.c_str());
  }
  fclose(file);
  return status;
}

int Pack(const Args& arguments) {
  if (WantsHelp(arguments, kPackUsage)) return 0;
  Args args = arguments;
  std::vector<Field> layout;
  if (!ParseLayout("pack", args, layout)) return kExitUsage;
  if (args.size() > 1) return Fail(kExitUsage, "pack: at most one FILE expected");
  std::string out;
  size_t count = 0;
  std::string error;
  int status = ForEachLine(args, [&](std::string& line, bool) {
    const Field field = layout[count % layout.size()];
    if (error.empty() && !PackValue(line, field, out)) {
      error =
          "line " + std::to_string(count + 1) + ": not a valid " + FieldName(field) + ": " + line;
    }
    ++count;
  });
  if (status != 0) return status;
  if (!error.empty()) return Fail(kExitFailure, "pack: " + error);
  if (count % layout.size() != 0) return Fail(kExitFailure, "pack: the last record is incomplete");
  fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace chtool

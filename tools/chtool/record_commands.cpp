// dump and pack: binary record files as a repeating layout of values, in
// the written form of record_form.h.
#include <cerrno>

#include "chtool.h"
#include "platform.h"
#include "record_form.h"

namespace chtool {

namespace {

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
    Field field;
    if (!FindField(name, field)) {
      UsageError(invocation, "unknown type '" + name + "' in --layout (int, str, wstr, bool)");
      return false;
    }
    layout.push_back(field);
  }
  return true;
}

int RunDump(const Invocation& invocation) {
  std::vector<Field> layout;
  if (!ParseLayout(invocation, layout)) return kExitUsage;
  if (invocation.operands.size() != 1) return UsageError(invocation, "one FILE expected");
  const std::string& path = invocation.operands[0];
  // The whole file in memory, so that offsets work for standard input too.
  std::string bytes;
  Input input(path);
  for (; input.Fill(); input.Consume(input.size())) bytes.append(input.data(), input.size());
  if (!input.opened() || input.error() != 0) {
    return Fail(kExitFailure, FileError(path, input.error()));
  }
  if (bytes.empty()) return 0;
  FILE* file = platform::OpenMemoryStream(bytes);
  if (file == nullptr) return Fail(kExitFailure, "dump: " + FileError(path, errno));
  int status = 0;
  for (size_t field = 0;; field = (field + 1) % layout.size()) {
    const auto offset = static_cast<size_t>(ftell(file));
    if (field == 0 && offset == bytes.size()) break;
    std::string value;
    std::string error;
    if (!DumpValue(file, bytes, layout[field], value, error)) {
      status = Fail(kExitFailure, path + ": offset " + std::to_string(offset) + ": " +
                                      FieldName(layout[field]) + ": " + error);
      break;
    }
    printf("%zu\t%s\t%s\n", offset, FieldName(layout[field]), value.c_str());
  }
  fclose(file);
  return status;
}

int RunPack(const Invocation& invocation) {
  std::vector<Field> layout;
  if (!ParseLayout(invocation, layout)) return kExitUsage;
  if (invocation.operands.size() > 1) return UsageError(invocation, "at most one FILE expected");
  std::string out;
  size_t count = 0;
  std::string error;
  const int status = ForEachLine(invocation.operands, [&](std::string& line, bool) {
    return PackLine(line, layout[count++ % layout.size()], out, error);
  });
  if (status != 0) return status;
  if (error.empty() && count % layout.size() != 0) {
    ++count;
    error = std::string("end of input where a ") + FieldName(layout[(count - 1) % layout.size()]) +
            " value is expected (the last record is incomplete)";
  }
  if (!error.empty()) {
    return Fail(kExitFailure, "pack: line " + std::to_string(count) + ": " + error);
  }
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
    "  int   decimal; an encoding other than the shortest (longer than needed, or\n"
    "        a fifth byte with its ignored bits 4 to 6 set) adds a space and its\n"
    "        bytes, as in '0 \\x80\\x00'\n"
    "  bool  true, false, or \\xHH for a byte other than 1 and 0\n"
    "  text  UTF-8 with \\\\, \\n, \\r, \\t and \\0 (a zero unit) escaped; a byte count\n"
    "        in other than its shortest encoding comes first as \\xHH bytes, as in\n"
    "        '\\x82\\x00a' (the text 'a', its count 2 written 82 00)\n"
    "so that 'chtool dump --layout L F | chtool pack --layout L' rebuilds byte for\n"
    "byte every F that dump reads without error. A malformed or truncated value is\n"
    "reported on standard error with its offset and what was expected there; the\n"
    "exit status is then 1.\n",
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

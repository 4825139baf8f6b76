// pack's parser and dump's reader (tools/chtool/record_form.h), the first byte a
// layout of 1-3 fields: dump reads whole what pack builds of the rest as lines,
// and pack rebuilds what dump reads of the rest as bytes.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "chtool/record_form.h"

using chtool::Field;

// Dumps `bytes` and packs dump's lines again.
static std::string Repack(std::string bytes, const std::vector<Field>& layout) {
  FILE* file = bytes.empty() ? nullptr : fmemopen(&bytes[0], bytes.size(), "rb");
  std::string record, value, error;
  for (size_t n = 0, used = 0; file != nullptr && used < bytes.size(); ++n) {
    const Field field = layout[n % layout.size()];
    if (!chtool::DumpValue(file, bytes, field, value, error)) break;
    const std::string line = std::to_string(used) + "\t" + chtool::FieldName(field) + "\t" + value;
    if (!chtool::PackLine(line, field, record, error)) abort();
    used = static_cast<size_t>(ftell(file));
  }
  if (file != nullptr) fclose(file);
  return record;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  std::vector<Field> layout;
  for (int i = 0; i <= data[0] % 3; ++i) layout.push_back(static_cast<Field>(data[0] >> 2 * i & 3));
  const std::string text(data + 1, data + size);
  std::string record, error;
  for (size_t start = 0, n = 0; start <= text.size(); ++n) {
    const size_t end = std::min(text.find('\n', start), text.size());
    const Field field = layout[n % layout.size()];
    if (!chtool::PackLine(text.substr(start, end - start), field, record, error)) break;
    start = end + 1;
  }
  const std::string again = Repack(text, layout);
  if (Repack(record, layout) != record || text.compare(0, again.size(), again) != 0) abort();
  return 0;
}

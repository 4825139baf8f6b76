#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/memory_stream.h"

namespace {

using namespace std::string_literals;
constexpr RResult OK = RESULT_SUCCEEDED, BAD = RESULT_INV_DATA;

// A trailing "U" in a record belongs to the next value: no reader may take it.
// A fifth byte that goes on ends the integer as malformed; a boolean is its
// byte as a signed value.
TEST(NumberRecords, DecodeOneValueAndStopRightAfterIt) {
  using Reader = int (*)(FILE*, RResult*);
  const Reader kInt = Read7BitEncodedInt, kBool = ReadBinBool;
  const std::tuple<Reader, std::string, int, long, RResult> rows[] = {
      {kInt, "\0U"s, 0, 1, OK},
      {kInt, "\x7FU", 127, 1, OK},
      {kInt, "\xAC\x02U", 300, 2, OK},
      {kInt, "\x80\x80\x01U", 16384, 3, OK},
      {kInt, "\x80\0U"s, 0, 2, OK},
      {kInt, "\xFF\xFF\xFF\xFF\x07U", 2147483647, 5, OK},
      {kInt, "\xFF\xFF\xFF\xFF\x7FU", -1, 5, OK},
      {kInt, "\x80\x80\x80\x80\x08U", -2147483647 - 1, 5, OK},
      {kInt, "\x81\x80\x80\x80\x80U", -1, 5, BAD},
      {kInt, "", -1, 0, BAD},
      {kInt, "\xFF\xFF\xFF\xFF", -1, 4, BAD},
      {kBool, "\0U"s, FALSE, 1, OK},
      {kBool, "\x02U", 2, 1, OK},
      {kBool, "\xFFU", -1, 1, OK},
      {kBool, "", FALSE, 0, BAD}};
  for (const auto& [reader, bytes, value, consumed, code] : rows) {
    const auto stream = MemoryStream(bytes);
    RResult result = RESULT_ANY_ERROR;
    EXPECT_EQ(reader(stream.get(), &result), value) << testing::PrintToString(bytes);
    EXPECT_EQ(result, code);
    EXPECT_EQ(ftell(stream.get()), consumed);
  }
}

// Each record goes through both string readers. The wide buffer starts with
// `units` (terminated on success; a failure with no units returns none);
// GetBinString returns `text` zero-filled to `size` bytes, or null, and when
// one of its allocations fails, null and nothing leaks (the asan preset's
// leak checker sees a wide buffer kept).
TEST(StringRecords, ReadExactlyTheRecordIntoBuffersOfTheDocumentedSize) {
  const struct {
    std::string bytes;
    long consumed;
    RResult wideCode;
    std::u16string units;
    const char* text;
    size_t size;
    RResult code;
  } rows[] = {
      {"\0U"s, 1, OK, u"", "", 3, OK},
      {"\x04\x41\0\x42\0U"s, 5, OK, u"AB", "AB", 9, OK},
      {"\x06\x41\0\0\0\x42\0U"s, 7, OK, u"A\0B"s, "A", 6, OK},
      {"\x04\x60\x4F\x3D\xD8U", 5, OK, u"\x4F60\xD83D", "\xE4\xBD\xA0", 9, BAD},  // lone surrogate
      {"\x03wxyz", 1, BAD, u"", nullptr, 0, BAD},
      {"\xFE\xFF\xFF\xFF\x0Fwxyz", 5, BAD, u"", nullptr, 0, BAD},  // -2
      {"\x80", 1, BAD, u"", nullptr, 0, BAD},
      {"\x04\x41\0"s, 3, BAD, u"A", nullptr, 0, BAD},
      {"\xFE\xFF\xFF\x01wx", 6, BAD, u"\x7877", nullptr, 0, BAD}};  // 4 MiB announced
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.bytes));
    RResult result = RESULT_ANY_ERROR;
    const auto wideStream = MemoryStream(row.bytes);
    USHORT* wsz = GetBinWideString(wideStream.get(), &result);
    EXPECT_EQ(result, row.wideCode);
    EXPECT_EQ(ftell(wideStream.get()), row.consumed);
    const size_t cnChecked = row.units.size() + (result == OK ? 1 : 0);
    EXPECT_EQ(wsz ? std::u16string(wsz, wsz + cnChecked) : u"null",
              cnChecked ? (row.units + u'\0').substr(0, cnChecked) : u"null");
    free(wsz);

    char* sz = nullptr;
    long consumed = 0;
    const auto read = [&, &bytes = row.bytes] {
      const auto stream = MemoryStream(bytes);
      sz = GetBinString(stream.get(), &result);
      consumed = ftell(stream.get());
    };
    alloc_failure::ForEachFailure(read, [&](long failed) {
      EXPECT_EQ(result, failed ? RESULT_OUT_OF_MEMORY : row.code) << failed;
      EXPECT_TRUE(failed != 0 || consumed == row.consumed) << consumed;
      EXPECT_EQ(sz ? std::string(sz, row.size) : "null",
                row.text && !failed
                    ? std::string(row.text).append(row.size - strlen(row.text), '\0')
                    : "null");
      free(sz);
    });
  }
}

}  // namespace

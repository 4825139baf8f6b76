#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/memory_stream.h"

namespace {

using namespace std::string_literals;
constexpr RResult OK = RESULT_SUCCEEDED, BAD = RESULT_INV_DATA;

// The first units of a returned buffer, as many as `expected` holds, or
// nullopt for a null buffer.
template <typename Unit, typename String>
std::optional<String> Head(const Unit* p, const std::optional<String>& expected) {
  if (p == nullptr) return std::nullopt;
  return String(p, p + (expected ? expected->size() : 0));
}

// `text` followed by zero bytes up to `size` in all.
std::string ZeroFilled(const std::string& text, size_t size) {
  return text + std::string(size - text.size(), '\0');
}

// A trailing "U" in a record belongs to the next value: no reader may take it.
// A fifth byte that goes on ends the integer as malformed; a boolean is its
// byte as a signed value.
TEST(NumberRecords, DecodeOneValueAndStopRightAfterIt) {
  struct Row {
    int (*reader)(FILE*, RResult*);
    std::string bytes;
    int value;
    long consumed;
    RResult code;
  };
  const Row rows[] = {{Read7BitEncodedInt, "\0U"s, 0, 1, OK},
                      {Read7BitEncodedInt, "\x7FU", 127, 1, OK},
                      {Read7BitEncodedInt, "\xAC\x02U", 300, 2, OK},
                      {Read7BitEncodedInt, "\x80\x80\x01U", 16384, 3, OK},
                      {Read7BitEncodedInt, "\x80\0U"s, 0, 2, OK},
                      {Read7BitEncodedInt, "\xFF\xFF\xFF\xFF\x07U", 2147483647, 5, OK},
                      {Read7BitEncodedInt, "\xFF\xFF\xFF\xFF\x7FU", -1, 5, OK},
                      {Read7BitEncodedInt, "\x80\x80\x80\x80\x08U", -2147483647 - 1, 5, OK},
                      {Read7BitEncodedInt, "\x81\x80\x80\x80\x80U", -1, 5, BAD},
                      {Read7BitEncodedInt, "", -1, 0, BAD},
                      {Read7BitEncodedInt, "\xFF\xFF\xFF\xFF", -1, 4, BAD},
                      {ReadBinBool, "\0U"s, FALSE, 1, OK},
                      {ReadBinBool, "\x02U", 2, 1, OK},
                      {ReadBinBool, "\xFFU", -1, 1, OK},
                      {ReadBinBool, "", FALSE, 0, BAD}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.bytes));
    const auto stream = MemoryStream(row.bytes);
    RResult result = RESULT_ANY_ERROR;
    EXPECT_EQ(row.reader(stream.get(), &result), row.value);
    EXPECT_EQ(result, row.code);
    EXPECT_EQ(ftell(stream.get()), row.consumed);
  }
}

// Each record goes through both string readers, which consume the same bytes.
// The wide buffer is terminated on success; a failure before any unit was
// read returns none. When one of GetBinString's allocations fails it returns
// null and nothing leaks (the asan preset's leak checker sees a wide buffer
// kept).
TEST(StringRecords, ReadExactlyTheRecordIntoBuffersOfTheDocumentedSize) {
  struct Row {
    std::string bytes;
    long consumed;
    RResult wideCode;                    // GetBinWideString's
    std::optional<std::u16string> wide;  // the start of its buffer
    RResult code;                        // GetBinString's
    std::optional<std::string> utf8;     // its whole buffer
  };
  const std::nullopt_t none = std::nullopt;
  const Row rows[] = {{"\0U"s, 1, OK, u"\0"s, OK, ZeroFilled("", 3)},
                      {"\x04\x41\0\x42\0U"s, 5, OK, u"AB\0"s, OK, ZeroFilled("AB", 9)},
                      {"\x06\x41\0\0\0\x42\0U"s, 7, OK, u"A\0B\0"s, OK, ZeroFilled("A", 6)},
                      {"\x04\x60\x4F\x3D\xD8U", 5, OK, u"\x4F60\xD83D\0"s, BAD,  // a lone surrogate
                       ZeroFilled("\xE4\xBD\xA0", 9)},
                      {"\x03wxyz", 1, BAD, none, BAD, none},
                      {"\xFE\xFF\xFF\xFF\x0Fwxyz", 5, BAD, none, BAD, none},  // -2
                      {"\x80", 1, BAD, none, BAD, none},
                      {"\x04\x41\0"s, 3, BAD, u"A", BAD, none},
                      {"\xFE\xFF\xFF\x01wx", 6, BAD, u"\x7877", BAD, none}};  // 4 MiB announced
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.bytes));
    RResult result = RESULT_ANY_ERROR;
    const auto wideStream = MemoryStream(row.bytes);
    USHORT* wsz = GetBinWideString(wideStream.get(), &result);
    EXPECT_EQ(result, row.wideCode);
    EXPECT_EQ(ftell(wideStream.get()), row.consumed);
    EXPECT_EQ(Head(wsz, row.wide), row.wide);
    free(wsz);

    // The stream is read once before allocations are counted: where the C
    // library is linked statically (i386), its own buffer's malloc counts too.
    const auto stream = MemoryStream(row.bytes);
    fgetc(stream.get());
    char* sz = nullptr;
    long consumed = 0;
    const auto read = [&] {
      rewind(stream.get());
      sz = GetBinString(stream.get(), &result);
      consumed = ftell(stream.get());
    };
    alloc_failure::ForEachFailure(read, [&](long failed) {
      if (failed == 0) {
        EXPECT_EQ(result, row.code);
        EXPECT_EQ(consumed, row.consumed);
        EXPECT_EQ(Head(sz, row.utf8), row.utf8);
      } else {
        EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
        EXPECT_EQ(sz, nullptr);
      }
      free(sz);
    });
  }
}

}  // namespace

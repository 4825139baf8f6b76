#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/memory_stream.h"
#include "support/platform.h"
#include "support/wide.h"

namespace {

constexpr RResult OK = RESULT_SUCCEEDED;

// The buffer holds 3 units per byte plus 3, zero beyond the text.
TEST(GetUTF16Text, ReturnsANewZeroFilledWideText) {
  const std::tuple<std::string, std::u16string, RResult> rows[] = {
      {"", u"", RESULT_SUCCEEDED},
      {"\xE4\xBD\xA0\xE5\xA5\xBD ok", u"\x4F60\x597D ok", RESULT_SUCCEEDED},
      {"ab\xFF", u"ab", RESULT_INV_DATA}};
  for (const auto& [input, expected, code] : rows) {
    RResult result = RESULT_ANY_ERROR;
    USHORT* wsz = GetUTF16Text(input.c_str(), &result);
    EXPECT_EQ(result, code);
    std::u16string whole = expected;
    whole.resize(input.size() * 3 + 3);
    EXPECT_EQ(std::u16string(wsz, wsz + whole.size()), whole);
    free(wsz);
  }
}

// szText is written on success only, also when an allocation fails; position 715,827,882 is too
// long to triple in an int and fails before anything is read.
TEST(GetUtf8TextFromUtf16, WritesTheFirstUnitsOnSuccessOnly) {
  const std::tuple<std::u16string, int, std::string, RResult> rows[] = {
      {u"ab\x4F60\0zz", 0, "", RESULT_SUCCEEDED},
      {u"ab\x4F60\0zz", 2, "ab", RESULT_SUCCEEDED},
      {u"ab\x4F60\0zz", 6, "ab\xE4\xBD\xA0", RESULT_SUCCEEDED},
      {u"ab", -1, "untouched", RESULT_INV_ARGUMENT},
      {u"a\xD800", 2, "untouched", RESULT_INV_DATA},
      {std::u16string(u"a\0\xD800", 3), 3, "a", RESULT_SUCCEEDED},
      {u"ab", 715827882, "untouched", RESULT_OUT_OF_MEMORY}};
  for (const auto& [text, position, expected, code] : rows) {
    char szText[32];
    RResult result = RESULT_ANY_ERROR;
    const auto call = [&, &text = text, position = position] {
      strcpy(szText, "untouched");
      GetUtf8TextFromUtf16(wide::Buffer(text).data(), position, szText, &result);
    };
    alloc_failure::ForEachFailure(call, [&, &expected = expected, code = code](long failed) {
      SCOPED_TRACE(failed);
      if (failed == 0) {
        EXPECT_EQ(result, code);
        EXPECT_EQ(szText, expected);
      } else {
        EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
        EXPECT_STREQ(szText, "untouched");
      }
    });
  }
}

// Each line of the stream with its line end, up to a zero byte, as far as it
// fits in 2,047 bytes and converts into `size` units; FALSE with success at the end.
TEST(ReadUtf8Line, ReadsLinesUpTo2047BytesAndSignalsTheEndWithSuccess) {
  const std::string x3000(3000, 'x'), y2047(2047, 'y');
  struct Row {
    std::string bytes;
    int size;                                               // of the line buffer, in units
    std::vector<std::pair<std::u16string, RResult>> lines;  // read with TRUE, and their codes
    RResult endCode;  // of the reads after them, which return FALSE
    long consumed;    // bytes of the stream read in all
  };
  const Row rows[] = {{"ab\r\nc", 8, {{u"ab\r\n", OK}, {u"c", OK}}, OK, 5},
                      {std::string("a\0b\nc", 5), 8, {{u"a", OK}, {u"c", OK}}, OK, 5},
                      {x3000 + "\n" + y2047 + "\n",
                       4096,
                       {{std::u16string(2047, 'x'), OK},
                        {std::u16string(953, 'x') + u"\n", OK},
                        {std::u16string(2047, 'y'), OK},
                        {u"\n", OK}},
                       OK,
                       5049},
                      {"a\xC3\n", 8, {{u"a", RESULT_INV_DATA}}, OK, 3},
                      {"\xE4\xBD\xA0\xE5\xA5\xBD\n", 2, {{u"\x4F60", RESULT_INV_DATA}}, OK, 7},
                      {"abc\n", 0, {}, RESULT_INV_ARGUMENT, 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.bytes.substr(0, 8)));
    const auto stream = MemoryStream(row.bytes);
    std::vector<USHORT> line(4096, 0x5A5A);
    RResult result = RESULT_ANY_ERROR;
    for (const auto& [expected, code] : row.lines) {
      EXPECT_EQ(ReadUtf8Line(stream.get(), line.data(), row.size, &result), TRUE);
      EXPECT_EQ(wide::Text(line.data()), expected);
      EXPECT_EQ(result, code);
    }
    for (int end = 0; end < 2; ++end) {
      EXPECT_EQ(ReadUtf8Line(stream.get(), line.data(), row.size, &result), FALSE);
      EXPECT_EQ(result, row.endCode);
    }
    EXPECT_EQ(ftell(stream.get()), row.consumed);
  }
}

// Every text function's size limit on one mapped text: sizes that an int cannot hold fail with
// RESULT_OUT_OF_MEMORY before anything is allocated, and lengths whose int form would be short
// (2^32 + 4 truncates to 4) neither overrun nor allocate.
TEST(TextSizes, BeyondTheIntLimitFailBeforeAllocatingOrOverrunning) {
  std::string whyNot;
  char* tail = platform::MapHugeText("b \r\n", whyNot);
  if (tail == nullptr) GTEST_SKIP() << whyNot;
  char* end = tail + 4;
  const auto* wszEnd = reinterpret_cast<const USHORT*>(end);            // no zero unit before it
  const auto kWrapping = static_cast<size_t>((uint64_t{1} << 32) + 4);  // 64-bit only
  char* szSrc = strdup("ab");
  alloc_failure::FailNth(0);
  RResult result = RESULT_SUCCEEDED;
  for (const size_t length : {size_t{INT_MAX}, kWrapping}) {
    EXPECT_EQ(CopyString(end - length, &result), nullptr);
    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
    result = RESULT_SUCCEEDED;
    EXPECT_EQ(CatchString(szSrc, end - (length - 2), &result), nullptr);
    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
    EXPECT_STREQ(szSrc, "ab");
    result = RESULT_SUCCEEDED;
  }
  EXPECT_EQ(GetUTF16Text(end - 715827882, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(WcsLen(wszEnd - (size_t{1} << 31), &result), -1);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(CopyWString(wszEnd - INT_MAX, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  EXPECT_EQ(alloc_failure::Count(), 0);
  EXPECT_EQ(WcsLen(wszEnd - INT_MAX, &result), INT_MAX);  // the longest an int holds
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  alloc_failure::FailNth(1);  // one byte less: the buffer is asked for
  EXPECT_EQ(GetUTF16Text(end - 715827881, &result), nullptr);
  EXPECT_EQ(alloc_failure::Count(), 1);
  alloc_failure::FailNth(0);
  free(szSrc);
  EXPECT_EQ(EndsWith(end - kWrapping, "AB \r\n"), TRUE);
  ChopStringEnd(end - kWrapping);
  EXPECT_STREQ(tail, "b");
  platform::UnmapHugeText(tail);
}

}  // namespace

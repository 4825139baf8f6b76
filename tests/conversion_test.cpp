#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/huge_text.h"
#include "support/memory_stream.h"
#include "support/wide.h"

namespace {

TEST(GetUTF16Text, ReturnsANewZeroFilledWideText) {
  struct Row {
    std::string input;
    std::u16string expected;
    RResult code;
  } rows[] = {{"", u"", RESULT_SUCCEEDED},
              {"\xE4\xBD\xA0\xE5\xA5\xBD ok", u"\x4F60\x597D ok", RESULT_SUCCEEDED},
              {"ab\xFF"
               "cd",
               u"ab", RESULT_INV_DATA}};
  for (const Row& row : rows) {
    RResult result = RESULT_ANY_ERROR;
    USHORT* wsz = GetUTF16Text(row.input.c_str(), &result);
    ASSERT_NE(wsz, nullptr);
    EXPECT_EQ(result, row.code);
    EXPECT_EQ(wide::Text(wsz), row.expected);
    // The buffer holds 3 units per byte plus 3, zero beyond the text.
    for (size_t i = row.expected.size(); i < row.input.size() * 3 + 3; ++i) EXPECT_EQ(wsz[i], 0);
    free(wsz);
  }
  RResult result = RESULT_SUCCEEDED;
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(GetUTF16Text("abc", &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

TEST(GetUtf8TextFromUtf16, WritesTheFirstUnitsOnSuccessOnly) {
  std::vector<USHORT> text = wide::Buffer(u"ab\x4F60\0zz");
  struct Row {
    int position;
    std::string expected;
    RResult code;
  } rows[] = {{0, "", RESULT_SUCCEEDED},
              {2, "ab", RESULT_SUCCEEDED},
              {3, "ab\xE4\xBD\xA0", RESULT_SUCCEEDED},
              {6, "ab\xE4\xBD\xA0", RESULT_SUCCEEDED},
              {-1, "untouched", RESULT_INV_ARGUMENT}};
  for (const Row& row : rows) {
    char szText[32] = "untouched";
    RResult result = RESULT_ANY_ERROR;
    GetUtf8TextFromUtf16(text.data(), row.position, szText, &result);
    EXPECT_EQ(result, row.code);
    EXPECT_STREQ(szText, row.expected.c_str());
  }
  char szText[32] = "untouched";
  RResult result = RESULT_SUCCEEDED;
  GetUtf8TextFromUtf16(wide::Buffer(u"a\xD800").data(), 2, szText, &result);
  EXPECT_EQ(result, RESULT_INV_DATA);
  EXPECT_STREQ(szText, "untouched");
}

TEST(GetUtf8TextFromUtf16, LeavesTheTextUntouchedWhenATemporaryFails) {
  std::vector<USHORT> text = wide::Buffer(u"abc");
  char szText[16];
  RResult result = RESULT_ANY_ERROR;
  const long allocations = alloc_failure::ForEachFailure(
      [&] {
        strcpy(szText, "untouched");
        GetUtf8TextFromUtf16(text.data(), 3, szText, &result);
      },
      [&](long failed) {
        EXPECT_EQ(result, failed == 0 ? RESULT_SUCCEEDED : RESULT_OUT_OF_MEMORY);
        EXPECT_STREQ(szText, failed == 0 ? "abc" : "untouched");
      });
  EXPECT_EQ(allocations, 2);
}

std::u16string NextLine(FILE* file, BOOL expectedRead, RResult expectedCode, int size = 4096) {
  std::vector<USHORT> line(static_cast<size_t>(size), 0x5A5A);
  line.back() = 0;
  RResult result = RESULT_ANY_ERROR;
  EXPECT_EQ(ReadUtf8Line(file, line.data(), size, &result), expectedRead);
  EXPECT_EQ(result, expectedCode);
  return expectedRead ? wide::Text(line.data()) : u"";
}

TEST(ReadUtf8Line, KeepsLineEndsAndSignalsTheEndWithSuccess) {
  MemoryStream stream("ab\r\nc");
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_SUCCEEDED), u"ab\r\n");
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_SUCCEEDED), u"c");
  NextLine(stream.file, FALSE, RESULT_SUCCEEDED);
  NextLine(stream.file, FALSE, RESULT_SUCCEEDED);
}

TEST(ReadUtf8Line, CutsLongLinesAt2047Bytes) {
  MemoryStream stream(std::string(3000, 'x') + "\n" + std::string(2047, 'y') + "\n");
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_SUCCEEDED).size(), 2047u);
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_SUCCEEDED), std::u16string(953, 'x') + u"\n");
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_SUCCEEDED), std::u16string(2047, 'y'));
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_SUCCEEDED), u"\n");
  NextLine(stream.file, FALSE, RESULT_SUCCEEDED);
}

TEST(ReadUtf8Line, ReportsALineThatDoesNotConvert) {
  MemoryStream stream("a\xC3\n\xE4\xBD\xA0\xE5\xA5\xBD\n");
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_INV_DATA), u"a");
  EXPECT_EQ(NextLine(stream.file, TRUE, RESULT_INV_DATA, 2), u"\x4F60");
}

TEST(ReadUtf8Line, RejectsBadArgumentsWithoutReading) {
  MemoryStream stream("abc\n");
  USHORT line[8];
  for (int size : {0, -1}) {
    RResult result = RESULT_SUCCEEDED;
    EXPECT_EQ(ReadUtf8Line(stream.file, line, size, &result), FALSE);
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
    EXPECT_EQ(ftell(stream.file), 0);
  }
}

// Sizes that an int cannot hold fail with RESULT_OUT_OF_MEMORY before
// anything is allocated or written.
constexpr size_t kTooLongToTriple = 715827882;  // 3 * n + 3 > INT_MAX

TEST(ConversionSizes, APositionTooLongToTripleFailsBeforeReading) {
  char szText[8] = "kept";
  RResult result = RESULT_SUCCEEDED;
  GetUtf8TextFromUtf16(wide::Buffer(u"ab").data(), static_cast<int>(kTooLongToTriple), szText,
                       &result);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  EXPECT_STREQ(szText, "kept");
}

TEST(ConversionSizes, BeyondTheIntLimitFailBeforeAllocating) {
  if (huge_text::TooCostlyHere()) GTEST_SKIP() << "ASan runs cover the rest";
  char* tail = huge_text::Map("");
  if (tail == nullptr) GTEST_SKIP() << "no address space for a 4 GiB text";
  const auto* wszEnd = reinterpret_cast<const USHORT*>(tail);  // units of 0x6161 before it
  alloc_failure::FailNth(0);
  RResult result = RESULT_SUCCEEDED;
  EXPECT_EQ(GetUTF16Text(tail - kTooLongToTriple, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(WcsLen(wszEnd - (size_t{1} << 31), &result), -1);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(CopyWString(wszEnd - INT_MAX, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  EXPECT_EQ(alloc_failure::Count(), 0);
  huge_text::Unmap(tail);
}

}  // namespace

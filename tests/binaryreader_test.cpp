#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "commonhelpers.h"
#include "support/alloc_failure.h"
#include "support/memory_stream.h"
#include "support/wide.h"

namespace {

// Every record is followed by this byte, which no reader may consume.
const std::string kNext = "\x55";

TEST(Read7BitEncodedInt, DecodesAndConsumesExactlyOneInteger) {
  struct Row {
    std::string bytes;
    int value;
  } rows[] = {
      {std::string(1, '\0'), 0},
      {"\x7F", 127},
      {"\x80\x01", 128},
      {"\xAC\x02", 300},
      {"\xFF\x7F", 16383},
      {"\x80\x80\x01", 16384},
      {"\xFF\xFF\xFF\xFF\x07", 2147483647},
      {"\xFF\xFF\xFF\xFF\x0F", -1},
      {"\xFF\xFF\xFF\xFF\x7F", -1},
      {"\x80\x80\x80\x80\x08", -2147483647 - 1},
      {std::string("\x80\0", 2), 0},
  };
  for (const Row& row : rows) {
    MemoryStream stream(row.bytes + kNext);
    RResult result = RESULT_ANY_ERROR;
    EXPECT_EQ(Read7BitEncodedInt(stream.file, &result), row.value);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    EXPECT_EQ(ftell(stream.file), static_cast<long>(row.bytes.size()));
  }
}

TEST(Read7BitEncodedInt, FailsOnAMissingByteOrASixthGroup) {
  struct Row {
    std::string bytes;
    long consumed;
  } rows[] = {{"", 0}, {"\x80", 1}, {"\xFF\xFF", 2}, {"\xFF\xFF\xFF\xFF\x8F" + kNext, 5}};
  for (const Row& row : rows) {
    MemoryStream stream(row.bytes);
    RResult result = RESULT_SUCCEEDED;
    EXPECT_EQ(Read7BitEncodedInt(stream.file, &result), -1);
    EXPECT_EQ(result, RESULT_INV_DATA);
    EXPECT_EQ(ftell(stream.file), row.consumed);
  }
}

TEST(Read7BitEncodedIntDeathTest, NullStreamIsFatal) {
  EXPECT_DEATH(Read7BitEncodedInt(nullptr, nullptr), "pfile != NULL");
}

TEST(GetBinWideString, ReadsEveryAnnouncedUnit) {
  struct Row {
    std::string bytes;
    std::u16string units;
  } rows[] = {{std::string(1, '\0'), u""},
              {std::string("\x04\x41\0\x42\0", 5), u"AB"},
              {std::string("\x06\x41\0\0\0\x42\0", 7), std::u16string(u"A\0B", 3)},
              {std::string("\x02\x60\x4F", 3), u"\x4F60"}};
  for (const Row& row : rows) {
    MemoryStream stream(row.bytes + kNext);
    RResult result = RESULT_ANY_ERROR;
    USHORT* wsz = GetBinWideString(stream.file, &result);
    ASSERT_NE(wsz, nullptr);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    EXPECT_EQ(std::u16string(wsz, wsz + row.units.size()), row.units);
    EXPECT_EQ(wsz[row.units.size()], 0);
    EXPECT_EQ(ftell(stream.file), static_cast<long>(row.bytes.size()));
    free(wsz);
  }
}

TEST(GetBinWideString, ReportsAFailedAllocation) {
  MemoryStream stream(std::string("\x02\x41\0", 3));
  RResult result = RESULT_SUCCEEDED;
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(GetBinWideString(stream.file, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

// Odd and negative counts are rejected before anything is allocated or read
// past the count; a short text gives back the partly filled buffer.
TEST(GetBinWideString, RejectsBadCountsAndShortTexts) {
  struct Row {
    std::string bytes;
    long consumed;
    bool buffer;
  } rows[] = {{"\x03"
               "abc",
               1, false},
              {"\xFE\xFF\xFF\xFF\x0F"
               "abcd",
               5, false},
              {"\x80", 1, false},
              {std::string("\x04\x41\0", 3), 3, true},
              {"\xFE\xFF\xFF\x01", 4, true}};
  for (const Row& row : rows) {
    MemoryStream stream(row.bytes);
    RResult result = RESULT_SUCCEEDED;
    USHORT* wsz = GetBinWideString(stream.file, &result);
    EXPECT_EQ(result, RESULT_INV_DATA);
    EXPECT_EQ(wsz != nullptr, row.buffer);
    EXPECT_EQ(ftell(stream.file), row.consumed);
    free(wsz);
  }
}

TEST(GetBinString, ConvertsUpToTheFirstZeroUnitIntoAZeroFilledBuffer) {
  struct Row {
    std::string bytes;
    std::string text;
    size_t size;
    RResult code;
  } rows[] = {{std::string(1, '\0'), "", 3, RESULT_SUCCEEDED},
              {std::string("\x04\x41\0\x42\0", 5), "AB", 9, RESULT_SUCCEEDED},
              {std::string("\x06\x41\0\0\0\x42\0", 7), "A", 6, RESULT_SUCCEEDED},
              {std::string("\x04\x60\x4F\x3D\xD8", 5), "\xE4\xBD\xA0", 9, RESULT_INV_DATA}};
  for (const Row& row : rows) {
    MemoryStream stream(row.bytes + kNext);
    RResult result = RESULT_ANY_ERROR;
    char* sz = GetBinString(stream.file, &result);
    ASSERT_NE(sz, nullptr);
    EXPECT_EQ(result, row.code);
    EXPECT_EQ(sz, row.text);
    for (size_t i = row.text.size(); i < row.size; ++i) EXPECT_EQ(sz[i], 0);
    EXPECT_EQ(ftell(stream.file), static_cast<long>(row.bytes.size()));
    free(sz);
  }
}

TEST(GetBinString, ReleasesTheWideTextOnEveryFailure) {
  for (const std::string& bytes : {std::string("\x03"
                                               "abc"),
                                   std::string("\x04\x41", 2)}) {
    MemoryStream stream(bytes);
    RResult result = RESULT_SUCCEEDED;
    EXPECT_EQ(GetBinString(stream.file, &result), nullptr);
    EXPECT_EQ(result, RESULT_INV_DATA);
  }
  RResult result = RESULT_SUCCEEDED;
  EXPECT_EQ(GetBinString(nullptr, &result), nullptr);
  EXPECT_EQ(result, RESULT_INV_ARGUMENT);

  char* sz = nullptr;
  const long allocations = alloc_failure::ForEachFailure(
      [&] {
        MemoryStream stream(std::string("\x04\x41\0\x42\0", 5));
        sz = GetBinString(stream.file, &result);
      },
      [&](long failed) {
        EXPECT_EQ(result, failed == 0 ? RESULT_SUCCEEDED : RESULT_OUT_OF_MEMORY);
        EXPECT_EQ(sz != nullptr, failed == 0);
        free(sz);
      });
  EXPECT_EQ(allocations, 2);
}

TEST(ReadBinBool, ReturnsTheByteAsASignedValue) {
  const std::pair<char, BOOL> rows[] = {
      {'\x00', 0}, {'\x01', 1}, {'\x02', 2}, {'\xFF', -1}, {'\x80', -128}};
  for (auto [byte, expected] : rows) {
    MemoryStream stream(std::string(1, byte) + kNext);
    RResult result = RESULT_ANY_ERROR;
    EXPECT_EQ(ReadBinBool(stream.file, &result), expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    EXPECT_EQ(ftell(stream.file), 1);
  }
  MemoryStream empty("");
  RResult result = RESULT_SUCCEEDED;
  EXPECT_EQ(ReadBinBool(empty.file, &result), FALSE);
  EXPECT_EQ(result, RESULT_INV_DATA);
  EXPECT_EQ(ReadBinBool(nullptr, &result), FALSE);
  EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  EXPECT_EQ(ReadBinBool(nullptr, nullptr), FALSE);
}

}  // namespace

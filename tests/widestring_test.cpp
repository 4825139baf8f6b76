#include <gtest/gtest.h>

#include <cstdlib>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/wide.h"

namespace {

constexpr USHORT kCanary = 0xCCCC;

TEST(WcsLen, CountsUnitsBeforeTheFirstZero) {
  struct Row {
    std::u16string text;
    int expected;
  } rows[] = {{u"", 0}, {u"abc", 3}, {std::u16string(u"a\0b", 3), 1}, {u"\xFFFF\xD800", 2}};
  for (const Row& row : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(WcsLen(wide::Buffer(row.text).data(), &result), row.expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
}

TEST(WcsCpy, WritesOnlyWhenTextAndTerminatorFit) {
  struct Row {
    std::u16string source;
    int capacity;
    RResult expected;
  } rows[] = {{u"abc", 4, RESULT_SUCCEEDED},
              {u"abc", 3, RESULT_INV_DATA},
              {u"", 1, RESULT_SUCCEEDED},
              {u"", 0, RESULT_INV_DATA},
              {u"abc", -1, RESULT_INV_ARGUMENT}};
  for (const Row& row : rows) {
    std::vector<USHORT> dest(8, kCanary);
    RResult result = RESULT_SUCCEEDED;
    WcsCpy(dest.data(), row.capacity, wide::Buffer(row.source).data(), &result);
    EXPECT_EQ(result, row.expected) << row.capacity;
    const size_t written = row.expected == RESULT_SUCCEEDED ? row.source.size() + 1 : 0;
    if (written != 0) {
      EXPECT_EQ(wide::Text(dest.data()), row.source);
    }
    for (size_t i = written; i < dest.size(); ++i) EXPECT_EQ(dest[i], kCanary) << i;
  }
}

TEST(WcsCpy, CopiesOverlappingBuffersAsIfThroughATemporary) {
  std::vector<USHORT> buffer = wide::Buffer(u"xabcd");
  WcsCpy(buffer.data(), 6, buffer.data() + 1, nullptr);
  EXPECT_EQ(wide::Text(buffer.data()), u"abcd");
  buffer = wide::Buffer(u"abc\0\0\0");
  WcsCpy(buffer.data() + 2, 4, buffer.data(), nullptr);
  EXPECT_EQ(wide::Text(buffer.data()), u"ababc");
}

TEST(WcsCatch, JoinsIntoANewBufferAndReleasesTheFirst) {
  RResult result = RESULT_INV_DATA;
  USHORT* wsz = WcsCatch(nullptr, wide::Buffer(u"ab").data(), &result);
  ASSERT_NE(wsz, nullptr);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  // Growing one text: each call frees the buffer of the call before (ASan
  // reports a leak or a double free otherwise).
  for (int i = 0; i < 100; ++i) wsz = WcsCatch(wsz, wide::Buffer(u"cd").data(), nullptr);
  EXPECT_EQ(WcsLen(wsz, nullptr), 202);
  EXPECT_EQ(wide::Text(wsz).substr(0, 6), u"abcdcd");
  // The second text may point into the first.
  wsz = WcsCatch(wsz, wsz + 196, &result);
  EXPECT_EQ(WcsLen(wsz, nullptr), 208);
  EXPECT_EQ(wide::Text(wsz + 200), u"cdcdcdcd");
  free(wsz);

  wsz = WcsCatch(wide::Heap(u""), wide::Buffer(u"").data(), &result);
  ASSERT_NE(wsz, nullptr);
  EXPECT_EQ(wsz[0], 0);
  free(wsz);
}

TEST(WcsCatch, KeepsTheFirstTextOnFailure) {
  USHORT* wszSrc = wide::Heap(u"ab");
  RResult result = RESULT_SUCCEEDED;
  EXPECT_EQ(WcsCatch(wszSrc, nullptr, &result), nullptr);
  EXPECT_EQ(result, RESULT_INV_ARGUMENT);
  EXPECT_EQ(wide::Text(wszSrc), u"ab");

  USHORT* wszDest = nullptr;
  alloc_failure::ForEachFailure(
      [&] { wszDest = WcsCatch(wszSrc, wide::Buffer(u"cd").data(), &result); },
      [&](long failed) {
        if (failed == 0) {
          EXPECT_EQ(result, RESULT_SUCCEEDED);
          EXPECT_EQ(wide::Text(wszDest), u"abcd");
          wszSrc = wszDest;
        } else {
          EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
          EXPECT_EQ(wszDest, nullptr);
          EXPECT_EQ(wide::Text(wszSrc).substr(0, 2), u"ab");
        }
      });
  free(wszSrc);
}

TEST(WcsNCmp, ReturnsTheDifferenceWhereTheWalkStopped) {
  struct Row {
    std::u16string left, right;
    int count, expected;
  } rows[] = {
      {u"abc", u"abd", 2, 0},      {u"abc", u"abd", 3, -1}, {u"ab", u"abc", 5, -99},
      {u"\xFFFF", u"A", 1, 65470}, {u"b", u"a", 1, 1},      {u"abc", u"abc", 10, 0},
      {u"abc", u"abd", -1, -1},    {u"abc", u"abc", -7, 0}, {u"", u"", 1, 0},
  };
  for (const Row& row : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(
        WcsNCmp(wide::Buffer(row.left).data(), wide::Buffer(row.right).data(), row.count, &result),
        row.expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
}

TEST(CopyWString, DuplicatesIntoAnExactBuffer) {
  for (std::u16string text : {u"", u"x", u"\x4F60\x597D, world"}) {
    RResult result = RESULT_INV_DATA;
    USHORT* wsz = CopyWString(wide::Buffer(text).data(), &result);
    ASSERT_NE(wsz, nullptr);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
    EXPECT_EQ(wide::Text(wsz), text);
    free(wsz);
  }
  RResult result = RESULT_SUCCEEDED;
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(CopyWString(wide::Buffer(u"ab").data(), &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include <commonhelpers/commonhelpers.h>
#include "support/alloc_failure.h"
#include "support/wide.h"

namespace {

TEST(WcsLen, CountsUnitsBeforeTheFirstZero) {
  const std::pair<std::u16string, int> rows[] = {
      {u"", 0}, {u"abc", 3}, {std::u16string(u"a\0b", 3), 1}, {u"\xFFFF\xD800", 2}};
  for (const auto& [text, expected] : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(WcsLen(wide::Buffer(text).data(), &result), expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
}

// Nothing is written unless the text and its terminator fit.
TEST(WcsCpy, WritesOnlyWhenTextAndTerminatorFit) {
  const std::tuple<std::u16string, int, RResult> rows[] = {{u"abc", 4, RESULT_SUCCEEDED},
                                                           {u"abc", 3, RESULT_INV_DATA},
                                                           {u"", 1, RESULT_SUCCEEDED},
                                                           {u"", 0, RESULT_INV_DATA},
                                                           {u"abc", -1, RESULT_INV_ARGUMENT}};
  for (const auto& [source, capacity, code] : rows) {
    std::vector<USHORT> dest(8, 0xCCCC), expected(8, 0xCCCC);
    RResult result = RESULT_SUCCEEDED;
    WcsCpy(dest.data(), capacity, wide::Buffer(source).data(), &result);
    EXPECT_EQ(result, code) << capacity;
    if (code == RESULT_SUCCEEDED) std::copy(source.begin(), source.end() + 1, expected.begin());
    EXPECT_EQ(dest, expected) << capacity;
  }
  // Overlapping buffers copy as if through a temporary.
  std::vector<USHORT> buffer = wide::Buffer(u"abc\0\0\0");
  WcsCpy(buffer.data() + 2, 4, buffer.data(), nullptr);
  EXPECT_EQ(wide::Text(buffer.data()), u"ababc");
  WcsCpy(buffer.data(), 6, buffer.data() + 1, nullptr);
  EXPECT_EQ(wide::Text(buffer.data()), u"babc");
}

// Each call frees the first text on success only (ASan reports a leak or a
// double free otherwise); the second text may point into the first.
TEST(WcsCatch, JoinsIntoANewBufferAndReleasesTheFirstOnSuccess) {
  RResult result = RESULT_INV_DATA;
  USHORT* wsz = WcsCatch(nullptr, wide::Buffer(u"ab").data(), &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  for (int i = 0; i < 100; ++i) wsz = WcsCatch(wsz, wide::Buffer(u"cd").data(), nullptr);
  wsz = WcsCatch(wsz, wsz + 196, nullptr);
  EXPECT_EQ(wide::Text(wsz).substr(0, 6), u"abcdcd");
  EXPECT_EQ(wide::Text(wsz).substr(196), u"cdcdcdcdcdcd");
  USHORT* joined = nullptr;
  alloc_failure::ForEachFailure([&] { joined = WcsCatch(wsz, wide::Buffer(u"").data(), &result); },
                                [&](long failed) {
                                  if (failed) {
                                    EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
                                    EXPECT_EQ(joined, nullptr);
                                  } else {
                                    EXPECT_EQ(result, RESULT_SUCCEEDED);
                                    wsz = joined;
                                  }
                                  EXPECT_EQ(WcsLen(wsz, nullptr), 208);
                                });
  free(wsz);
}

TEST(WcsNCmp, ReturnsTheDifferenceWhereTheWalkStopped) {
  const std::tuple<std::u16string, std::u16string, int, int> rows[] = {
      {u"abc", u"abd", 2, 0},      {u"abc", u"abd", 3, -1}, {u"ab", u"abc", 5, -99},
      {u"\xFFFF", u"A", 1, 65470}, {u"b", u"a", 1, 1},      {u"abc", u"abc", 10, 0},
      {u"abc", u"abd", -1, -1},    {u"abc", u"abc", -7, 0}, {u"", u"", 1, 0}};
  for (const auto& [left, right, count, expected] : rows) {
    RResult result = RESULT_INV_DATA;
    EXPECT_EQ(WcsNCmp(wide::Buffer(left).data(), wide::Buffer(right).data(), count, &result),
              expected);
    EXPECT_EQ(result, RESULT_SUCCEEDED);
  }
}

TEST(CopyWString, DuplicatesIntoANewBufferOrReturnsNull) {
  const std::u16string text = u"\x4F60\x597D, world";
  RResult result = RESULT_INV_DATA;
  USHORT* wsz = CopyWString(wide::Buffer(text).data(), &result);
  EXPECT_EQ(result, RESULT_SUCCEEDED);
  EXPECT_EQ(wide::Text(wsz), text);
  free(wsz);
  alloc_failure::FailNth(1);
  EXPECT_EQ(CopyWString(wide::Buffer(text).data(), &result), nullptr);
  alloc_failure::FailNth(0);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
}

}  // namespace

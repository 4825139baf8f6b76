#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <commonhelpers/stringconverter.h>

namespace {

template <typename Unit>
constexpr UtfType TypeOf() {
  return sizeof(Unit) == 1 ? UTF_8 : sizeof(Unit) == 2 ? UTF_16 : UTF_32;
}

template <typename Unit>
struct Converted {
  RResult result;
  std::basic_string<Unit> text;
};

// Converts `src` from an exact-size heap copy (so that ASan sees any read past
// its terminator) into a destination of `dstSize` units followed by canaries,
// and checks that nothing after the terminator was written.
template <typename Dst, typename Src>
Converted<Dst> Convert(const std::basic_string<Src>& src, int dstSize) {
  std::unique_ptr<Src[]> source(new Src[src.size() + 1]);
  std::copy(src.begin(), src.end(), source.get());
  source[src.size()] = 0;
  const Dst kCanary = static_cast<Dst>(0x5A);
  std::vector<Dst> dst(static_cast<size_t>(dstSize) + 4, kCanary);
  Converted<Dst> out{RESULT_ANY_ERROR, {}};
  ConvertUtfString(source.get(), TypeOf<Src>(), dst.data(), dstSize, TypeOf<Dst>(), &out.result);
  size_t end = 0;
  while (end < dst.size() && dst[end] != 0) ++end;
  EXPECT_LT(end, static_cast<size_t>(dstSize)) << "no terminator inside the destination";
  for (size_t k = end + 1; k < dst.size(); ++k) EXPECT_EQ(dst[k], kCanary) << "unit " << k;
  out.text.assign(dst.begin(), dst.begin() + static_cast<std::ptrdiff_t>(end));
  return out;
}

std::u16string U16(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

TEST(ConvertUtfString, RejectsMalformedUtf8AndKeepsThePrefixBeforeIt) {
  struct Row {
    std::string bytes;
    std::u16string prefix;
  } rows[] = {
      {"a\x80z", u"a"},
      {"\xBF", u""},
      {"a\xC0\x80", u"a"},
      {"\xC1\xBF", u""},
      {"x\xF5\x80\x80\x80", u"x"},
      {"\xFF", u""},
      {"ab\xE0\x80\x80", u"ab"},
      {"\xE0\x9F\xBF", u""},
      {"\xF0\x80\x80\x80", u""},
      {"\xF0\x8F\xBF\xBF", u""},
      {"\xC3\xA9\xED\xA0\x80", u"\u00E9"},
      {"\xED\xBF\xBF", u""},
      {"\xF4\x90\x80\x80", u""},
      {"a\xC3", u"a"},
      {"a\xE4\xBD", u"a"},
      {"\xE4\xBDz", u""},
      {"\xF0\x9F\x98", u""},
      {"\xF0\x9F\x98z", u""},
      {"\xC3z", u""},
      {"abcdefghijklmnopqrstu\x80", U16("abcdefghijklmnopqrstu")},
  };
  for (const Row& row : rows) {
    const Converted<char16_t> out = Convert<char16_t>(row.bytes, 64);
    EXPECT_EQ(out.result, RESULT_INV_DATA) << row.bytes;
    EXPECT_EQ(out.text, row.prefix) << row.bytes;
    EXPECT_EQ(Convert<char>(row.bytes, 64).text, Convert<char>(row.prefix, 64).text);
    EXPECT_EQ(Convert<char32_t>(row.bytes, 64).text, Convert<char32_t>(row.prefix, 64).text);
  }
}

TEST(ConvertUtfString, AcceptsTheEdgesOfTheWellFormedRanges) {
  const std::string bytes = "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF\xEF\xBB\xBF\xC2\x80";
  const Converted<char32_t> out = Convert<char32_t>(bytes, 16);
  EXPECT_EQ(out.result, RESULT_SUCCEEDED);
  EXPECT_EQ(out.text, std::u32string({0xD7FF, 0xE000, 0x10FFFF, 0xFEFF, 0x80}));
}

TEST(ConvertUtfString, RejectsLoneSurrogatesAndOutOfRangeValues) {
  struct Row16 {
    std::u16string units, prefix;
  } rows16[] = {{u"a\xD800", u"a"},
                {u"\xD800z", u""},
                {u"ab\xDC00", u"ab"},
                {u"a\xDC00\xDC00", u"a"},
                {u"x\xD800\xE000", u"x"},
                {u"a\xDBFF\xDBFF\xDC00", u"a"},
                {u"\xDBFF\xDFFFz\xDFFF", u"\xDBFF\xDFFFz"}};
  for (const Row16& row : rows16) {
    const Converted<char> out = Convert<char>(row.units, 64);
    EXPECT_EQ(out.result, RESULT_INV_DATA);
    EXPECT_EQ(out.text, Convert<char>(row.prefix, 64).text);
    EXPECT_EQ(Convert<char16_t>(row.units, 64).text, row.prefix);
  }
  for (char32_t bad :
       {char32_t(0x110000), char32_t(0xD800), char32_t(0xDFFF), char32_t(0xFFFFFFFF)}) {
    const Converted<char16_t> out = Convert<char16_t>(std::u32string({'o', 'k', bad, 'x'}), 64);
    EXPECT_EQ(out.result, RESULT_INV_DATA);
    EXPECT_EQ(out.text, u"ok");
  }
}

// Every type pair, both ways, across the boundaries of the UTF-8 and UTF-16
// forms; a byte-order mark is an ordinary character.
TEST(ConvertUtfString, RoundTripsEveryPairAcrossTheEncodingBoundaries) {
  const std::u32string text = {0x7F,   0x80,   0x7FF,   0x800,    0xD7FF, 0xE000,
                               0xFEFF, 0xFFFF, 0x10000, 0x10FFFF, 'a',    0x4F60};
  const std::string utf8 = Convert<char>(text, 64).text;
  const std::u16string utf16 = Convert<char16_t>(text, 64).text;
  EXPECT_EQ(utf8.size(), 1 + 2 + 2 + 3 + 3 + 3 + 3 + 3 + 4 + 4 + 1 + 3u);
  EXPECT_EQ(utf16.size(), text.size() + 2);
  EXPECT_EQ(utf8.substr(0, 3), "\x7F\xC2\x80");
  EXPECT_EQ(Convert<char>(utf16, 64).text, utf8);
  EXPECT_EQ(Convert<char>(utf8, 64).text, utf8);
  EXPECT_EQ(Convert<char16_t>(utf8, 64).text, utf16);
  EXPECT_EQ(Convert<char16_t>(utf16, 64).text, utf16);
  EXPECT_EQ(Convert<char32_t>(utf8, 64).text, text);
  EXPECT_EQ(Convert<char32_t>(utf16, 64).text, text);
  EXPECT_EQ(Convert<char32_t>(text, 64).text, text);
  EXPECT_EQ(Convert<char32_t>(text, 64).result, RESULT_SUCCEEDED);
  std::u32string longText;  // characters across the edges of the stretches UTF-8 is scanned in
  for (int k = 0; k < 1500; ++k) longText += text;
  const int room = static_cast<int>(longText.size() * 4 + 1);
  EXPECT_EQ(Convert<char32_t>(Convert<char>(longText, room).text, room).text, longText);
}

// For every destination size, the longest prefix of whole characters that
// fits in dstSize - 1 units; success exactly when all of it fits.
TEST(ConvertUtfString, NeverSplitsACharacterWhenTheDestinationIsShort) {
  const std::u32string chars = {'a', 0xE9, 0x4F60, 0x1F600, 'b'};
  auto check = [&](auto unit) {
    using Dst = decltype(unit);
    const std::basic_string<Dst> whole = Convert<Dst>(chars, 32).text;
    for (int size = 1; size <= static_cast<int>(whole.size()) + 1; ++size) {
      std::basic_string<Dst> expected;
      for (char32_t c : chars) {
        const std::basic_string<Dst> next = expected + Convert<Dst>(std::u32string(1, c), 8).text;
        if (next.size() > static_cast<size_t>(size - 1)) break;
        expected = next;
      }
      const Converted<Dst> out = Convert<Dst>(chars, size);
      EXPECT_EQ(out.text, expected) << size;
      EXPECT_EQ(out.result, expected == whole ? RESULT_SUCCEEDED : RESULT_INV_DATA) << size;
    }
  };
  check(char{});
  check(char16_t{});
  check(char32_t{});
}

TEST(ConvertUtfString, RejectsBadArgumentsWithoutWriting) {
  char16_t dst[4] = {7, 7, 7, 7};
  struct Row {
    const void* src;
    UtfType srcType;
    void* dst;
    int size;
    UtfType dstType;
  } rows[] = {{nullptr, UTF_8, dst, 4, UTF_16},
              {"a", UTF_8, nullptr, 4, UTF_16},
              {"a", UTF_8, dst, 0, UTF_16},
              {"a", UTF_8, dst, -1, UTF_16},
              {"a", static_cast<UtfType>(3), dst, 4, UTF_16},
              {"a", UTF_8, dst, 4, static_cast<UtfType>(0)}};
  for (const Row& row : rows) {
    RResult result = RESULT_SUCCEEDED;
    ConvertUtfString(row.src, row.srcType, row.dst, row.size, row.dstType, &result);
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
    EXPECT_EQ(std::u16string(dst, 4), std::u16string(4, 7));
  }
  ConvertUtfString("a", UTF_8, dst, 4, UTF_16, nullptr);
  EXPECT_EQ(dst[0], u'a');
}

}  // namespace

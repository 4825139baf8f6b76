#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <commonhelpers/stringconverter.h>

namespace {

// The result code and the text written.
template <typename Unit>
using Converted = std::pair<RResult, std::basic_string<Unit>>;

// The encoding form of a string of each unit type.
constexpr UtfType UtfTypeOf(const char*) { return UTF_8; }
constexpr UtfType UtfTypeOf(const char16_t*) { return UTF_16; }
constexpr UtfType UtfTypeOf(const char32_t*) { return UTF_32; }

// Converts `src` from an exact-size heap copy (so that ASan sees any read past
// its terminator) into a destination of `dstSize` units followed by canaries,
// and checks that nothing after the terminator was written.
template <typename Dst, typename Src>
Converted<Dst> Convert(const std::basic_string<Src>& src, int dstSize = 64) {
  std::vector<Src> source(src.c_str(), src.c_str() + src.size() + 1);
  std::vector<Dst> dst(static_cast<size_t>(dstSize) + 4, static_cast<Dst>(0x5A));
  Converted<Dst> out{RESULT_ANY_ERROR, {}};
  ConvertUtfString(source.data(), UtfTypeOf(source.data()), dst.data(), dstSize,
                   UtfTypeOf(dst.data()), &out.first);
  const size_t end = std::find(dst.begin(), dst.end(), Dst{0}) - dst.begin();
  EXPECT_LT(end, static_cast<size_t>(dstSize)) << "no terminator inside the destination";
  EXPECT_EQ(std::vector<Dst>(dst.begin() + end + 1, dst.end()),
            std::vector<Dst>(dst.size() - std::min(dst.size(), end + 1), static_cast<Dst>(0x5A)));
  out.second.assign(dst.begin(), dst.begin() + static_cast<std::ptrdiff_t>(end));
  return out;
}

// Every malformed form, with the prefix before it that each destination type keeps.
TEST(ConvertUtfString, RejectsMalformedUtf8AndKeepsThePrefixBeforeIt) {
  const std::pair<std::string, std::string> rows[] = {
      {"a\x80z", "a"},
      {"\xC1\xBF", ""},
      {"x\xF5\x80\x80\x80", "x"},
      {"ab\xE0\x80\x80", "ab"},
      {"\xE0\x9F\xBF", ""},
      {"\xF0\x8F\xBF\xBF", ""},
      {"\xC3\xA9\xED\xA0\x80", "\xC3\xA9"},
      {"\xF4\x90\x80\x80", ""},
      {"a\xC3", "a"},
      {"a\xE4\xBD", "a"},
      {"\xE4\xBDz", ""},
      {"\xC3z", ""},
      {"a\xC3\xC0", "a"},
      {"abcdefghijklmnopqrstu\xED\xBF\xBF", "abcdefghijklmnopqrstu"}};
  for (const auto& [bytes, prefix] : rows) {
    const Converted<char16_t> out = Convert<char16_t>(bytes);
    EXPECT_EQ(out.first, RESULT_INV_DATA) << bytes;
    EXPECT_EQ(out.second, Convert<char16_t>(prefix).second) << bytes;
    EXPECT_EQ(Convert<char>(bytes).second, prefix);
    EXPECT_EQ(Convert<char32_t>(bytes).second, Convert<char32_t>(prefix).second);
  }
}

TEST(ConvertUtfString, RejectsLoneSurrogatesAndOutOfRangeValues) {
  const std::pair<std::u16string, std::u16string> rows[] = {
      {u"a\xD800", u"a"},
      {u"\xD800z", u""},
      {u"ab\xDC00", u"ab"},
      {u"a\xDC00\xDC00", u"a"},
      {u"x\xD800\xE000", u"x"},
      {u"a\xDBFF\xDBFF\xDC00", u"a"},
      {u"\xDBFF\xDFFFz\xDFFF", u"\xDBFF\xDFFFz"}};
  for (const auto& [units, prefix] : rows) {
    const Converted<char> out = Convert<char>(units);
    EXPECT_EQ(out.first, RESULT_INV_DATA);
    EXPECT_EQ(out.second, Convert<char>(prefix).second);
    EXPECT_EQ(Convert<char16_t>(units).second, prefix);
  }
  for (char32_t bad :
       {char32_t(0x110000), char32_t(0xD800), char32_t(0xDFFF), char32_t(0xFFFFFFFF)}) {
    const Converted<char16_t> out = Convert<char16_t>(std::u32string({'o', 'k', bad, 'x'}));
    EXPECT_EQ(out.first, RESULT_INV_DATA);
    EXPECT_EQ(out.second, u"ok");
  }
}

// Every type pair, both ways, across the boundaries of the UTF-8 and UTF-16 forms (a byte-order
// mark is an ordinary character), with a short character after each long one: the known encoding
// with room to spare, and into every smaller size the longest prefix of whole characters that fits
// in dstSize - 1 units, with success exactly when all of it fits.
TEST(ConvertUtfString, ConvertsEveryPairIntoEverySizeWithoutSplittingACharacter) {
  const std::u32string text = {0x7F,   0x80,   0x7FF, 'x',     0x800,   0xD7FF,   0xE000,
                               0xFEFF, 0xFFFF, 'y',   0x10000, 0x1F600, 0x10FFFF, 'z'};
  const std::string utf8 =
      "\x7F\xC2\x80\xDF\xBFx\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBB\xBF\xEF\xBF\xBFy"
      "\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBFz";
  const std::u16string utf16 =
      u"\x7F\x80\x7FFx\x800\xD7FF\xE000\xFEFF\xFFFFy\xD800\xDC00\xD83D\xDE00\xDBFF\xDFFFz";
  auto check = [&](const auto& source, const auto& whole) {
    using Dst = typename std::decay_t<decltype(whole)>::value_type;
    EXPECT_EQ(Convert<Dst>(source).second, whole);
    for (int size = 1; size <= static_cast<int>(whole.size()) + 1; ++size) {
      std::basic_string<Dst> expected;
      for (char32_t c : text) {
        const std::basic_string<Dst> next = expected + Convert<Dst>(std::u32string(1, c)).second;
        if (next.size() > static_cast<size_t>(size - 1)) break;
        expected = next;
      }
      const Converted<Dst> out = Convert<Dst>(source, size);
      EXPECT_EQ(out.second, expected) << size;
      EXPECT_EQ(out.first, expected == whole ? RESULT_SUCCEEDED : RESULT_INV_DATA) << size;
    }
  };
  auto intoEachForm = [&](const auto& source) {
    check(source, utf8);
    check(source, utf16);
    check(source, text);
  };
  intoEachForm(utf8);
  intoEachForm(utf16);
  intoEachForm(text);
  std::u32string longText;  // characters across the edges of the stretches UTF-8 is scanned in
  for (int k = 0; k < 1500; ++k) longText += text;
  const int room = static_cast<int>(longText.size() * 4 + 1);
  EXPECT_EQ(Convert<char32_t>(Convert<char>(longText, room).second, room).second, longText);
}

TEST(ConvertUtfString, RejectsBadArgumentsWithoutWriting) {
  char16_t dst[4] = {7, 7, 7, 7};
  const std::tuple<UtfType, int, UtfType> rows[] = {{UTF_8, 0, UTF_16},
                                                    {static_cast<UtfType>(3), 4, UTF_16},
                                                    {UTF_8, 4, static_cast<UtfType>(0)}};
  for (const auto& [srcType, size, dstType] : rows) {
    RResult result = RESULT_SUCCEEDED;
    ConvertUtfString("a", srcType, dst, size, dstType, &result);
    EXPECT_EQ(result, RESULT_INV_ARGUMENT);
    EXPECT_EQ(std::u16string(dst, 4), std::u16string(4, 7));
  }
  ConvertUtfString("a", UTF_8, dst, 4, UTF_16, nullptr);
  EXPECT_EQ(dst[0], u'a');
}

}  // namespace

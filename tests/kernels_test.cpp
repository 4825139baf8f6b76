#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "kernels/halfwidth.h"
#include "support/kernel_diff.h"
#include "support/platform.h"

namespace {

using commonhelpers_internal::RunEnd;
using kernel_diff::Kernels;
using kernel_diff::Levels;
using kernel_diff::ThreeBytesOf;

// Levels() in order: the characters its Chinese shape takes at a time, from a text of how many
// bytes, and whether it also takes a Chinese text's last characters, fewer than a group, at once.
struct Level {
  std::string name;
  size_t group, shortest;
  bool takesTheEnd;
};
const Level kLevels[] = {{"scalar", 1, 0, true},
                         {"sse2", 8, 0, false},
                         {"avx2", 16, 64, true},
                         {"avx512", 32, 0, false}};

// Runs of one plain piece, long enough for whole blocks of the widest level,
// each ended by a rare one (and in half of the texts some ASCII at the end): a full-width space or
// digit, a four-byte character, or the malformed (a stray continuation, a lone lead, an overlong
// form, an encoded surrogate, a byte that never occurs, a lead cut short).
TEST(Kernels, EveryLevelAgreesWithTheScalarTwinsOnRandomText) {
  const std::vector<std::string> kPlain = {
      "a",           "Hello, world. ", "\xC2\x80", "\xE4\xBD\xA0", "\xE6\x96\x87\xE5\xAD\x97",
      "\xEF\xBC\xA1"};
  const std::vector<std::string> kRare = {"\xE3\x80\x80", "\xE2\x91\xA0", "\xF0\x9F\x98\x80",
                                          "\x80",         "\xE4",         "\xE0\x80\xAF",
                                          "\xED\xA0\x80", "\xFF",         "\xEF\xBC"};
  std::mt19937 random(5);
  for (int round = 0; round < 1000; ++round) {
    std::string text;
    for (size_t k = random() % 6; k > 0; --k) {
      const std::string& plain = kPlain[random() % kPlain.size()];
      for (size_t n = random() % 50; n > 0; --n) text += plain;
      text += kRare[random() % kRare.size()];
    }
    text.append(round % 2 * (random() % 200), 'a');
    ASSERT_EQ(kernel_diff::Differences(text, random()), "") << testing::PrintToString(text);
  }
}

// Every character of three bytes but the surrogates, each after an ASCII
// letter: every level's table and range checks over all of them. And each
// that fullToHalf changes after two blocks of Chinese text, which stay as
// they are: the blocks after such a block are first tested by a filter of
// their own.
TEST(Kernels, EveryLevelAgreesWithTheScalarOneOnEveryThreeByteCharacter) {
  std::string text, changing, chinese;
  for (int k = 0; k < 43; ++k) chinese += "\xE4\xBD\xA0";  // two blocks and one byte more
  for (uint32_t cp = 0x800; cp <= 0xFFFF; cp += cp == 0xD7FF ? 0x801 : 1) {
    const std::string c = ThreeBytesOf(cp);
    text += 'x' + c;
    if (commonhelpers_internal::HalfWidthOf(cp) != 0) changing += chinese + c;
  }
  EXPECT_EQ(kernel_diff::Differences(text, 7), "");
  EXPECT_EQ(kernel_diff::Differences(changing, 8), "");
}

// A lead cut short by a character that changes, after every number of bytes
// of Chinese text: the lead takes that character's first bytes as its own, so
// nothing changes, also where the two meet across blocks. And cut short by
// blocks of ASCII, after every number of ASCII bytes: the conversion stops
// there, and U+0080 (the first unit that is not ASCII) in its place is taken.
// The last cut is a lead of three cut short by a lead of two, itself cut short.
TEST(Kernels, ALeadCutShortSwallowsTheStartOfTheCharacterAfterIt) {
  for (size_t before = 0; before < 192; ++before) {
    for (const char* cut : {"\xE4", "\xE4\xBD", "\xC2\x80", "\xE4\xBD\xC3"}) {
      std::string text(before % 3, 'a');
      for (size_t k = before / 3; k > 0; --k) text += "\xE4\xBD\xA0";
      text += std::string(cut) + "\xE3\x80\x80" + text;
      ASSERT_EQ(kernel_diff::Differences(text, before), "") << before << " " << cut;
      text = std::string(before, 'a') + cut + std::string(192, 'a');
      ASSERT_EQ(kernel_diff::Differences(text, before), "") << before << " " << cut << " ASCII";
    }
  }
}

// After every number of ASCII bytes, a continuation byte that no lead claims before more of them,
// or a character cut short by the end of the text: every level stops right before it, also where
// nothing else in its block is at fault and where the text is one whole block.
TEST(Kernels, EveryLevelStopsRightBeforeAStrayByteOrACharacterCutShortByTheEnd) {
  for (size_t before = 0; before < 192; ++before) {
    const std::string after(192, before % 2 ? 'a' : 'b');
    for (const std::string& piece : {"\x80" + after, "\xBF" + after, std::string("\xC3"),
                                     std::string("\xE4"), std::string("\xE4\xBD")}) {
      ASSERT_EQ(kernel_diff::Differences(std::string(before, 'a') + piece, before), "")
          << before << " " << testing::PrintToString(piece.substr(0, 2));
    }
  }
}

// Characters of every length and edge that the runs take, with their UTF-16
// units; what the runs must stop before (the last three only end a text).
const std::pair<std::string, char16_t> kCharacters[] = {{"a", u'a'},
                                                        {"\x7F", 0x7F},
                                                        {"\xC2\x80", 0x80},
                                                        {"\xDF\xBF", 0x7FF},
                                                        {"\xE0\xA0\x80", 0x800},
                                                        {"\xED\x9F\xBF", 0xD7FF},
                                                        {"\xEE\x80\x80", 0xE000},
                                                        {"\xEF\xBF\xBF", 0xFFFF},
                                                        {"\xE4\xBD\xA0", 0x4F60}};
const std::string kNotUtf8[] = {"\xF0\xA0\x80\x80", "\x80",         "\xC0\x80",     "\xC1\xBF",
                                "\xE0\x9F\xBF",     "\xED\xA0\x80", "\xED\xBF\xBF", "\xFF",
                                "\xC3\x61",         "\xE4\xBD\x61", "\xE4\xBD",     "\xC3"};
const std::u16string kNotUtf16[] = {u"\xD800", u"\xDBFF", u"\xDC00", u"\xDFFF"};
// fullToHalf's units and what they become.
const std::pair<std::string, std::string> kUnits[] = {{"a", "a"},
                                                      {"\xEF\xBC\xA1", "A"},
                                                      {"\xE3\x80\x80", " "},
                                                      {"\xE2\x91\xA0", "1"},
                                                      {"\xE2\x80\x93", "-"},
                                                      {"\xEF\xBD\x9E", "~"},
                                                      {"\xC3\xA9", "\xC3\xA9"},
                                                      {"\x80", "\x80"},
                                                      {"\xE4\xBD\xA0", "\xE4\xBD\xA0"},
                                                      {"\xEF\xBC\x8C", "\xEF\xBC\x8C"}};
const std::string kNotHalfWidth[] = {"\xE4\xE4\xE4", "\xEF\xE3\x80", "\xE3\x80\xE3",
                                     "\xEF\xBC",     "\xE3",         "\xE4\xBD"};

// Each level's Chinese shape alone, on three-byte characters of every edge, in half of the texts
// followed by a piece it must not take (and at every length about one block, followed by each and
// then by ASCII to one whole block): of the characters that the scalar level takes, it takes every
// whole group of its size from a text long enough (all when they are the whole text, at a level
// that takes the end) and no more, and writes their units and nothing after them; and the run
// takes what the scalar level's does (a sentence's groups leave the rest to a plan of its own).
TEST(Kernels, ChineseShapeTakesEveryWholeGroupOfChineseText) {
  std::mt19937 random(11);
  std::vector<std::string> texts;
  for (int round = 0; round < 300; ++round) {
    std::string text;
    for (size_t k = round % 101; k > 0; --k) text += kCharacters[4 + random() % 5].first;
    if (round % 2 != 0) text += kNotUtf8[random() % std::size(kNotUtf8)] + text;
    texts.push_back(text);
  }
  for (size_t k = 15 * 3; k <= 22 * 3; k += 3) {
    for (const std::string& after : kNotUtf8) {
      texts.push_back(texts[100].substr(0, k) + after);
      texts.push_back((texts.back() + std::string(64, 'a')).substr(0, 64));
    }
  }
  for (size_t t = 0; t < texts.size(); ++t) {
    const std::vector<uint8_t> src(texts[t].begin(), texts[t].end());  // exactly n bytes, for ASan
    const size_t cap = t % 3 != 0 ? src.size() : random() % (src.size() / 3 + 2);
    std::vector<uint16_t> want(cap + 8, 0x5A), runWant = want;
    const size_t all = Levels()[0]->threeByteGroups(src.data(), src.size(), want.data(), cap);
    EXPECT_LE(all, cap);
    const RunEnd run = Levels()[0]->utf8To16(src.data(), src.size(), 0, runWant.data(), cap, 0);
    for (size_t k = 0; k < Levels().size(); ++k) {
      const Kernels* level = Levels()[k];
      std::vector<uint16_t> got(cap + 8, 0x5A), expected = want, runGot = got;
      const size_t taken = level->threeByteGroups(src.data(), src.size(), got.data(), cap);
      std::fill(expected.begin() + static_cast<ptrdiff_t>(taken), expected.end(), 0x5A);
      const bool whole = kLevels[k].takesTheEnd && 3 * all == src.size();
      const size_t groups = src.size() >= kLevels[k].shortest ? all - all % kLevels[k].group : 0;
      EXPECT_EQ(taken, whole ? all : groups) << level->name << ", text " << t;
      const RunEnd end = level->utf8To16(src.data(), src.size(), 0, runGot.data(), cap, 0);
      ASSERT_EQ(std::tie(got, runGot, end.i, end.o), std::tie(expected, runWant, run.i, run.o))
          << level->name << ", text " << t;
    }
  }
}

// The cheaper plan of a block of UTF-8 after a well-formed one, on well-formed text and on text
// with one byte changed in the block: it takes the block exactly when it is well formed (up to a
// character its end cuts short, which the scalar level takes when completed) and the characters
// that end in it fit, and at the text's end only when no character is cut short.
TEST(Kernels, TheCheaperPlanFromUtf8TakesEveryBlockWithoutAFault) {
  const auto run = [](const std::string& text) {
    uint16_t units[256];
    return Levels()[0]->utf8To16(reinterpret_cast<const uint8_t*>(text.data()), text.size(), 0,
                                 units, std::size(units), 0);
  };
  const uint8_t kOddBytes[] = {0x00, 0x7F, 0x80, 0x8F, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1,
                               0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF8, 0xFF};
  std::mt19937 random(13);
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    while (text.size() < 128) text += kCharacters[random() % std::size(kCharacters)].first;
    text.resize(128);
    if (round % 2 != 0)
      text[64 + random() % 64] = static_cast<char>(kOddBytes[random() % std::size(kOddBytes)]);
    const RunEnd all = run(text);
    const std::string cut = text.substr(all.i);
    const std::string completion = cut == "\xE0" ? "\xA0\x80" : "\x80\x80";
    const bool wellFormed = cut.size() <= 2 && run(cut + completion).i > cut.size();
    const size_t count = all.o - run(text.substr(0, 64)).o;
    const size_t room = round % 3 == 0 ? 64 : count + random() % 3 - 1;
    const bool atEnd = round % 5 == 0;
    const bool takes = (cut.empty() || (wellFormed && !atEnd)) && count <= room;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    for (const Kernels* level : Levels()) {
      if (level->faultFreeBlock == nullptr) continue;
      ASSERT_EQ(level->faultFreeBlock(bytes, bytes + 64, room, atEnd), takes)
          << level->name << ", room " << room << (atEnd ? ", at the end: " : ": ")
          << testing::PrintToString(text.substr(64));
    }
  }
}

// The test of blocks that stay as they are in fullToHalf, on blocks of one character repeated
// from each place of a unit: it takes those of ASCII and of every three-byte character that does
// not change, but for the rare ones it names, and refuses every one that changes; and it refuses
// a block whose last lead takes another lead after the block.
TEST(Kernels, TheTestOfBlocksThatStayTakesEveryBlockThatDoesNotChange) {
  std::vector<std::pair<std::string, bool>> blocks = {
      {std::string(66, 'a'), true},
      {std::string(63, 'a') + "\xE4\xE4\xBD", false},
      {std::string(62, 'a') + "\xE4\xBD\xE4\xBD", false}};
  for (uint32_t cp = 0x800; cp <= 0xFFFF; cp += cp == 0xD7FF ? 0x801 : 1) {
    std::string block(cp % 3, 'a');
    while (block.size() < 66) block += ThreeBytesOf(cp);
    const bool rare = (cp >= 0x2060 && cp <= 0x2C68) || cp == 0x3400 || cp == 0x3800 ||
                      cp == 0x3C00 || (cp >= 0xE000 && cp <= 0xF8FF) ||
                      (cp >= 0xFB03 && cp <= 0xFB5F) || cp == 0xFF40 || cp == 0xFF5F;
    if (!rare) blocks.emplace_back(block, commonhelpers_internal::HalfWidthOf(cp) == 0);
  }
  for (const Kernels* level : Levels()) {
    if (level->staysAsItIs == nullptr) continue;
    for (const auto& [block, stays] : blocks) {
      ASSERT_EQ(level->staysAsItIs(reinterpret_cast<const uint8_t*>(block.data())), stays)
          << level->name << ": " << testing::PrintToString(block);
    }
  }
}

// A level's runs without the scalar level's help, on ASCII and on Chinese text: each takes every
// whole register of eight characters that fits (from UTF-8 a block of 64 ASCII bytes), and stops.
TEST(Kernels, RunsWithoutTheScalarLevelTakeEveryWholeRegisterThatFits) {
  std::mt19937 random(17);
  for (int round = 0; round < 600; ++round) {
    // Bytes of a character, and a length of whole blocks in every fourth round.
    const size_t width = round % 2 ? 3 : 1, length = round % 4 ? random() % 300 : random() % 5 * 64;
    const size_t block = width == 3 ? 8 : 64, whole = length / block * block;
    // The room of all of them, of their whole registers or blocks, or any up to a few more.
    const size_t rooms[] = {width * length, width * whole, random() % (width * length + 8)};
    const size_t cap = rooms[round % 3];
    std::string text;
    for (size_t k = length; k > 0; --k) text += width == 3 ? "\xE4\xBD\xA0" : "a";
    const std::u16string units(length, width == 3 ? u'\x4F60' : u'a');
    std::vector<uint16_t> to16(cap + 8);
    std::vector<uint8_t> to8(cap + 8);
    const size_t from8 = std::min(length, cap) / block * block;
    // From UTF-16, ASCII takes what fits of the block of 32 units where the room ends.
    const size_t from16 =
        width == 1 && cap < length / 32 * 32 ? cap : std::min(length / 8, cap / (8 * width)) * 8;
    for (const Kernels* level : Levels()) {
      if (level->ownRuns == nullptr) continue;
      const auto [i8, o8] = level->ownRuns->utf8To16(reinterpret_cast<const uint8_t*>(text.data()),
                                                     text.size(), 0, to16.data(), cap, 0);
      const auto [i16, o16] = level->ownRuns->utf16To8(
          reinterpret_cast<const uint16_t*>(units.c_str()), length, 0, to8.data(), cap, 0);
      EXPECT_EQ(std::vector<size_t>({i8, o8, i16, o16}),
                std::vector<size_t>({width * from8, from8, from16, width * from16}))
          << level->name << ": " << length << " into " << cap;
    }
  }
}

// Texts of one character repeated, or of each in turn, of every length up to 199 characters, their
// terminator right before an unreadable page: no level reads past it (a crash, since ASan does not
// instrument the runs), and every level gives what the scalar one does.
TEST(Kernels, NoLevelReadsPastTheTerminator) {
  std::string whyNot;
  char* end = platform::GuardedEnd(whyNot);
  if (end == nullptr) GTEST_SKIP() << whyNot;
  std::vector<char16_t> units(800);
  std::string half(800, '\0'), narrow(800, '\0');
  for (size_t kind = 0; kind <= std::size(kCharacters); ++kind) {  // the last: every one in turn
    std::string utf8;
    std::u16string utf16;
    for (size_t length = 0; length < 200; ++length) {
      std::tuple<std::u16string, std::string, std::string> scalar;
      for (const Kernels* level : kernel_diff::LevelsAndTraced()) {
        std::fill(units.begin(), units.end(), u'?');
        half.assign(800, '?');
        narrow.assign(800, '?');
        char* at = end - utf8.size() - 1;
        memcpy(at, utf8.c_str(), utf8.size() + 1);
        ConvertUtfStringWith(at, UTF_8, units.data(), 800, UTF_16, nullptr, level);
        FullToHalfWith(*level, at, &half[0]);
        char16_t* at16 = reinterpret_cast<char16_t*>(end) - utf16.size() - 1;
        std::copy(utf16.c_str(), utf16.c_str() + utf16.size() + 1, at16);
        ConvertUtfStringWith(at16, UTF_16, &narrow[0], 800, UTF_8, nullptr, level);
        const std::tuple<std::u16string, std::string, std::string> got(units.data(), half.c_str(),
                                                                       narrow.c_str());
        if (level == Levels()[0]) scalar = got;
        EXPECT_TRUE(got == scalar) << level->name << ": " << length << " of kind " << kind;
      }
      const auto& c = kCharacters[kind < std::size(kCharacters) ? kind : length % kind];
      utf8 += c.first;
      utf16 += c.second;
    }
  }
  platform::ReleaseGuarded(end);
}

// A text for a run: characters of its kind, what their units are, and the
// units before and after each of them, then something it does not take.
template <typename Src, typename Dst>
struct RunCase {
  std::basic_string<Src> text;
  std::basic_string<Dst> units;
  std::vector<size_t> in, out;
  void Add(const std::basic_string<Src>& from, const std::basic_string<Dst>& to) {
    text += from;
    units += to;
    in.push_back(text.size());
    out.push_back(units.size());
  }
  // The run from the start into `cap` units of room: where it must stop, and
  // that it wrote those units and nothing after them.
  template <typename S, typename D, typename Run>
  std::string Check(Run run, size_t cap) const {
    size_t taken = 0;
    while (taken < in.size() && out[taken] <= cap) ++taken;
    const size_t wantIn = taken > 0 ? in[taken - 1] : 0, wantOut = taken > 0 ? out[taken - 1] : 0;
    // Exactly the n units, for ASan and valgrind, and from UTF-16 the
    // terminator, which its runs may read.
    std::vector<Src> src(text.begin(), text.end());
    if constexpr (std::is_same_v<Src, char16_t>) src.push_back(0);
    std::vector<Dst> dst(cap + 8, 0x5A), want(units.begin(), units.begin() + wantOut);
    want.resize(dst.size(), 0x5A);
    const auto [i, o] = run(reinterpret_cast<const S*>(src.data()), text.size(), 0,
                            reinterpret_cast<D*>(dst.data()), cap, 0);
    if (i == wantIn && o == wantOut && dst == want) return "";
    return "stopped at " + std::to_string(i) + "/" + std::to_string(o) + " for " +
           std::to_string(wantIn) + "/" + std::to_string(wantOut) + " into " + std::to_string(cap);
  }
};

// Each level's runs alone, on a few blocks of characters of their kind ended by one they do not
// take or by nothing: a run takes every character before it, writes their units and nothing after
// them, and stops right there; with less room, it takes exactly as many as fit.
TEST(Kernels, EveryRunTakesAllOfItsKindThatFitsAndStopsRightBeforeTheRest) {
  std::mt19937 random(7);
  for (int round = 0; round < 1500; ++round) {
    RunCase<char, char16_t> utf8;
    RunCase<char16_t, char> utf16;
    RunCase<char, char> half;
    const size_t from = round % 3 == 0 ? 4 : 0;  // in a third of the rounds, Chinese text
    // In a fifth, half a UTF-16 block of ASCII first, so that the block after it is mixed; in
    // another fifth, 64 ASCII characters, whole blocks of ASCII before the others.
    for (size_t k = round % 5 == 2 ? 16 : round % 5 == 4 ? 64 : 0; k > 0; --k) {
      utf8.Add("a", u"a");
      utf16.Add(u"a", "a");
      half.Add("a", "a");
    }
    // In every eighth of those, the 64 alone, into 63 to 65 units of room.
    const bool alone = round % 40 == 4;
    for (size_t k = alone ? 0 : random() % 150; k > 0; --k) {
      const auto& c = kCharacters[from + random() % (std::size(kCharacters) - from)];
      const auto& u = kUnits[random() % std::size(kUnits)];
      utf8.Add(c.first, std::u16string(1, c.second));
      utf16.Add(std::u16string(1, c.second), c.first);
      half.Add(u.first, u.second);
    }
    if (round % 4 != 0) {
      const size_t last =
          round % 4 == 1 ? 0 : 2;  // the pieces cut short by the end only end a text
      utf8.text += kNotUtf8[random() % (std::size(kNotUtf8) - last)] + std::string("a\xC3\xA9");
      utf16.text += kNotUtf16[random() % std::size(kNotUtf16)] + u"a";
      half.text +=
          kNotHalfWidth[random() % (std::size(kNotHalfWidth) - last - 1)] + (last ? "a" : "");
    }
    size_t cap = round % 2 ? 3 * utf8.text.size() : random() % (utf16.units.size() + 2);
    if (round % 6 == 3) cap = utf16.units.size();  // exactly the room of the UTF-8 form
    if (alone) cap = 63 + round % 3;
    for (const Kernels* level : kernel_diff::LevelsAndTraced()) {
      const std::string at = std::string(level->name) + ", round " + std::to_string(round) + ": ";
      const auto halfWidth = [level](const uint8_t* s, size_t n, size_t i, uint8_t* d, size_t,
                                     size_t o) {
        level->halfWidth(s, n, i, d, o);
        return RunEnd{i, o};
      };
      ASSERT_EQ((utf8.Check<uint8_t, uint16_t>(level->utf8To16, cap)), "") << at << "UTF-8";
      ASSERT_EQ((utf16.Check<uint16_t, uint8_t>(level->utf16To8, cap)), "") << at << "UTF-16";
      ASSERT_EQ((half.Check<uint8_t, uint8_t>(halfWidth, half.text.size())), "")
          << at << "fullToHalf";
    }
  }
}

// Each bound where two exact paths of a run meet, from both sides (a length, or a room that the
// output fills exactly or misses by one): the paths that the traced run reports. A fault that moves
// such a bound changes no result, only these.
TEST(Kernels, RunsTakeEachOfTheirPathsUpToItsBoundAndNoFurther) {
  using namespace commonhelpers_internal;  // the path bits
  const std::u16string a16(16, u'a'), e16(16, u'\xE9'), zh(32, u'\x4F60');
  std::string e64, zh8;  // 32 two-byte characters, 32 Chinese ones
  for (int k = 0; k < 32; ++k) e64 += "\xC3\xA9", zh8 += "\xE4\xBD\xA0";
  const std::tuple<std::string, std::string, size_t, uint32_t> from8[] = {
      {"avx2", std::string(64, 'a'), 64, kShortTextPath},
      {"avx2", std::string(65, 'a'), 64, kWholeAsciiBlockPath | kLastAsciiBytesPath},
      {"avx2", std::string(65, 'a'), 63, kLastAsciiBytesPath},
      {"avx2", std::string(128, 'a'), 128, kWholeAsciiBlockPath},
      {"avx2", e64, 39, kShortTextPath | kInPlacePath},
      {"avx2", e64, 38, kShortTextPath},
      {"avx2", "a" + e64, 39, kInPlacePath},
      {"avx2", "a" + e64, 38, 0},
      {"avx2", zh8.substr(0, 48), 16, kShortTextPath | kSixteenTailPath},
      {"avx2", zh8.substr(0, 45), 15, kShortTextPath},
      {"avx2", zh8, 32, 0},  // two whole groups, none left for the tail
      {"avx512", e64 + std::string(65, 'a'), 96, kWholeAsciiBlockPath | kLastAsciiBytesPath},
      {"avx512", e64 + std::string(65, 'a'), 95, kLastAsciiBytesPath},
      {"avx512", e64 + std::string(64, 'a'), 96, kWholeAsciiBlockPath}};
  const std::tuple<std::string, std::u16string, size_t, uint32_t> from16[] = {
      {"avx2", a16, 16, kShortTextPath},
      {"avx2", a16 + u"a", 17, 0},
      {"avx2", a16 + a16 + a16, 48, kLastAsciiPath},
      {"avx2", a16 + a16 + a16, 47, 0},
      {"avx2", e16 + a16, 48, kAsciiSecondHalfPath},
      {"avx2", e16 + a16, 47, 0},
      {"avx2", zh, 51, kChineseLast16Path},
      {"avx2", zh, 50, 0},
      {"avx2", e16 + e16, 96, kInPlacePath},
      {"avx2", e16 + e16, 95, 0},
      {"avx512", a16, 16, 0},
      {"avx512", a16 + u"a", 17, kNarrowerLevelPath},
      {"avx512", a16 + a16 + a16 + a16, 64, kNarrowerLevelPath},
      {"avx512", a16 + a16 + a16 + a16 + u"a", 65, 0}};
  std::vector<uint16_t> units(200);
  std::vector<uint8_t> bytes(200);
  for (const Kernels* level : Levels()) {
    for (const auto& [name, text, cap, paths] : from8) {
      if (level->name != name) continue;
      const TracedEnd end = level->tracedRuns->utf8To16(
          reinterpret_cast<const uint8_t*>(text.c_str()), text.size(), 0, units.data(), cap, 0);
      EXPECT_EQ(end.paths, paths) << name << ": " << text.size() << " bytes into " << cap;
    }
    for (const auto& [name, text, cap, paths] : from16) {
      if (level->name != name) continue;
      const TracedEnd end = level->tracedRuns->utf16To8(
          reinterpret_cast<const uint16_t*>(text.c_str()), text.size(), 0, bytes.data(), cap, 0);
      EXPECT_EQ(end.paths, paths) << name << ": " << text.size() << " units into " << cap;
    }
  }
}

// The scalar level first, then the ones that this build has and the CPU runs, narrowest first;
// COMMONHELPERS_SIMD picks its level when there is one, else the widest: with nothing asked, the
// widest level of the build whose instructions this CPU has.
TEST(Kernels, LevelsStartWithTheScalarOneAndTheWidestTheCpuRunsIsTheDefault) {
  using commonhelpers_internal::ChooseKernels;
  const std::vector<const Kernels*> levels = Levels();
  ASSERT_LE(levels.size(), std::size(kLevels));
  for (size_t k = 0; k < levels.size(); ++k) EXPECT_EQ(levels[k]->name, kLevels[k].name);
  for (const Kernels* level : levels) EXPECT_EQ(&ChooseKernels(level->name), level);
  for (const char* asked : {"neon", "", "sse", static_cast<const char*>(nullptr)})
    EXPECT_EQ(&ChooseKernels(asked), levels.back());
  EXPECT_EQ(&commonhelpers_internal::ActiveKernels(), &ChooseKernels(getenv("COMMONHELPERS_SIMD")));
  size_t built = 0;
  const Kernels* const* all = commonhelpers_internal::BuiltLevels(&built);
  std::string widest = "scalar";
  for (size_t k = 0; k < built; ++k) {
    const std::string name = all[k]->name;
#if defined(__x86_64__)
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                      __builtin_cpu_supports("popcnt");
    if (name == "sse2" || (name == "avx2" && avx2) ||
        (name == "avx512" && avx2 && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("avx512vl"))) {
      widest = name;
    }
#endif
  }
  EXPECT_EQ(ChooseKernels(nullptr).name, widest);
}

}  // namespace

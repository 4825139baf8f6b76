// AVX2 kernels: blocks of 64 bytes or 32 units in two registers. What a
// block keeps is packed eight 16-bit units, four characters or eight bytes at
// a time by a byte shuffle from a table built at compile time, and stored in
// place (near the end of the room, each store cut where the output ends).
// Chinese text from UTF-8 goes 16 characters at a time.
#include <immintrin.h>

#include <cstdint>
#include <cstring>
#include <iterator>

#include "kernels/blocks.h"
#include "kernels/halfwidth.h"
#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("avx2,bmi,popcnt")))
// Helpers, inlined into the kernels that call them.
#define CH_HELPER CH_TARGET __attribute__((always_inline)) inline

namespace commonhelpers_internal {

namespace {

constexpr size_t kBytes = 64;
constexpr size_t kUnits = 32;
constexpr size_t kHalfUnits = 16;
constexpr size_t kTwoBlocks = 2 * kBytes;

struct ShuffleRows {
  uint8_t rows[256][16];
};

// Row m moves the 16-bit units of an 8-unit lane whose bit is set in m to
// the front, in order.
constexpr ShuffleRows PackUnits() {
  ShuffleRows t{};
  for (size_t m = 0; m < std::size(t.rows); ++m) {
    size_t to = 0;
    for (size_t unit = 0; (m >> unit) != 0; ++unit) {
      if ((m >> unit) & 1) {
        t.rows[m][to++] = static_cast<uint8_t>(2 * unit);
        t.rows[m][to++] = static_cast<uint8_t>(2 * unit + 1);
      }
    }
  }
  return t;
}

// Row m moves the bytes of an 8-byte group whose bit is set in m to the
// front, in order; the group at bytes 8..15 of a lane adds 8 to the row.
constexpr ShuffleRows PackBytes() {
  ShuffleRows t{};
  for (size_t m = 0; m < std::size(t.rows); ++m) {
    size_t to = 0;
    for (size_t byte = 0; (m >> byte) != 0; ++byte) {
      if ((m >> byte) & 1) t.rows[m][to++] = static_cast<uint8_t>(byte);
    }
  }
  return t;
}

// The UTF-8 forms of four units, each in a 32-bit lane with its first byte
// lowest: row m (bit j: unit j has two or more bytes, bit 4 + j: three)
// moves the bytes each form uses to the front.
constexpr ShuffleRows PackForms() {
  ShuffleRows t{};
  for (size_t m = 0; m < std::size(t.rows); ++m) {
    size_t to = 0;
    for (size_t unit = 0; unit < 4; ++unit) {
      const size_t length = 1 + ((m >> unit) & 1) + ((m >> (4 + unit)) & 1);
      for (size_t byte = 0; byte < length; ++byte) {
        t.rows[m][to++] = static_cast<uint8_t>(4 * unit + byte);
      }
    }
  }
  return t;
}

constexpr ShuffleRows kPackUnits = PackUnits();
constexpr ShuffleRows kPackBytes = PackBytes();
constexpr ShuffleRows kPackForms = PackForms();

// fullToHalf's changes: a lead changes when it is E3 with two bytes of low
// six bits 0 (the ideographic space), or when the bits of three lookups on
// its own low nibble and the two nibbles of the low six bits of the byte
// after it (the class: EF 3C and EF 3D, the full-width forms, E2 00, dashes,
// E2 11, circled digits) meet the bits of two lookups on the nibbles of the
// low six bits of the third byte. A class's changes with the same high
// nibble of the third byte take one bit of their own.
struct ChangeTables {
  uint8_t lead[16];
  uint8_t secondLow[16];
  uint8_t secondHigh[16];
  uint8_t thirdLow[16];
  uint8_t thirdHigh[16];
  size_t bits;
};

constexpr ChangeTables MakeChangeTables() {
  ChangeTables t{};
  struct Class {
    uint8_t leadLow, second;
  };
  const Class classes[] = {{0xF, 0x3C}, {0xF, 0x3D}, {0x2, 0x00}, {0x2, 0x11}};
  for (const auto& c : classes) {
    for (uint8_t high = 0; high < 4; ++high) {
      uint32_t lows = 0;
      for (uint8_t low = 0; low < std::size(t.thirdLow); ++low) {
        const uint32_t unit = ThreeByteUnit(static_cast<uint8_t>(0xE0 | c.leadLow), c.second,
                                            static_cast<uint8_t>(high << 4 | low));
        lows |= uint32_t{HalfWidthOf(unit) != 0} << low;
      }
      if (lows == 0) continue;
      const uint8_t bit = static_cast<uint8_t>(1u << t.bits++);
      t.lead[c.leadLow] |= bit;
      t.secondLow[c.second & 0xF] |= bit;
      t.secondHigh[c.second >> 4] |= bit;
      t.thirdHigh[high] |= bit;
      for (size_t low = 0; low < std::size(t.thirdLow); ++low) {
        if ((lows >> low) & 1) t.thirdLow[low] |= bit;
      }
    }
  }
  return t;
}

constexpr ChangeTables kChangeTables = MakeChangeTables();
static_assert(kChangeTables.bits <= 8, "one bit of a byte for each class and high nibble");

// A cheaper test for the blocks that stay as they are, which may take a unit
// that stays for one that changes but never the other way: ChangeTables
// without the high bits of the byte after the lead, with one bit for each
// group of a class and some high nibbles of the third byte, the space among
// them. What it takes for a change are rare characters: U+2060-2068, U+3400,
// U+3800, U+3C00, U+FF40, U+FF5F, and some of U+2412-2C68, of the private
// use area and of U+FB03-FB5F.
struct ChangeFilter {
  uint8_t lead[16];
  uint8_t secondLow[16];
  uint8_t thirdLow[16];
  uint8_t thirdHigh[16];
};

struct FilterGroup {
  uint8_t leadLow, second, highs;
};

constexpr FilterGroup kFilterGroups[] = {{0xF, 0x3C, 1}, {0xF, 0x3C, 2}, {0xF, 0x3C, 4},
                                         {0xF, 0x3C, 8}, {0xF, 0x3D, 3}, {0x2, 0x00, 2},
                                         {0x2, 0x11, 4}, {0x3, 0x00, 1}};
static_assert(std::size(kFilterGroups) <= 8, "one bit of a byte for each group");

constexpr ChangeFilter MakeChangeFilter() {
  ChangeFilter f{};
  for (size_t g = 0; g < std::size(kFilterGroups); ++g) {
    const FilterGroup& group = kFilterGroups[g];
    const uint8_t bit = static_cast<uint8_t>(1u << g);
    f.lead[group.leadLow] |= bit;
    f.secondLow[group.second & 0xF] |= bit;
    for (unsigned highs = group.highs; highs != 0; highs &= highs - 1) {
      const size_t high = CountOnes((highs & (0 - highs)) - 1);
      f.thirdHigh[high] |= bit;
      for (uint8_t low = 0; low < std::size(f.thirdLow); ++low) {
        const uint32_t unit = ThreeByteUnit(static_cast<uint8_t>(0xE0 | group.leadLow),
                                            group.second, static_cast<uint8_t>(high << 4 | low));
        if (HalfWidthOf(unit) != 0) f.thirdLow[low] |= bit;
      }
    }
  }
  return f;
}

constexpr ChangeFilter kChangeFilter = MakeChangeFilter();

// The faults of two bytes in a row of UTF-8 that a run takes (characters of
// one to three bytes), one bit per kind, by three lookups: the kinds that the
// first byte's high nibble allows, those its low nibble allows, and those the
// second byte's high nibble allows; the pair has every kind in all three.
enum PairFault : uint8_t {
  kTooShort = 1,    // a lead, then no continuation byte
  kTooLong = 2,     // ASCII, then a continuation byte
  kOverlong3 = 4,   // E0, then 80..9F
  kSurrogate = 8,   // ED, then A0..BF
  kOverlong2 = 16,  // C0 or C1, then any byte
  kFourBytes = 32,  // F0..FF, then any byte: no run takes four-byte characters
  kTwoConts = 128,  // two continuation bytes: a fault unless a lead of three comes before them
};

struct PairFaults {
  uint8_t firstHigh[16];
  uint8_t firstLow[16];
  uint8_t secondHigh[16];
};

constexpr PairFaults MakePairFaults() {
  PairFaults t{};
  for (uint8_t nibble = 0; nibble < 16; ++nibble) {
    const bool ascii = nibble < 8, cont = nibble >= 8 && nibble < 12;
    t.firstHigh[nibble] = ascii           ? kTooLong
                          : cont          ? kTwoConts
                          : nibble == 0xC ? kTooShort | kOverlong2
                          : nibble == 0xD ? kTooShort
                          : nibble == 0xE ? kTooShort | kOverlong3 | kSurrogate
                                          : kFourBytes;
    t.firstLow[nibble] = kTooShort | kTooLong | kTwoConts | kFourBytes |
                         (nibble == 0 ? kOverlong2 | kOverlong3 : 0) |
                         (nibble == 1 ? kOverlong2 : 0) | (nibble == 0xD ? kSurrogate : 0);
    t.secondHigh[nibble] = kFourBytes | kOverlong2 | (cont ? kTooLong | kTwoConts : kTooShort) |
                           (nibble == 8 || nibble == 9 ? kOverlong3 : 0) |
                           (nibble == 0xA || nibble == 0xB ? kSurrogate : 0);
  }
  return t;
}

constexpr PairFaults kPairFaults = MakePairFaults();

bool Avx2Supported() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
         __builtin_cpu_supports("popcnt");
}

CH_HELPER __m256i Byte(int b) { return _mm256_set1_epi8(static_cast<char>(b)); }

// Each byte of `index` (0 to 15, or any with its top bit set for 0) looked up
// in `table`.
CH_HELPER __m256i Lookup(const uint8_t (&table)[16], __m256i index) {
  return _mm256_shuffle_epi8(
      _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table))), index);
}

// All ones in the bytes of `x` that lead a three-byte character (1110xxxx).
CH_HELPER __m256i LeadBytes(__m256i x) {
  return _mm256_cmpeq_epi8(_mm256_and_si256(x, Byte(0xF0)), Byte(0xE0));
}

CH_HELPER uint64_t Bits(__m256i m, int k) {
  return uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(m))} << (32 * k);
}

CH_HELPER void Load(const void* block, __m256i (&v)[2]) {
  v[0] = _mm256_loadu_si256(static_cast<const __m256i*>(block));
  v[1] = _mm256_loadu_si256(static_cast<const __m256i*>(block) + 1);
}

CH_HELPER void Store(const __m256i (&v)[2], void* block) {
  _mm256_storeu_si256(static_cast<__m256i*>(block), v[0]);
  _mm256_storeu_si256(static_cast<__m256i*>(block) + 1, v[1]);
}

// The index of each dword of v[k] in a block of two registers.
CH_HELPER __m256i DwordIndex(int k) {
  return _mm256_setr_epi32(8 * k, 8 * k + 1, 8 * k + 2, 8 * k + 3, 8 * k + 4, 8 * k + 5, 8 * k + 6,
                           8 * k + 7);
}

// The first `words` dwords at `from` (16 at most), zero after them, by
// masked loads, which touch no dword they leave out.
CH_HELPER void LoadDwords(const void* from, size_t words, __m256i (&v)[2]) {
  for (int k = 0; k < 2; ++k) {
    v[k] = _mm256_maskload_epi32(
        static_cast<const int*>(from) + 8 * k,
        _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(words)), DwordIndex(k)));
  }
}

// The `count` bytes at `from` (64 at most), zero after them: the whole
// dwords by LoadDwords, the rest from one read of the dword that ends with
// them (byte by byte when there are fewer than four in all).
CH_HELPER void LoadPart(const uint8_t* from, size_t count, __m256i (&v)[2]) {
  const size_t words = count / 4;
  uint32_t last = 0;
  if (words > 0) {
    memcpy(&last, from + count - 4, 4);
    last = static_cast<uint32_t>(uint64_t{last} >> (8 * (4 - count % 4)));
  } else {
    for (size_t k = count; k > 0; --k) last = (last << 8) | from[k - 1];
  }
  LoadDwords(from, words, v);
  for (int k = 0; k < 2; ++k) {
    v[k] = _mm256_blendv_epi8(
        v[k], _mm256_set1_epi32(static_cast<int>(last)),
        _mm256_cmpeq_epi32(DwordIndex(k), _mm256_set1_epi32(static_cast<int>(words))));
  }
}

// The last `len` units of a UTF-16 text at `from` (fewer than 32), zero
// after them, in whole dwords: an odd last unit comes with the terminator
// after it, which a run from UTF-16 may read. Blending in a unit read apart,
// as LoadPart does, would cost a short text a tenth of its time.
CH_HELPER void LoadLastUnits(const uint16_t* from, size_t len, __m256i (&v)[2]) {
  LoadDwords(from, (len + 1) / 2, v);
}

// The bytes `shift` (1 or 2) places before each byte of v[k], from `prev`
// (the block before) for the first ones.
template <int shift>
CH_HELPER __m256i Before(const __m256i (&v)[2], __m256i before, int k) {
  const __m256i prev = k == 0 ? before : v[0];
  return _mm256_alignr_epi8(v[k], _mm256_permute2x128_si256(prev, v[k], 0x21), 16 - shift);
}

CH_HELPER Utf8Bytes ClassifyUtf8(const __m256i (&v)[2], __m256i prev, const Utf8Bytes& left) {
  Utf8Bytes b = left;
  for (int k = 0; k < 2; ++k) {
    const __m256i x = v[k];
    const __m256i p1 = Before<1>(v, prev, k);
    const __m256i fromA0 =  // 0xA0..0xFF, as signed bytes
        _mm256_and_si256(_mm256_cmpgt_epi8(x, Byte(0x9F)),
                         _mm256_cmpgt_epi8(_mm256_setzero_si256(), x));
    const __m256i high = _mm256_and_si256(x, Byte(0xF0));
    b.nonAscii |= Bits(x, k);
    b.cont |= Bits(_mm256_cmpgt_epi8(Byte(kLeadsFrom), x), k);
    b.lead3 |= Bits(_mm256_cmpeq_epi8(high, Byte(0xE0)), k);
    b.bad |= Bits(_mm256_or_si256(_mm256_cmpeq_epi8(high, Byte(0xF0)),
                                  _mm256_cmpeq_epi8(_mm256_and_si256(x, Byte(0xFE)), Byte(0xC0))),
                  k);
    b.outOfRange |= Bits(_mm256_blendv_epi8(_mm256_cmpeq_epi8(p1, Byte(0xE0)),
                                            _mm256_cmpeq_epi8(p1, Byte(0xED)), fromA0),
                         k);
  }
  return b;
}

// Nonzero in the bytes of v[k] where a fault ends (see PairFaults): the
// pair's, flipped where the byte two places before leads three bytes, which
// makes two continuation bytes in a row what is needed and anything else a
// fault.
CH_HELPER __m256i Faults(const __m256i (&v)[2], __m256i prev, int k) {
  const __m256i low = Byte(0x0F);
  const __m256i p1 = Before<1>(v, prev, k);
  const __m256i pair = _mm256_and_si256(
      _mm256_and_si256(
          Lookup(kPairFaults.firstHigh, _mm256_and_si256(_mm256_srli_epi16(p1, 4), low)),
          Lookup(kPairFaults.firstLow, _mm256_and_si256(p1, low))),
      Lookup(kPairFaults.secondHigh, _mm256_and_si256(_mm256_srli_epi16(v[k], 4), low)));
  const __m256i third =
      _mm256_and_si256(_mm256_subs_epu8(Before<2>(v, prev, k), Byte(0xE0 - 0x80)), Byte(0x80));
  return _mm256_xor_si256(pair, third);
}

// PlanUtf8 for the block of `left` at `block`, cheaper for the blocks that
// have no fault, fit in the room and, whole at the text's end, cut no
// character short: their characters end where the next byte is no
// continuation byte, and what they leave open the next block is in their
// last two bytes. (The zeros after the last bytes of a text are no
// continuation bytes, so a character they cut short is a fault.) With
// `kCheaperOnly`, for the tests, any other block gets a plan that stops
// (which the cheaper one never does) instead of the general one.
template <bool kCheaperOnly = false>
CH_HELPER Utf8Plan PlanBlock(const __m256i (&v)[2], __m256i prev, const Utf8Bytes& left,
                             const uint8_t* block, size_t room) {
  const __m256i faults = _mm256_or_si256(Faults(v, prev, 0), Faults(v, prev, 1));
  if (_mm256_testz_si256(faults, faults)) {
    const bool whole = left.len == kBytes;
    const uint8_t last = whole ? block[kBytes - 1] : 0;
    const bool lead63 = last >= kLeadsFrom;
    const bool lead3At62 = whole && IsThreeByteLead(block[kBytes - 2]);
    const bool open = lead63 || lead3At62;
    // A last byte that is no lead in any character taken: no pair here shows it.
    const bool bad63 = last == 0xC0 || last == 0xC1 || last >= 0xF0;
    const uint64_t cont = Bits(_mm256_cmpgt_epi8(Byte(kLeadsFrom), v[0]), 0) |
                          Bits(_mm256_cmpgt_epi8(Byte(kLeadsFrom), v[1]), 1);
    const uint64_t ends = ~((cont >> 1) | (uint64_t{open} << 63)) & Below(left.len);
    const size_t count = CountOnes(ends);
    if (!(left.atEnd && open) && !bad63 && count <= room) {
      Utf8Bytes next{};
      next.claimed = uint64_t{open} | uint64_t{IsThreeByteLead(last)} << 1;
      next.open = lead3At62 ? 2 : open;
      return {ends, count, false, 0, next};
    }
  }
  if constexpr (kCheaperOnly) return {0, 0, true, 0, {}};
  return PlanUtf8(ClassifyUtf8(v, prev, left), room);
}

// The unit of the character that ends at each byte of v[k], from that byte
// and the two before it (garbage where no character ends), as 16-bit units
// in the order of unpacklo and unpackhi: bytes 0-7 and 16-23, 8-15 and 24-31.
CH_HELPER void DecodeUtf8(const __m256i (&v)[2], __m256i prev, int k, __m256i& first,
                          __m256i& second) {
  const __m256i x = v[k];
  const __m256i p1 = Before<1>(v, prev, k);
  const __m256i p2 = Before<2>(v, prev, k);
  const __m256i lo = _mm256_or_si256(_mm256_and_si256(x, Byte(0x3F)),
                                     _mm256_and_si256(_mm256_slli_epi16(p1, 6), Byte(0xC0)));
  const __m256i third = _mm256_and_si256(_mm256_cmpgt_epi8(Byte(kLeadsFrom), p1),
                                         _mm256_and_si256(_mm256_slli_epi16(p2, 4), Byte(0xF0)));
  const __m256i nonAscii = _mm256_cmpgt_epi8(_mm256_setzero_si256(), x);
  const __m256i hi = _mm256_and_si256(
      nonAscii, _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(p1, 2), Byte(0x0F)), third));
  const __m256i low = _mm256_blendv_epi8(x, lo, nonAscii);
  first = _mm256_unpacklo_epi8(low, hi);
  second = _mm256_unpackhi_epi8(low, hi);
}

// The 16 three-byte characters of 48 bytes, the first 32 in `at0` and the
// last 32 (bytes 16 to 47) in `at16`, as units in order in `units`; bit c of
// the result is set where character c is not well formed: not 1110xxxx
// 10xxxxxx 10xxxxxx, overlong (below U+0800) or a surrogate. Each is spread
// over a 32-bit lane (lead lowest): 12 bytes per 128-bit lane.
CH_HELPER uint32_t ThreeByteUnits(__m256i at0, __m256i at16, __m256i& units) {
  const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0,
                                          1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
  const __m256i chars[] = {
      _mm256_shuffle_epi8(
          _mm256_permutevar8x32_epi32(at0, _mm256_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0)), spread),
      _mm256_shuffle_epi8(
          _mm256_permutevar8x32_epi32(at16, _mm256_setr_epi32(2, 3, 4, 0, 5, 6, 7, 0)), spread)};
  __m256i lanes[std::size(chars)];
  uint32_t wrong = 0;
  for (int k = 0; k < 2; ++k) {
    const __m256i c = chars[k];
    lanes[k] = _mm256_or_si256(
        _mm256_or_si256(_mm256_slli_epi32(_mm256_and_si256(c, _mm256_set1_epi32(0x0F)), 12),
                        _mm256_and_si256(_mm256_srli_epi32(c, 2), _mm256_set1_epi32(0x0FC0))),
        _mm256_and_si256(_mm256_srli_epi32(c, 16), _mm256_set1_epi32(0x3F)));
    const __m256i top = _mm256_and_si256(lanes[k], _mm256_set1_epi32(0xF800));
    const __m256i faults = _mm256_or_si256(
        _mm256_xor_si256(_mm256_cmpeq_epi32(_mm256_and_si256(c, _mm256_set1_epi32(0xC0C0F0)),
                                            _mm256_set1_epi32(0x8080E0)),
                         _mm256_set1_epi32(-1)),
        _mm256_or_si256(_mm256_cmpeq_epi32(top, _mm256_setzero_si256()),
                        _mm256_cmpeq_epi32(top, _mm256_set1_epi32(0xD800))));
    wrong |= static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(faults))) << (8 * k);
  }
  units = _mm256_permute4x64_epi64(_mm256_packus_epi32(lanes[0], lanes[1]), 0xD8);
  return wrong;
}

// The 16 three-byte characters of the 48 bytes at `from` (see ThreeByteUnits).
CH_HELPER uint32_t SixteenThreeByteUnits(const uint8_t* from, __m256i& units) {
  return ThreeByteUnits(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)),
                        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 16)), units);
}

// 16 three-byte characters, the 48 bytes at `from`, as units at `to`; false,
// with nothing written, unless all of them are well formed.
CH_HELPER bool ThreeByteChars(const uint8_t* from, uint16_t* to) {
  __m256i units;
  if (SixteenThreeByteUnits(from, units) != 0) return false;
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), units);
  return true;
}

// Whether the 32 bytes of `x` have the leads of 3-byte characters that start
// at its first byte, as Chinese text has.
CH_HELPER bool ThreeByteLeads(__m256i x) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(LeadBytes(x))) == 0x49249249;
}

using commonhelpers_internal::StoreFirst;

// The first `count` bytes of `x` (fewer than 32) at `to`.
CH_HELPER void StoreFirst(uint8_t* to, __m256i x, size_t count) {
  __m128i part = _mm256_castsi256_si128(x);
  if (count >= 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), part);
    part = _mm256_extracti128_si256(x, 1);
  }
  StoreFirst(to + (count & 16), part, count & 15);
}

// The first `count` bytes of `v` (fewer than 64) at `to`.
CH_HELPER void StoreFirst(const __m256i (&v)[2], uint8_t* to, size_t count) {
  if (count >= 32) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v[0]);
    StoreFirst(to + 32, v[1], count - 32);
  } else {
    StoreFirst(to, v[0], count);
  }
}

// The first `count` (at most 64) of the ASCII bytes of `v` as units at `to`.
CH_HELPER void WidenFirst(const __m256i (&v)[2], uint16_t* to, size_t count) {
  const __m256i units[] = {_mm256_cvtepu8_epi16(_mm256_castsi256_si128(v[0])),
                           _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v[0], 1)),
                           _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v[1])),
                           _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v[1], 1))};
  for (size_t q = 0; q < 4 && 16 * q < count; ++q) {
    if (count - 16 * q >= 16) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 16 * q), units[q]);
    } else {
      StoreFirst(reinterpret_cast<uint8_t*>(to + 16 * q), units[q], 2 * (count - 16 * q));
    }
  }
}

// `piece` at `out + at` (`at` at most `end`), but for its bytes from `end`
// on, which are not written. Left to the compiler to inline, as it does where
// `end` is known when compiled: an unoptimized build then has one copy of its
// tests rather than one per call.
CH_TARGET inline void StoreBefore(uint8_t* out, size_t at, __m128i piece, size_t end) {
  if (end - at >= sizeof(__m128i)) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), piece);
  } else {
    StoreFirst(out + at, piece, end - at);
  }
}

// Two rows of a shuffle table, one per 128-bit lane.
CH_HELPER __m256i Rows(const uint8_t* lane0, const uint8_t* lane1) {
  return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(lane1),
                             reinterpret_cast<const __m128i*>(lane0));
}

// Each 8-unit lane of `first` and `second` (the 8-byte groups of a 32-byte
// register in the order of DecodeUtf8) packed by its bits of `ends`, in
// order: the units a group keeps come first.
struct UnitGroups {
  __m128i units[4];
};

CH_HELPER UnitGroups GroupUnits(__m256i first, __m256i second, uint32_t ends) {
  const __m256i even = _mm256_shuffle_epi8(
      first, Rows(kPackUnits.rows[ends & 0xFF], kPackUnits.rows[(ends >> 16) & 0xFF]));
  const __m256i odd = _mm256_shuffle_epi8(
      second, Rows(kPackUnits.rows[(ends >> 8) & 0xFF], kPackUnits.rows[ends >> 24]));
  return {{_mm256_castsi256_si128(even), _mm256_castsi256_si128(odd),
           _mm256_extracti128_si256(even, 1), _mm256_extracti128_si256(odd, 1)}};
}

// Stores the groups (see GroupUnits) in order into `out` at their starts
// `at`: each store writes a whole lane, past the units it keeps, which the
// next one covers.
CH_HELPER void PackUnits(__m256i first, __m256i second, uint32_t ends, uint16_t* out,
                         const size_t* at) {
  const UnitGroups groups = GroupUnits(first, second, ends);
  for (size_t g = 0; g < std::size(groups.units); ++g) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at[g]), groups.units[g]);
  }
}

// The 64 ASCII bytes of `v` as 16-bit units at `dst`.
CH_HELPER void Widen(const __m256i (&v)[2], uint16_t* dst) {
  for (int k = 0; k < 2; ++k) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 32 * k),
                        _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v[k])));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 32 * k + 16),
                        _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v[k], 1)));
  }
}

// The last characters of a text, `rest` bytes (fewer than 64) of three-byte
// ones: all of them, as units at `to`, when all are well formed and fit in
// `room` units; else none. Returns the characters taken. From eight on, the
// first group and the last (which overlap unless they are the whole of it)
// are read where they stand; fewer, which a group would read past, come
// from a load in parts.
template <typename Paths>
CH_HELPER size_t ChineseTail(const uint8_t* from, size_t rest, uint16_t* to, size_t room,
                             Paths& paths) {
  const size_t count = rest / 3;
  if (count == 0 || !IsThreeByteLead(from[0]) || rest % 3 != 0 || count > room) return 0;
  if (count >= 16) {
    paths.Took(kSixteenTailPath);
    __m256i units[2];
    if ((SixteenThreeByteUnits(from, units[0]) |
         SixteenThreeByteUnits(from + rest - 48, units[1])) != 0) {
      return 0;
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), units[0]);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + count - 16), units[1]);
    return count;
  }
  if (count >= 8) {
    __m128i units[2];
    if (!EightThreeByteUnits(from, units[0]) || !EightThreeByteUnits(from + rest - 24, units[1])) {
      return 0;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), units[0]);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + count - 8), units[1]);
    return count;
  }
  __m256i v[2];
  LoadPart(from, rest, v);
  __m256i units;
  if ((ThreeByteUnits(v[0], v[0], units) & Below(count)) != 0) return 0;
  StoreFirst(reinterpret_cast<uint8_t*>(to), _mm256_castsi256_si128(units), 2 * count);
  return count;
}

// Chinese text: 16 three-byte characters at a time for as long as it lasts,
// where the first 32 bytes are the leads of such characters and at least a
// block is left; then, where fewer than 64 bytes are left (a sentence), the
// characters of those at once (see ChineseTail).
template <typename Paths>
CH_HELPER size_t ChineseGroups(const uint8_t* src, size_t n, uint16_t* dst, size_t cap,
                               Paths& paths) {
  size_t at = 0, o = 0;
  if (n >= kBytes && ThreeByteLeads(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(src)))) {
    for (; n - at >= 48 && cap - o >= 16 && ThreeByteChars(src + at, dst + o); at += 48, o += 16) {
    }
  }
  if (n - at < kBytes) o += ChineseTail(src + at, n - at, dst + o, cap - o, paths);
  return o;
}

// As the run takes them (the end of a text of one block too).
CH_TARGET size_t Avx2ThreeByteGroups(const uint8_t* src, size_t n, uint16_t* dst, size_t cap) {
  NoPaths none;
  return ChineseGroups(src, n, dst, cap, none);
}

// The cheaper plan alone, for the tests (see FaultFreeBlock).
CH_TARGET bool Avx2WithoutFaults(const uint8_t* before, const uint8_t* block, size_t room,
                                 bool atEnd) {
  __m256i v[2], prev[2];
  Load(before, prev);
  Load(block, v);
  Utf8Bytes left = {};
  left.len = kBytes;
  left.atEnd = atEnd;
  return !PlanBlock<true>(v, prev[1], left, block, room).stop;
}

// Where each group of eight bytes' characters start among the units of
// their block.
struct GroupStarts {
  size_t at[8];
};

CH_HELPER GroupStarts StartsOf(uint64_t ends) {
  GroupStarts starts;
  for (size_t g = 0; g < 8; ++g) starts.at[g] = CountOnes(ends & Below(8 * g));
  return starts;
}

// StoreUnits near the room's end: each store cut where the output ends. Out
// of line, as it is rare (a block within 7 units of the room's end).
__attribute__((noinline)) CH_TARGET void StoreUnitsBefore(const __m256i (&v)[2], __m256i prev,
                                                          uint64_t ends, size_t count,
                                                          uint16_t* dst) {
  const GroupStarts starts = StartsOf(ends);
  for (int k = 0; k < 2; ++k) {
    __m256i first, second;
    DecodeUtf8(v, prev, k, first, second);
    const UnitGroups groups = GroupUnits(first, second, static_cast<uint32_t>(ends >> (32 * k)));
    for (size_t g = 0; g < std::size(groups.units) && starts.at[4 * k + g] < count; ++g) {
      StoreBefore(reinterpret_cast<uint8_t*>(dst), 2 * starts.at[4 * k + g], groups.units[g],
                  2 * count);
    }
  }
}

// The `count` characters of a block that end where `ends` has a bit, as
// units at `dst` (room for `room`). Each group's store writes a whole lane,
// past the units it keeps, which the next one covers; the last reaches up to
// 7 units past the block's output, which are put back as they were. Where
// the room ends sooner, see StoreUnitsBefore. With `kRegisters` 1, every
// character ends in v[0], and v[1] is left alone (a mixed clause a quarter
// faster).
template <int kRegisters = 2, typename Paths>
CH_HELPER void StoreUnits(const __m256i (&v)[2], __m256i prev, uint64_t ends, size_t count,
                          uint16_t* dst, size_t room, Paths& paths) {
  if (room < count + 7) {
    StoreUnitsBefore(v, prev, ends, count, dst);
    return;
  }
  paths.Took(kInPlacePath);
  const GroupStarts starts = StartsOf(ends);
  const __m128i after = _mm_loadu_si128(reinterpret_cast<const __m128i*>(dst + count));
  for (int k = 0; k < kRegisters; ++k) {
    __m256i first, second;
    DecodeUtf8(v, prev, k, first, second);
    PackUnits(first, second, static_cast<uint32_t>(ends >> (32 * k)), dst, starts.at + 4 * k);
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + count), after);
}

// Out of line: inlined into its one caller, the entry for a sentence below,
// its loop lost registers to it (mixed pages a quarter slower).
template <typename Paths>
__attribute__((noinline)) CH_TARGET auto Avx2Utf8Blocks(const uint8_t* src, size_t n, size_t i,
                                                        uint16_t* dst, size_t cap, size_t o) {
  Paths paths;
  Utf8Bytes left = {};
  __m256i prev = _mm256_setzero_si256();
  while (i < n) {
    __m256i v[2];
    left.len = Smaller(n - i, kBytes);
    if (left.len == kBytes) {
      Load(src + i, v);
    } else {
      LoadPart(src + i, left.len, v);
    }
    const bool ascii = left.claimed == 0 && _mm256_movemask_epi8(_mm256_or_si256(v[0], v[1])) == 0;
    if (ascii && left.len == kBytes && cap - o >= kBytes) {
      // 64 ASCII bytes, and the text after them two blocks at a time for as
      // long as it is ASCII (English text).
      paths.Took(kWholeAsciiBlockPath);
      Widen(v, dst + o);
      prev = v[1];
      i += kBytes;
      o += kBytes;
      for (size_t pairs = Smaller(n - i, cap - o) / kTwoBlocks; pairs > 0;
           --pairs, i += kTwoBlocks, o += kTwoBlocks) {
        __m256i next[2][2];
        Load(src + i, next[0]);
        Load(src + i + kBytes, next[1]);
        if (_mm256_movemask_epi8(_mm256_or_si256(_mm256_or_si256(next[0][0], next[0][1]),
                                                 _mm256_or_si256(next[1][0], next[1][1]))) != 0) {
          break;
        }
        Widen(next[0], dst + o);
        Widen(next[1], dst + o + kBytes);
        prev = next[1][1];
      }
      continue;
    }
    if (ascii) {  // the text's last bytes, or the room's: what fits, and the run ends
      paths.Took(kLastAsciiBytesPath);
      const size_t take = Smaller(left.len, cap - o);
      WidenFirst(v, dst + o, take);
      i += take;
      o += take;
      break;
    }
    // Chinese text, from the first character not taken yet. The next block
    // starts at a character, so needs no bytes before it.
    const size_t start = i - left.open;
    const size_t taken = ChineseGroups(src + start, n - start, dst + o, cap - o, paths);
    if (taken != 0) {
      i = start + 3 * taken;
      o += taken;
      left = Utf8Bytes{};
      prev = _mm256_setzero_si256();
      continue;
    }
    left.atEnd = n - i == left.len;
    const Utf8Plan plan = PlanBlock(v, prev, left, src + i, cap - o);
    StoreUnits(v, prev, plan.ends, plan.count, dst + o, cap - o, paths);
    o += plan.count;
    if (plan.stop) {
      i = i - left.open + plan.resume;
      break;
    }
    i += left.len;
    left = plan.next;
    prev = v[1];
  }
  return paths.End(i, o);
}

// A run whose text ends within its first block (a sentence) takes that block
// here, where nothing comes before it and it has the registers to itself, as
// Avx2Utf8Blocks would take it.
template <typename Paths>
CH_TARGET auto Avx2Utf8To16(const uint8_t* src, size_t n, size_t i, uint16_t* dst, size_t cap,
                            size_t o) {
  const size_t len = n - i;
  if (len > kBytes) return Avx2Utf8Blocks<Paths>(src, n, i, dst, cap, o);
  Paths paths;
  paths.Took(kShortTextPath);
  __m256i v[2];
  if (len == kBytes) {
    Load(src + i, v);
  } else {
    // Chinese text shorter than a block is read where it stands, so it
    // needs no load in parts first (a tenth off a clause).
    const size_t taken = ChineseTail(src + i, len, dst + o, cap - o, paths);
    if (taken != 0) return paths.End(n, o + taken);
    LoadPart(src + i, len, v);
  }
  if (_mm256_movemask_epi8(_mm256_or_si256(v[0], v[1])) == 0) {
    const size_t take = Smaller(len, cap - o);
    if (take == kBytes) {  // stores known when compiled: a tenth off a sentence of 64 bytes
      Widen(v, dst + o);
    } else {
      WidenFirst(v, dst + o, take);
    }
    return paths.End(i + take, o + take);
  }
  // Chinese groups in a whole block (a shorter text is taken above or not at
  // all); what they leave, fewer than 64 bytes, starts anew.
  const size_t taken = ChineseGroups(src + i, len, dst + o, cap - o, paths);
  i += 3 * taken;
  o += taken;
  if (taken != 0) LoadPart(src + i, n - i, v);
  Utf8Bytes only = {};
  only.len = n - i;
  only.atEnd = true;
  const __m256i none = _mm256_setzero_si256();
  const Utf8Plan plan = PlanBlock(v, none, only, src + i, cap - o);
  if ((plan.ends >> 32) == 0) {  // all its characters end in v[0] (a clause)
    StoreUnits<1>(v, none, plan.ends, plan.count, dst + o, cap - o, paths);
  } else {
    StoreUnits(v, none, plan.ends, plan.count, dst + o, cap - o, paths);
  }
  return paths.End(plan.stop ? i + plan.resume : n, o + plan.count);
}

// Bit p of the result for unit p of v[0] and v[1]: packs keeps each 128-bit
// lane apart, so the quarters are put back in order.
CH_HELPER uint64_t UnitBits(__m256i first, __m256i second) {
  const __m256i packed = _mm256_permute4x64_epi64(_mm256_packs_epi16(first, second), 0xD8);
  return static_cast<uint32_t>(_mm256_movemask_epi8(packed));
}

// All ones in the units of a register below 0x80 (`ascii`), below 0x800
// (`belowThree`), and in its surrogates.
struct UnitKinds {
  __m256i ascii;
  __m256i belowThree;
  __m256i surrogate;
};

CH_HELPER UnitKinds KindsOf(__m256i u) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i top = _mm256_and_si256(u, _mm256_set1_epi16(static_cast<short>(0xF800)));
  return {_mm256_cmpeq_epi16(_mm256_subs_epu16(u, _mm256_set1_epi16(0x7F)), zero),
          _mm256_cmpeq_epi16(top, zero),
          _mm256_cmpeq_epi16(top, _mm256_set1_epi16(static_cast<short>(0xD800)))};
}

CH_HELPER Utf16Units ClassifyUtf16(const UnitKinds (&kinds)[2], size_t len) {
  return {~UnitBits(kinds[0].ascii, kinds[1].ascii) & Below(len),
          ~UnitBits(kinds[0].belowThree, kinds[1].belowThree) & Below(len),
          UnitBits(kinds[0].surrogate, kinds[1].surrogate), len};
}

// The rows of PackForms for the four groups of four units of a register,
// byte j for units 4j to 4j + 3: packs puts each 128-bit lane's eight ASCII
// flags before its eight flags below 0x800, and the shuffle interleaves them
// four by four.
CH_HELPER uint32_t FormRows(const UnitKinds& kinds) {
  const __m256i order = _mm256_setr_epi8(0, 1, 2, 3, 8, 9, 10, 11, 4, 5, 6, 7, 12, 13, 14, 15, 0, 1,
                                         2, 3, 8, 9, 10, 11, 4, 5, 6, 7, 12, 13, 14, 15);
  return ~static_cast<uint32_t>(_mm256_movemask_epi8(
      _mm256_shuffle_epi8(_mm256_packs_epi16(kinds.ascii, kinds.belowThree), order)));
}

// Each unit's UTF-8 form in a 32-bit lane, first byte lowest, unused bytes
// 0: lanes of units 0-3 and 8-11 in `first`, 4-7 and 12-15 in `second`.
CH_HELPER void EncodeUtf16(__m256i u, const UnitKinds& kinds, __m256i& first, __m256i& second) {
  const __m256i last =
      _mm256_or_si256(_mm256_and_si256(u, _mm256_set1_epi16(0x3F)), _mm256_set1_epi16(0x80));
  const __m256i twoBytes =
      _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi16(u, 6), _mm256_slli_epi16(last, 8)),
                      _mm256_set1_epi16(0xC0));
  const __m256i threeBytes = _mm256_or_si256(
      _mm256_or_si256(_mm256_srli_epi16(u, 12), _mm256_set1_epi16(static_cast<short>(0x80E0))),
      _mm256_slli_epi16(_mm256_and_si256(u, _mm256_set1_epi16(0x0FC0)), 2));
  const __m256i firstTwo = _mm256_blendv_epi8(
      _mm256_blendv_epi8(threeBytes, twoBytes, kinds.belowThree), u, kinds.ascii);
  const __m256i third = _mm256_andnot_si256(kinds.belowThree, last);
  first = _mm256_unpacklo_epi16(firstTwo, third);
  second = _mm256_unpackhi_epi16(firstTwo, third);
}

CH_HELPER size_t LastFormsAt(uint32_t rows) { return 12 + CountOnes(rows & 0xFFFFFF); }

// The forms of each 4-unit lane of `first` and `second` (in the order of
// EncodeUtf16) packed by its row of PackForms, byte j of `rows` for lane j,
// in order, with where each starts: 16 bytes each, the bytes past a group's
// forms being the next group's to cover.
struct FormGroups {
  __m128i forms[4];
  size_t at[4];
};

CH_HELPER FormGroups GroupForms(__m256i first, __m256i second, uint32_t rows) {
  const __m256i even = _mm256_shuffle_epi8(
      first, Rows(kPackForms.rows[rows & 0xFF], kPackForms.rows[(rows >> 16) & 0xFF]));
  const __m256i odd = _mm256_shuffle_epi8(
      second, Rows(kPackForms.rows[(rows >> 8) & 0xFF], kPackForms.rows[rows >> 24]));
  return {{_mm256_castsi256_si128(even), _mm256_castsi256_si128(odd),
           _mm256_extracti128_si256(even, 1), _mm256_extracti128_si256(odd, 1)},
          {0, 4 + CountOnes(rows & 0xFF), 8 + CountOnes(rows & 0xFFFF), LastFormsAt(rows)}};
}

// Stores the groups (see GroupForms) from `out` on, each store covered by
// the next; the last reaches up to 12 bytes past the forms.
CH_HELPER void PackForms(__m256i first, __m256i second, uint32_t rows, uint8_t* out) {
  const FormGroups groups = GroupForms(first, second, rows);
  for (size_t g = 0; g < std::size(groups.at); ++g) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + groups.at[g]), groups.forms[g]);
  }
}

// The three-byte forms of the 16 units of `units` (none below U+0800, no
// surrogate), 12 bytes for each four units, in order; each piece's last 4
// bytes are not part of them.
struct FormPieces {
  __m128i pieces[4];
};

CH_HELPER FormPieces ThreeBytePieces(__m256i units) {
  const __m256i firstTwo = _mm256_or_si256(
      _mm256_or_si256(_mm256_srli_epi16(units, 12), _mm256_set1_epi16(static_cast<short>(0x80E0))),
      _mm256_slli_epi16(_mm256_and_si256(units, _mm256_set1_epi16(0x0FC0)), 2));
  const __m256i last =
      _mm256_or_si256(_mm256_and_si256(units, _mm256_set1_epi16(0x3F)), _mm256_set1_epi16(0x80));
  const __m256i pack = _mm256_broadcastsi128_si256(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(kPackForms.rows[0xFF])));
  // Units 0-3 and 8-11, then 4-7 and 12-15.
  const __m256i low = _mm256_shuffle_epi8(_mm256_unpacklo_epi16(firstTwo, last), pack);
  const __m256i high = _mm256_shuffle_epi8(_mm256_unpackhi_epi16(firstTwo, last), pack);
  return {{_mm256_castsi256_si128(low), _mm256_castsi256_si128(high),
           _mm256_extracti128_si256(low, 1), _mm256_extracti128_si256(high, 1)}};
}

// The 48 bytes of such forms from `out` + `from` on, but for the bytes from
// `end` on, which are not written. Each store writes a whole lane, or what of
// it comes before `end`: the 4 bytes past its 12 are covered by the next
// store, or by the first of the call for the next 16 units.
CH_HELPER void ThreeByteForms(__m256i units, uint8_t* out, size_t from, size_t end) {
  const FormPieces forms = ThreeBytePieces(units);
  for (size_t p = 0, at = from; p < std::size(forms.pieces) && at < end; ++p, at += 12) {
    StoreBefore(out, at, forms.pieces[p], end);
  }
}

// The 48 bytes of such forms ending at `end`, and nothing after them: the
// last store takes the last piece's 12 bytes after the 4 before them.
CH_HELPER void ThreeByteFormsBefore(__m256i units, uint8_t* end) {
  const FormPieces forms = ThreeBytePieces(units);
  for (size_t p = 0; p < 3; ++p) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(end - 48 + 12 * p), forms.pieces[p]);
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(end - 16),
                   _mm_alignr_epi8(forms.pieces[3], _mm_slli_si128(forms.pieces[2], 4), 12));
}

// The forms of a block of units that are not all ASCII nor all of three
// bytes (zeros after the text's last units), whose first half has a unit
// that is not ASCII, from `out` on, each store covered by the next; the last
// reaches up to 31 bytes past the block's output. A second half of ASCII
// units (or of zeros) is stored as it is.
CH_HELPER void StoreForms(const __m256i (&v)[2], const UnitKinds (&kinds)[2],
                          const uint32_t (&rows)[2], uint8_t* out) {
  __m256i first, second;
  EncodeUtf16(v[0], kinds[0], first, second);
  PackForms(first, second, rows[0], out);
  uint8_t* const half = out + kHalfUnits + CountOnes(rows[0]);
  if (rows[1] == 0) {
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(half),
        _mm_packus_epi16(_mm256_castsi256_si128(v[1]), _mm256_extracti128_si256(v[1], 1)));
  } else {
    EncodeUtf16(v[1], kinds[1], first, second);
    PackForms(first, second, rows[1], half);
  }
}

// The forms of the 16 units of `u` from `out + at` on (`at` at most `end`),
// but for the bytes from `end` on, which are not written.
CH_HELPER void StoreFormsBefore(uint8_t* out, size_t at, __m256i u, const UnitKinds& kinds,
                                uint32_t rows, size_t end) {
  if (rows == 0) {  // ASCII units are their low bytes
    StoreBefore(out, at,
                _mm_packus_epi16(_mm256_castsi256_si128(u), _mm256_extracti128_si256(u, 1)), end);
    return;
  }
  __m256i first, second;
  EncodeUtf16(u, kinds, first, second);
  const FormGroups groups = GroupForms(first, second, rows);
  for (size_t g = 0; g < std::size(groups.at) && at + groups.at[g] < end; ++g) {
    StoreBefore(out, at + groups.at[g], groups.forms[g], end);
  }
}

// Such a block (see StoreForms) that the run's loop does not take in place
// (near the room's end, or with a surrogate): the units the plan takes,
// straight into place, each store cut where their bytes end. Out of line, so
// that the loop over the blocks before keeps its registers; for the same
// reason the block's kinds are worked out again here rather than passed
// (passing them made the mixed page and sentence 3 to 7 % slower).
__attribute__((noinline)) CH_TARGET Utf16Plan Avx2LastForms(__m256i v0, __m256i v1, uint32_t rows0,
                                                            uint32_t rows1, size_t len,
                                                            uint8_t* dst, size_t room) {
  const UnitKinds kinds[] = {KindsOf(v0), KindsOf(v1)};
  const Utf16Plan plan = PlanUtf16(ClassifyUtf16(kinds, len), room);
  StoreFormsBefore(dst, 0, v0, kinds[0], rows0, plan.bytes);
  const size_t half = kHalfUnits + CountOnes(rows0);
  if (half < plan.bytes) StoreFormsBefore(dst, half, v1, kinds[1], rows1, plan.bytes);
  return plan;
}

// A run of at most 16 units (a clause): one register, whatever its units,
// each store cut where the bytes the plan takes end (a mixed clause of 24
// bytes a quarter faster than through the loop below); Chinese text, as much
// as fits, in the fixed pieces of Chinese blocks before any plan (a Chinese
// clause a quarter faster). Out of line: inlined into the run's entry, it
// made English pages a twentieth slower.
template <typename Paths>
__attribute__((noinline)) CH_TARGET auto ShortUtf16To8(const uint16_t* src, size_t n, size_t i,
                                                       uint8_t* dst, size_t cap, size_t o) {
  Paths paths;
  paths.Took(kShortTextPath);
  __m256i v[2];
  LoadLastUnits(src + i, n - i, v);
  const UnitKinds kinds[] = {KindsOf(v[0]), KindsOf(v[1])};
  const __m256i notThree = _mm256_or_si256(kinds[0].belowThree, kinds[0].surrogate);
  if ((UnitBits(notThree, _mm256_setzero_si256()) & Below(n - i)) == 0) {  // Chinese text
    const size_t take = Smaller(n - i, (cap - o) / 3);
    ThreeByteForms(v[0], dst + o, 0, 3 * take);
    return paths.End(i + take, o + 3 * take);
  }
  const Utf16Plan plan = PlanUtf16(ClassifyUtf16(kinds, n - i), cap - o);
  StoreFormsBefore(dst + o, 0, v[0], kinds[0], FormRows(kinds[0]), plan.bytes);
  return paths.End(i + plan.count, o + plan.bytes);
}

// The run of more than 16 units (see Avx2Utf16To8). Out of line, so that a
// clause goes to its own function before this one sets up its frame (a mixed
// clause a tenth faster).
template <typename Paths>
__attribute__((noinline)) CH_TARGET auto Avx2Utf16To8Blocks(const uint16_t* src, size_t n, size_t i,
                                                            uint8_t* dst, size_t cap, size_t o) {
  Paths paths;
  while (i < n) {
    __m256i v[2];
    const size_t len = Smaller(n - i, kUnits);
    if (len == kUnits) {
      Load(src + i, v);
    } else {
      if (len <= kHalfUnits && cap - o >= len) {
        // The text's last 16 units, some of them taken already by this run
        // (which has more than 16): when all are ASCII, one store ends the
        // output with them, writing the bytes of those taken again as they
        // are.
        const __m256i last =
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + n - kHalfUnits));
        if (_mm256_testz_si256(last, _mm256_set1_epi16(static_cast<short>(0xFF80)))) {
          _mm_storeu_si128(
              reinterpret_cast<__m128i*>(dst + o + len - kHalfUnits),
              _mm_packus_epi16(_mm256_castsi256_si128(last), _mm256_extracti128_si256(last, 1)));
          paths.Took(kLastAsciiPath);
          return paths.End(n, o + len);
        }
      }
      LoadLastUnits(src + i, len, v);
    }
    // Nonzero where a unit is not ASCII.
    const __m256i nonAscii[] = {_mm256_subs_epu16(v[0], _mm256_set1_epi16(0x7F)),
                                _mm256_subs_epu16(v[1], _mm256_set1_epi16(0x7F))};
    // Each shortcut takes what fits of its block, and ends the run where that
    // is not all of it. ASCII units are their low bytes.
    const __m256i low = _mm256_permute4x64_epi64(_mm256_packus_epi16(v[0], v[1]), 0xD8);
    const __m256i anyNonAscii = _mm256_or_si256(nonAscii[0], nonAscii[1]);
    if (_mm256_testz_si256(anyNonAscii, anyNonAscii)) {  // ASCII units only
      const size_t take = Smaller(len, cap - o);
      if (take == kUnits) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o), low);
      } else {
        StoreFirst(dst + o, low, take);
      }
      i += take;
      o += take;
      if (take < len) break;
      continue;
    }
    if (_mm256_testz_si256(nonAscii[0], nonAscii[0])) {  // 16 ASCII units, then others
      const size_t take = Smaller(kHalfUnits, cap - o);
      StoreFirst(dst + o, low, take);
      i += take;
      o += take;
      if (take < kHalfUnits) break;
      continue;
    }
    if (len == kUnits && _mm256_testz_si256(nonAscii[1], nonAscii[1])) {
      // Others, then 16 ASCII units: the ASCII half's store ends where the
      // output does and covers every store before it.
      const UnitKinds kinds = KindsOf(v[0]);
      const uint32_t rows = FormRows(kinds);
      const size_t bytes = kUnits + CountOnes(rows);
      if (_mm256_testz_si256(kinds.surrogate, kinds.surrogate) && cap - o >= bytes) {
        __m256i first, second;
        EncodeUtf16(v[0], kinds, first, second);
        PackForms(first, second, rows, dst + o);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o + bytes - kHalfUnits),
                         _mm256_extracti128_si256(low, 1));
        paths.Took(kAsciiSecondHalfPath);
        o += bytes;
        i += kUnits;
        continue;
      }
    }
    const UnitKinds kinds[] = {KindsOf(v[0]), KindsOf(v[1])};
    const __m256i surrogate = _mm256_or_si256(kinds[0].surrogate, kinds[1].surrogate);
    const bool surrogates = !_mm256_testz_si256(surrogate, surrogate);
    if (!surrogates && (UnitBits(kinds[0].belowThree, kinds[1].belowThree) & Below(len)) == 0) {
      // Units of three bytes each (Chinese text); a whole block's stores
      // are known when compiled.
      const size_t take = Smaller(len, (cap - o) / 3);
      if (take == kUnits) {
        ThreeByteForms(v[0], dst + o, 0, 3 * kUnits);
        ThreeByteForms(v[1], dst + o, 48, 3 * kUnits);
      } else {
        // A block cut short: its first 16 units' forms, and where it has
        // more, those of its last 16 (loaded again: v[1] holds fewer),
        // ending where the output does, over the first ones.
        ThreeByteForms(v[0], dst + o, 0, 3 * take);
        if (take > kHalfUnits) {
          paths.Took(kChineseLast16Path);
          ThreeByteFormsBefore(
              _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + take - kHalfUnits)),
              dst + o + 3 * take);
        }
      }
      i += take;
      o += 3 * take;
      if (take < len) break;
      continue;
    }
    const uint32_t rows[] = {FormRows(kinds[0]), FormRows(kinds[1])};
    const size_t bytes = len + CountOnes(rows[0]) + CountOnes(rows[1]);
    // Straight into place where the room has 32 bytes to spare: the stores
    // reach up to 31 bytes past the block's output (the zeros after a text's
    // last units count as ASCII), which are put back as they were.
    if (surrogates || cap - o < bytes + sizeof(__m256i)) {
      const Utf16Plan plan = Avx2LastForms(v[0], v[1], rows[0], rows[1], len, dst + o, cap - o);
      o += plan.bytes;
      i += plan.count;
      if (plan.stop) break;
      continue;
    }
    const __m256i after = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(dst + o + bytes));
    StoreForms(v, kinds, rows, dst + o);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o + bytes), after);
    paths.Took(kInPlacePath);
    o += bytes;
    i += len;
  }
  return paths.End(i, o);
}

template <typename Paths>
CH_TARGET auto Avx2Utf16To8(const uint16_t* src, size_t n, size_t i, uint8_t* dst, size_t cap,
                            size_t o) {
  if (n - i > kHalfUnits) return Avx2Utf16To8Blocks<Paths>(src, n, i, dst, cap, o);
  return ShortUtf16To8<Paths>(src, n, i, dst, cap, o);
}

// Nonzero in the bytes of the leads of `x` that change, from the low six
// bits `s` and `t` of the two bytes after each (see ChangeTables).
CH_HELPER __m256i Changes(__m256i x, __m256i s, __m256i t) {
  const __m256i low = Byte(0x0F);
  const __m256i classes = _mm256_and_si256(
      _mm256_and_si256(Lookup(kChangeTables.lead, _mm256_and_si256(x, low)), LeadBytes(x)),
      _mm256_and_si256(
          Lookup(kChangeTables.secondLow, _mm256_and_si256(s, low)),
          Lookup(kChangeTables.secondHigh, _mm256_and_si256(_mm256_srli_epi16(s, 4), low))));
  const __m256i thirds = _mm256_and_si256(
      Lookup(kChangeTables.thirdLow, _mm256_and_si256(t, low)),
      Lookup(kChangeTables.thirdHigh, _mm256_and_si256(_mm256_srli_epi16(t, 4), low)));
  const __m256i space =
      _mm256_and_si256(_mm256_cmpeq_epi8(x, Byte(0xE3)),
                       _mm256_cmpeq_epi8(_mm256_or_si256(s, t), _mm256_setzero_si256()));
  return _mm256_or_si256(_mm256_and_si256(classes, thirds), space);
}

// Whether a byte of `v` is E2, E3 or EF, the leads that may change.
CH_HELPER bool MayChange(const __m256i (&v)[2]) {
  __m256i leads = _mm256_setzero_si256();
  for (const __m256i x : v) {
    leads = _mm256_or_si256(
        leads, _mm256_or_si256(_mm256_cmpeq_epi8(_mm256_and_si256(x, Byte(0xFE)), Byte(0xE2)),
                               _mm256_cmpeq_epi8(x, Byte(0xEF))));
  }
  return !_mm256_testz_si256(leads, leads);
}

// All ones in the bytes of the leads of `x` that change.
CH_HELPER __m256i ChangeMask(__m256i x, __m256i s, __m256i t) {
  return _mm256_xor_si256(_mm256_cmpeq_epi8(Changes(x, s, t), _mm256_setzero_si256()),
                          _mm256_set1_epi8(-1));
}

// The byte each changing lead of `x` becomes: k + 0x20 (k + 0x60 for EF
// 3D) for the full-width forms and the space, '-' for E2 00, k + 0x11 for
// E2 11, k being `t`.
CH_HELPER __m256i Halves(__m256i x, __m256i s, __m256i t) {
  const __m256i wide = _mm256_add_epi8(
      t, _mm256_add_epi8(Byte(0x20), _mm256_slli_epi16(_mm256_and_si256(s, Byte(1)), 6)));
  const __m256i narrow = _mm256_blendv_epi8(Byte('-'), _mm256_add_epi8(t, Byte(0x11)),
                                            _mm256_cmpeq_epi8(s, Byte(0x11)));
  return _mm256_blendv_epi8(wide, narrow, _mm256_cmpeq_epi8(x, Byte(0xE2)));
}

// 0x70 to 0x7F in the bytes of `x` that lead a three-byte character (their
// low nibble kept) and the top bit set in every other byte: an index into a
// table of the leads' low nibbles, and the leads in its sign bits.
CH_HELPER __m256i LeadIndex(__m256i x) {
  return _mm256_adds_epu8(_mm256_xor_si256(x, Byte(0xE0)), Byte(0x70));
}

// Nonzero in the bytes of the leads of `x` that may change, from the two
// bytes after each, `s` and `t` (see ChangeFilter).
CH_HELPER __m256i MayChange(__m256i x, __m256i s, __m256i t) {
  const __m256i low = Byte(0x0F);
  return _mm256_and_si256(
      _mm256_and_si256(Lookup(kChangeFilter.lead, LeadIndex(x)),
                       Lookup(kChangeFilter.secondLow, _mm256_and_si256(s, low))),
      _mm256_and_si256(
          Lookup(kChangeFilter.thirdLow, _mm256_and_si256(t, low)),
          Lookup(kChangeFilter.thirdHigh, _mm256_and_si256(_mm256_srli_epi16(t, 4), Byte(0x03)))));
}

// Whether the 64 bytes at `from`, with the two after them, stay as they are,
// the block after them starting afresh: no lead may change, and neither of
// the last two has another lead among its next two bytes. Inside the block
// it is of no matter which leads start units and which a unit takes as its
// own bytes: every lead is tested, and when none may change, the bytes stay
// however they parse. Only a unit open at the end moves where the next
// block starts. `x` receives the 64 bytes.
CH_HELPER bool StaysAsItIs(const uint8_t* from, __m256i (&x)[2]) {
  Load(from, x);
  if (_mm256_movemask_epi8(_mm256_or_si256(x[0], x[1])) == 0) return true;  // ASCII
  __m256i s[2], t[2];
  Load(from + 1, s);
  Load(from + 2, t);
  const __m256i changes = _mm256_or_si256(MayChange(x[0], s[0], t[0]), MayChange(x[1], s[1], t[1]));
  // Sign bit clear where a lead has another lead among its next two bytes.
  const __m256i others =
      _mm256_or_si256(LeadIndex(x[1]), _mm256_and_si256(LeadIndex(s[1]), LeadIndex(t[1])));
  // The block's bytes 62 and 63, the top word of its second register.
  const __m256i lastTwo = _mm256_set_epi16(-1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m256i open =
      _mm256_or_si256(changes, _mm256_blendv_epi8(lastTwo, _mm256_setzero_si256(), others));
  return _mm256_testz_si256(open, open);
}

// The test of blocks that stay alone, for the tests (see StaysAsItIs).
CH_TARGET bool Avx2StaysAsItIs(const uint8_t* block) {
  __m256i x[2];
  return StaysAsItIs(block, x);
}

CH_TARGET void Avx2HalfWidth(const uint8_t* in, size_t n, size_t& ri, uint8_t* out, size_t& ro) {
  size_t i = ri;
  size_t o = ro;
  HalfWidthBytes b = {};
  while (i < n) {
    StartHalfWidthBlock(b, n - i);
    __m256i v[2];
    if (b.len == kBytes) {
      Load(in + i, v);
    } else {
      LoadPart(in + i, b.len, v);
    }
    b.leads = Bits(LeadBytes(v[0]), 0) | Bits(LeadBytes(v[1]), 1);
    if ((b.leads | b.skip) == 0 && b.len < kBytes) {
      // The last bytes, without a lead, stay as they are (an English clause
      // twice as fast as through the plan below).
      StoreFirst(v, out + o, b.len);
      i += b.len;
      o += b.len;
      break;
    }
    if ((b.leads | b.skip) == 0 && b.len == kBytes) {
      // 64 bytes without a lead, and the text after them two blocks at a
      // time for as long as it is ASCII (English text).
      Store(v, out + o);
      i += kBytes;
      o += kBytes;
      for (size_t pairs = (n - i) / kTwoBlocks; pairs > 0;
           --pairs, i += kTwoBlocks, o += kTwoBlocks) {
        __m256i next[2][2];
        Load(in + i, next[0]);
        Load(in + i + kBytes, next[1]);
        if (_mm256_movemask_epi8(_mm256_or_si256(_mm256_or_si256(next[0][0], next[0][1]),
                                                 _mm256_or_si256(next[1][0], next[1][1]))) != 0) {
          break;
        }
        Store(next[0], out + o);
        Store(next[1], out + o + kBytes);
      }
      continue;
    }
    // The bytes after each, zero past the text's end. At the text's end
    // (a sentence), loaded only when a lead is E2, E3 or EF, the only ones
    // that can change (a Chinese or mixed sentence without one a sixth
    // faster); without one they stay zero, which change no other lead.
    __m256i s[2] = {}, t[2] = {};
    if (b.ahead) {
      b.leadsAhead = LeadsAt(in + i + kBytes);
      Load(in + i + 1, s);
      Load(in + i + 2, t);
    } else if (MayChange(v)) {
      LoadPart(in + i + 1, n - i - 1, s);
      LoadPart(in + i + 2, Remaining(n - i, kAhead), t);
    }
    b.changes = 0;
    for (int k = 0; k < 2; ++k) {
      s[k] = _mm256_and_si256(s[k], Byte(0x3F));
      t[k] = _mm256_and_si256(t[k], Byte(0x3F));
      b.changes |= Bits(ChangeMask(v[k], s[k], t[k]), k);
    }
    if (Unchanged(b)) {
      // ... and the blocks after it that change nothing either, for as long
      // as they last (Chinese and mixed text).
      Store(v, out + o);
      __m256i next[2];
      i += kBytes;
      o += kBytes;
      for (size_t blocks = Remaining(n - i, kAhead) / kBytes;
           blocks > 0 && StaysAsItIs(in + i, next); --blocks, i += kBytes, o += kBytes) {
        Store(next, out + o);
      }
      b.skip = 0;
      continue;
    }
    const HalfWidthPlan plan = PlanHalfWidth(b);
    if (plan.changes == 0 && plan.keep == Below(plan.consumed)) {  // as it is
      memmove(out + o, in + i, plan.consumed);
      o += plan.consumed;
    } else {
      uint8_t bytes[kBytes + 8];
      size_t at = 0;
      for (int k = 0; k < 2; ++k) {
        const __m256i data =
            _mm256_blendv_epi8(v[k], Halves(v[k], s[k], t[k]), ChangeMask(v[k], s[k], t[k]));
        for (int half = 0; half < 2; ++half) {
          const uint64_t keep = plan.keep >> (32 * k + 16 * half);
          const __m128i lane =
              half == 0 ? _mm256_castsi256_si128(data) : _mm256_extracti128_si256(data, 1);
          const __m128i rows = _mm_add_epi8(
              _mm_unpacklo_epi64(
                  _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kPackBytes.rows[keep & 0xFF])),
                  _mm_loadl_epi64(
                      reinterpret_cast<const __m128i*>(kPackBytes.rows[(keep >> 8) & 0xFF]))),
              _mm_set_epi64x(0x0808080808080808, 0));
          const __m128i packed = _mm_shuffle_epi8(lane, rows);
          _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + at), packed);
          at += CountOnes(keep & 0xFF);
          _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + at),
                           _mm_unpackhi_epi64(packed, packed));
          at += CountOnes(keep & 0xFF00);
        }
      }
      memcpy(out + o, bytes, at);
      o += at;
    }
    if (!AfterHalfWidthPlan(plan, b, i)) break;
  }
  ri = i;
  ro = o;
}

// As SSE2's, 32 bytes at a time.
CH_TARGET CH_WHOLE_BLOCKS size_t Avx2TerminatedLength16(const uint16_t* text) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  const __m256i* block = reinterpret_cast<const __m256i*>(start & ~uintptr_t{31});
  const __m256i zero = _mm256_setzero_si256();
  uint32_t zeros = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(*block, zero))) &
                   (~0u << (start & 31));
  while (zeros == 0) {
    ++block;
    zeros = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(*block, zero)));
  }
  return (reinterpret_cast<uintptr_t>(block) + static_cast<unsigned>(__builtin_ctz(zeros)) -
          start) /
         2;
}

constexpr TracedRuns kAvx2TracedRuns = {Avx2Utf8To16<PathLog>, Avx2Utf16To8<PathLog>};

}  // namespace

extern const Kernels kAvx2Kernels = {"avx2",
                                     Avx2Supported,
                                     Avx2Utf8To16<NoPaths>,
                                     Avx2Utf16To8<NoPaths>,
                                     Avx2HalfWidth,
                                     Avx2TerminatedLength16,
                                     Avx2ThreeByteGroups,
                                     Avx2WithoutFaults,
                                     Avx2StaysAsItIs,
                                     nullptr,
                                     &kAvx2TracedRuns};

}  // namespace commonhelpers_internal

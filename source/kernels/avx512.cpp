// AVX-512 kernels (F, BW, VBMI and VBMI2): blocks of 64 bytes or 32 units in
// one register. The last block is a masked load, what a block keeps is packed
// by the byte compress instruction, and every store is masked to the units
// it writes, so no block needs a copy. Chinese text goes 32 characters at a
// time, from UTF-16 placed by two byte permutations.
#include <immintrin.h>

#include <cstdint>

#include "kernels/blocks.h"
#include "kernels/halfwidth.h"
#include "kernels/x86.h"

#define CH_TARGET \
  __attribute__((target("avx512f,avx512bw,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2,popcnt")))
// Helpers, inlined into the kernels that call them.
#define CH_HELPER CH_TARGET __attribute__((always_inline)) inline
// The runs are not instrumented by AddressSanitizer: GCC 12 gives their
// locals 64-byte aligned slots and moves, but the sanitizer's fake stack (its
// use-after-return check) aligns a frame to 32 bytes only, so an instrumented
// build faults. Their reads and writes past the text are masked, which the
// sanitizer does not check anyway.
#define CH_RUN CH_TARGET __attribute__((no_sanitize("address")))

// Some intrinsics are called in their zero-masked form with a full mask: the
// plain forms trip GCC 12's uninitialized warning inside its own header.

namespace commonhelpers_internal {
namespace {

constexpr size_t kBytes = 64;
constexpr size_t kUnits = 32;
constexpr size_t kTwoBlocks = 2 * kBytes;

struct Indexes {
  alignas(64) uint8_t bytes[64];
};

// Byte j of the result is byte `from` + j of a block, or of the 64 bytes
// after it (before it, for negative bytes)...
constexpr Indexes Shifted(int from) {
  Indexes t{};
  for (int j = 0; j < 64; ++j) t.bytes[j] = static_cast<uint8_t>((from + j) & 127);
  return t;
}

// ... or, for the 16-bit units 32 * half + k of two byte vectors lo and hi,
// byte k of lo then byte k of hi.
constexpr Indexes Interleaved(int half) {
  Indexes t{};
  for (int j = 0; j < 64; ++j) t.bytes[j] = static_cast<uint8_t>(32 * half + j / 2 + 64 * (j % 2));
  return t;
}

// ... or, for byte k of each 32-bit lane j, byte 3j + k (k < 3) of 48 bytes:
// one three-byte character per lane, its lead lowest (the top byte unused).
constexpr Indexes Spread3() {
  Indexes t{};
  for (int j = 0; j < 64; ++j)
    t.bytes[j] = static_cast<uint8_t>(j % 4 < 3 ? 3 * (j / 4) + j % 4 : 0);
  return t;
}

// ... or byte 2j: the low bytes of a block's 16-bit units, in order.
constexpr Indexes LowBytes() {
  Indexes t{};
  for (int j = 0; j < 64; ++j) t.bytes[j] = static_cast<uint8_t>(2 * j);
  return t;
}

// ... or, for the three-byte forms of 32 units from their first two bytes
// (16-bit lanes of one vector) and their third (the low bytes of another),
// byte 64 * part + j of those forms.
constexpr Indexes ThreeByteOrder(int part) {
  Indexes t{};
  for (int j = 0; j < 64; ++j) {
    const int k = (64 * part + j) / 3, r = (64 * part + j) % 3;
    t.bytes[j] = static_cast<uint8_t>(r < 2 ? 2 * k + r : 64 + 2 * k);
  }
  return t;
}

// What each three-byte character of fullToHalf's candidates becomes: by the
// low six bits of its third byte, for the leads EF with second byte 3C, then
// 3D (in `first` and `second`), and E2 with 00, then 11.
struct HalfTable {
  alignas(64) uint8_t first[64];
  alignas(64) uint8_t second[64];
};

constexpr HalfTable Halves(uint32_t first, uint32_t second) {
  HalfTable t{};
  for (uint32_t k = 0; k < 64; ++k) {
    t.first[k] = HalfWidthOf(first | k);
    t.second[k] = HalfWidthOf(second | k);
  }
  return t;
}

constexpr Indexes kBefore1 = Shifted(-1);
constexpr Indexes kBefore2 = Shifted(-2);
constexpr Indexes kUnitsLow = Interleaved(0);
constexpr Indexes kUnitsHigh = Interleaved(1);
constexpr Indexes kSpread3 = Spread3();
constexpr Indexes kLowBytes = LowBytes();
constexpr Indexes kThreeBytesFirst = ThreeByteOrder(0);
constexpr Indexes kThreeBytesSecond = ThreeByteOrder(1);
constexpr HalfTable kFullWidth = Halves(0xFF00, 0xFF40);
constexpr HalfTable kPunctuation = Halves(0x2000, 0x2440);

// fullToHalf's changes by class, a class being a lead and the low six bits
// of the byte after it, with one bit for each class that holds a unit that
// changes: a lead changes when the bits of its class meet those of the low six
// bits of its third byte. Each table is indexed by the low six bits of a byte
// (of the lead: 0x20 to 0x2F).
struct ChangeClasses {
  alignas(64) uint8_t lead[64];
  alignas(64) uint8_t second[64];
  alignas(64) uint8_t third[64];
  size_t count;
};

constexpr ChangeClasses MakeChangeClasses() {
  ChangeClasses t{};
  uint8_t bits[1024] = {};  // each class's bit, by the unit's bits above its third byte
  for (uint32_t unit = 0; unit < 0x10000; ++unit) {
    if (HalfWidthOf(unit) == 0) continue;
    uint8_t& bit = bits[unit >> 6];
    if (bit == 0) bit = static_cast<uint8_t>(1u << t.count++);
    t.lead[0x20 | unit >> 12] |= bit;
    t.second[(unit >> 6) & 0x3F] |= bit;
    t.third[unit & 0x3F] |= bit;
  }
  return t;
}

constexpr ChangeClasses kChangeClasses = MakeChangeClasses();
static_assert(kChangeClasses.count <= 8, "one bit of a byte for each class");

bool Avx512Supported() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2") &&
         __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") &&
         __builtin_cpu_supports("popcnt");
}

CH_HELPER __m512i Byte(int b) { return _mm512_set1_epi8(static_cast<char>(b)); }

// The bytes of `x` that lead a three-byte character (1110xxxx).
CH_HELPER uint64_t LeadBytes(__m512i x) {
  return _mm512_cmpeq_epi8_mask(_mm512_and_si512(x, Byte(0xF0)), Byte(0xE0));
}

CH_HELPER __m512i Load(const Indexes& t) { return _mm512_load_si512(t.bytes); }

// The 64 ASCII bytes of `x` as 16-bit units at `dst`.
CH_HELPER void Widen(__m512i x, uint16_t* dst) {
  _mm512_storeu_si512(dst, _mm512_cvtepu8_epi16(_mm512_maskz_extracti64x4_epi64(0xF, x, 0)));
  _mm512_storeu_si512(dst + 32, _mm512_cvtepu8_epi16(_mm512_maskz_extracti64x4_epi64(0xF, x, 1)));
}

// 32 three-byte characters, the 96 bytes at `from`, as units at `to`; false,
// with nothing written, unless all of them are well formed.
CH_HELPER bool ThreeByteChars(const uint8_t* from, uint16_t* to) {
  __m512i units[2];
  __mmask16 right = 0xFFFF;
  for (int k = 0; k < 2; ++k) {
    const __m512i c = _mm512_maskz_permutexvar_epi8(
        ~0ull, Load(kSpread3), _mm512_maskz_loadu_epi8(Below(48), from + 48 * k));
    units[k] = _mm512_ternarylogic_epi32(
        _mm512_maskz_slli_epi32(0xFFFF, _mm512_and_si512(c, _mm512_set1_epi32(0x0F)), 12),
        _mm512_and_si512(_mm512_maskz_srli_epi32(0xFFFF, c, 2), _mm512_set1_epi32(0x0FC0)),
        _mm512_and_si512(_mm512_maskz_srli_epi32(0xFFFF, c, 16), _mm512_set1_epi32(0x3F)),
        0xFE);  // a | b | c
    // 1110xxxx 10xxxxxx 10xxxxxx, not overlong (below U+0800), no surrogate.
    const __m512i top = _mm512_and_si512(units[k], _mm512_set1_epi32(0xF800));
    right &= static_cast<__mmask16>(
        _mm512_cmpeq_epi32_mask(_mm512_and_si512(c, _mm512_set1_epi32(0xC0C0F0)),
                                _mm512_set1_epi32(0x8080E0)) &
        _mm512_test_epi32_mask(top, top) &
        _mm512_cmpneq_epi32_mask(top, _mm512_set1_epi32(0xD800)));
  }
  if (right != 0xFFFF) return false;
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                      _mm512_maskz_cvtepi32_epi16(0xFFFF, units[0]));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 16),
                      _mm512_maskz_cvtepi32_epi16(0xFFFF, units[1]));
  return true;
}

// Whether the leads of three-byte characters in a block (`lead3`) stand at
// every third byte from the first character not taken yet, `open` bytes
// before the block.
CH_HELPER bool ChineseShape(uint64_t lead3, size_t open) {
  return lead3 == 0x9249249249249249 << (3 - open) % 3;
}

// Chinese text: 32 three-byte characters at a time for as long as it lasts,
// from src[at] to dst[o].
CH_HELPER void ChineseGroups(const uint8_t* src, size_t n, size_t& at, uint16_t* dst, size_t cap,
                             size_t& o) {
  for (; n - at >= 96 && cap - o >= 32 && ThreeByteChars(src + at, dst + o); at += 96, o += 32) {
  }
}

// As the UTF-8 run takes Chinese text: where the first 64 bytes have its
// shape.
CH_RUN size_t Avx512ThreeByteGroups(const uint8_t* src, size_t n, uint16_t* dst, size_t cap) {
  if (n < 96 || !ChineseShape(LeadBytes(_mm512_loadu_si512(src)), 0)) {
    return 0;
  }
  size_t at = 0, o = 0;
  ChineseGroups(src, n, at, dst, cap, o);
  return o;
}

// The run from UTF-8 past its first whole blocks of ASCII (see
// Avx512Utf8To16): every kind of block. Kept out of line, so that its setup
// stays out of the path that ends with those blocks.
template <typename Paths>
__attribute__((noinline)) CH_RUN auto Utf8Blocks(const uint8_t* src, size_t n, size_t i,
                                                 uint16_t* dst, size_t cap, size_t o) {
  Paths paths;
  Utf8Bytes b = {};
  __m512i prev = _mm512_setzero_si512();
  while (i < n) {
    const size_t len = Smaller(n - i, kBytes);
    const __m512i x = _mm512_maskz_loadu_epi8(Below(len), src + i);
    b.nonAscii = _mm512_movepi8_mask(x);
    if ((b.nonAscii | b.claimed) == 0 && len == kBytes && cap - o >= kBytes) {
      // 64 ASCII bytes, and the text after them two blocks at a time for as
      // long as it is ASCII (English text).
      paths.Took(kWholeAsciiBlockPath);
      Widen(x, dst + o);
      prev = x;
      i += kBytes;
      o += kBytes;
      for (size_t pairs = Smaller(n - i, cap - o) / kTwoBlocks; pairs > 0;
           --pairs, i += kTwoBlocks, o += kTwoBlocks) {
        const __m512i first = _mm512_loadu_si512(src + i);
        const __m512i second = _mm512_loadu_si512(src + i + kBytes);
        if (_mm512_movepi8_mask(_mm512_or_si512(first, second)) != 0) {
          break;
        }
        Widen(first, dst + o);
        Widen(second, dst + o + kBytes);
        prev = second;
      }
      continue;
    }
    if ((b.nonAscii | b.claimed) == 0) {  // the text's last bytes, or the room's: what fits
      paths.Took(kLastAsciiBytesPath);
      const size_t take = Smaller(len, cap - o);
      const uint64_t keep = Below(take);
      _mm512_mask_storeu_epi16(dst + o, static_cast<__mmask32>(keep),
                               _mm512_cvtepu8_epi16(_mm512_maskz_extracti64x4_epi64(0xF, x, 0)));
      _mm512_mask_storeu_epi16(dst + o + 32, static_cast<__mmask32>(keep >> 32),
                               _mm512_cvtepu8_epi16(_mm512_maskz_extracti64x4_epi64(0xF, x, 1)));
      i += take;
      o += take;
      break;
    }
    const __m512i high = _mm512_and_si512(x, Byte(0xF0));
    b.lead3 = _mm512_cmpeq_epi8_mask(high, Byte(0xE0));
    // Chinese text: 32 three-byte characters at a time for as long as it
    // lasts, from the first character not taken yet (its lead `b.open`
    // bytes before the block). The next block starts at a character, so
    // needs no bytes before it.
    const size_t start = i - b.open;
    size_t at = start;
    if (ChineseShape(b.lead3, b.open)) ChineseGroups(src, n, at, dst, cap, o);
    if (at != start) {
      i = at;
      b.claimed = 0;
      b.open = 0;
      prev = _mm512_setzero_si512();
      continue;
    }
    b.cont = _mm512_cmplt_epi8_mask(x, Byte(kLeadsFrom));
    b.bad = _mm512_cmpeq_epi8_mask(high, Byte(0xF0)) |
            _mm512_cmpeq_epi8_mask(_mm512_and_si512(x, Byte(0xFE)), Byte(0xC0));
    const __m512i p1 = _mm512_permutex2var_epi8(x, Load(kBefore1), prev);
    const uint64_t fromA0 = _mm512_cmpge_epu8_mask(x, Byte(0xA0));
    b.outOfRange = (_mm512_cmpeq_epi8_mask(p1, Byte(0xE0)) & ~fromA0) |
                   (_mm512_cmpeq_epi8_mask(p1, Byte(0xED)) & fromA0);
    b.len = len;
    b.atEnd = n - i == len;
    const Utf8Plan plan = PlanUtf8(b, cap - o);
    // The unit of the character that ends at each byte, from that byte and
    // the two before it, in two byte vectors, packed and interleaved.
    const __m512i p2 = _mm512_permutex2var_epi8(x, Load(kBefore2), prev);
    const __m512i lo = _mm512_mask_blend_epi8(
        b.nonAscii, x,
        _mm512_ternarylogic_epi32(_mm512_and_si512(x, Byte(0x3F)),
                                  _mm512_maskz_slli_epi16(~0u, p1, 6), Byte(0xC0), 0xF8));
    const __m512i hi = _mm512_maskz_or_epi32(
        0xFFFF, _mm512_maskz_and_epi32(0xFFFF, _mm512_maskz_srli_epi16(~0u, p1, 2), Byte(0x0F)),
        _mm512_maskz_and_epi32(
            0xFFFF, _mm512_maskz_slli_epi16(~0u, p2, 4),
            _mm512_maskz_mov_epi8(_mm512_cmplt_epi8_mask(p1, Byte(kLeadsFrom)), Byte(0xF0))));
    const __m512i packedLo = _mm512_maskz_compress_epi8(plan.ends, lo);
    const __m512i packedHi =
        _mm512_maskz_compress_epi8(plan.ends, _mm512_maskz_mov_epi8(b.nonAscii, hi));
    const uint64_t written = Below(plan.count);
    _mm512_mask_storeu_epi16(dst + o, static_cast<__mmask32>(written),
                             _mm512_permutex2var_epi8(packedLo, Load(kUnitsLow), packedHi));
    _mm512_mask_storeu_epi16(dst + o + 32, static_cast<__mmask32>(written >> 32),
                             _mm512_permutex2var_epi8(packedLo, Load(kUnitsHigh), packedHi));
    o += plan.count;
    if (plan.stop) {
      i = i - b.open + plan.resume;
      break;
    }
    i += len;
    b.claimed = plan.next.claimed;
    b.open = plan.next.open;
    prev = x;
  }
  return paths.End(i, o);
}

// Whole blocks of ASCII first, apart from the setup of the loop of every kind
// of block (its constants, its aligned frame), which is most of what an
// English sentence would cost: the block after them starts at a character.
template <typename Paths>
CH_RUN auto Avx512Utf8To16(const uint8_t* src, size_t n, size_t i, uint16_t* dst, size_t cap,
                           size_t o) {
  for (size_t blocks = Smaller(n - i, cap - o) / kBytes; blocks > 0;
       --blocks, i += kBytes, o += kBytes) {
    const __m512i x = _mm512_loadu_si512(src + i);
    if (_mm512_movepi8_mask(x) != 0) break;
    Widen(x, dst + o);
  }
  if (i == n) return Paths().End(i, o);
  return Utf8Blocks<Paths>(src, n, i, dst, cap, o);
}

// The UTF-8 forms of 16 units in 32-bit lanes, first byte lowest, unused
// bytes zero (all four for a zero unit, so none past the block's end).
CH_HELPER __m512i Forms(__m256i units, uint32_t twoOrMore, uint32_t three) {
  const __m512i u = _mm512_maskz_cvtepu16_epi32(0xFFFF, units);
  const __m512i twoBytes = _mm512_or_si512(
      _mm512_or_si512(_mm512_maskz_srli_epi32(0xFFFF, u, 6), _mm512_set1_epi32(0x80C0)),
      _mm512_maskz_slli_epi32(0xFFFF, _mm512_and_si512(u, _mm512_set1_epi32(0x3F)), 8));
  const __m512i threeBytes = _mm512_or_si512(
      _mm512_or_si512(_mm512_maskz_srli_epi32(0xFFFF, u, 12), _mm512_set1_epi32(0x8080E0)),
      _mm512_or_si512(
          _mm512_maskz_slli_epi32(0xFFFF, _mm512_and_si512(u, _mm512_set1_epi32(0x0FC0)), 2),
          _mm512_maskz_slli_epi32(0xFFFF, _mm512_and_si512(u, _mm512_set1_epi32(0x3F)), 16)));
  return _mm512_mask_mov_epi32(
      _mm512_mask_mov_epi32(u, static_cast<__mmask16>(twoOrMore), twoBytes),
      static_cast<__mmask16>(three), threeBytes);
}

// The run from UTF-16 in blocks of 32 units (see Avx512Utf16To8); out of
// line, so that its frame stays out of a sentence's handoff.
template <typename Paths>
__attribute__((noinline)) CH_RUN auto Utf16Blocks(const uint16_t* src, size_t n, size_t i,
                                                  uint8_t* dst, size_t cap, size_t o) {
  while (i < n) {
    const size_t len = Smaller(n - i, kUnits);
    const __m512i x = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(Below(len)), src + i);
    const Utf16Units units = {
        _mm512_test_epi16_mask(x, _mm512_set1_epi16(static_cast<short>(0xFF80))),
        _mm512_test_epi16_mask(x, _mm512_set1_epi16(static_cast<short>(0xF800))),
        _mm512_cmpeq_epi16_mask(_mm512_and_si512(x, _mm512_set1_epi16(static_cast<short>(0xF800))),
                                _mm512_set1_epi16(static_cast<short>(0xD800))),
        len};
    if (units.twoOrMore == 0) {  // ASCII units only, as many as fit
      const size_t take = Smaller(len, cap - o);
      if (take == kUnits) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + o),
                            _mm512_maskz_cvtepi16_epi8(~0u, x));
      } else {
        _mm512_mask_storeu_epi8(dst + o, Below(take),
                                _mm512_maskz_permutexvar_epi8(~0ull, Load(kLowBytes), x));
      }
      i += take;
      o += take;
      if (take < len) break;
      continue;
    }
    if (units.three == Below(len) && units.surrogate == 0) {
      // Chinese text: the three bytes of every unit that fits, in place.
      const __m512i firstTwo = _mm512_ternarylogic_epi32(
          _mm512_maskz_srli_epi16(~0u, x, 12), _mm512_set1_epi16(static_cast<short>(0x80E0)),
          _mm512_and_si512(_mm512_maskz_slli_epi16(~0u, x, 2), _mm512_set1_epi16(0x3F00)), 0xFE);
      const __m512i third = _mm512_ternarylogic_epi32(
          x, _mm512_set1_epi16(0x3F), _mm512_set1_epi16(0x80), 0xEA);  // (a & b) | c
      const size_t take = Smaller(len, (cap - o) / 3);
      _mm512_mask_storeu_epi8(dst + o, Below(Smaller(3 * take, kBytes)),
                              _mm512_permutex2var_epi8(firstTwo, Load(kThreeBytesFirst), third));
      _mm512_mask_storeu_epi8(dst + o + kBytes, Below(Remaining(3 * take, kBytes)),
                              _mm512_permutex2var_epi8(firstTwo, Load(kThreeBytesSecond), third));
      i += take;
      o += 3 * take;
      if (take < len) break;
      continue;
    }
    const Utf16Plan plan = PlanUtf16(units, cap - o);
    // The forms of all units, packed; the store keeps those of the units
    // taken, which come first.
    const __m512i forms[] = {
        Forms(_mm512_maskz_extracti64x4_epi64(0xF, x, 0), static_cast<uint32_t>(units.twoOrMore),
              static_cast<uint32_t>(units.three)),
        Forms(_mm512_maskz_extracti64x4_epi64(0xF, x, 1),
              static_cast<uint32_t>(units.twoOrMore >> 16),
              static_cast<uint32_t>(units.three >> 16))};
    const uint64_t used = _mm512_test_epi8_mask(forms[0], forms[0]);
    const size_t first = Smaller(CountOnes(used), plan.bytes);
    _mm512_mask_storeu_epi8(dst + o, Below(first), _mm512_maskz_compress_epi8(used, forms[0]));
    _mm512_mask_storeu_epi8(
        dst + o + first, Below(plan.bytes - first),
        _mm512_maskz_compress_epi8(_mm512_test_epi8_mask(forms[1], forms[1]), forms[1]));
    o += plan.bytes;
    if (plan.stop) {
      i += plan.count;
      break;
    }
    i += len;
  }
  return Paths().End(i, o);
}

// A function apart, so that GCC jumps to both of the entry's runs (it calls
// one of two whose results pass through a conversion first).
template <typename Paths>
__attribute__((noinline)) CH_RUN auto HandToAvx2(const uint16_t* src, size_t n, size_t i,
                                                 uint8_t* dst, size_t cap, size_t o) {
  Paths paths;
  paths.Took(kNarrowerLevelPath);
  return paths.End(kAvx2Kernels.utf16To8(src, n, i, dst, cap, o));
}

// A sentence, 17 to 64 units, goes to the AVX2 run: on both CPUs with
// AVX-512 this was timed on, its paths for a block of 32 units then a few
// ASCII ones take a mixed sentence in a fifth less time than these blocks of
// 32. Clauses stay (this loop takes a mixed one faster), and longer texts.
template <typename Paths>
CH_RUN auto Avx512Utf16To8(const uint16_t* src, size_t n, size_t i, uint8_t* dst, size_t cap,
                           size_t o) {
  if (n - i > kUnits / 2 && n - i <= 2 * kUnits) return HandToAvx2<Paths>(src, n, i, dst, cap, o);
  return Utf16Blocks<Paths>(src, n, i, dst, cap, o);
}

// The byte each lead of `x` becomes (zero where it stays), from the low six
// bits of the bytes after each (`second`, `third`). Bit 0 of the second byte
// tells EF 3C from EF 3D and E2 00 from E2 11, so one index serves both tables.
CH_HELPER __m512i Halves(__m512i x, __m512i second, __m512i third) {
  const __m512i s = _mm512_and_si512(second, Byte(0x3F));
  const __m512i t = _mm512_and_si512(third, Byte(0x3F));
  const __m512i index = _mm512_ternarylogic_epi32(t, _mm512_maskz_slli_epi16(~0u, s, 6), Byte(0x40),
                                                  0xF8);  // t | (s << 6 & 0x40)
  const uint64_t zero = _mm512_testn_epi8_mask(s, s);
  const uint64_t fullWidth = _mm512_cmpeq_epi8_mask(x, Byte(0xEF)) &
                             _mm512_cmpeq_epi8_mask(_mm512_and_si512(s, Byte(0x3E)), Byte(0x3C));
  const uint64_t punctuation =
      _mm512_cmpeq_epi8_mask(x, Byte(0xE2)) & (zero | _mm512_cmpeq_epi8_mask(s, Byte(0x11)));
  const uint64_t space =
      _mm512_cmpeq_epi8_mask(x, Byte(0xE3)) & zero & _mm512_testn_epi8_mask(t, t);
  const __m512i wide = _mm512_maskz_permutex2var_epi8(
      fullWidth, _mm512_load_si512(kFullWidth.first), index, _mm512_load_si512(kFullWidth.second));
  const __m512i narrow =
      _mm512_maskz_permutex2var_epi8(punctuation, _mm512_load_si512(kPunctuation.first), index,
                                     _mm512_load_si512(kPunctuation.second));
  return _mm512_mask_blend_epi8(space, _mm512_or_si512(wide, narrow), Byte(' '));
}

// Whether the 64 bytes at `from`, with the two after them, stay as they are:
// no unit changes and none holds another lead. `x` receives them.
CH_HELPER bool StaysAsItIs(const uint8_t* from, __m512i& x) {
  x = _mm512_loadu_si512(from);
  const uint64_t leads = LeadBytes(x);
  if (leads == 0) return true;
  const __m512i second = _mm512_loadu_si512(from + 1);
  const __m512i third = _mm512_loadu_si512(from + 2);
  const uint64_t changes = _mm512_test_epi8_mask(
      _mm512_and_si512(
          _mm512_maskz_permutexvar_epi8(leads, x, _mm512_load_si512(kChangeClasses.lead)),
          _mm512_maskz_permutexvar_epi8(~0ull, second, _mm512_load_si512(kChangeClasses.second))),
      _mm512_maskz_permutexvar_epi8(~0ull, third, _mm512_load_si512(kChangeClasses.third)));
  return ((leads & (LeadBytes(second) | LeadBytes(third))) | changes) == 0;
}

// Whether a byte of `x` is E2, E3 or EF, the leads that may change.
CH_HELPER bool MayChange(__m512i x) {
  return (_mm512_cmpeq_epi8_mask(_mm512_and_si512(x, Byte(0xFE)), Byte(0xE2)) |
          _mm512_cmpeq_epi8_mask(x, Byte(0xEF))) != 0;
}

// The test of blocks that stay alone, for the tests (see StaysAsItIs).
CH_RUN bool Avx512StaysAsItIs(const uint8_t* block) {
  __m512i x;
  return StaysAsItIs(block, x);
}

CH_RUN void Avx512HalfWidth(const uint8_t* in, size_t n, size_t& ri, uint8_t* out, size_t& ro) {
  size_t i = ri;
  size_t o = ro;
  HalfWidthBytes b = {};
  while (i < n) {
    StartHalfWidthBlock(b, n - i);
    const __m512i x = _mm512_maskz_loadu_epi8(Below(b.len), in + i);
    b.leads = LeadBytes(x);
    if ((b.leads | b.skip) == 0 && b.len < kBytes) {
      // The last bytes, without a lead, stay as they are.
      _mm512_mask_storeu_epi8(out + o, Below(b.len), x);
      i += b.len;
      o += b.len;
      break;
    }
    if ((b.leads | b.skip) == 0) {
      // 64 bytes without a lead, and the text after them two blocks at a
      // time for as long as it is ASCII (English text).
      _mm512_storeu_si512(out + o, x);
      i += kBytes;
      o += kBytes;
      for (size_t pairs = (n - i) / kTwoBlocks; pairs > 0;
           --pairs, i += kTwoBlocks, o += kTwoBlocks) {
        const __m512i first = _mm512_loadu_si512(in + i);
        const __m512i second = _mm512_loadu_si512(in + i + kBytes);
        if (_mm512_movepi8_mask(_mm512_or_si512(first, second)) != 0) {
          break;
        }
        _mm512_storeu_si512(out + o, first);
        _mm512_storeu_si512(out + o + kBytes, second);
      }
      continue;
    }
    // The bytes after each, the last two from the next block when known
    // (`ahead`), and what the leads become. At the text's end only when a
    // lead is E2, E3 or EF, the only ones that can change.
    __m512i halves = _mm512_setzero_si512();
    b.changes = 0;
    if (b.ahead || MayChange(x)) {
      const __m512i second = _mm512_maskz_loadu_epi8(Below(n - i - 1), in + i + 1);
      const __m512i third = _mm512_maskz_loadu_epi8(Below(Remaining(n - i, kAhead)), in + i + 2);
      // Bytes 64 and 65 are the last two of `third`.
      b.leadsAhead = LeadBytes(third) >> 62;
      halves = Halves(x, second, third);
      b.changes = _mm512_test_epi8_mask(halves, halves);
    }
    if (Unchanged(b)) {
      // ... and the blocks after it that change nothing either, for as long
      // as they last (Chinese and mixed text).
      _mm512_storeu_si512(out + o, x);
      __m512i next;
      i += kBytes;
      o += kBytes;
      for (size_t blocks = Remaining(n - i, kAhead) / kBytes;
           blocks > 0 && StaysAsItIs(in + i, next); --blocks, i += kBytes, o += kBytes) {
        _mm512_storeu_si512(out + o, next);
      }
      b.skip = 0;
      continue;
    }
    const HalfWidthPlan plan = PlanHalfWidth(b);
    if (plan.changes == 0 && plan.keep == ~0ull) {  // 64 bytes, none changed
      _mm512_storeu_si512(out + o, x);
      o += kBytes;
    } else {
      const size_t kept = CountOnes(plan.keep);
      _mm512_mask_storeu_epi8(
          out + o, Below(kept),
          _mm512_maskz_compress_epi8(plan.keep, _mm512_mask_blend_epi8(plan.changes, x, halves)));
      o += kept;
    }
    if (!AfterHalfWidthPlan(plan, b, i)) break;
  }
  ri = i;
  ro = o;
}

// As SSE2's, 64 bytes at a time; the mask has one bit per unit.
CH_TARGET CH_WHOLE_BLOCKS size_t Avx512TerminatedLength16(const uint16_t* text) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  const __m512i* block = reinterpret_cast<const __m512i*>(start & ~uintptr_t{63});
  const __m512i zero = _mm512_setzero_si512();
  uint32_t zeros = _mm512_cmpeq_epi16_mask(*block, zero) & (~0u << (start & 63) / 2);
  while (zeros == 0) {
    ++block;
    zeros = _mm512_cmpeq_epi16_mask(*block, zero);
  }
  return (reinterpret_cast<uintptr_t>(block) + 2 * static_cast<unsigned>(__builtin_ctz(zeros)) -
          start) /
         2;
}

constexpr TracedRuns kAvx512TracedRuns = {Avx512Utf8To16<PathLog>, Avx512Utf16To8<PathLog>};

}  // namespace

extern const Kernels kAvx512Kernels = {"avx512",
                                       Avx512Supported,
                                       Avx512Utf8To16<NoPaths>,
                                       Avx512Utf16To8<NoPaths>,
                                       Avx512HalfWidth,
                                       Avx512TerminatedLength16,
                                       Avx512ThreeByteGroups,
                                       nullptr,
                                       Avx512StaysAsItIs,
                                       nullptr,
                                       &kAvx512TracedRuns};

}  // namespace commonhelpers_internal

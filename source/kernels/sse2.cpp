// SSE2 kernels, the x86-64 baseline: blocks of 64 bytes or 32 units in four
// registers. SSE2 has no byte shuffle, so only text of one shape goes
// through the registers: ASCII, and Chinese text (three-byte characters,
// eight at a time: 24 bytes of UTF-8, a register of UTF-16). Anything else
// goes one character at a time as the scalar level takes it (the characters
// that start in a block of UTF-8, the eight units of a register of UTF-16):
// moving the units of a mixed block one by one out of the registers costs
// more than that.
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "kernels/blocks.h"
#include "kernels/halfwidth.h"
#include "kernels/x86.h"

#define CH_TARGET __attribute__((target("sse2")))
// Helpers, inlined into the kernels that call them.
#define CH_HELPER CH_TARGET __attribute__((always_inline)) inline

namespace commonhelpers_internal {

namespace {

constexpr size_t kBytes = 64;
constexpr size_t kUnits = 32;

bool Sse2Supported() { return true; }  // the x86-64 baseline

CH_HELPER __m128i Byte(int b) { return _mm_set1_epi8(static_cast<char>(b)); }

// Bit p of the result for byte p of `v[k]`.
CH_HELPER uint64_t Bits(__m128i m, int k) {
  return uint64_t{static_cast<uint16_t>(_mm_movemask_epi8(m))} << (16 * k);
}

CH_HELPER void Load(const uint8_t* block, __m128i (&v)[4]) {
  for (int k = 0; k < 4; ++k) {
    v[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + k);
  }
}

// The 64 ASCII bytes of `v` as units at `to`.
CH_HELPER void Widen(const __m128i (&v)[4], uint16_t* to) {
  for (int k = 0; k < 4; ++k) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 16 * k),
                     _mm_unpacklo_epi8(v[k], _mm_setzero_si128()));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 16 * k + 8),
                     _mm_unpackhi_epi8(v[k], _mm_setzero_si128()));
  }
}

// Eight three-byte characters, the 24 bytes at `from`, as units at `to`;
// false, with nothing written, unless all of them are well formed.
CH_HELPER bool ThreeByteChars(const uint8_t* from, uint16_t* to) {
  __m128i units;
  if (!EightThreeByteUnits(from, units)) return false;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), units);
  return true;
}

// Chinese text: eight three-byte characters at a time for as long as it
// lasts, where the first 16 bytes are the leads of such characters.
CH_HELPER size_t ChineseGroups(const uint8_t* src, size_t n, uint16_t* dst, size_t cap) {
  size_t at = 0, o = 0;
  if (n >= 24 &&
      _mm_movemask_epi8(_mm_cmpeq_epi8(
          _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src)), Byte(0xF0)),
          Byte(0xE0))) == 0x9249) {
    for (; n - at >= 24 && cap - o >= 8 && ThreeByteChars(src + at, dst + o); at += 24, o += 8) {
    }
  }
  return o;
}

CH_TARGET size_t Sse2ThreeByteGroups(const uint8_t* src, size_t n, uint16_t* dst, size_t cap) {
  return ChineseGroups(src, n, dst, cap);
}

// The scalar level's run, for the characters this level leaves to it; with
// `kOwnOnly` (for the tests) none, the run stopping where it stands.
template <bool kOwnOnly, typename Src, typename Dst>
CH_HELPER RunEnd Handed(RunEnd (*run)(const Src*, size_t, size_t, Dst*, size_t, size_t),
                        const Src* src, size_t n, size_t i, Dst* dst, size_t cap, size_t o) {
  if constexpr (kOwnOnly) return {i, o};
  return run(src, n, i, dst, cap, o);
}

template <bool kOwnOnly>
CH_TARGET RunEnd Sse2Utf8To16(const uint8_t* src, size_t n, size_t i, uint16_t* dst, size_t cap,
                              size_t o) {
  while (n - i >= kBytes) {
    __m128i v[4];
    Load(src + i, v);
    if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(v[0], v[1]), _mm_or_si128(v[2], v[3]))) == 0) {
      if (cap - o < kBytes) break;
      Widen(v, dst + o);
      i += kBytes;
      o += kBytes;
      continue;
    }
    const size_t taken = ChineseGroups(src + i, n - i, dst + o, cap - o);
    if (taken != 0) {
      i += 3 * taken;
      o += taken;
      continue;
    }
    // The characters that start in the block; where the scalar level stops
    // before the block's end, so does the run.
    const size_t end = i + kBytes;
    const RunEnd step =
        Handed<kOwnOnly>(kScalarKernels.utf8To16, src, Smaller(n, end + kAhead), i, dst, cap, o);
    if (step.i < end) return step;
    i = step.i;
    o = step.o;
  }
  // The last bytes (fewer than a block): Chinese text's groups first.
  const size_t taken = ChineseGroups(src + i, n - i, dst + o, cap - o);
  return Handed<kOwnOnly>(kScalarKernels.utf8To16, src, n, i + 3 * taken, dst, cap, o + taken);
}

// The eight units of `units`, none below U+0800 and no surrogate, as the 24
// bytes of their three-byte forms at `to`: each 16-bit lane makes its first
// two bytes and its last apart; interleaved, they form one character per
// 32-bit lane, and two of those are joined into six bytes per 64-bit lane.
CH_HELPER void ThreeByteForms(__m128i units, uint8_t* to) {
  const __m128i firstTwo = _mm_or_si128(
      _mm_or_si128(_mm_srli_epi16(units, 12), _mm_set1_epi16(static_cast<short>(0x80E0))),
      _mm_slli_epi16(_mm_and_si128(units, _mm_set1_epi16(0x0FC0)), 2));
  const __m128i last =
      _mm_or_si128(_mm_and_si128(units, _mm_set1_epi16(0x3F)), _mm_set1_epi16(0x80));
  uint64_t pairs[4];
  for (int k = 0; k < 2; ++k) {
    const __m128i chars =
        k == 0 ? _mm_unpacklo_epi16(firstTwo, last) : _mm_unpackhi_epi16(firstTwo, last);
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(pairs + 2 * k),
        _mm_or_si128(_mm_and_si128(chars, _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF)),
                     _mm_and_si128(_mm_srli_epi64(chars, 8),
                                   _mm_set_epi32(0xFFFF, static_cast<int>(0xFF000000), 0xFFFF,
                                                 static_cast<int>(0xFF000000)))));
  }
  // In order, so that each but the last has its two spare bytes overwritten.
  for (int k = 0; k < 3; ++k) memcpy(to + 6 * k, &pairs[k], 8);
  memcpy(to + 18, &pairs[3], 6);
}

// Whether the eight units of `units` are all ASCII.
CH_HELPER bool AllAscii(__m128i units) {
  return _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_subs_epu16(units, _mm_set1_epi16(0x7F)),
                                           _mm_setzero_si128())) == 0xFFFF;
}

// Whether the eight units of `units` are all of three UTF-8 bytes: none
// below U+0800 and no surrogate.
CH_HELPER bool AllThreeBytes(__m128i units) {
  const __m128i top = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
  return _mm_movemask_epi8(
             _mm_or_si128(_mm_cmpeq_epi16(top, _mm_setzero_si128()),
                          _mm_cmpeq_epi16(top, _mm_set1_epi16(static_cast<short>(0xD800))))) == 0;
}

// Eight units `units`, if all are ASCII or all of three bytes and their
// bytes fit, at `dst + o`; false, with nothing written, otherwise.
CH_HELPER bool EightUnits(__m128i units, uint8_t* dst, size_t cap, size_t& o) {
  if (AllAscii(units) && cap - o >= 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + o), _mm_packus_epi16(units, units));
    o += 8;
    return true;
  }
  if (AllThreeBytes(units) && cap - o >= 24) {
    ThreeByteForms(units, dst + o);
    o += 24;
    return true;
  }
  return false;
}

template <bool kOwnOnly>
CH_TARGET RunEnd Sse2Utf16To8(const uint16_t* src, size_t n, size_t i, uint8_t* dst, size_t cap,
                              size_t o) {
  for (size_t blocks = (n - i) / kUnits; blocks > 0; --blocks) {
    __m128i v[4];
    Load(reinterpret_cast<const uint8_t*>(src + i), v);
    if (AllAscii(_mm_or_si128(_mm_or_si128(v[0], v[1]), _mm_or_si128(v[2], v[3])))) {
      const __m128i bytes[] = {_mm_packus_epi16(v[0], v[1]), _mm_packus_epi16(v[2], v[3])};
      if (cap - o < kUnits) {  // the room's last bytes: what fits, and the run ends
        const size_t take = cap - o;
        const size_t whole = take >= sizeof(__m128i);  // registers that fit whole: 0 or 1
        if (whole) _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o), bytes[0]);
        StoreFirst(dst + o + 16 * whole, bytes[whole], take - 16 * whole);
        return {i + take, o + take};
      }
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o), bytes[0]);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + o + 16), bytes[1]);
      i += kUnits;
      o += kUnits;
      continue;
    }
    // Eight units at a time; where the scalar level stops before the end of
    // eight others, so does the run.
    for (int k = 0; k < 4; ++k, i += 8) {
      if (!EightUnits(v[k], dst, cap, o)) {
        const RunEnd step = Handed<kOwnOnly>(kScalarKernels.utf16To8, src, i + 8, i, dst, cap, o);
        if (step.i < i + 8) return step;
        o = step.o;
      }
    }
  }
  // The last units (fewer than a block).
  while (n - i >= 8 &&
         EightUnits(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)), dst, cap, o)) {
    i += 8;
  }
  return Handed<kOwnOnly>(kScalarKernels.utf16To8, src, n, i, dst, cap, o);
}

CH_TARGET void Sse2HalfWidth(const uint8_t* in, size_t n, size_t& ri, uint8_t* out, size_t& ro) {
  size_t i = ri;
  size_t o = ro;
  uint8_t pad[kBytes];
  HalfWidthBytes b = {};
  while (i < n) {
    const uint8_t* block = BlockAt(in, n, i, pad);
    __m128i v[4];
    Load(block, v);
    StartHalfWidthBlock(b, n - i);
    b.leads = 0;
    for (int k = 0; k < 4; ++k) {
      b.leads |= Bits(_mm_cmpeq_epi8(_mm_and_si128(v[k], Byte(0xF0)), Byte(0xE0)), k);
    }
    if ((b.leads | b.skip) == 0 && b.len == kBytes) {  // 64 bytes without a lead
      for (int k = 0; k < 4; ++k) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o + 16 * k), v[k]);
      }
      i += kBytes;
      o += kBytes;
      continue;
    }
    b.changes = 0;
    uint64_t candidates = 0;
    for (int k = 0; k < 4; ++k) {
      const __m128i x = v[k];
      candidates |= Bits(
          _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(x, Byte(0xE2)), _mm_cmpeq_epi8(x, Byte(0xE3))),
                       _mm_cmpeq_epi8(x, Byte(0xEF))),
          k);
    }
    // A lead in the last two bytes takes the bytes after the block, known
    // only when `ahead`.
    if (b.ahead) {
      b.leadsAhead = IsThreeByteLead(block[kBytes]) | (IsThreeByteLead(block[kBytes + 1]) << 1);
    } else {
      candidates &= Below(kBytes - 2);
    }
    uint8_t halves[kBytes];
    for (; candidates != 0; candidates &= candidates - 1) {
      const size_t p = static_cast<size_t>(__builtin_ctzll(candidates));
      halves[p] = HalfWidthOf(ThreeByteUnit(block[p], block[p + 1], block[p + 2]));
      b.changes |= uint64_t{halves[p] != 0} << p;
    }
    const HalfWidthPlan plan = PlanHalfWidth(b);
    if (plan.changes == 0 && plan.keep == Below(plan.consumed)) {
      memmove(out + o, block, plan.consumed);
      o += plan.consumed;
    } else {
      for (uint64_t keep = plan.keep; keep != 0; keep &= keep - 1) {
        const size_t p = static_cast<size_t>(__builtin_ctzll(keep));
        out[o++] = (plan.changes >> p) & 1 ? halves[p] : block[p];
      }
    }
    if (!AfterHalfWidthPlan(plan, b, i)) break;
  }
  ri = i;
  ro = o;
}

// Reads the aligned 16-byte blocks from the one that holds text[0] to the one
// that holds the terminator, bytes before the text and past its end included
// (see CH_WHOLE_BLOCKS; the same in the wider levels). Those bytes only ever
// meet a mask or lie after the first zero unit.
CH_TARGET CH_WHOLE_BLOCKS size_t Sse2TerminatedLength16(const uint16_t* text) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(text);
  const __m128i* block = reinterpret_cast<const __m128i*>(start & ~uintptr_t{15});
  const __m128i zero = _mm_setzero_si128();
  unsigned zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(*block, zero))) &
                   (~0u << (start & 15));
  while (zeros == 0) {
    ++block;
    zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(*block, zero)));
  }
  return (reinterpret_cast<uintptr_t>(block) + static_cast<unsigned>(__builtin_ctz(zeros)) -
          start) /
         2;
}

constexpr OwnRuns kSse2OwnRuns = {Sse2Utf8To16<true>, Sse2Utf16To8<true>};

}  // namespace

extern const Kernels kSse2Kernels = {"sse2",
                                     Sse2Supported,
                                     Sse2Utf8To16<false>,
                                     Sse2Utf16To8<false>,
                                     Sse2HalfWidth,
                                     Sse2TerminatedLength16,
                                     Sse2ThreeByteGroups,
                                     nullptr,
                                     nullptr,
                                     &kSse2OwnRuns,
                                     nullptr};

}  // namespace commonhelpers_internal

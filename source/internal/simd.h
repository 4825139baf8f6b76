// simd.h (internal): the hot loops as kernels, one table per SIMD level.
//
// A level is one file under source/kernels/ that names its target in the
// source and defines a table of its kernels; the scalar level is one such
// file too, and the levels file of the build lists them, narrowest first.
// Every level's kernel has the same contract and the same result on every
// input, down to where it stops: only the speed differs. A run takes every
// character of its kind, in blocks as wide as its level (SSE2 leaves the
// characters of mixed blocks to the scalar level's run, see OwnRuns), and
// its caller takes the one character it stops at.
//
// The level is chosen once, on first use, as the widest that the CPU
// reports. COMMONHELPERS_SIMD=scalar|sse2|avx2|avx512 in the environment
// asks for a narrower one; a level the CPU lacks falls back to the widest it
// has, so no unsupported instruction ever runs.
#ifndef COMMONHELPERS_SIMD_H_
#define COMMONHELPERS_SIMD_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include <commonhelpers/stringconverter.h>

namespace commonhelpers_internal {

// A run converts from src[i] / dst[o] (i < n, n the source units known to
// come before the terminator, cap the room before it) every character of its
// kind, in order, and returns i and o moved past them (by value: a reference
// would cost every call a trip through memory). It stops right before the
// first character that is not of its kind or does not fit; it never reads
// past src[n], reads src[n] only from UTF-16 (where n is always the length
// of the whole text, and src[n] its terminator), never writes dst[cap + 1]
// or beyond, and leaves every unit after the ones it converted as it found
// it (a level may store past them and put back what was there, and may store
// again, as they are, units that the same call has written).
struct RunEnd {
  size_t i;
  size_t o;
};
// UTF-8 to UTF-16: the well-formed characters of one to three bytes.
using Utf8To16Run = RunEnd (*)(const uint8_t* src, size_t n, size_t i, uint16_t* dst, size_t cap,
                               size_t o);
// UTF-16 to UTF-8: the units that are no surrogate.
using Utf16To8Run = RunEnd (*)(const uint16_t* src, size_t n, size_t i, uint8_t* dst, size_t cap,
                               size_t o);

// fullToHalf's run: normalizes from in[i] to out[o] every unit but a
// three-byte one that the end cuts short or that holds a lead byte
// (1110xxxx) among its other two bytes, and moves i and o past them. `out`
// may be `in` itself: o never passes i, and no byte is written before it
// has been read.
using HalfWidthRun = void (*)(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o);

// The number of units before the first zero unit of `text`. A level's scan
// may read the whole aligned block that holds text[0] or the terminator, so
// `text` must be aligned for its unit (as every uint16_t* is).
using LengthScan16 = size_t (*)(const uint16_t* text);

// Whether this CPU (and its operating system) runs a level's instructions.
using CpuCheck = bool (*)();

// Chinese text's own shape inside a level's UTF-8 to UTF-16 run, on its own:
// from the start of `src` (n bytes known), whole groups of three-byte
// characters (U+0800 to U+FFFF, no surrogate) into `dst` (room for `cap`
// units), for as long as the text and the room hold whole groups; returns
// the characters taken. A group is one character at the scalar level and 8,
// 16 or 32 at the others, each taken as soon as its own bytes are known (at
// AVX2, in a text of at least 64 bytes, as shorter ones are one tail): a
// level takes every whole group of the characters that the scalar level
// takes, so a shape that refuses Chinese text is a failing test, not only a
// slower run. AVX2 also takes the characters of the last 63 bytes or fewer
// at once, when the text ends with them and they are all of that kind and
// fit.
using ThreeByteGroups = size_t (*)(const uint8_t* src, size_t n, uint16_t* dst, size_t cap);

// The cheaper tests that a level tries on a block before its general plan,
// each on its own, for the tests: a cheaper test that refuses a block of the
// kind it is for changes no result, only the speed. Null at a level without
// such a test.
//
// UTF-8 to UTF-16: whether the whole block of 64 bytes at `block`, after the
// 64 at `before` (well formed, and taken), has its plan worked out without
// the general one: every such block that has no fault (no byte out of place
// in a character of one to three bytes, its last one or two bytes possibly
// the start of one), whose characters ending in it fit in `room` units, and,
// where it ends the text (`atEnd`), cuts no character short.
using FaultFreeBlock = bool (*)(const uint8_t* before, const uint8_t* block, size_t room,
                                bool atEnd);
// fullToHalf: whether the 64 bytes at `block`, and the two after them, pass
// the level's test of blocks that stay as they are: every such block of
// units that do not change, but for some rare characters (see the level),
// each lead in its last two bytes followed by no other lead in its next two.
using StaysAsItIs = bool (*)(const uint8_t* block);

// A level's runs without the scalar level's help, for the tests: where its
// run leaves characters to the scalar level's run, this one stops. On ASCII
// or Chinese text (characters of one byte, or of three) they take every
// whole register's worth that fits: eight characters, or from UTF-8 a block
// of 64 ASCII bytes (SSE2, the one level that has such help). Null at a
// level that takes every character itself.
struct OwnRuns {
  Utf8To16Run utf8To16;
  Utf16To8Run utf16To8;
};

// The paths beside a run's general one, where two exact paths meet at a
// length or a room: a fault that moves such a bound changes no result, only
// the speed, so a level's traced runs report the paths they took, for the
// tests.
enum RunPath : uint32_t {
  // AVX2: a text of at most one block (64 bytes from UTF-8, 16 units from
  // UTF-16) taken by the run's entry, without its loop over blocks.
  kShortTextPath = 1,
  // AVX2: a block's units or forms stored straight into place, past its
  // output, and what was there put back (else each store is cut where the
  // output ends).
  kInPlacePath = 2,
  // AVX2 from UTF-16: a text's last 16 ASCII units in one store.
  kLastAsciiPath = 4,
  // AVX2 from UTF-16: a block whose second half is ASCII, in place.
  kAsciiSecondHalfPath = 8,
  // AVX2 from UTF-16: a block of Chinese text cut short past 16 units.
  kChineseLast16Path = 16,
  // AVX-512 from UTF-16: the text handed to AVX2's run.
  kNarrowerLevelPath = 32,
  // AVX2 from UTF-8: a text's last 16 to 21 Chinese characters as two
  // groups of 16 over each other (else, from 8 on, two groups of 8).
  kSixteenTailPath = 64,
  // AVX2 and AVX-512 from UTF-8: a whole block of 64 ASCII bytes in the loop
  // over blocks, and the ASCII after it two blocks at a time.
  kWholeAsciiBlockPath = 128,
  // AVX2 and AVX-512 from UTF-8: in the loop over blocks, the ASCII of a
  // text's last bytes, or what fits of it where the room ends, and the run
  // ends (a text that ends with a whole block does not come here).
  kLastAsciiBytesPath = 256,
};

// A traced run's result: where it ended, and the bits of the paths it took.
struct TracedEnd {
  size_t i;
  size_t o;
  uint32_t paths;
};

// A level's runs as they are, but reporting their paths (see RunPath); null
// where a run has no such path.
struct TracedRuns {
  TracedEnd (*utf8To16)(const uint8_t* src, size_t n, size_t i, uint16_t* dst, size_t cap,
                        size_t o);
  TracedEnd (*utf16To8)(const uint16_t* src, size_t n, size_t i, uint8_t* dst, size_t cap,
                        size_t o);
};

// Each slot has a type of its own, so that a table with two kernels swapped
// does not compile. A run may hand its text on to a narrower level's run,
// through that level's table: SSE2 hands the characters it leaves to the
// scalar level's, AVX-512 from UTF-16 a sentence of 17 to 64 units to
// AVX2's, which takes it faster; no other level hands anything on.
struct Kernels {
  const char* name;
  CpuCheck supported;
  Utf8To16Run utf8To16;
  Utf16To8Run utf16To8;
  HalfWidthRun halfWidth;
  LengthScan16 terminatedLength16;
  ThreeByteGroups threeByteGroups;
  FaultFreeBlock faultFreeBlock;
  StaysAsItIs staysAsItIs;
  const OwnRuns* ownRuns;
  const TracedRuns* tracedRuns;
};

template <typename... Slots>
constexpr bool kAllDistinct = true;
template <typename Slot, typename... Others>
constexpr bool kAllDistinct<Slot, Others...> =
    !(std::is_same_v<Slot, Others> || ...) && kAllDistinct<Others...>;
static_assert(
    kAllDistinct<CpuCheck, Utf8To16Run, Utf16To8Run, HalfWidthRun, LengthScan16, ThreeByteGroups,
                 FaultFreeBlock, StaysAsItIs, const OwnRuns*, const TracedRuns*>,
    "every slot of Kernels needs a type of its own");

// Every level this build has, narrowest (scalar) first, whether or not the
// CPU runs it; `*pcount` receives their number, at most kMaxLevels. Defined
// by the one levels file that the build compiles.
constexpr size_t kMaxLevels = 4;
const Kernels* const* BuiltLevels(size_t* pcount);

// The level that COMMONHELPERS_SIMD=`szAsked` chooses: that level when this
// build has it and the CPU runs it, else (also for null) the widest.
const Kernels& ChooseKernels(const char* szAsked);

// The table of the chosen level: ChooseKernels() of COMMONHELPERS_SIMD, read
// once, on first use (function-local statics are initialized thread-safely).
// Inline, so that a call costs its callers one test of the guard.
inline const Kernels& ActiveKernels() {
  static const Kernels& active = ChooseKernels(getenv("COMMONHELPERS_SIMD"));
  return active;
}

// Every level that this build has and this CPU runs, narrowest (scalar)
// first; `*pcount` receives their number. For the tests, which run each
// one against the scalar level.
const Kernels* const* AvailableKernels(size_t* pcount);

// ConvertUtfString and fullToHalf with a given table.
// The table comes last, null for the active level, so that the public
// function hands its own arguments on where they already are.
void ConvertUtfStringWith(const void* src, UtfType srcType, void* dst, int dstSize, UtfType dstType,
                          RResult* presult, const Kernels* kernels);
void FullToHalfWith(const Kernels& kernels, const char* sFullStr, char* sHalfStr);

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_SIMD_H_

// simd.h (internal): the hot loops as kernels, one table per SIMD level.
//
// Every routine has an exact scalar twin in its family's file, always
// compiled; a level's kernel has the same signature and the same result on
// every input, and only changes the speed. A level is one file under
// source/kernels/ that names its target in the source, plus one line in the
// level list; a level that has no kernel of its own for a routine takes the
// narrower level's.
//
// The level is chosen once, on first use, as the widest that the CPU
// reports. COMMONHELPERS_SIMD=scalar|sse2|avx2|avx512 in the environment
// asks for a narrower one; a level the CPU lacks falls back to the widest it
// has, so no unsupported instruction ever runs.
#ifndef COMMONHELPERS_SIMD_H_
#define COMMONHELPERS_SIMD_H_

#include <cstddef>
#include <cstdint>

#include <commonhelpers/stringconverter.h>

namespace commonhelpers_internal {

// A run copier starts at src[i] / dst[o] (i < n and o < cap hold the source
// length and the room before the terminator) and moves i and o past the
// units it converted. It stops before the first unit that is not of its
// kind or does not fit, and may stop earlier; it never reads src[n] or
// beyond, and never writes dst[cap] or beyond.
using Utf8To16Run = void (*)(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                             size_t& o);
using Utf16To8Run = void (*)(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                             size_t& o);

// fullToHalf's block copier: copies whole units from in[i] to out[o] that
// normalization leaves unchanged (none at all is allowed), moving i and o,
// and returns how many bytes the exact path must take next. `out` may be
// `in` itself; i - o never shrinks.
constexpr size_t kFullWidthExactStep = 16;
using UnchangedBlocks = size_t (*)(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o);

// The number of units before the first zero unit of `text`. A level's scan
// may read the whole aligned block that holds text[0] or the terminator, so
// `text` must be aligned for its unit (as every uint16_t* is).
using LengthScan16 = size_t (*)(const uint16_t* text);

struct Kernels {
  const char* name;
  Utf8To16Run asciiRun8To16;        // bytes below 0x80
  Utf16To8Run asciiRun16To8;        // units below 0x80
  Utf8To16Run threeByteRun8To16;    // well-formed three-byte characters
  Utf16To8Run threeByteRun16To8;    // units of U+0800..U+FFFF, no surrogates
  UnchangedBlocks fullWidthBlocks;  // see UnchangedBlocks
  LengthScan16 terminatedLength16;  // see LengthScan16
};

// The scalar twins (stringconverter.cpp, fullwidth.cpp).
void AsciiRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap, size_t& o);
void AsciiRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap, size_t& o);
void ThreeByteRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                       size_t& o);
void ThreeByteRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                       size_t& o);
size_t FullWidthBlocks(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o);
size_t TerminatedLength16(const uint16_t* text);

// The levels beyond scalar that this build has and this CPU runs, stored
// narrowest first into `levels` (room for kMaxCpuLevels); returns their
// number. Defined by the one levels file that the build compiles.
constexpr size_t kMaxCpuLevels = 3;
size_t CpuLevels(const Kernels** levels);

// The table of the chosen level: ChooseKernels() of COMMONHELPERS_SIMD, read
// once, on first use.
const Kernels& ActiveKernels();

// The level that COMMONHELPERS_SIMD=`szAsked` chooses: that level when this
// build has it and the CPU runs it, else (also for null) the widest.
const Kernels& ChooseKernels(const char* szAsked);

// Every level that this build has and this CPU runs, narrowest (scalar)
// first; `*pcount` receives their number. For the tests, which run each
// one against the scalar twins.
const Kernels* const* AvailableKernels(size_t* pcount);

// ConvertUtfString and fullToHalf with a given table.
void ConvertUtfStringWith(const Kernels& kernels, const void* src, UtfType srcType, void* dst,
                          int dstSize, UtfType dstType, RResult* presult);
void FullToHalfWith(const Kernels& kernels, const char* sFullStr, char* sHalfStr);

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_SIMD_H_

// stringconverter.h: conversion between the Unicode encoding forms UTF-8,
// UTF-16 and UTF-32, each a zero-terminated string of its code units.
//
// Example:
//
//   USHORT wsz[64];
//   RResult result = RESULT_SUCCEEDED;
//   ConvertUtfString("caf\xC3\xA9", UTF_8, wsz, 64, UTF_16, &result);
#ifndef COMMONHELPERS_STRINGCONVERTER_H_
#define COMMONHELPERS_STRINGCONVERTER_H_

#include <cstdint>

#include "commonhelpers.h"

// The encoding form of a string. UTF-16 and UTF-32 units are in host byte
// order.
enum tagUtfType : uint32_t {
  UTF_8 = 1,   // bytes (char)
  UTF_16 = 2,  // 16-bit units (USHORT)
  UTF_32 = 4,  // 32-bit units (uint32_t)
};
typedef tagUtfType UtfType;

// ConvertUtfString()
//
// Converts the zero-terminated `src` of `srcType` into `dst`, a buffer of
// `dstSize` units of `dstType`, terminator included; the same type on both
// sides is a validated copy. Decoding is strict (no overlong forms, no
// surrogates outside pairs, nothing above U+10FFFF); a byte-order mark is an
// ordinary character. Outcomes:
//   - RESULT_SUCCEEDED: `dst` holds the whole text and its terminator.
//   - RESULT_INV_DATA: the input is malformed or `dst` is too small; `dst`
//     holds, terminated, the longest run of whole characters before the first
//     malformed one that fits in dstSize - 1 units.
//   - RESULT_INV_ARGUMENT: null `src` or `dst`, `dstSize` < 1, or an unknown
//     type; nothing written.
// Never writes past the terminator, never reads past the source's terminator,
// never allocates.
COMMONHELPERS_API void ConvertUtfString(const void* src, UtfType srcType, void* dst, int dstSize,
                                        UtfType dstType, RResult* presult);

#endif  // COMMONHELPERS_STRINGCONVERTER_H_

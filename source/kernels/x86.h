// x86.h (internal): the x86-64 kernel levels. Each level's file defines its
// table; a level without a kernel of its own for a routine names the
// narrower level's, declared here.
#ifndef COMMONHELPERS_KERNELS_X86_H_
#define COMMONHELPERS_KERNELS_X86_H_

#include <cstring>

#include "internal/simd.h"

namespace commonhelpers_internal {

void Sse2AsciiRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                       size_t& o);
void Sse2AsciiRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                       size_t& o);
void Sse2ThreeByteRun8To16(const uint8_t* src, size_t n, size_t& i, uint16_t* dst, size_t cap,
                           size_t& o);
void Sse2ThreeByteRun16To8(const uint16_t* src, size_t n, size_t& i, uint8_t* dst, size_t cap,
                           size_t& o);
size_t Sse2FullWidthBlocks(const uint8_t* in, size_t n, size_t& i, uint8_t* out, size_t& o);

// For the wider levels' fullToHalf blocks: copies the `cb` bytes up to the
// next unit as they are (in place, the two ranges overlap) and stores the
// positions.
inline void CopyAsIs(const uint8_t* in, size_t cb, size_t i, size_t& ri, uint8_t* out, size_t o,
                     size_t& ro) {
  memmove(out + o, in + i, cb);
  ri = i + cb;
  ro = o + cb;
}

// For the length scans, which read whole aligned blocks around the text: no
// aligned block crosses a page, so this never faults, but the sanitizers
// would report the bytes outside the text (AddressSanitizer as an overflow,
// ThreadSanitizer as a use of freed memory), so they are told not to look.
#define CH_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread")))

extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_KERNELS_X86_H_

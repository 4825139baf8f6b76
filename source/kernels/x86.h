// x86.h (internal): the x86-64 kernel levels, each defined in its own file.
#ifndef COMMONHELPERS_KERNELS_X86_H_
#define COMMONHELPERS_KERNELS_X86_H_

#include "internal/simd.h"

namespace commonhelpers_internal {

// For the length scans, which read whole aligned blocks around the text: no
// aligned block crosses a page, so this never faults, but the sanitizers
// would report the bytes outside the text (AddressSanitizer as an overflow,
// ThreadSanitizer as a use of freed memory), so they are told not to look.
#define CH_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread")))

extern const Kernels kScalarKernels;
extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_KERNELS_X86_H_

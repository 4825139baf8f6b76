// tripled_buffer.h (internal): the buffer that the conversion wrappers and
// the record reader convert into.
#ifndef COMMONHELPERS_TRIPLED_BUFFER_H_
#define COMMONHELPERS_TRIPLED_BUFFER_H_

#include <cstddef>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>

namespace commonhelpers_internal {

// The largest source length n whose conversion buffer of 3 * n + 3 units
// still has a size that fits in an int.
constexpr size_t kMaxTripledLength = 715827881;

// Converts the zero-terminated `pvSource` of `cnSource` units into a new
// zero-filled buffer of 3 * cnSource + 3 units of `dstType` (UTF_8 or
// UTF_16), and returns the buffer, also when the conversion fails; the
// converter's code is passed back. Null with RESULT_OUT_OF_MEMORY, nothing
// allocated, when cnSource exceeds kMaxTripledLength or the buffer can't be
// allocated. The caller frees the buffer with free().
void* ConvertIntoTripledBuffer(const void* pvSource, UtfType srcType, size_t cnSource,
                               UtfType dstType, RResult* presult);

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_TRIPLED_BUFFER_H_

// Every kernel level against the scalar twins: the input, cut at its first
// zero byte, converted both ways with the room that its first byte picks, and
// normalized, and the length of its 16-bit units from each of the first 32;
// every level must give the scalar level's code, bytes and length.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "internal/simd.h"

using commonhelpers_internal::AvailableKernels;
using commonhelpers_internal::Kernels;

namespace {

template <typename Src, typename Dst>
void Check(const Kernels* const* levels, size_t count, const Src* src, UtfType srcType,
           UtfType dstType, size_t dstSize) {
  std::vector<Dst> expected(dstSize + 1, 0x5A), actual;
  RResult expectedCode = RESULT_ANY_ERROR, code = RESULT_ANY_ERROR;
  ConvertUtfStringWith(*levels[0], src, srcType, expected.data(), static_cast<int>(dstSize),
                       dstType, &expectedCode);
  for (size_t k = 1; k < count; ++k) {
    actual.assign(dstSize + 1, 0x5A);
    ConvertUtfStringWith(*levels[k], src, srcType, actual.data(), static_cast<int>(dstSize),
                         dstType, &code);
    if (code != expectedCode || actual != expected) abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t count = 0;
  const Kernels* const* levels = AvailableKernels(&count);
  std::vector<uint8_t> bytes(data, data + size);
  bytes.push_back(0);
  const size_t n = strlen(reinterpret_cast<const char*>(bytes.data()));
  const size_t room = 1 + (size != 0 ? data[0] % (n * 3 + 3) : 0);
  Check<uint8_t, uint16_t>(levels, count, bytes.data(), UTF_8, UTF_16, room);
  // The same bytes read as UTF-16 units (odd trailing byte dropped).
  std::vector<uint16_t> units(size / 2 + 1, 0);
  memcpy(units.data(), data, size / 2 * 2);
  for (size_t a = 0; a < units.size() && a < 32; ++a) {  // from every alignment
    for (size_t k = 1; k < count; ++k) {
      if (levels[k]->terminatedLength16(&units[a]) != levels[0]->terminatedLength16(&units[a])) {
        abort();
      }
    }
  }
  Check<uint16_t, uint8_t>(levels, count, units.data(), UTF_16, UTF_8, room);
  Check<uint16_t, uint8_t>(levels, count, units.data(), UTF_16, UTF_8, size * 2 + 3);
  std::vector<char> expected(n + 1), actual(n + 1);
  FullToHalfWith(*levels[0], reinterpret_cast<const char*>(bytes.data()), expected.data());
  for (size_t k = 1; k < count; ++k) {
    FullToHalfWith(*levels[k], reinterpret_cast<const char*>(bytes.data()), actual.data());
    if (actual != expected) abort();
  }
  return 0;
}

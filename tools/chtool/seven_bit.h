// The writing side of the record format's 7-bit-encoded integers, which the
// library only reads: seven bits per byte, low group first, bit 7 set on
// every byte but the last. A negative value takes five bytes.
#ifndef CHTOOL_SEVEN_BIT_H_
#define CHTOOL_SEVEN_BIT_H_

#include <cstdint>
#include <string>

namespace chtool {

inline void Write7BitEncodedInt(std::string& out, int32_t number) {
  uint32_t value = static_cast<uint32_t>(number);
  do {
    const unsigned char group = value & 0x7F;
    value >>= 7;
    out += static_cast<char>(value != 0 ? group | 0x80 : group);
  } while (value != 0);
}

}  // namespace chtool

#endif  // CHTOOL_SEVEN_BIT_H_

// Binary record reader.
//
// A 7-bit-encoded integer is a 32-bit two's-complement int in 1 to 5 bytes,
// least significant group first:
//
//   byte   bit 7          bits 0..6 become value bits
//   0      continuation   0..6
//   1      continuation   7..13
//   2      continuation   14..20
//   3      continuation   21..27
//   4      must be 0      28..31 (its bits 0..3; bits 4..6 are ignored)
//
// A longer encoding than needed is accepted (80 00 is 0); a fifth byte with
// its continuation bit set is malformed and no sixth byte is read.
//
// A length-prefixed string:
//
//   field                   bytes
//   byte count c            1 to 5, a 7-bit-encoded integer; even, not negative
//   c / 2 UTF-16 units      c, each unit low byte first
//
// Nothing else is stored: no terminator, no byte-order mark, no padding.
//
// Each reader consumes exactly the bytes of its value; a failed read leaves
// consumed what it consumed.
#include <cstdint>
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>
#include "internal/fatal_check.h"
#include "internal/tripled_buffer.h"

namespace {

using commonhelpers_internal::ConvertIntoTripledBuffer;

constexpr int kMaxIntegerBytes = 5;

// One byte, as one fread of one one-byte item would give it; false at the
// end of the stream or on a read error.
bool ReadByte(FILE* pfile, BYTE* pb) {
  const int ch = getc(pfile);
  if (ch == EOF) {
    return false;
  }
  *pb = static_cast<BYTE>(ch);
  return true;
}

}  // namespace

int Read7BitEncodedInt(FILE* pfile, RResult* presult) {
  CH_FATAL_CHECK(pfile != NULL);
  RResult result = RESULT_SUCCEEDED;
  uint32_t value = 0;
  bool fMore = true;
  for (int k = 0; result == RESULT_SUCCEEDED && fMore; ++k) {
    BYTE b = 0;
    if (k == kMaxIntegerBytes || !ReadByte(pfile, &b)) {
      result = RESULT_INV_DATA;
    } else {
      // The fifth group's bits above bit 31 are lost, as in unsigned arithmetic.
      value |= static_cast<uint32_t>(b & 0x7F) << (7 * k);
      fMore = (b & 0x80) != 0;
    }
  }
  PassBackResult(result, presult);
  return result == RESULT_SUCCEEDED ? static_cast<int>(value) : -1;
}

USHORT* GetBinWideString(FILE* pfile, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszText = nullptr;
  size_t cnUnits = 0;
  const int cnBytes = Read7BitEncodedInt(pfile, &result);
  if (result == RESULT_SUCCEEDED && (cnBytes < 0 || cnBytes % 2 != 0)) {
    result = RESULT_INV_DATA;
  }
  if (result == RESULT_SUCCEEDED) {
    cnUnits = static_cast<size_t>(cnBytes) / 2;
    wszText = static_cast<USHORT*>(malloc((cnUnits + 1) * sizeof(USHORT)));
    if (wszText == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    }
  }
  if (result == RESULT_SUCCEEDED) {
    // A short text leaves the buffer unterminated; it is still the caller's.
    if (fread(wszText, sizeof(USHORT), cnUnits, pfile) < cnUnits) {
      result = RESULT_INV_DATA;
    } else {
      wszText[cnUnits] = 0;
    }
  }
  PassBackResult(result, presult);
  return wszText;
}

char* GetBinString(FILE* pfile, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszText = nullptr;
  char* szText = nullptr;
  if (pfile == nullptr) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    wszText = GetBinWideString(pfile, &result);
  }
  if (result == RESULT_SUCCEEDED) {
    // Only the units before the first zero unit are converted.
    const int nLength = WcsLen(wszText, &result);
    if (result == RESULT_SUCCEEDED) {
      szText = static_cast<char*>(
          ConvertIntoTripledBuffer(wszText, UTF_16, static_cast<size_t>(nLength), UTF_8, &result));
    }
  }
  free(wszText);
  PassBackResult(result, presult);
  return szText;
}

BOOL ReadBinBool(FILE* pfile, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  BOOL fValue = FALSE;
  BYTE b = 0;
  if (pfile == nullptr) {
    result = RESULT_INV_ARGUMENT;
  } else if (!ReadByte(pfile, &b)) {
    result = RESULT_INV_DATA;
  } else {
    fValue = static_cast<signed char>(b);
  }
  PassBackResult(result, presult);
  return fValue;
}

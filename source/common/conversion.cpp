// Conversion wrappers: whole strings and text-file lines through
// ConvertUtfString, with buffers sized three destination units per source
// unit, plus three.
#include <cstdlib>
#include <cstring>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>
#include "internal/tripled_buffer.h"

namespace {

using commonhelpers_internal::ConvertIntoTripledBuffer;
using commonhelpers_internal::kMaxTripledLength;

constexpr int kLineBufferSize = 2048;

}  // namespace

void* commonhelpers_internal::ConvertIntoTripledBuffer(const void* pvSource, UtfType srcType,
                                                       size_t cnSource, UtfType dstType,
                                                       RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  void* pvBuffer = nullptr;
  if (cnSource > kMaxTripledLength) {
    result = RESULT_OUT_OF_MEMORY;
  }
  if (result == RESULT_SUCCEEDED) {
    const size_t cnUnits = cnSource * 3 + 3;
    pvBuffer = calloc(cnUnits, dstType == UTF_16 ? sizeof(USHORT) : 1);
    if (pvBuffer == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    } else {
      ConvertUtfString(pvSource, srcType, pvBuffer, static_cast<int>(cnUnits), dstType, &result);
    }
  }
  PassBackResult(result, presult);
  return pvBuffer;
}

USHORT* GetUTF16Text(const char* szInput, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszText = nullptr;
  if (szInput == nullptr) {
    result = RESULT_INV_ARGUMENT;
  } else {
    wszText = static_cast<USHORT*>(
        ConvertIntoTripledBuffer(szInput, UTF_8, strlen(szInput), UTF_16, &result));
  }
  PassBackResult(result, presult);
  return wszText;
}

void GetUtf8TextFromUtf16(USHORT* wszText, int position, char* szText, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszTemp = nullptr;
  char* szTemp = nullptr;
  if (wszText == nullptr || szText == nullptr || position < 0) {
    result = RESULT_INV_ARGUMENT;
  } else if (static_cast<size_t>(position) > kMaxTripledLength) {
    result = RESULT_OUT_OF_MEMORY;
  }
  const size_t cnUnits = static_cast<size_t>(position);
  if (result == RESULT_SUCCEEDED) {
    wszTemp = static_cast<USHORT*>(calloc(cnUnits + 1, sizeof(USHORT)));
    if (wszTemp == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    }
  }
  if (result == RESULT_SUCCEEDED) {
    memcpy(wszTemp, wszText, cnUnits * sizeof(USHORT));
    szTemp = static_cast<char*>(ConvertIntoTripledBuffer(wszTemp, UTF_16, cnUnits, UTF_8, &result));
  }
  if (result == RESULT_SUCCEEDED) {
    memcpy(szText, szTemp, strlen(szTemp) + 1);
  }
  free(wszTemp);
  free(szTemp);
  PassBackResult(result, presult);
}

BOOL ReadUtf8Line(FILE* pfile, USHORT* pwchLine, int nBlockSize, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  BOOL fRead = FALSE;
  if (pfile == nullptr || pwchLine == nullptr || nBlockSize <= 0) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    CHAR rgchLine[kLineBufferSize];
    if (fgets(rgchLine, kLineBufferSize, pfile) != nullptr) {
      fRead = TRUE;
      ConvertUtfString(rgchLine, UTF_8, pwchLine, nBlockSize, UTF_16, &result);
    }
  }
  PassBackResult(result, presult);
  return fRead;
}

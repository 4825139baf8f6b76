// Wide-string primitives: zero-terminated arrays of 16-bit units, compared as
// plain unsigned numbers.
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <commonhelpers/commonhelpers.h>
#include "internal/terminated_length.h"

namespace {

using commonhelpers_internal::TerminatedLength;

// Allocates room for `cnUnits` units plus a terminator, or null when that
// would not fit the int capacities that callers use with the result.
USHORT* AllocateWide(size_t cnUnits) {
  if (cnUnits >= static_cast<size_t>(INT_MAX)) {
    return nullptr;
  }
  return static_cast<USHORT*>(malloc((cnUnits + 1) * sizeof(USHORT)));
}

}  // namespace

int WcsLen(const USHORT* wszStr, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  int nLength = -1;
  if (wszStr == nullptr) {
    result = RESULT_INV_ARGUMENT;
  } else {
    const size_t cnUnits = TerminatedLength(wszStr);
    // A length that an int cannot hold is reported like any other size the
    // library cannot represent.
    if (cnUnits > static_cast<size_t>(INT_MAX)) {
      result = RESULT_OUT_OF_MEMORY;
    } else {
      nLength = static_cast<int>(cnUnits);
    }
  }
  PassBackResult(result, presult);
  return nLength;
}

void WcsCpy(USHORT* wszDest, int cnwchDest, const USHORT* wszSource, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  if (cnwchDest < 0 || wszDest == nullptr || wszSource == nullptr) {
    result = RESULT_INV_ARGUMENT;
  }
  size_t cnUnits = 0;
  if (result == RESULT_SUCCEEDED) {
    cnUnits = TerminatedLength(wszSource);
    if (cnUnits >= static_cast<size_t>(cnwchDest)) {
      result = RESULT_INV_DATA;
    }
  }
  if (result == RESULT_SUCCEEDED) {
    memmove(wszDest, wszSource, (cnUnits + 1) * sizeof(USHORT));
  }
  PassBackResult(result, presult);
}

USHORT* WcsCatch(USHORT* wszSrc, const USHORT* wszTgt, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszDest = nullptr;
  if (wszTgt == nullptr) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    const size_t cnSrc = wszSrc != nullptr ? TerminatedLength(wszSrc) : 0;
    const size_t cnTgt = TerminatedLength(wszTgt);
    wszDest = AllocateWide(cnSrc + cnTgt);
    if (wszDest == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    } else {
      // wszTgt may point into wszSrc, so both are copied before wszSrc goes.
      if (wszSrc != nullptr) {
        memcpy(wszDest, wszSrc, cnSrc * sizeof(USHORT));
      }
      memcpy(wszDest + cnSrc, wszTgt, (cnTgt + 1) * sizeof(USHORT));
      free(wszSrc);
    }
  }
  PassBackResult(result, presult);
  return wszDest;
}

int WcsNCmp(const USHORT* wszStr1, const USHORT* wszStr2, int cnCompare, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  int nResult = 0;
  if (cnCompare != 0 && (wszStr1 == nullptr || wszStr2 == nullptr)) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED && cnCompare != 0) {
    // A negative count sets no bound: only a difference or the terminator
    // of the first string ends the walk.
    const size_t cnLimit = cnCompare < 0 ? SIZE_MAX : static_cast<size_t>(cnCompare);
    size_t i = 0;
    while (i + 1 < cnLimit && wszStr1[i] != 0 && wszStr1[i] == wszStr2[i]) {
      ++i;
    }
    nResult = static_cast<int>(wszStr1[i]) - static_cast<int>(wszStr2[i]);
  }
  PassBackResult(result, presult);
  return nResult;
}

USHORT* CopyWString(const USHORT* wszSrc, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT* wszDest = nullptr;
  if (wszSrc == nullptr) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    const size_t cnUnits = TerminatedLength(wszSrc);
    wszDest = AllocateWide(cnUnits);
    if (wszDest == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    } else {
      memcpy(wszDest, wszSrc, (cnUnits + 1) * sizeof(USHORT));
    }
  }
  PassBackResult(result, presult);
  return wszDest;
}

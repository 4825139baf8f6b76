// Wide-string sets: one array of equal-sized wide-string buffers. The set
// records neither its count nor its buffer size; the caller keeps both.
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>

USHORT** WStringSetConstruct(int cnString, int nStringLength, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  USHORT** rgwszKeys = nullptr;
  if (cnString < 1 || nStringLength < 1) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    rgwszKeys = static_cast<USHORT**>(calloc(static_cast<size_t>(cnString), sizeof(USHORT*)));
    if (rgwszKeys == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    }
  }
  // On a failed buffer the partial set is returned as it stands: the entries
  // after the failed one are still null from calloc.
  for (int i = 0; result == RESULT_SUCCEEDED && i < cnString; ++i) {
    rgwszKeys[i] =
        static_cast<USHORT*>(malloc(static_cast<size_t>(nStringLength) * sizeof(USHORT)));
    if (rgwszKeys[i] == nullptr) {
      result = RESULT_OUT_OF_MEMORY;
    }
  }
  PassBackResult(result, presult);
  return rgwszKeys;
}

void WStringSetDestruct(USHORT** rgwszKeys, int cnString, RResult* presult) {
  RResult result = RESULT_SUCCEEDED;
  if (rgwszKeys == nullptr || cnString < 1) {
    result = RESULT_INV_ARGUMENT;
  }
  if (result == RESULT_SUCCEEDED) {
    for (int i = 0; i < cnString; ++i) {
      free(rgwszKeys[i]);
    }
    free(rgwszKeys);
  }
  PassBackResult(result, presult);
}

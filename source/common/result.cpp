// Result delivery and the fatal check.
#include <cstdio>
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>
#include "internal/fatal_check.h"

void PassBackResult(RResult result, RResult* presult) {
  if (presult != nullptr) {
    *presult = result;
  }
}

namespace commonhelpers_internal {

void FatalCheckFailed(const char* szExpression, const char* szFile, int nLine) {
  std::fprintf(stderr, "commonhelpers: fatal check failed: %s (%s:%d)\n", szExpression, szFile,
               nLine);
  std::abort();
}

}  // namespace commonhelpers_internal

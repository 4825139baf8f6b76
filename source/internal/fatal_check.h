// fatal_check.h (internal): the library's one fatal check.
//
// CH_FATAL_CHECK(expr) is active in every build type, NDEBUG included. When
// `expr` is false it prints the expression exactly as written to standard
// error and aborts, so write the expression as callers are told it reads
// ("szText != NULL").
#ifndef COMMONHELPERS_FATAL_CHECK_H_
#define COMMONHELPERS_FATAL_CHECK_H_

namespace commonhelpers_internal {

[[noreturn]] void FatalCheckFailed(const char* szExpression, const char* szFile, int nLine);

}  // namespace commonhelpers_internal

#define CH_FATAL_CHECK(expr) \
  ((expr) ? (void)0 : ::commonhelpers_internal::FatalCheckFailed(#expr, __FILE__, __LINE__))

#endif  // COMMONHELPERS_FATAL_CHECK_H_

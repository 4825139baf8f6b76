// typedefs.h: the fixed type names used in every signature of commonhelpers.
//
// The library needs 8-bit bytes, a 16-bit `unsigned short` (one UTF-16 code
// unit) and a 32-bit `int` (every length and count of its interface); the
// checks below make a build on any other host fail at compile time instead
// of misbehaving. Nothing else about the data model is assumed: `long` may be
// 32 or 64 bits, and pointers 32 or 64 bits.
#ifndef COMMONHELPERS_TYPEDEFS_H_
#define COMMONHELPERS_TYPEDEFS_H_

#include <climits>

typedef int BOOL;
typedef int INT;
typedef unsigned short USHORT;
typedef char CHAR;
typedef unsigned char BYTE;
typedef char* PCH;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

static_assert(CHAR_BIT == 8, "commonhelpers needs 8-bit bytes");
static_assert(sizeof(USHORT) == 2, "commonhelpers needs a 16-bit unsigned short");
static_assert(sizeof(INT) == 4, "commonhelpers needs a 32-bit int");

#endif  // COMMONHELPERS_TYPEDEFS_H_

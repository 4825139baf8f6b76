// typedefs.h: the fixed type names used in every signature of commonhelpers.
//
// The library assumes a little-endian host with 8-bit bytes, a 16-bit
// `unsigned short`, a 32-bit `int` and a 64-bit `long`; the checks below make
// a build on any other host fail at compile time instead of misbehaving.
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
static_assert(sizeof(long) == 8, "commonhelpers needs a 64-bit long");

#endif  // COMMONHELPERS_TYPEDEFS_H_

// commonhelpers.h: the common helper library of the text-to-speech engine.
//
// Free functions only: no classes, no globals, no state, no threads. Every
// function is reentrant; calls may run at the same time as long as they do
// not write the same buffers.
//
// Reporting. A function that can fail takes a trailing `RResult* presult`,
// which may always be null. Exactly one code is stored there on every return
// (the variable is overwritten, also with RESULT_SUCCEEDED), except by
// ValidEnglishWord, ContainsEnglish and ContainsChinese, which never write
// through it. Each function's comment lists the codes it can pass back.
// Functions without that parameter report through their return value alone.
//
// Null arguments. Each pointer argument follows one of five policies, named
// in the function's comment and listed function by function in docs/api.md:
// RESULT_INV_ARGUMENT; a FALSE, null or default answer; a fatal check that
// prints the failed condition and aborts; a precondition that is not
// checked; or ordinary input (null counts as an empty text).
//
// Ownership. A buffer returned by a function comes from `malloc`/`calloc`
// and the caller releases it with `free`, also when a failure code comes
// with it. `WcsCatch` and `CatchString` take over their first argument and
// free it when, and only when, they succeed.
//
// Wide strings are zero-terminated arrays of UTF-16 code units (`USHORT`) in
// host byte order; units are compared as plain unsigned 16-bit numbers.
// Lengths are `int` counts of units without the terminator; capacities count
// the terminator too.
//
// Example:
//
//   RResult result;
//   USHORT* wszText = GetUTF16Text("你好, world", &result);
//   if (result == RESULT_SUCCEEDED && ContainsEnglish(wszText, nullptr)) ...
//   free(wszText);
#ifndef COMMONHELPERS_COMMONHELPERS_H_
#define COMMONHELPERS_COMMONHELPERS_H_

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "typedefs.h"

// Marks the library's exported functions: a shared build exports exactly
// what carries this mark. On ELF the library is built with hidden visibility;
// a Windows DLL exports what is marked dllexport (the library's own build
// defines COMMONHELPERS_BUILDING_DLL), and its callers import it
// (COMMONHELPERS_DLL, which the CMake package and pkg-config file of a DLL
// build define). A static library on Windows needs neither.
#ifndef COMMONHELPERS_API
#if defined(_WIN32) && defined(COMMONHELPERS_BUILDING_DLL)
#define COMMONHELPERS_API __declspec(dllexport)
#elif defined(_WIN32) && defined(COMMONHELPERS_DLL)
#define COMMONHELPERS_API __declspec(dllimport)
#elif defined(_WIN32)
#define COMMONHELPERS_API
#else
#define COMMONHELPERS_API __attribute__((visibility("default")))
#endif
#endif

// ---------------------------------------------------------------------------
// Result codes
// ---------------------------------------------------------------------------

// Every value but RESULT_SUCCEEDED is a distinct single bit. The library
// itself produces RESULT_SUCCEEDED, RESULT_INV_ARGUMENT, RESULT_OUT_OF_MEMORY
// and RESULT_INV_DATA; the others are declared for the engine's other modules.
enum RResult : uint32_t {
  RESULT_SUCCEEDED = 0,
  RESULT_INV_ARGUMENT = 1,
  RESULT_OUT_OF_MEMORY = 2,
  RESULT_ELEMENT_DUPLICATED = 4,
  RESULT_ELEMENT_NOT_EXIST = 8,
  RESULT_INV_DATA = 16,
  RESULT_SYSTEM_ERROR = 32,
  RESULT_UNSUPPORTED = 0x4000,
  RESULT_ANY_ERROR = 0x8000,
};

// PassBackResult()
//
// Stores `result` in `*presult` when `presult` is not null; otherwise does
// nothing. Never reads the variable and never combines codes.
COMMONHELPERS_API void PassBackResult(RResult result, RResult* presult);

// ---------------------------------------------------------------------------
// Wide-string primitives
// ---------------------------------------------------------------------------

// WcsLen()
//
// Returns the number of units before the terminator. A null `wszStr` returns
// -1 with RESULT_INV_ARGUMENT; a text longer than INT_MAX units returns -1
// with RESULT_OUT_OF_MEMORY.
COMMONHELPERS_API int WcsLen(const USHORT* wszStr, RResult* presult);

// WcsCpy()
//
// Copies `wszSource` and its terminator into `wszDest`, a buffer of
// `cnwchDest` units. RESULT_INV_ARGUMENT for a null pointer or a negative
// capacity; RESULT_INV_DATA when the text and its terminator don't fit. On
// either failure nothing is written. Overlapping buffers are copied as if
// through a temporary buffer.
COMMONHELPERS_API void WcsCpy(USHORT* wszDest, int cnwchDest, const USHORT* wszSource,
                              RResult* presult);

// WcsCatch()
//
// Returns a new buffer holding `wszSrc` (null counts as empty) followed by
// `wszTgt`, and frees `wszSrc` on success only. A null `wszTgt` gives null with
// RESULT_INV_ARGUMENT; a failed allocation gives null with
// RESULT_OUT_OF_MEMORY. `wszTgt` may point into `wszSrc`.
COMMONHELPERS_API USHORT* WcsCatch(USHORT* wszSrc, const USHORT* wszTgt, RResult* presult);

// WcsNCmp()
//
// Compares at most `cnCompare` units and returns the difference of the units
// where the comparison stopped (unsigned units subtracted as int), 0 when they
// agree. A count of 0 reads nothing and returns 0; a negative count sets no
// bound. A null string with a non-zero count gives 0 with RESULT_INV_ARGUMENT.
COMMONHELPERS_API int WcsNCmp(const USHORT* wszStr1, const USHORT* wszStr2, int cnCompare,
                              RResult* presult);

// CopyWString()
//
// Returns a new copy of `wszSrc`. Null with RESULT_INV_ARGUMENT for a null
// source, null with RESULT_OUT_OF_MEMORY when the allocation fails.
COMMONHELPERS_API USHORT* CopyWString(const USHORT* wszSrc, RResult* presult);

// ---------------------------------------------------------------------------
// Wide-string tokenizer and cleanup
// ---------------------------------------------------------------------------

// WcsTok()
//
// Returns the next token of `wszText`, or, when `wszText` is null, of the
// text that the cursor `*ppwchNextText` points into; null when no token is
// left (with RESULT_SUCCEEDED). The delimiter unit that ends a token is
// overwritten with 0 and the cursor moves past it. A null `wszDelimiter` or
// `ppwchNextText`, or a null text with a null cursor, gives null with
// RESULT_INV_ARGUMENT and changes nothing.
COMMONHELPERS_API USHORT* WcsTok(USHORT* wszText, const USHORT* wszDelimiter,
                                 USHORT** ppwchNextText, RResult* presult);

// ChopWStringEnd()
//
// Overwrites the trailing run of CR (U+000D) and LF (U+000A) units with 0.
// A null text is a fatal error ("wszText != NULL").
COMMONHELPERS_API void ChopWStringEnd(USHORT* wszText);

// TextIsEmpty()
//
// TRUE when every unit is blank (tab, LF, CR, space, U+3000) or there is
// none. Always RESULT_SUCCEEDED. A null text is a fatal error
// ("wszText != NULL").
COMMONHELPERS_API BOOL TextIsEmpty(USHORT* wszText, RResult* presult);

// ---------------------------------------------------------------------------
// Wide-string sets
// ---------------------------------------------------------------------------

// WStringSetConstruct()
//
// Returns an array of `cnString` buffers of `nStringLength` units each
// (uninitialized). Counts below 1 give null with RESULT_INV_ARGUMENT. When a
// buffer can't be allocated the partial set comes back with
// RESULT_OUT_OF_MEMORY: earlier entries hold buffers, the rest are null.
// Release the set, partial or whole, with WStringSetDestruct().
COMMONHELPERS_API USHORT** WStringSetConstruct(int cnString, int nStringLength, RResult* presult);

// WStringSetDestruct()
//
// Frees the non-null entries among the first `cnString`, then the array, with
// RESULT_SUCCEEDED. A null set or a count below 1 frees nothing and gives
// RESULT_INV_ARGUMENT.
COMMONHELPERS_API void WStringSetDestruct(USHORT** rgwszKeys, int cnString, RResult* presult);

// ---------------------------------------------------------------------------
// Byte-string helpers
// ---------------------------------------------------------------------------
//
// Every test and trim works byte by byte; bytes are taken as unsigned before
// any <cctype> call, and the library never changes the locale. The chop
// characters are space, CR and LF only.

// CopyString()
//
// Returns a new copy of `szSrc`. A null source returns null with
// RESULT_SUCCEEDED; a failed allocation, or a source of 2,147,483,647 bytes or
// more, returns null with RESULT_OUT_OF_MEMORY.
COMMONHELPERS_API char* CopyString(const char* szSrc, RResult* presult);

// CatchString()
//
// Returns a new buffer holding `szSrc` followed by `szTgt`, and frees `szSrc`
// (which must come from malloc or calloc) on success only. A null argument
// gives null with RESULT_INV_ARGUMENT; a failed allocation, or two strings of
// 2,147,483,647 bytes or more together, null with RESULT_OUT_OF_MEMORY. On a
// failure `szSrc` is neither freed nor changed.
COMMONHELPERS_API char* CatchString(char* szSrc, const char* szTgt, RResult* presult);

// ChopStringStart(), ChopStringEnd(), ChopString()
//
// Remove the leading, the trailing, or both runs of chop characters in place;
// chop characters inside the text stay. A null text is a fatal error
// ("szText != NULL").
COMMONHELPERS_API void ChopStringStart(char* szText);
COMMONHELPERS_API void ChopStringEnd(char* szText);
COMMONHELPERS_API void ChopString(char* szText);

// IsEmpty()
//
// TRUE for null or "". A string of spaces is not empty.
COMMONHELPERS_API BOOL IsEmpty(const char* szText);

// IsCharSpace()
//
// `isspace` of the byte taken as unsigned: tab, LF, VT, FF, CR and space in
// the "C" locale.
COMMONHELPERS_API BOOL IsCharSpace(char ch);

// IsStringSpace()
//
// TRUE when `szText` is non-empty and every byte is white space (as
// IsCharSpace); FALSE for null and "".
COMMONHELPERS_API BOOL IsStringSpace(const char* szText);

// IsDigit()
//
// TRUE exactly for '0' to '9'.
COMMONHELPERS_API BOOL IsDigit(char ch);

// IsValidInteger()
//
// TRUE for an optional sign followed by decimal digits without a leading
// zero ("0", "-0", "+0", "-42"; a lone sign counts too). No range check; any
// white space makes the text invalid; null and "" are invalid.
COMMONHELPERS_API BOOL IsValidInteger(const char* szText);

// StartsWith(), EndsWith()
//
// TRUE when `str1` begins (ends) with `str2`, ASCII letters compared without
// case; bytes from 0x80 up must match exactly. An empty `str2` matches every
// non-null `str1`; a null argument gives FALSE.
COMMONHELPERS_API BOOL StartsWith(const char* str1, const char* str2);
COMMONHELPERS_API BOOL EndsWith(const char* str1, const char* str2);

// ---------------------------------------------------------------------------
// Full-width to half-width normalization
// ---------------------------------------------------------------------------

// fullToHalf()
//
// Writes `sFullStr` (UTF-8) into `sHalfStr` with the full-width ASCII forms,
// the ideographic space, the circled digits 1 to 9 and the figure dash, en
// dash, horizontal bar and full-width hyphen-minus replaced by their ASCII
// bytes; everything else is copied unchanged. `sHalfStr` needs room for
// strlen(sFullStr) + 1 bytes; it may be `sFullStr` itself (the output never
// runs ahead of the input), but no other overlap is allowed. Neither text
// pointer may be null (not checked); a null `presult` is accepted. Always
// RESULT_SUCCEEDED.
COMMONHELPERS_API void fullToHalf(const char* sFullStr, char* sHalfStr, RResult* presult);

// ---------------------------------------------------------------------------
// Conversion wrappers (over ConvertUtfString, see stringconverter.h)
// ---------------------------------------------------------------------------

// GetUTF16Text()
//
// Returns a new zero-filled wide buffer of strlen(szInput) * 3 + 3 units
// holding the conversion of `szInput`, also when the conversion fails (its
// code is passed back). Null with RESULT_INV_ARGUMENT for a null input, null
// with RESULT_OUT_OF_MEMORY when the buffer can't be allocated.
COMMONHELPERS_API USHORT* GetUTF16Text(const char* szInput, RResult* presult);

// GetUtf8TextFromUtf16()
//
// Reads the first `position` units of `wszText`, all of them: the buffer
// must hold at least that many readable units (no terminator needed), and a
// zero unit among them does not end the reading. Writes the UTF-8 form of the
// units before the first zero unit (all of them when there is none) into
// `szText`, which needs 3 * (position + 1) bytes. `szText` is written only on
// RESULT_SUCCEEDED. RESULT_INV_ARGUMENT for a null `wszText` or `szText` or a
// negative position; RESULT_OUT_OF_MEMORY when the working buffers can't be
// allocated or `position` exceeds 715,827,881; RESULT_INV_DATA when the units
// before the first zero unit are not well-formed UTF-16 (a surrogate outside
// a pair). Allocates only working buffers, freed on every path.
COMMONHELPERS_API void GetUtf8TextFromUtf16(USHORT* wszText, int position, char* szText,
                                            RResult* presult);

// ReadUtf8Line()
//
// Reads the next line of `pfile` (at most 2,047 bytes, line end kept) and
// stores it in `pwchLine`, a buffer of `nBlockSize` units. A zero byte ends
// the stored text: the bytes after it, up to the line end, are read and
// dropped with RESULT_SUCCEEDED. Returns TRUE when a line was read, with the
// conversion's code (RESULT_INV_DATA for malformed UTF-8 or a line that
// doesn't fit, the longest whole prefix stored); FALSE with RESULT_SUCCEEDED
// at the end of the file or on a read error; FALSE with RESULT_INV_ARGUMENT
// for a null `pfile` or `pwchLine` or `nBlockSize` < 1.
COMMONHELPERS_API BOOL ReadUtf8Line(FILE* pfile, USHORT* pwchLine, int nBlockSize,
                                    RResult* presult);

// ---------------------------------------------------------------------------
// Binary record reader
// ---------------------------------------------------------------------------
//
// Each reader consumes exactly the bytes of one value from a stream opened
// by the caller; nothing is seeked, rewound or closed. What a failed read
// consumed stays consumed.

// Read7BitEncodedInt()
//
// Returns the next 7-bit-encoded 32-bit integer (1 to 5 bytes, low group
// first). A missing byte, or a fifth byte with its continuation bit set
// (those five bytes are consumed), returns -1 with RESULT_INV_DATA; as -1 is
// also a value, tell a failure by the code. A null stream is a fatal error
// ("pfile != NULL").
COMMONHELPERS_API int Read7BitEncodedInt(FILE* pfile, RResult* presult);

// GetBinWideString()
//
// Returns a new wide string of count / 2 + 1 units read from a byte count and
// that many bytes of UTF-16LE units; zero units inside the text are kept. An
// unreadable, odd or negative count gives null with RESULT_INV_DATA, with
// nothing read past the count; a failed allocation null with
// RESULT_OUT_OF_MEMORY. A short text gives RESULT_INV_DATA and the buffer,
// unterminated, which the caller frees. A null stream is a fatal error
// ("pfile != NULL").
COMMONHELPERS_API USHORT* GetBinWideString(FILE* pfile, RResult* presult);

// GetBinString()
//
// As GetBinWideString(), converted to a new zero-filled UTF-8 buffer of
// n * 3 + 3 bytes (n units before the first zero unit). Null on every failure
// before the conversion, with the wide text released; a text of more than
// 715,827,881 units gives RESULT_OUT_OF_MEMORY. After a failed conversion the
// buffer comes back with the conversion's code. A null stream gives
// RESULT_INV_ARGUMENT.
COMMONHELPERS_API char* GetBinString(FILE* pfile, RResult* presult);

// ReadBinBool()
//
// Returns the next byte as a signed 8-bit value (0 false, anything else
// true; not normalized to TRUE). FALSE with RESULT_INV_DATA when no byte can
// be read, with RESULT_INV_ARGUMENT for a null stream.
COMMONHELPERS_API BOOL ReadBinBool(FILE* pfile, RResult* presult);

// ---------------------------------------------------------------------------
// File comparison
// ---------------------------------------------------------------------------
//
// Both open and close the two files themselves, on every path, and stream
// through fixed buffers whatever the files' sizes. FALSE also stands for a
// file that can't be opened: the caller can't tell that from a difference.
// The files are opened with fopen(), so a FIFO waits for its writer, as it
// does for cmp. The answer comes as soon as the first differing line or
// block has been read. Stack use stays within a few KiB. Null paths are a
// precondition that is not checked.

// CompareTextFiles()
//
// TRUE when the two files have the same lines once trailing spaces, CRs and
// LFs are trimmed (so CR LF and LF line ends compare equal; tabs and leading
// spaces count). A line longer than 1,023 bytes counts as several. A read
// error ends that file's lines: a directory reads as an empty file.
COMMONHELPERS_API BOOL CompareTextFiles(const char* szFile1, const char* szFile2);

// CompareBinFiles()
//
// TRUE when the two files hold the same bytes. A read error (a directory,
// say) gives FALSE.
COMMONHELPERS_API BOOL CompareBinFiles(const char* szFile1, const char* szFile2);

// ---------------------------------------------------------------------------
// Language classification
// ---------------------------------------------------------------------------

enum tagLanguageType : int32_t {
  TTS_LANG_UNSIGNED = -1,  // no language class
  TTS_LANG_PRIMARY = 0,    // a Chinese character, U+4E00 to U+9FFF
  TTS_LANG_FOREIGN = 1,    // an English letter, A to Z and a to z
};
typedef tagLanguageType LanguageType;

// GetTextType()
//
// TTS_LANG_FOREIGN for an English letter, TTS_LANG_PRIMARY for a Chinese
// character, TTS_LANG_UNSIGNED otherwise. Always RESULT_SUCCEEDED.
COMMONHELPERS_API LanguageType GetTextType(USHORT wch, RResult* presult);

// BelongsToEnglish(), BelongsToChinese(), BelongsToNumber()
//
// TRUE when `wch` is an English letter; a Chinese character (U+4E00 to
// U+9FFF); a number character (U+002C to U+0039 or U+FF10 to U+FF19).
// Always RESULT_SUCCEEDED. Surrogate units belong to no class.
COMMONHELPERS_API BOOL BelongsToEnglish(USHORT wch, RResult* presult);
COMMONHELPERS_API BOOL BelongsToChinese(USHORT wch, RResult* presult);
COMMONHELPERS_API BOOL BelongsToNumber(USHORT wch, RResult* presult);

// ValidEnglishWord()
//
// TRUE when every byte of `szText` is an English letter ("" included).
// `szText` must not be null (not checked). Never writes through `presult`.
COMMONHELPERS_API BOOL ValidEnglishWord(const char* szText, RResult* presult);

// ContainsEnglish()
//
// TRUE when `wszText` is not null and holds an English letter. Never writes
// through `presult`. A text longer than INT_MAX units, whose length an int
// can't hold, gives FALSE.
COMMONHELPERS_API BOOL ContainsEnglish(unsigned short* wszText, RResult* presult);

// ContainsChinese()
//
// TRUE when the UTF-8 text `szText` is not null, converts to UTF-16, and
// holds a Chinese character. A failed allocation or conversion gives FALSE.
// Never writes through `presult`.
COMMONHELPERS_API BOOL ContainsChinese(char* szText, RResult* presult);

// IsSameChar()
//
// TRUE when the UTF-16 form of `szText` is exactly `count` units, each equal
// to `punc`. A null text gives FALSE. A text that is not valid UTF-8 counts
// as the units converted before its first malformed sequence (two em dashes
// and the byte 0xFF, with `count` 2, give TRUE); a text whose wide form
// can't be allocated counts as having no units.
COMMONHELPERS_API BOOL IsSameChar(const char* szText, USHORT punc, int count);

// ---------------------------------------------------------------------------
// Hann window, float comparison and clock
// ---------------------------------------------------------------------------

// GetHanWindow()
//
// Returns a new array of `window_size` floats, 0.25 - 0.25 * cos(i * 6.2831852
// / window_size) computed in double (a periodic Hann window with peak 0.5).
// A failed allocation, which a negative size always is, gives null with
// RESULT_OUT_OF_MEMORY. A size of 0 returns the allocator's answer to
// malloc(0): a block with RESULT_SUCCEEDED, or null with RESULT_OUT_OF_MEMORY.
COMMONHELPERS_API float* GetHanWindow(int window_size, RResult* presult);

// FloatEqual()
//
// TRUE unless the difference reaches 1e-8f and also reaches 1 % of the sum of
// the magnitudes, all in single precision. A NaN or infinite argument, or a
// sum of magnitudes that overflows, gives TRUE.
COMMONHELPERS_API BOOL FloatEqual(float flAlpha, float flBeta);

// GetTime()
//
// Milliseconds since 1970-01-01 UTC, from the time of day, as a signed 64-bit
// count on every platform (`long` where `long` has 64 bits).
COMMONHELPERS_API int64_t GetTime();

// ---------------------------------------------------------------------------
// Standard-string utilities
// ---------------------------------------------------------------------------
//
// Byte-wise, no result codes; the containers' exceptions reach the caller.

// split()
//
// Returns the non-empty pieces of `str` between occurrences of `delim`, found
// left to right without overlap. Appends `delim` to `str` (it stays there).
// An empty `delim` gives `str` itself as the one piece (none when `str` is
// empty) and leaves `str` unchanged.
COMMONHELPERS_API std::vector<std::string> split(std::string& str, const std::string& delim);

// GetValue()
//
// Returns the value stored under `key`, or "0" when there is none.
COMMONHELPERS_API std::string GetValue(const std::map<std::string, std::string>& map,
                                       std::string key);

// StringReplace()
//
// Replaces every occurrence of `strsrc` in `strBig` by `strdst`, left to right;
// inserted text is never searched again. An empty `strsrc` changes nothing.
COMMONHELPERS_API void StringReplace(std::string& strBig, const std::string& strsrc,
                                     const std::string& strdst);

// GetParentPath()
//
// Returns `location` up to and including its last '/'. When there is none,
// prints "ivalid path" to standard output and exits the process with status 0.
COMMONHELPERS_API std::string GetParentPath(std::string location);

// TrimStart(), TrimEnd(), Trim()
//
// Remove the leading, trailing, or both runs of bytes that occur anywhere in
// `trimStr` (a set, not a substring). Return true when `str` is not empty
// afterwards.
COMMONHELPERS_API bool TrimStart(std::string& str, const std::string& trimStr);
COMMONHELPERS_API bool TrimEnd(std::string& str, const std::string& trimStr);
COMMONHELPERS_API bool Trim(std::string& str, const std::string& trimStr);

#endif  // COMMONHELPERS_COMMONHELPERS_H_

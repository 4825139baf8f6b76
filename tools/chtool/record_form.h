// The written form of record values, which dump prints and pack reads, one
// value a line:
//
//   int        decimal, -2147483648 to 2147483647, no '+' and no leading zero.
//              An encoding other than the shortest one (longer than needed,
//              or a fifth byte with its ignored bits 4 to 6 set) follows after
//              a space as \xHH bytes: "0 \x80\x00", "-1 \xff\xff\xff\xff\x7f".
//   bool       true (byte 1), false (byte 0), or \xHH for any other byte.
//   str, wstr  the text in UTF-8 with \\, \n, \r and \t escaped and \0 for a
//              zero unit. A byte count in other than its shortest encoding
//              comes first as \xHH bytes: "\x82\x00a" is the text "a" whose
//              count 2 is written 82 00. (No escape of a text begins with \x.)
//
// So every file that dump reads without error is rebuilt byte for byte by
// pack. A line of dump's output, "OFFSET<TAB>TYPE<TAB>VALUE", is also a line
// that pack reads.
#ifndef CHTOOL_RECORD_FORM_H_
#define CHTOOL_RECORD_FORM_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace chtool {

enum class Field { kInt, kStr, kWstr, kBool };

// "int", "str", "wstr" or "bool".
const char* FieldName(Field field);

// The field of that name; false when there is none.
bool FindField(const std::string& name, Field& field);

// The shortest 7-bit encoding of `number`: seven bits a byte, low group
// first, bit 7 set on every byte but the last. A negative number takes five.
std::string Encode7Bit(int32_t number);

// Appends to `record` the bytes of one line of pack's input, a bare value or
// a line of dump's output (whose type must be `field` and whose offset must
// be record.size()); a CR at its end is dropped. False with `error` set, and
// `record` unchanged, when the line is malformed.
bool PackLine(std::string line, Field field, std::string& record, std::string& error);

// Reads the value of `field` at the position of `stream`, a stream over
// `bytes`, with the library's readers, and gives its written form. False with
// `error` set when it is malformed or cut short.
bool DumpValue(FILE* stream, const std::string& bytes, Field field, std::string& value,
               std::string& error);

}  // namespace chtool

#endif  // CHTOOL_RECORD_FORM_H_

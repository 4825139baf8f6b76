// Every pointer argument whose null policy can be observed, called with that
// argument null: the same table as docs/api.md's, row for row. (The package
// check makes sure that every declared function has a row there.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>
#include "support/memory_stream.h"

namespace {

enum Policy { kInvArgument, kDefault, kOrdinary, kFatal };

// One call's code, and valid values for the arguments that are not null.
struct Call {
  RResult r = RESULT_SUCCEEDED;
  USHORT text[4] = {'a', ' ', 'b', 0};
  USHORT delimiter[2] = {' ', 0};
  USHORT* cursor = text;
  char bytes[16] = "a";
};

// Whether a call gave an answer: a non-zero value, or a buffer (freed here).
bool Answered(long value) { return value != 0; }
template <typename T>
bool Answered(T* p) {
  free(p);
  return p != nullptr;
}

struct Row {
  const char* function;
  const char* argument;
  Policy policy;
  bool (*call)(Call& c);  // with `argument` null; whether it answered
};

const Row kRows[] = {
    {"WcsLen", "wszStr", kInvArgument, [](Call& c) { return Answered(WcsLen(nullptr, &c.r)); }},
    {"WcsCpy", "wszDest", kInvArgument,
     [](Call& c) { return WcsCpy(nullptr, 4, c.text, &c.r), false; }},
    {"WcsCpy", "wszSource", kInvArgument,
     [](Call& c) { return WcsCpy(c.text, 4, nullptr, &c.r), false; }},
    {"WcsCatch", "wszSrc", kOrdinary,
     [](Call& c) { return Answered(WcsCatch(nullptr, c.text, &c.r)); }},
    {"WcsCatch", "wszTgt", kInvArgument,
     [](Call& c) { return Answered(WcsCatch(nullptr, nullptr, &c.r)); }},
    {"WcsNCmp", "wszStr1", kInvArgument,
     [](Call& c) { return Answered(WcsNCmp(nullptr, c.text, 1, &c.r)); }},
    {"WcsNCmp", "wszStr2", kInvArgument,
     [](Call& c) { return Answered(WcsNCmp(c.text, nullptr, 1, &c.r)); }},
    {"CopyWString", "wszSrc", kInvArgument,
     [](Call& c) { return Answered(CopyWString(nullptr, &c.r)); }},
    {"WcsTok", "wszText", kOrdinary,
     [](Call& c) { return WcsTok(nullptr, c.delimiter, &c.cursor, &c.r) == c.text; }},
    {"WcsTok", "wszDelimiter", kInvArgument,
     [](Call& c) { return WcsTok(c.text, nullptr, &c.cursor, &c.r) != nullptr; }},
    {"WcsTok", "ppwchNextText", kInvArgument,
     [](Call& c) { return WcsTok(c.text, c.delimiter, nullptr, &c.r) != nullptr; }},
    {"ChopWStringEnd", "wszText", kFatal, [](Call&) { return ChopWStringEnd(nullptr), false; }},
    {"TextIsEmpty", "wszText", kFatal,
     [](Call& c) { return Answered(TextIsEmpty(nullptr, &c.r)); }},
    {"WStringSetDestruct", "rgwszKeys", kInvArgument,
     [](Call& c) { return WStringSetDestruct(nullptr, 1, &c.r), false; }},
    {"CopyString", "szSrc", kDefault, [](Call& c) { return Answered(CopyString(nullptr, &c.r)); }},
    {"CatchString", "szSrc", kInvArgument,
     [](Call& c) { return Answered(CatchString(nullptr, "a", &c.r)); }},
    // On failure the first argument is not freed, so a stack buffer will do.
    {"CatchString", "szTgt", kInvArgument,
     [](Call& c) { return Answered(CatchString(c.bytes, nullptr, &c.r)); }},
    {"ChopStringStart", "szText", kFatal, [](Call&) { return ChopStringStart(nullptr), false; }},
    {"ChopStringEnd", "szText", kFatal, [](Call&) { return ChopStringEnd(nullptr), false; }},
    {"ChopString", "szText", kFatal, [](Call&) { return ChopString(nullptr), false; }},
    {"IsEmpty", "szText", kOrdinary, [](Call&) { return Answered(IsEmpty(nullptr)); }},
    {"IsStringSpace", "szText", kDefault, [](Call&) { return Answered(IsStringSpace(nullptr)); }},
    {"IsValidInteger", "szText", kDefault, [](Call&) { return Answered(IsValidInteger(nullptr)); }},
    {"StartsWith", "str1", kDefault, [](Call&) { return Answered(StartsWith(nullptr, "")); }},
    {"StartsWith", "str2", kDefault, [](Call&) { return Answered(StartsWith("a", nullptr)); }},
    {"EndsWith", "str1", kDefault, [](Call&) { return Answered(EndsWith(nullptr, "")); }},
    {"EndsWith", "str2", kDefault, [](Call&) { return Answered(EndsWith("a", nullptr)); }},
    {"GetUTF16Text", "szInput", kInvArgument,
     [](Call& c) { return Answered(GetUTF16Text(nullptr, &c.r)); }},
    {"GetUtf8TextFromUtf16", "wszText", kInvArgument,
     [](Call& c) { return GetUtf8TextFromUtf16(nullptr, 0, c.bytes, &c.r), false; }},
    {"GetUtf8TextFromUtf16", "szText", kInvArgument,
     [](Call& c) { return GetUtf8TextFromUtf16(c.text, 1, nullptr, &c.r), false; }},
    {"ReadUtf8Line", "pfile", kInvArgument,
     [](Call& c) { return Answered(ReadUtf8Line(nullptr, c.text, 4, &c.r)); }},
    {"ReadUtf8Line", "pwchLine", kInvArgument,
     [](Call& c) { return Answered(ReadUtf8Line(MemoryStream("a\n").get(), nullptr, 4, &c.r)); }},
    {"Read7BitEncodedInt", "pfile", kFatal,
     [](Call& c) { return Answered(Read7BitEncodedInt(nullptr, &c.r)); }},
    {"GetBinWideString", "pfile", kFatal,
     [](Call& c) { return Answered(GetBinWideString(nullptr, &c.r)); }},
    {"GetBinString", "pfile", kInvArgument,
     [](Call& c) { return Answered(GetBinString(nullptr, &c.r)); }},
    {"ReadBinBool", "pfile", kInvArgument,
     [](Call& c) { return Answered(ReadBinBool(nullptr, &c.r)); }},
    {"ContainsEnglish", "wszText", kDefault,
     [](Call& c) { return Answered(ContainsEnglish(nullptr, &c.r)); }},
    {"ContainsChinese", "szText", kDefault,
     [](Call& c) { return Answered(ContainsChinese(nullptr, &c.r)); }},
    {"IsSameChar", "szText", kDefault, [](Call&) { return Answered(IsSameChar(nullptr, 'a', 1)); }},
    {"ConvertUtfString", "src", kInvArgument,
     [](Call& c) { return ConvertUtfString(nullptr, UTF_8, c.text, 4, UTF_16, &c.r), false; }},
    {"ConvertUtfString", "dst", kInvArgument,
     [](Call& c) { return ConvertUtfString("a", UTF_8, nullptr, 4, UTF_16, &c.r), false; }}};

// The policy that a call shows: the code it passes back, else whether it
// answered.
Policy Shown(const Row& row) {
  Call call;
  const bool answered = row.call(call);
  if (call.r == RESULT_INV_ARGUMENT) return kInvArgument;
  return answered ? kOrdinary : kDefault;
}

TEST(NullArguments, BehaveAsTheirPolicySays) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.function) + "/" + row.argument);
    if (row.policy == kFatal) {
      EXPECT_DEATH(Shown(row), "!= NULL");
    } else {
      EXPECT_EQ(Shown(row), row.policy);
    }
  }
}

}  // namespace

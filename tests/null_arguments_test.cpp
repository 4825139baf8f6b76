// docs/api.md's table of null-argument policies against the library: every
// row whose policy can be observed is called with that argument null. (The
// package check makes sure that every declared function has a row.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <string>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>
#include "support/memory_stream.h"

namespace {

bool Answered(long value) { return value != 0; }
template <typename T>
bool Answered(T* p) {
  const bool answered = p != nullptr;
  free(p);
  return answered;
}

// The policy that a call shows. `expr` may use `r` for its result and `t` (a
// wide "a b"), `d` (a wide " ") and `buf` as scratch.
#define CALL(expr)                                                              \
  [] {                                                                          \
    RResult r = RESULT_SUCCEEDED;                                               \
    [[maybe_unused]] USHORT t[] = {'a', ' ', 'b', 0}, d[] = {' ', 0}, *cur = t; \
    [[maybe_unused]] char buf[16] = "a";                                        \
    const bool answered = Answered(expr);                                       \
    return std::string(r == RESULT_INV_ARGUMENT ? "RESULT_INV_ARGUMENT"         \
                       : answered               ? "ordinary"                    \
                                                : "default");                                 \
  }

const std::map<std::string, std::function<std::string()>>& Calls() {
  static const std::map<std::string, std::function<std::string()>> calls = {
      {"WcsLen/wszStr", CALL(WcsLen(nullptr, &r))},
      {"WcsCpy/wszDest", CALL((WcsCpy(nullptr, 4, t, &r), 0))},
      {"WcsCpy/wszSource", CALL((WcsCpy(t, 4, nullptr, &r), 0))},
      {"WcsCatch/wszSrc", CALL(WcsCatch(nullptr, t, &r))},
      {"WcsCatch/wszTgt", CALL(WcsCatch(nullptr, nullptr, &r))},
      {"WcsNCmp/wszStr1", CALL(WcsNCmp(nullptr, t, 1, &r))},
      {"WcsNCmp/wszStr2", CALL(WcsNCmp(t, nullptr, 1, &r))},
      {"CopyWString/wszSrc", CALL(CopyWString(nullptr, &r))},
      {"WcsTok/wszText", CALL(WcsTok(nullptr, d, &cur, &r) == t)},
      {"WcsTok/wszDelimiter", CALL(WcsTok(t, nullptr, &cur, &r))},
      {"WcsTok/ppwchNextText", CALL(WcsTok(t, d, nullptr, &r))},
      {"ChopWStringEnd/wszText", CALL((ChopWStringEnd(nullptr), 0))},
      {"TextIsEmpty/wszText", CALL(TextIsEmpty(nullptr, &r))},
      {"WStringSetDestruct/rgwszKeys", CALL((WStringSetDestruct(nullptr, 1, &r), 0))},
      {"CopyString/szSrc", CALL(CopyString(nullptr, &r))},
      {"CatchString/szSrc", CALL(CatchString(nullptr, "a", &r))},
      {"CatchString/szTgt", CALL(CatchString(buf, nullptr, &r))},  // nothing is freed on failure
      {"ChopStringStart/szText", CALL((ChopStringStart(nullptr), 0))},
      {"ChopStringEnd/szText", CALL((ChopStringEnd(nullptr), 0))},
      {"ChopString/szText", CALL((ChopString(nullptr), 0))},
      {"IsEmpty/szText", CALL(IsEmpty(nullptr))},
      {"IsStringSpace/szText", CALL(IsStringSpace(nullptr))},
      {"IsValidInteger/szText", CALL(IsValidInteger(nullptr))},
      {"StartsWith/str1", CALL(StartsWith(nullptr, ""))},
      {"StartsWith/str2", CALL(StartsWith("a", nullptr))},
      {"EndsWith/str1", CALL(EndsWith(nullptr, ""))},
      {"EndsWith/str2", CALL(EndsWith("a", nullptr))},
      {"GetUTF16Text/szInput", CALL(GetUTF16Text(nullptr, &r))},
      {"GetUtf8TextFromUtf16/wszText", CALL((GetUtf8TextFromUtf16(nullptr, 0, buf, &r), 0))},
      {"GetUtf8TextFromUtf16/szText", CALL((GetUtf8TextFromUtf16(t, 1, nullptr, &r), 0))},
      {"ReadUtf8Line/pfile", CALL(ReadUtf8Line(nullptr, t, 4, &r))},
      {"ReadUtf8Line/pwchLine", CALL(ReadUtf8Line(MemoryStream("a\n").get(), nullptr, 4, &r))},
      {"Read7BitEncodedInt/pfile", CALL(Read7BitEncodedInt(nullptr, &r))},
      {"GetBinWideString/pfile", CALL(GetBinWideString(nullptr, &r))},
      {"GetBinString/pfile", CALL(GetBinString(nullptr, &r))},
      {"ReadBinBool/pfile", CALL(ReadBinBool(nullptr, &r))},
      {"ContainsEnglish/wszText", CALL(ContainsEnglish(nullptr, &r))},
      {"ContainsChinese/szText", CALL(ContainsChinese(nullptr, &r))},
      {"IsSameChar/szText", CALL(IsSameChar(nullptr, 'a', 1))},
      {"ConvertUtfString/src", CALL((ConvertUtfString(nullptr, UTF_8, t, 4, UTF_16, &r), 0))},
      {"ConvertUtfString/dst", CALL((ConvertUtfString("a", UTF_8, nullptr, 4, UTF_16, &r), 0))}};
  return calls;
}

TEST(NullArguments, BehaveAsTheTableOfPoliciesSays) {
  std::ifstream file(COMMONHELPERS_SOURCE_DIR "/docs/api.md");
  const std::string table{std::istreambuf_iterator<char>(file), {}};
  const std::regex row(R"(\| `(\w+)` \| (?:`(\w+)`|—) \| (?:`(\w+)`|—) \|)");
  size_t called = 0;
  for (std::sregex_iterator it(table.begin(), table.end(), row), end; it != end; ++it) {
    const std::string function = (*it)[1], policy = (*it)[3];
    const std::string key = function + "/" + (*it)[2].str();
    SCOPED_TRACE(key);
    const auto call = Calls().find(key);
    if (policy.empty() || policy == "unchecked") {
      EXPECT_EQ(call, Calls().end()) << "a row that can't be called has a call";
      continue;
    }
    ASSERT_NE(call, Calls().end()) << "no call for this row";
    ++called;
    if (policy == "fatal") {
      EXPECT_DEATH(call->second(), "!= NULL");
      continue;
    }
    EXPECT_EQ(call->second(), policy);
  }
  EXPECT_EQ(called, Calls().size()) << "a call without a row";
}

}  // namespace

// Input nobody checked: streams that cannot be read, record files cut at every
// byte, and every allocation of the allocating calls failing in turn. Each
// case must give its documented answer, without hanging or leaking.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>
#include "support/alloc_failure.h"
#include "support/huge_text.h"
#include "support/memory_stream.h"
#include "support/wide.h"

// Present in coverage builds only. A death-test child ends in abort() before
// gcov writes its counts; writing them first shows the fatal paths covered.
extern "C" void __gcov_dump() __attribute__((weak));

namespace {

namespace fs = std::filesystem;

void DumpCoverageAndAbort(int) {
  __gcov_dump();
  signal(SIGABRT, SIG_DFL);
  raise(SIGABRT);
}

[[maybe_unused]] const bool kCoverageDumpedOnAbort =
    __gcov_dump != nullptr && signal(SIGABRT, DumpCoverageAndAbort) != SIG_ERR;

class HostileInputTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/commonhelpers-hostile-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { fs::remove_all(dir_); }

  // A FIFO whose writer put `bytes` in it and has gone: reads drain the bytes
  // and then see the end, never blocking.
  FILE* Fifo(const std::string& bytes) {
    const std::string path = dir_ + "/fifo" + std::to_string(count_++);
    if (mkfifo(path.c_str(), 0600) != 0) return nullptr;
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    const int writer = open(path.c_str(), O_WRONLY);
    if (reader < 0 || writer < 0) return nullptr;
    const bool written =
        write(writer, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    close(writer);
    return written ? fdopen(reader, "rb") : nullptr;
  }

  std::string dir_;
  int count_ = 0;
};

// A directory, a write-only file and an empty FIFO open fine but yield no
// byte: every reader reports a failed read (the line reader: the end).
TEST_F(HostileInputTest, ReadersOnStreamsThatYieldNothing) {
  const std::string written = dir_ + "/written";
  const std::function<FILE*()> streams[] = {
      [&] { return fopen(dir_.c_str(), "rb"); },
      [&] { return fopen(written.c_str(), "wb"); },
      [&] { return Fifo(""); },
  };
  for (const auto& open : streams) {
    for (int reader = 0; reader < 5; ++reader) {
      SCOPED_TRACE("reader " + std::to_string(reader));
      FILE* file = open();
      ASSERT_NE(file, nullptr);
      RResult result = RESULT_ANY_ERROR;
      USHORT line[8] = {0x5A5A, 0};
      switch (reader) {
        case 0:
          EXPECT_EQ(Read7BitEncodedInt(file, &result), -1);
          break;
        case 1:
          EXPECT_EQ(GetBinWideString(file, &result), nullptr);
          break;
        case 2:
          EXPECT_EQ(GetBinString(file, &result), nullptr);
          break;
        case 3:
          EXPECT_EQ(ReadBinBool(file, &result), FALSE);
          break;
        default:
          EXPECT_EQ(ReadUtf8Line(file, line, 8, &result), FALSE);
          EXPECT_EQ(line[0], 0x5A5A);
          break;
      }
      EXPECT_EQ(result, reader == 4 ? RESULT_SUCCEEDED : RESULT_INV_DATA);
      fclose(file);
    }
  }
}

// A record file cut after every byte, from a regular file and from a FIFO:
// the values before the cut read back whole, the one it falls in and all after
// it fail with RESULT_INV_DATA.
TEST_F(HostileInputTest, RecordFilesCutAtEveryByte) {
  enum Reader { kInt, kString, kBool, kWide };
  const struct {
    Reader reader;
    std::string bytes, text;
    int value;
  } values[] = {
      {kInt, "\xAC\x02", "", 300},
      {kString, std::string("\x04\x41\0\x60\x4F", 5), "A\xE4\xBD\xA0", 0},
      {kBool, "\x02", "", 2},
      {kWide, std::string("\x04\x43\0\x44\0", 5), "CD", 0},
      {kInt, "\xFF\xFF\xFF\xFF\x0F", "", -1},
  };
  std::string all;
  for (const auto& value : values) all += value.bytes;
  for (size_t cut = 0; cut <= all.size(); ++cut) {
    for (bool fifo : {false, true}) {
      SCOPED_TRACE("cut " + std::to_string(cut) + (fifo ? " fifo" : " file"));
      MemoryStream regular(all.substr(0, cut));
      FILE* file = fifo ? Fifo(all.substr(0, cut)) : regular.file;
      ASSERT_NE(file, nullptr);
      size_t end = 0;
      for (const auto& value : values) {
        end += value.bytes.size();
        const bool whole = end <= cut;
        RResult result = RESULT_ANY_ERROR;
        if (value.reader == kInt) {
          EXPECT_EQ(Read7BitEncodedInt(file, &result), whole ? value.value : -1);
        } else if (value.reader == kBool) {
          EXPECT_EQ(ReadBinBool(file, &result), whole ? value.value : FALSE);
        } else if (value.reader == kString) {
          char* sz = GetBinString(file, &result);
          EXPECT_EQ(sz == nullptr ? "(null)" : sz, whole ? value.text : "(null)");
          free(sz);
        } else {
          USHORT* wsz = GetBinWideString(file, &result);
          if (whole) {
            EXPECT_EQ(wide::Text(wsz), u"CD");
          }
          free(wsz);  // a short text comes back unterminated, but it is ours
        }
        EXPECT_EQ(result, whole ? RESULT_SUCCEEDED : RESULT_INV_DATA);
      }
      RResult result = RESULT_ANY_ERROR;
      EXPECT_EQ(ReadBinBool(file, &result), FALSE);
      EXPECT_EQ(result, RESULT_INV_DATA);
      if (fifo) fclose(file);
    }
  }
}

// The calls that allocate once and had only a single failure tested: the
// count is exact, and the failure gives null with RESULT_OUT_OF_MEMORY.
TEST(AllocationFailure, EverySingleAllocationFailsCleanly) {
  const struct {
    const char* name;
    std::function<void*(RResult*)> call;
    std::function<bool(void*)> holds;
  } rows[] = {
      {"CopyWString",
       [](RResult* r) -> void* { return CopyWString(wide::Buffer(u"ab").data(), r); },
       [](void* p) { return wide::Text(static_cast<USHORT*>(p)) == u"ab"; }},
      {"CopyString", [](RResult* r) -> void* { return CopyString("ab", r); },
       [](void* p) { return std::string(static_cast<char*>(p)) == "ab"; }},
      {"GetUTF16Text", [](RResult* r) -> void* { return GetUTF16Text("\xE4\xBD\xA0", r); },
       [](void* p) { return wide::Text(static_cast<USHORT*>(p)) == u"\x4F60"; }},
      {"GetHanWindow", [](RResult* r) -> void* { return GetHanWindow(2, r); },
       [](void* p) { return static_cast<float*>(p)[1] == 0.5f; }},
  };
  for (const auto& row : rows) {
    void* p = nullptr;
    RResult result = RESULT_ANY_ERROR;
    const long allocations = alloc_failure::ForEachFailure(
        [&] { p = row.call(&result); },
        [&](long failed) {
          EXPECT_EQ(result, failed ? RESULT_OUT_OF_MEMORY : RESULT_SUCCEEDED) << row.name;
          EXPECT_TRUE(failed ? p == nullptr : row.holds(p)) << row.name;
          free(p);
        });
    EXPECT_EQ(allocations, 1) << row.name;
  }
  // ContainsChinese answers FALSE then, and still never writes the code.
  char text[] = "\xE4\xBD\xA0";
  RResult untouched = RESULT_ANY_ERROR;
  alloc_failure::ScopedFailure failFirst(1);
  EXPECT_EQ(ContainsChinese(text, &untouched), FALSE);
  EXPECT_EQ(untouched, RESULT_ANY_ERROR);
}

// Sizes that an int cannot hold fail with RESULT_OUT_OF_MEMORY before
// anything is allocated or written.
TEST(HostileSizes, BeyondTheIntLimitFailBeforeAllocating) {
  constexpr size_t kTooLongToTriple = 715827882;  // 3 * n + 3 > INT_MAX
  char szText[8] = "kept";
  RResult result = RESULT_SUCCEEDED;
  GetUtf8TextFromUtf16(wide::Buffer(u"ab").data(), static_cast<int>(kTooLongToTriple), szText,
                       &result);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  EXPECT_STREQ(szText, "kept");
  if (huge_text::TooCostlyHere()) GTEST_SKIP() << "ASan runs cover the rest";
  char* tail = huge_text::Map("");
  if (tail == nullptr) GTEST_SKIP() << "no address space for a 4 GiB text";
  const auto* wszEnd = reinterpret_cast<const USHORT*>(tail);  // units of 0x6161 before it
  alloc_failure::FailNth(0);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(GetUTF16Text(tail - kTooLongToTriple, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(WcsLen(wszEnd - (size_t{1} << 31), &result), -1);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  result = RESULT_SUCCEEDED;
  EXPECT_EQ(CopyWString(wszEnd - INT_MAX, &result), nullptr);
  EXPECT_EQ(result, RESULT_OUT_OF_MEMORY);
  EXPECT_EQ(alloc_failure::Count(), 0);
  huge_text::Unmap(tail);
}

// Nulls and malformed units where a check or an early exit could go wrong.
TEST(HostileText, NullsAndEarlyExits) {
  EXPECT_EQ(StartsWith("a", nullptr), FALSE);
  EXPECT_EQ(EndsWith(nullptr, "a"), FALSE);
  EXPECT_EQ(IsSameChar("a..", '.', 2), FALSE);  // the walk stops at the first other unit
  EXPECT_EQ(IsSameChar("..a", '.', 2), FALSE);
  const USHORT highThenPrivate[] = {'x', 0xD800, 0xE000, 0};  // a high surrogate needs a low one
  char sz[16] = "untouched";
  RResult result = RESULT_SUCCEEDED;
  ConvertUtfString(highThenPrivate, UTF_16, sz, 16, UTF_8, &result);
  EXPECT_EQ(result, RESULT_INV_DATA);
  EXPECT_STREQ(sz, "x");
}

// One character that changes, or one that stays, at every offset of a text
// long enough for whole ASCII blocks on either side of it.
TEST(HostileText, FullToHalfAtEveryOffsetOfALongText) {
  for (const auto& [full, half] : {std::pair<std::string, std::string>("\xEF\xBC\xA1", "A"),
                                   {"\xE4\xBD\xA0", "\xE4\xBD\xA0"}}) {
    for (size_t k = 0; k <= 48; ++k) {
      const std::string before(k, 'x'), after(48 - k, 'y');
      char out[64];
      fullToHalf((before + full + after).c_str(), out, nullptr);
      EXPECT_EQ(out, before + half + after) << k;
    }
  }
}

// A match that overlaps the appended delimiter leaves a tail that no
// delimiter closes: it is dropped, and the search ends there.
TEST(HostileSizes, SplitDropsATailThatOverlapsTheAppendedDelimiter) {
  std::string str = "a-";
  EXPECT_EQ(split(str, "--"), std::vector<std::string>{"a"});
  EXPECT_EQ(str, "a---");
}

}  // namespace

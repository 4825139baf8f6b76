// Every family at once from several threads, each on its own buffers and
// files: the library keeps no state, so results must match a lone run. Run
// under ThreadSanitizer by the tsan preset.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <commonhelpers/commonhelpers.h>
#include <commonhelpers/stringconverter.h>
#include "support/wide.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 200;

// One round of calls across the families; returns the number of results
// that differ from what a lone call gives.
int Round(int thread, const std::string& path) {
  int failures = 0;
  auto expect = [&](bool ok) { failures += ok ? 0 : 1; };
  const std::string text = "\xEF\xBC\xA1\xE4\xBD\xA0 t" + std::to_string(thread);

  RResult result = RESULT_ANY_ERROR;
  USHORT* wsz = GetUTF16Text(text.c_str(), &result);
  expect(result == RESULT_SUCCEEDED && WcsLen(wsz, nullptr) == static_cast<int>(text.size()) - 4);
  USHORT* joined = WcsCatch(CopyWString(wsz, nullptr), wsz, nullptr);
  expect(WcsNCmp(joined, wsz, WcsLen(wsz, nullptr), nullptr) == 0);
  std::vector<USHORT> tokens = wide::Buffer(u"a b  c");
  USHORT* cursor = nullptr;
  int count = 0;
  for (USHORT* t = WcsTok(tokens.data(), wide::Buffer(u" ").data(), &cursor, nullptr); t;
       t = WcsTok(nullptr, wide::Buffer(u" ").data(), &cursor, nullptr)) {
    ++count;
  }
  expect(count == 3);
  char utf8[64];
  GetUtf8TextFromUtf16(wsz, WcsLen(wsz, nullptr), utf8, &result);
  expect(result == RESULT_SUCCEEDED && text == utf8);
  free(joined);
  free(wsz);

  char half[64];
  fullToHalf(text.c_str(), half, nullptr);
  expect(std::string(half) == "A\xE4\xBD\xA0 t" + std::to_string(thread));
  expect(ContainsChinese(half, nullptr) == TRUE && IsSameChar("...", '.', 3) == TRUE);
  std::string csv = "x,y," + std::to_string(thread);
  expect(split(csv, ",").size() == 3);
  StringReplace(csv, ",", ";");
  expect(Trim(csv, ";xy") && csv == std::to_string(thread));
  char* sz = CatchString(CopyString(" 12 \r\n", nullptr), "+", nullptr);
  ChopString(sz);
  expect(std::string(sz) == "12 \r\n+" && IsValidInteger("-42") && StartsWith(sz, "12"));
  free(sz);
  uint32_t utf32[8];
  ConvertUtfString(text.c_str(), UTF_8, utf32, 8, UTF_32, &result);
  expect(result == RESULT_SUCCEEDED && utf32[0] == 0xFF21 && utf32[1] == 0x4F60);
  expect(GetTextType(0x4F60, nullptr) == TTS_LANG_PRIMARY && BelongsToNumber('7', nullptr) &&
         FloatEqual(1.0f, 1.005f) && TextIsEmpty(wide::Buffer(u" \x3000").data(), nullptr));
  float* window = GetHanWindow(8, nullptr);
  expect(window[4] == 0.5f);
  free(window);
  USHORT** set = WStringSetConstruct(3, 4, nullptr);
  WStringSetDestruct(set, 3, nullptr);

  FILE* file = fopen(path.c_str(), "wb");
  fwrite("\x04\x41\x00\x42\x00\x01", 1, 6, file);
  fclose(file);
  file = fopen(path.c_str(), "rb");
  char* record = GetBinString(file, nullptr);
  expect(record != nullptr && std::string(record) == "AB" && ReadBinBool(file, nullptr) == 1);
  free(record);
  fclose(file);
  expect(CompareBinFiles(path.c_str(), path.c_str()) == TRUE);
  expect(CompareTextFiles(path.c_str(), path.c_str()) == TRUE);
  file = fopen(path.c_str(), "rb");
  USHORT line[16];
  expect(ReadUtf8Line(file, line, 16, &result) == TRUE && result == RESULT_SUCCEEDED &&
         line[0] == 4 && line[1] == 0x41 && line[2] == 0);
  fclose(file);
  return failures;
}

TEST(Concurrency, EveryFamilyRunsFromManyThreadsAtOnce) {
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &failures] {
      const std::string path =
          "/tmp/commonhelpers-thread-" + std::to_string(getpid()) + "-" + std::to_string(t);
      for (int round = 0; round < kRounds; ++round) failures[t] += Round(t, path);
      remove(path.c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
}

}  // namespace

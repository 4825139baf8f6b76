#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <tuple>

#include <commonhelpers/commonhelpers.h>
#include "support/platform.h"

namespace {

// A fresh directory under the build tree, never the current directory, so
// that a run leaves nothing in the sources.
class FileCompareTest : public ::testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  std::string File(const std::string& bytes) {
    const std::string path = Path("f" + std::to_string(count_++));
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

  static std::string NewDirectory() {
    std::string dir;
    std::random_device random;
    do {
      dir = COMMONHELPERS_TEST_TEMP_ROOT "/compare-" + std::to_string(random());
    } while (!std::filesystem::create_directory(dir));
    return dir;
  }

  std::string dir_ = NewDirectory();
  int count_ = 0;
};

// The lowest free descriptor, which is what the next open gets: a file that
// a call leaves open raises it.
int NextDescriptor(const std::string& file) {
  FILE* stream = fopen(file.c_str(), "rb");
  const int descriptor = fileno(stream);
  fclose(stream);
  return descriptor;
}

// Every row is compared in both orders, and no call may leave a file open.
// Text lines are read 1,023 bytes at a time.
TEST_F(FileCompareTest, ComparesTrimmedLinesOrBytesAndClosesEveryFile) {
  const std::string k1022(1022, 'x'), k1023(1023, 'x'), k1024(1024, 'b'), empty = File("");
  const std::string file = File("same\n"), missing = Path("missing");
  const std::tuple<std::string, std::string, BOOL, BOOL> rows[] = {
      {empty, File(""), TRUE, TRUE},
      {empty, File("\n"), FALSE, FALSE},
      {File("a \r\n"), File("a"), TRUE, FALSE},
      {File(" a\t"), File(" a"), FALSE, FALSE},
      {File("a\n"), File("a\n\n"), FALSE, FALSE},
      {File(k1022 + "\n"), File(k1022), TRUE, FALSE},
      {File(k1023 + "\n"), File(k1023), FALSE, FALSE},  // the line feed is a read of its own
      {File(k1024), File(k1024 + "b"), FALSE, FALSE},
      {File(k1024 + "c"), File(k1024 + "d"), FALSE, FALSE},
      {File(std::string(5000, 'q')), File(std::string(5000, 'q')), TRUE, TRUE},
      {file, missing, FALSE, FALSE},
      {missing, missing, FALSE, FALSE}};
  const int before = NextDescriptor(file);
  const auto compare = [&](const std::string& first, const std::string& second, BOOL text,
                           BOOL binary) {
    for (const auto& [one, other] : {std::pair(first, second), std::pair(second, first)}) {
      EXPECT_EQ(CompareTextFiles(one.c_str(), other.c_str()), text) << one << " " << other;
      EXPECT_EQ(CompareBinFiles(one.c_str(), other.c_str()), binary) << one << " " << other;
      EXPECT_EQ(NextDescriptor(file), before);
    }
  };
  for (const auto& [first, second, text, binary] : rows) compare(first, second, text, binary);
  // Where a directory opens as a file (POSIX), its first read fails: that
  // ends the lines but fails the bytes.
  const std::string sub = Path("sub");
  std::filesystem::create_directory(sub);
  if (FILE* directory = fopen(sub.c_str(), "rb")) {
    fclose(directory);
    compare(sub, sub, TRUE, FALSE);
    compare(sub, empty, TRUE, FALSE);
  }
}

// A FIFO is read as fopen() reads it: the open waits for the writer, and the
// text comparison answers as soon as the first differing line is complete,
// while the writer still holds the pipe open. Engines run many workers on
// small stacks: each comparison runs on a stack of 16 KiB.
TEST_F(FileCompareTest, FifoWaitsForItsWriterAndAnswersAtTheFirstDifferingLineOnASmallStack) {
  struct Call {
    BOOL (*compare)(const char*, const char*);
    std::string fifo, against;
    std::atomic<BOOL> answer{-1};
  };
  const std::string fifo = Path("fifo");
  const std::string whyNot = platform::MakeFifo(fifo);
  if (!whyNot.empty()) GTEST_SKIP() << whyNot;
  for (const auto& [compare, against, expected] :
       {std::tuple(&CompareTextFiles, File("a\n"), TRUE),
        std::tuple(&CompareBinFiles, File("a\n"), TRUE),
        std::tuple(&CompareTextFiles, File("b\n"), FALSE)}) {
    Call call{compare, fifo, against};
    bool answeredWhileOpen = expected == TRUE;  // equal files can't answer before the end
    {
      platform::Thread thread(
          16 * 1024,
          [](void* p) {
            Call& c = *static_cast<Call*>(p);
            c.answer = c.compare(c.fifo.c_str(), c.against.c_str());
          },
          &call);
      ASSERT_TRUE(thread.Started());
      std::this_thread::sleep_for(std::chrono::milliseconds(20));  // it waits in its open
      FILE* file = fopen(fifo.c_str(), "r+");  // read-write: the open never waits
      fputs("a\n", file);
      fflush(file);
      for (int ms = 0; !answeredWhileOpen && ms < 10000; ++ms) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        answeredWhileOpen = call.answer != -1;
      }
      fclose(file);
    }
    EXPECT_TRUE(answeredWhileOpen);
    EXPECT_EQ(call.answer, expected);
  }
}

}  // namespace

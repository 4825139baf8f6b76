#include <gtest/gtest.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <future>
#include <iterator>
#include <string>
#include <thread>

#include <commonhelpers/commonhelpers.h>
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

using FileCompareTest = TempDirTest;

long OpenDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

// Every row is compared in both orders, and no call may leave a file open.
TEST_F(FileCompareTest, ComparesTrimmedLinesOrBytesAndClosesEveryFile) {
  const std::string k1022(1022, 'x'), k1023(1023, 'x'), k1024(1024, 'b'), empty = File("");
  const std::string file = File("same\n"), missing = dir_ + "/missing", sub = dir_ + "/sub";
  ASSERT_EQ(mkdir(sub.c_str(), 0700), 0);
  const struct {
    std::string first, second;
    BOOL text, binary;
  } rows[] = {
      {empty, File(""), TRUE, TRUE},
      {empty, File("\n"), FALSE, FALSE},
      {File("a \r\n"), File("a"), TRUE, FALSE},
      {File("a\r\nb\r\n"), File("a\nb\n"), TRUE, FALSE},
      {File("a\t"), File("a"), FALSE, FALSE},
      {File(" a"), File("a"), FALSE, FALSE},
      {File("a\n"), File("a\nb\n"), FALSE, FALSE},
      {File("a"), File("a\nb\n"), FALSE, FALSE},
      {File("a\n"), File("a\n\n"), FALSE, FALSE},
      {File(k1022 + "\n"), File(k1022), TRUE, FALSE},
      {File(k1023 + "\n"), File(k1023), FALSE, FALSE},  // the line feed is a read of its own
      {File(k1024), File(k1024), TRUE, TRUE},
      {File(k1024), File(k1024 + "b"), FALSE, FALSE},
      {File(k1024 + "c"), File(k1024 + "d"), FALSE, FALSE},
      {File(std::string(5000, 'q')), File(std::string(5000, 'q')), TRUE, TRUE},
      {file, file, TRUE, TRUE},
      {file, missing, FALSE, FALSE},
      {missing, missing, FALSE, FALSE},
      {file, sub, FALSE, FALSE},
      {sub, sub, TRUE, FALSE},  // a read error ends the lines but fails the bytes
      {sub, empty, TRUE, FALSE},
  };
  const long before = OpenDescriptors();
  int index = 0;
  for (const auto& row : rows) {
    SCOPED_TRACE("row " + std::to_string(index++));
    for (const auto& [first, second] :
         {std::pair(row.first, row.second), std::pair(row.second, row.first)}) {
      EXPECT_EQ(CompareTextFiles(first.c_str(), second.c_str()), row.text);
      EXPECT_EQ(OpenDescriptors(), before);
      EXPECT_EQ(CompareBinFiles(first.c_str(), second.c_str()), row.binary);
      EXPECT_EQ(OpenDescriptors(), before);
    }
  }
}

// A FIFO is read as fopen() reads it: the open waits for the writer, and the
// text comparison answers as soon as the first differing line is complete,
// while the writer still holds the pipe open.
TEST_F(FileCompareTest, FifoWaitsForItsWriterAndAnswersAtTheFirstDifferingLine) {
  const std::string fifo = dir_ + "/fifo", same = File("a\n"), other = File("b\n");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const struct {
    BOOL (*compare)(const char*, const char*);
    const std::string& against;
    BOOL expected;
  } rows[] = {
      {CompareTextFiles, same, TRUE},
      {CompareBinFiles, same, TRUE},
      {CompareTextFiles, other, FALSE},  // answered before the writer closes
  };
  for (const auto& row : rows) {
    std::promise<void> answered;
    std::future<void> answer = answered.get_future();
    std::future<bool> writer = std::async(std::launch::async, [&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      // Read-write: the open never waits, even after a reader has given up.
      FILE* file = fopen(fifo.c_str(), "r+");
      fputs("a\n", file);
      fflush(file);
      // Holds the pipe open after a first line that differs.
      const bool waited = row.expected == TRUE ||
                          answer.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
      fclose(file);
      return waited;
    });
    EXPECT_EQ(row.compare(fifo.c_str(), row.against.c_str()), row.expected);
    answered.set_value();
    EXPECT_TRUE(writer.get());
  }
}

// Engines run many workers on small stacks: both comparisons fit in 16 KiB.
TEST_F(FileCompareTest, FitsOnASixteenKibStack) {
  const std::string first = File(std::string(3000, 'x') + "\n"),
                    second = File(std::string(3000, 'x'));
  struct Job {
    const char *first, *second;
    BOOL text, binary;
  } job = {first.c_str(), second.c_str(), FALSE, TRUE};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  ASSERT_EQ(pthread_attr_setstacksize(&attr, 16 * 1024), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(
                &thread, &attr,
                [](void* p) -> void* {
                  Job& job = *static_cast<Job*>(p);
                  job.text = CompareTextFiles(job.first, job.second);
                  job.binary = CompareBinFiles(job.first, job.second);
                  return nullptr;
                },
                &job),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
  EXPECT_EQ(job.text, TRUE);
  EXPECT_EQ(job.binary, FALSE);
}

}  // namespace

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include <commonhelpers/commonhelpers.h>

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

  std::string dir_ = mkdtemp(std::string(COMMONHELPERS_TEST_TEMP_ROOT "/compare-XXXXXX").data());
  int count_ = 0;
};

long OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// Every row is compared in both orders, and no call may leave a file open.
// Text lines are read 1,023 bytes at a time.
TEST_F(FileCompareTest, ComparesTrimmedLinesOrBytesAndClosesEveryFile) {
  const std::string k1022(1022, 'x'), k1023(1023, 'x'), k1024(1024, 'b'), empty = File("");
  const std::string file = File("same\n"), missing = Path("missing"), sub = Path("sub");
  ASSERT_EQ(mkdir(sub.c_str(), 0700), 0);
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
      {missing, missing, FALSE, FALSE},
      {sub, sub, TRUE, FALSE},  // a read error ends the lines but fails the bytes
      {sub, empty, TRUE, FALSE}};
  const long before = OpenDescriptors();
  for (const auto& [first, second, text, binary] : rows) {
    for (const auto& [one, other] : {std::pair(first, second), std::pair(second, first)}) {
      EXPECT_EQ(CompareTextFiles(one.c_str(), other.c_str()), text) << one << " " << other;
      EXPECT_EQ(CompareBinFiles(one.c_str(), other.c_str()), binary) << one << " " << other;
      EXPECT_EQ(OpenDescriptors(), before);
    }
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
    BOOL expected, answer;
  };
  const std::string fifo = Path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (Call call : {Call{CompareTextFiles, fifo, File("a\n"), TRUE, -1},
                    Call{CompareBinFiles, fifo, File("a\n"), TRUE, -1},
                    Call{CompareTextFiles, fifo, File("b\n"), FALSE, -1}}) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    ASSERT_EQ(pthread_attr_setstacksize(&attr, 16 * 1024), 0);
    pthread_t thread;
    const auto run = [](void* p) -> void* {
      Call& call = *static_cast<Call*>(p);
      call.answer = call.compare(call.fifo.c_str(), call.against.c_str());
      return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attr, run, &call), 0);
    pthread_attr_destroy(&attr);
    usleep(20000);                           // the comparison waits in its open
    FILE* file = fopen(fifo.c_str(), "r+");  // read-write: the open never waits
    fputs("a\n", file);
    fflush(file);
    const timespec deadline{time(nullptr) + 10, 0};
    const bool answeredWhileOpen =
        call.expected == TRUE || pthread_timedjoin_np(thread, nullptr, &deadline) == 0;
    fclose(file);
    if (call.expected == TRUE || !answeredWhileOpen) pthread_join(thread, nullptr);
    EXPECT_TRUE(answeredWhileOpen);
    EXPECT_EQ(call.answer, call.expected);
  }
}

}  // namespace

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "commonhelpers.h"

namespace {

class FileCompareTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/commonhelpers-compare-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    for (int k = 0; k < count_; ++k) remove(Path(k).c_str());
    rmdir((dir_ + "/sub").c_str());
    remove((dir_ + "/fifo").c_str());
    rmdir(dir_.c_str());
  }

  std::string Path(int k) const { return dir_ + "/f" + std::to_string(k); }

  // A new file holding `bytes`; returns its path.
  std::string File(const std::string& bytes) {
    const std::string path = Path(count_++);
    FILE* file = fopen(path.c_str(), "wb");
    fwrite(bytes.data(), 1, bytes.size(), file);
    fclose(file);
    return path;
  }

  std::string dir_;
  int count_ = 0;
};

int OpenDescriptors() {
  int count = 0;
  DIR* dir = opendir("/proc/self/fd");
  while (readdir(dir) != nullptr) ++count;
  closedir(dir);
  return count;
}

TEST_F(FileCompareTest, ComparesTextByTrimmedLinesAndBinaryByBytes) {
  const std::string k1022(1022, 'x'), k1023(1023, 'x'), k1024(1024, 'b');
  struct Row {
    std::string first, second;
    BOOL text, binary;
  } rows[] = {
      {"", "", TRUE, TRUE},
      {"", "\n", FALSE, FALSE},
      {"a \r\n", "a", TRUE, FALSE},
      {"a\r\nb\r\n", "a\nb\n", TRUE, FALSE},
      {"a\t", "a", FALSE, FALSE},
      {" a", "a", FALSE, FALSE},
      {"a\n", "a\nb\n", FALSE, FALSE},
      {"a", "a\nb\n", FALSE, FALSE},
      {"a\n", "a\n\n", FALSE, FALSE},
      {k1022 + "\n", k1022, TRUE, FALSE},
      {k1023 + "\n", k1023, FALSE, FALSE},
      {k1024, k1024, TRUE, TRUE},
      {k1024, k1024 + "b", FALSE, FALSE},
      {k1024 + "c", k1024 + "d", FALSE, FALSE},
      {std::string(5000, 'q'), std::string(5000, 'q'), TRUE, TRUE},
  };
  for (const Row& row : rows) {
    const std::string first = File(row.first), second = File(row.second);
    EXPECT_EQ(CompareTextFiles(first.c_str(), second.c_str()), row.text) << row.first.size();
    EXPECT_EQ(CompareTextFiles(second.c_str(), first.c_str()), row.text) << row.first.size();
    EXPECT_EQ(CompareBinFiles(first.c_str(), second.c_str()), row.binary) << row.first.size();
    EXPECT_EQ(CompareBinFiles(second.c_str(), first.c_str()), row.binary) << row.first.size();
  }
}

// Every path through both functions, each checked for descriptors left open.
TEST_F(FileCompareTest, ClosesEveryFileAndFailsOnMissingOrUnreadablePaths) {
  const std::string file = File("same\n");
  const std::string other = File("other\n");
  const std::string missing = dir_ + "/missing";
  const std::string sub = dir_ + "/sub";
  ASSERT_EQ(mkdir(sub.c_str(), 0700), 0);
  // A FIFO without a writer reads as an empty file; it must not hang.
  const std::string fifo = dir_ + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string empty = File("");
  struct Row {
    std::string first, second;
    BOOL text, binary;
  } rows[] = {
      {file, file, TRUE, TRUE},         {file, other, FALSE, FALSE},
      {file, missing, FALSE, FALSE},    {missing, file, FALSE, FALSE},
      {missing, missing, FALSE, FALSE}, {file, sub, FALSE, FALSE},
      {sub, file, FALSE, FALSE},        {sub, sub, TRUE, FALSE},
  };
  const int before = OpenDescriptors();
  for (const Row& row : rows) {
    EXPECT_EQ(CompareTextFiles(row.first.c_str(), row.second.c_str()), row.text);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(CompareBinFiles(row.first.c_str(), row.second.c_str()), row.binary);
    EXPECT_EQ(OpenDescriptors(), before);
  }
}

}  // namespace

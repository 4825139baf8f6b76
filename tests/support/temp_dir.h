// A fresh directory under the build tree for the lifetime of the fixture, with
// helpers for the files a test needs in it. The build tree, never the current
// directory, so that a run leaves nothing in the sources.
#ifndef COMMONHELPERS_TESTS_SUPPORT_TEMP_DIR_H_
#define COMMONHELPERS_TESTS_SUPPORT_TEMP_DIR_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

class TempDirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = COMMONHELPERS_TEST_TEMP_ROOT "/commonhelpers-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  // A new file holding `bytes`; returns its path.
  std::string File(const std::string& bytes) {
    const std::string path = Path("f" + std::to_string(count_++));
    FILE* file = fopen(path.c_str(), "wb");
    fwrite(bytes.data(), 1, bytes.size(), file);
    fclose(file);
    return path;
  }

  // A FIFO whose writer put `bytes` in it and has gone: reads drain the bytes
  // and then see the end, never blocking.
  FILE* Fifo(const std::string& bytes) {
    const std::string path = Path("fifo" + std::to_string(count_++));
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

#endif  // COMMONHELPERS_TESTS_SUPPORT_TEMP_DIR_H_

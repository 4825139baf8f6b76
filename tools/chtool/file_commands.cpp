// cmp and hann.
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "chtool.h"

namespace chtool {

namespace {

const char kCmpUsage[] =
    "usage: chtool cmp [--text] FILE1 FILE2\n"
    "Compares two files byte for byte, or with --text line by line ignoring trailing\n"
    "spaces and line ends. Exit status 0 when equal, 1 when different, 2 on trouble.\n";

const char kHannUsage[] =
    "usage: chtool hann N\n"
    "Prints the N values of a periodic Hann window with peak 0.5, one per line,\n"
    "exact to the float.\n";

// The comparison answers FALSE for a file it can't read as well; look first,
// so that trouble is told apart from a difference.
bool Readable(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    Fail(kExitUsage, path + ": " + strerror(errno));
    return false;
  }
  if (S_ISDIR(info.st_mode)) {
    Fail(kExitUsage, path + ": is a directory");
    return false;
  }
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) {
    Fail(kExitUsage, path + ": " + strerror(errno));
    return false;
  }
  fclose(file);
  return true;
}

}  // namespace

int Cmp(const Args& args) {
  if (WantsHelp(args, kCmpUsage)) return 0;
  Args files;
  bool text = false;
  for (const std::string& arg : args) {
    if (arg == "--text") {
      text = true;
    } else {
      files.push_back(arg);
    }
  }
  if (files.size() != 2) return Fail(kExitUsage, "cmp: two files expected");
  // The comparisons open files by name; standard input has one on Linux.
  for (std::string& file : files) {
    if (file == "-") file = "/dev/stdin";
  }
  if (!Readable(files[0]) || !Readable(files[1])) return kExitUsage;
  const BOOL equal = text ? CompareTextFiles(files[0].c_str(), files[1].c_str())
                          : CompareBinFiles(files[0].c_str(), files[1].c_str());
  return equal ? 0 : kExitFailure;
}

int Hann(const Args& args) {
  if (WantsHelp(args, kHannUsage)) return 0;
  if (args.size() != 1 || !IsValidInteger(args[0].c_str()) || args[0][0] == '-' ||
      args[0].size() > 9 || !IsDigit(args[0].back())) {
    return Fail(kExitUsage, "hann: N must be a whole number from 0 to 999999999");
  }
  const int size = atoi(args[0].c_str());
  RResult result = RESULT_SUCCEEDED;
  float* window = GetHanWindow(size, &result);
  if (result != RESULT_SUCCEEDED) {
    free(window);
    return Fail(kExitFailure, std::string("hann: ") + ResultName(result));
  }
  for (int i = 0; i < size; ++i) printf("%.9g\n", static_cast<double>(window[i]));
  free(window);
  return 0;
}

}  // namespace chtool

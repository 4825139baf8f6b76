// chtool: normalization, language tests, record files, file comparison and
// windows from the command line, built on commonhelpers.
#include <cerrno>
#include <cstring>
#include <map>

#include "chtool.h"

namespace chtool {

namespace {

const char kUsage[] =
    "usage: chtool COMMAND [ARGS...]\n"
    "\n"
    "commands:\n"
    "  halfwidth [FILE...]              full-width forms of UTF-8 text to ASCII\n"
    "  lang [--summary] [FILE...]       Chinese characters and English letters per line\n"
    "  dump --layout LIST FILE          print the values of a binary record file\n"
    "  pack --layout LIST [FILE]        write a binary record file from one value per line\n"
    "  cmp [--text] FILE1 FILE2         exit 0 when equal, 1 when different, 2 on trouble\n"
    "  hann N                           a Hann window of N values, one per line\n"
    "\n"
    "FILE may be '-' for standard input. 'chtool COMMAND --help' tells more.\n";

}  // namespace

int Fail(int status, const std::string& message) {
  fprintf(stderr, "chtool: %s\n", message.c_str());
  return status;
}

const char* ResultName(RResult result) {
  switch (result) {
    case RESULT_SUCCEEDED:
      return "RESULT_SUCCEEDED";
    case RESULT_INV_ARGUMENT:
      return "RESULT_INV_ARGUMENT";
    case RESULT_OUT_OF_MEMORY:
      return "RESULT_OUT_OF_MEMORY";
    case RESULT_INV_DATA:
      return "RESULT_INV_DATA";
    default:
      return "RESULT_ANY_ERROR";
  }
}

bool WantsHelp(const Args& args, const char* usage) {
  for (const std::string& arg : args) {
    if (arg == "--help" || arg == "-h") {
      fputs(usage, stdout);
      return true;
    }
  }
  return false;
}

FILE* OpenInput(const std::string& path) {
  if (path == "-") {
    return stdin;
  }
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) {
    Fail(kExitFailure, path + ": " + strerror(errno));
  }
  return file;
}

int ForEachLine(const Args& files,
                const std::function<void(std::string& line, bool lineFeed)>& line) {
  const Args inputs = files.empty() ? Args{"-"} : files;
  int status = 0;
  for (const std::string& path : inputs) {
    FILE* file = OpenInput(path);
    if (file == nullptr) {
      status = kExitFailure;
      continue;
    }
    char* buffer = nullptr;
    size_t capacity = 0;
    ssize_t length;
    while ((length = getline(&buffer, &capacity, file)) >= 0) {
      std::string text(buffer, static_cast<size_t>(length));
      const bool lineFeed = !text.empty() && text.back() == '\n';
      if (lineFeed) text.pop_back();
      line(text, lineFeed);
    }
    if (ferror(file)) status = Fail(kExitFailure, path + ": read error");
    free(buffer);
    if (file != stdin) fclose(file);
  }
  return status;
}

}  // namespace chtool

int main(int argc, char** argv) {
  using namespace chtool;
  const std::map<std::string, int (*)(const Args&)> commands = {
      {"halfwidth", HalfWidth}, {"lang", Lang}, {"dump", Dump},
      {"pack", Pack},           {"cmp", Cmp},   {"hann", Hann}};
  if (argc < 2) {
    fputs(kUsage, stderr);
    return kExitUsage;
  }
  const std::string command = argv[1];
  if (command == "--help" || command == "-h") {
    fputs(kUsage, stdout);
    return 0;
  }
  if (command == "--version") {
    printf("chtool %s\n", CHTOOL_VERSION);
    return 0;
  }
  const auto it = commands.find(command);
  if (it == commands.end()) {
    return Fail(kExitUsage, "unknown command '" + command + "' (see chtool --help)");
  }
  const int status = it->second(Args(argv + 2, argv + argc));
  if (fflush(stdout) != 0 || ferror(stdout)) {
    return Fail(kExitFailure, std::string("write error: ") + strerror(errno));
  }
  return status;
}

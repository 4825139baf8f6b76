// cmp and hann.
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "chtool.h"

namespace chtool {

namespace {

// The largest window hann prints: 4 MiB of floats, made in a few milliseconds.
constexpr int kMaxWindow = 1 << 20;

// The comparisons take files by name and answer FALSE for a file they can't
// read as well; look first, so that trouble is told apart from a difference.
// Standard input, pipes and devices are copied to a temporary file, so that a
// difference can be located after the comparison. Returns the name to compare,
// or "" after reporting the trouble.
std::string ComparableName(const std::string& path, FILE*& spool) {
  struct stat info;
  if (path != "-" && stat(path.c_str(), &info) != 0) {
    Fail(kExitUsage, path + ": " + strerror(errno));
    return "";
  }
  if (path != "-" && S_ISDIR(info.st_mode)) {
    Fail(kExitUsage, path + ": is a directory");
    return "";
  }
  FILE* input = OpenInput(path);
  if (input == nullptr) return "";
  if (path != "-" && S_ISREG(info.st_mode)) {
    fclose(input);
    return path;
  }
  spool = tmpfile();
  char chunk[65536];
  for (size_t got; spool != nullptr && (got = fread(chunk, 1, sizeof chunk, input)) > 0;) {
    fwrite(chunk, 1, got, spool);
  }
  const bool failed = spool == nullptr || ferror(input) || fflush(spool) != 0 || ferror(spool);
  if (input != stdin) fclose(input);
  if (failed) {
    Fail(kExitUsage, path + ": can't be copied to a temporary file");
    return "";
  }
  return "/proc/self/fd/" + std::to_string(fileno(spool));
}

// Reports where two files that differ byte for byte part, as cmp does.
void ReportBinaryDifference(FILE* files[2], const std::string names[2]) {
  long byte = 0;
  long line = 1;
  int last = '\n';
  for (;;) {
    const int ch[2] = {getc(files[0]), getc(files[1])};
    if (ch[0] != ch[1] && ch[0] != EOF && ch[1] != EOF) {
      printf("%s %s differ: byte %ld, line %ld\n", names[0].c_str(), names[1].c_str(), byte + 1,
             line);
      return;
    }
    if (ch[0] == EOF || ch[1] == EOF) {
      const std::string& shorter = names[ch[0] == EOF ? 0 : 1];
      if (byte == 0) {
        Fail(kExitFailure, "cmp: EOF on " + shorter + " which is empty");
      } else {
        Fail(kExitFailure, "cmp: EOF on " + shorter + " after byte " + std::to_string(byte) +
                               (last == '\n' ? ", line " + std::to_string(line - 1)
                                             : ", in line " + std::to_string(line)));
      }
      return;
    }
    ++byte;
    last = ch[0];
    if (last == '\n') ++line;
  }
}

// Reports the first line at which two files differ as text. Lines are read as
// CompareTextFiles reads them: up to 1,023 bytes at a time, trailing spaces,
// CRs and LFs chopped.
void ReportTextDifference(FILE* files[2], const std::string names[2]) {
  char lines[2][1024];
  for (long line = 1;; ++line) {
    const bool more[2] = {fgets(lines[0], sizeof lines[0], files[0]) != nullptr,
                          fgets(lines[1], sizeof lines[1], files[1]) != nullptr};
    if (!more[0] && !more[1]) return;
    if (more[0] && more[1]) {
      ChopStringEnd(lines[0]);
      ChopStringEnd(lines[1]);
      if (strcmp(lines[0], lines[1]) == 0) continue;
      printf("%s %s differ: line %ld\n", names[0].c_str(), names[1].c_str(), line);
    } else {
      Fail(kExitFailure,
           "cmp: EOF on " + names[more[0] ? 1 : 0] + " after line " + std::to_string(line - 1));
    }
    return;
  }
}

int RunCmp(const Invocation& invocation) {
  if (invocation.operands.size() != 2) return UsageError(invocation, "two files expected");
  const bool text = invocation.Has("--text");
  const std::string names[2] = {invocation.operands[0], invocation.operands[1]};
  FILE* spools[2] = {nullptr, nullptr};
  std::string paths[2];
  int status = kExitUsage;
  paths[0] = ComparableName(names[0], spools[0]);
  if (!paths[0].empty()) paths[1] = ComparableName(names[1], spools[1]);
  if (!paths[1].empty()) {
    const BOOL equal = text ? CompareTextFiles(paths[0].c_str(), paths[1].c_str())
                            : CompareBinFiles(paths[0].c_str(), paths[1].c_str());
    status = equal ? 0 : kExitFailure;
  }
  if (status == kExitFailure && !invocation.Has("--quiet")) {
    FILE* files[2] = {fopen(paths[0].c_str(), "rb"), fopen(paths[1].c_str(), "rb")};
    if (files[0] != nullptr && files[1] != nullptr) {
      text ? ReportTextDifference(files, names) : ReportBinaryDifference(files, names);
    }
    for (FILE* file : files) {
      if (file != nullptr) fclose(file);
    }
  }
  for (FILE* spool : spools) {
    if (spool != nullptr) fclose(spool);
  }
  return status;
}

int RunHann(const Invocation& invocation) {
  const Args& args = invocation.operands;
  const std::string limit = std::to_string(kMaxWindow);
  if (args.size() != 1 || !IsValidInteger(args[0].c_str()) || !IsDigit(args[0][0]) ||
      args[0].size() > limit.size() || atoi(args[0].c_str()) > kMaxWindow) {
    return UsageError(invocation, "N must be a whole number from 0 to " + limit);
  }
  const int size = atoi(args[0].c_str());
  RResult result = RESULT_SUCCEEDED;
  float* window = GetHanWindow(size, &result);
  if (result == RESULT_SUCCEEDED) {
    for (int i = 0; i < size; ++i) printf("%.9g\n", static_cast<double>(window[i]));
  }
  free(window);
  return result == RESULT_SUCCEEDED || size == 0 ? 0 : Fail(kExitFailure, "hann: out of memory");
}

}  // namespace

const Command kCmp = {
    "cmp",
    "usage: chtool cmp [-s] [--text] FILE1 FILE2\n"
    "Compares two files byte for byte; with --text, line by line with trailing\n"
    "spaces, CRs and LFs ignored (so CR LF and LF line ends compare equal; a line\n"
    "longer than 1,023 bytes counts as several). On a difference prints\n"
    "'FILE1 FILE2 differ: byte N, line M' (--text: 'FILE1 FILE2 differ: line M'),\n"
    "or, when one file is the start of the other, 'EOF on FILE ...' on standard\n"
    "error. -s, --quiet: print nothing. Exit status 0 when equal, 1 when different,\n"
    "2 on trouble (a missing or unreadable file, a directory).\n",
    {{"--text", nullptr, false}, {"--quiet", "-s", false}},
    RunCmp};

const Command kHann = {
    "hann",
    "usage: chtool hann N\n"
    "Prints the N values of a periodic Hann window with peak 0.5, one per line,\n"
    "exact to the float: value i is 0.25 - 0.25 * cos(i * 6.2831852 / N), computed\n"
    "in double precision. The period constant is 6.2831852, not 2 pi\n"
    "(6.283185307...), so the two halves differ in the last bit of some values.\n"
    "N is a whole number from 0 to 1048576.\n",
    {},
    RunHann};

}  // namespace chtool

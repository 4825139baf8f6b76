// cmp and hann.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "chtool.h"
#include "platform.h"

namespace chtool {

namespace {

using platform::FileInfo;
using platform::Kind;

// The largest window hann prints: 4 MiB of floats, made in a few milliseconds.
constexpr int kMaxWindow = 1 << 20;

// CompareTextFiles() reads a line in pieces of at most this many bytes.
constexpr size_t kPieceSize = 1023;

// Reports trouble, unless told to be quiet; returns kExitUsage.
int Trouble(bool quiet, const std::string& message) {
  return quiet ? kExitUsage : Fail(kExitUsage, message);
}

// Trouble for the first input whose read failed; 0 when none did.
int ReadTrouble(Input* inputs[2], const std::string names[2], bool quiet) {
  for (int i = 0; i < 2; ++i) {
    if (inputs[i]->error() != 0) return Trouble(quiet, FileError(names[i], inputs[i]->error()));
  }
  return 0;
}

// Byte for byte, in step, as the bytes of both arrive.
int CompareBytes(Input* inputs[2], const std::string names[2], bool quiet) {
  size_t byte = 0;
  size_t line = 1;
  char last = '\n';
  for (;;) {
    const bool more[2] = {inputs[0]->Fill(), inputs[1]->Fill()};
    if (!more[0] || !more[1]) {
      if (const int trouble = ReadTrouble(inputs, names, quiet)) return trouble;
      if (more[0] == more[1]) return 0;
      if (!quiet) {
        const std::string& shorter = names[more[0] ? 1 : 0];
        Fail(kExitFailure, "cmp: EOF on " + shorter +
                               (byte == 0      ? " which is empty"
                                : last == '\n' ? " after byte " + std::to_string(byte) + ", line " +
                                                     std::to_string(line - 1)
                                               : " after byte " + std::to_string(byte) +
                                                     ", in line " + std::to_string(line)));
      }
      return kExitFailure;
    }
    const char* bytes[2] = {inputs[0]->data(), inputs[1]->data()};
    const size_t count = std::min(inputs[0]->size(), inputs[1]->size());
    const size_t same =
        static_cast<size_t>(std::mismatch(bytes[0], bytes[0] + count, bytes[1]).first - bytes[0]);
    line += static_cast<size_t>(std::count(bytes[0], bytes[0] + same, '\n'));
    byte += same;
    if (same < count) {
      if (!quiet) {
        printf("%s %s differ: byte %zu, line %zu\n", names[0].c_str(), names[1].c_str(), byte + 1,
               line);
      }
      return kExitFailure;
    }
    last = bytes[0][count - 1];
    inputs[0]->Consume(count);
    inputs[1]->Consume(count);
  }
}

// The next piece of a line as CompareTextFiles() reads it, into `piece` (of
// kPieceSize + 1 bytes): up to and including the next line feed, at most
// kPieceSize bytes. False when nothing is left.
bool NextPiece(Input& input, char* piece) {
  size_t length = 0;
  while (length < kPieceSize && input.Fill()) {
    const size_t room = std::min(kPieceSize - length, input.size());
    const char* feed = static_cast<const char*>(memchr(input.data(), '\n', room));
    const size_t taken = feed == nullptr ? room : static_cast<size_t>(feed - input.data()) + 1;
    memcpy(piece + length, input.data(), taken);
    input.Consume(taken);
    length += taken;
    if (feed != nullptr) break;
  }
  piece[length] = '\0';
  return length > 0;
}

// Line by line as CompareTextFiles() compares, in step.
int CompareLines(Input* inputs[2], const std::string names[2], bool quiet) {
  char pieces[2][kPieceSize + 1];
  for (size_t line = 1;; ++line) {
    const bool more[2] = {NextPiece(*inputs[0], pieces[0]), NextPiece(*inputs[1], pieces[1])};
    if (const int trouble = ReadTrouble(inputs, names, quiet)) return trouble;
    if (!more[0] || !more[1]) {
      if (more[0] != more[1] && !quiet) {
        Fail(kExitFailure,
             "cmp: EOF on " + names[more[0] ? 1 : 0] + " after line " + std::to_string(line - 1));
      }
      return more[0] == more[1] ? 0 : kExitFailure;
    }
    ChopStringEnd(pieces[0]);
    ChopStringEnd(pieces[1]);
    if (strcmp(pieces[0], pieces[1]) != 0) {
      if (!quiet) printf("%s %s differ: line %zu\n", names[0].c_str(), names[1].c_str(), line);
      return kExitFailure;
    }
  }
}

int RunCmp(const Invocation& invocation) {
  if (invocation.operands.size() != 2) return UsageError(invocation, "two files expected");
  const bool text = invocation.Has("--text");
  const bool quiet = invocation.Has("--quiet");
  const std::string names[2] = {invocation.operands[0], invocation.operands[1]};
  FileInfo infos[2];
  for (int i = 0; i < 2; ++i) {
    infos[i] = platform::Inspect(names[i]);
    if (infos[i].kind == Kind::kUnknown) return Trouble(quiet, FileError(names[i], infos[i].error));
    if (infos[i].kind == Kind::kDirectory) return Trouble(quiet, names[i] + ": is a directory");
  }
  if (infos[0].identity == infos[1].identity) {
    // One file named twice (standard input too) is equal to itself, once it opens.
    Input input(names[0]);
    return input.opened() ? 0 : Trouble(quiet, FileError(names[0], input.error()));
  }
  // The library's comparisons open files by name and answer equal or not.
  // A regular file that holds bytes gives the same ones when read again, so
  // a difference that the library finds is then located by reading both in
  // step, which also tells a read error from a difference. A FIFO can't be
  // read again, so the library answers for it only when no place is asked for.
  bool again[2];
  bool named[2];
  for (int i = 0; i < 2; ++i) {
    again[i] = names[i] != "-" && infos[i].kind == Kind::kRegular && !infos[i].empty;
    named[i] = again[i] || (quiet && names[i] != "-" && infos[i].kind == Kind::kFifo);
  }
  if (named[0] && named[1]) {
    const BOOL equal = text ? CompareTextFiles(names[0].c_str(), names[1].c_str())
                            : CompareBinFiles(names[0].c_str(), names[1].c_str());
    if (equal == TRUE) return 0;
    if (!again[0] || !again[1]) return kExitFailure;
  }
  // Standard input, devices, generated files (those that say they are
  // empty), and FIFOs whose difference is to be located: compared in step.
  Input first(names[0], text);
  if (!first.opened()) return Trouble(quiet, FileError(names[0], first.error()));
  Input second(names[1], text);
  if (!second.opened()) return Trouble(quiet, FileError(names[1], second.error()));
  Input* inputs[2] = {&first, &second};
  return text ? CompareLines(inputs, names, quiet) : CompareBytes(inputs, names, quiet);
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
    "Compares two files byte for byte, as their bytes arrive: standard input, pipes\n"
    "and devices, endless ones too, are answered at the first difference or at the\n"
    "end of the shorter input. On a difference prints\n"
    "'FILE1 FILE2 differ: byte N, line M', or, when one file is the start of the\n"
    "other, 'EOF on FILE ...' on standard error. A file named twice is equal.\n"
    "--text: compares as the library's CompareTextFiles() does. Each file is read\n"
    "in pieces that end after a line feed or after 1,023 bytes; trailing spaces,\n"
    "CRs and LFs are cut from each piece, and two pieces are compared up to their\n"
    "first zero byte. So CR LF and LF line ends compare equal, except that a line\n"
    "of 1,022 bytes is one piece with LF but two with CR LF, and 'a\\0x' equals\n"
    "'a\\0y'. (On Windows, files are read in text mode: CR LF as LF, and Ctrl-Z\n"
    "ends a file.) A difference is printed as 'FILE1 FILE2 differ: line M', M\n"
    "counting pieces.\n"
    "-s, --quiet: prints nothing about the files, not even trouble with them (a\n"
    "usage error is still shown).\n"
    "Exit status 0 when equal, 1 when different, 2 on trouble (a missing or\n"
    "unreadable file, a directory, a read error).\n",
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

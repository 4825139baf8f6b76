// chtool: the library's functions from the shell. One argument parser serves
// every subcommand: options and operands in any order, `--opt value` and
// `--opt=value`, `--` ends the options, and `-` is an operand (standard input).
#ifndef CHTOOL_CHTOOL_H_
#define CHTOOL_CHTOOL_H_

#include <cstddef>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace chtool {

// Exit statuses: what the command was asked to find is absent or different
// (cmp), or the input is bad; the command line is wrong or output failed.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

using Args = std::vector<std::string>;

struct Option {
  const char* name;   // "--layout"
  const char* alias;  // "-s", or null
  bool takesValue;
};

struct Invocation;

struct Command {
  const char* name;
  // The help text; its first line is the usage line shown with usage errors.
  const char* help;
  std::vector<Option> options;
  int (*run)(const Invocation& invocation);
};

struct Invocation {
  const Command* command;
  std::map<std::string, std::string> options;  // by long name; "" for a flag
  Args operands;

  bool Has(const std::string& name) const { return options.count(name) != 0; }
};

extern const Command kHalfWidth;
extern const Command kLang;
extern const Command kDump;
extern const Command kPack;
extern const Command kCmp;
extern const Command kHann;

// Prints "chtool: <message>" to standard error and returns `status`.
int Fail(int status, const std::string& message);

// Prints "chtool: COMMAND: <message>" and the command's usage line to standard
// error; returns kExitUsage.
int UsageError(const Invocation& invocation, const std::string& message);

// The bytes of a file or of standard input, handed on as they arrive through
// a fixed buffer: memory stays bounded however long the input is.
class Input {
 public:
  // Opens `path` ("-" is standard input), as text where the platform makes a
  // difference (see platform::OpenForReading); opened() tells whether that
  // worked and error() why not.
  explicit Input(const std::string& path, bool text = false);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  bool opened() const { return fd_ >= 0; }
  // Waits until there are unread bytes; false at the end of the input or
  // after a read error, which error() then tells.
  bool Fill();
  const char* data() const { return buffer_.data() + start_; }
  size_t size() const { return end_ - start_; }
  void Consume(size_t count) { start_ += count; }
  int error() const { return error_; }

 private:
  int fd_;
  int error_ = 0;
  bool ended_ = false;
  std::vector<char> buffer_;
  size_t start_ = 0;
  size_t end_ = 0;
};

// "PATH: <what errno `error` means>", for messages about a file.
std::string FileError(const std::string& path, int error);

// Calls `line` for every line of each file, or of standard input when there
// is none or the name is "-", with the line feed taken off and `lineFeed`
// telling whether there was one (only the last line may lack it). Lines may
// be of any length and hold any bytes, zero bytes too. `line` returns false
// to stop. Returns kExitFailure when a file can't be opened or read, else 0.
int ForEachLine(const Args& files,
                const std::function<bool(std::string& line, bool lineFeed)>& line);

}  // namespace chtool

#endif  // CHTOOL_CHTOOL_H_

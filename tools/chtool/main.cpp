// chtool: normalization, language tests, record files, file comparison and
// windows from the command line, built on commonhelpers.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "chtool.h"
#include "platform.h"

namespace chtool {

namespace {

const char kUsage[] =
    "usage: chtool COMMAND [OPTIONS] [ARGS...]\n"
    "       chtool --help | --version\n"
    "\n"
    "commands:\n"
    "  halfwidth [FILE...]                  full-width forms of UTF-8 text to ASCII\n"
    "  lang [--summary] [FILE...]           Chinese characters and English letters per line\n"
    "  dump --layout LIST FILE              print the values of a binary record file\n"
    "  pack --layout LIST [FILE]            write a binary record file from values\n"
    "  cmp [-s] [--text] FILE1 FILE2        exit 0 when equal, 1 when different\n"
    "  hann N                               a Hann window of N values, one per line\n"
    "\n"
    "FILE may be '-' for standard input; '--' ends the options. Options take their\n"
    "value as '--opt VALUE' or '--opt=VALUE'. Exit status 2 on a usage error or when\n"
    "output can't be written. 'chtool COMMAND --help' tells more.\n";

const Command* const kCommands[] = {&kHalfWidth, &kLang, &kDump, &kPack, &kCmp, &kHann};

// Flushes standard output; kExitUsage after reporting when anything written
// to it was lost, else `status`.
int Finish(int status) {
  if (fflush(stdout) != 0 || ferror(stdout)) {
    return Fail(kExitUsage, std::string("write error: ") + strerror(errno));
  }
  return status;
}

const Option* FindOption(const Command& command, const std::string& spelling) {
  for (const Option& option : command.options) {
    if (spelling == option.name || (option.alias != nullptr && spelling == option.alias)) {
      return &option;
    }
  }
  return nullptr;
}

// Fills `invocation` from `args`; false after reporting a usage error.
// `help` is set when --help or -h comes before any "--".
bool Parse(const Args& args, Invocation& invocation, bool& help) {
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (optionsEnded || arg == "-" || arg.empty() || arg[0] != '-') {
      invocation.operands.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg == "--help" || arg == "-h") {
      help = true;
      continue;
    }
    const size_t equals = arg.compare(0, 2, "--") == 0 ? arg.find('=') : std::string::npos;
    const std::string spelling = arg.substr(0, equals);
    const Option* option = FindOption(*invocation.command, spelling);
    if (option == nullptr) {
      UsageError(invocation, "unknown option " + spelling);
      return false;
    }
    std::string value;
    if (equals != std::string::npos) {
      if (!option->takesValue) {
        UsageError(invocation, std::string("option ") + option->name + " takes no value");
        return false;
      }
      value = arg.substr(equals + 1);
    } else if (option->takesValue) {
      if (i + 1 == args.size()) {
        UsageError(invocation, std::string("option ") + option->name + " needs a value");
        return false;
      }
      value = args[++i];
    }
    invocation.options[option->name] = value;
  }
  return true;
}

int Run(int argc, char** argv) {
  const std::string first = argc < 2 ? "" : argv[1];
  if (first == "--help" || first == "-h") {
    fputs(kUsage, stdout);
    return Finish(0);
  }
  if (first == "--version") {
    printf("chtool %s\n", CHTOOL_VERSION);
    return Finish(0);
  }
  for (const Command* command : kCommands) {
    if (first != command->name) continue;
    Invocation invocation{command, {}, {}};
    bool help = false;
    if (!Parse(Args(argv + 2, argv + argc), invocation, help)) return kExitUsage;
    if (help) {
      fputs(command->help, stdout);
      return Finish(0);
    }
    return Finish(command->run(invocation));
  }
  if (argc < 2) {
    fputs(kUsage, stderr);
    return kExitUsage;
  }
  return Fail(kExitUsage, "unknown command '" + first + "' (see chtool --help)");
}

}  // namespace

int Fail(int status, const std::string& message) {
  fprintf(stderr, "chtool: %s\n", message.c_str());
  return status;
}

int UsageError(const Invocation& invocation, const std::string& message) {
  const char* help = invocation.command->help;
  fprintf(stderr, "chtool: %s: %s\n%.*s\n", invocation.command->name, message.c_str(),
          static_cast<int>(strcspn(help, "\n")), help);
  return kExitUsage;
}

Input::Input(const std::string& path, bool text)
    : fd_(platform::OpenForReading(path, text)), error_(fd_ < 0 ? errno : 0), buffer_(1 << 16) {}

Input::~Input() {
  if (fd_ >= 0) platform::Close(fd_);
}

bool Input::Fill() {
  if (size() > 0) return true;
  start_ = end_ = 0;
  if (ended_ || fd_ < 0) return false;
  const long got = platform::ReadSome(fd_, buffer_.data(), buffer_.size());
  if (got < 0) error_ = errno;
  ended_ = got <= 0;
  end_ = got > 0 ? static_cast<size_t>(got) : 0;
  return got > 0;
}

std::string FileError(const std::string& path, int error) { return path + ": " + strerror(error); }

int ForEachLine(const Args& files,
                const std::function<bool(std::string& line, bool lineFeed)>& line) {
  const Args inputs = files.empty() ? Args{"-"} : files;
  int status = 0;
  bool going = true;
  std::string text;
  for (size_t i = 0; i < inputs.size() && going; ++i) {
    Input input(inputs[i]);
    if (!input.opened()) status = Fail(kExitFailure, FileError(inputs[i], input.error()));
    text.clear();
    while (going && input.Fill()) {
      const char* feed = static_cast<const char*>(memchr(input.data(), '\n', input.size()));
      const size_t taken =
          feed == nullptr ? input.size() : static_cast<size_t>(feed - input.data());
      text.append(input.data(), taken);
      input.Consume(taken + (feed != nullptr ? 1 : 0));
      if (feed != nullptr) {
        going = line(text, true);
        text.clear();
      }
    }
    if (going && !text.empty()) going = line(text, false);
    if (input.opened() && input.error() != 0) {
      status = Fail(kExitFailure, FileError(inputs[i], input.error()));
    }
  }
  return status;
}

}  // namespace chtool

int main(int argc, char** argv) {
  chtool::platform::UseBinaryStandardStreams();
  // The commands keep their data in standard containers, whose only failure
  // here is running out of memory.
  try {
    return chtool::Run(argc, argv);
  } catch (const std::bad_alloc&) {
    return chtool::Fail(chtool::kExitFailure, "out of memory");
  }
}
